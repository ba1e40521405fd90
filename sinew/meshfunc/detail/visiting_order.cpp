// Radix sort from the least significant digit, here of a column and a row: D. E. Knuth, The Art of Computer
// Programming, volume 3, 2nd edition 1998, section 5.2.5.

#include <sinew/meshfunc/detail/visiting_order.h>

#include <algorithm>
#include <cmath>
#include <new>

#include <sinew/meshfunc/detail/mesh_cells.h>
#include <sinew/meshfunc/detail/mesh_search.h>

namespace sinew::detail {

namespace {

using Point = tzNM::vect2<double>;

constexpr std::uint32_t kBits = 10;
constexpr std::uint32_t kCells = 1U << kBits; // along an axis

// Sorting pays for meshes that are larger than the nearer caches, with so many points that neighbours share triangles.
constexpr std::size_t kLargeMesh = std::size_t{1} << 15; // triangles
constexpr std::size_t kTrianglesPerPoint = 8;

// Points that are near their predecessors are looked up fast in any order. Near: within this part of the domain.
constexpr double kNear = 1.0 / 32;
constexpr std::size_t kSample = 64;

// The cell of a coordinate on an axis; NaN and coordinates outside the domain may fall into any cell.
std::uint32_t cellOn(double c, double low, double scale)
{
    double const s = (c - low) * scale;
    if (!(s > 0)) return 0;
    return s < kCells ? static_cast<std::uint32_t>(s) : kCells - 1;
}

} // namespace

VisitingOrder::VisitingOrder(MeshFunction2D const& f, Point const* points, std::size_t count)
    : f_(f), points_(points), count_(count)
{
    if (!pays()) return;
    std::size_t const size = std::min(count, kPart);
    other_.reset(new (std::nothrow) Entry[size]);
    if (other_) entries_.reset(new (std::nothrow) Entry[size]);
}

bool VisitingOrder::pays() const
{
    std::size_t const triangles = f_.facets.size() / kCorners;
    if (!hasGrid(f_) || triangles < kLargeMesh || count_ < triangles / kTrianglesPerPoint) return false;
    Point const extent = f_.domainMax - f_.domainMin;
    std::size_t far = 0;
    for (std::size_t k = 1; k <= kSample; ++k) {
        std::size_t const i = (count_ - 1) / kSample * k; // at least 1, because there are many points
        Point const step = points_[i] - points_[i - 1];
        far += std::fabs(step.x) > kNear * extent.x || std::fabs(step.y) > kNear * extent.y ? 1U : 0U;
    }
    return far > kSample / 2;
}

void VisitingOrder::sortPart(std::size_t first, std::size_t size)
{
    Point const low = f_.domainMin;
    Point const extent = f_.domainMax - f_.domainMin;
    std::size_t begins[2][kCells] = {}; // of each column and row
    for (std::size_t i = 0; i < size; ++i) {
        Point const& p = points_[first + i];
        std::uint32_t const column = cellOn(p.x, low.x, kCells / extent.x);
        std::uint32_t const row = cellOn(p.y, low.y, kCells / extent.y);
        entries_[i] = {row | column << kBits, static_cast<std::uint32_t>(i)};
        ++begins[0][column];
        ++begins[1][row];
    }
    for (auto& axis : begins) {
        std::size_t begin = 0;
        for (std::size_t& cell : axis) {
            std::size_t const length = cell;
            cell = begin;
            begin += length;
        }
    }
    for (std::size_t i = 0; i < size; ++i) other_[begins[1][entries_[i].cell % kCells]++] = entries_[i];
    for (std::size_t i = 0; i < size; ++i) entries_[begins[0][other_[i].cell >> kBits]++] = other_[i];
}

} // namespace sinew::detail
