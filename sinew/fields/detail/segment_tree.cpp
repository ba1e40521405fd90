// A bounding volume hierarchy with eight children a node, which fit the widest vectors. The search goes from each node
// to its nearest child first and drops what lies beyond the best distance: N. Roussopoulos, S. Kelley and F. Vincent,
// Nearest neighbor queries, SIGMOD 1995. The bounds are boxes and capsules: C. Ericson, Real-Time Collision Detection,
// 2005, sections 4.2 and 4.5.

#include <sinew/fields/detail/segment_tree.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include <sinew/core/detail/segment_distance.h>
#include <sinew/detail/as_index.h>

namespace sinew::detail {

namespace {

constexpr int kRun = SegmentTree::kFanOut;
// A level above two groups would not save measurements: its only group would have to be measured in addition.
constexpr int kTopGroups = 2;
// Parts that can wait at the same time: up to seven on each of the ten levels that 2^31 segments have, the second group
// of the top level, and the eight places after the last one that are written before the number of parts is known.
constexpr int kWaiting = 96;
constexpr double kInfinity = std::numeric_limits<double>::infinity();
// The reciprocal of a smaller number may overflow.
constexpr double kSmallestNormal = std::numeric_limits<double>::min();
// Fourth powers of differences of coordinates up to this magnitude are finite.
constexpr double kLargestCoordinate = 1e70;

// Relative rounding margin. The squared distance to a segment, |q - a|^2 - s^2 / L, loses up to about 30 units in the
// last place of |q - a|^2, that is 7e-15 of it, and |q - a|^2 exceeds the distance by up to the square of the length of
// the segment. This is more than ten times as much.
constexpr double kRounding = 1e-13;
// Absolute rounding margin of squared distances: squares of differences below about 1e-154 lose all their digits.
constexpr double kUnderflow = 1e-290;

bool isUsable(Vector3 const& v)
{
    return std::fabs(v.x) < kLargestCoordinate && std::fabs(v.y) < kLargestCoordinate &&
           std::fabs(v.z) < kLargestCoordinate;
}

SINEW_KERNEL double smaller(double a, double b)
{
    return a < b ? a : b;
}
SINEW_KERNEL double larger(double a, double b)
{
    return a > b ? a : b;
}

// Writes the squared distances from q to the eight segments whose first vertex is x[0], y[0], z[0] and following. For
// each it also writes the squared distance to its first vertex if that is smaller, else infinity.
SINEW_KERNEL void measureRun(double const* x, double const* y, double const* z, Vector3 const& q,
                             double* segmentDistSqs, double* strayDistSqs)
{
    for (int i = 0; i < kRun; ++i) {
        Vector3 const a(x[i], y[i], z[i]);
        Vector3 const b(x[i + 1], y[i + 1], z[i + 1]);
        double const toSegment = segmentDistSq(q, a, b);
        double const toVertex = distSq(q, a);
        segmentDistSqs[i] = toSegment;
        strayDistSqs[i] = toSegment > toVertex ? toVertex : kInfinity;
    }
}

SINEW_KERNEL double smallestOfRun(double const* values)
{
    double halves[4];
    for (int i = 0; i < 4; ++i) halves[i] = smaller(values[i], values[i + 4]);
    return smaller(smaller(halves[0], halves[2]), smaller(halves[1], halves[3]));
}

SINEW_KERNEL int placeOfSmallest(double const* values)
{
    int halves[4];
    for (int i = 0; i < 4; ++i) halves[i] = values[i + 4] < values[i] ? i + 4 : i;
    int const even = values[halves[2]] < values[halves[0]] ? halves[2] : halves[0];
    int const odd = values[halves[3]] < values[halves[1]] ? halves[3] : halves[1];
    return values[odd] < values[even] ? odd : even;
}

} // namespace

// What a search does with the runs that it reaches. `limit` is the squared distance up to which segments matter;
// `visit` receives the distances of the first `count` of eight segments from `start` on. The rest of the last run is
// padding: its segments have no number, but their vertex is the last one of the polyline.
struct SegmentTree::NearestVisitor
{
    NearestSegments& best;

