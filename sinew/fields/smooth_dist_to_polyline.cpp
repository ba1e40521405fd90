// The field of a whole polyline: which segments are folded into the smooth minimum, and in which order. The order is
// part of the result, because every blend rounds. The bounds of the chunks that may be skipped are those of the bounded
// search; see detail/polyline_search.cpp.

#include <sinew/fields/smooth_distance.h>

#include <algorithm>
#include <cmath>
#include <optional>

#include <sinew/core/detail/real_array.h>
#include <sinew/fields/detail/bound_heap.h>
#include <sinew/fields/detail/polyline_chunks.h>
#include <sinew/fields/detail/polyline_search.h>
#include <sinew/fields/detail/smallest_blend.h>

using sinew::detail::asIndex;
using sinew::detail::SegmentDistance;

namespace {

// From this number of vertices on the polyline is cut into chunks, and chunks may be skipped. Part of the result.
constexpr int kChunkedVertices = 20;
// How far the squared bound of a chunk may exceed the smallest squared distance before the chunk is skipped, in units
// of the width: this much for each vertex, plus one. One blend lowers the minimum by up to 3/16 of the width.
constexpr double kReachPerVertex = 0.375;
// Differences, products and quotients of coordinates below this magnitude are finite.
constexpr double kTameCoordinate = 1e100;
// The product of two derivatives below this magnitude is finite.
constexpr double kTameDerivative = 1e150;

bool isTame(Vector3 const& v)
{
    return std::fabs(v.x) < kTameCoordinate && std::fabs(v.y) < kTameCoordinate && std::fabs(v.z) < kTameCoordinate;
}

// Whether `v` keeps its bits if it is multiplied by one and if products of zero and finite numbers are added to it. A
// negative zero does not; the limit makes sure that the products are finite.
bool isSettled(double v)
{
    return std::fabs(v) < kTameDerivative && !(v == 0.0 && std::signbit(v));
}
bool isSettled(Vector3 const& v)
{
    return isSettled(v.x) && isSettled(v.y) && isSettled(v.z);
}
bool isSettled(Matrix3 const& m)
{
    return isSettled(m.column(0)) && isSettled(m.column(1)) && isSettled(m.column(2));
}

// The smooth minimum at one query while distances are folded into it, with the derivatives that are wanted.
class RunningMinimum
{
public:
    // `tame`: whether all vertices of the polyline are tame.
    RunningMinimum(Vector3 const& q, double h, bool wantsGradient, bool wantsHessian, bool tame)
        : q_(q), h_(h), wantsGradient_(wantsGradient), wantsHessian_(wantsHessian), tame_(tame && isTame(q))
    {
        hess = hess * 2.0;
        forgetState();
    }

    void foldPoint(double d, Vector3 const& y)
    {
        if (!changesNothing(d)) fold(d, y);
    }

    // Folds in the segments first .. last - 1. Returns the smallest of their squared distances and `nearest`.
    double foldSegments(std::vector<Vector3> const& points, int first, int last, double nearest)
    {
        sinew::detail::measureSegments(points, q_, first, last, [&](int k, SegmentDistance const& d) {
            nearest = std::min(nearest, d.distSq);
            if (changesNothing(d.distSq)) return;
            double const t = d.t();
            fold(d.distSq, t * points[asIndex(k + 1)] + (1 - t) * points[asIndex(k)]);
        });
        return nearest;
    }

    double acc = sinew::kFarthestDistSq;
    Vector3 grad;
    Matrix3 hess;

private:
    void fold(double d, Vector3 const& y)
    {
        updateSmoothDist(d, q_, y, acc, h_, wantsGradient_ ? &grad : nullptr, wantsHessian_ ? &hess : nullptr);
        forgetState();
    }

    // Whether folding in `d` would change no bit. Most segments are beyond the blend: to fold them in multiplies the
    // derivatives by one and adds products with zero.
    bool changesNothing(double d) { return isBeyondBlend(d) && (allSettled_ || testState()); }

    // Whether `acc` is the smaller number and smoothMax(-acc, -d, width) is outside its blend.
    bool isBeyondBlend(double d) const
    {
        double const width = acc < h_ ? acc : h_;
        return acc < d && (acc < d - width || width < sinew::detail::kSmallestBlend);
    }

    void forgetState() { allSettled_ = !wantsGradient_; }

    bool testState()
    {
        allSettled_ = tame_ && isSettled(grad) && (!wantsHessian_ || isSettled(hess));
        return allSettled_;
    }

