// The search whose results the index reproduces, nearestSegmentByBounds (literature: see polyline_search.cpp):
//
//     best = the first segment, at the distance of the first vertex
//     offer the last segment, at the distance of the last vertex
//     waiting = {the interval of all vertices}
//     while waiting is not empty:
//         take the interval with the smallest bound out of waiting
//         if bound > distance of best: drop it
//         else if it has at most 9 segments: offer each of them, in order
//         else: offer the segment that starts at the middle vertex, at the distance of that vertex
//               add both halves to waiting
//     return best
//
// "offer" replaces best if the distance is smaller. The order among equal bounds is that of BoundHeap.
//
// What the index does instead; -1 means that the search itself must run:
//
//     find all segments at the smallest distance d by the tree
//     if an end of the polyline is at d: return its segment, the first end before the last one
//     if a stray vertex is at d or nearer: return -1
//     reach = the largest bound of the intervals on the way from the root to a segment at d, at least d
//     if there is one segment at d:
//         if reach = d: return it
//     else if there are two, joined by a vertex at d:
//         if reach = d: return the second one if the search splits at the vertex, else the first one
//     else: return -1
//     replay the search on the intervals that hold a segment within reach; return its best segment, or -1
//
// Why the results agree:
//
// - If reach = d, no interval on the way to the nearest segment is ever dropped, because best is never below d. So
//   the search tries the segment, whatever else it tries before, and nothing that comes later replaces it.
// - Two joined segments at the distance of their common vertex: if the search splits there, it offers the vertex
//   before the segments on both sides, and the vertex stands for the second segment. Otherwise both segments are in
//   one scanned interval, and the first one comes first.
// - The replay leaves out the intervals without a segment within reach. The segments there are farther away than
//   reach and never the result: no bound on the way to the nearest segment exceeds reach, so the search drops this
//   way only after it has found something within reach. The search takes intervals in the order of their bounds, so
//   leaving some out does not change the order of the others. While the replay has found nothing within reach, it
//   knows only that the best distance of the search exceeds reach. So it cannot tell whether the search drops an
//   interval whose bound exceeds reach, and returns -1.
// - Equal bounds: the order of BoundHeap depends on all intervals in it, which the replay does not know. It returns
//   -1, except for bounds of zero. Intervals with a bound of zero come before all others and are never dropped, so
//   their order only decides which of equal distances is met first. Without equal distances it decides nothing.

#include <sinew/fields/detail/polyline_index.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include <sinew/core/detail/segment_distance.h>
#include <sinew/core/tolerances.h>
#include <sinew/detail/as_index.h>
#include <sinew/fields/detail/polyline_search.h>

namespace sinew::detail {

namespace {

constexpr int kUndecided = -1; // the search itself must run
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr int kLanes = SearchPath::kLanes;
constexpr int kLevels = SearchPath::kLevels;

// Margins for deciding without the exact bounds. Relative to the squared distance from the start of a chord, to the
// squared limit, and absolute: more than what measuring to an end instead of to the segment adds.
constexpr double kStartMargin = 1e-12;
constexpr double kLimitMargin = 1e-9;
constexpr double kEndMargin = 4 * kGeometricZero;

// The intervals from the root to the one that scans a segment: their slacks, and their chords in the direction in which
// the search measures them.
struct Path
{
    double from[3][kLevels];
    double to[3][kLevels];
    double slack[kLevels];
    int levels = 0;

    void add(Vector3 const& start, Vector3 const& end, double slackOfInterval)
    {
        assert(levels < kLevels);
        for (int axis = 0; axis < 3; ++axis) {
            from[axis][levels] = start[axis];
            to[axis][levels] = end[axis];
        }
        slack[levels++] = slackOfInterval;
    }

    // Pads to whole vectors. An infinite slack gives a bound of zero.
    void pad(Vector3 const& anywhere)
    {
        while (levels % kLanes != 0) add(anywhere, anywhere, kInfinity);
    }
};

// The largest squared bound of the intervals on a padded path.
struct LargestBoundSq
{
    Path const& path;
    Vector3 const& q;

    template <VectorWidth>
    SINEW_KERNEL double run() const
    {
        double largest[kLanes] = {};
        for (int level = 0; level < path.levels; level += kLanes) {
            for (int i = 0; i < kLanes; ++i) {
                int const k = level + i;
                Vector3 const from(path.from[0][k], path.from[1][k], path.from[2][k]);
                Vector3 const to(path.to[0][k], path.to[1][k], path.to[2][k]);
                double const toSlack = std::sqrt(segmentDistSq(q, from, to)) - path.slack[k];
                double const bound = toSlack > 0.0 ? toSlack : 0.0; // 0 for NaN, as in the search
                largest[i] = bound * bound > largest[i] ? bound * bound : largest[i];
            }
        }
        return *std::max_element(largest, largest + kLanes);
    }
};

// Whether no bound of the intervals on a path can exceed `distance`. It may be false although none does. The distance
// to a chord is not larger than that to any point of the chord, so the nearest point need not be exact.
struct CertainlyReaches
{
    SearchPath const& path;
    Vector3 const& q;
    double distance;

