// The body around a skeleton, and the mesher that makes its surface.

#include <cmath>
#include <map>
#include <set>

#include <gtest/gtest.h>

#include <sinew/core/vector_geometry.h>

#include <tool/figure/limb_field.h>
#include <tool/figure/surface_mesher.h>
#include <tool/models/models.h>

#include "support/random.h"

namespace {

// The distance to a circle of radius 1 in the xy plane, minus the radius of the tube.
class Torus : public tool::BodyField
{
public:
    double value(Vector3 const& p, Vector3* gradient) const override
    {
        double const across = std::hypot(p.x, p.y);
        double const q = std::hypot(across - 1, p.z);
        if (gradient) *gradient = {(across - 1) / q * p.x / across, (across - 1) / q * p.y / across, p.z / q};
        return q - 0.3;
    }
    void values(std::vector<Vector3> const& points, std::vector<double>& values) const override
    {
        values.clear();
        for (Vector3 const& p : points) values.push_back(value(p, nullptr));
    }
    bool mayCross(Vector3 const& centre, double radius) const override
    {
        return std::fabs(value(centre, nullptr)) <= radius;
    }
};

// Random signs on a lattice, positive at the border. This covers all cases of a cube, and many parts
// of the surface are close to each other.
class Noise : public tool::BodyField
{
public:
    double value(Vector3 const& p, Vector3* gradient) const override
    {
        if (gradient) *gradient = {0, 0, 0};
        long const x = std::lround(p.x), y = std::lround(p.y), z = std::lround(p.z);
        if (x <= 0 || y <= 0 || z <= 0 || x >= 16 || y >= 16 || z >= 16) return 1;
        test::Random random(static_cast<std::uint64_t>((x * 100 + y) * 100 + z));
        return random.oneIn(2) ? 1 : -1;
    }
    void values(std::vector<Vector3> const& points, std::vector<double>& values) const override
    {
        values.clear();
        for (Vector3 const& p : points) values.push_back(value(p, nullptr));
    }
    bool mayCross(Vector3 const&, double) const override { return true; }
};

TEST(MeshZeros, MakesAClosedTorusOnTheSurface)
{
    Torus const torus;
    tool::MeshedSurface const surface = tool::meshZeros(torus, {-1.5, -1.5, -0.5}, {1.5, 1.5, 0.5}, 0.07);
    tool::SurfaceTopology const topology = tool::topologyOf(surface.triangles, surface.positions.size());
    EXPECT_EQ(topology.openEdges, 0u);
    EXPECT_EQ(topology.pieces, 1);
    EXPECT_EQ(topology.eulerNumber, 0);
    EXPECT_LT(surface.largestValue, 1e-13);
    double volume = 0;
    for (tool::Triangle const& t : surface.triangles) {
        auto const at = [&](std::size_t k) { return surface.positions[static_cast<std::size_t>(t[k])]; };
        volume += cross(at(0), at(1)) * at(2) / 6;
    }
    double const pi = std::acos(-1.0);
    EXPECT_NEAR(volume, 2 * pi * pi * 0.09, 0.01 * 2 * pi * pi * 0.09); // positive: triangles face outwards
}

TEST(MeshZeros, SkipsBlocksWithoutChangingTheMesh)
{
    struct Everywhere : Torus
    {
        bool mayCross(Vector3 const&, double) const override { return true; }
    };
    tool::MeshedSurface const some = tool::meshZeros(Torus(), {-1.5, -1.5, -0.5}, {1.5, 1.5, 0.5}, 0.04);
    tool::MeshedSurface const all = tool::meshZeros(Everywhere(), {-1.5, -1.5, -0.5}, {1.5, 1.5, 0.5}, 0.04);
    EXPECT_LT(some.visitedBlocks, some.blocks);
    EXPECT_EQ(all.visitedBlocks, all.blocks);
    EXPECT_EQ(some.positions, all.positions);
    EXPECT_EQ(some.triangles, all.triangles);
}

TEST(MeshZeros, HasNoHolesForAnySigns)
{
    // Triangles must use every edge equally often in both directions. Otherwise there is a hole.
    tool::MeshedSurface const surface = tool::meshZeros(Noise(), {0, 0, 0}, {16, 16, 16}, 1);
    std::map<std::pair<int, int>, int> balance;
    for (tool::Triangle const& t : surface.triangles) {
        for (std::size_t k = 0; k < 3; ++k) {
            int const a = t[k], b = t[(k + 1) % 3];
            balance[{std::min(a, b), std::max(a, b)}] += a < b ? 1 : -1;
        }
    }
    for (auto const& [edge, sum] : balance) ASSERT_EQ(sum, 0) << edge.first << " " << edge.second;
    EXPECT_GT(surface.triangles.size(), 10000u);
}

TEST(MeshZeros, GivesAnEmptySurfaceForAnEmptyBox)
{
    tool::MeshedSurface const surface = tool::meshZeros(Torus(), {3, 3, 3}, {4, 4, 4}, 0.1);
    EXPECT_TRUE(surface.positions.empty());
    EXPECT_TRUE(surface.triangles.empty());
}

TEST(TopologyOf, CountsOpenEdges)
{
    tool::SurfaceTopology const topology = tool::topologyOf({{0, 1, 2}, {2, 1, 3}}, 5);
    EXPECT_EQ(topology.openEdges, 4u);
    EXPECT_EQ(topology.pieces, 1);
    EXPECT_EQ(topology.eulerNumber, 1); // 4 used vertices, 5 edges, 2 triangles
    EXPECT_EQ(tool::topologyOf({{0, 1, 2}, {0, 1, 3}}, 4).openEdges, 5u)
        << "an edge used twice in the same direction is open";
}

tool::Skeleton skeletonOf(std::string const& text)
{
    return tool::parseTgf(text, "s.tgf");
}

TEST(LimbField, IsABallAroundEachEndAndATubeBetween)
{
    tool::LimbField const field(skeletonOf("1 0 0 0 a 0.5\n2 4 0 0 b 0.5\n#\n1 2\n"));
    EXPECT_NEAR(field.value({2, 0.5, 0}, nullptr), 0, 1e-12);
    EXPECT_NEAR(field.value({-0.5, 0, 0}, nullptr), 0, 1e-12);
    EXPECT_LT(field.value({4.2, 0.1, 0.1}, nullptr), 0);
    EXPECT_GT(field.value({2, 0, 0.6}, nullptr), 0);
}

TEST(LimbField, GradientIsTheSlopeOfTheValue)
{
    tool::Skeleton const skeleton = tool::parseTgf(tool::bundledFigureTgf(), "figure.tgf");
    tool::LimbField const field(skeleton);
    test::Random random(5);
    for (int trial = 0; trial < 300; ++trial) {
        SCOPED_TRACE(trial);
        Vector3 const joint = skeleton.joints[static_cast<std::size_t>(random.below(22))];
        Vector3 const p = joint + random.point(-0.2, 0.2);
        Vector3 gradient;
        double const value = field.value(p, &gradient);
        EXPECT_EQ(field.value(p, nullptr), value);
        double const step = 1e-6;
        for (int k = 0; k < 3; ++k) {
            Vector3 ahead = p, behind = p;
            ahead[k] += step;
            behind[k] -= step;
            double const slope = (field.value(ahead, nullptr) - field.value(behind, nullptr)) / (2 * step);
            EXPECT_NEAR(gradient[k], slope, 1e-4 * (1 + gradient.length()));
        }
    }
}

TEST(LimbField, ManyPointsGiveTheBitsOfSinglePoints)
{
    tool::LimbField const field(tool::parseTgf(tool::bundledFigureTgf(), "figure.tgf"));
    test::Random random(6);
    std::vector<Vector3> const points = random.points(500, -0.5, 2);
    std::vector<double> values;
    field.values(points, values);
    for (std::size_t i = 0; i < points.size(); ++i) EXPECT_EQ(values[i], field.value(points[i], nullptr));
}

TEST(LimbField, TheBoundNeverExcludesAZero)
{
    tool::LimbField const field(tool::parseTgf(tool::bundledFigureTgf(), "figure.tgf"));
    test::Random random(7);
    int excluded = 0;
    for (int trial = 0; trial < 4000; ++trial) {
        Vector3 const centre = random.point(-0.2, 1.0) + Vector3(0, 0.5 * random.uniform(0, 2), -0.3);
        double const radius = random.uniform(0.01, 0.2);
        if (field.mayCross(centre, radius)) continue;
        ++excluded;
        bool const inside = field.value(centre, nullptr) < 0;
        for (int k = 0; k < 20; ++k) {
            Vector3 const p = centre + UVector3(random.point()) * (radius * random.uniform(0, 1));
            ASSERT_EQ(field.value(p, nullptr) < 0, inside) << trial;
        }
    }
    EXPECT_GT(excluded, 500);
}

TEST(BundledFigure, HasABodyWithoutHolesOrHandles)
{
    tool::LimbField const field(tool::parseTgf(tool::bundledFigureTgf(), "figure.tgf"));
    Vector3 low, high;
    field.bounds(low, high);
    tool::MeshedSurface const surface = tool::meshZeros(field, low, high, 0.02);
    tool::SurfaceTopology const topology = tool::topologyOf(surface.triangles, surface.positions.size());
    EXPECT_EQ(topology.openEdges, 0u);
    EXPECT_EQ(topology.pieces, 1);
    EXPECT_EQ(topology.eulerNumber, 2);
    EXPECT_LT(surface.largestValue, 1e-11);
}

} // namespace