    Vector3 const q_;
    double const h_;
    bool const wantsGradient_;
    bool const wantsHessian_;
    bool const tame_;
    bool allSettled_; // all derivatives; tested only when a distance beyond the blend meets new ones
};

// A polyline of at least two vertices, prepared for any number of queries.
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
            minimum.foldSegments(points_, 0, vertices_ - 1, 0.0);
        }
        if (dist) *dist = minimum.acc;
        if (grad) *grad = minimum.grad;
        if (hess) *hess = minimum.hess;
    }

private:
    struct WaitingChunk
    {
        double bound;
        int chunk;
    };

    void foldNearestFirst(Vector3 const& q, double h, RunningMinimum& minimum)
    {
        chunks_->measure(q, vertexDistSqs_, bounds_);
        double nearest = distSq(points_[0], q);
        minimum.foldPoint(nearest, points_[0]);
        for (int i = 0; i < chunks_->count(); ++i) {
            double const toVertex = vertexDistSqs_[asIndex(i)];
            nearest = std::min(nearest, toVertex);
            minimum.foldPoint(toVertex, points_[asIndex(chunks_->end(i + 1))]);
        }
        visitByBound(nearest, h * (kReachPerVertex * vertices_ + 1), minimum);
    }

    // Visits chunks by ascending bound up to the first one whose squared bound exceeds `nearest`, the smallest squared
    // distance so far, by more than `reach`.
    //
    // Only the chunks that do not exceed it from the start are sorted. This is the order of the heap if no two bounds
    // are equal. The order of equal bounds depends on all items in a heap, so then all chunks go through the heap.
    void visitByBound(double nearest, double reach, RunningMinimum& minimum)
    {
        auto const isOut = [reach](double bound, double distSq) { return bound * bound - reach > distSq; };
        candidates_.clear();
        for (int i = 0; i < chunks_->count(); ++i) {
            double const bound = bounds_[asIndex(i)];
            if (!isOut(bound, nearest)) candidates_.push_back({bound, i});
        }
        std::sort(candidates_.begin(), candidates_.end(),
                  [](WaitingChunk const& a, WaitingChunk const& b) { return a.bound < b.bound; });
        auto const isTied = [](WaitingChunk const& a, WaitingChunk const& b) { return a.bound == b.bound; };
        if (std::adjacent_find(candidates_.begin(), candidates_.end(), isTied) == candidates_.end()) {
            for (WaitingChunk const& next : candidates_) {
                if (isOut(next.bound, nearest)) return;
                visit(next.chunk, nearest, minimum);
            }
            return;
        }
        heap_.clear();
        for (int i = 0; i < chunks_->count(); ++i) heap_.push({bounds_[asIndex(i)], i});
        while (!heap_.empty() && !isOut(heap_.top().bound, nearest)) visit(heap_.pop().chunk, nearest, minimum);
    }

    // Leaves out the first segment of the chunk: its first vertex was folded in as a point instead.
    void visit(int chunk, double& nearest, RunningMinimum& minimum)
    {
        nearest = minimum.foldSegments(points_, chunks_->end(chunk) + 1, chunks_->end(chunk + 1), nearest);
    }

    std::vector<Vector3> const& points_;
    int const vertices_;
    bool const tame_;
    std::optional<sinew::detail::PolylineChunks> chunks_;
    // Members only to reuse their memory.
    std::vector<double> vertexDistSqs_;
    std::vector<double> bounds_;
    std::vector<WaitingChunk> candidates_;
    sinew::detail::BoundHeap<WaitingChunk> heap_;
};

} // namespace

// The interface takes the polyline by value.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
void smoothDistToPolyline(std::vector<Vector3> polyline, Vector3 const& q, double h, double* dist, Vector3* grad,
                          Matrix3* hess)
{
    if (polyline.size() < 2) return;
    PolylineField(polyline).evaluate(q, h, dist, grad, hess);
}

namespace sinew {

void smoothDistMany(std::vector<Vector3> const& polyline, RealArray const& queries, double h, double* dists,
                    Vector3* grads, Matrix3* hessians)
{
    if (polyline.size() < 2) return;
    PolylineField field(polyline);
    for (std::size_t i = 0; i < queries.count; ++i) {
        field.evaluate(detail::vectorAt(queries, i), h, dists ? dists + i : nullptr, grads ? grads + i : nullptr,
                       hessians ? hessians + i : nullptr);
    }
}

void smoothDistMany(std::vector<Vector3> const& polyline, Vector3 const* queries, std::size_t count, double h,
                    double* dists, Vector3* grads, Matrix3* hessians)
{
    smoothDistMany(polyline, coordinatesOf(queries, count), h, dists, grads, hessians);
}

} // namespace sinew