    SINEW_KERNEL double limit() const { return best.distSq; }

    SINEW_KERNEL void visit(int start, int count, double const* distSqs, double const* strayDistSqs) const
    {
        double const distSq = smallestOfRun(distSqs);
        best.strayDistSq = smaller(best.strayDistSq, smallestOfRun(strayDistSqs));
        if (distSq > best.distSq) return;
        if (distSq < best.distSq) best = {distSq, best.strayDistSq, -1, -1, 0};
        for (int i = 0; i < count; ++i) {
            if (distSqs[i] != distSq) continue;
            if (best.count == 0) best.first = start + i;
            if (best.count == 1) best.second = start + i;
            ++best.count;
        }
    }
};

struct SegmentTree::WithinVisitor
{
    double const reach;
    SegmentsWithin& out;

    SINEW_KERNEL double limit() const { return reach; }

    SINEW_KERNEL void visit(int start, int count, double const* distSqs, double const* strayDistSqs) const
    {
        for (int i = 0; i < count; ++i) {
            if (!(smaller(distSqs[i], strayDistSqs[i]) <= reach)) continue;
            if (out.count < SegmentsWithin::kCapacity) {
                out.segments[asIndex(out.count)] = start + i;
                out.distSqs[asIndex(out.count)] = distSqs[i];
            }
            ++out.count;
        }
    }
};

// Visits all runs that can hold a segment up to the visitor's limit.
template <typename Visitor>
struct SegmentTree::Search
{
    SegmentTree const& tree;
    Vector3 const& q;
    Visitor visitor;

    template <VectorWidth>
    SINEW_KERNEL void run() const
    {
        WaitingParts waiting;
        int const levels = static_cast<int>(tree.levels_.size());
        Part part{0.0, levels, 0};
        waiting.push({0.0, levels, kTopGroups - 1}, tree.levels_.back().size() == kTopGroups);
        double limit = withMargin(visitor.limit());
        do {
            if (descend(part, limit, waiting)) {
                visitRun(part.number);
                limit = withMargin(visitor.limit());
            }
        } while (waiting.pop(limit, part));
    }

private:
    // A run of segments if the level is 0, otherwise a group of the level below; `number` is its place there.
    struct Part
    {
        double distSq; // a lower bound of the squared distance, up to rounding
        int level;
        int number;
    };

    // A stack. The order of the parts on one level is arbitrary: the limit after the first run drops most of them
    // anyway.
    struct WaitingParts
    {
        Part parts[kWaiting];
        int size = 0;

        // Writes first and decides afterwards, because a branch here cannot be predicted.
        SINEW_KERNEL void push(Part const& part, bool isKept)
        {
            assert(size < kWaiting);
            parts[size] = part;
            size += isKept;
        }

        // Takes out the last part that does not exceed the limit and drops those behind it. False if there is none.
        SINEW_KERNEL bool pop(double limit, Part& part)
        {
            do {
                if (size == 0) return false;
                part = parts[--size];
            } while (part.distSq > limit);
            return true;
        }
    };

    // The largest computed bound of a part that can hold a segment at the computed squared distance `distSq`.
    SINEW_KERNEL double withMargin(double distSq) const { return (distSq + tree.roundingMargin_) * (1.0 + kRounding); }

    // Replaces a group by its nearest part until that is a run. The other parts within the limit wait. False if the
    // nearest part exceeds the limit.
    SINEW_KERNEL bool descend(Part& part, double limit, WaitingParts& waiting) const
    {
        while (part.level > 0) {
            double distSqs[kRun];
            measureParts(tree.levels_[asIndex(part.level - 1)][asIndex(part.number)], distSqs);
            int const level = part.level - 1;
            int const first = kRun * part.number;
            int const nearest = placeOfSmallest(distSqs);
            part = {distSqs[nearest], level, first + nearest};
            if (part.distSq > limit) return false;
            for (int i = 0; i < kRun; ++i) {
                waiting.push({distSqs[i], level, first + i}, (distSqs[i] <= limit) & (i != nearest));
            }
        }
        return true;
    }

