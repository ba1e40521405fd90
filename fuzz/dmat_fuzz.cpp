// Reads the input as bone weights. The result is a matrix of the size that was asked for, or a UserError. Weights that
// were read are printed and read again, with the same bits.

#include <string>

#include <tool/io/weights.h>
#include <tool/support/user_error.h>

#include "fuzz/input.h"
#include "support/bits.h"

using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    fuzz::Input input(data, size);
    std::size_t const vertices = static_cast<std::size_t>(input.below(16));
    std::size_t const bones = static_cast<std::size_t>(input.below(16));
    std::string const text = input.rest();
    try {
        tool::BoneWeights const weights = tool::parseDmat(text, "input.dmat", vertices, bones);
        require(weights.size() == vertices, "a row for each vertex");
        for (auto const& row : weights) require(row.size() == bones, "a weight for each bone");
        if (vertices == 0) return 0; // the text of no rows does not tell the number of columns
        tool::BoneWeights const again = tool::parseDmat(tool::printDmat(weights), "again.dmat", vertices, bones);
        require(test::sameBits(weights, again), "the same bits are read back");
    } catch (tool::UserError const& error) {
        require(std::string(error.what()).rfind("input.dmat", 0) == 0, "the message names the file");
    }
    return 0;
}
