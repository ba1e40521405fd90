// A binary tree of boxes over the polylines, halved at the median along the longest side of the box of their centres.
// A query goes to the nearer box first and drops what lies certainly beyond the best distance: N. Roussopoulos,
// S. Kelley and F. Vincent, Nearest neighbor queries, SIGMOD 1995.
//
// The tree visits polylines in any order. So "nearer" is a total order of results: by distance, NaN last, then by the
// index of the polyline. Its smallest element is what asking one polyline after the other gives.

#include <sinew/fields/polyline_set.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include <sinew/core/detail/real_array.h>
#include <sinew/detail/as_index.h>

namespace sinew {

namespace {

// Halving 2^31 polylines takes 31 levels; on each level one node can wait, on the last one two.
constexpr int kWaiting = 64;
constexpr double kInfinity = std::numeric_limits<double>::infinity();
// Squares of differences of coordinates up to this magnitude are finite, and a segment whose squared length underflows
// has no position between its ends (see the margins of `PolylineProjector::project`).
constexpr double kLargestCoordinate = 1e70;
// Margin for rounding, relative to the largest coordinate: the point of a hit, a + t * (b - a), lies outside the box of
// its polyline by up to about 30 units in the last place of the largest coordinate, that is 7e-15 of it. This is more
// than ten times as much.
constexpr double kRounding = 1e-13;
// Squares below about 1e-300 lose their digits.
constexpr double kUnderflow = 1e-290;

double largestOf(Vector3 const& v)
{
    return std::max({std::fabs(v.x), std::fabs(v.y), std::fabs(v.z)});
}

bool isUsable(Vector3 const& v)
{
    return std::fabs(v.x) < kLargestCoordinate && std::fabs(v.y) < kLargestCoordinate &&
           std::fabs(v.z) < kLargestCoordinate;
}

struct Box
{
    Vector3 low = {kInfinity, kInfinity, kInfinity};
    Vector3 high = {-kInfinity, -kInfinity, -kInfinity};

    void include(Vector3 const& v)
    {
        for (int axis = 0; axis < 3; ++axis) {
            low[axis] = std::min(low[axis], v[axis]);
            high[axis] = std::max(high[axis], v[axis]);
        }
    }
    void include(Box const& other)
    {
        include(other.low);
        include(other.high);
    }
    // Twice the centre.
    Vector3 middle() const { return low + high; }
};

int longestAxis(Vector3 const& size)
{
    int const xy = size.y > size.x ? 1 : 0;
    return size.z > size[xy] ? 2 : xy;
}

// Whether the result `hit` of polyline `curve` goes before `best`.
bool isNearer(PolylineHit const& hit, int curve, PolylineSetHit const& best)
{
    if (best.curve < 0) return true;
    bool const isNaN = std::isnan(hit.distSq);
    if (isNaN != std::isnan(best.hit.distSq)) return !isNaN;
    if (!isNaN && hit.distSq != best.hit.distSq) return hit.distSq < best.hit.distSq;
    return curve < best.curve;
}

} // namespace

struct detail::PolylineSetAccess
{
    using Node = PolylineSet::Node;

    using Curves = std::vector<int>::iterator;

    // Adds the nodes of some polylines, at least one, and changes their order.
    static void build(PolylineSet& set, std::vector<Box> const& boxes, Curves begin, Curves end)
    {
        Box box;
        Box middles;
        for (Curves i = begin; i != end; ++i) {
            box.include(boxes[asIndex(*i)]);
            middles.include(boxes[asIndex(*i)].middle());
        }
        std::size_t const node = set.nodes_.size();
        set.nodes_.push_back({{box.low.x, box.low.y, box.low.z}, {box.high.x, box.high.y, box.high.z}, 0, *begin});
        if (end - begin == 1) return;
        int const axis = longestAxis(middles.high - middles.low);
        Curves const half = begin + (end - begin) / 2;
        std::nth_element(begin, half, end, [&boxes, axis](int a, int b) {
            return boxes[asIndex(a)].middle()[axis] < boxes[asIndex(b)].middle()[axis];
        });
        build(set, boxes, begin, half);
        set.nodes_[node].right = static_cast<int>(set.nodes_.size());
        build(set, boxes, half, end);
    }

