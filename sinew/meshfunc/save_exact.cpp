#include <sinew/meshfunc/save_exact.h>

#include <algorithm>
#include <cassert>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <ostream>
#include <string_view>
#include <vector>

#include <sinew/detail/number_writer.h>
#include <sinew/meshfunc/mesh_function_2d.h>

namespace sinew {

namespace {

using Points = std::vector<tzNM::vect2<double>>;

// Appends texts and numbers to a stream, through a buffer of its own: an output stream takes longer for a single number
// than its digits do.
class Writer
{
public:
    explicit Writer(std::ostream& out) : out_(out) {}

    Writer& operator<<(std::string_view text)
    {
        assert(text.size() <= kLongestText);
        std::memcpy(freeSpace(), text.data(), text.size());
        end_ += text.size();
        return *this;
    }
    Writer& operator<<(double x) { return advanceTo(detail::writeReal(x, freeSpace())); }
    Writer& operator<<(float x) { return advanceTo(detail::writeReal(x, freeSpace())); }
    Writer& operator<<(int i) { return advanceTo(std::to_chars(freeSpace(), buffer_ + kSize, i).ptr); }

    // Unformatted output, which ignores the format flags and the locale of the stream.
    void flush()
    {
        out_.write(buffer_, static_cast<std::streamsize>(end_));
        end_ = 0;
    }

private:
    static constexpr std::size_t kSize = 8192;
    static constexpr std::size_t kLongestText = 128;
    static_assert(kLongestText >= detail::kLongestReal);

    // The unused part of the buffer, with space for the longest text.
    char* freeSpace()
    {
        if (kSize - end_ < kLongestText) flush();
        return buffer_ + end_;
    }
    Writer& advanceTo(char const* end)
    {
        end_ = static_cast<std::size_t>(end - buffer_);
        return *this;
    }

    std::ostream& out_;
    std::size_t end_ = 0;
    char buffer_[kSize];
};

// A sequence as the framework writes it: an empty tag, or one child for each element. `element` is the singular of
// `name`.
template <typename T, typename WriteElement>
void writeSequence(Writer& out, std::string_view name, std::vector<T> const& sequence, WriteElement const& writeElement)
{
    out << "  <" << name;
    if (sequence.empty()) {
        out << "/>\n";
        return;
    }
    out << ">\n";
    std::string_view const element = name.substr(0, name.size() - 1); // all names end in "s"
    for (T const& value : sequence) {
        out << "    <" << element;
        writeElement(element, value);
    }
    out << "  </" << name << ">\n";
}

void writePoints(Writer& out, std::string_view name, Points const& points)
{
    writeSequence(out, name, points, [&](std::string_view, tzNM::vect2<double> const& p) {
        out << " u=\"" << p.x << "\" v=\"" << p.y << "\"/>\n";
    });
}

template <typename T>
void writeNumbers(Writer& out, std::string_view name, std::vector<T> const& numbers)
{
    writeSequence(out, name, numbers,
                  [&](std::string_view element, T const& number) { out << ">" << number << "</" << element << ">\n"; });
}

bool areFinite(Points const& points)
{
    return std::all_of(points.begin(), points.end(),
                       [](tzNM::vect2<double> const& p) { return std::isfinite(p.x) && std::isfinite(p.y); });
}

} // namespace

bool saveExact(MeshFunction2D const& function, std::ostream& out)
{
    if (!areFinite(function.params) || !areFinite(function.values)) return false;
    Writer writer(out);
    writer << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<MeshFunction2D>\n";
    writePoints(writer, "params", function.params);
    writePoints(writer, "values", function.values);
    writeNumbers(writer, "normaldots", function.normaldots);
    writeNumbers(writer, "facets", function.facets);
    writer << "  <extrapolateFlag>" << (function.extrapolateFlag ? 1 : 0) << "</extrapolateFlag>\n";
    // Empty, but written: the function that reads it may hold a text from a save that has failed.
    writer << "  <saveString/>\n</MeshFunction2D>\n";
    writer.flush();
    return true;
}

} // namespace sinew
