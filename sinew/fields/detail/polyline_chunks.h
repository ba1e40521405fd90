#pragma once

/// The chunks of a polyline that the smooth distance visits or skips as a whole. Not installed.

#include <vector>

#include <sinew/core/vector3.h>
#include <sinew/detail/as_index.h>
#include <sinew/detail/dispatch.h>

namespace sinew::detail {

/// A polyline cut into chunks of ten segments, with what bounds the distance from a point to each chunk.
///
/// Linear cost and memory: about 4 bytes a vertex.
class PolylineChunks
{
public:
    /// Segments in a chunk. A rest of up to three segments joins the last chunk.
    static constexpr int kSegments = 10;

    /// Requires at least two vertices. `width` must not exceed `widestVectors()`.
    explicit PolylineChunks(std::vector<Vector3> const& points, VectorWidth width = widestVectors());

    int count() const { return static_cast<int>(ends_.size()) - 1; }

    /// The first vertex of chunk i, which is the last vertex of chunk i - 1. `end(count())` is the last vertex of the
    /// polyline.
    int end(int i) const { return ends_[asIndex(i)]; }

    /// For each chunk: the squared distance from `q` to the last vertex of the chunk, and a lower bound of the distance
    /// from `q` to the whole chunk. A bound is never NaN.
    ///
    /// Both arrays are resized and may come out longer than `count()`; the rest is padding without meaning. The bits do
    /// not depend on the vector width.
    void measure(Vector3 const& q, std::vector<double>& lastVertexDistSqs, std::vector<double>& bounds) const;

private:
    struct Measure;

    VectorWidth width_;
    std::vector<int> ends_;
    // The ends by coordinate, so that one instruction processes several chunks. Padded with the last vertex to a
    // multiple of the widest vectors, plus one.
    std::vector<double> x_, y_, z_;
    std::vector<double> slacks_; // of the chunks, padded
};

} // namespace sinew::detail
