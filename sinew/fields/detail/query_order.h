#pragma once

/// An order in which many queries are answered faster than from first to last. Not installed.
///
/// Queries in random order find little of a large tree in the caches. Sorted by place, each uses what its predecessors
/// have fetched, and the result of its predecessor is a good bound to begin with. The results do not depend on the
/// order.

#include <cstddef>
#include <cstdint>
#include <memory>

#include <sinew/core/vector3.h>

namespace sinew::detail {

/// Sorts queries along a Morton curve through cubic cells, a part of the array at a time.
class QueryOrder
{
public:
    /// Queries that are sorted together. Each takes 8 bytes.
    static constexpr std::size_t kPart = std::size_t{1} << 20;

    /// Fewer queries than this are too far apart from each other for sorting to pay.
    static constexpr std::size_t kFewest = 64;

    /// From first to last.
    QueryOrder() = default;

    /// For `count` queries around an object whose coordinates are between those of `low` and `high`; `pointAt(i)` is
    /// query i. The order is from first to last, and nothing is allocated, if there are few queries or if consecutive
    /// ones are near each other. It is so too if there is no memory for sorting.
    template <typename PointAt>
    QueryOrder(std::size_t count, PointAt const& pointAt, Vector3 const& low, Vector3 const& high)
        : QueryOrder(low, high)
    {
        if (count >= kFewest && isScattered(count, pointAt)) allocate(count);
    }

    /// Calls use(i, q) once for each i below `count`, where q is query i.
    template <typename PointAt, typename Use>
    void visit(std::size_t count, PointAt const& pointAt, Use const& use)
    {
        for (std::size_t first = 0; first < count; first += kPart) {
            std::size_t const size = count - first < kPart ? count - first : kPart;
            if (!entries_) {
                for (std::size_t i = 0; i < size; ++i) use(first + i, pointAt(first + i));
                continue;
            }
            for (std::size_t i = 0; i < size; ++i) entries_[i] = entry(pointAt(first + i), i);
            sort(size);
            for (std::size_t k = 0; k < size; ++k) {
                std::size_t const i = first + static_cast<std::size_t>(entries_[k] % kPart);
                use(i, pointAt(i));
            }
        }
    }

    bool isSorted() const { return entries_ != nullptr; }

private:
    // Whether consecutive queries of a sample are mostly far from each other.
    template <typename PointAt>
    bool isScattered(std::size_t count, PointAt const& pointAt) const
    {
        std::size_t far = 0;
        for (std::size_t k = 1; k <= kSample; ++k) {
            std::size_t const i = (count - 1) / kSample * k;
            if (isFar(pointAt(i) - pointAt(i - 1))) ++far;
        }
        return far > kSample / 2;
    }

    static constexpr std::size_t kSample = 32;
    static_assert(kFewest > kSample, "the queries of the sample are different ones");

    QueryOrder(Vector3 const& low, Vector3 const& high);
    void allocate(std::size_t count);
    bool isFar(Vector3 const& step) const;
    std::uint64_t entry(Vector3 const& q, std::size_t index) const;
    void sort(std::size_t size);

    Vector3 low_;                              // the corner of the first cell
    double extent_ = 0.0;                      // of the object, along its longest axis
    double scale_ = 0.0;                       // cells in a unit of length
    std::unique_ptr<std::uint64_t[]> entries_; // the cell and the index of each query; null for first to last
};

} // namespace sinew::detail
