// Reads the input as the packed text of a mesh function, within a document. The vectors, or the message of the failure,
// are those of the reference implementation.

#include <sstream>
#include <string>

#include <sinew/meshfunc/mesh_function_2d.h>

#include "fuzz/input.h"
#include "meshfunc/reference_persistence.h"
#include "support/bits.h"

using fuzz::require;
using test::sameBits;

namespace {

// The byte as content of an element. A document holds no control characters, and it is UTF-8.
void append(std::string& content, std::uint8_t byte)
{
    if (byte >= 0x80) {
        content += static_cast<char>(0xC0 | byte >> 6);
        content += static_cast<char>(0x80 | (byte & 0x3F));
    } else if (byte > ' ') {
        content += static_cast<char>(byte);
    } else {
        content += '?'; // blanks at the ends could be removed by a reader; the format has none
    }
}

std::string escaped(std::string const& content)
{
    std::string result;
    for (char c : content) {
        if (c == '<') {
            result += "&lt;";
        } else if (c == '&') {
            result += "&amp;";
        } else if (c == '>') {
            result += "&gt;";
        } else {
            result += c;
        }
    }
    return result;
}

std::string failureOf(std::string const& content, MeshFunction2D& f)
{
    std::istringstream in("<MeshFunction2D><saveString>" + escaped(content) + "</saveString></MeshFunction2D>");
    try {
        sinew::readDocument(in, f);
        return "";
    } catch (Serializable::LoadFail const& failure) {
        return failure.what();
    }
}

void requireSameVectors(MeshFunction2D const& f, MeshFunction2D const& expected)
{
    require(sameBits(f.params, expected.params) && sameBits(f.values, expected.values), "same vertices");
    require(sameBits(f.normaldots, expected.normaldots), "same scalars");
    require(f.facets == expected.facets, "same triangles");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string content;
    for (std::size_t i = 0; i < size; ++i) append(content, data[i]);
    if (content.empty()) return 0;
    MeshFunction2D f(true);
    std::string const failure = failureOf(content, f);
    MeshFunction2D expected(true);
    std::string const expectedFailure = reference::Unpacker(content).unpack(expected);
    if (!expectedFailure.empty()) {
        require(failure == "Error loading MeshFunction2D: " + expectedFailure, "same failure");
        return 0;
    }
    require(failure.empty(), "a text that the reference implementation reads");
    requireSameVectors(f, expected);

    // Packing the function again, and unpacking that.
    std::ostringstream out;
    sinew::writeDocument(out, f, "MeshFunction2D");
    MeshFunction2D second(false);
    std::istringstream in(out.str());
    sinew::readDocument(in, second);
    std::string const packed = reference::pack(f);
    MeshFunction2D secondExpected(true);
    require(reference::Unpacker(packed).unpack(secondExpected).empty(), "the reference reads its own text");
    requireSameVectors(second, secondExpected);
    return 0;
}
