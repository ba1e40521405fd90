#pragma once

/// A bounding volume hierarchy over triangles, for the question whether a segment crosses any of them. Not installed.

#include <array>
#include <cstdint>
#include <vector>

#include <sinew/core/vector3.h>

namespace sinew::detail {

/// The part of a segment near each end in which crossings do not count, relative to its length.
inline constexpr double kUncountedEnd = 1e-4;

/// The segments that cross no triangle. All coordinates have magnitudes below `kLargest`.
class TriangleTree
{
public:
    static constexpr double kLargest = 4.0;

    using Corners = std::array<int, 3>; ///< indices into the points

    /// Keeps a reference to the points. Cost n log n, memory about 90 bytes for four triangles.
    TriangleTree(std::vector<Vector3> const& points, std::vector<Corners> triangles);

    /// Whether the points `from` + t * (`to` - `from`) with t in [kUncountedEnd, 1 - kUncountedEnd] cross a triangle.
    /// The decision is that of `rayTriangle` for every triangle. The difference `to` - `from` is rounded.
    bool isCrossed(Vector3 const& from, Vector3 const& to) const;

private:
    // A box that contains the triangles from `first` to `last`. The nodes stand in the order in which a search that
    // begins with the first child reaches them.
    struct Node
    {
        Vector3 centre;
        Vector3 half; // half the lengths of the edges, and a margin
        std::uint32_t first;
        std::uint32_t last;
        std::uint32_t secondChild; // 0 for a leaf
    };

    Node nodeOf(std::uint32_t first, std::uint32_t last) const;
    std::uint32_t split(Node const& node);

    std::vector<Vector3> const& points_;
    std::vector<Corners> triangles_;
    std::vector<Node> nodes_;
};

} // namespace sinew::detail
