#include <tool/io/weights.h>

#include <cmath>

#include <sinew/detail/number_writer.h>
#include <tool/io/number_text.h>
#include <tool/support/user_error.h>

namespace tool {

BoneWeights parseDmat(std::string const& text, std::string const& file, std::size_t vertices, std::size_t bones)
{
    std::size_t lineNumber = 0;
    std::size_t seen = 0; // numbers that were read, with the two of the size
    BoneWeights weights(vertices, std::vector<double>(bones, 0));
    std::size_t const expected[] = {bones, vertices};
    char const* const names[] = {"columns (bones)", "rows (vertices)"};
    forEachLine(text, [&](std::string_view line) {
        ++lineNumber;
        for (std::string_view word = nextWord(line); !word.empty(); word = nextWord(line), ++seen) {
            double value = 0;
            if (!parseDouble(word, value) || !std::isfinite(value)) {
                throw UserError(file, lineNumber, "\"" + std::string(word) + "\" is not a weight",
                                "Export the weights again");
            }
            if (seen < 2) {
                if (value != static_cast<double>(expected[seen])) {
                    throw UserError(file, lineNumber,
                                    std::string(word) + " " + names[seen] + ", but the model has " +
                                        std::to_string(expected[seen]),
                                    "Use the weights of this mesh and skeleton");
                }
                continue;
            }
            std::size_t const index = seen - 2;
            if (index >= vertices * bones) {
                throw UserError(file, lineNumber, "more numbers than the first line says", "Export the weights again");
            }
            weights[index % vertices][index / vertices] = value;
        }
    });
    if (seen < 2 + vertices * bones) {
        throw UserError(file,
                        "only " + std::to_string(seen < 2 ? 0 : seen - 2) + " of " + std::to_string(vertices * bones) +
                            " weights",
                        "The file seems to be incomplete; export it again");
    }
    return weights;
}

std::string printDmat(BoneWeights const& weights)
{
    std::size_t const bones = weights.empty() ? 0 : weights[0].size();
    std::string text = std::to_string(bones) + " " + std::to_string(weights.size()) + "\n";
    char buffer[sinew::detail::kLongestReal];
    for (std::size_t b = 0; b < bones; ++b) {
        for (auto const& row : weights) {
            text.append(buffer, sinew::detail::writeReal(row[b], buffer)); // shortest text with the same bits
            text += '\n';
        }
    }
    return text;
}

} // namespace tool
