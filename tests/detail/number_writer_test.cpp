#include <sinew/detail/number_writer.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include <sinew/detail/number_reader.h>

#include "detail/number_samples.h"
#include "support/bits.h"

using sinew::detail::Magnitude;
using sinew::detail::RealFormat;
using sinew::detail::realText;
using test::sameBits;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

template <typename Real>
std::string textOf(Real value)
{
    char text[sinew::detail::kLongestReal];
    return {text, sinew::detail::writeReal(value, text)};
}

// The text must be read as the same number, and be that of the standard library.
template <typename Real>
void check(Real value)
{
    std::string const text = textOf(value);
    Real read = 0;
    auto const end = sinew::detail::readReal(text.data(), text.data() + text.size(), read).end;
    ASSERT_EQ(end, text.data() + text.size()) << text;
    ASSERT_TRUE(sameBits(read, value)) << text << " is read as " << textOf(read);
#ifdef SINEW_TEST_STANDARD_CONVERSIONS
    char expected[64];
    ASSERT_EQ(text, std::string(expected, std::to_chars(expected, expected + sizeof expected, value).ptr));
#endif
}

void checkDigits(double value, int digits)
{
    std::string const text = realText(value, digits);
#ifdef SINEW_TEST_STANDARD_CONVERSIONS
    char expected[64];
    auto const general = std::chars_format::general;
    auto const end = std::to_chars(expected, expected + sizeof expected, value, general, digits).ptr;
    ASSERT_EQ(text, std::string(expected, end)) << digits << " digits of " << textOf(value);
#endif
    double read = 0;
    sinew::detail::readReal(text.data(), text.data() + text.size(), read);
    if (digits == 17) {
        ASSERT_TRUE(sameBits(read, value)) << text << " is read as " << textOf(read);
    } else if (std::isfinite(read)) {
        ASSERT_LE(std::fabs(read - value), 1.001 * std::pow(10.0, 1 - digits) * std::fabs(value)) << text;
    }
}

// Numbers whose text is likely to be wrong, if any: neighbours of powers of two and ten, the first subnormal numbers.
template <typename Real, typename Visit>
void forEachCornerCase(Visit visit)
{
    using Format = RealFormat<Real>;
    for (std::uint64_t power = 0; power < Format::kInfinity; power += Format::kFirstBit) {
        for (std::uint64_t i = 0; i <= 3; ++i) {
            visit(Format::make(power + i, false));
            if (power > 0) visit(Format::make(power - i, true));
        }
    }
    for (int exponent = -345; exponent <= 310; ++exponent) {
        for (int digit = 1; digit <= 9; ++digit) {
            std::string const text = std::to_string(digit) + "e" + std::to_string(exponent);
            Real value = 0;
            sinew::detail::readReal(text.data(), text.data() + text.size(), value);
            visit(value);
            std::uint64_t const bits = Format::bitsOf(value);
            if (bits > 0 && bits < Format::kInfinity) {
                visit(Format::make(bits - 1, false));
                visit(Format::make(bits + 1, false));
            }
        }
    }
}

} // namespace

TEST(WriteReal, ChoosesTheShorterNotation)
{
    struct
    {
        double value;
        char const* text;
    } const cases[] = {{0.0, "0"},
                       {-0.0, "-0"},
                       {1, "1"},
                       {0.1, "0.1"},
                       {0.001, "0.001"},
                       {0.0001, "1e-04"},
                       {0.00012, "0.00012"},
                       {-123456.75, "-123456.75"},
                       {10000, "10000"},
                       {100000, "1e+05"},
                       {120000, "120000"},
                       {1e22, "1e+22"},
                       {1e100, "1e+100"},
                       {5e-324, "5e-324"},
                       {-1.7976931348623157e308, "-1.7976931348623157e+308"},
                       {2.2250738585072014e-308, "2.2250738585072014e-308"},
                       {kInfinity, "inf"},
                       {-kInfinity, "-inf"},
                       {std::copysign(kNaN, 1.0), "nan"},
                       {std::copysign(kNaN, -1.0), "-nan"}};
    for (auto const& [value, text] : cases) EXPECT_EQ(textOf(value), text);
    EXPECT_EQ(textOf(0.1f), "0.1");
    EXPECT_EQ(textOf(std::numeric_limits<float>::max()), "3.4028235e+38");
    EXPECT_EQ(textOf(std::numeric_limits<float>::denorm_min()), "1e-45");
}

