#include <sinew/meshfunc/texture_compaction.h>

#include <limits>

#include <gtest/gtest.h>

#include <sinew/meshfunc/mesh_function_2d.h>

#include "meshfunc/mesh_samples.h"
#include "meshfunc/reference_texture_compaction.h"
#include "support/bits.h"
#include "support/random.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

struct Texture
{
    int width;
    int height;
    std::vector<bool> mask;

    Texture(int w, int h) : width(w), height(h), mask(static_cast<std::size_t>(w) * static_cast<std::size_t>(h)) {}
    void use(int x, int y)
    {
        mask[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)] = true;
    }
    void use(int x0, int y0, int x1, int y1)
    {
        for (int y = y0; y <= y1; ++y) {
            for (int x = x0; x <= x1; ++x) use(x, y);
        }
    }
    EmptyRectTester tester() const { return EmptyRectTester(mask, width, height); }
    TextureOptimizer optimizer() const { return TextureOptimizer(mask, width, height); }
};

bool sameMotion(TextureOptimizer::RectMotion const& a, TextureOptimizer::RectMotion const& b)
{
    return a.x == b.x && a.y == b.y && a.w == b.w && a.h == b.h && a.dx == b.dx && a.dy == b.dy;
}

void expectMotion(TextureOptimizer const& optimizer, TextureOptimizer::RectMotion const& motion)
{
    ASSERT_EQ(optimizer.motions.size(), 1U);
    TextureOptimizer::RectMotion const& m = optimizer.motions[0];
    EXPECT_TRUE(sameMotion(m, motion)) << m.x << " " << m.y << " " << m.w << " " << m.h << " " << m.dx << " " << m.dy;
}

void expectUnmoved(TextureOptimizer const& optimizer, int newWidth, int newHeight)
{
    EXPECT_TRUE(optimizer.motions.empty());
    EXPECT_EQ(optimizer.newWidth, newWidth);
    EXPECT_EQ(optimizer.newHeight, newHeight);
    double u = 0, v = 0;
    optimizer.mapCoord(0.3, 1.7, u, v);
    EXPECT_EQ(u, 0.3);
    EXPECT_EQ(v, 1.7);
}

// Texels used with probability 1 / sparsity inside a random box.
Texture randomTexture(test::Random& random, int width, int height)
{
    Texture texture(width, height);
    int const x0 = random.below(width), x1 = x0 + random.below(width - x0);
    int const y0 = random.below(height), y1 = y0 + random.below(height - y0);
    int const sparsity = 1 + random.below(200);
    for (int y = y0; y <= y1; ++y) {
        for (int x = x0; x <= x1; ++x) {
            if (random.oneIn(sparsity)) texture.use(x, y);
        }
    }
    return texture;
}

// Sizes around the borders of words and blocks, and a few between them.
constexpr int kSizes[] = {1, 2, 7, 8, 9, 63, 64, 65, 127, 128, 129, 200, 513};

} // namespace

TEST(Clip, ClampsAValueToTheRange)
{
    EXPECT_EQ(clip(5, 0, 10), 5);
    EXPECT_EQ(clip(-5, 0, 10), 0);
    EXPECT_EQ(clip(50, 0, 10), 10);
    EXPECT_EQ(clip(5, 10, 3), 10) << "the lower bound is applied last";
    EXPECT_EQ(clip(20, 10, 3), 10);
    EXPECT_EQ(clip(std::numeric_limits<int>::min(), -1, 1), -1);
}

// ---- EmptyRectTester ----

TEST(EmptyRectTester, HoldsOneForEveryUnusedTexel)
{
    Texture texture(3, 2);
    texture.use(1, 0);
    texture.use(2, 1);
    EmptyRectTester const tester = texture.tester();
    EXPECT_EQ(tester.width, 3);
    EXPECT_EQ(tester.height, 2);
    EXPECT_EQ(tester.emptyTexels, (std::vector<int>{1, 0, 1, 1, 1, 0}));
}

TEST(EmptyRectTester, MaskOfTheWrongSizeMakesNoRectangleEmpty)
{
    for (std::size_t entries : {0U, 5U, 7U, 100U}) {
        EmptyRectTester const tester(std::vector<bool>(entries), 3, 2);
        EXPECT_TRUE(tester.emptyTexels.empty());
        EXPECT_FALSE(tester.isRectEmpty(0, 0, 1, 1));
    }
    EXPECT_FALSE(EmptyRectTester({}, 0, 7).isRectEmpty(0, 0, 1, 1));
    EXPECT_FALSE(EmptyRectTester({}, 7, 0).isRectEmpty(0, 0, 1, 1));
    EXPECT_FALSE(EmptyRectTester(std::vector<bool>(6), -3, -2).isRectEmpty(0, 0, 1, 1));
    EXPECT_FALSE(EmptyRectTester({}, 65536, 65536).isRectEmpty(0, 0, 1, 1)) << "2^32 texels are not 0";
}

