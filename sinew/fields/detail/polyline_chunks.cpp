// The bound of a chunk is that of the bounded search: see polyline_search.cpp.

#include <sinew/fields/detail/polyline_chunks.h>

#include <cmath>

#include <sinew/core/detail/segment_distance.h>
#include <sinew/fields/detail/polyline_search.h>

namespace sinew::detail {

namespace {

// The arrays are padded to a multiple of this many chunks, so that the widest vectors leave no rest.
constexpr std::size_t kPadding = 8;

// The results go through restricted pointers: without them clang finds more pairs of arrays that may overlap than it is
// willing to check before a loop, and does not vectorise.
SINEW_KERNEL void measureChunks(std::size_t count, double const* x, double const* y, double const* z,
                                double const* slacks, Vector3 const q, double* __restrict lastVertexDistSqs,
                                double* __restrict bounds)
{
    for (std::size_t i = 0; i < count; ++i) {
        Vector3 const a(x[i], y[i], z[i]);
        Vector3 const b(x[i + 1], y[i + 1], z[i + 1]);
        double const bound = std::sqrt(segmentDistSq(q, a, b)) - slacks[i];
        lastVertexDistSqs[i] = distSq(q, b);
        bounds[i] = bound > 0.0 ? bound : 0.0; // also 0 for NaN, so that the chunk is not skipped
    }
}

} // namespace

struct PolylineChunks::Measure
{
    PolylineChunks const& chunks;
    Vector3 const& q;
    double* lastVertexDistSqs;
    double* bounds;

    template <VectorWidth>
    SINEW_KERNEL void run() const
    {
        measureChunks(chunks.slacks_.size(), chunks.x_.data(), chunks.y_.data(), chunks.z_.data(),
                      chunks.slacks_.data(), q, lastVertexDistSqs, bounds);
    }
};

PolylineChunks::PolylineChunks(std::vector<Vector3> const& points, VectorWidth width) : width_(width)
{
    assert(points.size() >= 2);
    std::vector<double> const lengths = arcLengths(points);
    int const vertices = static_cast<int>(points.size());
    ends_.push_back(0);
    while (ends_.back() < vertices - 1) {
        int const first = ends_.back();
        int last = first + kSegments;
        if (2 * last > 2 * vertices - kSegments) last = vertices - 1;
        ends_.push_back(last);
        std::size_t const from = asIndex(first);
        std::size_t const to = asIndex(last);
        slacks_.push_back(chordSlack(lengths[to] - lengths[from], dist(points[from], points[to])));
    }
    slacks_.resize((slacks_.size() + kPadding - 1) / kPadding * kPadding, 0.0);
    x_.assign(slacks_.size() + 1, points.back().x);
    y_.assign(slacks_.size() + 1, points.back().y);
    z_.assign(slacks_.size() + 1, points.back().z);
    for (std::size_t i = 0; i < ends_.size(); ++i) {
        Vector3 const& end = points[asIndex(ends_[i])];
        x_[i] = end.x;
        y_[i] = end.y;
        z_[i] = end.z;
    }
}

void PolylineChunks::measure(Vector3 const& q, std::vector<double>& lastVertexDistSqs,
                             std::vector<double>& bounds) const
{
    lastVertexDistSqs.resize(slacks_.size());
    bounds.resize(slacks_.size());
    dispatch(width_, Measure{*this, q, lastVertexDistSqs.data(), bounds.data()});
}

} // namespace sinew::detail
