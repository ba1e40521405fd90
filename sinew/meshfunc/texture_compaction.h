#pragma once

/// Shrinking a texture of which only a part is used: which rectangles hold no used texel, and where the used part goes
/// in a smaller texture.
///
/// Both classes start from a mask of the used texels, a `std::vector<bool>` of width * height entries with texel (x, y)
/// at x + width * y. Rectangles and points are in normalised coordinates, where the texture is the unit square.
/// With a `MeshFunction2D` whose values are texture coordinates, in this order:
///
///     function.eraseExtraTriangles(EmptyRectTester(used, width, height)); // triangles that show no used texel
///     TextureOptimizer const optimizer(used, width, height);
///     function.remapToOptimized(optimizer); // values now lie in the smaller texture
///     for (TextureOptimizer::RectMotion const& m : optimizer.motions) copyTexels(m); // the host's part

#include <cstddef>
#include <cstdint>
#include <vector>

#include <sinew/export.h>

/// `value` brought into [low, high]: max(low, min(value, high)), so where low > high the result is low.
SINEW_API int clip(int value, int low, int high);

/// Tells whether a rectangle of a texture holds no used texel.
class EmptyRectTester
{
public:
    int width;  ///< in texels
    int height; ///< in texels

    /// One entry a texel: 1 where it is not used, 0 where it is. Empty if the mask had another number of entries.
    ///
    /// For reading. Only its size counts once the tester is built: answers come from packed copies of the contents.
    std::vector<int> emptyTexels;

    /// A tester for the texture of this size. If the mask has not width * height entries, or a size is not positive,
    /// every rectangle counts as not empty.
    ///
    /// Linear cost; about four and a quarter bytes a texel.
    SINEW_API EmptyRectTester(std::vector<bool> const& usedMask, int width_, int height_);

    /// Whether no used texel lies in the rectangle or in the margin of one texel around it.
    ///
    /// The margin keeps filtering at the edge of a kept area from reading texels that were dropped.
    /// Coordinates outside the texture are brought to its edge, NaN to coordinate 0. A rectangle turned round, with
    /// its minimum more than two texels above its maximum, holds no texel and is empty.
    /// Cost: one word for 64 texels of a row, or for 64 blocks of 8 x 8 where those are empty. No allocation.
    SINEW_API bool isRectEmpty(double minX, double minY, double maxX, double maxY) const;

private:
    bool isTexelRangeEmpty(int x0, int x1, int y0, int y1) const;

    // Bit x % 64 of word x / 64 in each row of words.
    std::vector<std::uint64_t> usedRows_;   // a bit a used texel
    std::vector<std::uint64_t> usedBlocks_; // a bit a block of 8 x 8 that holds one
    std::size_t rowWords_ = 0;
    std::size_t blockRowWords_ = 0;
};

/// Where the used part of a texture goes in a smaller one whose sides are powers of two.
class TextureOptimizer
{
public:
    /// A rectangle of the old texture and the way it moves, in texels.
    struct RectMotion
    {
        int x;  ///< lowest column
        int y;  ///< lowest row
        int w;  ///< number of columns
        int h;  ///< number of rows
        int dx; ///< added to a column to reach the new texture
        int dy; ///< added to a row to reach the new texture
    };

    /// The rectangles that move. Construction finds at most one; none means that coordinates stay as they are.
    std::vector<RectMotion> motions;
    int newWidth;  ///< Width of the new texture in texels; 0 if no texel is used.
    int newHeight; ///< Height of the new texture in texels; 0 if no texel is used.
    int width;     ///< Width of the old texture in texels.
    int height;    ///< Height of the old texture in texels.

    /// Finds the box of the used texels, one texel wider on each side as far as the texture goes, and moves it to the
    /// corner of the smallest texture that holds it.
    ///
    /// A box that fills half the texture or more along both axes stays where it is, as does everything if the mask has
    /// not width * height entries. A side too long for a power of two in an int (above 2^30) keeps its length.
    /// Cost: one word for 64 texels outside the box.
    SINEW_API TextureOptimizer(std::vector<bool> const& usedMask, int width_, int height_);

    /// Normalised coordinates in the old texture to normalised coordinates in the new one.
    ///
    /// With no motions they stay as they are. Otherwise the motion whose rectangle is nearest to the point's texel
    /// applies, of equally near ones the first, also to points outside every rectangle; they may leave the unit square.
    /// NaN gives NaN.
    SINEW_API void mapCoord(double u, double v, double& newU, double& newV) const;
};