TEST(EmptyRectTester, NoRectangleIsEmptyAfterAChangeOfTheSizes)
{
    EmptyRectTester tester = Texture(100, 200).tester();
    EXPECT_TRUE(tester.isRectEmpty(0, 0, 1, 1));
    std::swap(tester.width, tester.height);
    EXPECT_FALSE(tester.isRectEmpty(0, 0, 1, 1));
    std::swap(tester.width, tester.height);
    tester.emptyTexels.pop_back();
    EXPECT_FALSE(tester.isRectEmpty(0, 0, 1, 1));

    EmptyRectTester taller = Texture(64, 40).tester(); // the same number of texels, and a row is still one word
    taller.width = 40;
    taller.height = 64;
    EXPECT_FALSE(taller.isRectEmpty(0, 0, 1, 1));
}

TEST(EmptyRectTester, MarginIsOneTexel)
{
    Texture texture(16, 16);
    texture.use(8, 8);
    EmptyRectTester const tester = texture.tester();
    auto const empty = [&tester](double x0, double y0, double x1, double y1) {
        return tester.isRectEmpty(x0 / 16, y0 / 16, x1 / 16, y1 / 16);
    };
    EXPECT_FALSE(empty(8.2, 8.2, 8.4, 8.4)) << "the used texel itself";
    EXPECT_FALSE(empty(9, 8, 9.5, 8.5)) << "only the margin holds it";
    EXPECT_FALSE(empty(7, 8, 7.5, 8.5));
    EXPECT_FALSE(empty(8, 9, 8.5, 9.5));
    EXPECT_FALSE(empty(8, 7, 8.5, 7.5));
    EXPECT_TRUE(empty(10, 8, 11, 8.5));
    EXPECT_TRUE(empty(5, 8, 6.9, 8.5));
    EXPECT_TRUE(empty(8, 10, 8.5, 11));
    EXPECT_TRUE(empty(8, 5, 8.5, 6.9));
}

TEST(EmptyRectTester, CoordinatesOutsideAreClampedToTheEdge)
{
    Texture texture(16, 16);
    texture.use(0, 0);
    texture.use(15, 15);
    EmptyRectTester const tester = texture.tester();
    for (double far : {1e3, 1e10, 1e300, kInfinity}) {
        SCOPED_TRACE(far);
        EXPECT_FALSE(tester.isRectEmpty(-far, -far, -far, -far));
        EXPECT_FALSE(tester.isRectEmpty(far, far, far, far));
        EXPECT_TRUE(tester.isRectEmpty(-far, far, -far, far));
        EXPECT_FALSE(tester.isRectEmpty(-far, -far, far, far));
    }
    EXPECT_FALSE(tester.isRectEmpty(kNaN, kNaN, kNaN, kNaN)) << "NaN is coordinate 0";
    EXPECT_TRUE(tester.isRectEmpty(0.5, 0.5, kNaN, kNaN)) << "the minimum is above the maximum";
}

TEST(EmptyRectTester, RectangleWithItsMinimumAboveItsMaximumIsEmpty)
{
    Texture texture(16, 16);
    texture.use(0, 0, 15, 15);
    EXPECT_TRUE(texture.tester().isRectEmpty(0.8, 0, 0.2, 1));
    EXPECT_TRUE(texture.tester().isRectEmpty(0, 0.8, 1, 0.2));
    EXPECT_FALSE(texture.tester().isRectEmpty(8.0 / 16, 0, 6.0 / 16, 1)) << "the margins on both sides meet";
}

