// Masks are stored as bits, with a coarser level of one bit for a block of texels. A block without a used texel makes
// reading its texels unnecessary.
//
// Sources: N. Greene, M. Kass, G. Miller, Hierarchical Z-buffer visibility, SIGGRAPH 1993, section 3.2 (coarser levels
// that summarise blocks; one level suffices here, because an empty word already covers 64 blocks); H. S. Warren,
// Hacker's Delight, 2nd edition 2012, chapter 5 (counting the zeros at the ends of a word).

#include <sinew/meshfunc/texture_compaction.h>

#include <algorithm>
#include <cassert>
#include <cmath>
#include <limits>

#include <sinew/core/detail/progress_meter.h>
#include <sinew/detail/as_index.h>
#include <sinew/detail/element_count.h>
#include <sinew/meshfunc/detail/mask_bits.h>

using sinew::detail::asIndex;
using sinew::detail::elementCount;
using sinew::detail::kWordBits;
using sinew::detail::lowBits;
using sinew::detail::MaskBits;

namespace {

// Texels along a side of a block. Eight of them are one byte of a word.
constexpr int kBlock = 8;
constexpr std::size_t kBlockSide = kBlock;
constexpr std::uint64_t kBlockMask = (std::uint64_t{1} << kBlock) - 1;

constexpr int kIntWordBits = static_cast<int>(kWordBits);

std::size_t roundedUpQuotient(std::size_t n, std::size_t divisor)
{
    return (n + divisor - 1) / divisor;
}

std::size_t wordsFor(std::size_t bits)
{
    return roundedUpQuotient(bits, kWordBits);
}

// Whether there are texels, and one entry for each of them. The product is formed in 64 bits, because an int may not
// hold it.
bool isTexelCount(std::size_t entries, int width, int height)
{
    return width > 0 && height > 0 && static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height) == entries;
}

// The column (or row) one below that of the coordinate `s`, in texels, clamped to [0, size - 1]. The range is tested
// before the conversion, which truncates a number that is not negative to its floor. NaN gives 0.
int columnBelow(double s, int size)
{
    if (!(s >= 1)) return 0;
    return s >= size ? size - 1 : static_cast<int>(s) - 1;
}

// The column (or row) one above that of the coordinate `s`, clamped in the same way.
int columnAbove(double s, int size)
{
    if (!(s >= 0)) return 0;
    return s >= size ? size - 1 : std::min(static_cast<int>(s) + 1, size - 1);
}

// Whether any of the bits low .. high is set in a row of words, 0 <= low <= high.
bool anyBit(std::uint64_t const* row, int low, int high)
{
    assert(0 <= low && low <= high);
    int const first = low / kIntWordBits;
    int const last = high / kIntWordBits;
    std::uint64_t const lowMask = ~lowBits(asIndex(low % kIntWordBits));
    std::uint64_t const highMask = lowBits(asIndex(high % kIntWordBits) + 1);
    if (first == last) return (row[first] & lowMask & highMask) != 0;
    if ((row[first] & lowMask) | (row[last] & highMask)) return true;
    for (int i = first + 1; i < last; ++i) {
        if (row[i]) return true;
    }
    return false;
}

// For a word of texels, a bit for each block of texels: whether one of them is set.
std::uint64_t blocksOf(std::uint64_t bits)
{
    std::uint64_t blocks = 0;
    for (unsigned b = 0; b < kWordBits / kBlockSide; ++b) {
        blocks |= static_cast<std::uint64_t>((bits >> b * kBlock & kBlockMask) != 0) << b;
    }
    return blocks;
}

// The smallest power of two that is at least n; n itself if an int does not hold that power.
int powerOfTwoFrom(int n)
{
    int power = 1;
    while (power < n) {
        if (power > std::numeric_limits<int>::max() / 2) return n;
        power *= 2;
    }
    return power;
}

struct TexelBox
{
    int minX, minY, maxX, maxY;
};

// The axis-aligned box of the used texels; minX > maxX if there is none, unless the mask is empty. Each row is searched
// only outside the columns found so far.
TexelBox boxOfUsed(MaskBits const& mask, std::size_t width, std::size_t height)
{
    std::size_t const firstUsed = mask.firstSet(0, width * height);
    if (firstUsed == width * height) return {static_cast<int>(width), static_cast<int>(height), 0, 0};
    std::size_t const minY = firstUsed / width;
    std::size_t const maxY = (mask.lastSetEnd(firstUsed, width * height) - 1) / width;
    std::size_t minX = firstUsed % width;
    std::size_t endX = minX + 1;
    for (std::size_t y = minY; y <= maxY; ++y) {
        std::size_t const row = y * width;
        minX = mask.firstSet(row, row + minX) - row;
        endX = mask.lastSetEnd(row + endX, row + width) - row;
    }
    return {static_cast<int>(minX), static_cast<int>(minY), static_cast<int>(endX) - 1, static_cast<int>(maxY)};
}

double squaredDistance(TextureOptimizer::RectMotion const& rect, double px, double py)
{
    // Doubles hold the texels of every texture exactly, and no coordinate overflows them. The upper bound comes first.
    double const x = std::max<double>(rect.x, std::min<double>(px, rect.x + (rect.w - 1.0)));
    double const y = std::max<double>(rect.y, std::min<double>(py, rect.y + (rect.h - 1.0)));
    return (px - x) * (px - x) + (py - y) * (py - y);
}

} // namespace

int clip(int value, int low, int high)
{
    return std::max(low, std::min(value, high));
}

EmptyRectTester::EmptyRectTester(std::vector<bool> const& usedMask, int width_, int height_)
    : EmptyRectTester(usedMask, width_, height_, nullptr)
{
}

