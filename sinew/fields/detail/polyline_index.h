#pragma once

/// The results of the bounded search on a polyline, in less time. Not installed.

#include <atomic>
#include <cstddef>
#include <vector>

#include <sinew/fields/detail/segment_tree.h>

namespace sinew::detail {

/// The intervals from the whole polyline to one that the search scans, kept for queries that are close to each other.
struct SearchPath
{
    static constexpr int kLanes = 8; ///< intervals that are bounded at the same time
    static constexpr int kLevels =
        32; ///< a multiple of kLanes; 2^31 segments are halved 28 times before they are scanned

    int first = 0; ///< segments first .. last - 1 are scanned together; none at first
    int last = 0;
    int levels = 0; ///< number of intervals, padded to whole vectors
    double start[3][kLevels];
    double chord[3][kLevels];
    double invChordSq[kLevels];
    double slack[kLevels];

    bool leadsTo(int segment) const { return first <= segment && segment < last; }
};

/// Finds the segment that `nearestSegmentByBounds` finds, or reports that only the search itself can tell.
///
/// The search starts from generous bounds and visits much of a polyline that winds. The index finds the nearest
/// segments by a tree and derives from the bounds of the search which of them the search would name; see
/// polyline_index.cpp. It never names another segment than the search.
///
/// The index counts its owners, so that copies of a projector share it. It starts with one owner and deletes itself
/// with the last one. All other functions may be called by any number of threads at the same time.
class PolylineIndex
{
public:
    using Points = std::vector<Vector3> const&;

    /// Requires at least 20 vertices. The index keeps no copy of the points: every query must pass the same ones.
    /// Linear cost and memory (about 40 bytes a vertex). `width` must not exceed `widestVectors()`; it changes no
    /// result.
    PolylineIndex(Points points, std::vector<double> const& arcLengths, VectorWidth width = widestVectors());

    /// The segment that `nearestSegmentByBounds` gives, or -1 if that function must be called.
    ///
    /// @param knownDistSq  a squared distance that some segment is known to reach, or infinity. It only saves time.
    /// @param path  that of earlier queries, which saves time for queries close to them. It must have been used with
    ///              this index only; it may be null.
    int nearestSegment(Points points, Vector3 const& q, double knownDistSq, SearchPath* path = nullptr) const;

    /// `nearestSegment` for a query whose nearest segments are known. `nearest` tells about all segments, and tree()
    /// covers `q`.
    int nearestSegmentOf(Points points, Vector3 const& q, NearestSegments const& nearest, SearchPath* path) const;

    SegmentTree const& tree() const { return tree_; }

    void addOwner() const { owners_.fetch_add(1, std::memory_order_relaxed); }
    void removeOwner() const
    {
        if (owners_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
    }

private:
    // An interval of vertices of the search, with its number: the halves of interval k have the numbers 2k and 2k + 1.
    struct Interval
    {
        int first;
        int last;
        std::size_t number;

        bool isScanned() const;
        int middle() const { return (first + last) / 2; }
        Interval lower() const { return {first, middle(), 2 * number}; }
        Interval upper() const { return {middle(), last, 2 * number + 1}; }
    };

    class Replay;

    Interval root() const { return {0, tree_.segments(), 1}; }
    double bound(Points points, Vector3 const& q, Interval const& interval) const;
    int choose(Points points, Vector3 const& q, NearestSegments const& nearest) const;
    int chooseOnPath(Points points, Vector3 const& q, NearestSegments const& nearest, SearchPath* path) const;
    void findPath(Points points, int segment, SearchPath* path) const;
    double reachOf(Points points, Vector3 const& q, int segment, double distSq) const;
    bool isSplit(int vertex) const;
    void buildSlacks(Points points, std::vector<double> const& arcLengths, Interval const& interval);

    mutable std::atomic<int> owners_{1};
    VectorWidth width_;
    SegmentTree tree_;
    std::vector<double> slacks_; // of the intervals of the search, by number
};

} // namespace sinew::detail
