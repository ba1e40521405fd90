// The boxes are halved at the median of the triangles' centres along their longest edge. A segment is compared with a
// box by separating axes: C. Ericson, Real-Time Collision Detection, 2005, section 5.3.3.

#include <sinew/skinning/detail/triangle_tree.h>

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <utility>

#include <sinew/detail/as_index.h>
#include <sinew/queries/rays.h>

namespace sinew::detail {

namespace {

constexpr std::uint32_t kLeaf = 4; // triangles in a leaf
constexpr int kWaiting = 64;       // more than the levels that 2^32 triangles have

// More than the rounding errors of a box, of the middle of a segment and of the segment itself, whose coordinates are
// below 4, and more than those of a component of the cross product, whose factors are below 8.
constexpr double kMargin = 0x1p-46;
constexpr double kCrossMargin = 0x1p-43;

// A segment by its middle and half its vector.
struct HalfSegment
{
    Vector3 middle;
    Vector3 half;
    Vector3 size; // the magnitudes of `half`
};

// False only if the segment is outside of the box.
bool mayMeet(HalfSegment const& s, Vector3 const& centre, Vector3 const& box)
{
    Vector3 const c = s.middle - centre;
    return std::fabs(c.x) <= box.x + s.size.x && std::fabs(c.y) <= box.y + s.size.y &&
           std::fabs(c.z) <= box.z + s.size.z &&
           std::fabs(c.y * s.half.z - c.z * s.half.y) <= box.y * s.size.z + box.z * s.size.y + kCrossMargin &&
           std::fabs(c.z * s.half.x - c.x * s.half.z) <= box.z * s.size.x + box.x * s.size.z + kCrossMargin &&
           std::fabs(c.x * s.half.y - c.y * s.half.x) <= box.x * s.size.y + box.y * s.size.x + kCrossMargin;
}

} // namespace

TriangleTree::TriangleTree(std::vector<Vector3> const& points, std::vector<Corners> triangles)
    : points_(points), triangles_(std::move(triangles))
{
    if (triangles_.empty()) return;
    // The parts that wait for their node, as the last triangle and the node whose second child they are.
    std::vector<std::pair<std::uint32_t, std::uint32_t>> waiting;
    std::uint32_t first = 0;
    auto last = static_cast<std::uint32_t>(triangles_.size());
    for (;;) {
        auto const number = static_cast<std::uint32_t>(nodes_.size());
        nodes_.push_back(nodeOf(first, last));
        if (last - first > kLeaf) {
            waiting.emplace_back(last, number);
            last = split(nodes_.back());
            continue;
        }
        if (waiting.empty()) return;
        first = last;
        last = waiting.back().first;
        nodes_[waiting.back().second].secondChild = number + 1;
        waiting.pop_back();
    }
}

TriangleTree::Node TriangleTree::nodeOf(std::uint32_t first, std::uint32_t last) const
{
    Vector3 low(kLargest, kLargest, kLargest);
    Vector3 high = -low;
    for (std::uint32_t t = first; t < last; ++t) {
        for (int const corner : triangles_[t]) {
            Vector3 const& p = points_[asIndex(corner)];
            low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
            high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
        }
    }
    Vector3 const margin(kMargin, kMargin, kMargin);
    return {(low + high) * 0.5, (high - low) * 0.5 + margin, first, last, 0};
}

// Orders the triangles of a node by their centres. Returns the first one of the second half.
std::uint32_t TriangleTree::split(Node const& node)
{
    Vector3 const& edges = node.half;
    int const axis = edges.x >= edges.y && edges.x >= edges.z ? 0 : (edges.y >= edges.z ? 1 : 2);
    auto const centre = [&](Corners const& t) {
        return points_[asIndex(t[0])][axis] + points_[asIndex(t[1])][axis] + points_[asIndex(t[2])][axis];
    };
    std::uint32_t const middle = node.first + (node.last - node.first) / 2;
    // Which of the triangles of equal centres come first changes the boxes, never an answer.
    auto const at = [&](std::uint32_t t) { return triangles_.begin() + static_cast<std::ptrdiff_t>(t); };
    std::nth_element(at(node.first), at(middle), at(node.last),
                     [&](Corners const& a, Corners const& b) { return centre(a) < centre(b); });
    return middle;
}

bool TriangleTree::isCrossed(Vector3 const& from, Vector3 const& to) const
{
    if (nodes_.empty()) return false;
    Ray const ray(from, to - from);
    Vector3 const half = ray.direction() * 0.5;
    HalfSegment const segment{from + half, half, {std::fabs(half.x), std::fabs(half.y), std::fabs(half.z)}};
    std::uint32_t waiting[kWaiting] = {0};
    int count = 1;
    while (count > 0) {
        std::uint32_t const number = waiting[--count];
        Node const& node = nodes_[number];
        if (!mayMeet(segment, node.centre, node.half)) continue;
        if (node.secondChild > 0) {
            assert(count + 2 <= kWaiting);
            waiting[count++] = node.secondChild;
            waiting[count++] = number + 1;
            continue;
        }
        for (std::uint32_t t = node.first; t < node.last; ++t) {
            Corners const& c = triangles_[t];
            if (rayTriangle(ray, points_[asIndex(c[0])], points_[asIndex(c[1])], points_[asIndex(c[2])], kUncountedEnd,
                            1.0 - kUncountedEnd)
                    .hit)
                return true;
        }
    }
    return false;
}

} // namespace sinew::detail
