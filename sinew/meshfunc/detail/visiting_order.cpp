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

// The cell of a coordinate on an axis; NaN and coordinates outside the domain may fall into any cell.
std::uint32_t cellOn(double c, double low, double scale)
{
    double const s = (c - low) * scale;
    if (!(s > 0)) return 0;
    return s < kCells ? static_cast<std::uint32_t>(s) : kCells - 1;
}

} // namespace

bool VisitingOrder::mayPay(std::size_t count) const
{
    std::size_t const triangles = f_.facets.size() / kCorners;
    return hasGrid(f_) && triangles >= kLargeMesh && count >= triangles / kTrianglesPerPoint;
}

bool VisitingOrder::isFar(Point const& step) const
{
    Point const extent = f_.domainMax - f_.domainMin;
    return std::fabs(step.x) > kNear * extent.x || std::fabs(step.y) > kNear * extent.y;
}

void VisitingOrder::allocate(std::size_t count)
{
    std::size_t const size = std::min(count, kPart);
    other_.reset(new (std::nothrow) Entry[size]);
    if (other_) entries_.reset(new (std::nothrow) Entry[size]);
}

VisitingOrder::CellGrid::CellGrid(MeshFunction2D const& f) : low(f.domainMin)
{
    Point const extent = f.domainMax - f.domainMin;
    scale = {kCells / extent.x, kCells / extent.y};
}

std::uint32_t VisitingOrder::CellGrid::cellOf(Point const& p) const
{
    return cellOn(p.y, low.y, scale.y) | cellOn(p.x, low.x, scale.x) << kBits;
}

void VisitingOrder::sort(std::size_t size)
{
    std::size_t begins[2][kCells] = {}; // of each column and row
    for (std::size_t i = 0; i < size; ++i) {
        ++begins[0][entries_[i].cell >> kBits];
        ++begins[1][entries_[i].cell % kCells];
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