TEST(WriteReal, LargeIntegersHaveAllTheirDigits)
{
    EXPECT_EQ(textOf(9007199254740992.0), "9007199254740992");
    EXPECT_EQ(textOf(0x1p70), "1180591620717411303424"); // the shortest digits are 1.1805916207174113
    EXPECT_EQ(textOf(0x1.fffffffffffffp69), "1180591620717411172352");
    EXPECT_EQ(textOf(33554432.0f), "33554432");
    EXPECT_EQ(textOf(123456790528.0f), "123456790528"); // the shortest digits are 1.2345679
}

TEST(WriteReal, ChoosesTheNearestOfTheShortestTexts)
{
    EXPECT_EQ(textOf(0x1p-44), "5.684341886080802e-14"); // ...801e-14 is read as the same number
    EXPECT_EQ(textOf(9.5367431640625e-07), "9.5367431640625e-07");
    EXPECT_EQ(textOf(2e-323), "2e-323");
    EXPECT_EQ(textOf(0x1p-1074 * 3), "1.5e-323");
    EXPECT_EQ(textOf(9e-265), "9e-265");
    EXPECT_EQ(textOf(2.0e-308), "2e-308");
}

TEST(WriteReal, CornerCasesAreReadBackAndAgreeWithTheStandard)
{
    forEachCornerCase<double>([](double value) { ASSERT_NO_FATAL_FAILURE(check(value)); });
    forEachCornerCase<float>([](float value) { ASSERT_NO_FATAL_FAILURE(check(value)); });
    for (std::uint64_t bits = 0; bits < 20'000; ++bits) {
        ASSERT_NO_FATAL_FAILURE(check(RealFormat<double>::make(bits, false)));
        ASSERT_NO_FATAL_FAILURE(check(RealFormat<float>::make(bits, true)));
    }
}

TEST(WriteReal, RandomNumbersAreReadBackAndAgreeWithTheStandard)
{
    test::Random random(21);
    for (long trial = 0; trial < test::numberCount(); ++trial) {
        ASSERT_NO_FATAL_FAILURE(check(test::randomReal<double>(random)));
        ASSERT_NO_FATAL_FAILURE(check(test::randomReal<float>(random)));
    }
}

#ifdef SINEW_TEST_MPFR
// The digits of a number without those zeros that give only its size.
std::string significant(std::string digits)
{
    digits.erase(std::min(digits.find('e'), digits.size()));
    digits.erase(std::remove(digits.begin(), digits.end(), '.'), digits.end());
    digits.erase(0, digits.find_first_not_of('0'));
    digits.erase(digits.find_last_not_of('0') + 1);
    return digits;
}

template <typename Real>
void checkShortest(Real value)
{
    value = std::fabs(value);
    if (!std::isfinite(value) || value == 0) return;
    std::string const text = textOf(value);
    test::Exact<Real> exact;
    ASSERT_TRUE(sameBits(exact.read(text), value)) << text;
    bool const exactInteger =
        text.find('e') == text.npos && value >= std::pow(Real(2), std::numeric_limits<Real>::digits);
    if (exactInteger) return; // it has more digits than are necessary
    std::string const ours = significant(text);
    for (int count = 2; count <= static_cast<int>(ours.size()); ++count) {
        auto const [digits, nearest] = exact.nearest(value, count);
        if (!sameBits(exact.read(nearest), value)) continue;
        ASSERT_EQ(ours, significant(digits)) << text;
    }
}

TEST(WriteReal, AnExactLibraryReadsTheTextAndKnowsNoShorterOne)
{
    test::Random random(22);
    for (long trial = 0; trial < test::numberCount() / 50; ++trial) {
        ASSERT_NO_FATAL_FAILURE(checkShortest(test::randomReal<double>(random)));
        ASSERT_NO_FATAL_FAILURE(checkShortest(test::randomReal<float>(random)));
    }
}
#endif

TEST(WriteReal, ManyTextsAreTheRecordedOnes)
{
    test::Random random(23);
    test::Hash hash;
    for (int trial = 0; trial < 200'000; ++trial) {
        hash.add(textOf(test::randomReal<double>(random)));
        hash.add(textOf(test::randomReal<float>(random)));
        double const value = test::randomReal<double>(random);
        hash.add(realText(value, 1 + random.below(17)));
    }
    EXPECT_EQ(hash.value(), 0x7ca7614ade50f014u) << std::hex << hash.value();
}

