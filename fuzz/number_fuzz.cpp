// Numbers from text and text from numbers, compared with the standard library where that converts exactly.

#include <charconv>
#include <cmath>
#include <locale>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>

#include <sinew/detail/number_reader.h>
#include <sinew/detail/number_writer.h>

#include "fuzz/input.h"
#include "support/bits.h"

using fuzz::Input;
using fuzz::require;
using sinew::detail::NumberStatus;
using test::sameBits;

namespace {

// As in the tests: Debian's libstdc++ for i386 rounds twice.
#if defined(__cpp_lib_to_chars) && !defined(__i386__)
constexpr bool kStandardConverts = true;
#else
constexpr bool kStandardConverts = false;
#endif

template <typename Real>
void readAsStandard(std::string const& text)
{
    char const* const last = text.data() + text.size();
    Real value = 42;
    auto const [end, status] = sinew::detail::readReal(text.data(), last, value);
    require(end >= text.data() && end <= last, "the end lies in the text");
    require(status != NumberStatus::malformed || (end == text.data() && sameBits(value, Real(42))), "nothing was read");
    if constexpr (kStandardConverts) {
        Real expected = 42;
        auto const [expectedEnd, error] = std::from_chars(text.data(), last, expected);
        bool const outOfRange = status == NumberStatus::tooLarge || status == NumberStatus::tooSmall;
        require(end == expectedEnd, "the same length");
        require((status == NumberStatus::malformed) == (error == std::errc::invalid_argument), "a number or none");
        require(outOfRange == (error == std::errc::result_out_of_range), "in range or not");
        if (!outOfRange) require(sameBits(value, expected), "the same number");
    }
}

void takeAsStream(std::string const& text)
{
    std::string_view rest = text;
    double value = 42;
    bool const ok = sinew::detail::takeReal(rest, value);
#if defined(__GLIBCXX__) && defined(__GLIBC__)
    std::istringstream in(text);
    in.imbue(std::locale::classic());
    double expected = 42;
    require(ok == static_cast<bool>(in >> expected), "taken as by a stream");
    if (!ok) return;
    require(sameBits(value, expected), "the number that a stream takes");
    require(rest == (in.eof() ? "" : text.substr(static_cast<std::size_t>(in.tellg()))), "the rest of the text");
#else
    require(ok || rest == text, "nothing was taken");
#endif
}

template <typename Real>
void writeAndRead(Real value)
{
    char text[sinew::detail::kLongestReal];
    char* const end = sinew::detail::writeReal(value, text);
    require(end > text && end <= text + sinew::detail::kLongestReal, "the text fits");
    Real again = 42;
    auto const [readEnd, status] = sinew::detail::readReal(text, static_cast<char const*>(end), again);
    require(readEnd == end && status == NumberStatus::ok && sameBits(again, value), "the same bits are read back");
    if constexpr (kStandardConverts) {
        char expected[128];
        auto const written = std::to_chars(expected, expected + sizeof expected, value);
        require(std::string_view(text, static_cast<std::size_t>(end - text)) ==
                    std::string_view(expected, static_cast<std::size_t>(written.ptr - expected)),
                "the text of the standard");
    }
}

void writeDigits(double value, int digits)
{
    char expected[64];
    std::snprintf(expected, sizeof expected, "%.*g", digits, value);
    require(sinew::detail::realText(value, digits) == expected || std::isnan(value), "the text of printf");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    Input input(data, size);
    double const value = input.number();
    writeAndRead(value);
    writeAndRead(input.number() * value);
    writeDigits(value, 1 + input.below(17));
    if (float const single = static_cast<float>(value); !std::isinf(single) || std::isinf(value)) writeAndRead(single);
    std::string const text(reinterpret_cast<char const*>(data), size);
    readAsStandard<double>(text);
    readAsStandard<float>(text);
    takeAsStream(text);
    return 0;
}
