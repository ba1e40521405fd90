#include <sinew/detail/number_reader.h>

#include <cmath>
#include <iomanip>
#include <istream>
#include <limits>
#include <locale>
#include <sstream>
#include <string>
#include <system_error>

#include <gtest/gtest.h>

#include "detail/number_samples.h"
#include "support/bits.h"

using sinew::detail::Magnitude;
using sinew::detail::NumberStatus;
using sinew::detail::RealFormat;
using test::sameBits;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kLargest = std::numeric_limits<double>::max();
constexpr double kSmallest = std::numeric_limits<double>::denorm_min();
constexpr double kUntouched = 42;

template <typename Real>
struct Outcome
{
    Real value;
    std::size_t length;
    NumberStatus status;
};

template <typename Real>
Outcome<Real> read(std::string const& text)
{
    Real value = static_cast<Real>(kUntouched);
    auto const [end, status] = sinew::detail::readReal(text.data(), text.data() + text.size(), value);
    return {value, static_cast<std::size_t>(end - text.data()), status};
}

// The value of a text that must be a number as a whole.
template <typename Real = double>
Real valueOf(std::string const& text)
{
    Outcome<Real> const outcome = read<Real>(text);
    EXPECT_EQ(outcome.length, text.size()) << text;
    EXPECT_NE(outcome.status, NumberStatus::malformed) << text;
    return outcome.value;
}

// Reads the middle of the two neighbours with the bits `lower` and `lower` + 1, and decimal numbers just beside it.
template <typename Real>
void checkMiddle(std::uint64_t lower)
{
    using Format = RealFormat<Real>;
    Magnitude const m = Format::magnitudeOf(lower);
    test::ExactDecimal const middle = test::exactDecimal({2 * m.mantissa + 1, m.exponent - 1});
    Real const below = Format::make(lower, false);
    Real const above = Format::make(lower + 1, false);
    EXPECT_EQ(valueOf<Real>(middle.text()), lower % 2 == 0 ? below : above);
    EXPECT_EQ(valueOf<Real>(middle.text("1")), above);
    EXPECT_EQ(valueOf<Real>(middle.text(std::string(900, '0') + "1")), above) << "beyond the digits that are compared";
    EXPECT_EQ(valueOf<Real>(middle.integerText(std::string(900, '0') + "1")), above);
    EXPECT_EQ(valueOf<Real>(middle.text(std::string(900, '0'))), lower % 2 == 0 ? below : above);
    if (middle.digits.back() == '0') return;
    test::ExactDecimal less = middle;
    --less.digits.back();
    EXPECT_EQ(valueOf<Real>(less.text("9")), below);
}

#ifdef SINEW_TEST_STANDARD_CONVERSIONS
template <typename Real>
void compareWithStandard(std::string const& text)
{
    Real expected = static_cast<Real>(kUntouched);
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), expected);
    Outcome<Real> const outcome = read<Real>(text);
    ASSERT_EQ(outcome.length, static_cast<std::size_t>(end - text.data())) << std::quoted(text);
    bool const outOfRange = outcome.status == NumberStatus::tooLarge || outcome.status == NumberStatus::tooSmall;
    ASSERT_EQ(outcome.status == NumberStatus::malformed, error == std::errc::invalid_argument) << std::quoted(text);
    ASSERT_EQ(outOfRange, error == std::errc::result_out_of_range) << std::quoted(text);
    if (outOfRange) return;
    ASSERT_TRUE(sameBits(outcome.value, expected)) << std::quoted(text) << " " << outcome.value << " " << expected;
    ASSERT_EQ(std::signbit(outcome.value), std::signbit(expected)) << std::quoted(text); // of a NaN, too
}
#endif

struct Taken
{
    bool ok;
    double value;
    std::string rest;
};

Taken take(std::string const& text)
{
    std::string_view rest = text;
    double value = kUntouched;
    bool const ok = sinew::detail::takeReal(rest, value);
    return {ok, value, std::string(rest)};
}

} // namespace

