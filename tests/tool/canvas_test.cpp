#include <tool/draw/canvas.h>

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include <sinew/core/vector_geometry.h>

#include <tool/draw/renderer.h>

namespace {

using tool::Canvas;
using tool::Colour;

bool near(Colour const& a, Colour const& b)
{
    double const step = 1.5 / 255; // the rounding of a channel to a byte
    return std::fabs(a.r - b.r) < step && std::fabs(a.g - b.g) < step && std::fabs(a.b - b.b) < step;
}

TEST(Canvas, ScalesUnitsToPixels)
{
    Canvas sheet(100, 50, 0.5, {1, 1, 1});
    sheet.rectangle({40, 20, 20, 20}, {1, 0, 0});
    tool::Image const pixels = sheet.pixelsOf();
    EXPECT_EQ(pixels.width(), 50);
    EXPECT_EQ(pixels.height(), 25);
    EXPECT_TRUE(near(pixels.at(25, 15), {1, 0, 0}));
    EXPECT_TRUE(near(pixels.at(10, 15), {1, 1, 1}));
}

TEST(Canvas, KeepsAnImageUpright)
{
    Canvas sheet(4, 4, 1, {1, 1, 1});
    tool::Image image(4, 4, {0, 0, 1});
    image.at(3, 0) = {1, 0, 0};
    sheet.image(image, {0, 0, 4, 4});
    EXPECT_TRUE(near(sheet.pixelsOf().at(3, 0), {1, 0, 0}));
    EXPECT_TRUE(near(sheet.pixelsOf().at(0, 3), {0, 0, 1}));
}

TEST(SvgOf, KeepsShapesAndTurnsTextIntoOutlines)
{
    std::string const text = tool::svgOf(100, 50, [](Canvas& canvas) {
        canvas.polylines({{{0, 0}, {9, 5}}, {{1, 2}, {3, 4}}}, {});
        canvas.text({10, 10}, "a");
    });
    EXPECT_NE(text.find("width=\"100px\" height=\"50px\""), std::string::npos);
    EXPECT_NE(text.find("M 0 0 L 9 5 M 1 2 L 3 4"), std::string::npos) << text;
    EXPECT_EQ(text.find("<text"), std::string::npos);
    EXPECT_NE(text.find("</svg>"), std::string::npos) << "the end of the file";
}

TEST(SvgOf, EmbedsImagesAtTwoPixelsAUnit)
{
    int pixels = 0;
    std::string const text = tool::svgOf(4, 4, [&](Canvas& canvas) {
        pixels = canvas.pixels(4);
        canvas.image(tool::Image(pixels, pixels, {0, 0, 1}), {0, 0, 4, 4});
    });
    EXPECT_EQ(pixels, 8);
    EXPECT_NE(text.find("data:image/png;base64,"), std::string::npos);
}

TEST(PlaneMap, MapsYUpwardsAndHasAnInverse)
{
    tool::PlaneMap const map({0, 0}, {2, 1}, {0, 0, 200, 200});
    EXPECT_EQ(map({0, 0}).x, 0);
    EXPECT_EQ(map({0, 0}).y, 150);
    EXPECT_EQ(map({2, 1}).y, 50);
    tool::Point const back = map.inverse(map({0.3, 0.7}));
    EXPECT_NEAR(back.x, 0.3, 1e-12);
    EXPECT_NEAR(back.y, 0.7, 1e-12);
}

TEST(ColourMaps, ClampTheirArgumentAndAcceptNaN)
{
    EXPECT_TRUE(near(tool::viridis(-5), tool::viridis(0)));
    EXPECT_TRUE(near(tool::viridis(7), tool::viridis(1)));
    EXPECT_TRUE(near(tool::viridis(std::numeric_limits<double>::quiet_NaN()), tool::viridis(0)));
    EXPECT_TRUE(near(tool::diverging(-2), tool::diverging(-1)));
    EXPECT_TRUE(near(tool::categorical(-1), tool::categorical(7)));
}

TEST(ColourMaps, ViridisBecomesLighter)
{
    double last = -1;
    for (int i = 0; i <= 100; ++i) {
        double const lightness = tool::desaturate(tool::viridis(i / 100.0), 1).r;
        EXPECT_GT(lightness, last);
        last = lightness;
    }
}

TEST(NiceNumbers, GroupThousands)
{
    EXPECT_EQ(tool::niceCount(7), "7");
    EXPECT_EQ(tool::niceCount(-1234567), "-1\u202f234\u202f567");
    EXPECT_EQ(tool::niceCount(-123), "-123");
    EXPECT_EQ(tool::niceCount(1000), "1\u202f000");
}

TEST(Render, TheNearerTriangleHidesTheFarther)
{
    tool::Solid far{{{-1, -1, 0}, {1, -1, 0}, {0, 2, 0}}, {{0, 1, 2}}};
    tool::Solid close{{{-1, -1, 1}, {1, -1, 1}, {0, 2, 1}}, {{0, 2, 1}}}; // seen from behind: both sides are drawn
    far.colour = {1, 0, 0};
    close.colour = {0, 0, 1};
    tool::View const view({-1, -1, 0}, {1, 2, 1}, 0, 0, {0, 0, 60, 60});
    for (auto const& solids : {std::vector<tool::Solid>{far, close}, std::vector<tool::Solid>{close, far}}) {
        Colour const middle = tool::render(solids, view, 1).at(30, 30);
        EXPECT_GT(middle.b, 4 * middle.r);
    }
}

TEST(Render, DrawsPointsWhereTheViewMapsThem)
{
    Vector3 const low(-1, -1, -1), high(1, 1, 1);
    tool::View const view(low, high, 30, 20, {10, 20, 80, 60});
    Vector3 const at(0.3, 0.5, 0.2);
    tool::Solid dot{
        {at - view.right() * 0.1 - view.up() * 0.1, at + view.right() * 0.1 - view.up() * 0.1, at + view.up() * 0.15},
        {{0, 1, 2}}};
    dot.colour = {1, 0, 0};
    tool::RenderOptions options;
    options.ground = false;
    tool::Image const image = tool::render({dot}, view, 1, options);
    tool::Point const p = view(at);
    Colour const there = image.at(static_cast<int>(p.x - 10), static_cast<int>(p.y - 20));
    EXPECT_GT(there.r, 3 * there.g);
    Vector3 const ray = view.rayThrough(p);
    EXPECT_LT(dist(projectOnLine(at, view.eye(), UVector3(ray)), at), 1e-9);
}

TEST(Render, DrawsTheBackgroundWithoutSolids)
{
    tool::View const view({0, 0, 0}, {1, 1, 1}, 0, 30, {0, 0, 8, 8});
    EXPECT_TRUE(near(tool::render({}, view, 1).at(4, 4), tool::palette::paper));
}

} // namespace
