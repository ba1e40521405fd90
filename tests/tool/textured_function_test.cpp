#include <tool/tour/textured_function.h>

#include <gtest/gtest.h>

#include <tool/io/obj_reader.h>
#include <tool/models/models.h>

namespace {

using tool::Vector2;

tool::TexturedMesh koi()
{
    return tool::parseObj(tool::bundledKoiObj(), "koi.obj");
}

bool isSame(tool::Colour const& a, tool::Colour const& b)
{
    return a.r == b.r && a.g == b.g && a.b == b.b && a.a == b.a;
}

} // namespace

TEST(RasterOf, HasTheMiddlesOfThePixelsWithRowZeroAtTheTop)
{
    tool::PlaneMap const map({0, 0}, {2, 1}, {0, 0, 200, 100});
    sinew::Raster const raster = tool::rasterOf(map, {0, 0, 200, 100}, 10, 20);
    EXPECT_EQ(raster.width, 10);
    EXPECT_EQ(raster.height, 20);
    Vector2 const first = sinew::pixelPoint(raster, 0, 0), last = sinew::pixelPoint(raster, 9, 19);
    EXPECT_NEAR(first.x, 0.1, 1e-15);
    EXPECT_NEAR(first.y, 0.975, 1e-15);
    EXPECT_NEAR(last.x, 1.9, 1e-15);
    EXPECT_NEAR(last.y, 0.025, 1e-15);
}

TEST(RasterOf, OfAPartOfTheSheetHasThePointsThatTheMapShowsThere)
{
    tool::PlaneMap const map({-3, 2}, {5, 7}, {10, 20, 640, 480});
    sinew::Raster const raster = tool::rasterOf(map, {100, 50, 60, 30}, 6, 3);
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 6; ++x) {
            tool::Point const expected = map.inverse({100 + 10 * (x + 0.5), 50 + 10 * (y + 0.5)});
            Vector2 const point = sinew::pixelPoint(raster, x, y);
            EXPECT_NEAR(point.x, expected.x, 1e-13);
            EXPECT_NEAR(point.y, expected.y, 1e-13);
        }
    }
}

TEST(Unfold, HasAVertexForEachPairOfAPositionAndATextureCoordinate)
{
    tool::TexturedMesh mesh;
    mesh.positions = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}};
    mesh.texcoords = {{0, 0}, {1, 0}, {0, 1}, {1, 1}, {5, 5}};
    mesh.triangles = {{0, 1, 2}, {2, 1, 3}};
    mesh.texTriangles = {{0, 1, 2}, {2, 4, 3}}; // position 1 lies at two places of the texture
    tool::UnfoldedMesh const unfolded = tool::unfold(mesh);
    EXPECT_EQ(unfolded.positions, (std::vector<int>{0, 1, 2, 1, 3}));
    EXPECT_EQ(unfolded.texcoords, (std::vector<int>{0, 1, 2, 4, 3}));
    EXPECT_EQ(unfolded.facets, (std::vector<int>{0, 1, 2, 2, 3, 4}));
}

TEST(BakeTexture, HasThePatternAtTheFunctionsValueInEveryTexel)
{
    constexpr int kSize = 37;
    MeshFunction2D const function = tool::sideViewFunction(koi());
    tool::Image const texture = tool::bakeTexture(function, kSize);
    ASSERT_EQ(texture.width(), kSize);
    ASSERT_EQ(texture.height(), kSize);
    sinew::Raster const raster = tool::rasterOf({{0, 0}, {1, 1}, {0, 0, 1, 1}}, {0, 0, 1, 1}, kSize, kSize);
    for (int y = 0; y < kSize; ++y) {
        for (int x = 0; x < kSize; ++x) {
            Vector2 value;
            ASSERT_TRUE(function.extrapolate(sinew::pixelPoint(raster, x, y), &value, nullptr));
            EXPECT_TRUE(isSame(texture.at(x, y), tool::koiPattern(value))) << x << ", " << y;
        }
    }
}

TEST(BakeTexture, IsPaleWhereTheFunctionHasNoValue)
{
    MeshFunction2D const nowhere({}, {}, {}, {});
    tool::Image const texture = tool::bakeTexture(nowhere, 3);
    for (int k = 0; k < 9; ++k) EXPECT_TRUE(isSame(texture.at(k % 3, k / 3), tool::Colour::hex(0xf6efe3)));
}
