#pragma once

/// The body around a skeleton: a field made of smooth distances to the skeleton's limbs.

#include <vector>

#include <sinew/fields/polyline_projector.h>

#include <tool/figure/limbs.h>
#include <tool/figure/surface_mesher.h>
#include <tool/io/skeleton.h>

namespace tool {

/// The radius of the body at every joint: the skeleton's where it gives one, otherwise in proportion to its bones.
std::vector<double> radiiOf(Skeleton const& skeleton);

/// For each limb: smooth squared distance to its polyline over a squared radius that changes smoothly along it. The
/// limbs' fields are blended by a smooth minimum, and the body is where that is below 1.
class LimbField : public BodyField
{
public:
    explicit LimbField(Skeleton const& skeleton);

    double value(Vector3 const& p, Vector3* gradient) const override;
    void values(std::vector<Vector3> const& points, std::vector<double>& values) const override;
    bool mayCross(Vector3 const& centre, double radius) const override;

    /// A box around the body.
    void bounds(Vector3& low, Vector3& high) const;

    /// The derivative of the gradient, by central differences of step `step`.
    void hessian(Vector3 const& p, double step, Vector3 (&rows)[3]) const;

private:
    struct LimbPart
    {
        PolylineProjector projector;
        std::vector<double> radiusSq; ///< at the vertices
        double largestRadiusSq = 0;
        double smallestRadiusSq = 0;
        double blend = 0; ///< width of the smooth minimum over the limb's segments, a squared length
    };

    static double squaredRadius(LimbPart const& limb, Vector3 const& p, Vector3* gradient);

    std::vector<LimbPart> limbs_;
};

} // namespace tool
