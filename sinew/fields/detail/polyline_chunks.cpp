#include <sinew/fields/detail/polyline_chunks.h>

#include <cmath>

#include <sinew/core/detail/segment_distance.h>
#include <sinew/fields/detail/polyline_search.h>

namespace sinew::detail {

namespace {

constexpr std::size_t kGroup = 8; // chunks measured together

} // namespace

struct PolylineChunks::Kernel
{
    static SINEW_KERNEL void body(PolylineChunks const& chunks, Vector3 const& q, double* vertexDistSqs, double* bounds)
    {
        std::size_t const count = chunks.slacks_.size();
        double const* const x = chunks.x_.data();
        double const* const y = chunks.y_.data();
        double const* const z = chunks.z_.data();
        for (std::size_t group = 0; group < count; group += kGroup) {
            for (std::size_t i = group; i < group + kGroup; ++i) {
                Vector3 const a(x[i], y[i], z[i]);
                Vector3 const b(x[i + 1], y[i + 1], z[i + 1]);
                double const above = std::sqrt(segmentDistSq(q, a, b)) - chunks.slacks_[i];
                vertexDistSqs[i] = distSq(q, b);
                bounds[i] = above > 0.0 ? above : 0.0; // a NaN bounds nothing
            }
        }
    }

    static void baseline(PolylineChunks const& chunks, Vector3 const& q, double* vertexDistSqs, double* bounds)
    {
        body(chunks, q, vertexDistSqs, bounds);
    }
#if SINEW_WIDE_KERNELS
    SINEW_AVX2 static void avx2(PolylineChunks const& chunks, Vector3 const& q, double* vertexDistSqs, double* bounds)
    {
        body(chunks, q, vertexDistSqs, bounds);
    }
    SINEW_AVX512 static void avx512(PolylineChunks const& chunks, Vector3 const& q, double* vertexDistSqs,
                                    double* bounds)
    {
        body(chunks, q, vertexDistSqs, bounds);
    }
#endif
};

PolylineChunks::PolylineChunks(std::vector<Vector3> const& points, VectorWidth width) : width_(width)
{
    std::vector<double> const lengths = arcLengths(points);
    int const vertices = static_cast<int>(points.size());
    ends_.push_back(0);
    while (ends_.back() < vertices - 1) {
        int const first = ends_.back();
        int last = first + kSegments;
        if (2 * last > 2 * vertices - kSegments) last = vertices - 1;
        ends_.push_back(last);
        slacks_.push_back(chordSlack(lengths[last] - lengths[first], dist(points[first], points[last])));
    }
    slacks_.resize((slacks_.size() + kGroup - 1) / kGroup * kGroup, 0.0);
    x_.assign(slacks_.size() + 1, points.back().x);
    y_.assign(slacks_.size() + 1, points.back().y);
    z_.assign(slacks_.size() + 1, points.back().z);
    for (std::size_t i = 0; i < ends_.size(); ++i) {
        x_[i] = points[ends_[i]].x;
        y_[i] = points[ends_[i]].y;
        z_[i] = points[ends_[i]].z;
    }
}

void PolylineChunks::measure(Vector3 const& q, std::vector<double>& lastVertexDistSqs,
                             std::vector<double>& bounds) const
{
    lastVertexDistSqs.resize(slacks_.size());
    bounds.resize(slacks_.size());
#if SINEW_WIDE_KERNELS
    if (width_ == VectorWidth::avx512) return Kernel::avx512(*this, q, lastVertexDistSqs.data(), bounds.data());
    if (width_ == VectorWidth::avx2) return Kernel::avx2(*this, q, lastVertexDistSqs.data(), bounds.data());
#endif
    Kernel::baseline(*this, q, lastVertexDistSqs.data(), bounds.data());
}

} // namespace sinew::detail
