#include <tool/figure/limb_field.h>

#include <algorithm>
#include <cmath>

#include <sinew/core/vector_geometry.h>
#include <sinew/fields/smooth_distance.h>

namespace tool {
namespace {

constexpr double kBlend = 0.55;             // between limbs, of squared distances in radii
constexpr double kSegmentBlend = 0.30;      // between a limb's segments, of its smallest radius squared
constexpr double kLargestTaper = 2.4;       // of an end's squared radius to its neighbour's
constexpr double kRadiusPerBone = 0.16;     // where a skeleton gives no radii
constexpr double kLoweringPerFold = 0.1875; // a smooth minimum is at most 3/16 of its width below the plain one

std::vector<Vector3> pointsOf(Skeleton const& skeleton, Limb const& limb)
{
    std::vector<Vector3> points;
    for (int const j : limb.joints) points.push_back(skeleton.joints[static_cast<std::size_t>(j)]);
    return points;
}

/// A thin limb that starts at a joint of a thick one, an arm at the chest, does not start thick.
void taperEnds(std::vector<double>& radiusSq)
{
    radiusSq.front() = std::min(radiusSq.front(), kLargestTaper * radiusSq[1]);
    radiusSq.back() = std::min(radiusSq.back(), kLargestTaper * radiusSq[radiusSq.size() - 2]);
}

} // namespace

std::vector<double> radiiOf(Skeleton const& skeleton)
{
    double total = 0;
    for (auto const& [a, b] : skeleton.bones) {
        total += dist(skeleton.joints[static_cast<std::size_t>(a)], skeleton.joints[static_cast<std::size_t>(b)]);
    }
    double const usual = std::max(kRadiusPerBone * total / static_cast<double>(skeleton.bones.size()), 1e-6);
    std::vector<double> radii = skeleton.radii;
    radii.resize(skeleton.joints.size(), 0);
    for (double& r : radii) r = r > 0 ? r : usual;
    return radii;
}

LimbField::LimbField(Skeleton const& skeleton)
{
    std::vector<double> const radii = radiiOf(skeleton);
    for (Limb const& limb : limbsOf(skeleton)) {
        LimbPart part{PolylineProjector(pointsOf(skeleton, limb)), {}};
        for (int const j : limb.joints) {
            double const r = radii[static_cast<std::size_t>(j)];
            part.radiusSq.push_back(r * r);
        }
        taperEnds(part.radiusSq);
        part.largestRadiusSq = *std::max_element(part.radiusSq.begin(), part.radiusSq.end());
        part.smallestRadiusSq = *std::min_element(part.radiusSq.begin(), part.radiusSq.end());
        part.blend = kSegmentBlend * part.smallestRadiusSq;
        limbs_.push_back(std::move(part));
    }
}

/// Shepard's interpolation of the joints' squared radii: smooth everywhere, and never beyond the given ones.
/// Source: D. Shepard, A two-dimensional interpolation function for irregularly-spaced data, 1968.
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
    double const highest = 1 + kLoweringPerFold * kBlend * static_cast<double>(limbs_.size());
    bool reaches = false;
    for (LimbPart const& limb : limbs_) {
        double const distance = dist(sinew::closestPoint(limb.projector, centre).point, centre);
        if (distance + radius < std::sqrt(limb.smallestRadiusSq)) return false; // wholly inside this limb
        double const nearest = std::max(0.0, distance - radius);
        double const folds = static_cast<double>(limb.projector.points.size());
        double const lowest = nearest * nearest - kLoweringPerFold * limb.blend * folds;
        if (lowest <= highest * limb.largestRadiusSq) reaches = true;
    }
    return reaches;
}

void LimbField::bounds(Vector3& low, Vector3& high) const
{
    low = Vector3(1, 1, 1) * 1e300;
    high = -low;
    for (LimbPart const& limb : limbs_) {
        double const reach = 1.6 * std::sqrt(limb.largestRadiusSq);
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