TEST(EmptyRectTester, SameAsTheReference)
{
    test::Random random(701);
    for (int width : kSizes) {
        for (int height : {1, 8, 9, 65, 130}) {
            SCOPED_TRACE(testing::Message() << width << " x " << height);
            Texture const texture = randomTexture(random, width, height);
            EmptyRectTester const tester = texture.tester();
            for (std::size_t i = 0; i < texture.mask.size(); ++i)
                ASSERT_EQ(tester.emptyTexels[i], texture.mask[i] ? 0 : 1);
            for (int trial = 0; trial < 200; ++trial) {
                double rect[4];
                for (double& c : rect) c = random.oneIn(20) ? random.hostile() : random.uniform(-0.2, 1.2);
                if (random.oneIn(2)) { // small rectangles, which are empty more often
                    rect[2] = rect[0] + random.uniform(0, 9.0 / width);
                    rect[3] = rect[1] + random.uniform(0, 9.0 / height);
                }
                EXPECT_EQ(tester.isRectEmpty(rect[0], rect[1], rect[2], rect[3]),
                          reference::isRectEmpty(tester.emptyTexels, width, height, rect[0], rect[1], rect[2], rect[3]))
                    << rect[0] << " " << rect[1] << " " << rect[2] << " " << rect[3];
            }
        }
    }
}

TEST(EmptyRectTester, SingleUsedTexelIsFoundInEveryRange)
{
    // Every range of columns, with one used texel at the borders of words and blocks.
    for (int at : {0, 7, 8, 62, 63, 64, 65, 71, 72}) {
        Texture texture(73, 17);
        texture.use(at, 8);
        EmptyRectTester const tester = texture.tester();
        for (int x0 = 0; x0 < 73; ++x0) {
            for (int x1 = x0; x1 < 73; ++x1) {
                bool const found = x0 - 1 <= at && at <= x1 + 1;
                ASSERT_EQ(tester.isRectEmpty((x0 + 0.5) / 73, 0.5, (x1 + 0.5) / 73, 0.5), !found) << x0 << " " << x1;
            }
        }
    }
}

// ---- TextureOptimizer ----

TEST(TextureOptimizer, UsedPartMovesToTheCorner)
{
    Texture texture(256, 256);
    texture.use(10, 30, 20, 40);
    TextureOptimizer const optimizer = texture.optimizer();
    expectMotion(optimizer, {9, 29, 13, 13, -9, -29});
    EXPECT_EQ(optimizer.width, 256);
    EXPECT_EQ(optimizer.height, 256);
    EXPECT_EQ(optimizer.newWidth, 16);
    EXPECT_EQ(optimizer.newHeight, 16);
    double u = 0, v = 0;
    optimizer.mapCoord(15.0 / 256, 35.0 / 256, u, v);
    EXPECT_EQ(u, (15.0 + -9) / 16);
    EXPECT_EQ(v, (35.0 + -29) / 16);
}

TEST(TextureOptimizer, PartOfHalfTheTextureAlongBothAxesDoesNotMove)
{
    Texture both(256, 256);
    both.use(10, 20, 135, 217); // with the margin 128 columns and 200 rows
    expectUnmoved(both.optimizer(), 256, 256);
    Texture narrower(256, 256);
    narrower.use(10, 20, 134, 217); // 127 columns: less than half along one axis is enough
    expectMotion(narrower.optimizer(), {9, 19, 127, 200, -9, -19});
    EXPECT_EQ(narrower.optimizer().newHeight, 256);
    Texture lower(256, 256);
    lower.use(10, 20, 217, 144);
    expectMotion(lower.optimizer(), {9, 19, 210, 127, -9, -19});
}

TEST(TextureOptimizer, MarginStaysInsideTheTexture)
{
    Texture corner(64, 64);
    corner.use(0, 0);
    expectMotion(corner.optimizer(), {0, 0, 2, 2, 0, 0});
    Texture opposite(64, 64);
    opposite.use(63, 63);
    expectMotion(opposite.optimizer(), {62, 62, 2, 2, -62, -62});
    EXPECT_EQ(opposite.optimizer().newWidth, 2);
}

TEST(TextureOptimizer, NegativeSizesChangeNothing)
{
    for (auto const& [width, height] : {std::pair(4, -1), {-1, 4}, {-2, -2}}) {
        TextureOptimizer const optimizer(std::vector<bool>(4, true), width, height);
        EXPECT_EQ(optimizer.newWidth, width);
        EXPECT_EQ(optimizer.newHeight, height);
    }
}

TEST(TextureOptimizer, SizeThatIsAPowerOfTwoIsKept)
{
    Texture texture(100, 100);
    texture.use(10, 10, 23, 24);
    TextureOptimizer const optimizer = texture.optimizer();
    EXPECT_EQ(optimizer.newWidth, 16) << "16 columns";
    EXPECT_EQ(optimizer.newHeight, 32) << "17 rows";
    Texture column(1, 100);
    column.use(0, 50);
    EXPECT_EQ(column.optimizer().newWidth, 1) << "the smallest power is 1";
}