TEST(RealText, PublishedHardCases)
{
    // Doubles very close to the middle of two decimal numbers: V. Paxson, A program for testing IEEE decimal-binary
    // conversion, 1991. The digits were computed with rational numbers.
    struct
    {
        double value;
        int digits;
        char const* text;
    } const cases[] = {
        {0x1.e3cbc9907fdc8p-290, 1, "9e-88"},
        {0x1.27b2e4f210075p-772, 2, "4.6e-233"},
        {0x1.6c309024bab4bp+289, 3, "1.41e+87"},
        {0x1.df4170f0fdeccp+124, 4, "3.981e+37"},
        {0x1.70105df3d47cbp+151, 5, "4.104e+45"},
        {0x1.d657059dc79aap+778, 6, "2.92084e+234"},
        {0x1.31e0cf0b3e774p-404, 7, "2.891946e-122"},
        {0x1.805c19e680456p-1005, 8, "4.3787718e-303"},
        {0x1.c569e968e0944p+428, 9, "1.22770163e+129"},
        {0x1.540f6f0ea86f3p+429, 10, "1.841552452e+129"},
        {0x1.3abde2775e9b5p+145, 11, "5.483574435e+43"},
        {0x1.9ab8261990292p+762, 12, "3.89190181146e+229"},
        {0x1.9ab8261990292p+761, 13, "1.945950905732e+229"},
        {0x1.eebabe0957af3p+169, 14, "1.4460958381605e+51"},
        {0x1.fc6c26f899dd1p-949, 15, "4.17367747458531e-286"},
        {0x1.a80a6e566428cp-655, 16, "1.107950772878888e-197"},
        {0x1.59a2783ce70abp-329, 17, "1.234550136632744e-99"},
        {0x1.754e31cd072dap+1004, 1, "3e+302"},
        {0x1.7d93193f78fc6p+587, 2, "7.6e+176"},
        {0x1.7d93193f78fc6p+586, 3, "3.78e+176"},
        {0x1.2d2df246ecd2dp-905, 4, "4.35e-273"},
        {0x1.2405b773fbdf3p-92, 5, "2.3037e-28"},
        {0x1.7e1e0f1c7a4acp+415, 6, "1.26301e+125"},
        {0x1.2fcbc91078fefp-117, 7, "7.142211e-36"},
        {0x1.fc575867314eep-331, 10, "4.53927792e-100"},
        {0x1.fc575867314eep-332, 11, "2.2696389598e-100"},
        {0x1.fc575867314eep-333, 12, "1.13481947988e-100"},
        {0x1.8bf7e7fa6f02ap-197, 13, "7.70036656189e-60"},
    };
    for (auto const& c : cases) EXPECT_EQ(realText(c.value, c.digits), c.text);
}

TEST(RealText, HasTheFormOfADefaultStream)
{
    struct
    {
        double value;
        char const* text;
    } const cases[] = {{0.0, "0"},           {-0.0, "-0"},          {1234567.0, "1.23457e+06"},
                       {123456.0, "123456"}, {1.0 / 3, "0.333333"}, {0.0001, "0.0001"},
                       {0.00001, "1e-05"},   {100000.0, "100000"},  {1e6, "1e+06"},
                       {999999.5, "1e+06"},  {-2.5, "-2.5"},        {1e100, "1e+100"},
                       {kInfinity, "inf"},   {-kInfinity, "-inf"},  {std::fabs(kNaN), "nan"}};
    for (auto const& [value, text] : cases) EXPECT_EQ(realText(value, 6), text);
}

TEST(RealText, TiesGoToTheEvenDigit)
{
    EXPECT_EQ(realText(0.5, 1), "0.5");
    EXPECT_EQ(realText(2.5, 1), "2");
    EXPECT_EQ(realText(3.5, 1), "4");
    EXPECT_EQ(realText(9.5, 1), "1e+01");
    EXPECT_EQ(realText(8.5, 1), "8");
    EXPECT_EQ(realText(100000.5, 6), "100000");
    EXPECT_EQ(realText(100001.5, 6), "100002");
    EXPECT_EQ(realText(1000005.0, 6), "1e+06");
    EXPECT_EQ(realText(1000015.0, 6), "1.00002e+06");
    EXPECT_EQ(realText(0x1.8p-3, 2), "0.19"); // 0.1875
    EXPECT_EQ(realText(0.125, 2), "0.12");
}

TEST(RealText, CornerCasesAndRandomNumbersAgreeWithTheStandard)
{
    forEachCornerCase<double>([](double value) {
        for (int digits = 1; digits <= 17; digits += 4) ASSERT_NO_FATAL_FAILURE(checkDigits(value, digits));
    });
    test::Random random(24);
    for (long trial = 0; trial < test::numberCount(); ++trial) {
        double const value = test::randomReal<double>(random);
        ASSERT_NO_FATAL_FAILURE(checkDigits(value, 1 + random.below(17)));
    }
}
