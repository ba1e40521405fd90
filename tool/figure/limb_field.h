#pragma once

/// The field whose zeros are the surface of a body around a skeleton.

#include <vector>

#include <sinew/fields/polyline_projector.h>

#include <tool/figure/limbs.h>
#include <tool/figure/surface_mesher.h>
#include <tool/io/skeleton.h>

namespace tool {

/// The radius of the body at every joint: the skeleton's radius where it gives one, otherwise one in proportion to the
/// mean length of its bones.
std::vector<double> radiiOf(Skeleton const& skeleton);

/// The field of a body around a skeleton, made of smooth distances.
///
/// The field of a limb is the smooth squared distance to the limb's polyline, divided by a squared radius that varies
/// smoothly along the limb. The fields of all limbs are combined by a smooth minimum, and 1 is subtracted.
class LimbField : public BodyField
{
public:
    explicit LimbField(Skeleton const& skeleton);

    double value(Vector3 const& p, Vector3* gradient) const override;
    void values(std::vector<Vector3> const& points, std::vector<double>& values) const override;
    bool mayCross(Vector3 const& centre, double radius) const override;

    /// A box that contains the body.
    void bounds(Vector3& low, Vector3& high) const;

    /// The second derivatives, by central differences of the gradient with the step `step`.
    void hessian(Vector3 const& p, double step, Vector3 (&rows)[3]) const;

private:
    struct LimbPart
    {
        PolylineProjector projector;
        std::vector<double> radiusSq; ///< at the vertices of the polyline
        double largestRadiusSq = 0;
        double smallestRadiusSq = 0;
        double blend = 0; ///< width of the smooth minimum over the limb's segments, a squared length
    };

    static double squaredRadius(LimbPart const& limb, Vector3 const& p, Vector3* gradient);

    std::vector<LimbPart> limbs_;
};

} // namespace tool