TEST(TextureOptimizer, NoUsedTexelGivesATextureOfSizeZero)
{
    expectUnmoved(Texture(64, 64).optimizer(), 0, 0);
    expectUnmoved(TextureOptimizer({}, 0, 0), 0, 0);
    expectUnmoved(TextureOptimizer({}, 5, 0), 0, 0);
}

TEST(TextureOptimizer, MaskOfTheWrongSizeKeepsTheTexture)
{
    expectUnmoved(TextureOptimizer(std::vector<bool>(63, true), 8, 8), 8, 8);
    expectUnmoved(TextureOptimizer({}, 8, 8), 8, 8);
    expectUnmoved(TextureOptimizer(std::vector<bool>(6, true), -2, -3), -2, -3);
    expectUnmoved(TextureOptimizer({}, 65536, 65536), 65536, 65536);
}

TEST(TextureOptimizer, SameAsTheReference)
{
    test::Random random(702);
    for (int width : kSizes) {
        for (int height : kSizes) {
            for (int trial = 0; trial < 5; ++trial) {
                SCOPED_TRACE(testing::Message() << width << " x " << height << " " << trial);
                Texture const texture = randomTexture(random, width, height);
                TextureOptimizer const optimizer = texture.optimizer();
                reference::Optimized const expected = reference::optimize(texture.mask, width, height);
                EXPECT_EQ(optimizer.newWidth, expected.newWidth);
                EXPECT_EQ(optimizer.newHeight, expected.newHeight);
                ASSERT_EQ(optimizer.motions.size(), expected.motions.size());
                if (!expected.motions.empty()) {
                    EXPECT_TRUE(sameMotion(optimizer.motions[0], expected.motions[0]));
                }
            }
        }
    }
}

TEST(TextureOptimizer, BitsBeyondTheMaskAreIgnored)
{
    // The last word of the mask has bits that are not part of it. They stay set when entries are erased.
    std::vector<bool> mask(128, true);
    mask.resize(70);
    std::fill(mask.begin(), mask.end(), false);
    mask.resize(70);
    expectUnmoved(TextureOptimizer(mask, 10, 7), 0, 0);
    mask.assign(128, true);
    mask.resize(35);
    std::fill(mask.begin(), mask.begin() + 33, false);
    expectMotion(TextureOptimizer(mask, 5, 7), {2, 5, 3, 2, -2, -5});
}

TEST(TextureOptimizer, NearestRectangleMovesThePointAndTheFirstWinsTies)
{
    TextureOptimizer optimizer = Texture(100, 100).optimizer();
    optimizer.newWidth = optimizer.newHeight = 10;
    optimizer.motions = {{10, 10, 10, 10, 1, 2}, {30, 10, 10, 10, 3, 4}, {10, 30, 10, 10, 5, 6}};
    auto const mappedBy = [&optimizer](double column, double row) {
        double u = 0, v = 0;
        optimizer.mapCoord(column / 100, row / 100, u, v);
        for (std::size_t i = 0; i < optimizer.motions.size(); ++i) {
            TextureOptimizer::RectMotion const& m = optimizer.motions[i];
            bool const mapped = u == (column / 100 * 100 + m.dx) / 10 && v == (row / 100 * 100 + m.dy) / 10;
            if (mapped) return static_cast<int>(i);
        }
        return -1;
    };
    EXPECT_EQ(mappedBy(15, 15), 0);
    EXPECT_EQ(mappedBy(35, 12), 1);
    EXPECT_EQ(mappedBy(12, 39), 2);
    // Columns 19 and 30 are the nearest ones: 24 is 5 and 6 away, 25 is 6 and 5 away.
    EXPECT_EQ(mappedBy(24, 15), 0);
    EXPECT_EQ(mappedBy(25, 15), 1);
    optimizer.motions[1].x = 31;
    EXPECT_EQ(mappedBy(25, 15), 0) << "6 away from both: the first one applies";
    EXPECT_EQ(mappedBy(25.9, 15), 0) << "the distance is that of the texel, not of the point in it";
    EXPECT_EQ(mappedBy(-50, -50), 0);
    EXPECT_EQ(mappedBy(500, 12), 1);
}

TEST(TextureOptimizer, HugeAndNaNCoordinatesMapByArithmetic)
{
    Texture texture(64, 64);
    texture.use(10, 10);
    TextureOptimizer const optimizer = texture.optimizer();
    double u = 0, v = 0;
    optimizer.mapCoord(1e300, -kInfinity, u, v);
    EXPECT_EQ(u, (1e300 * 64 + -9) / 4);
    EXPECT_EQ(v, -kInfinity);
    optimizer.mapCoord(kNaN, 0, u, v);
    EXPECT_NE(u, u);
    EXPECT_EQ(v, -9.0 / 4);
}

