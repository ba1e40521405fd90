#pragma once

/// A bounding volume hierarchy over the segments of a polyline, for exact queries about near segments. Not installed.

#include <array>
#include <vector>

#include <sinew/core/vector3.h>
#include <sinew/detail/dispatch.h>

namespace sinew::detail {

/// The segments nearest to a point. All distances have the bits that `distSqToLineSegment` gives.
struct NearestSegments
{
    /// The smallest squared distance of all segments, or the known one that the query was given if that is smaller.
    double distSq;
    /// The smallest squared distance of a stray vertex, infinity if there is none up to `distSq`. A stray vertex is one
    /// that rounding makes nearer than the segment that starts there.
    double strayDistSq;
    int first;  ///< one of the segments at `distSq`, -1 if there is none
    int second; ///< another one, -1 if there is none
    int count;  ///< the number of segments at `distSq`
};

/// The segments up to some squared distance from a point, in no order.
struct SegmentsWithin
{
    static constexpr int kCapacity = 128;
    std::array<int, kCapacity> segments;
    std::array<double, kCapacity> distSqs; ///< of these segments
    int count = 0;                         ///< a count above kCapacity means that the arrays are incomplete
};

/// Bounds of runs of eight segments, and of groups of eight bounds on each level above.
///
/// Both queries may be called by any number of threads at the same time. They find the same segments at every vector
/// width, in the same order.
class SegmentTree
{
public:
    /// Segments in a run and parts in a group: as many doubles as the widest vectors hold.
    static constexpr int kFanOut = 8;

    /// Requires at least two vertices. Linear cost and memory (about 40 bytes a vertex). `width` must not exceed
    /// `widestVectors()`.
    explicit SegmentTree(std::vector<Vector3> const& points, VectorWidth width);

    /// Whether the coordinates of `q` and of all vertices are small enough for the rounding margins of the tree (below
    /// 1e70). The queries require it. False for NaN.
    bool covers(Vector3 const& q) const;

    /// The segments nearest to `q`. The cost is close to logarithmic for points near a curve.
    ///
    /// @param knownDistSq  a squared distance that some segment is known to reach, or infinity. It only saves time.
    NearestSegments nearest(Vector3 const& q, double knownDistSq) const;

    /// All segments up to the squared distance `limit`, and the segments that start at a stray vertex up to it.
    void within(Vector3 const& q, double limit, SegmentsWithin& out) const;

    int segments() const { return segments_; }

    /// Corners of a box that contains all vertices. Requires that the tree covers some point.
    void box(Vector3* low, Vector3* high) const;

    /// More than the rounding error of the squared distance to a segment, apart from the part that grows with it.
    double roundingMargin() const { return roundingMargin_; }

private:
    struct NearestVisitor;
    struct WithinVisitor;
    template <typename Visitor>
    struct Search;
    class PartBounds;

    // The bounds of eight parts, by coordinate so that one instruction measures several parts. A part lies in a box,
    // and within `radius` of its chord, the segment between its ends: this capsule follows a smooth curve far more
    // closely than the box. A part is a run of segments on level 0 and a group of the level below on the others.
    struct Group
    {
        double low[3][kFanOut];
        double high[3][kFanOut];
        double start[3][kFanOut];
        double chord[3][kFanOut];
        double invChordSq[kFanOut];
        double radius[kFanOut];
    };

    void buildRuns(std::vector<Vector3> const& points);
    void buildLevel(std::size_t parts);
    PartBounds boundsOf(std::size_t level, std::size_t part) const;
    Vector3 vertex(std::size_t i) const { return {x_[i], y_[i], z_[i]}; }

    VectorWidth width_;
    int segments_;
    bool usable_;
    double roundingMargin_;         // the part of the margin of a distance that does not grow with the distance
    std::vector<double> x_, y_, z_; // the vertices, padded with the last one to whole runs
    std::vector<std::vector<Group>> levels_; // from the groups of runs up to a level of one or two groups
};

} // namespace sinew::detail
