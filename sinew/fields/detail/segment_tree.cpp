#include <sinew/fields/detail/segment_tree.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include <sinew/core/tolerances.h>
#include <sinew/core/vector_geometry.h>

namespace sinew::detail {

namespace {

constexpr int kRun = 8; // segments in a run, parts in a group
constexpr double kInfinity = std::numeric_limits<double>::infinity();
// Up to this magnitude of coordinates fourth powers of differences stay finite.
constexpr double kLargestCoordinate = 1e70;

// The squared distance to a segment, |q - a|^2 - s^2 / L, loses up to about 30 units in the last place of |q - a|^2,
// which may be larger than the result by the square of the segment's length. This is ten times as much.
constexpr double kRounding = 1e-13;
// Squares of differences below about 1e-154 lose all their digits.
constexpr double kUnderflow = 1e-290;

bool isUsable(Vector3 const& v)
{
    return std::fabs(v.x) < kLargestCoordinate && std::fabs(v.y) < kLargestCoordinate &&
           std::fabs(v.z) < kLargestCoordinate;
}

SINEW_KERNEL double smaller(double a, double b)
{
    return a < b ? a : b;
}
SINEW_KERNEL double larger(double a, double b)
{
    return a > b ? a : b;
}

// distSqToLineSegment for the eight segments from x[0], y[0], z[0] on, with its sums in its order; and for each the
// squared distance to its first vertex where that is smaller, else infinity.
SINEW_KERNEL void measureRun(double const* x, double const* y, double const* z, Vector3 const& q, double* segmentDistSq,
                             double* strayDistSq)
{
    for (int i = 0; i < kRun; ++i) {
        double const ex = x[i + 1] - x[i], ey = y[i + 1] - y[i], ez = z[i + 1] - z[i];
        double const ax = q.x - x[i], ay = q.y - y[i], az = q.z - z[i];
        double const bx = q.x - x[i + 1], by = q.y - y[i + 1], bz = q.z - z[i + 1];
        double const toA = ax * ax + ay * ay + az * az;
        double const toB = bx * bx + by * by + bz * bz;
        double const fromA = ax * ex + ay * ey + az * ez;
        double const fromB = bx * ex + by * ey + bz * ez;
        double const inside = toA - fromA * fromA / (ex * ex + ey * ey + ez * ez); // NaN without length: not taken
        double const beyondA = fromB >= -kGeometricZero ? toB : larger(inside, 0.0);
        double const distSq = fromA <= kGeometricZero ? toA : beyondA;
        segmentDistSq[i] = distSq;
        strayDistSq[i] = distSq > toA ? toA : kInfinity;
    }
}

SINEW_KERNEL double smallestOfRun(double const* values)
{
    double halves[4];
    for (int i = 0; i < 4; ++i) halves[i] = smaller(values[i], values[i + 4]);
    return smaller(smaller(halves[0], halves[2]), smaller(halves[1], halves[3]));
}

} // namespace

// The search through the tree, compiled for each vector width. A visitor measures runs and says how far away they still
// matter.
struct SegmentTreeReader
{
    struct Nearest
    {
        NearestSegments& best;

        SINEW_KERNEL double limit() const { return best.distSq; }

        SINEW_KERNEL void visit(SegmentTree const& tree, int start, double const* distSqs, double const* strayDistSqs)
        {
            double const distSq = smallestOfRun(distSqs);
            best.strayDistSq = smaller(best.strayDistSq, smallestOfRun(strayDistSqs));
            if (distSq > best.distSq) return;
            if (distSq < best.distSq) best = {distSq, best.strayDistSq, -1, -1, 0};
            for (int i = 0; i < runLength(tree, start); ++i) {
                if (distSqs[i] != distSq) continue;
                if (best.count == 0) best.first = start + i;
                if (best.count == 1) best.second = start + i;
                ++best.count;
            }
        }
    };

    struct Within
    {
        double const reach;
        SegmentsWithin& out;

        SINEW_KERNEL double limit() const { return reach; }

        SINEW_KERNEL void visit(SegmentTree const& tree, int start, double const* distSqs, double const* strayDistSqs)
        {
            for (int i = 0; i < runLength(tree, start); ++i) {
                if (!(smaller(distSqs[i], strayDistSqs[i]) <= reach)) continue;
                if (out.count < SegmentsWithin::kCapacity) {
                    out.segments[out.count] = start + i;
                    out.distSqs[out.count] = distSqs[i];
                }
                ++out.count;
            }
        }
    };

    // What fills up the last run is no segment; it stands for the last vertex.
    static SINEW_KERNEL int runLength(SegmentTree const& tree, int start)
    {
        return tree.segments_ - start < kRun ? tree.segments_ - start : kRun;
    }

