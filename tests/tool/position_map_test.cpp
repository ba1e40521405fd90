#include <tool/tour/position_map.h>

#include <cmath>

#include <gtest/gtest.h>

#include <tool/io/obj_reader.h>
#include <tool/models/models.h>
#include <tool/tour/textured_function.h>

#include "stage_run.h"

namespace {

using tool::Vector2;

// Two squares in space that are two islands of the texture, side by side with a gap. The second square stands upright.
tool::TexturedMesh twoSquares()
{
    tool::TexturedMesh mesh;
    mesh.positions = {{0, 0, 0}, {2, 0, 0}, {2, 2, 0}, {0, 2, 0}, {2, 0, 0}, {2, 0, 4}, {2, 2, 4}, {2, 2, 0}};
    mesh.texcoords = {{0, 0}, {0.4, 0}, {0.4, 1}, {0, 1}, {0.6, 0}, {1, 0}, {1, 1}, {0.6, 1}};
    mesh.triangles = mesh.texTriangles = {{0, 1, 2}, {0, 2, 3}, {4, 5, 6}, {4, 6, 7}};
    return mesh;
}

// 10 x 10 texels over the unit square, from the upper left.
sinew::Raster tenByTen()
{
    tool::PlaneMap const unitSquare({0, 0}, {1, 1}, {0, 0, 100, 100});
    return tool::rasterOf(unitSquare, {0, 0, 100, 100}, 10, 10);
}

struct Baked
{
    tool::TexturedMesh mesh = twoSquares();
    MeshFunction2D function = tool::sideViewFunction(mesh);
    tool::PositionMap map = tool::bakePositions(mesh, function, tenByTen());
    tool::PositionColours colours{mesh.positions};
};

// A point of the surfaces above, continued beyond their sides. Between the squares the nearer one counts.
Vector3 pointOf(Vector2 const& texcoord)
{
    if (texcoord.x < 0.5) return {5 * texcoord.x, 2 * texcoord.y, 0};
    return {2, 2 * texcoord.y, 10 * (texcoord.x - 0.6)};
}

} // namespace

TEST(PositionMap, HoldsThePointsOfTheModelAndContinuesThemOutside)
{
    Baked const baked;
    std::size_t inside = 0;
    for (int y = 0; y < 10; ++y) {
        for (int x = 0; x < 10; ++x) {
            SCOPED_TRACE(testing::Message() << "texel " << x << ", " << y);
            std::size_t const texel = baked.map.texelAt(x, y);
            Vector2 const at = sinew::pixelPoint(baked.map.raster, x, y);
            EXPECT_EQ(baked.map.isInside(texel), x < 4 || x > 5);
            inside += baked.map.isInside(texel);
            EXPECT_NEAR(dist(baked.map.positions[texel], pointOf(at)), 0, 1e-12);
            EXPECT_NEAR(dist(baked.map.normals[texel], at.x < 0.5 ? Vector3(0, 0, 1) : Vector3(-1, 0, 0)), 0, 1e-12);
        }
    }
    EXPECT_EQ(inside, 80u);
}

TEST(PositionMap, ThePictureHasTheColoursOfThePositionsAndIsPaleOutside)
{
    Baked const baked;
    tool::Image const picture = tool::pictureOf(baked.map, baked.colours, 10);
    for (int x : {0, 3, 4, 9}) {
        std::size_t const texel = baked.map.texelAt(x, 2);
        tool::Colour const expected = baked.colours(baked.map.positions[texel]);
        bool const isSame =
            picture.at(x, 2).r == expected.r && picture.at(x, 2).g == expected.g && picture.at(x, 2).b == expected.b;
        EXPECT_EQ(isSame, baked.map.isInside(texel)) << x;
    }
    EXPECT_GT(baked.colours({2, 0, 0}).r, baked.colours({0, 0, 0}).r);
    EXPECT_GT(baked.colours({0, 2, 0}).g, baked.colours({0, 0, 0}).g);
    EXPECT_GT(baked.colours({0, 0, 4}).b, baked.colours({0, 0, 0}).b);
    EXPECT_EQ(baked.colours({9, 0, 0}).r, baked.colours({2, 0, 0}).r) << "limited outside the model's box";
    EXPECT_EQ(baked.colours({NAN, 0, 0}).r, baked.colours({0, 0, 0}).r);
}

TEST(PositionMap, DrawsTheModelWithATexelAroundEachIslandAndNothingBetweenIslands)
{
    Baked const baked;
    tool::Solid const solid =
        tool::solidOf(baked.map, baked.function.facets, baked.function.params.size(), baked.colours);
    // Each island has 4 columns of texels and one extrapolated column beside them.
    EXPECT_EQ(solid.positions.size(), 100u);
    EXPECT_EQ(solid.triangles.size(), 2u * 2u * 4u * 9u);
    for (tool::Triangle const& t : solid.triangles) {
        bool const first = solid.positions[static_cast<std::size_t>(t[0])].z == 0;
        for (int const v : t) {
            Vector3 const& p = solid.positions[static_cast<std::size_t>(v)];
            EXPECT_TRUE(first ? p.z == 0 : std::fabs(p.x - 2) < 1e-12) << "a triangle lies on one square";
        }
    }
}

TEST(PositionMap, WithoutTexelsOnTheModelDrawsNothing)
{
    Baked baked;
    sinew::Raster raster = tenByTen();
    raster.origin = {3, 3};
    baked.map = tool::bakePositions(baked.mesh, baked.function, raster);
    EXPECT_TRUE(
        tool::solidOf(baked.map, baked.function.facets, baked.function.params.size(), baked.colours).triangles.empty());
}

TEST(MeshFunctionStage, BakesThePositionsOfTheBundledModelAndPassesItsChecks)
{
    test::StageRun run;
    run.tour.mesh = tool::parseObj(tool::bundledKoiObj(), "koi.obj");
    tool::meshFunctionStage(run.tour);
    EXPECT_EQ(run.report.failedClaims(), std::vector<std::string>());
    EXPECT_FALSE(tool::readFile(run.folder / "position-map.png").empty());
    EXPECT_NE(run.page().find("the position map gives the values of the mesh function"), std::string::npos);
}
