#include <sinew/fields/detail/polyline_index.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include <sinew/core/detail/segment_distance.h>
#include <sinew/fields/detail/polyline_search.h>

namespace sinew::detail {

namespace {

constexpr int kAskTheSearch = -1;
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr int kLanes = 8;   // intervals bounded at once
constexpr int kLevels = 32; // halvings of 2^31 segments, and some

// The intervals on the search's way to a segment: their chords, in the order in which they are measured, and slacks.
struct Path
{
    double from[3][kLevels];
    double to[3][kLevels];
    double slack[kLevels];
};

SINEW_KERNEL double largestBoundSqBody(Path const& path, int levels, Vector3 const& q)
{
    double largest[kLanes] = {};
    for (int level = 0; level < levels; level += kLanes) {
        for (int i = 0; i < kLanes; ++i) {
            int const k = level + i;
            Vector3 const from(path.from[0][k], path.from[1][k], path.from[2][k]);
            Vector3 const to(path.to[0][k], path.to[1][k], path.to[2][k]);
            double const above = std::sqrt(segmentDistSq(q, from, to)) - path.slack[k];
            double const bound = above > 0.0 ? above : 0.0; // zero for the NaN of a straight polyline's root
            largest[i] = bound * bound > largest[i] ? bound * bound : largest[i];
        }
    }
    return *std::max_element(largest, largest + kLanes);
}

double largestBoundSqBaseline(Path const& path, int levels, Vector3 const& q)
{
    return largestBoundSqBody(path, levels, q);
}
#if SINEW_WIDE_KERNELS
SINEW_AVX2 double largestBoundSqAvx2(Path const& path, int levels, Vector3 const& q)
{
    return largestBoundSqBody(path, levels, q);
}
SINEW_AVX512 double largestBoundSqAvx512(Path const& path, int levels, Vector3 const& q)
{
    return largestBoundSqBody(path, levels, q);
}
#endif

double largestBoundSq([[maybe_unused]] VectorWidth width, Path const& path, int levels, Vector3 const& q)
{
#if SINEW_WIDE_KERNELS
    if (width == VectorWidth::avx512) return largestBoundSqAvx512(path, levels, q);
    if (width == VectorWidth::avx2) return largestBoundSqAvx2(path, levels, q);
#endif
    return largestBoundSqBaseline(path, levels, q);
}

} // namespace

PolylineIndex::PolylineIndex(Points points, std::vector<double> const& arcLengths, VectorWidth width)
    : width_(width), tree_(points, width)
{
    if (!tree_.covers(points.front())) return;
    std::size_t nodes = 2;
    for (int longest = tree_.segments(); longest > kScannedSegments; longest = (longest + 1) / 2) nodes *= 2;
    slacks_.resize(nodes);
    slacks_[0] = kInfinity; // of no interval: bounds nothing
    buildSlacks(points, arcLengths, root());
    slacks_[1] = rootSlack(arcLengths.back() - arcLengths.front(), dist(points.front(), points.back()));
}

void PolylineIndex::buildSlacks(Points points, std::vector<double> const& arcLengths, Interval const& interval)
{
    slacks_[interval.node] = chordSlack(arcLengths[interval.last] - arcLengths[interval.first],
                                        dist(points[interval.first], points[interval.last]));
    if (interval.isScanned()) return;
    buildSlacks(points, arcLengths, interval.lower());
    buildSlacks(points, arcLengths, interval.upper());
}

bool PolylineIndex::Interval::isScanned() const
{
    return last - first <= kScannedSegments;
}

int PolylineIndex::nearestSegment(Points points, Vector3 const& q, double knownDistSq) const
{
    if (!tree_.covers(q)) return kAskTheSearch;
    // Both ends are tried before anything else, the first one first. What equals the smallest of all distances when it
    // is tried stays.
    double const atStart = distSq(points[0], q);
    double const atEnd = distSq(points[tree_.segments()], q);
    NearestSegments const nearest = tree_.nearest(q, std::min({knownDistSq, atStart, atEnd}));
    double const smallest = std::min(nearest.distSq, nearest.strayDistSq);
    if (atStart <= smallest) return 0;
    if (atEnd <= smallest) return tree_.segments() - 1;
    return settle(points, q, nearest);
}

// Decides which of the nearest segments the search names, given that neither end of the polyline is as near.
int PolylineIndex::settle(Points points, Vector3 const& q, NearestSegments const& nearest) const
{
    // A stray vertex may be met before the nearest segment or after it.
    if (nearest.strayDistSq <= nearest.distSq) return kAskTheSearch;
    double reach = reachNeeded(points, q, nearest.first, nearest.distSq);
    if (nearest.count == 1) return reach == nearest.distSq ? nearest.first : replay(points, q, nearest, reach);

    // Two segments equally near at the vertex that joins them.
    int const lower = std::min(nearest.first, nearest.second);
    bool const joined = nearest.count == 2 && std::abs(nearest.first - nearest.second) == 1;
    if (!joined || distSq(points[lower + 1], q) != nearest.distSq) return kAskTheSearch;
    reach = std::max(reach, reachNeeded(points, q, nearest.second, nearest.distSq));
    if (reach > nearest.distSq) return replay(points, q, nearest, reach);
    // The search tries a vertex when it splits there, before the segments on either side; else it scans both in order.
    return isSplit(lower + 1) ? lower + 1 : lower;
}

// The search's bound of one of its intervals. The chord is measured from the far end in an upper half.
double PolylineIndex::bound(Points points, Vector3 const& q, Interval const& interval) const
{
    bool const upper = interval.node % 2 == 1 && interval.node > 1;
    Vector3 const from = points[upper ? interval.last : interval.first];
    Vector3 const to = points[upper ? interval.first : interval.last];
    return std::max(0.0, std::sqrt(segmentDistSq(q, from, to)) - slacks_[interval.node]);
}

// The largest squared bound on the search's way to `segment`, but at least `distSq`. If it is just that, the smallest
// distance of all, then the search reaches the segment whatever else it meets before.
double PolylineIndex::reachNeeded(Points points, Vector3 const& q, int segment, double distSq) const
{
    Path path;
    int levels = 0;
    auto const add = [&](int from, int to, std::size_t node) {
        for (int axis = 0; axis < 3; ++axis) {
            path.from[axis][levels] = points[from][axis];
            path.to[axis][levels] = points[to][axis];
        }
        path.slack[levels++] = slacks_[node];
    };
    Interval interval = root();
    add(interval.first, interval.last, interval.node);
    while (!interval.isScanned()) {
        // Choices, not branches: which half it is cannot be foreseen.
        int const middle = interval.middle();
        bool const upper = segment >= middle;
        int const far = upper ? interval.last : interval.first;
        interval = {upper ? middle : interval.first, upper ? interval.last : middle, 2 * interval.node + upper};
        add(far, middle, interval.node);
    }
    while (levels % kLanes != 0) add(0, 0, 0); // fills up with intervals that have a bound of zero
    return std::max(distSq, largestBoundSq(width_, path, levels, q));
}

// An interval of a replay, with its segments as a range of those that matter.
struct PolylineIndex::WaitingInterval
{
    double bound;
    Interval interval;
    int begin;
    int end;
};

// Disjoint intervals, each with a segment of its own.
class PolylineIndex::WaitingIntervals
{
public:
    bool empty() const { return size_ == 0; }
    void push(WaitingInterval const& interval) { intervals_[size_++] = interval; }

