// K. Pearson, On lines and planes of closest fit to systems of points in space, Philosophical Magazine, 1901. T. F.
// Chan, G. H. Golub, R. J. LeVeque, Algorithms for Computing the Sample Variance, The American Statistician 37, 1983:
// the corrected two-pass algorithm. D. E. Knuth, The Art of Computer Programming 2, section 4.2.2: compensated sums.

#include <sinew/queries/fit.h>

#include <algorithm>
#include <limits>

#include <sinew/core/detail/power_scale.h>
#include <sinew/core/detail/real_array.h>
#include <sinew/core/eigen_symmetric.h>

namespace {

using sinew::FitOutcome;
using sinew::RealArray;
using sinew::detail::PowerScale;

constexpr double kGreatest = std::numeric_limits<double>::max();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kSmallest = std::numeric_limits<double>::denorm_min();

// Spreads that differ by this many roundings of the largest coordinate count as equal.
constexpr double kRoundings = 8;
constexpr double kUnitOfDouble = 0x1p-53;
constexpr double kUnitOfFloat = 0x1p-24;

// The points that count, and where they lie.
struct Extent
{
    Vector3 low = {kInfinity, kInfinity, kInfinity};
    Vector3 high = {-kInfinity, -kInfinity, -kInfinity};
    double largestWeight = 0.0;
    bool isFinite = true;

    double largestCoordinate() const
    {
        double largest = 0.0;
        for (int i = 0; i < 3; ++i) largest = std::max(largest, std::max(-low[i], high[i]));
        return largest;
    }
};

struct Points
{
    RealArray const& positions;
    RealArray const& weights;

    bool haveWeights() const { return weights.count > 0; }
    std::size_t count() const { return haveWeights() ? std::min(positions.count, weights.count) : positions.count; }
    double weight(std::size_t i) const { return haveWeights() ? sinew::detail::numberAt(weights, i) : 1.0; }
};

Extent extentOf(Points const& points)
{
    Extent extent;
    for (std::size_t i = 0; i < points.count(); ++i) {
        double const weight = points.weight(i);
        if (!(weight > 0)) continue; // also NaN
        Vector3 const p = sinew::detail::vectorAt(points.positions, i);
        extent.largestWeight = std::max(extent.largestWeight, weight);
        // std::min and std::max keep their first argument if the second is NaN.
        extent.low = {std::min(extent.low.x, p.x), std::min(extent.low.y, p.y), std::min(extent.low.z, p.z)};
        extent.high = {std::max(extent.high.x, p.x), std::max(extent.high.y, p.y), std::max(extent.high.z, p.z)};
        bool const isFinite = std::fabs(p.x) <= kGreatest && std::fabs(p.y) <= kGreatest && std::fabs(p.z) <= kGreatest;
        extent.isFinite = extent.isFinite && isFinite;
    }
    extent.isFinite = extent.isFinite && extent.largestWeight <= kGreatest;
    return extent;
}

// What the passes over the points share: coordinates are measured from `middle` and multiplied by a power of two, so
// that their squares neither overflow nor lose digits. Weights have a power of two of their own.
struct Measure
{
    Vector3 middle;
    PowerScale lengths;
    PowerScale weights;

    explicit Measure(Extent const& extent)
        : middle(0.5 * extent.low + 0.5 * extent.high), lengths(sinew::detail::powerScale(halfWidth(extent))),
          weights(sinew::detail::powerScale(extent.largestWeight))
    {
    }

    // Measures from the mean, which is `mean` from the middle: points near the mean then keep all their digits, even
    // if others are far away. Differences across the whole range of doubles would overflow, so there the middle stays.
    // Returns the mean as it is measured now.
    Vector3 moveTo(Vector3 const& mean, Extent const& extent)
    {
        if (halfWidth(extent) > 0.25 * kGreatest) return mean;
        middle = middle + mean * lengths.back;
        return {0.0, 0.0, 0.0};
    }

    static double halfWidth(Extent const& extent)
    {
        Vector3 const half = 0.5 * extent.high - 0.5 * extent.low;
        return std::max(half.x, std::max(half.y, half.z));
    }
};

// Sums run in kLanes lanes, in parts of kPart points, so that the errors of long sums stay small and the compiler can
// use vectors. The lanes of a part are added in a fixed order to a compensated sum.
constexpr std::size_t kLanes = 4;
constexpr std::size_t kPart = 64;

struct Part
{
    std::size_t count = 0; // a multiple of kLanes: the last part is filled up with points of weight 0
    double x[kPart];
    double y[kPart];
    double z[kPart];
    double w[kPart];
};

void load(Points const& points, std::size_t first, Measure const& measure, Part& part)
{
    std::size_t const count = std::min(kPart, points.count() - first);
    for (std::size_t i = 0; i < count; ++i) {
        double const weight = points.weight(first + i);
        bool const counts = weight > 0;
        Vector3 const p = counts ? sinew::detail::vectorAt(points.positions, first + i) : measure.middle;
        Vector3 const q = (p - measure.middle) * measure.lengths.to;
        part.x[i] = q.x;
        part.y[i] = q.y;
        part.z[i] = q.z;
        part.w[i] = counts ? weight * measure.weights.to : 0.0;
    }
    part.count = count;
    for (; part.count % kLanes != 0; ++part.count) {
        std::size_t const i = part.count;
        part.x[i] = part.y[i] = part.z[i] = part.w[i] = 0.0;
    }
}

// A sum that carries its rounding errors along.
struct Sum
{
    double value = 0.0;
    double rounding = 0.0;