    // How far away a part may be, as computed, and still hold a segment at `distSq`, as computed.
    static SINEW_KERNEL double margin(SegmentTree const& tree, double distSq)
    {
        return (distSq + tree.roundingMargin_) * (1.0 + kRounding);
    }

    // Lower bounds of the squared distances from q to eight parts; what fills up a group is infinitely far.
    static SINEW_KERNEL void measureParts(SegmentTree::Group const& g, Vector3 const& q, double* distSqs)
    {
        for (int i = 0; i < kRun; ++i) {
            double const dx = larger(larger(g.low[0][i] - q.x, q.x - g.high[0][i]), 0.0);
            double const dy = larger(larger(g.low[1][i] - q.y, q.y - g.high[1][i]), 0.0);
            double const dz = larger(larger(g.low[2][i] - q.z, q.z - g.high[2][i]), 0.0);
            double const toBox = dx * dx + dy * dy + dz * dz;

            double const ax = q.x - g.start[0][i], ay = q.y - g.start[1][i], az = q.z - g.start[2][i];
            double const along = (ax * g.chord[0][i] + ay * g.chord[1][i] + az * g.chord[2][i]) * g.invChordSq[i];
            double const t = smaller(larger(along, 0.0), 1.0);
            double const cx = ax - t * g.chord[0][i], cy = ay - t * g.chord[1][i], cz = az - t * g.chord[2][i];
            double const outside = larger(std::sqrt(cx * cx + cy * cy + cz * cz) - g.radius[i], 0.0);
            distSqs[i] = larger(toBox, outside * outside);
        }
    }

    // Visits all runs that can matter, nearest parts first.
    template <typename Visitor>
    static SINEW_KERNEL void search(SegmentTree const& tree, Vector3 const& q, Visitor visitor)
    {
        struct Entry
        {
            double distSq;
            int level; // of the part; what it is made of, a group of the level below or a run, has the same number
            int part;
        };
        // A level pushes at most eight parts and pops one; ten levels hold 2^31 segments.
        Entry stack[96];
        int size = 0;
        stack[size++] = {0.0, static_cast<int>(tree.levels_.size()), 0};
        double limit = margin(tree, visitor.limit());
        while (size > 0) {
            Entry const entry = stack[--size];
            if (entry.distSq > limit) continue;
            double distSqs[kRun];
            if (entry.level == 0) {
                double strayDistSqs[kRun];
                int const start = kRun * entry.part;
                measureRun(&tree.x_[start], &tree.y_[start], &tree.z_[start], q, distSqs, strayDistSqs);
                visitor.visit(tree, start, distSqs, strayDistSqs);
                limit = margin(tree, visitor.limit());
                continue;
            }
            measureParts(tree.levels_[entry.level - 1][entry.part], q, distSqs);
            int const below = size;
            for (int i = 0; i < kRun; ++i) {
                if (!(distSqs[i] <= limit)) continue;
                int place = size++; // sorted in, the nearest on top
                while (place > below && stack[place - 1].distSq < distSqs[i]) {
                    stack[place] = stack[place - 1];
                    --place;
                }
                stack[place] = {distSqs[i], entry.level - 1, kRun * entry.part + i};
            }
        }
    }

    template <typename Visitor>
    static void baseline(SegmentTree const& tree, Vector3 const& q, Visitor visitor)
    {
        search(tree, q, visitor);
    }
#if SINEW_WIDE_KERNELS
    template <typename Visitor>
    SINEW_AVX2 static void avx2(SegmentTree const& tree, Vector3 const& q, Visitor visitor)
    {
        search(tree, q, visitor);
    }
    template <typename Visitor>
    SINEW_AVX512 static void avx512(SegmentTree const& tree, Vector3 const& q, Visitor visitor)
    {
        search(tree, q, visitor);
    }
#endif

