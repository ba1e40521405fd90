// The field of a whole polyline: which of its segments are folded into the smooth minimum, and in which order.
// The order is part of the result, since blends round.

#include <algorithm>
#include <cmath>
#include <optional>

#include <sinew/core/vector_geometry.h>
#include <sinew/fields/detail/polyline_chunks.h>
#include <sinew/fields/detail/smallest_blend.h>
#include <sinew/fields/smooth_distance.h>

namespace {

constexpr int kChunkedVertices = 20; // from here on whole runs of segments may be skipped
constexpr double kFarthest = 1e13;   // squared distance at which every minimum starts
// Largest magnitude of a coordinate for which differences, products and quotients below stay finite.
constexpr double kTameCoordinate = 1e100;
constexpr double kTameDerivative = 1e150; // products of two stay finite

bool isTame(Vector3 const& v)
{
    return std::fabs(v.x) < kTameCoordinate && std::fabs(v.y) < kTameCoordinate && std::fabs(v.z) < kTameCoordinate;
}

// The running minimum at one query, with as many derivatives as are wanted.
class RunningMinimum
{
public:
    RunningMinimum(Vector3 const& q, double h, bool gradient, bool hessian, bool tame)
        : q_(q), h_(h), wantsGradient_(gradient), wantsHessian_(hessian), tame_(tame && isTame(q))
    {
        hess = hess * 2.0;
        settle();
    }

    void foldPoint(double d, Vector3 const& y)
    {
        if (leavesAllAlone(d)) return;
        updateSmoothDist(d, q_, y, acc, h_, wantsGradient_ ? &grad : nullptr, wantsHessian_ ? &hess : nullptr);
        settle();
    }

    // Returns the squared distance to the segment.
    double foldSegment(Vector3 const& a, Vector3 const& b)
    {
        double t = 0.0;
        double const d = distSqToLineSegment(q_, a, b, &t);
        if (!leavesAllAlone(d)) foldPoint(d, t * b + (1 - t) * a);
        return d;
    }

    double acc = kFarthest;
    Vector3 grad;
    Matrix3 hess;

private:
    // Whether folding in `d` would change no bit. Most segments lie beyond the blend: the fold then multiplies what
    // there is by one and adds zeros, which changes nothing unless a number is -0 or not finite.
    bool leavesAllAlone(double d) const
    {
        if (!settled_) return false;
        double const width = acc < h_ || d < h_ ? (acc <= d ? acc : d) : h_;
        return -acc > -d && (-acc > -d + width || width < sinew::detail::kSmallestBlend);
    }

    void settle()
    {
        settled_ =
            !wantsGradient_ ||
            (tame_ && isSettled(grad) &&
             (!wantsHessian_ || (isSettled(hess.column(0)) && isSettled(hess.column(1)) && isSettled(hess.column(2)))));
    }

    static bool isSettled(double v) { return std::fabs(v) < kTameDerivative && !(v == 0.0 && std::signbit(v)); }
    static bool isSettled(Vector3 const& v) { return isSettled(v.x) && isSettled(v.y) && isSettled(v.z); }

    Vector3 const q_;
    double const h_;
    bool const wantsGradient_;
    bool const wantsHessian_;
    bool const tame_;
    bool settled_ = false;
};

// A polyline made ready for any number of queries.
class PolylineField
{
public:
    explicit PolylineField(std::vector<Vector3> const& points)
        : points_(points), vertices_(static_cast<int>(points.size())),
          tame_(std::all_of(points.begin(), points.end(), isTame))
    {
        if (vertices_ >= kChunkedVertices) chunks_.emplace(points);
    }

    void evaluate(Vector3 const& q, double h, double* dist, Vector3* grad, Matrix3* hess)
    {
        RunningMinimum minimum(q, h, grad || hess, hess, tame_);
        if (chunks_) {
            foldNearestFirst(q, h, minimum);
        } else {
            for (int k = 0; k + 1 < vertices_; ++k) minimum.foldSegment(points_[k], points_[k + 1]);
        }
        if (dist) *dist = minimum.acc;
        if (grad) *grad = minimum.grad;
        if (hess) *hess = minimum.hess;
    }

private:
    struct Waiting
    {
        double bound;
        int chunk;

