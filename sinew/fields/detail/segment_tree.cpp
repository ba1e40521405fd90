#include <sinew/fields/detail/segment_tree.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include <sinew/core/detail/segment_distance.h>

namespace sinew::detail {

namespace {

constexpr int kRun = 8; // segments in a run, parts in a group
// A group above only two would not save measuring either.
constexpr int kTopGroups = 2;
// Parts that can wait: seven a level, of ten levels for 2^31 segments, and a group's room to write beyond them.
constexpr int kWaiting = 96;
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kSmallestNormal = std::numeric_limits<double>::min(); // has a finite reciprocal
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

// The squared distances to the eight segments from x[0], y[0], z[0] on; and for each the squared distance to its first
// vertex where that is smaller, else infinity.
SINEW_KERNEL void measureRun(double const* x, double const* y, double const* z, Vector3 const& q,
                             double* segmentDistSqs, double* strayDistSqs)
{
    for (int i = 0; i < kRun; ++i) {
        Vector3 const a(x[i], y[i], z[i]);
        Vector3 const b(x[i + 1], y[i + 1], z[i + 1]);
        double const toSegment = segmentDistSq(q, a, b);
        double const toVertex = distSq(q, a);
        segmentDistSqs[i] = toSegment;
        strayDistSqs[i] = toSegment > toVertex ? toVertex : kInfinity;
    }
}

SINEW_KERNEL double smallestOfRun(double const* values)
{
    double halves[4];
    for (int i = 0; i < 4; ++i) halves[i] = smaller(values[i], values[i + 4]);
    return smaller(smaller(halves[0], halves[2]), smaller(halves[1], halves[3]));
}

SINEW_KERNEL int placeOfSmallest(double const* values)
{
    int halves[4];
    for (int i = 0; i < 4; ++i) halves[i] = values[i + 4] < values[i] ? i + 4 : i;
    int const even = values[halves[2]] < values[halves[0]] ? halves[2] : halves[0];
    int const odd = values[halves[3]] < values[halves[1]] ? halves[3] : halves[1];
    return values[odd] < values[even] ? odd : even;
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

    // Visits all runs that can matter. From each group the nearest part comes next; the others wait, in no order: the
    // first way down already gives a limit that drops most of them.
    template <typename Visitor>
    static SINEW_KERNEL void search(SegmentTree const& tree, Vector3 const& q, Visitor visitor)
    {
        struct Part
        {
            double distSq;
            int level; // what it is made of, a run at level 0 or else a group of the level below, has the same number
            int number;
        };
        Part waiting[kWaiting];
        int size = 0;
        double limit = margin(tree, visitor.limit());
        int const levels = static_cast<int>(tree.levels_.size());
        Part part{0.0, levels, 0};
        if (tree.levels_.back().size() == kTopGroups) waiting[size++] = {0.0, levels, kTopGroups - 1};
        for (;;) {
            double distSqs[kRun];
            while (part.level > 0) {
                measureParts(tree.levels_[part.level - 1][part.number], q, distSqs);
                Part const below{0.0, part.level - 1, kRun * part.number};
                int const nearest = placeOfSmallest(distSqs);
                part = {distSqs[nearest], below.level, below.number + nearest};
                if (part.distSq > limit) break;
                for (int i = 0; i < kRun; ++i) {
                    waiting[size] = {distSqs[i], below.level, below.number + i};
                    size += (distSqs[i] <= limit) & (i != nearest);
                }
            }
            if (!(part.distSq > limit)) {
                double strayDistSqs[kRun];
                int const start = kRun * part.number;
                measureRun(&tree.x_[start], &tree.y_[start], &tree.z_[start], q, distSqs, strayDistSqs);
                visitor.visit(tree, start, distSqs, strayDistSqs);
                limit = margin(tree, visitor.limit());
            }
            do {
                if (size == 0) return;
                part = waiting[--size];
            } while (part.distSq > limit);
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
    } while (parts > kTopGroups);
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
    // A shorter chord counts as its start: the reciprocal would be infinite, and a foot at the start NaN.
    double const invChordSq = chord.lengthSq() >= kSmallestNormal ? 1.0 / chord.lengthSq() : 0.0;
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
