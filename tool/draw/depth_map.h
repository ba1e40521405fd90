#pragma once

/// The depth map of a distant light, from which shadows are computed.

#include <array>
#include <vector>

#include <sinew/core/vector3.h>

namespace tool {

/// A square grid perpendicular to the direction of the light. Each cell keeps the height of the surface nearest to the
/// light.
class DepthMap
{
public:
    /// @param towardsLight  unit vector.
    /// @param centre, radius  a sphere around all triangles and all points that are tested.
    /// @param size  number of cells along a side.
    DepthMap(Vector3 const& towardsLight, Vector3 const& centre, double radius, int size);

    /// Adds a triangle that throws a shadow.
    void add(Vector3 const& a, Vector3 const& b, Vector3 const& c);

    /// How much of the light reaches `p`, from 0 to 1: the weighted share of the four cells around it whose surface
    /// lies at most `bias` nearer to the light than `p`.
    double lit(Vector3 const& p, double bias) const;

private:
    Vector3 inMap(Vector3 const& p) const;

    Vector3 right_;
    Vector3 up_;
    Vector3 towards_;
    Vector3 centre_;
    double cellsPerLength_;
    int size_;
    std::vector<float> nearest_; ///< largest height towards the light
};

} // namespace tool