    // Takes out one with the smallest bound, and says whether there are others.
    WaitingInterval pop(bool* tied)
    {
        auto const less = [](WaitingInterval const& a, WaitingInterval const& b) { return a.bound < b.bound; };
        auto const smallest = std::min_element(intervals_.begin(), intervals_.begin() + size_, less);
        WaitingInterval const top = *smallest;
        *smallest = intervals_[--size_];
        auto const equal = [&](WaitingInterval const& other) { return other.bound == top.bound; };
        *tied = std::any_of(intervals_.begin(), intervals_.begin() + size_, equal);
        return top;
    }

private:
    std::array<WaitingInterval, SegmentsWithin::kCapacity + 1> intervals_;
    int size_ = 0;
};

// The search itself on those intervals alone that hold a segment within `reach`.
//
// Intervals come out of its heap in the order of their bounds, so leaving some out does not change the order of the
// others, and what lies outside `reach` never becomes the answer. As long as nothing within `reach` has been met, the
// search's best distance is known only to be beyond it; and no bound on the way to the nearest segment is.
int PolylineIndex::replay(Points points, Vector3 const& q, NearestSegments const& nearest, double reach) const
{
    SegmentsWithin near;
    tree_.within(q, reach, near);
    if (near.count > SegmentsWithin::kCapacity) return kAskTheSearch;
    std::array<int, SegmentsWithin::kCapacity> order;
    for (int i = 0; i < near.count; ++i) order[i] = i;
    std::sort(order.begin(), order.begin() + near.count,
              [&](int a, int b) { return near.segments[a] < near.segments[b]; });

    int best = kAskTheSearch;
    double bestDistSq = kInfinity;
    auto const offer = [&](int segment, double distSq) {
        if (distSq > reach || !(bestDistSq > distSq)) return;
        best = segment;
        bestDistSq = distSq;
    };
    offer(0, distSq(points[0], q));
    offer(tree_.segments() - 1, distSq(points[tree_.segments()], q));

    WaitingIntervals waiting;
    bool ordered = true;
    waiting.push({bound(points, q, root()), root(), 0, near.count});
    while (!waiting.empty()) {
        bool tied = false;
        WaitingInterval const top = waiting.pop(&tied);
        if (tied && top.bound > 0.0) return kAskTheSearch;
        // All intervals with a bound of zero come before the others and none is dropped: their order decides only
        // which of equal distances is met first.
        ordered = ordered && !tied;
        if (top.bound * top.bound > bestDistSq) continue;
        if (top.bound * top.bound > reach) return kAskTheSearch; // the search may have dropped it or not
        if (top.interval.isScanned()) {
            for (int i = top.begin; i < top.end; ++i) offer(near.segments[order[i]], near.distSqs[order[i]]);
        } else {
            int const middle = top.interval.middle();
            offer(middle, distSq(points[middle], q));
            int between = top.begin;
            while (between < top.end && near.segments[order[between]] < middle) ++between;
            Interval const lower = top.interval.lower();
            Interval const upper = top.interval.upper();
            if (between > top.begin) waiting.push({bound(points, q, lower), lower, top.begin, between});
            if (between < top.end) waiting.push({bound(points, q, upper), upper, between, top.end});
        }
        if (bestDistSq == nearest.distSq) return best; // nothing is nearer, and settle() knows that it is the first
    }
    return ordered || isAlone(points, q, near, best, bestDistSq) ? best : kAskTheSearch;
}

// Whether no segment but `segment` could be named for the distance that it was named for, its own or its first
// vertex's.
bool PolylineIndex::isAlone(Points points, Vector3 const& q, SegmentsWithin const& near, int segment, double atDistSq)
{
    for (int i = 0; i < near.count; ++i) {
        int const k = near.segments[i];
        if (k != segment && (near.distSqs[i] == atDistSq || distSq(points[k], q) == atDistSq)) return false;
        if (k + 1 != segment && distSq(points[k + 1], q) == atDistSq) return false;
    }
    return true;
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

} // namespace sinew::detail
