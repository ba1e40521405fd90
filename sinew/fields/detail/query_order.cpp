// The curve: G. M. Morton, A computer oriented geodetic data base and a new technique in file sequencing, IBM, 1966.

#include <sinew/fields/detail/query_order.h>

#include <algorithm>
#include <cmath>
#include <new>

namespace sinew::detail {

namespace {

// Cells along an axis, so that the numbers of a cell and of a query fit into 64 bits.
constexpr int kBits = 14;
constexpr double kCells = 1 << kBits;
static_assert(std::uint64_t{QueryOrder::kPart} <= std::uint64_t{1} << (64 - 3 * kBits), "an entry has 64 bits");

// Beside the object the cells cover as much again on each side. Queries farther away are in the outermost cells.
constexpr double kCovered = 3.0;

// Consecutive queries whose distance is less than this part of the extent are near each other.
constexpr double kNear = 1.0 / 32;

// The cell of a coordinate on an axis; NaN is in cell 0.
std::uint64_t cellOn(double c, double low, double scale)
{
    double const s = (c - low) * scale;
    if (!(s > 0)) return 0;
    return static_cast<std::uint64_t>(std::min(s, kCells - 1));
}

// Moves bit k to place 3k.
std::uint64_t spread(std::uint64_t bits)
{
    bits = (bits | bits << 16) & 0x00ff0000ff0000ff;
    bits = (bits | bits << 8) & 0xf00f00f00f00f00f;
    bits = (bits | bits << 4) & 0x30c30c30c30c30c3;
    return (bits | bits << 2) & 0x9249249249249249;
}

} // namespace

QueryOrder::QueryOrder(Vector3 const& low, Vector3 const& high)
    : extent_(std::max({high.x - low.x, high.y - low.y, high.z - low.z}))
{
    low_ = low - Vector3(extent_, extent_, extent_);
    scale_ = kCells / (kCovered * extent_);
}

void QueryOrder::allocate(std::size_t count)
{
    entries_.reset(new (std::nothrow) std::uint64_t[std::min(count, kPart)]);
}

bool QueryOrder::isFar(Vector3 const& step) const
{
    double const near = kNear * extent_;
    return std::fabs(step.x) > near || std::fabs(step.y) > near || std::fabs(step.z) > near;
}

std::uint64_t QueryOrder::entry(Vector3 const& q, std::size_t index) const
{
    std::uint64_t const cell = spread(cellOn(q.x, low_.x, scale_)) | spread(cellOn(q.y, low_.y, scale_)) << 1 |
                               spread(cellOn(q.z, low_.z, scale_)) << 2;
    return cell * kPart + index;
}

void QueryOrder::sort(std::size_t size)
{
    std::sort(entries_.get(), entries_.get() + size);
}

} // namespace sinew::detail
