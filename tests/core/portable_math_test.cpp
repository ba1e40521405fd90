// The correctly rounded functions against MPFR, an independent library that rounds correctly by definition.
//
// SINEW_TEST_MATH_COUNT sets the number of random arguments for each function; `./dev math` runs many.

#include <sinew/core/detail/portable_math.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <mpfr.h>

#include <sinew/core/detail/portable_constants.h>
#include <sinew/core/detail/portable_exponential.h>
#include <sinew/core/detail/portable_quick.h>
#include <sinew/core/detail/portable_rounding.h>
#include <sinew/core/detail/portable_sine.h>

#include "support/bits.h"
#include "support/random.h"

namespace portable = sinew::detail::portable;
using portable::bitsOf;
using portable::fromBits;
using portable::UInt128;
using portable::Wide;
using test::Random;
using test::sameBits;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kSmallest = std::numeric_limits<double>::denorm_min();
constexpr double kLargest = std::numeric_limits<double>::max();

// One number of MPFR with the precision and the exponents of a double, or wider.
class Number
{
public:
    explicit Number(mpfr_prec_t bits = 53) { mpfr_init2(value, bits); }
    ~Number() { mpfr_clear(value); }
    Number(Number const&) = delete;
    Number& operator=(Number const&) = delete;

    mpfr_t value;
};

using OneArgument = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
using TwoArguments = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr, mpfr_rnd_t);

// Rounds once, to a normal or subnormal double; `inexact` is what the operation returned.
double rounded(Number& result, int inexact)
{
    mpfr_subnormalize(result.value, inexact, MPFR_RNDN);
    return mpfr_get_d(result.value, MPFR_RNDN);
}

class PortableMath : public testing::Test
{
protected:
    PortableMath()
    {
        mpfr_set_emin(-1073); // the exponents of doubles, subnormal ones included, as MPFR counts them
        mpfr_set_emax(1024);
    }
    ~PortableMath() override
    {
        mpfr_set_emin(mpfr_get_emin_min());
        mpfr_set_emax(mpfr_get_emax_max());
    }

    double expected(OneArgument f, double x)
    {
        mpfr_set_d(a_.value, x, MPFR_RNDN);
        return rounded(result_, f(result_.value, a_.value, MPFR_RNDN));
    }
    double expected(TwoArguments f, double x, double y)
    {
        mpfr_set_d(a_.value, x, MPFR_RNDN);
        mpfr_set_d(b_.value, y, MPFR_RNDN);
        return rounded(result_, f(result_.value, a_.value, b_.value, MPFR_RNDN));
    }

    void check(OneArgument f, double (*ours)(double), double x)
    {
        ASSERT_TRUE(sameBits(ours(x), expected(f, x)))
            << std::hexfloat << x << " gives " << ours(x) << ", not " << expected(f, x);
    }
    void check(TwoArguments f, double (*ours)(double, double), double x, double y)
    {
        ASSERT_TRUE(sameBits(ours(x, y), expected(f, x, y)))
            << std::hexfloat << "(" << x << ", " << y << ") gives " << ours(x, y) << ", not " << expected(f, x, y);
    }

private:
    Number a_, b_, result_;
};

long argumentCount()
{
    char const* const text = std::getenv("SINEW_TEST_MATH_COUNT");
    return text ? std::atol(text) : 1000000;
}

// Uniform in [low, high], ends included.
int integer(Random& random, int low, int high)
{
    return low + random.below(high - low + 1);
}

// Numbers of all kinds: any bits, all exponents around 1, plain decimals, small fractions and the neighbourhood of 1.
double anyNumber(Random& random)
{
    double const sign = random.oneIn(2) ? -1.0 : 1.0;
    switch (integer(random, 0, 6)) {
    case 0:
        return fromBits(random.bits());
    case 1:
        return sign * std::ldexp(random.uniform(1, 2), integer(random, -60, 60));
    case 2:
        return sign * random.uniform(0, 2000);
    case 3:
        return integer(random, -2000, 2000) / std::ldexp(1.0, integer(random, 0, 5));
    case 4:
        return 1.0 + sign * std::ldexp(random.uniform(0, 1), -integer(random, 0, 50));
    case 5:
        return sign * random.uniform(0, 1e5);
    default:
        return sign * random.uniform(0, 10);
    }
}

