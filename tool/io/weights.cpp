#include <tool/io/weights.h>

#include <cmath>
#include <cstdint>
#include <cstring>

#include <sinew/detail/number_writer.h>
#include <tool/io/number_text.h>
#include <tool/support/user_error.h>

namespace tool {
namespace {

// Reads the weights of one file. The numbers come column by column.
class DmatReader
{
public:
    DmatReader(std::string const& file, std::size_t vertices, std::size_t bones)
        : file_(file), vertices_(vertices), bones_(bones), weights_(vertices, std::vector<double>(bones, 0))
    {
    }

    void readText(std::string_view text)
    {
        std::size_t seen = 0; // numbers that were read, with the two of the size
        forEachLine(text, [&](std::string_view line) {
            ++lineNumber_;
            for (std::string_view word = nextWord(line); !word.empty(); word = nextWord(line), ++seen) {
                double const value = number(word);
                if (seen < 2) {
                    checkSize(seen, word, value);
                } else {
                    store(seen - 2, value);
                }
            }
        });
        checkCount(seen < 2 ? 0 : seen - 2);
    }

    // A first line "0 0", a line with the size, and the bytes of the numbers, the lowest byte first.
    void readBinary(std::string_view text)
    {
        takeLine(text);
        std::string_view line = takeLine(text);
        for (std::size_t part = 0; part < 2; ++part) {
            std::string_view const word = nextWord(line);
            checkSize(part, word, number(word));
        }
        for (std::size_t i = 0; i < text.size() / kBytes; ++i) {
            double const value = numberFromBytes(text.substr(i * kBytes, kBytes));
            if (!std::isfinite(value)) {
                throw UserError(file_, "weight " + std::to_string(i + 1) + " is not finite",
                                "Export the weights again");
            }
            store(i, value);
        }
        checkCount(text.size() / kBytes);
    }

    BoneWeights take() { return std::move(weights_); }

private:
    static constexpr std::size_t kBytes = 8;

    static double numberFromBytes(std::string_view bytes)
    {
        std::uint64_t bits = 0;
        for (std::size_t i = kBytes; i-- > 0;) bits = bits << 8 | static_cast<unsigned char>(bytes[i]);
        double value = 0;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }

    std::string_view takeLine(std::string_view& text)
    {
        ++lineNumber_;
        std::size_t const end = text.find('\n');
        std::string_view const line = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        return line;
    }

    double number(std::string_view word) const
    {
        double value = 0;
        if (parseDouble(word, value) && std::isfinite(value)) return value;
        throw UserError(file_, lineNumber_, "\"" + std::string(word) + "\" is not a weight",
                        "Export the weights again");
    }

    // Part 0 of the size is the number of columns, part 1 that of rows.
    void checkSize(std::size_t part, std::string_view word, double value) const
    {
        std::size_t const expected = part == 0 ? bones_ : vertices_;
        if (value == static_cast<double>(expected)) return;
        throw UserError(file_, lineNumber_,
                        std::string(word) + (part == 0 ? " columns (bones)" : " rows (vertices)") +
                            ", but the model has " + std::to_string(expected),
                        "Use the weights of this mesh and skeleton");
    }

    void store(std::size_t index, double value)
    {
        if (index >= vertices_ * bones_) {
            throw UserError(file_, lineNumber_, "more numbers than the first line says", "Export the weights again");
        }
        weights_[index % vertices_][index / vertices_] = value;
    }

    void checkCount(std::size_t count) const
    {
        if (count == vertices_ * bones_) return;
        throw UserError(file_,
                        "only " + std::to_string(count) + " of " + std::to_string(vertices_ * bones_) + " weights",
                        "The file seems to be incomplete; export it again");
    }

    std::string file_;
    std::size_t vertices_;
    std::size_t bones_;
    std::size_t lineNumber_ = 0;
    BoneWeights weights_;
};

// No model has 0 columns and 0 rows, so this first line marks the binary form.
bool isBinary(std::string_view text, std::size_t vertices, std::size_t bones)
{
    std::string_view line = text.substr(0, text.find('\n'));
    return vertices + bones > 0 && nextWord(line) == "0" && nextWord(line) == "0" && nextWord(line).empty();
}

} // namespace

BoneWeights parseDmat(std::string const& text, std::string const& file, std::size_t vertices, std::size_t bones)
{
    DmatReader reader(file, vertices, bones);
    if (isBinary(text, vertices, bones)) {
        reader.readBinary(text);
    } else {
        reader.readText(text);
    }
    return reader.take();
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