TEST(ReadReal, PublishedHardCases)
{
    // Decimal numbers very close to the middle of two doubles: V. Paxson, A program for testing IEEE decimal-binary
    // conversion, 1991. The doubles were computed with rational numbers.
    struct
    {
        char const* text;
        double value;
    } const cases[] = {
        {"9e-265", 0x1.d05244fe5066ap-878},
        {"85e-37", 0x1.698ccdc60015ap-117},
        {"623e+100", 0x1.640a62f3a83dfp+341},
        {"3571e+263", 0x1.62644c61d41aap+885},
        {"81661e+153", 0x1.7ca8e3d68578ep+524},
        {"920657e-23", 0x1.53a9985dbde6cp-57},
        {"4603285e-24", 0x1.53a9985dbde6cp-58},
        {"87575437e-309", 0x1.e07320602056cp-1001},
        {"245540327e+122", 0x1.1b6231e18c5cbp+433},
        {"6138508175e+120", 0x1.1b6231e18c5cbp+431},
        {"83356057653e+193", 0x1.544e6daee2a18p+677},
        {"619534293513e+124", 0x1.10c20303fe0f1p+451},
        {"2335141086879e+218", 0x1.340a1c932c1eep+765},
        {"36167929443327e-159", 0x1.ce77c2b3328fcp-484},
        {"609610927149051e-255", 0x1.04273b18918b1p-798},
        {"3743626360493413e-165", 0x1.8823a57adbef9p-497},
        {"94080055902682397e-242", 0x1.64981e39e66cap-748},
        {"899810892172646163e+283", 0x1.adf51fa055e03p+999},
        {"7120190517612959703e+120", 0x1.3220dcd5899fdp+461},
        {"25188282901709339043e-252", 0x1.4059af3db2a84p-773},
        {"308984926168550152811e-52", 0x1.40de48676653bp-105},
        {"6372891218502368041059e+64", 0x1.067047dbb38fep+285},
        {"5e+125", 0x1.7a2ecc414a03fp+417},
        {"69e+267", 0x1.0b7cb60c994dap+893},
        {"999e-26", 0x1.82782afe1869ep-77},
        {"7861e-34", 0x1.fe3544145e9d8p-101},
        {"75569e-254", 0x1.5a462d91c6ab3p-828},
        {"928609e-261", 0x1.be2dd66200befp-848},
        {"9210917e+80", 0x1.da232347e6032p+288},
        {"84863171e+114", 0x1.06e98f5ec8f37p+405},
        {"653777767e+273", 0x1.20223f2b3a881p+936},
        {"5232604057e-298", 0x1.465b896c24520p-958},
        {"27235667517e-109", 0x1.7d41824d64fb2p-328},
        {"653532977297e-123", 0x1.925a0aabcdc68p-370},
        {"3142213164987e-294", 0x1.d3409dfbca26fp-936},
        {"46202199371337e-72", 0x1.28f9edfbd341fp-194},
        {"231010996856685e-73", 0x1.28f9edfbd341fp-195},
        {"9324754620109615e+212", 0x1.3ae60753af6cap+757},
        {"78459735791271921e+49", 0x1.dcd0089c1314ep+218},
        {"272104041512242479e+200", 0x1.3bbb4bf05f087p+722},
        {"6802601037806061975e+198", 0x1.3bbb4bf05f087p+720},
        {"20505426358836677347e-221", 0x1.012954b6aabbap-670},
        {"836168422905420598437e-234", 0x1.20403a628a9cap-708},
        {"4891559871276714924261e+222", 0x1.6ecaf7694a3c7p+809},
    };
    for (auto const& [text, value] : cases) EXPECT_EQ(valueOf(text), value) << text;
}

TEST(ReadReal, EndsOfTheRange)
{
    EXPECT_EQ(valueOf("2.2250738585072014e-308"), 0x1p-1022);
    EXPECT_EQ(valueOf("2.2250738585072012e-308"), 0x1p-1022);
    EXPECT_EQ(valueOf("2.2250738585072011e-308"), 0x0.fffffffffffffp-1022);
    EXPECT_EQ(valueOf("1.7976931348623158e308"), kLargest);
    EXPECT_EQ(valueOf("9007199254740993"), 9007199254740992.0);
    EXPECT_EQ(valueOf("9007199254740993.0000000000000000000000000000000001"), 9007199254740994.0);

    EXPECT_EQ(read<double>("1.7976931348623159e308").status, NumberStatus::tooLarge);
    EXPECT_EQ(read<double>("1.7976931348623159e308").value, kInfinity);
    EXPECT_EQ(read<double>("-1e309").value, -kInfinity);
    EXPECT_EQ(read<double>("2.4703282292062328e-324").value, kSmallest);
    EXPECT_EQ(read<double>("2.4703282292062328e-324").status, NumberStatus::ok);
    EXPECT_EQ(read<double>("2.4703282292062327e-324").status, NumberStatus::tooSmall);
    EXPECT_TRUE(sameBits(read<double>("-2.4703282292062327e-324").value, -0.0));
    EXPECT_EQ(read<float>("3.4028235677973367e38").status, NumberStatus::tooLarge);
    EXPECT_EQ(read<float>("3.4028235677973366e38").value, std::numeric_limits<float>::max());
    EXPECT_EQ(read<float>("7e-46").status, NumberStatus::tooSmall);
    EXPECT_EQ(read<float>("7.1e-46").value, std::numeric_limits<float>::denorm_min());
    EXPECT_TRUE(sameBits(valueOf("-0e999"), -0.0));
    EXPECT_EQ(read<double>("-0e999").status, NumberStatus::ok);
}

