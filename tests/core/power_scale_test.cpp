#include <cerrno>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include <sinew/core/detail/power_scale.h>

#include "support/bits.h"
#include "support/random.h"

using sinew::detail::timesPowerOfTwo;

TEST(TimesPowerOfTwo, HasTheBitsOfTheStandardFunction)
{
    test::Random random(1601);
    for (int trial = 0; trial < 300000; ++trial) {
        double const x = random.oneIn(2) ? random.hostile() : random.spread(-1074, 1023);
        int exponent = random.below(6000) - 3000;
        if (random.oneIn(2)) exponent = random.below(120) - 1130 - std::ilogb(random.uniform(1, 2)); // near subnormals
        ASSERT_TRUE(test::sameBits(timesPowerOfTwo(x, exponent), std::ldexp(x, exponent))) << x << " " << exponent;
    }
}

// Rounding twice would give another result in the second case.
TEST(TimesPowerOfTwo, RoundsOnceWhereTheResultIsSubnormal)
{
    EXPECT_EQ(timesPowerOfTwo(3, -1075), 0x1p-1073);                    // a tie, to even
    EXPECT_EQ(timesPowerOfTwo(0x1.0000000000001p+0, -1075), 0x1p-1074); // just above half of the least number
    EXPECT_EQ(timesPowerOfTwo(1, std::numeric_limits<int>::min()), 0.0);
    EXPECT_EQ(timesPowerOfTwo(0x1p-1074, 2097), 0x1p1023);
    EXPECT_EQ(timesPowerOfTwo(-1, std::numeric_limits<int>::max()), -std::numeric_limits<double>::infinity());
}

TEST(TimesPowerOfTwo, LeavesErrnoAlone)
{
    errno = 4242;
    EXPECT_EQ(timesPowerOfTwo(1, 5000), std::numeric_limits<double>::infinity());
    EXPECT_EQ(timesPowerOfTwo(1, -5000), 0.0);
    EXPECT_EQ(errno, 4242);
}