        // Inverted, so that a standard heap yields the smallest bound; equal bounds come out as that heap has them.
        bool operator<(Waiting const& other) const { return bound > other.bound; }
    };

    void foldNearestFirst(Vector3 const& q, double h, RunningMinimum& minimum)
    {
        chunks_->measure(q, vertexDistSqs_, bounds_);
        double nearest = distSq(points_[0], q);
        minimum.foldPoint(nearest, points_[0]);
        for (int i = 0; i < chunks_->count(); ++i) {
            nearest = std::min(nearest, vertexDistSqs_[i]);
            minimum.foldPoint(vertexDistSqs_[i], points_[chunks_->end(i + 1)]);
        }
        double const reach = h * (0.375 * vertices_ + 1); // how far all the blends together can lower the minimum
        visitInOrder(nearest, reach, minimum);
    }

    // Visits chunks by ascending bound until the first that is out of reach. Those that are out of reach already would
    // only be looked at to stop there; without them there is little to sort. But a heap takes equal bounds in an order
    // that depends on all that it holds, so where two are equal, it is given all.
    void visitInOrder(double nearest, double reach, RunningMinimum& minimum)
    {
        auto const isOut = [reach](double bound, double distSq) { return bound * bound - reach > distSq; };
        waiting_.clear();
        for (int i = 0; i < chunks_->count(); ++i) {
            if (!isOut(bounds_[i], nearest)) waiting_.push_back({bounds_[i], i});
        }
        std::sort(waiting_.begin(), waiting_.end(), [](auto& a, auto& b) { return a.bound < b.bound; });
        auto const equal = [](Waiting const& a, Waiting const& b) { return a.bound == b.bound; };
        if (std::adjacent_find(waiting_.begin(), waiting_.end(), equal) == waiting_.end()) {
            for (Waiting const& next : waiting_) {
                if (isOut(next.bound, nearest)) return;
                visit(next.chunk, nearest, minimum);
            }
            return;
        }
        waiting_.clear();
        for (int i = 0; i < chunks_->count(); ++i) {
            waiting_.push_back({bounds_[i], i});
            std::push_heap(waiting_.begin(), waiting_.end());
        }
        while (!waiting_.empty() && !isOut(waiting_.front().bound, nearest)) {
            int const chunk = waiting_.front().chunk;
            std::pop_heap(waiting_.begin(), waiting_.end());
            waiting_.pop_back();
            visit(chunk, nearest, minimum);
        }
    }

    // The chunk's first segment is left to its first vertex, which was folded in as a point.
    void visit(int chunk, double& nearest, RunningMinimum& minimum)
    {
        for (int k = chunks_->end(chunk) + 1; k < chunks_->end(chunk + 1); ++k) {
            nearest = std::min(nearest, minimum.foldSegment(points_[k], points_[k + 1]));
        }
    }

    std::vector<Vector3> const& points_;
    int const vertices_;
    bool const tame_;
    std::optional<sinew::detail::PolylineChunks> chunks_;
    // Kept between queries.
    std::vector<double> vertexDistSqs_;
    std::vector<double> bounds_;
    std::vector<Waiting> waiting_;
};

} // namespace

void smoothDistToPolyline(std::vector<Vector3> polyline, Vector3 const& q, double h, double* dist, Vector3* grad,
                          Matrix3* hess)
{
    if (polyline.size() < 2) return;
    PolylineField(polyline).evaluate(q, h, dist, grad, hess);
}

namespace sinew {

void smoothDistMany(std::vector<Vector3> const& polyline, Vector3 const* queries, std::size_t count, double h,
                    double* dists, Vector3* grads, Matrix3* hessians)
{
    if (polyline.size() < 2) return;
    PolylineField field(polyline);
    for (std::size_t i = 0; i < count; ++i) {
        field.evaluate(queries[i], h, dists ? dists + i : nullptr, grads ? grads + i : nullptr,
                       hessians ? hessians + i : nullptr);
    }
}

} // namespace sinew
