#include <sinew/framework/vect2.h>

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "support/bits.h"
#include "support/random.h"

using Point = tzNM::vect2<double>;

TEST(Vect2, LengthIsTheRootOfTheSquaredLength)
{
    EXPECT_EQ(Point(3, 4).lengthSq(), 25.0);
    EXPECT_EQ(Point(3, 4).length(), 5.0);
    EXPECT_EQ(Point(-5, 12).length(), 13.0);
    EXPECT_EQ(Point(0, -0.0).length(), 0.0);
    EXPECT_EQ(tzNM::vect2<float>(8, 15).length(), 17.0f);
    EXPECT_EQ(Point(1e200, 0).length(), std::numeric_limits<double>::infinity()) << "the square overflows";
    EXPECT_EQ(Point(0, std::numeric_limits<double>::infinity()).length(), std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(Point(std::numeric_limits<double>::quiet_NaN(), 1).length()));
    test::Random random(11);
    for (int i = 0; i < 1000; ++i) {
        Point const p(random.hostile(), random.hostile());
        EXPECT_TRUE(test::sameBits(p.length(), std::sqrt(p.x * p.x + p.y * p.y))) << p.x << ' ' << p.y;
    }
}

TEST(Vect2, OperatorsWorkOnBothComponents)
{
    Point const a(1, 2);
    Point const b(10, 40);
    EXPECT_EQ(a + b, Point(11, 42));
    EXPECT_EQ(b - a, Point(9, 38));
    EXPECT_EQ(-b, Point(-10, -40));
    EXPECT_EQ(b * 0.5, Point(5, 20));
    EXPECT_EQ(0.5 * b, Point(5, 20));
    EXPECT_EQ(b / 4, Point(2.5, 10));
    EXPECT_EQ(a * b, 90.0);
    Point c = a;
    c += b;
    EXPECT_EQ(c, Point(11, 42));
    c -= a;
    EXPECT_EQ(c, b);
    c *= 3;
    EXPECT_EQ(c, Point(30, 120));
    EXPECT_TRUE(a == Point(1, 2) && a != Point(1, 3) && a != Point(0, 2));
    EXPECT_EQ(Point(), Point(-0.0, 0));
}

TEST(Vect2, IndexZeroIsXAndEveryOtherIsY)
{
    Point p(1, 2);
    EXPECT_EQ(p[0], 1);
    for (int const i : {1, 2, -1}) EXPECT_EQ(p[i], 2);
    p[0] = 3;
    p[1] = 4;
    EXPECT_EQ(p, Point(3, 4));
}
