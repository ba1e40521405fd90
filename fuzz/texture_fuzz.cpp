// The classes that make textures smaller, with masks of any size and content, compared with the reference
// implementations.

#include <algorithm>
#include <utility>
#include <vector>

#include <sinew/meshfunc/mesh_function_2d.h>
#include <sinew/meshfunc/texture_compaction.h>

#include "fuzz/input.h"
#include "meshfunc/reference_texture_compaction.h"
#include "support/bits.h"

using fuzz::Input;
using fuzz::require;
using test::sameBits;

namespace {

constexpr int kLargestSide = 140; // more than two words of bits
constexpr int kMostQueries = 40;

struct Texture
{
    int width;
    int height;
    std::vector<bool> mask;
};

// Boxes of used texels, and of unused ones in them.
Texture textureOf(Input& input)
{
    Texture t{1 + input.below(kLargestSide), 1 + input.below(kLargestSide), {}};
    t.mask.resize(static_cast<std::size_t>(t.width) * static_cast<std::size_t>(t.height));
    for (int boxes = input.below(8); boxes > 0; --boxes) {
        int const x0 = input.below(t.width), y0 = input.below(t.height);
        int const x1 = std::min(t.width, x0 + 1 + input.below(t.width));
        int const y1 = std::min(t.height, y0 + 1 + input.below(t.height));
        int const step = 1 + input.below(16);
        bool const used = input.below(4) != 0;
        for (int y = y0; y < y1; ++y) {
            for (int x = x0; x < x1; x += step) {
                t.mask[static_cast<std::size_t>(y) * static_cast<std::size_t>(t.width) + static_cast<std::size_t>(x)] =
                    used;
            }
        }
    }
    return t;
}

double coordinate(Input& input, int size)
{
    return input.flag() ? input.number() : (input.below(4 * kLargestSide) - kLargestSide) / (2.0 * size);
}

void compareRectangles(Input& input, Texture const& t, EmptyRectTester const& tester)
{
    for (int i = 0; i < kMostQueries && (i == 0 || input.more()); ++i) {
        double const x0 = coordinate(input, t.width), y0 = coordinate(input, t.height);
        double const x1 = coordinate(input, t.width), y1 = coordinate(input, t.height);
        require(tester.isRectEmpty(x0, y0, x1, y1) ==
                    reference::isRectEmpty(tester.emptyTexels, t.width, t.height, x0, y0, x1, y1),
                "rectangle as the reference");
    }
}

bool same(TextureOptimizer::RectMotion const& a, TextureOptimizer::RectMotion const& b)
{
    return a.x == b.x && a.y == b.y && a.w == b.w && a.h == b.h && a.dx == b.dx && a.dy == b.dy;
}

void compareOptimizer(Input& input, Texture const& t)
{
    TextureOptimizer optimizer(t.mask, t.width, t.height);
    reference::Optimized const expected = reference::optimize(t.mask, t.width, t.height);
    require(optimizer.newWidth == expected.newWidth && optimizer.newHeight == expected.newHeight, "same new size");
    require(optimizer.motions.size() == expected.motions.size(), "as many motions");
    for (std::size_t k = 0; k < expected.motions.size(); ++k) {
        require(same(optimizer.motions[k], expected.motions[k]), "same motion");
    }
    double const u = input.number(), v = input.number();
    double newU = 0, newV = 0;
    optimizer.mapCoord(u, v, newU, newV);
    require(!optimizer.motions.empty() || (sameBits(newU, u) && sameBits(newV, v)), "no motion, no change");
    optimizer.motions.push_back(
        {input.anyInt(), input.anyInt(), input.anyInt(), input.anyInt(), input.anyInt(), input.anyInt()});
    optimizer.mapCoord(u, v, newU, newV); // a host may add motions, of any numbers
}

// All triangles name vertices that exist, as the reference implementation requires.
MeshFunction2D functionOf(Input& input)
{
    MeshFunction2D f(true);
    int const vertices = input.below(24);
    for (int i = 0; i < vertices; ++i) {
        f.params.push_back({input.tame(), input.tame()});
        f.values.push_back(input.point2());
    }
    f.normaldots.resize(input.flag() ? f.params.size() : 0);
    for (int i = vertices > 0 ? input.below(90) : 0; i > 0; --i) f.facets.push_back(input.below(vertices));
    f.initEvaluatorHelper();
    return f;
}

void compareErased(Input& input, Texture const& t, EmptyRectTester const& tester)
{
    MeshFunction2D f = functionOf(input);
    reference::Erased const expected = reference::eraseExtraTriangles(f, tester);
    f.eraseExtraTriangles(tester);
    require(f.facets == expected.facets, "same triangles left");
    if (f.facets.size() % 3 == 0) {
        require(sameBits(f.params, expected.params) && sameBits(f.values, expected.values), "same vertices left");
        require(sameBits(f.normaldots, expected.normaldots), "same scalars left");
    }
    TextureOptimizer const optimizer(t.mask, t.width, t.height);
    std::vector<tzNM::vect2<double>> const before = f.values;
    f.remapToOptimized(optimizer);
    for (std::size_t i = 0; i < before.size(); ++i) {
        tzNM::vect2<double> mapped;
        optimizer.mapCoord(before[i].x, before[i].y, mapped.x, mapped.y);
        require(sameBits(f.values[i], mapped), "every value is mapped");
    }
}

// Sizes that do not fit the mask, and changed fields.
void useWrongSizes(Input& input, Texture const& t, EmptyRectTester tester)
{
    int const width = input.anyInt(), height = input.anyInt();
    std::uint64_t const texels = static_cast<std::uint64_t>(static_cast<std::int64_t>(width)) *
                                 static_cast<std::uint64_t>(static_cast<std::int64_t>(height));
    EmptyRectTester const wrong(t.mask, width, height);
    bool const fits = width > 0 && height > 0 && texels == t.mask.size();
    require(fits || !wrong.isRectEmpty(0, 0, 1, 1), "no rectangle is empty in a mask of the wrong size");
    TextureOptimizer const optimizer(t.mask, width, height);
    double u = 0, v = 0;
    optimizer.mapCoord(0.5, 0.5, u, v);
    tester.emptyTexels.resize(static_cast<std::size_t>(input.below(4)));
    require(tester.emptyTexels.size() == t.mask.size() || !tester.isRectEmpty(0, 0, 1, 1),
            "no rectangle is empty after a change of the number of texels");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    Input input(data, size);
    Texture const t = textureOf(input);
    EmptyRectTester const tester(t.mask, t.width, t.height);
    compareOptimizer(input, t);
    compareErased(input, t, tester);
    useWrongSizes(input, t, tester);
    compareRectangles(input, t, tester);
    require(clip(input.anyInt(), -3, 3) <= 3, "clip keeps the limit");
    return 0;
}