// Zeros, ones, limits, powers of two, and the ends of the ranges in which results are finite or not zero.
std::vector<double> const kSpecial = {0.0,
                                      1.0,
                                      2.0,
                                      3.0,
                                      0.5,
                                      1.5,
                                      2.5,
                                      4.0,
                                      9.0,
                                      0.25,
                                      1.0 / 3,
                                      10.0,
                                      33.0,
                                      34.0,
                                      53.0,
                                      1023.0,
                                      1024.0,
                                      1074.0,
                                      1075.0,
                                      0x1p53,
                                      0x1p53 + 2,
                                      0x1.fffffffffffffp52,
                                      0x1p52,
                                      0x1p51 + 0.5,
                                      0x1p-27,
                                      0x1p-28,
                                      0x1p-53,
                                      0x1p-54,
                                      0x1p-55,
                                      709.782712893384,
                                      709.7827128933841,
                                      745.1332191019411,
                                      745.1332191019412,
                                      708.3964185322641,
                                      0x1.921fb54442d18p+0,
                                      0x1.921fb54442d18p+1,
                                      0x1.921fb54442d18p+600,
                                      0x1p19,
                                      0x1p27,
                                      704.0,
                                      1 + 0x1p-9,
                                      1 - 0x1p-10,
                                      0x1p1023,
                                      0x1p-1022,
                                      0x1.fffffffffffffp-1023,
                                      kSmallest,
                                      kLargest,
                                      kInfinity};

std::vector<double> specialNumbers()
{
    std::vector<double> all = {kNaN};
    for (double x : kSpecial) {
        for (double y : {x, std::nextafter(x, 0.0), std::nextafter(x, kInfinity)}) {
            all.push_back(y);
            all.push_back(-y);
        }
    }
    return all;
}

struct Unary
{
    char const* name;
    OneArgument reference;
    double (*ours)(double);
};
constexpr std::array<Unary, 4> kUnary = {{{"sin", mpfr_sin, portable::sin},
                                          {"cos", mpfr_cos, portable::cos},
                                          {"exp", mpfr_exp, portable::exp},
                                          {"log", mpfr_log, portable::log}}};

struct Binary
{
    char const* name;
    TwoArguments reference;
    double (*ours)(double, double);
};
constexpr std::array<Binary, 2> kBinary = {{{"atan2", mpfr_atan2, portable::atan2}, {"pow", mpfr_pow, portable::pow}}};

void PrintTo(Unary const& function, std::ostream* out)
{
    *out << function.name;
}
void PrintTo(Binary const& function, std::ostream* out)
{
    *out << function.name;
}

class PortableMathOfOne : public PortableMath, public testing::WithParamInterface<Unary>
{
};
class PortableMathOfTwo : public PortableMath, public testing::WithParamInterface<Binary>
{
};

INSTANTIATE_TEST_SUITE_P(All, PortableMathOfOne, testing::ValuesIn(kUnary),
                         [](auto const& test) { return test.param.name; });
INSTANTIATE_TEST_SUITE_P(All, PortableMathOfTwo, testing::ValuesIn(kBinary),
                         [](auto const& test) { return test.param.name; });

TEST_P(PortableMathOfOne, IsTheNearestDoubleForRandomArguments)
{
    Random random(20261122);
    bool const positive = std::string(GetParam().name) == "log";
    for (long i = 0, count = argumentCount(); i < count; ++i) {
        double const x = anyNumber(random);
        check(GetParam().reference, GetParam().ours, positive ? std::fabs(x) : x);
        if (HasFatalFailure()) return;
    }
}

