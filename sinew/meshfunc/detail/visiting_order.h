#pragma once

/// An order in which an array of points is looked up faster than from first to last.
///
/// In a mesh beyond the caches every look-up of a random point waits for memory several times. Points that are sorted
/// by place use what their predecessors have fetched. The results do not depend on the order.

#include <cstddef>
#include <cstdint>
#include <memory>

#include <sinew/detail/prefetch.h>
#include <sinew/framework/vect2.h>
#include <sinew/meshfunc/detail/lookup_ahead.h>
#include <sinew/meshfunc/detail/query_points.h>
#include <sinew/meshfunc/mesh_function_2d.h>

namespace sinew::detail {

/// Sorts points by the cells of a grid of 1024 x 1024 cells over the domain, a part of the array at a time.
class VisitingOrder
{
public:
    /// Looks whether sorting pays for these points, a `PointArray` or a `PointView`. Allocates nothing if it does not.
    /// Without memory for sorting, the order is from first to last.
    template <typename Points>
    VisitingOrder(MeshFunction2D const& f, Points const& points) : f_(f)
    {
        if (mayPay(points.count) && isScattered(points)) allocate(points.count);
    }

    /// Calls use(i, p) once for each point p, with its index i. The points must be those of the constructor.
    template <typename Points, typename Use>
    void visit(Points const& points, Use const& use)
    {
        for (std::size_t first = 0; first < points.count; first += kPart) {
            std::size_t const size = points.count - first < kPart ? points.count - first : kPart;
            if (!entries_) {
                visitInOrder(points, first, size, use);
                continue;
            }
            CellGrid const grid(f_);
            for (std::size_t i = 0; i < size; ++i) {
                entries_[i] = {grid.cellOf(points[first + i]), static_cast<std::uint32_t>(i)};
            }
            sort(size);
            for (std::size_t i = 0; i < size; ++i) {
                // The array itself is read in random order.
                if (i + kAhead < size) prefetch(points.address(first + entries_[i + kAhead].index));
                std::size_t const at = first + entries_[i].index;
                use(at, points[at]);
            }
        }
    }

private:
    template <typename Points, typename Use>
    void visitInOrder(Points const& points, std::size_t first, std::size_t size, Use const& use) const
    {
        LookupAhead ahead(f_);
        for (std::size_t i = 0; i < size; ++i) {
            if (i + LookupAhead::kPoints < size) ahead.announce(points[first + i + LookupAhead::kPoints]);
            use(first + i, points[first + i]);
        }
    }

    static constexpr std::size_t kPart = std::size_t{1} << 20;

    static constexpr std::size_t kAhead = 16;

    struct Entry
    {
        std::uint32_t cell; // row, and column above it: finer grids are stored column by column, too
        std::uint32_t index;
    };

    // Numbers of cells.
    struct CellGrid
    {
        tzNM::vect2<double> low;
        tzNM::vect2<double> scale;

        explicit CellGrid(MeshFunction2D const& f);
        std::uint32_t cellOf(tzNM::vect2<double> const& p) const;
    };

    // Whether consecutive points of a sample are mostly far from each other.
    template <typename Points>
    bool isScattered(Points const& points) const
    {
        std::size_t far = 0;
        for (std::size_t k = 1; k <= kSample; ++k) {
            std::size_t const i = (points.count - 1) / kSample * k; // at least 1, because there are many points
            far += isFar(points[i] - points[i - 1]) ? 1U : 0U;
        }
        return far > kSample / 2;
    }

    static constexpr std::size_t kSample = 64;

    bool mayPay(std::size_t count) const;
    bool isFar(tzNM::vect2<double> const& step) const;
    void allocate(std::size_t count);
    void sort(std::size_t size);

    MeshFunction2D const& f_;
    std::unique_ptr<Entry[]> entries_; // of the current part; null for the order from first to last
    std::unique_ptr<Entry[]> other_;   // between two passes of the sort
};

} // namespace sinew::detail