    static void fill(PolylineSet& set)
    {
        std::vector<Box> boxes(set.curves_.size());
        std::vector<int> inTree;
        for (std::size_t c = 0; c < boxes.size(); ++c) {
            std::vector<Vector3> const& points = set.curves_[c].points;
            if (points.size() < 2) continue; // never a result
            bool const isInTree = std::all_of(points.begin(), points.end(), isUsable);
            (isInTree ? inTree : set.always_).push_back(static_cast<int>(c));
            if (!isInTree) continue;
            for (Vector3 const& p : points) boxes[c].include(p);
            set.largest_ = std::max({set.largest_, largestOf(boxes[c].low), largestOf(boxes[c].high)});
        }
        if (inTree.empty()) return;
        set.nodes_.reserve(2 * inTree.size() - 1);
        build(set, boxes, inTree.begin(), inTree.end());
    }

    class Search
    {
    public:
        Search(PolylineSet const& set, Vector3 const& q)
            : set_(set), q_(q), margin_(kRounding * (set.largest_ + largestOf(q)))
        {
        }

        PolylineSetHit run()
        {
            if (!isUsable(q_)) {
                for (std::size_t c = 0; c < set_.curves_.size(); ++c) ask(static_cast<int>(c));
                return best_;
            }
            for (int const curve : set_.always_) ask(curve);
            if (!set_.nodes_.empty()) visitTree();
            return best_;
        }

    private:
        struct Waiting
        {
            double distSq;
            int node;
        };

        void ask(int curve)
        {
            PolylineHit const hit = closestPoint(set_.curves_[asIndex(curve)], q_);
            if (hit.segment < 0 || !isNearer(hit, curve, best_)) return;
            best_ = {curve, hit};
            double const reach = std::sqrt(hit.distSq) * (1.0 + kRounding) + margin_;
            limitSq_ = std::isnan(reach) ? kInfinity : reach * reach * (1.0 + kRounding) + kUnderflow;
        }

        // Squared distance to the box of a node.
        double distSqTo(int node) const
        {
            Node const& box = set_.nodes_[asIndex(node)];
            double sum = 0.0;
            for (int axis = 0; axis < 3; ++axis) {
                double const outside = std::max({box.low[axis] - q_[axis], q_[axis] - box.high[axis], 0.0});
                sum += outside * outside;
            }
            return sum;
        }

        void visitTree()
        {
            Waiting waiting[kWaiting];
            int size = 0;
            waiting[size++] = {distSqTo(0), 0};
            while (size > 0) {
                Waiting const next = waiting[--size];
                if (next.distSq > limitSq_) continue; // a tie within the margins must be asked
                Node const& node = set_.nodes_[asIndex(next.node)];
                if (node.right == 0) {
                    ask(node.curve);
                    continue;
                }
                Waiting nearer = {distSqTo(next.node + 1), next.node + 1};
                Waiting farther = {distSqTo(node.right), node.right};
                if (farther.distSq < nearer.distSq) std::swap(nearer, farther);
                waiting[size++] = farther;
                waiting[size++] = nearer;
            }
        }

        PolylineSet const& set_;
        Vector3 const q_;
        double const margin_;
        PolylineSetHit best_;
        double limitSq_ = kInfinity;
    };
};

PolylineSet::PolylineSet(std::vector<PolylineProjector> curves) : curves_(std::move(curves))
{
    detail::PolylineSetAccess::fill(*this);
}

PolylineSetHit closestPoint(PolylineSet const& set, Vector3 const& q)
{
    return detail::PolylineSetAccess::Search(set, q).run();
}

void projectMany(PolylineSet const& set, RealArray const& queries, PolylineSetHit* hits)
{
    for (std::size_t i = 0; i < queries.count; ++i) hits[i] = closestPoint(set, detail::vectorAt(queries, i));
}

} // namespace sinew
