#include <sinew/skinning/detail/triangle_tree.h>

#include <array>
#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include <sinew/queries/rays.h>

#include "support/random.h"

using sinew::detail::kUncountedEnd;
using sinew::detail::TriangleTree;
using test::Random;

namespace {

struct Soup
{
    std::vector<Vector3> points;
    std::vector<std::array<int, 3>> triangles;

    bool isCrossed(Vector3 const& from, Vector3 const& to) const
    {
        sinew::Ray const ray(from, to - from);
        for (auto const& t : triangles) {
            auto const corner = [&](std::size_t k) { return points[static_cast<std::size_t>(t[k])]; };
            if (sinew::rayTriangle(ray, corner(0), corner(1), corner(2), kUncountedEnd, 1 - kUncountedEnd).hit)
                return true;
        }
        return false;
    }
};

// Points on a grid, so that segments pass edges and corners and lie in planes; or anywhere.
Vector3 pointOf(Random& random, bool onGrid, double size)
{
    Vector3 const p = random.point(-size, size);
    if (!onGrid) return p;
    double const step = size / 4;
    return {std::floor(p.x / step) * step, std::floor(p.y / step) * step, std::floor(p.z / step) * step};
}

} // namespace

TEST(TriangleTree, DecidesAsTheComparisonWithAllTriangles)
{
    Random random(3);
    int crossed = 0, queries = 0;
    for (int trial = 0; trial < 400; ++trial) {
        SCOPED_TRACE(trial);
        bool const onGrid = random.oneIn(2);
        double const size = std::ldexp(1.0, random.oneIn(3) ? -random.below(60) : 1);
        Vector3 const shift = random.oneIn(3) ? random.point(-1.9, 1.9) : Vector3();
        Soup soup;
        for (int i = 0; i < 40; ++i) soup.points.push_back(pointOf(random, onGrid, size) + shift);
        int const triangles = random.below(60);
        for (int t = 0; t < triangles; ++t) {
            int const a = random.below(40), b = random.below(40);
            soup.triangles.push_back({a, b, random.below(40)});
        }
        TriangleTree const tree(soup.points, soup.triangles);
        for (int q = 0; q < 40; ++q) {
            Vector3 const from = random.oneIn(2) ? soup.points[static_cast<std::size_t>(random.below(40))]
                                                 : pointOf(random, onGrid, size) + shift;
            Vector3 const to = random.oneIn(8) ? from : pointOf(random, onGrid, size) + shift;
            bool const expected = soup.isCrossed(from, to);
            ASSERT_EQ(tree.isCrossed(from, to), expected) << q;
            crossed += expected;
            ++queries;
        }
    }
    EXPECT_GT(crossed, queries / 8);
    EXPECT_LT(crossed, queries - queries / 8);
}

TEST(TriangleTree, LetsNothingThroughASharedEdge)
{
    // A plane of squares, each divided by its diagonal; segments through edges and corners, and near them.
    Soup soup;
    for (int i = 0; i <= 8; ++i) {
        for (int j = 0; j <= 8; ++j) soup.points.emplace_back(0.3 * i - 1.2, 0.3 * j - 1.2, 0.01 * (i - j));
    }
    for (int i = 0; i < 8; ++i) {
        for (int j = 0; j < 8; ++j) {
            int const a = 9 * i + j;
            soup.triangles.push_back({a, a + 1, a + 10});
            soup.triangles.push_back({a, a + 10, a + 9});
        }
    }
    TriangleTree const tree(soup.points, soup.triangles);
    Random random(9);
    for (int trial = 0; trial < 20000; ++trial) {
        auto const& t = soup.triangles[static_cast<std::size_t>(random.below(128))];
        Vector3 const& a = soup.points[static_cast<std::size_t>(t[0])];
        Vector3 const& b = soup.points[static_cast<std::size_t>(t[2])];
        Vector3 const on = random.oneIn(4) ? a : a + (b - a) * random.uniform(0, 1);
        if (std::fabs(on.x) > 1 || std::fabs(on.y) > 1) continue; // near the border the plane ends
        Vector3 const along = {random.uniform(-0.3, 0.3), random.uniform(-0.3, 0.3), 1};
        ASSERT_TRUE(tree.isCrossed(on - along, on + along)) << trial;
    }
}

TEST(TriangleTree, DoesNotCountTheTrianglesAtTheEnds)
{
    std::vector<Vector3> const points = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {0, 1, 1}};
    TriangleTree const tree(points, {{0, 1, 2}, {3, 4, 5}});
    EXPECT_FALSE(tree.isCrossed({0.2, 0.2, 0}, {0.2, 0.2, 1})) << "from one triangle to the other";
    EXPECT_FALSE(tree.isCrossed({0, 0, 0}, {0, 0, 1})) << "from corner to corner";
    EXPECT_FALSE(tree.isCrossed({0.2, 0.2, -0.00005}, {0.2, 0.2, 0.95})) << "within the uncounted end";
    EXPECT_TRUE(tree.isCrossed({0.2, 0.2, -0.0002}, {0.2, 0.2, 0.95}));
    EXPECT_TRUE(tree.isCrossed({0.2, 0.2, 0.05}, {0.2, 0.2, 1.0002}));
    EXPECT_FALSE(tree.isCrossed({0.2, 0.2, 0.5}, {0.2, 0.2, 0.5})) << "without length";
    EXPECT_FALSE(tree.isCrossed({0.2, 0.2, 0}, {0.4, 0.2, 0})) << "in the plane of the triangle";
}

TEST(TriangleTree, WithoutTrianglesIsNeverCrossed)
{
    std::vector<Vector3> const points = {{0, 0, 0}};
    EXPECT_FALSE(TriangleTree(points, {}).isCrossed({0, 0, -1}, {0, 0, 1}));
}
