#pragma once

/// The answers of the bounded search on a polyline, faster. Not installed.
///
/// The search of polyline_search.h defines the answer. It starts from generous bounds and visits much of a polyline
/// that winds. A tree of boxes leads straight to the nearest segments instead, and what the search would have made of
/// them is then worked out from its own bounds:
///   - The nearest segment is the answer if no interval on the search's way to it has a bound beyond it.
///   - Two segments equally near at the vertex that joins them are told apart by whether the search splits there.
///   - Else the search is replayed on the intervals alone that hold a segment within the largest of those bounds:
///     nothing outside them can take part in the decision.
/// What is still open then, such as equal bounds, which the search takes in the order of its heap, is left to the
/// search itself. So the index never answers differently.

#include <atomic>
#include <cstddef>
#include <vector>

#include <sinew/fields/detail/segment_tree.h>

namespace sinew::detail {

class PolylineIndex
{
public:
    using Points = std::vector<Vector3> const&;

    /// For at least 20 vertices. All queries must be given the same ones.
    PolylineIndex(Points points, std::vector<double> const& arcLengths, VectorWidth width = widestVectors());

    /// The segment that `nearestSegmentByBounds` gives, or -1 where it must be asked.
    ///
    /// @param knownDistSq  a squared distance known to be reached by some segment, or infinity: it only saves time.
    int nearestSegment(Points points, Vector3 const& q, double knownDistSq) const;

    // Counted by what shares it; it starts with one owner and goes with the last.
    void addOwner() const { owners_.fetch_add(1, std::memory_order_relaxed); }
    void removeOwner() const
    {
        if (owners_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
    }

private:
    // An interval of the search, with its number: the halves of interval k are 2k and 2k + 1.
    struct Interval
    {
        int first;
        int last;
        std::size_t node;

        bool isScanned() const;
        int middle() const { return (first + last) / 2; }
        Interval lower() const { return {first, middle(), 2 * node}; }
        Interval upper() const { return {middle(), last, 2 * node + 1}; }
    };

    struct WaitingInterval;
    class WaitingIntervals;

    Interval root() const { return {0, tree_.segments(), 1}; }
    double bound(Points points, Vector3 const& q, Interval const& interval) const;
    int settle(Points points, Vector3 const& q, NearestSegments const& nearest) const;
    double reachNeeded(Points points, Vector3 const& q, int segment, double distSq) const;
    int replay(Points points, Vector3 const& q, NearestSegments const& nearest, double reach) const;
    static bool isAlone(Points points, Vector3 const& q, SegmentsWithin const& near, int segment, double atDistSq);
    bool isSplit(int vertex) const;
    void buildSlacks(Points points, std::vector<double> const& arcLengths, Interval const& interval);

    mutable std::atomic<int> owners_{1};
    [[maybe_unused]] VectorWidth width_; // nobody asks for it where there is one width
    SegmentTree tree_;
    std::vector<double> slacks_; // of the search's intervals, by their numbers
};

} // namespace sinew::detail