TEST_P(PortableMathOfTwo, IsTheNearestDoubleForRandomArguments)
{
    Random random(20261123);
    bool const isPow = std::string(GetParam().name) == "pow";
    for (long i = 0, count = argumentCount(); i < count; ++i) {
        double const x = anyNumber(random);
        check(GetParam().reference, GetParam().ours, isPow && !random.oneIn(4) ? std::fabs(x) : x, anyNumber(random));
        if (HasFatalFailure()) return;
    }
}

TEST_P(PortableMathOfOne, TakesSpecialNumbersAsTheStandardAsks)
{
    for (double x : specialNumbers()) check(GetParam().reference, GetParam().ours, x);
}

TEST_P(PortableMathOfTwo, TakesSpecialNumbersAsTheStandardAsks)
{
    std::vector<double> const numbers = specialNumbers();
    for (double x : numbers) {
        for (double y : numbers) check(GetParam().reference, GetParam().ours, x, y);
    }
}

// Arguments whose results lie so near to the middle between two doubles, or to a double, that the quick steps cannot
// round them. Source: V. Lefevre and J.-M. Muller, Worst cases for correct rounding of the elementary functions in
// double precision, 2001, and the lists that its authors and P. Zimmermann have published since.
TEST_F(PortableMath, RoundsThePublishedHardCasesOfExp)
{
    for (double x : {0x1.0122ef37212ebp-1, 0x1.00d48a707b93ep-1, 0x1.12480415bea2ap-1, 0x1.48943846e5e2ep-1,
                     0x1.50b1a9149baa5p-1, 0x1.6a8123554ddbcp-1, 0x1.83020efd2ac01p-1, 0x1.9e4e63c1b1276p-1,
                     0x1.accfbe46b4efp-1,  0x1.c49bb0f91edc2p-1, 0x1.d812635ec82eap-1, 0x1.f3def4241cf47p-1,
                     0x1.008eb56314daap+0, 0x1.0fcf2b7f62592p+0, 0x1.20a390e63da8p+0,  0x1.303239b51efbp+0,
                     0x1.3b4eae354aa3p+0,  0x1.4576d45be6677p+0, 0x1.58324f77fed4p+0,  0x1.6fbce05407de8p+0}) {
        check(mpfr_exp, portable::exp, x);
    }
}

TEST_F(PortableMath, RoundsThePublishedHardCasesOfLog)
{
    for (double x : {0x1.a6ae5142326b5p+0, 0x1.a702b2ce91b3p+0,   0x1.bbfff9457d5c3p+0,  0x1.d3931d6c88bf4p+0,
                     0x1.1e852e6951306p+1, 0x1.3fa2991e8c0c2p+1,  0x1.547de187239f2p+1,  0x1.7ff23252efdd2p+1,
                     0x1.ffcd1f1e0c16fp+1, 0x1.2d26e1ebebee6p+2,  0x1.5b6e7e4e96f86p+2,  0x1.d2d4fc2760589p+2,
                     0x1.49ae1d7a058e5p+3, 0x1.7dd12c217b6a1p+2,  0x1.31dada611c96ap+4,  0x1.7bfa9a7695d47p+10,
                     0x1.a9e443ef995bp+13, 0x1.8017814cf0f05p+18, 0x1.0092086ce40eap+27, 0x1.a6004162f2b8cp+45}) {
        check(mpfr_log, portable::log, x);
    }
}

TEST_F(PortableMath, RoundsThePublishedHardCasesOfAtan2)
{
    for (auto const& [y, x] :
         std::initializer_list<std::pair<double, double>>{{0x5.0c0913c304108p+52, 0xd.e8e7150878bbp+48},
                                                          {0x3.fb515bccee34cp+52, 0x1.08b801e149ea1p+52},
                                                          {0xa.3daf052d9e0d8p+56, 0x1.b75934f5ff25ap+52},
                                                          {0x1.43a2619d9e519p+60, 0x2.2958260348d1ap+52},
                                                          {0x5.dd59103f78094p+68, 0x2.52b440ec4e6e2p+52},
                                                          {0x1.00c4cb2d062d7p+80, 0x1.40d09694118e6p+52},
                                                          {0x1.75b2951e4f032p+88, 0x1.c29f18a1bbfddp+52},
                                                          {0xb.3e948f9991f4p+48, 0x9.880201e9ec0fp+48},
                                                          {0x2.9b6419a51ea6p+88, 0xc.718cc1bad579p+48},
                                                          {0x3.bf04cd58567cap+52, 0x3.63ccd93051dfp+52}}) {
        for (double s : {1.0, -1.0}) {
            for (double t : {1.0, -1.0}) {
                check(mpfr_atan2, portable::atan2, s * y, t * x);
                check(mpfr_atan2, portable::atan2, s * x, t * y);
            }
        }
    }
}

