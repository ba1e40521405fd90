#include <sinew/detail/exact_comparison.h>

#include <gtest/gtest.h>

#include "detail/number_samples.h"

using sinew::detail::BigInteger;
using sinew::detail::compareExactly;
using sinew::detail::Magnitude;

namespace {

BigInteger parsed(std::string const& digits)
{
    BigInteger result;
    for (char const c : digits) result.multiplyAdd(10, static_cast<std::uint64_t>(c - '0'));
    return result;
}

} // namespace

TEST(BigInteger, ComparesByValue)
{
    BigInteger a(1), b(1);
    EXPECT_EQ(compare(a, b), 0);
    a.multiplyByPowerOfTwo(64 * 43);
    EXPECT_GT(compare(a, b), 0);
    b.multiplyByPowerOfTwo(64 * 43);
    EXPECT_EQ(compare(a, b), 0);
    b.multiplyAdd(1, 1);
    EXPECT_LT(compare(a, b), 0);
    EXPECT_EQ(compare(BigInteger(), BigInteger(0)), 0);
}

TEST(BigInteger, PowersOfFiveAndTwoMakePowersOfTen)
{
    BigInteger byParts(1), byTens(1);
    byParts.multiplyByPowerOfFive(800);
    byParts.multiplyByPowerOfTwo(800);
    for (int i = 0; i < 800; ++i) byTens.multiplyAdd(10, 0);
    EXPECT_EQ(compare(byParts, byTens), 0);
}

TEST(CompareExactly, ADecimalExpansionEqualsItsNumberAndNoOther)
{
    test::Random random(20261122);
    for (int trial = 0; trial < 300; ++trial) {
        Magnitude const m{random.bits() >> 10 | 1, random.below(2046) - 1075};
        SCOPED_TRACE(::testing::Message() << m.mantissa << " * 2^" << m.exponent);
        test::ExactDecimal const decimal = test::exactDecimal(m);
        EXPECT_EQ(compareExactly(parsed(decimal.digits), decimal.exponent, m), 0);
        EXPECT_GT(compareExactly(parsed(decimal.digits + "1"), decimal.exponent - 1, m), 0);
        EXPECT_LT(compareExactly(parsed(decimal.digits), decimal.exponent, {m.mantissa + 1, m.exponent}), 0);
    }
}
