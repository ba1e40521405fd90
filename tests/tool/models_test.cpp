#include <tool/models/models.h>

#include <set>

#include <gtest/gtest.h>

#include <tool/figure/mesh_pieces.h>
#include <tool/io/obj_reader.h>
#include <tool/io/skeleton.h>
#include <tool/tour/textured_function.h>

#include "scratch_folder.h"

namespace {

TEST(BundledKoi, EqualsTheOutputOfItsGenerator)
{
    test::Outcome const made = test::run(test::quoted(SINEW_MAKE_KOI));
    EXPECT_EQ(made.status, 0);
    EXPECT_TRUE(made.output == tool::bundledKoiObj()) << "run sinew_make_koi > tool/models/koi.obj";
}

TEST(BundledKoi, HasIslandsHolesAndTouchingLoops)
{
    MeshFunction2D const function = tool::sideViewFunction(tool::parseObj(tool::bundledKoiObj(), "koi.obj"));
    int islands = 0;
    tool::pieceOfTriangle(function.facets, function.params.size(), islands);
    EXPECT_GE(islands, 3);
    EXPECT_GT(static_cast<int>(function.boundaryProjectors.size()), islands); // every hole adds a loop

    std::multiset<std::pair<double, double>> visits;
    for (auto const& loop : function.boundaryProjectors) {
        for (std::size_t i = 0; i + 1 < loop->points.size(); ++i) visits.emplace(loop->points[i].x, loop->points[i].y);
    }
    int touching = 0;
    for (auto const& place : visits) touching += visits.count(place) == 2;
    EXPECT_EQ(touching, 2 * 2); // one vertex on each side, and two visits of each
}

TEST(BundledKoi, LiesInsideItsTexture)
{
    for (tool::Vector2 const& p : tool::parseObj(tool::bundledKoiObj(), "koi.obj").texcoords) {
        ASSERT_TRUE(p.x > 0.01 && p.x < 0.99 && p.y > 0.01 && p.y < 0.99) << p.x << " " << p.y;
    }
}

TEST(BundledKoi, HasOneOrientationOfTrianglesInEachIsland)
{
    tool::TexturedMesh const mesh = tool::parseObj(tool::bundledKoiObj(), "koi.obj");
    std::vector<int> sign(mesh.groups.size(), 0);
    for (std::size_t t = 0; t < mesh.texTriangles.size(); ++t) {
        auto const corner = [&](std::size_t k) {
            return mesh.texcoords[static_cast<std::size_t>(mesh.texTriangles[t][k])];
        };
        tool::Vector2 const a = corner(1) - corner(0), b = corner(2) - corner(0);
        double const area = a.x * b.y - a.y * b.x;
        int& expected = sign[static_cast<std::size_t>(mesh.groupOfTriangle[t])];
        if (expected == 0) expected = area > 0 ? 1 : -1;
        ASSERT_GT(area * expected, 0) << "triangle " << t << " of "
                                      << mesh.groups[static_cast<std::size_t>(mesh.groupOfTriangle[t])];
    }
}

TEST(BundledFigure, IsOneTreeOfNamedJoints)
{
    tool::Skeleton const skeleton = tool::parseTgf(tool::bundledFigureTgf(), "figure.tgf");
    EXPECT_EQ(skeleton.bones.size() + 1, skeleton.joints.size());
    std::set<int> reached{0};
    for (auto const& [parent, child] : skeleton.bones) {
        EXPECT_TRUE(reached.count(parent)) << "a bone comes after its parent";
        EXPECT_TRUE(reached.insert(child).second);
    }
    for (std::string const& name : skeleton.jointNames) EXPECT_EQ(name.find("joint"), std::string::npos);
}

} // namespace
