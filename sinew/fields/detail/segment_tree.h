#pragma once

/// A tree of boxes and capsules over the segments of a polyline, for exact nearest-segment queries. Not installed.

#include <array>
#include <vector>

#include <sinew/detail/dispatch.h>
#include <sinew/core/vector3.h>

namespace sinew::detail {

/// The nearest segments to a point, where distances are computed exactly as `distSqToLineSegment` computes them.
struct NearestSegments
{
    double distSq; ///< the smallest squared distance, or one known before that is smaller still
    double
        strayDistSq; ///< smallest of a vertex that rounding has made nearer than the segment it starts, if up to distSq
    int first;       ///< of the segments at distSq, the first one met,
    int second;      ///< the next one,
    int count;       ///< and how many there are
};

/// Segments up to some distance, with their squared distances.
struct SegmentsWithin
{
    static constexpr int kCapacity = 128;
    std::array<int, kCapacity> segments;
    std::array<double, kCapacity> distSqs;
    int count = 0; ///< beyond kCapacity there were too many, and nothing is of use
};

class SegmentTree
{
public:
    /// At least two vertices. Linear cost and memory (about 40 bytes a vertex).
    explicit SegmentTree(std::vector<Vector3> const& points, VectorWidth width);

    /// Whether `q` and all vertices are of a size that the rounding margins hold for; else the queries may not be
    /// asked.
    bool covers(Vector3 const& q) const;

    /// @param knownDistSq  a squared distance known to be reached, or infinity: it only saves time.
    NearestSegments nearest(Vector3 const& q, double knownDistSq) const;

    /// All segments up to the squared distance `limit`, and those that start at a stray vertex up to it.
    void within(Vector3 const& q, double limit, SegmentsWithin& out) const;

    int segments() const { return segments_; }
    Vector3 vertex(int i) const { return {x_[i], y_[i], z_[i]}; }

private:
    friend struct SegmentTreeReader;

    // Eight parts of the polyline, coordinate by coordinate so that they are measured together. A part lies in a box,
    // and within `radius` of the chord between its ends, which follows a smooth curve far more closely.
    struct Group
    {
        double low[3][8];
        double high[3][8];
        double start[3][8];
        double chord[3][8];
        double invChordSq[8];
        double radius[8];
    };

    void buildRuns(std::vector<Vector3> const& points);
    void buildLevel(std::size_t parts);
    void fill(Group& group, int place, int level, std::size_t part) const;

    [[maybe_unused]] VectorWidth width_; // nobody asks for it where there is one width
    int segments_;
    bool usable_;
    double roundingMargin_;                  // see SegmentTreeReader
    std::vector<double> x_, y_, z_;          // the vertices, and copies of the last one that fill up a run of segments
    std::vector<std::vector<Group>> levels_; // [0]: a part is a run of eight segments; above: a group below
};

} // namespace sinew::detail