// ---- MeshFunction2D ----

namespace {

// A grid mesh whose values spread over the texture.
MeshFunction2D texturedMesh(test::Random& random, int columns, int rows)
{
    test::Mesh mesh = test::gridMesh(random, columns, rows);
    for (std::size_t i = 0; i < mesh.params.size(); ++i) mesh.values[i] = mesh.params[i];
    return mesh.function();
}

bool hasValidFacets(MeshFunction2D const& f)
{
    for (int vertex : f.facets) {
        if (vertex < 0 || static_cast<std::size_t>(vertex) >= f.params.size()) return false;
    }
    return f.values.size() == f.params.size();
}

} // namespace

TEST(EraseExtraTriangles, KeepsTheTrianglesThatShowUsedTexels)
{
    test::Random random(703);
    for (int trial = 0; trial < 40; ++trial) {
        SCOPED_TRACE(trial);
        MeshFunction2D f = texturedMesh(random, 1 + random.below(8), 1 + random.below(8));
        if (trial % 4 == 0) f.normaldots.pop_back(); // not one for each vertex: unchanged
        Texture const texture = randomTexture(random, 40, 30);
        reference::Erased const expected = reference::eraseExtraTriangles(f, texture.tester());
        f.eraseExtraTriangles(texture.tester());
        EXPECT_EQ(f.facets, expected.facets);
        EXPECT_TRUE(test::sameBits(f.params, expected.params));
        EXPECT_TRUE(test::sameBits(f.values, expected.values));
        EXPECT_TRUE(test::sameBits(f.normaldots, expected.normaldots));
        EXPECT_TRUE(hasValidFacets(f));
        // The function was rebuilt: it equals a new function of the remaining vertices and triangles.
        MeshFunction2D const fresh(f.params, f.values, f.facets, f.normaldots);
        EXPECT_EQ(f.gridCells, fresh.gridCells);
        EXPECT_EQ(f.boundaryFacets, fresh.boundaryFacets);
    }
}

TEST(EraseExtraTriangles, LastTriangleReplacesAnErasedOne)
{
    // Four separate triangles, one in each quarter of the texture.
    test::Mesh mesh;
    for (int i = 0; i < 4; ++i) {
        double const x = 0.1 + 0.5 * (i % 2), y = 0.1 + 0.5 * (i / 2);
        int const a = mesh.addVertex(x, y), b = mesh.addVertex(x + 0.2, y), c = mesh.addVertex(x, y + 0.2);
        mesh.addTriangle(a, b, c);
    }
    mesh.values = mesh.params;
    MeshFunction2D f = mesh.function();
    Texture texture(32, 32);
    texture.use(17, 2, 30, 14);  // shown by triangle 1
    texture.use(17, 18, 30, 30); // shown by triangle 3
    f.eraseExtraTriangles(texture.tester());
    EXPECT_EQ(f.facets, (std::vector<int>{3, 4, 5, 0, 1, 2}))
        << "triangle 3 replaced triangle 0, then triangle 2 was erased at the end";
    EXPECT_EQ(f.params.size(), 6U) << "the vertices of erased triangles are removed, the others keep their order";
    EXPECT_TRUE(test::sameBits(f.params[0], mesh.params[3]));
    EXPECT_TRUE(test::sameBits(f.params[3], mesh.params[9]));
    EXPECT_EQ(f.normaldots.size(), 6U);
}

TEST(EraseExtraTriangles, NoUsedTexelLeavesAnEmptyFunction)
{
    test::Random random(704);
    MeshFunction2D f = texturedMesh(random, 3, 3);
    f.eraseExtraTriangles(Texture(16, 16).tester());
    EXPECT_TRUE(f.facets.empty());
    EXPECT_TRUE(f.params.empty());
    EXPECT_TRUE(f.values.empty());
    EXPECT_TRUE(f.normaldots.empty());
    EXPECT_EQ(f.gridSize[0], 0);
    EXPECT_EQ(f.gridSize[1], 0);
    tzNM::vect2<double> value;
    EXPECT_FALSE(f.extrapolate({0.5, 0.5}, &value, nullptr));
}