    template <VectorWidth>
    SINEW_KERNEL bool run() const
    {
        double isUnsure[kLanes] = {};
        for (int level = 0; level < path.levels; level += kLanes) {
            for (int i = 0; i < kLanes; ++i) {
                int const k = level + i;
                double const ax = q.x - path.start[0][k], ay = q.y - path.start[1][k], az = q.z - path.start[2][k];
                double const along =
                    (ax * path.chord[0][k] + ay * path.chord[1][k] + az * path.chord[2][k]) * path.invChordSq[k];
                double const notBefore = along > 0.0 ? along : 0.0;
                double const t = notBefore < 1.0 ? notBefore : 1.0;
                double const x = ax - t * path.chord[0][k], y = ay - t * path.chord[1][k],
                             z = az - t * path.chord[2][k];
                double const toStart = ax * ax + ay * ay + az * az;
                double const toChord = x * x + y * y + z * z + kStartMargin * toStart + kEndMargin;
                double const limit = distance + path.slack[k];
                // Written so that NaN is not certain.
                isUnsure[i] = toChord <= limit * limit * (1.0 - kLimitMargin) ? isUnsure[i] : 1.0;
            }
        }
        return std::all_of(isUnsure, isUnsure + kLanes, [](double unsure) { return unsure == 0.0; });
    }
};

} // namespace

PolylineIndex::PolylineIndex(Points points, std::vector<double> const& arcLengths, VectorWidth width)
    : width_(width), tree_(points, width)
{
    assert(arcLengths.size() == points.size());
    if (!tree_.covers(points.front())) return;
    std::size_t numbers = 2;
    for (int longest = tree_.segments(); longest > kScannedSegments; longest = (longest + 1) / 2) numbers *= 2;
    slacks_.resize(numbers);
    buildSlacks(points, arcLengths, root());
    slacks_[root().number] = rootSlack(arcLengths.back() - arcLengths.front(), dist(points.front(), points.back()));
}

void PolylineIndex::buildSlacks(Points points, std::vector<double> const& arcLengths, Interval const& interval)
{
    std::size_t const first = asIndex(interval.first);
    std::size_t const last = asIndex(interval.last);
    slacks_[interval.number] = chordSlack(arcLengths[last] - arcLengths[first], dist(points[first], points[last]));
    if (interval.isScanned()) return;
    buildSlacks(points, arcLengths, interval.lower());
    buildSlacks(points, arcLengths, interval.upper());
}

bool PolylineIndex::Interval::isScanned() const
{
    return last - first <= kScannedSegments;
}

// The bound that the search computes for one of its intervals. The search measures the chord of an upper half from the
// last vertex to the first one.
double PolylineIndex::bound(Points points, Vector3 const& q, Interval const& interval) const
{
    bool const isUpper = interval.number % 2 == 1 && interval.number > 1;
    Vector3 const from = points[asIndex(isUpper ? interval.last : interval.first)];
    Vector3 const to = points[asIndex(isUpper ? interval.first : interval.last)];
    return std::max(0.0, std::sqrt(segmentDistSq(q, from, to)) - slacks_[interval.number]);
}

// The largest squared bound on the search's way to `segment`, but at least `distSq`.
double PolylineIndex::reachOf(Points points, Vector3 const& q, int segment, double distSq) const
{
    Path path;
    Interval interval = root();
    path.add(points[asIndex(interval.first)], points[asIndex(interval.last)], slacks_[interval.number]);
    while (!interval.isScanned()) {
        // Conditional values instead of branches: which half holds the segment cannot be predicted.
        int const middle = interval.middle();
        bool const isUpper = segment >= middle;
        int const far = isUpper ? interval.last : interval.first;
        interval = {isUpper ? middle : interval.first, isUpper ? interval.last : middle, 2 * interval.number + isUpper};
        path.add(points[asIndex(far)], points[asIndex(middle)], slacks_[interval.number]);
    }
    path.pad(points.front());
    return std::max(distSq, dispatch(width_, LargestBoundSq{path, q}));
}

bool PolylineIndex::isSplit(int vertex) const
{
    Interval interval = root();
    while (!interval.isScanned()) {
        if (interval.middle() == vertex) return true;
        interval = vertex < interval.middle() ? interval.lower() : interval.upper();
    }
    return false;
}

// The search on the intervals that hold a segment within `reach`, a squared distance.
class PolylineIndex::Replay
{
public:
    Replay(PolylineIndex const& index, Points points, Vector3 const& q, NearestSegments const& nearest, double reach)
        : index_(index), points_(points), q_(q), smallestDistSq_(nearest.distSq), reach_(reach)
    {
    }

