#pragma once

/// Makes a texture smaller of which only a part is used: finds rectangles that hold no used texel, and moves the used
/// part to a smaller texture.
///
/// Both classes take a mask of the used texels: a `std::vector<bool>` of width * height entries, with texel (x, y) at
/// x + width * y. Rectangles and points are in normalised coordinates, in which the texture is the unit square.
/// Use with a `MeshFunction2D` whose values are texture coordinates, in this order:
///
///     function.eraseExtraTriangles(EmptyRectTester(used, width, height)); // triangles that cover no used texel
///     TextureOptimizer const optimizer(used, width, height);
///     function.remapToOptimized(optimizer); // the values now lie in the smaller texture
///     for (TextureOptimizer::RectMotion const& m : optimizer.motions) copyTexels(m); // done by the host

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include <sinew/core/progress.h>
#include <sinew/export.h>

namespace sinew::detail {
class ProgressMeter;
struct EmptyRectTesterAccess;
} // namespace sinew::detail

/// `value` clamped to [low, high]: max(low, min(value, high)). If low > high the result is low.
SINEW_API int clip(int value, int low, int high);

/// Decides whether a rectangle of a texture holds no used texel.
///
/// Const member functions may be called by any number of threads at the same time.
class EmptyRectTester
{
public:
    int width;  ///< in texels
    int height; ///< in texels

    /// One entry for each texel: 1 if it is not used, 0 if it is. Empty if the mask had another number of entries.
    ///
    /// Read-only for hosts: results come from packed copies of these entries, so changing an entry changes no result.
    /// After a change of the number of entries, every rectangle counts as not empty.
    std::vector<int> emptyTexels;

    /// A tester for a texture of this size. If the mask does not have width * height entries, or if a size is not
    /// positive, every rectangle counts as not empty.
    ///
    /// Cost: linear in texels; about four and a quarter bytes a texel. Strong guarantee.
    SINEW_API EmptyRectTester(std::vector<bool> const& usedMask, int width_, int height_);

    EmptyRectTester(EmptyRectTester const&) = default;
    EmptyRectTester(EmptyRectTester&&) noexcept = default;
    /// Strong guarantee: if an allocation fails, the tester is unchanged.
    EmptyRectTester& operator=(EmptyRectTester const& other) { return *this = EmptyRectTester(other); }
    EmptyRectTester& operator=(EmptyRectTester&&) noexcept = default;
    ~EmptyRectTester() = default;

    /// Whether no used texel lies in the rectangle or in the margin of one texel around it.
    ///
    /// Because of the margin, filtering at the edge of a kept area never reads a texel that was dropped.
    /// Coordinates outside the texture are clamped to its edge; NaN becomes coordinate 0. A rectangle whose minimum is
    /// more than two texels above its maximum holds no texel and is empty.
    /// Cost: one word for 64 texels of a row, or for 64 empty blocks of 8 x 8 texels. Allocates nothing.
    SINEW_API bool isRectEmpty(double minX, double minY, double maxX, double maxY) const;

private:
    // Not the functions themselves: friends are declared again, and some compilers then lose their import from a DLL.
    friend struct sinew::detail::EmptyRectTesterAccess;

    EmptyRectTester(std::vector<bool> const& usedMask, int width_, int height_, sinew::detail::ProgressMeter* meter);
    bool isTexelRangeEmpty(int x0, int x1, int y0, int y1) const;

    // Rows of bits: bit x of a row is bit x % 64 of its word x / 64.
    std::vector<std::uint64_t> usedRows_;   // a bit for each texel: whether it is used
    std::vector<std::uint64_t> usedBlocks_; // a bit for each block of 8 x 8 texels: whether one of them is used
    std::size_t rowWords_ = 0;
    std::size_t blockRowWords_ = 0;
};

namespace sinew {

/// `EmptyRectTester(usedMask, width, height)` with progress. See `Progress`.
///
/// `TextureOptimizer` has no such form: it reads a texture of 32768 x 32768 texels in less than a tenth of a second.
SINEW_API std::optional<::EmptyRectTester> makeEmptyRectTester(std::vector<bool> const& usedMask, int width, int height,
                                                               Progress const& progress);

} // namespace sinew

/// Computes how the used part of a texture moves to a smaller texture whose sides are powers of two.
class TextureOptimizer
{
public:
    /// A rectangle of the old texture and its motion, in texels.
    struct RectMotion
    {
        int x;  ///< lowest column
        int y;  ///< lowest row
        int w;  ///< number of columns
        int h;  ///< number of rows
        int dx; ///< added to a column of the old texture to give that of the new one
        int dy; ///< added to a row of the old texture to give that of the new one
    };

    /// The rectangles that move. Construction finds at most one. If there is none, coordinates do not change.
    std::vector<RectMotion> motions;
    int newWidth;  ///< Width of the new texture in texels; 0 if no texel is used.
    int newHeight; ///< Height of the new texture in texels; 0 if no texel is used.
    int width;     ///< Width of the old texture in texels.
    int height;    ///< Height of the old texture in texels.

    /// Finds the axis-aligned box of the used texels, widens it by one texel on each side within the texture, and moves
    /// it to the corner of the smallest texture that holds it.
    ///
    /// Nothing moves, and the texture keeps its size, if the box fills at least half of the texture along both axes, or
    /// if the mask does not have width * height entries. A side above 2^30 keeps its length, because no power of two in
    /// an int holds it.
    /// Cost: one word for 64 texels outside the box. Strong guarantee.
    SINEW_API TextureOptimizer(std::vector<bool> const& usedMask, int width_, int height_);

    TextureOptimizer(TextureOptimizer const&) = default;
    TextureOptimizer(TextureOptimizer&&) noexcept = default;
    /// Strong guarantee: if an allocation fails, the optimizer is unchanged.
    TextureOptimizer& operator=(TextureOptimizer const& other) { return *this = TextureOptimizer(other); }
    TextureOptimizer& operator=(TextureOptimizer&&) noexcept = default;
    ~TextureOptimizer() = default;

    /// Maps normalised coordinates in the old texture to normalised coordinates in the new one.
    ///
    /// Without motions the coordinates do not change. Otherwise the motion of the rectangle nearest to the texel of the
    /// point applies, also to points outside every rectangle. Ties: of equally near rectangles the first one applies.
    /// The result may lie outside the unit square. NaN gives NaN.
    SINEW_API void mapCoord(double u, double v, double& newU, double& newV) const;
};