    SINEW_KERNEL void visitRun(int run) const
    {
        int const start = kRun * run;
        std::size_t const at = asIndex(start);
        double distSqs[kRun];
        double strayDistSqs[kRun];
        measureRun(&tree.x_[at], &tree.y_[at], &tree.z_[at], q, distSqs, strayDistSqs);
        int const left = tree.segments_ - start;
        visitor.visit(start, left < kRun ? left : kRun, distSqs, strayDistSqs);
    }

    // Lower bounds of the squared distances from q to eight parts, up to rounding. Padding is infinitely far away.
    SINEW_KERNEL void measureParts(Group const& g, double* distSqs) const
    {
        for (int i = 0; i < kRun; ++i) {
            double const dx = larger(larger(g.low[0][i] - q.x, q.x - g.high[0][i]), 0.0);
            double const dy = larger(larger(g.low[1][i] - q.y, q.y - g.high[1][i]), 0.0);
            double const dz = larger(larger(g.low[2][i] - q.z, q.z - g.high[2][i]), 0.0);
            double const toBox = dx * dx + dy * dy + dz * dz;

            double const ax = q.x - g.start[0][i], ay = q.y - g.start[1][i], az = q.z - g.start[2][i];
            double const along = (ax * g.chord[0][i] + ay * g.chord[1][i] + az * g.chord[2][i]) * g.invChordSq[i];
            double const t = smaller(larger(along, 0.0), 1.0);
            double const cx = ax - t * g.chord[0][i], cy = ay - t * g.chord[1][i], cz = az - t * g.chord[2][i];
            double const outside = larger(std::sqrt(cx * cx + cy * cy + cz * cz) - g.radius[i], 0.0);
            distSqs[i] = larger(toBox, outside * outside);
        }
    }
};

// Collects the bounds of one part with the ends `first` and `last`.
class SegmentTree::PartBounds
{
public:
    PartBounds(Vector3 const& first, Vector3 const& last)
        : low_(first), high_(first), start_(first), chord_(last - first),
          // A shorter chord is replaced by its start: its reciprocal could be infinite, and 0 * infinity is NaN.
          invChordSq_(chord_.lengthSq() >= kSmallestNormal ? 1.0 / chord_.lengthSq() : 0.0)
    {
    }

    void include(Vector3 const& v)
    {
        includeBox(v, v);
        includeBall(v, 0.0);
    }

    // The parts at all places of a group that are not padding.
    void include(Group const& parts)
    {
        for (int i = 0; i < kRun && parts.low[0][i] <= parts.high[0][i]; ++i) {
            includeBox(at(parts.low, i), at(parts.high, i));
            // The distance from a chord to the points of a segment is largest at an end of the segment.
            Vector3 const from = at(parts.start, i);
            includeBall(from, parts.radius[i]);
            includeBall(from + at(parts.chord, i), parts.radius[i]);
        }
    }

    void store(Group& group, std::size_t place) const
    {
        for (int axis = 0; axis < 3; ++axis) {
            group.low[axis][place] = low_[axis];
            group.high[axis][place] = high_[axis];
            group.start[axis][place] = start_[axis];
            group.chord[axis][place] = chord_[axis];
        }
        group.invChordSq[place] = invChordSq_;
        // The margin for rounding errors that grow with the chord, in this class and in a query. Errors that grow with
        // the distance are in the margin of the limit.
        group.radius[place] = radius_ + kRounding * (radius_ + chord_.length());
    }

private:
    static Vector3 at(double const (&coordinates)[3][kRun], int i)
    {
        return {coordinates[0][i], coordinates[1][i], coordinates[2][i]};
    }

    void includeBox(Vector3 const& low, Vector3 const& high)
    {
        for (int axis = 0; axis < 3; ++axis) {
            low_[axis] = std::min(low_[axis], low[axis]);
            high_[axis] = std::max(high_[axis], high[axis]);
        }
    }

