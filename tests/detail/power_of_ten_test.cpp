#include <sinew/detail/power_of_ten.h>

#include <cmath>

#include <gtest/gtest.h>

#include <sinew/detail/exact_comparison.h>

using sinew::detail::BigInteger;
using sinew::detail::PowerOfTen;
using sinew::detail::powerOfTen;

namespace {

// mantissa * 2^exponent, over 10^k: negative if it is less than 1.
int compareWithPower(sinew::detail::portable::UInt128 mantissa, int exponent, int k)
{
    BigInteger scaled(mantissa.high);
    scaled.multiplyByPowerOfTwo(64);
    scaled.multiplyAdd(1, mantissa.low);
    BigInteger power(1);
    (k > 0 ? power : scaled).multiplyByPowerOfFive(std::abs(k));
    int const twos = exponent - k;
    (twos > 0 ? scaled : power).multiplyByPowerOfTwo(std::abs(twos));
    return compare(scaled, power);
}

} // namespace

TEST(PowerOfTen, AllAreTruncatedTo128Bits)
{
    using sinew::detail::kGreatestPowerOfTen;
    using sinew::detail::kLeastPowerOfTen;
    for (int k = kLeastPowerOfTen; k <= kGreatestPowerOfTen; ++k) {
        SCOPED_TRACE(k);
        PowerOfTen const power = powerOfTen(k);
        EXPECT_NE(power.mantissa.high >> 63, 0u);
        int const order = compareWithPower(power.mantissa, power.exponent, k);
        EXPECT_LE(order, 0);
        EXPECT_EQ(order == 0, power.exact);
        EXPECT_GT(compareWithPower(power.mantissa + sinew::detail::portable::UInt128{0, 1}, power.exponent, k), 0);
    }
}

TEST(PowerOfTen, LogarithmsAreRoundedDown)
{
    for (int q = -1100; q <= 1100; ++q) {
        SCOPED_TRACE(q);
        // No logarithm comes closer to an integer than 1e-4, except that of 1.
        double const log10 = q * std::log10(2.0);
        EXPECT_EQ(sinew::detail::floorLog10OfPowerOfTwo(q), std::floor(log10));
        EXPECT_EQ(sinew::detail::floorLog10OfThreeQuarters(q), std::floor(log10 + std::log10(0.75)));
    }
    for (int k = -1100; k <= 1100; ++k) {
        EXPECT_EQ(sinew::detail::floorLog2OfPowerOfTen(k), std::floor(k * std::log2(10.0))) << k;
    }
}