TEST_F(PortableMath, RoundsThePublishedHardCasesOfPow)
{
    // The last two agree with a middle in 150 bits more: 256 bits do not suffice.
    check(mpfr_pow, portable::pow, 0x1.ffffffffffffcp-1, 0x1.fffffffffffffp-2);
    check(mpfr_pow, portable::pow, 0x1.ffffffffffffcp-1, -0x1.ffffffffffffdp-2);
    check(mpfr_pow, portable::pow, 0x1.ffffffffffffp-1, -0x1.ffffffffffff6p-3);
    check(mpfr_pow, portable::pow, 0x1.ffffffffffff8p-1, -0x1.ffffffffffffbp-3);
}

TEST_F(PortableMath, RoundsSineAndCosineOfWholeMultiplesOfHalfPi)
{
    // The doubles nearest to multiples of pi / 2 cancel most bits of a reduction; 5.31e267 is the worst of all doubles.
    // Source: J.-M. Muller, Elementary Functions, Algorithms and Implementation, 2006, section 9.3.2.
    std::vector<double> arguments = {6381956970095103.0 * 0x1p797, 0x1.921fb54442d18p+0, 0x1.6ac5b262ca1ffp+849};
    for (int i = 1; i < 20000; ++i) arguments.push_back(i * 0x1.921fb54442d18p+0);
    for (double x : arguments) {
        for (double y : {x, std::nextafter(x, 0.0), -std::nextafter(x, kInfinity)}) {
            check(mpfr_sin, portable::sin, y);
            check(mpfr_cos, portable::cos, y);
        }
    }
}

TEST_F(PortableMath, RoundsPowersThatAreExactOrHalfWay)
{
    for (int odd = 1; odd < 2000; odd += 2) {
        for (int n = 1; n <= 40; ++n) {
            for (double scale : {1.0, 0x1p-7, 0x1p20}) {
                check(mpfr_pow, portable::pow, odd * scale, n);
                check(mpfr_pow, portable::pow, -odd * scale, n);
            }
        }
        double const square = static_cast<double>(odd) * odd;
        for (double x : {square, square * 4, square * square, square * square * square}) {
            for (double y : {0.5, 1.5, 2.5, 0.25, 0.75, -0.5, 0.125}) check(mpfr_pow, portable::pow, x, y);
        }
    }
    for (int n = -1080; n <= 1030; ++n) {
        for (double x : {2.0, 4.0, 0.5, -2.0, 0x1p-10}) check(mpfr_pow, portable::pow, x, n);
        check(mpfr_pow, portable::pow, 4.0, n + 0.5);
    }
}

TEST_F(PortableMath, RoundsArctangentsThatAreSubnormalOrNextToTheirTangent)
{
    Random random(7);
    for (int i = 0; i < 100000; ++i) {
        double const x = std::ldexp(static_cast<double>(integer(random, 1, 64)), integer(random, -20, 1000));
        double const y = std::ldexp(static_cast<double>(integer(random, 1, 1 << 20)), integer(random, -1074, 30));
        check(mpfr_atan2, portable::atan2, y, x);
        check(mpfr_atan2, portable::atan2, y, -x);
    }
}

// ---- the single steps

