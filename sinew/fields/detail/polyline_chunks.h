#pragma once

/// A polyline cut into runs of about ten segments, with what bounds their distances to a point. Not installed.

#include <vector>

#include <sinew/detail/dispatch.h>
#include <sinew/core/vector3.h>

namespace sinew::detail {

class PolylineChunks
{
public:
    static constexpr int kSegments = 10;

    /// At least one segment. A rest of fewer than five segments joins the last chunk.
    explicit PolylineChunks(std::vector<Vector3> const& points, VectorWidth width = widestVectors());

    int count() const { return static_cast<int>(ends_.size()) - 1; }

    /// The first vertex of chunk i and, as that of chunk i + 1, its last one.
    int end(int i) const { return ends_[i]; }

    /// For each chunk, the squared distance from `q` to its last vertex, and a lower bound of the distance to all of
    /// it.
    void measure(Vector3 const& q, std::vector<double>& lastVertexDistSqs, std::vector<double>& bounds) const;

private:
    struct Kernel;

    [[maybe_unused]] VectorWidth width_; // nobody asks for it where there is one width
    std::vector<int> ends_;
    // By coordinates, so that eight chunks are measured together; filled up to whole groups with the last vertex.
    std::vector<double> x_, y_, z_;
    std::vector<double> slacks_;
};

} // namespace sinew::detail