    // The distance is taken to the projection on the chord. The difference of squares in distSqToLineSegment would lose
    // all digits of a distance that is small against the chord.
    void includeBall(Vector3 const& centre, double radius)
    {
        double const t = std::clamp((centre - start_) * chord_ * invChordSq_, 0.0, 1.0);
        radius_ = std::max(radius_, (centre - start_ - t * chord_).length() + radius);
    }

    Vector3 low_;
    Vector3 high_;
    Vector3 const start_;
    Vector3 const chord_;
    double const invChordSq_;
    double radius_ = 0.0;
};

SegmentTree::SegmentTree(std::vector<Vector3> const& points, VectorWidth width)
    : width_(width), segments_(static_cast<int>(points.size()) - 1),
      usable_(std::all_of(points.begin(), points.end(), isUsable)), roundingMargin_(0.0)
{
    assert(points.size() >= 2);
    buildRuns(points);
    if (!usable_) return;
    std::size_t parts = x_.size() / kRun;
    do {
        buildLevel(parts);
        parts = levels_.back().size();
    } while (parts > kTopGroups);
}

void SegmentTree::buildRuns(std::vector<Vector3> const& points)
{
    std::size_t const runs = (points.size() - 1 + kRun - 1) / kRun;
    x_.assign(runs * kRun + 1, points.back().x);
    y_.assign(runs * kRun + 1, points.back().y);
    z_.assign(runs * kRun + 1, points.back().z);
    double longestSq = 0.0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        x_[i] = points[i].x;
        y_[i] = points[i].y;
        z_[i] = points[i].z;
        if (i > 0) longestSq = std::max(longestSq, distSq(points[i - 1], points[i]));
    }
    roundingMargin_ = kRounding * longestSq + kUnderflow;
}

void SegmentTree::buildLevel(std::size_t parts)
{
    Group padding{};
    for (int axis = 0; axis < 3; ++axis) {
        std::fill_n(padding.low[axis], kRun, kInfinity);
        std::fill_n(padding.high[axis], kRun, -kInfinity);
    }
    std::size_t const level = levels_.size();
    std::vector<Group> groups((parts + kRun - 1) / kRun, padding);
    for (std::size_t part = 0; part < parts; ++part) boundsOf(level, part).store(groups[part / kRun], part % kRun);
    levels_.push_back(std::move(groups));
}

SegmentTree::PartBounds SegmentTree::boundsOf(std::size_t level, std::size_t part) const
{
    std::size_t segments = kRun;
    for (std::size_t i = 0; i < level; ++i) segments *= kRun;
    std::size_t const first = part * segments;
    std::size_t const last = std::min(first + segments, x_.size() - 1);
    PartBounds bounds(vertex(first), vertex(last));
    if (level > 0) {
        bounds.include(levels_[level - 1][part]);
    } else {
        for (std::size_t i = first; i <= last; ++i) bounds.include(vertex(i));
    }
    return bounds;
}

bool SegmentTree::covers(Vector3 const& q) const
{
    return usable_ && isUsable(q);
}

void SegmentTree::box(Vector3* low, Vector3* high) const
{
    assert(usable_);
    *low = *high = vertex(0);
    for (Group const& group : levels_.back()) {
        for (int axis = 0; axis < 3; ++axis) {
            (*low)[axis] = std::min((*low)[axis], *std::min_element(group.low[axis], group.low[axis] + kRun));
            (*high)[axis] = std::max((*high)[axis], *std::max_element(group.high[axis], group.high[axis] + kRun));
        }
    }
}

NearestSegments SegmentTree::nearest(Vector3 const& q, double knownDistSq) const
{
    assert(covers(q));
    NearestSegments best{knownDistSq, kInfinity, -1, -1, 0};
    dispatch(width_, Search<NearestVisitor>{*this, q, {best}});
    return best;
}

void SegmentTree::within(Vector3 const& q, double limit, SegmentsWithin& out) const
{
    assert(covers(q));
    out.count = 0;
    dispatch(width_, Search<WithinVisitor>{*this, q, {limit, out}});
}

} // namespace sinew::detail
