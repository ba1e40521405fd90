// The bounded search is a branch and bound method (A. H. Land and A. G. Doig, An automatic method of solving discrete
// programming problems, Econometrica 28, 1960) that takes parts best first from a priority queue, as G. R. Hjaltason
// and H. Samet describe for nearest neighbours (Distance browsing in spatial databases, ACM Transactions on Database
// Systems 24, 1999). The bound of a part of the polyline uses the focal property of ellipses: a curve of length L
// between two points lies inside the ellipsoid with these foci and the long axis L.

#include <sinew/fields/detail/polyline_search.h>

#include <algorithm>
#include <cmath>

#include <sinew/core/vector_geometry.h>
#include <sinew/fields/detail/bound_heap.h>

namespace sinew::detail {

namespace {

struct Interval
{
    double bound; // lower bound of the distance from the query to the part from vertex `first` to vertex `last`
    int first;
    int last;
};

// `slack` belongs to the part between the vertices `from` and `to`, in either order. std::max returns its first
// argument if the second one is NaN, so a bound is never NaN.
double lowerBound(std::vector<Vector3> const& points, Vector3 const& q, int from, int to, double slack)
{
    double const toChordSq = distSqToLineSegment(q, points[asIndex(from)], points[asIndex(to)], nullptr);
    return std::max(0.0, std::sqrt(toChordSq) - slack);
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
    assert(points.size() >= 2 && arcLengths.size() == points.size());
    auto const slack = [&](int first, int last) {
        return chordSlack(arcLengths[asIndex(last)] - arcLengths[asIndex(first)],
                          dist(points[asIndex(first)], points[asIndex(last)]));
    };
    int const end = static_cast<int>(points.size()) - 1;
    NearestSegment best{0, distSq(points.front(), q)};
    best.offer(end - 1, distSq(points.back(), q));

    double const ofAll = rootSlack(arcLengths.back() - arcLengths.front(), dist(points.front(), points.back()));
    BoundHeap<Interval> waiting;
    waiting.push({lowerBound(points, q, 0, end, ofAll), 0, end});
    while (!waiting.empty()) {
        auto const [bound, first, last] = waiting.pop();
        if (bound * bound > best.distSq) continue;
        if (last - first <= kScannedSegments) {
            best.scan(points, q, first, last);
            continue;
        }
        int const middle = (first + last) / 2;
        best.offer(middle, distSq(points[asIndex(middle)], q));
        waiting.push({lowerBound(points, q, first, middle, slack(first, middle)), first, middle});
        // This chord starts at its last vertex. The order of its ends decides which end counts as nearest where the
        // projection lies within the margins of both.
        waiting.push({lowerBound(points, q, last, middle, slack(middle, last)), middle, last});
    }
    return best.segment;
}

} // namespace sinew::detail