    int run()
    {
        index_.tree_.within(q_, reach_, near_);
        if (near_.count > SegmentsWithin::kCapacity) return kUndecided;
        sortNear();
        offerVertex(0, 0);
        offerVertex(index_.tree_.segments(), index_.tree_.segments() - 1);
        add(index_.root(), 0, near_.count);
        bool isOrdered = true;
        while (size_ > 0) {
            bool isTied = false;
            Waiting const next = pop(&isTied);
            if (isTied && next.bound > 0.0) return kUndecided;
            isOrdered = isOrdered && !isTied;
            double const boundSq = next.bound * next.bound;
            if (boundSq > bestDistSq_) continue;
            if (boundSq > reach_) return kUndecided; // the search may have dropped the interval
            visit(next);
            // Nothing is nearer, and the caller has made sure that the search names the first one that it meets.
            if (bestDistSq_ == smallestDistSq_) return best_;
        }
        return isOrdered || isAlone() ? best_ : kUndecided;
    }

private:
    // An interval with its segments within reach: those at the places begin .. end - 1 of `order_`.
    struct Waiting
    {
        double bound;
        Interval interval;
        int begin;
        int end;
    };

    int near(int place) const { return near_.segments[order_[asIndex(place)]]; }

    void sortNear()
    {
        for (std::size_t i = 0; i < asIndex(near_.count); ++i) order_[i] = i;
        std::sort(order_.begin(), order_.begin() + near_.count,
                  [this](std::size_t a, std::size_t b) { return near_.segments[a] < near_.segments[b]; });
    }

    void offer(int segment, double distSq)
    {
        if (distSq > reach_ || !(bestDistSq_ > distSq)) return;
        best_ = segment;
        bestDistSq_ = distSq;
    }
    void offerVertex(int vertex, int segment) { offer(segment, distSq(points_[asIndex(vertex)], q_)); }

    // An interval without a segment within reach is left out.
    void add(Interval const& interval, int begin, int end)
    {
        if (begin == end) return;
        waiting_[asIndex(size_++)] = {index_.bound(points_, q_, interval), interval, begin, end};
    }

    // Takes out an interval with the smallest bound. `isTied`: whether another one has the same bound.
    Waiting pop(bool* isTied)
    {
        auto const hasSmallerBound = [](Waiting const& a, Waiting const& b) { return a.bound < b.bound; };
        auto const smallest = std::min_element(waiting_.begin(), waiting_.begin() + size_, hasSmallerBound);
        Waiting const next = *smallest;
        *smallest = waiting_[asIndex(--size_)];
        *isTied = std::any_of(waiting_.begin(), waiting_.begin() + size_,
                              [&next](Waiting const& other) { return other.bound == next.bound; });
        return next;
    }

    void visit(Waiting const& next)
    {
        if (next.interval.isScanned()) {
            for (int i = next.begin; i < next.end; ++i) offer(near(i), near_.distSqs[order_[asIndex(i)]]);
            return;
        }
        int const middle = next.interval.middle();
        offerVertex(middle, middle);
        int between = next.begin;
        while (between < next.end && near(between) < middle) ++between;
        add(next.interval.lower(), next.begin, between);
        add(next.interval.upper(), between, next.end);
    }

    // Whether the best segment is the only one that the search could name for the best distance: no other segment and
    // no vertex of another segment is at that distance.
    bool isAlone() const
    {
        auto const isVertexAtBest = [this](int vertex) { return distSq(points_[asIndex(vertex)], q_) == bestDistSq_; };
        for (std::size_t i = 0; i < asIndex(near_.count); ++i) {
            int const k = near_.segments[i];
            if (k != best_ && (near_.distSqs[i] == bestDistSq_ || isVertexAtBest(k))) return false;
            if (k + 1 != best_ && isVertexAtBest(k + 1)) return false;
        }
        return true;
    }

    PolylineIndex const& index_;
    Points points_;
    Vector3 const& q_;
    double const smallestDistSq_;
    double const reach_;