// The fraction of `value` that lies within one unit of the last of `bits` binary places.
void expectNear(UInt128 ours, mpfr_t value, int places)
{
    Number expected(400), actual(400);
    mpfr_mul_2si(expected.value, value, places, MPFR_RNDN);
    mpfr_set_ui(actual.value, static_cast<unsigned long>(ours.high >> 32), MPFR_RNDN);
    for (std::uint64_t part : {ours.high & 0xffffffffu, ours.low >> 32, ours.low & 0xffffffffu}) {
        mpfr_mul_2si(actual.value, actual.value, 32, MPFR_RNDN);
        mpfr_add_ui(actual.value, actual.value, static_cast<unsigned long>(part), MPFR_RNDN);
    }
    mpfr_sub(actual.value, actual.value, expected.value, MPFR_RNDN);
    EXPECT_LE(std::fabs(mpfr_get_d(actual.value, MPFR_RNDN)), 1.0);
}

void expectNear(portable::TwoDoubles const& ours, mpfr_t value, double error)
{
    Number difference(400);
    mpfr_sub_d(difference.value, value, ours.high, MPFR_RNDN);
    mpfr_sub_d(difference.value, difference.value, ours.low, MPFR_RNDN);
    EXPECT_LE(std::fabs(mpfr_get_d(difference.value, MPFR_RNDN)), error);
}

TEST(PortableMathTables, HoldPowersOfTwo)
{
    Number x(400);
    for (int i = 0; i < 128; ++i) {
        mpfr_set_d(x.value, i / 128.0, MPFR_RNDN);
        mpfr_exp2(x.value, x.value, MPFR_RNDN);
        expectNear(portable::kExp2Coarse[i], x.value, 127);
        mpfr_set_d(x.value, i / 16384.0, MPFR_RNDN);
        mpfr_exp2(x.value, x.value, MPFR_RNDN);
        mpfr_sub_ui(x.value, x.value, 1, MPFR_RNDN);
        expectNear(UInt128{0, portable::kExp2Fine[i]}, x.value, 70);
    }
}

TEST(PortableMathTables, HoldPowersOfTwoForTheQuickStep)
{
    Number x(400);
    for (int i = 0; i < 512; ++i) {
        mpfr_set_d(x.value, i / 512.0, MPFR_RNDN);
        mpfr_exp2(x.value, x.value, MPFR_RNDN);
        expectNear(portable::kExp2Table[i], x.value, 0x1p-105);
    }
}

void setLog(Number& result, double x)
{
    mpfr_set_d(result.value, x, MPFR_RNDN);
    mpfr_log(result.value, result.value, MPFR_RNDN);
}

// -ln of `factor` as an integer.
void expectLogarithm(double factor, portable::LogStep const& step)
{
    Number x(400);
    setLog(x, factor);
    bool const below = step.high >> 63 != 0; // negative, as -ln of a factor above 1
    UInt128 const magnitude = below ? -UInt128{step.high, step.low} : UInt128{step.high, step.low};
    mpfr_abs(x.value, x.value, MPFR_RNDN);
    expectNear(magnitude, x.value, 96);
    EXPECT_EQ(below, factor > 1);
}

TEST(PortableMathTables, HoldLogarithmsOfTheirFactors)
{
    for (int i = 0; i < 128; ++i) {
        portable::LogStep const& step = portable::kLogCoarse[i];
        double const factor = static_cast<double>(step.reciprocal) / 256 * (i < portable::kLogUpper ? 1 : 2);
        expectLogarithm(factor, step);
    }
    for (std::size_t j = 0; j < std::size(portable::kLogFine); ++j) {
        portable::LogStep const& step = portable::kLogFine[j];
        expectLogarithm(static_cast<double>(step.reciprocal) / 32768, step);
    }
}

bool isMultipleOf(double x, int exponent) // of 2^exponent
{
    double const quotient = std::ldexp(x, -exponent);
    return quotient == std::nearbyint(quotient);
}

