#pragma once

/// The storage of the finer grids' cells: buckets of four links, 16 bytes each.
///
/// A link is a triangle of the cell's list, or states where the search continues after the triangles before it: in
/// another grid, in another bucket, or nowhere.

#include <cassert>
#include <cstddef>
#include <cstdint>

namespace sinew::detail {

/// One link of a bucket.
///
/// Encoding, in 32 bits: the two highest bits are the kind, the other 30 bits are the number. Triangles have kind 0, so
/// that one comparison distinguishes them from all other kinds, and their number needs no masking.
///
///     kind 0  triangle   number of the triangle's record
///     kind 1  bucket     number of the bucket that holds the rest of the list
///     kind 2  grid       number of the grid that divides the cell
///     kind 3  end        nothing follows; all 30 bits of the number are set
class CellLink
{
public:
    using Number = std::uint32_t;

    /// Numbers are below this.
    static constexpr Number kNumberLimit = Number{1} << 30;

    /// The end of a list.
    constexpr CellLink() = default;

    static CellLink toTriangle(std::size_t number) { return {kTriangle, number}; }
    static CellLink toBucket(std::size_t number) { return {kBucket, number}; }
    static CellLink toGrid(std::size_t number) { return {kGrid, number}; }

    bool isTriangle() const { return bits_ < kNumberLimit; }
    bool isBucket() const { return kind() == kBucket; }
    bool isGrid() const { return kind() == kGrid; }
    bool isEnd() const { return bits_ == kEndBits; }

    /// The number of the triangle, for a link that is one.
    Number triangle() const
    {
        assert(isTriangle());
        return bits_;
    }
    /// The number of the bucket or grid.
    Number number() const { return bits_ & (kNumberLimit - 1); }

private:
    static constexpr Number kTriangle = 0;
    static constexpr Number kBucket = 1;
    static constexpr Number kGrid = 2;
    static constexpr Number kEndBits = ~Number{0};

    CellLink(Number kind, std::size_t number) : bits_(kind * kNumberLimit | static_cast<Number>(number))
    {
        assert(number < kNumberLimit);
    }
    Number kind() const { return bits_ / kNumberLimit; }

    Number bits_ = kEndBits;
};

/// What a finer cell holds: one link to the grid that divides it, or its list of triangles, ascending.
///
/// A list of up to four triangles fills the bucket from its first link; the other links are ends. Of a longer list the
/// bucket holds the first three triangles, and its last link leads to the overflow bucket with the rest.
struct alignas(16) CellBucket
{
    static constexpr std::size_t kLinks = 4;
    static constexpr std::size_t kTrianglesBeforeOverflow = kLinks - 1;

    CellLink links[kLinks];
};
static_assert(sizeof(CellBucket) == 16);

/// Number of buckets that hold a list of `length` triangles. An empty list takes one, too.
inline std::size_t bucketsForList(std::size_t length)
{
    // All buckets but the last hold three triangles each and the last one holds up to four: one triangle more than a
    // multiple of three still fits.
    if (length <= CellBucket::kLinks) return 1;
    constexpr std::size_t k = CellBucket::kTrianglesBeforeOverflow;
    return (length - 1 + k - 1) / k;
}

} // namespace sinew::detail
