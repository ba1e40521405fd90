#include <sinew/fields/detail/polyline_search.h>

#include <algorithm>
#include <cmath>
#include <queue>

#include <sinew/core/vector_geometry.h>

namespace sinew::detail {

namespace {

struct Interval
{
    double bound; // of the distance from the query to the vertices first to last
    int first;
    int last;

    // Inverted, so that a standard priority queue yields the smallest bound. Among equal bounds the order is the one
    // that the standard heap gives, which decides ties between distant parts of the polyline.
    bool operator<(Interval const& other) const { return bound > other.bound; }
};

// The chord runs from `from` to `to`. std::max keeps its first argument against a NaN: a bound is never NaN.
double lowerBound(std::vector<Vector3> const& points, Vector3 const& q, int from, int to, double slack)
{
    return std::max(0.0, std::sqrt(distSqToLineSegment(q, points[from], points[to], nullptr)) - slack);
}

} // namespace

std::vector<double> arcLengths(std::vector<Vector3> const& points)
{
    std::vector<double> lengths(points.size(), 0.0);
    for (std::size_t i = 1; i < points.size(); ++i) lengths[i] = lengths[i - 1] + dist(points[i - 1], points[i]);
    return lengths;
}

double chordSlack(double length, double chord)
{
    return std::sqrt(std::max(0.0, length * length - chord * chord));
}

double rootSlack(double length, double chord)
{
    return std::sqrt(length * length - chord * chord);
}

int nearestSegmentByBounds(std::vector<Vector3> const& points, std::vector<double> const& arcLengths, Vector3 const& q)
{
    auto const slack = [&](int first, int last) {
        return chordSlack(arcLengths[last] - arcLengths[first], dist(points[first], points[last]));
    };
    int const end = static_cast<int>(points.size()) - 1;
    NearestSegment best{0, distSq(points[0], q)};
    best.offer(end - 1, distSq(points[end], q));

    std::priority_queue<Interval> queue;
    queue.push({lowerBound(points, q, 0, end, rootSlack(arcLengths[end] - arcLengths[0], dist(points[0], points[end]))),
                0, end});
    while (!queue.empty()) {
        Interval const interval = queue.top();
        queue.pop();
        if (interval.bound * interval.bound > best.distSq) continue;
        int const first = interval.first;
        int const last = interval.last;
        if (last - first <= kScannedSegments) {
            best.scan(points, q, first, last);
            continue;
        }
        int const middle = (first + last) / 2;
        best.offer(middle, distSq(points[middle], q));
        queue.push({lowerBound(points, q, first, middle, slack(first, middle)), first, middle});
        // Measured from the far end: the order decides which end's margin a foot falls into first.
        queue.push({lowerBound(points, q, last, middle, slack(middle, last)), middle, last});
    }
    return best.segment;
}

} // namespace sinew::detail