TEST(PortableMathTables, HoldLogarithmsForTheQuickStep)
{
    Number x(400);
    for (std::uint64_t i = 0; i < 512; ++i) {
        SCOPED_TRACE(i);
        portable::QuickLogStep const& step = portable::kQuickLog[i];
        setLog(x, static_cast<double>(step.reciprocal) / 1024);
        mpfr_neg(x.value, x.value, MPFR_RNDN);
        expectNear({step.high, step.low}, x.value, 0x1p-95);
        EXPECT_TRUE(isMultipleOf(step.high, -42));

        // The first and the last mantissa of the interval: r is exact, and below 2^-9.
        for (std::uint64_t fraction : {i << 43, ((i + 1) << 43) - 1}) {
            double const mantissa = fromBits(bitsOf(1.0) | fraction);
            portable::QuickLogarithm const split = portable::splitLog(bitsOf(mantissa));
            Number r(400);
            mpfr_set_d(r.value, mantissa, MPFR_RNDN);
            mpfr_mul_ui(r.value, r.value, static_cast<unsigned long>(step.reciprocal), MPFR_RNDN);
            mpfr_div_ui(r.value, r.value, 1024, MPFR_RNDN);
            mpfr_sub_ui(r.value, r.value, 1, MPFR_RNDN);
            EXPECT_EQ(mpfr_cmp_d(r.value, split.r), 0);
            EXPECT_LT(std::fabs(split.r), 0x1p-9);
            EXPECT_TRUE(split.high == 0.0 || std::fabs(split.high) > std::fabs(split.r));
        }
    }
}

TEST(PortableMathTables, HoldTheStepsOfTheQuickReductions)
{
    Number x(400);
    mpfr_const_log2(x.value, MPFR_RNDN);
    expectNear(portable::kLn2Table, x.value, 0x1p-95);
    EXPECT_TRUE(isMultipleOf(portable::kLn2Table.high, -42));
    mpfr_div_ui(x.value, x.value, 512, MPFR_RNDN);
    expectNear(portable::kLn2Step, x.value, 0x1p-96);
    EXPECT_TRUE(isMultipleOf(portable::kLn2Step.high, -42)); // 32 places after the first one, which counts 2^-10
    mpfr_ui_div(x.value, 1, x.value, MPFR_RNDN);
    EXPECT_EQ(portable::kStepsPerLn2, mpfr_get_d(x.value, MPFR_RNDN));

    mpfr_const_pi(x.value, MPFR_RNDN);
    mpfr_div_ui(x.value, x.value, 2, MPFR_RNDN);
    expectNear(portable::kHalfPiTable, x.value, 0x1p-106);
    mpfr_div_ui(x.value, x.value, 128, MPFR_RNDN);
    int const places[] = {-25, -44, -60};
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(isMultipleOf(portable::kPiStep[i], places[i]));
        mpfr_sub_d(x.value, x.value, portable::kPiStep[i], MPFR_RNDN);
        EXPECT_LE(std::fabs(mpfr_get_d(x.value, MPFR_RNDN)), std::ldexp(0.5, places[i]));
    }
    EXPECT_EQ(portable::kPiStep[3], mpfr_get_d(x.value, MPFR_RNDN));
    mpfr_const_pi(x.value, MPFR_RNDN);
    mpfr_ui_div(x.value, 256, x.value, MPFR_RNDN);
    EXPECT_EQ(portable::kStepsPerTurnPart, mpfr_get_d(x.value, MPFR_RNDN));
}

TEST(PortableMathTables, HoldSinesAndArctangents)
{
    Number x(400), step(400);
    mpfr_const_pi(step.value, MPFR_RNDN);
    mpfr_div_ui(step.value, step.value, 256, MPFR_RNDN);
    for (int i = 0; i <= 128; ++i) {
        mpfr_mul_ui(x.value, step.value, static_cast<unsigned long>(i), MPFR_RNDN);
        Number cosine(400);
        mpfr_cos(cosine.value, x.value, MPFR_RNDN);
        mpfr_sin(x.value, x.value, MPFR_RNDN);
        expectNear(portable::kSineTable[i], x.value, 0x1p-79);
        EXPECT_EQ(bitsOf(portable::kSineTable[i].high) & 0x3ffffffu, 0u); // 27 bits
        if (i <= 64) {
            expectNear(portable::kSines[i].sine, x.value, 127);
            expectNear(portable::kSines[i].cosine, cosine.value, 127);
        }
        mpfr_set_d(x.value, i / 128.0, MPFR_RNDN);
        mpfr_atan(x.value, x.value, MPFR_RNDN);
        expectNear(portable::kArctangents[i], x.value, 127);
        expectNear(portable::kArctangentTable[i], x.value, 0x1p-105);
    }
}