EmptyRectTester::EmptyRectTester(std::vector<bool> const& usedMask, int width_, int height_,
                                 sinew::detail::ProgressMeter* meter)
    : width(width_), height(height_)
{
    if (!isTexelCount(usedMask.size(), width, height)) return;
    std::size_t const columns = asIndex(width);
    std::size_t const rows = asIndex(height);
    rowWords_ = wordsFor(columns);
    blockRowWords_ = wordsFor(roundedUpQuotient(columns, kBlockSide));
    emptyTexels.reserve(elementCount<int>(static_cast<std::int64_t>(usedMask.size())));
    usedRows_.resize(elementCount<std::uint64_t>(static_cast<std::int64_t>(rowWords_ * rows)));
    usedBlocks_.resize(blockRowWords_ * roundedUpQuotient(rows, kBlockSide));

    MaskBits const mask(usedMask);
    for (std::size_t y = 0; y < rows; ++y) {
        if (meter) meter->reached(sinew::detail::fractionOf(y, rows));
        emptyTexels.resize((y + 1) * columns); // row by row: filling memory that is not in the cache takes long
        for (std::size_t x = 0; x < columns; x += kWordBits) {
            std::size_t const count = std::min(kWordBits, columns - x);
            std::uint64_t const bits = mask.read(y * columns + x, count);
            int* const empty = &emptyTexels[y * columns + x];
            for (std::size_t i = 0; i < count; ++i) empty[i] = static_cast<int>(~bits >> i & 1);
            usedRows_[y * rowWords_ + x / kWordBits] = bits;
            std::size_t const block = x / kBlockSide;
            std::uint64_t& blocks = usedBlocks_[y / kBlockSide * blockRowWords_ + block / kWordBits];
            blocks |= blocksOf(bits) << block % kWordBits;
        }
    }
}

struct sinew::detail::EmptyRectTesterAccess
{
    static EmptyRectTester make(std::vector<bool> const& usedMask, int width, int height, ProgressMeter& meter)
    {
        return {usedMask, width, height, &meter};
    }
};

std::optional<EmptyRectTester> sinew::makeEmptyRectTester(std::vector<bool> const& usedMask, int width, int height,
                                                          Progress const& progress)
{
    return detail::withProgress(progress, [&](detail::ProgressMeter& meter) {
        EmptyRectTester result = detail::EmptyRectTesterAccess::make(usedMask, width, height, meter);
        meter.finish();
        return result;
    });
}

bool EmptyRectTester::isRectEmpty(double minX, double minY, double maxX, double maxY) const
{
    // The next tests prevent reads beyond the packed rows after a caller has changed `width` or `height`.
    if (!isTexelCount(emptyTexels.size(), width, height)) return false;
    if (rowWords_ != wordsFor(asIndex(width))) return false;
    if (usedRows_.size() != rowWords_ * asIndex(height)) return false;
    return isTexelRangeEmpty(columnBelow(width * minX, width), columnAbove(width * maxX, width),
                             columnBelow(height * minY, height), columnAbove(height * maxY, height));
}

bool EmptyRectTester::isTexelRangeEmpty(int x0, int x1, int y0, int y1) const
{
    if (x0 > x1) return true;
    for (int y = y0; y <= y1;) {
        int const block = y / kBlock;
        int const end = std::min(y1 + 1, (block + 1) * kBlock);
        std::uint64_t const* const blocks = &usedBlocks_[asIndex(block) * blockRowWords_];
        if (anyBit(blocks, x0 / kBlock, x1 / kBlock)) {
            for (; y < end; ++y) {
                if (anyBit(&usedRows_[asIndex(y) * rowWords_], x0, x1)) return false;
            }
        }
        y = end;
    }
    return true;
}

TextureOptimizer::TextureOptimizer(std::vector<bool> const& usedMask, int width_, int height_)
    : newWidth(width_), newHeight(height_), width(width_), height(height_)
{
    if (width < 0 || height < 0) return;
    std::size_t const columns = asIndex(width);
    std::size_t const rows = asIndex(height);
    if (static_cast<std::uint64_t>(columns) * rows != usedMask.size()) return;
    TexelBox const used = boxOfUsed(MaskBits(usedMask), columns, rows);
    if (usedMask.empty() || used.minX > used.maxX) {
        newWidth = 0;
        newHeight = 0;
        return;
    }
    int const x0 = std::max(used.minX - 1, 0);
    int const y0 = std::max(used.minY - 1, 0);
    int const w = std::min(used.maxX + 1, width - 1) - x0 + 1;
    int const h = std::min(used.maxY + 1, height - 1) - y0 + 1;
    if (2 * static_cast<std::int64_t>(w) >= width && 2 * static_cast<std::int64_t>(h) >= height) return;
    motions.push_back({x0, y0, w, h, -x0, -y0});
    newWidth = powerOfTwoFrom(w);
    newHeight = powerOfTwoFrom(h);
}

void TextureOptimizer::mapCoord(double u, double v, double& newU, double& newV) const
{
    if (motions.empty()) {
        newU = u;
        newV = v;
        return;
    }
    double const px = std::floor(u * width);
    double const py = std::floor(v * height);
    RectMotion const* nearest = &motions[0];
    double nearestSq = squaredDistance(motions[0], px, py);
    for (std::size_t i = 1; i < motions.size(); ++i) {
        double const square = squaredDistance(motions[i], px, py);
        if (square < nearestSq) {
            nearest = &motions[i];
            nearestSq = square;
        }
    }
    newU = (u * width + nearest->dx) / newWidth;
    newV = (v * height + nearest->dy) / newHeight;
}
