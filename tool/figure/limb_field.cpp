#include <tool/figure/limb_field.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include <sinew/core/vector_geometry.h>
#include <sinew/fields/smooth_distance.h>

namespace tool {
namespace {

constexpr double kBlend = 0.55;          // width of the blend between limbs, as a squared distance in radii
constexpr double kSegmentBlend = 0.30;   // width of the blend between a limb's segments, in squared smallest radii
constexpr double kLargestTaper = 2.4;    // of the squared radius at a limb's end to that of the next joint
constexpr double kRadiusPerBone = 0.16;  // of a mean bone's length, where a skeleton gives no radii
constexpr double kSmallestRadius = 1e-6; // where the bones have no length either
constexpr double kReach = 1.6;           // of the bounding box beyond the joints, in largest radii

// A smooth minimum of two values lies at most 3/16 of the blend's width below the smaller value.
constexpr double kLoweringPerMinimum = 0.1875;

// A thin limb that starts at a joint of a thick one (an arm at the chest) does not start as thick as that joint.
void taperEnds(std::vector<double>& radiusSq)
{
    radiusSq.front() = std::min(radiusSq.front(), kLargestTaper * radiusSq[1]);
    radiusSq.back() = std::min(radiusSq.back(), kLargestTaper * radiusSq[radiusSq.size() - 2]);
}

} // namespace

std::vector<double> radiiOf(Skeleton const& skeleton)
{
    double total = 0;
    for (std::size_t b = 0; b < skeleton.bones.size(); ++b) total += dist(skeleton.startOf(b), skeleton.endOf(b));
    double const usual = std::max(kRadiusPerBone * total / static_cast<double>(skeleton.bones.size()), kSmallestRadius);
    std::vector<double> radii = skeleton.radii;
    radii.resize(skeleton.joints.size(), 0);
    for (double& r : radii) r = r > 0 ? r : usual;
    return radii;
}

LimbField::LimbField(Skeleton const& skeleton)
{
    std::vector<double> const radii = radiiOf(skeleton);
    for (Limb const& limb : limbsOf(skeleton)) {
        LimbPart part{PolylineProjector(jointsOf(skeleton, limb)), {}};
        for (int const j : limb.joints) {
            double const r = radii[asIndex(j)];
            part.radiusSq.push_back(r * r);
        }
        taperEnds(part.radiusSq);
        part.largestRadiusSq = *std::max_element(part.radiusSq.begin(), part.radiusSq.end());
        part.smallestRadiusSq = *std::min_element(part.radiusSq.begin(), part.radiusSq.end());
        part.blend = kSegmentBlend * part.smallestRadiusSq;
        limbs_.push_back(std::move(part));
    }
}

// Shepard's interpolation of the joints' squared radii. It is smooth, and lies between the smallest and the largest
// one. Source: D. Shepard, A two-dimensional interpolation function for irregularly-spaced data, 1968.
double LimbField::squaredRadius(LimbPart const& limb, Vector3 const& p, Vector3* gradient)
{
    double weights = 0;
    double weighted = 0;
    Vector3 weightsGradient, weightedGradient;
    for (std::size_t i = 0; i < limb.radiusSq.size(); ++i) {
        Vector3 const away = p - limb.projector.points[i];
        double const near = 1 / (away.lengthSq() + 0.25 * limb.smallestRadiusSq);
        double const weight = near * near;
        Vector3 const slope = away * (-4 * weight * near);
        weights += weight;
        weighted += weight * limb.radiusSq[i];
        weightsGradient += slope;
        weightedGradient += slope * limb.radiusSq[i];
    }
    double const value = weighted / weights;
    if (gradient) *gradient = (weightedGradient - weightsGradient * value) * (1 / weights);
    return value;
}

double LimbField::value(Vector3 const& p, Vector3* gradient) const
{
    double least = 0;
    Vector3 slope;
    for (std::size_t k = 0; k < limbs_.size(); ++k) {
        LimbPart const& limb = limbs_[k];
        double d = 0;
        Vector3 dGradient, rGradient;
        sinew::smoothDistMany(limb.projector.points, &p, 1, limb.blend, &d, gradient ? &dGradient : nullptr, nullptr);
        double const r = squaredRadius(limb, p, gradient ? &rGradient : nullptr);
        double const inRadii = d / r;
        Vector3 const inRadiiGradient = (dGradient - rGradient * inRadii) * (1 / r);
        if (k == 0) {
            least = inRadii;
            slope = inRadiiGradient;
            continue;
        }
        double parts[3];
        least = -smoothMax(-least, -inRadii, kBlend, parts, nullptr);
        slope = slope * parts[0] + inRadiiGradient * parts[1];
    }
    if (gradient) *gradient = slope;
    return least - 1;
}

void LimbField::values(std::vector<Vector3> const& points, std::vector<double>& values) const
{
    values.resize(points.size());
    std::vector<double> distances(points.size());
    for (std::size_t k = 0; k < limbs_.size(); ++k) {
        LimbPart const& limb = limbs_[k];
        sinew::smoothDistMany(limb.projector.points, points.data(), points.size(), limb.blend, distances.data(),
                              nullptr, nullptr);
        for (std::size_t i = 0; i < points.size(); ++i) {
            double const inRadii = distances[i] / squaredRadius(limb, points[i], nullptr);
            values[i] = k == 0 ? inRadii : -smoothMax(-values[i], -inRadii, kBlend, nullptr, nullptr);
        }
    }
    for (double& value : values) value -= 1;
}

bool LimbField::mayCross(Vector3 const& centre, double radius) const
{
    // The field of at least one limb is at most this where the body's field is zero.
    double const highest = 1 + kLoweringPerMinimum * kBlend * static_cast<double>(limbs_.size());
    bool reaches = false;
    for (LimbPart const& limb : limbs_) {
        double const distance = dist(sinew::closestPoint(limb.projector, centre).point, centre);
        if (distance + radius < std::sqrt(limb.smallestRadiusSq)) return false; // the ball lies inside this limb
        double const nearest = std::max(0.0, distance - radius);
        double const minima = static_cast<double>(limb.projector.points.size());
        double const lowest = nearest * nearest - kLoweringPerMinimum * limb.blend * minima;
        if (lowest <= highest * limb.largestRadiusSq) reaches = true;
    }
    return reaches;
}

void LimbField::bounds(Vector3& low, Vector3& high) const
{
    low = Vector3(1, 1, 1) * std::numeric_limits<double>::infinity();
    high = -low;
    for (LimbPart const& limb : limbs_) {
        double const reach = kReach * std::sqrt(limb.largestRadiusSq);
        for (Vector3 const& p : limb.projector.points) {
            for (int k = 0; k < 3; ++k) {
                low[k] = std::min(low[k], p[k] - reach);
                high[k] = std::max(high[k], p[k] + reach);
            }
        }
    }
}

void LimbField::hessian(Vector3 const& p, double step, Vector3 (&rows)[3]) const
{
    for (int k = 0; k < 3; ++k) {
        Vector3 ahead = p, behind = p;
        ahead[k] += step;
        behind[k] -= step;
        Vector3 gradientAhead, gradientBehind;
        value(ahead, &gradientAhead);
        value(behind, &gradientBehind);
        rows[k] = (gradientAhead - gradientBehind) * (0.5 / step);
    }
}

} // namespace tool