// The relative error of a wide number, as a power of two.
template <std::size_t kWords>
double errorExponent(Wide<kWords> const& ours, mpfr_t expected)
{
    Number actual(900);
    mpfr_set_ui(actual.value, 0, MPFR_RNDN);
    for (std::uint64_t word : ours.words) {
        for (int shift : {32, 0}) {
            mpfr_mul_2si(actual.value, actual.value, 32, MPFR_RNDN);
            mpfr_add_ui(actual.value, actual.value, static_cast<unsigned long>(word >> shift & 0xffffffffu), MPFR_RNDN);
        }
    }
    mpfr_mul_2si(actual.value, actual.value, ours.exponent - static_cast<int>(64 * kWords), MPFR_RNDN);
    if (ours.negative) mpfr_neg(actual.value, actual.value, MPFR_RNDN);
    mpfr_sub(actual.value, actual.value, expected, MPFR_RNDN);
    mpfr_div(actual.value, actual.value, expected, MPFR_RNDN);
    return mpfr_zero_p(actual.value) ? -1e9 : static_cast<double>(mpfr_get_exp(actual.value));
}

template <std::size_t kWords>
void checkWideFunctions()
{
    Random random(99);
    int const bits = static_cast<int>(64 * kWords);
    for (int i = 0; i < 300; ++i) {
        Number x(900);
        double const value = random.uniform(-0.79, 0.79) * std::ldexp(1.0, -integer(random, 0, 30));
        portable::Parts const parts = portable::partsOf(bitsOf(value) & ~portable::kSignBit);
        auto wide = portable::makeWide<kWords>(parts.mantissa, parts.exponent - 63);
        wide.negative = value < 0;

        mpfr_set_d(x.value, value, MPFR_RNDN);
        mpfr_sin(x.value, x.value, MPFR_RNDN);
        EXPECT_LT(errorExponent(portable::wideSine(wide), x.value), portable::kWideSineErrorBits - bits - 8);
        mpfr_set_d(x.value, value, MPFR_RNDN);
        mpfr_cos(x.value, x.value, MPFR_RNDN);
        EXPECT_LT(errorExponent(portable::wideCosine(wide), x.value), portable::kWideSineErrorBits - bits - 8);

        double const exponent = value * 900;
        portable::Parts const larger = portable::partsOf(bitsOf(exponent) & ~portable::kSignBit);
        wide = portable::makeWide<kWords>(larger.mantissa, larger.exponent - 63);
        wide.negative = exponent < 0;
        mpfr_set_d(x.value, exponent, MPFR_RNDN);
        mpfr_exp(x.value, x.value, MPFR_RNDN);
        EXPECT_LT(errorExponent(portable::wideExp(wide), x.value), portable::kWideExpErrorBits - bits - 8);

        double const positive = std::ldexp(random.uniform(1, 2), integer(random, -1000, 1000));
        mpfr_set_d(x.value, positive, MPFR_RNDN);
        mpfr_log(x.value, x.value, MPFR_RNDN);
        EXPECT_LT(errorExponent(portable::wideLog<kWords>(bitsOf(positive)), x.value),
                  portable::kWideLogErrorBits - bits - 8);
    }
}

TEST(PortableMathWide, ErrorsAreBelowTheirBoundsWith256Bits)
{
    checkWideFunctions<4>();
}

TEST(PortableMathWide, ErrorsAreBelowTheirBoundsWith512Bits)
{
    checkWideFunctions<8>();
}

} // namespace
