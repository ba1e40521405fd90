#pragma once

/// An order in which an array of points is looked up faster than from first to last.
///
/// In a mesh beyond the caches every look-up of a random point waits for memory several times. Points that are sorted
/// by place use what their predecessors have fetched. The results do not depend on the order.

#include <cstddef>
#include <cstdint>
#include <memory>

#include <sinew/framework/vect2.h>
#include <sinew/meshfunc/mesh_function_2d.h>

namespace sinew::detail {

/// Sorts points by the cells of a grid of 1024 x 1024 cells over the domain, a part of the array at a time.
class VisitingOrder
{
public:
    /// Looks whether sorting pays for these points. Allocates nothing if it does not. Without memory for sorting, the
    /// order is from first to last.
    VisitingOrder(MeshFunction2D const& f, tzNM::vect2<double> const* points, std::size_t count);

    /// Calls use(i) once for each i below `count`.
    template <typename Use>
    void visit(Use const& use)
    {
        for (std::size_t first = 0; first < count_; first += kPart) {
            std::size_t const size = count_ - first < kPart ? count_ - first : kPart;
            if (!entries_) {
                for (std::size_t i = 0; i < size; ++i) use(first + i);
                continue;
            }
            sortPart(first, size);
            for (std::size_t i = 0; i < size; ++i) {
                // The array itself is read in random order.
                if (i + kAhead < size) prefetch(points_ + first + entries_[i + kAhead].index);
                use(first + entries_[i].index);
            }
        }
    }

private:
    static constexpr std::size_t kPart = std::size_t{1} << 20;

    static constexpr std::size_t kAhead = 16;

    static void prefetch([[maybe_unused]] void const* address)
    {
#if defined(__GNUC__)
        __builtin_prefetch(address);
#endif
    }

    struct Entry
    {
        std::uint32_t cell; // row, and column above it: finer grids are stored column by column, too
        std::uint32_t index;
    };

    bool pays() const;
    void sortPart(std::size_t first, std::size_t size);

    MeshFunction2D const& f_;
    tzNM::vect2<double> const* points_;
    std::size_t count_;
    std::unique_ptr<Entry[]> entries_; // of the current part; null for the order from first to last
    std::unique_ptr<Entry[]> other_;   // between two passes of the sort
};

} // namespace sinew::detail