TEST(ReadReal, LongTextsAndLargeExponentsAreExact)
{
    std::string const zeros(100'000, '0');
    EXPECT_EQ(valueOf("1" + zeros + "e-100000"), 1.0);
    EXPECT_EQ(valueOf("0." + zeros + "1e100001"), 1.0);
    EXPECT_EQ(valueOf("0." + zeros + "1e100000"), 0.1);
    EXPECT_EQ(valueOf(zeros + "1.5"), 1.5);
    EXPECT_EQ(valueOf("1." + zeros + "5"), 1.0);
    EXPECT_EQ(read<double>("1e" + zeros + "9999999999999999999999").status, NumberStatus::tooLarge);
    EXPECT_EQ(read<double>("1e-99999999999999999999999").status, NumberStatus::tooSmall);
    EXPECT_EQ(read<double>("1e18446744073709551617").status, NumberStatus::tooLarge) << "not modulo 2^64";
    EXPECT_EQ(valueOf("0e99999999999999999999999"), 0.0);
    EXPECT_EQ(read<double>(std::string(400, '9')).status, NumberStatus::tooLarge);
}

TEST(ReadReal, TheMiddleOfTwoNeighboursGoesToTheEvenOne)
{
    test::Random random(11);
    for (int trial = 0; trial < 300; ++trial) {
        std::uint64_t const lower = random.bits() % (RealFormat<double>::kInfinity - 1);
        SCOPED_TRACE(lower);
        checkMiddle<double>(lower);
        checkMiddle<float>(lower % (RealFormat<float>::kInfinity - 1));
    }
    for (std::uint64_t lower = 0; lower < 4; ++lower) {
        checkMiddle<double>(lower); // subnormal
        checkMiddle<float>(lower);
        checkMiddle<double>(RealFormat<double>::kFirstBit - 2 + lower); // about the smallest normal number
        checkMiddle<float>(RealFormat<float>::kFirstBit - 2 + lower);
    }
    checkMiddle<double>(RealFormat<double>::kInfinity - 1);
    checkMiddle<float>(RealFormat<float>::kInfinity - 1);
}

TEST(ReadReal, ReadsTheLongestBeginningThatIsANumber)
{
    struct
    {
        char const* text;
        double value;
        std::size_t length;
    } const cases[] = {{"1e", 1, 1},
                       {"1e+", 1, 1},
                       {"1.5e-x", 1.5, 3},
                       {"1.", 1, 2},
                       {".5", 0.5, 2},
                       {"-.5e1", -5, 5},
                       {"1.2.3", 1.2, 3},
                       {"1,5", 1, 1},
                       {"0x1p3", 0, 1},
                       {"1e5e5", 1e5, 3},
                       {"1e5.5", 1e5, 3},
                       {"00012", 12, 5},
                       {"inf", kInfinity, 3},
                       {"-Infinity", -kInfinity, 9},
                       {"infinit", kInfinity, 3},
                       {"1 2", 1, 1}};
    for (auto const& c : cases) {
        Outcome<double> const outcome = read<double>(c.text);
        EXPECT_EQ(outcome.value, c.value) << c.text;
        EXPECT_EQ(outcome.length, c.length) << c.text;
        EXPECT_EQ(outcome.status, NumberStatus::ok) << c.text;
    }
    EXPECT_TRUE(std::isnan(valueOf("nan(char_sequence_9)")));
    EXPECT_TRUE(std::isnan(valueOf("nan(AZaz09_)")));
    EXPECT_TRUE(std::isnan(valueOf("NaN")));
    EXPECT_TRUE(std::signbit(valueOf("-nan")));
    EXPECT_EQ(read<double>("nan(a-b)").length, 3u);
    EXPECT_EQ(read<double>("nan(ab").length, 3u);
    for (char const* const text : {"nan(@)", "nan([)", "nan(`)", "nan({)"})
        EXPECT_EQ(read<double>(text).length, 3u) << text;
}

TEST(ReadReal, MalformedTextLeavesTheValueUnchanged)
{
    for (char const* const text : {"", "-", ".", "-.", "+1", "--1", " 1", "e5", ".e5", "-e1", "i", "na", "x", "١"}) {
        Outcome<double> const outcome = read<double>(text);
        EXPECT_EQ(outcome.status, NumberStatus::malformed) << text;
        EXPECT_EQ(outcome.length, 0u) << text;
        EXPECT_EQ(outcome.value, kUntouched) << text;
    }
}

#ifdef SINEW_TEST_STANDARD_CONVERSIONS
TEST(ReadReal, AgreesWithTheStandardOnRandomTexts)
{
    test::Random random(12);
    for (long trial = 0; trial < test::numberCount(); ++trial) {
        std::string const text = random.oneIn(3) ? test::hostileText(random) : test::randomDecimal(random);
        ASSERT_NO_FATAL_FAILURE(compareWithStandard<double>(text));
        ASSERT_NO_FATAL_FAILURE(compareWithStandard<float>(text));
    }
}
#endif

#ifdef SINEW_TEST_MPFR
TEST(ReadReal, AgreesWithAnExactLibraryOnRandomDecimals)
{
    test::Random random(13);
    for (long trial = 0; trial < test::numberCount() / 10; ++trial) {
        std::string const text = test::randomDecimal(random);
        if (text == "." || text == "-.") continue;
        ASSERT_TRUE(sameBits(valueOf<double>(text), test::Exact<double>().read(text))) << text;
        ASSERT_TRUE(sameBits(valueOf<float>(text), test::Exact<float>().read(text))) << text;
    }
}
#endif

TEST(ReadReal, ManyResultsAreTheRecordedOnes)
{
    test::Random random(14);
    test::Hash hash;
    for (int trial = 0; trial < 200'000; ++trial) {
        std::string const text = random.oneIn(3) ? test::hostileText(random) : test::randomDecimal(random);
        Outcome<double> const wide = read<double>(text);
        Outcome<float> const narrow = read<float>(text);
        hash.add(RealFormat<double>::bitsOf(wide.value));
        hash.add(wide.length);
        hash.add(static_cast<std::uint64_t>(wide.status));
        hash.add(RealFormat<float>::bitsOf(narrow.value));
        hash.add(static_cast<std::uint64_t>(narrow.status));
    }
    EXPECT_EQ(hash.value(), 0x718a080d0e8aaa11u);
}

TEST(TakeReal, TakesWhatALibstdcxxStreamTakes)
{
    struct
    {
        char const* text;
        double value;
        char const* rest;
    } const cases[] = {{"1 2", 1, " 2"},
                       {" \t\n\v\f\r+1.5", 1.5, ""},
                       {"0x1", 0, "x1"},
                       {"1,5", 1, ",5"},
                       {"5e-324", kSmallest, ""},
                       {"1e-999", 0, ""},
                       {"-1e-999", -0.0, ""},
                       {".5", 0.5, ""},
                       {"5.", 5, ""},
                       {"1e5.5", 1e5, ".5"},
                       {"007", 7, ""},
                       {"1e5e5", 1e5, "e5"},
                       {"1E+05x", 1e5, "x"},
                       {"1.2.3", 1.2, ".3"},
                       {"1.7976931348623157e308", kLargest, ""}};
    for (auto const& c : cases) {
        Taken const taken = take(c.text);
        EXPECT_TRUE(taken.ok) << c.text;
        EXPECT_TRUE(sameBits(taken.value, c.value)) << c.text;
        EXPECT_EQ(taken.rest, c.rest) << c.text;
    }
}

TEST(TakeReal, RefusesWhatALibstdcxxStreamRefuses)
{
    for (char const* const text : {"", " ", "nan", "inf", "-inf", "x", "1e", "1e+", "1e-x", ".", "+", "-", "+-1", "e5",
                                   ".e5", "1e999", "-1e999", "1.7976931348623159e308"}) {
        Taken const taken = take(text);
        EXPECT_FALSE(taken.ok) << text;
        EXPECT_EQ(taken.value, kUntouched) << text;
        EXPECT_EQ(taken.rest, text);
    }
}

#if defined(__GLIBCXX__) && defined(__GLIBC__)
TEST(TakeReal, AgreesWithAStreamOnHostileTexts)
{
    test::Random random(15);
    for (long trial = 0; trial < test::numberCount(); ++trial) {
        std::string const text = random.oneIn(4) ? " " + test::randomDecimal(random) : test::hostileText(random);
        std::istringstream in(text);
        in.imbue(std::locale::classic());
        double value = kUntouched;
        bool const ok = static_cast<bool>(in >> value);
        Taken const taken = take(text);
        ASSERT_EQ(taken.ok, ok) << std::quoted(text);
        if (!ok) continue;
        ASSERT_TRUE(sameBits(taken.value, value)) << std::quoted(text) << " " << taken.value << " " << value;
        ASSERT_EQ(taken.rest, in.eof() ? "" : text.substr(static_cast<std::size_t>(in.tellg()))) << std::quoted(text);
    }
}
#endif