    void add(double const (&lanes)[kLanes])
    {
        double const term = (lanes[0] + lanes[1]) + (lanes[2] + lanes[3]);
        double const old = value;
        value = old + term;
        double const added = value - old;
        rounding += (old - (value - added)) + (term - added);
    }
    double total() const { return value + rounding; }
};

// The mean of the points, up to an error that is small compared with their spread; `weight` receives the sum of
// weights.
Vector3 roughMean(Points const& points, Measure const& measure, double& weight)
{
    Sum sums[4];
    Part part;
    for (std::size_t first = 0; first < points.count(); first += kPart) {
        load(points, first, measure, part);
        double lanes[4][kLanes] = {};
        for (std::size_t i = 0; i < part.count; i += kLanes) {
            for (std::size_t l = 0; l < kLanes; ++l) lanes[0][l] += part.w[i + l] * part.x[i + l];
            for (std::size_t l = 0; l < kLanes; ++l) lanes[1][l] += part.w[i + l] * part.y[i + l];
            for (std::size_t l = 0; l < kLanes; ++l) lanes[2][l] += part.w[i + l] * part.z[i + l];
            for (std::size_t l = 0; l < kLanes; ++l) lanes[3][l] += part.w[i + l];
        }
        for (int k = 0; k < 4; ++k) sums[k].add(lanes[k]);
    }
    weight = sums[3].total();
    return {sums[0].total() / weight, sums[1].total() / weight, sums[2].total() / weight};
}

// Coordinates from `centre` along three unit vectors.
struct Frame
{
    Vector3 centre;
    Vector3 axes[3];
};

constexpr int kMoments = 9; // x, y, z, xx, yy, zz, yz, xz, xy

// Adds the moments of the points of a part in a frame.
void addMoments(Part const& part, Frame const& frame, double (&lanes)[kMoments][kLanes])
{
    auto const& [centre, axes] = frame;
    for (std::size_t i = 0; i < part.count; i += kLanes) {
        for (std::size_t l = 0; l < kLanes; ++l) {
            double const px = part.x[i + l] - centre.x;
            double const py = part.y[i + l] - centre.y;
            double const pz = part.z[i + l] - centre.z;
            double const x = axes[0].x * px + axes[0].y * py + axes[0].z * pz;
            double const y = axes[1].x * px + axes[1].y * py + axes[1].z * pz;
            double const z = axes[2].x * px + axes[2].y * py + axes[2].z * pz;
            double const wx = part.w[i + l] * x;
            double const wy = part.w[i + l] * y;
            double const wz = part.w[i + l] * z;
            lanes[0][l] += wx;
            lanes[1][l] += wy;
            lanes[2][l] += wz;
            lanes[3][l] += wx * x;
            lanes[4][l] += wy * y;
            lanes[5][l] += wz * z;
            lanes[6][l] += wy * z;
            lanes[7][l] += wx * z;
            lanes[8][l] += wx * y;
        }
    }
}

// The mean of the points in a frame, and their covariance about this mean.
struct Moments
{
    Vector3 mean;
    Matrix3 covariance;
};

Moments momentsOf(Points const& points, Measure const& measure, Frame const& frame, double weight)
{
    Sum sums[kMoments];
    Part part;
    for (std::size_t first = 0; first < points.count(); first += kPart) {
        load(points, first, measure, part);
        double lanes[kMoments][kLanes] = {};
        addMoments(part, frame, lanes);
        for (int k = 0; k < kMoments; ++k) sums[k].add(lanes[k]);
    }
    double m[kMoments];
    for (int k = 0; k < kMoments; ++k) m[k] = sums[k].total() / weight;
    double const xx = m[3] - m[0] * m[0];
    double const yy = m[4] - m[1] * m[1];
    double const zz = m[5] - m[2] * m[2];
    double const yz = m[6] - m[1] * m[2];
    double const xz = m[7] - m[0] * m[2];
    double const xy = m[8] - m[0] * m[1];
    return {{m[0], m[1], m[2]}, Matrix3({xx, xy, xz}, {xy, yy, yz}, {xz, yz, zz})};
}

// The principal axes of the points, in the order of their spreads.
struct PrincipalAxes
{
    FitOutcome outcome = FitOutcome::determined;
    Vector3 centroid = {kNaN, kNaN, kNaN};
    Vector3 axes[3] = {{kNaN, kNaN, kNaN}, {kNaN, kNaN, kNaN}, {kNaN, kNaN, kNaN}};
    double spreads[3] = {kNaN, kNaN, kNaN};
    double toLine = kNaN; // root mean squared distance from the line along the last axis
    double noise = 0.0;   // spreads that differ by no more than this are equal
};

// A unit vector that the host can rely on: of v and -v the one whose greatest component is positive.
Vector3 oriented(Vector3 const& v)
{
    Vector3 const unit = v * (1.5 - 0.5 * v.lengthSq()); // a Newton step: v is a unit vector up to a few roundings
    int greatest = 0;
    for (int i = 1; i < 3; ++i) {
        if (std::fabs(unit[i]) > std::fabs(unit[greatest])) greatest = i;
    }
    Vector3 const zero(0.0, 0.0, 0.0); // added, so that no component is -0
    return unit[greatest] < 0 ? zero - unit : zero + unit;
}

// The axes of the covariance of all points are accurate for spreads that are not much smaller than the largest. Along
// these axes, small spreads are small elements of the matrix, and its eigenvectors are accurate for them, too.
void findAxes(Points const& points, Extent const& extent, PrincipalAxes& result)
{
    Measure measure(extent);
    double weight = 0.0;
    Vector3 const rough = measure.moveTo(roughMean(points, measure, weight), extent);
    Frame const asGiven = {rough, {{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}}};
    Moments const first = momentsOf(points, measure, asGiven, weight);
    Vector3 const centre = rough + first.mean;
    sinew::SymmetricEigensystem const guess = sinew::eigenSymmetric(first.covariance);
    Frame const along = {centre, {guess.vectors[0], guess.vectors[1], guess.vectors[2]}};
    Moments const second = momentsOf(points, measure, along, weight);
    sinew::SymmetricEigensystem const found = sinew::eigenSymmetric(second.covariance);

    result.centroid = measure.middle + centre * measure.lengths.back;
    double squares[3];
    for (int k = 0; k < 3; ++k) {
        Vector3 const& v = found.vectors[k];
        result.axes[k] = oriented(v.x * guess.vectors[0] + v.y * guess.vectors[1] + v.z * guess.vectors[2]);
        squares[k] = std::max(found.values[k], 0.0);
        result.spreads[k] = std::sqrt(squares[k]) * measure.lengths.back;
    }
    result.toLine = std::sqrt(squares[0] + squares[1]) * measure.lengths.back;
}

PrincipalAxes principalAxes(Points const& points)
{
    PrincipalAxes result;
    Extent const extent = extentOf(points);
    if (!(extent.largestWeight > 0)) {
        result.outcome = FitOutcome::noPoints;
    } else if (!extent.isFinite) {
        result.outcome = FitOutcome::notFinite;
    } else {
        findAxes(points, extent, result);
        double const unit = points.positions.isDouble ? kUnitOfDouble : kUnitOfFloat;
        result.noise = kRoundings * std::max(unit * extent.largestCoordinate(), kSmallest);
    }
    return result;
}

// Whether the spread along the axis `larger` differs from that along `smaller` by more than rounding.
FitOutcome outcomeOf(PrincipalAxes const& found, int smaller, int larger)
{
    if (found.outcome != FitOutcome::determined) return found.outcome;
    // False for two infinite spreads, whose difference is NaN.
    bool const differ = found.spreads[larger] - found.spreads[smaller] > found.noise;
    return differ ? FitOutcome::determined : FitOutcome::undetermined;
}

} // namespace

auto sinew::fitLine(RealArray const& points, RealArray const& weights) -> LineFit
{
    PrincipalAxes const found = principalAxes({points, weights});
    LineFit fit;
    fit.outcome = outcomeOf(found, 1, 2);
    fit.centroid = found.centroid;
    fit.direction = found.axes[2];
    fit.residual = found.toLine;
    std::copy(found.spreads, found.spreads + 3, fit.spreads);
    return fit;
}

auto sinew::fitPlane(RealArray const& points, RealArray const& weights) -> PlaneFit
{
    PrincipalAxes const found = principalAxes({points, weights});
    PlaneFit fit;
    fit.outcome = outcomeOf(found, 0, 1);
    fit.centroid = found.centroid;
    fit.normal = found.axes[0];
    fit.residual = found.spreads[0];
    std::copy(found.spreads, found.spreads + 3, fit.spreads);
    return fit;
}