    SegmentsWithin near_;
    std::array<std::size_t, SegmentsWithin::kCapacity> order_; // places in near_ by ascending segment
    // Disjoint intervals, each with a segment that no other one has. There are few, so a heap would not be faster.
    std::array<Waiting, SegmentsWithin::kCapacity + 1> waiting_;
    int size_ = 0;
    int best_ = kUndecided;
    double bestDistSq_ = kInfinity;
};

int PolylineIndex::nearestSegment(Points points, Vector3 const& q, double knownDistSq, SearchPath* path) const
{
    assert(points.size() == asIndex(tree_.segments()) + 1);
    if (!tree_.covers(q)) return kUndecided;
    double const atFirst = distSq(points.front(), q);
    double const atLast = distSq(points.back(), q);
    return nearestSegmentOf(points, q, tree_.nearest(q, std::min({knownDistSq, atFirst, atLast})), path);
}

int PolylineIndex::nearestSegmentOf(Points points, Vector3 const& q, NearestSegments const& nearest,
                                    SearchPath* path) const
{
    double const atFirst = distSq(points.front(), q);
    double const atLast = distSq(points.back(), q);
    double const smallest = std::min(nearest.distSq, nearest.strayDistSq);
    if (atFirst <= smallest) return 0;
    if (atLast <= smallest) return tree_.segments() - 1;
    int const onPath = path ? chooseOnPath(points, q, nearest, path) : kUndecided;
    return onPath != kUndecided ? onPath : choose(points, q, nearest);
}

// What choose() returns, or kUndecided if that must be called: decides only if one scanned interval holds the nearest
// segments, and if no bound on the way to it is near the smallest distance. The search does not split this interval.
int PolylineIndex::chooseOnPath(Points points, Vector3 const& q, NearestSegments const& nearest, SearchPath* path) const
{
    if (nearest.strayDistSq <= nearest.distSq || nearest.count < 1 || nearest.count > 2) return kUndecided;
    int result = nearest.first;
    if (nearest.count == 2) {
        result = std::min(nearest.first, nearest.second);
        int const upper = result + 1;
        bool const isJoined = std::max(nearest.first, nearest.second) == upper;
        if (!isJoined || distSq(points[asIndex(upper)], q) != nearest.distSq) return kUndecided;
    }
    if (!path->leadsTo(result)) findPath(points, result, path);
    if (!path->leadsTo(result + nearest.count - 1)) return kUndecided;
    bool const isReached = dispatch(width_, CertainlyReaches{*path, q, std::sqrt(nearest.distSq)});
    return isReached ? result : kUndecided;
}

void PolylineIndex::findPath(Points points, int segment, SearchPath* path) const
{
    path->levels = 0;
    auto const add = [&](Interval const& interval) {
        int const k = path->levels++;
        Vector3 const start = points[asIndex(interval.first)];
        Vector3 const chord = points[asIndex(interval.last)] - start;
        for (int axis = 0; axis < 3; ++axis) {
            path->start[axis][k] = start[axis];
            path->chord[axis][k] = chord[axis];
        }
        // 0 stands for the start of the chord, where the reciprocal may overflow.
        path->invChordSq[k] = chord.lengthSq() >= std::numeric_limits<double>::min() ? 1.0 / chord.lengthSq() : 0.0;
        path->slack[k] = slacks_[interval.number];
    };
    Interval interval = root();
    add(interval);
    while (!interval.isScanned()) {
        interval = segment < interval.middle() ? interval.lower() : interval.upper();
        add(interval);
    }
    while (path->levels % kLanes != 0) add(interval);
    path->first = interval.first;
    path->last = interval.last;
}

// Which of the nearest segments the search names, if neither end of the polyline is as near.
int PolylineIndex::choose(Points points, Vector3 const& q, NearestSegments const& nearest) const
{
    // The search may meet the stray vertex before the nearest segment or after it.
    if (nearest.strayDistSq <= nearest.distSq) return kUndecided;
    // Only if the host has changed the rounding mode: the bounds are proved for rounding to nearest.
    if (nearest.count == 0) return kUndecided;

    double reach = reachOf(points, q, nearest.first, nearest.distSq);
    int result = nearest.first;
    if (nearest.count > 1) {
        int const lower = std::min(nearest.first, nearest.second);
        int const upper = lower + 1;
        bool const isJoined = nearest.count == 2 && std::abs(nearest.first - nearest.second) == 1;
        if (!isJoined || distSq(points[asIndex(upper)], q) != nearest.distSq) return kUndecided;
        reach = std::max(reach, reachOf(points, q, nearest.second, nearest.distSq));
        if (reach == nearest.distSq) result = isSplit(upper) ? upper : lower;
    }
    return reach == nearest.distSq ? result : Replay(*this, points, q, nearest, reach).run();
}

} // namespace sinew::detail