TEST(EraseExtraTriangles, MaskOfTheWrongSizeKeepsEveryTriangle)
{
    test::Random random(705);
    MeshFunction2D f = texturedMesh(random, 3, 3);
    std::vector<int> const facets = f.facets;
    f.eraseExtraTriangles(EmptyRectTester({}, 16, 16));
    EXPECT_EQ(f.facets, facets);
}

TEST(EraseExtraTriangles, FacetsThatAreNotTriplesChangeNothing)
{
    test::Random random(706);
    MeshFunction2D f = texturedMesh(random, 2, 2);
    f.facets.push_back(0);
    std::vector<int> const facets = f.facets;
    std::size_t const vertices = f.params.size();
    f.eraseExtraTriangles(Texture(16, 16).tester());
    EXPECT_EQ(f.facets, facets);
    EXPECT_EQ(f.params.size(), vertices);
}

TEST(EraseExtraTriangles, TrianglesWithMissingVerticesAreErased)
{
    Texture all(16, 16);
    all.use(0, 0, 15, 15);
    for (int missing : {-1, 4, 1000000, std::numeric_limits<int>::min()}) {
        SCOPED_TRACE(missing);
        MeshFunction2D f = test::square().function();
        std::vector<int> const whole = f.facets;
        f.facets.insert(f.facets.begin(), {0, missing, 1});
        f.facets.insert(f.facets.end(), {missing, 0, 1});
        f.eraseExtraTriangles(all.tester());
        EXPECT_EQ(f.facets, (std::vector<int>{whole[3], whole[4], whole[5], whole[0], whole[1], whole[2]}));
        EXPECT_EQ(f.params.size(), 4U);
    }
}

TEST(EraseExtraTriangles, SurplusParamsOrValuesAreRemoved)
{
    Texture all(16, 16);
    all.use(0, 0, 15, 15);
    for (bool surplusParams : {true, false}) {
        MeshFunction2D f = test::square().function();
        (surplusParams ? f.params : f.values).resize(9);
        f.eraseExtraTriangles(all.tester());
        EXPECT_EQ(f.params.size(), 4U);
        EXPECT_EQ(f.values.size(), 4U);
        EXPECT_EQ(f.facets.size(), 6U);
    }
}

TEST(RemapToOptimized, ChangesOnlyTheValues)
{
    test::Random random(707);
    MeshFunction2D f = texturedMesh(random, 4, 4);
    f.values[3] = {kNaN, 0.5};
    MeshFunction2D const before(f);
    Texture texture(256, 256);
    texture.use(10, 30, 20, 40);
    TextureOptimizer const optimizer = texture.optimizer();
    f.remapToOptimized(optimizer);
    for (std::size_t i = 0; i < f.values.size(); ++i) {
        tzNM::vect2<double> const expected((before.values[i].x * 256 + -9) / 16, (before.values[i].y * 256 + -29) / 16);
        EXPECT_TRUE(test::sameBits(f.values[i], expected));
    }
    EXPECT_TRUE(test::sameBits(f.params, before.params));
    EXPECT_EQ(f.facets, before.facets);
    EXPECT_EQ(f.gridCells, before.gridCells);
}

TEST(RemapToOptimized, EveryPointShowsTheSameTexelAsBefore)
{
    // A point of the domain shows the same texel in the new texture as in the old one.
    test::Random random(708);
    Texture texture(128, 64);
    texture.use(40, 20, 70, 33);
    MeshFunction2D f = texturedMesh(random, 6, 6);
    MeshFunction2D const before(f);
    TextureOptimizer const optimizer = texture.optimizer();
    f.eraseExtraTriangles(texture.tester());
    f.remapToOptimized(optimizer);
    int shown = 0;
    for (int i = 0; i < 2000; ++i) {
        tzNM::vect2<double> const p = random.point2(0, 1);
        tzNM::vect2<double> from, to;
        if (!before.evaluate(p, &from, nullptr)) continue;
        int const x = static_cast<int>(from.x * 128), y = static_cast<int>(from.y * 64);
        if (x >= 128 || y >= 64 || !texture.mask[static_cast<std::size_t>(x + 128 * y)]) continue;
        ++shown;
        ASSERT_TRUE(f.evaluate(p, &to, nullptr)) << "a point that shows a used texel was erased";
        TextureOptimizer::RectMotion const& m = optimizer.motions[0];
        EXPECT_NEAR(to.x * optimizer.newWidth, from.x * 128 + m.dx, 1e-9);
        EXPECT_NEAR(to.y * optimizer.newHeight, from.y * 64 + m.dy, 1e-9);
    }
    EXPECT_GT(shown, 50);
}