    template <typename Visitor>
    static void widest(SegmentTree const& tree, Vector3 const& q, Visitor visitor)
    {
#if SINEW_WIDE_KERNELS
        if (tree.width_ == VectorWidth::avx512) return avx512(tree, q, visitor);
        if (tree.width_ == VectorWidth::avx2) return avx2(tree, q, visitor);
#endif
        baseline(tree, q, visitor);
    }
};

SegmentTree::SegmentTree(std::vector<Vector3> const& points, VectorWidth width)
    : width_(width), segments_(static_cast<int>(points.size()) - 1),
      usable_(std::all_of(points.begin(), points.end(), isUsable)), roundingMargin_(0.0)
{
    buildRuns(points);
    if (!usable_) return;
    std::size_t parts = x_.size() / kRun;
    do {
        buildLevel(parts);
        parts = levels_.back().size();
    } while (parts > 1);
}

void SegmentTree::buildRuns(std::vector<Vector3> const& points)
{
    std::size_t const runs = (points.size() - 1 + kRun - 1) / kRun;
    x_.assign(runs * kRun + 1, points.back().x);
    y_.assign(runs * kRun + 1, points.back().y);
    z_.assign(runs * kRun + 1, points.back().z);
    double longestSq = 0.0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        x_[i] = points[i].x;
        y_[i] = points[i].y;
        z_[i] = points[i].z;
        if (i > 0) longestSq = std::max(longestSq, distSq(points[i - 1], points[i]));
    }
    roundingMargin_ = kRounding * longestSq + kUnderflow;
}

void SegmentTree::buildLevel(std::size_t parts)
{
    Group empty{};
    for (int axis = 0; axis < 3; ++axis) {
        std::fill_n(empty.low[axis], kRun, kInfinity);
        std::fill_n(empty.high[axis], kRun, -kInfinity);
    }
    int const level = static_cast<int>(levels_.size());
    std::vector<Group> groups((parts + kRun - 1) / kRun, empty);
    for (std::size_t part = 0; part < parts; ++part) fill(groups[part / kRun], part % kRun, level, part);
    levels_.push_back(std::move(groups));
}

// Bounds one part: a run of segments at level 0, a group of parts above.
void SegmentTree::fill(Group& group, int place, int level, std::size_t part) const
{
    std::size_t const size = std::size_t(kRun) << (3 * level);
    std::size_t const first = part * size;
    std::size_t const last = std::min(first + size, x_.size() - 1);
    Vector3 const a = vertex(static_cast<int>(first));
    Vector3 const b = vertex(static_cast<int>(last));
    Vector3 const chord = b - a;
    double const invChordSq = chord.lengthSq() > 0.0 ? 1.0 / chord.lengthSq() : 0.0;
    Vector3 low = a, high = a;
    double radius = 0.0;
    // By the foot, not as distSqToLineSegment has it: its difference of squares would cancel to nothing here.
    auto const include = [&](Vector3 const& v, double around) {
        double const t = std::clamp((v - a) * chord * invChordSq, 0.0, 1.0);
        radius = std::max(radius, (v - a - t * chord).length() + around);
    };
    if (level == 0) {
        for (std::size_t i = first; i <= last; ++i) {
            Vector3 const v = vertex(static_cast<int>(i));
            for (int axis = 0; axis < 3; ++axis) {
                low[axis] = std::min(low[axis], v[axis]);
                high[axis] = std::max(high[axis], v[axis]);
            }
            include(v, 0.0);
        }
    } else {
        // The distance from a chord is largest at an end of what is straight: the parts' chords, with their radii.
        Group const& parts = levels_[level - 1][part];
        for (int i = 0; i < kRun && parts.low[0][i] <= parts.high[0][i]; ++i) {
            for (int axis = 0; axis < 3; ++axis) {
                low[axis] = std::min(low[axis], parts.low[axis][i]);
                high[axis] = std::max(high[axis], parts.high[axis][i]);
            }
            Vector3 const from(parts.start[0][i], parts.start[1][i], parts.start[2][i]);
            Vector3 const across(parts.chord[0][i], parts.chord[1][i], parts.chord[2][i]);
            include(from, parts.radius[i]);
            include(from + across, parts.radius[i]);
        }
    }
    for (int axis = 0; axis < 3; ++axis) {
        group.low[axis][place] = low[axis];
        group.high[axis][place] = high[axis];
        group.start[axis][place] = a[axis];
        group.chord[axis][place] = chord[axis];
    }
    group.invChordSq[place] = invChordSq;
    // Distances to the chord round by what grows with its length, here and for a query; the rest, which grows with the
    // distance, is in the margin of the limit.
    group.radius[place] = radius + kRounding * (radius + chord.length());
}

bool SegmentTree::covers(Vector3 const& q) const
{
    return usable_ && isUsable(q);
}

NearestSegments SegmentTree::nearest(Vector3 const& q, double knownDistSq) const
{
    NearestSegments best{knownDistSq, kInfinity, -1, -1, 0};
    SegmentTreeReader::widest(*this, q, SegmentTreeReader::Nearest{best});
    return best;
}

void SegmentTree::within(Vector3 const& q, double limit, SegmentsWithin& out) const
{
    out.count = 0;
    SegmentTreeReader::widest(*this, q, SegmentTreeReader::Within{limit, out});
}

} // namespace sinew::detail
