#pragma once

/// What a far-away light sees: the nearest depth in every cell of a square grid across its direction.

#include <array>
#include <vector>

#include <sinew/core/vector3.h>

namespace tool {

class DepthMap
{
public:
    /// @param towardsLight  unit vector; @param centre, radius  a sphere around everything; @param size  cells a side.
    DepthMap(Vector3 const& towardsLight, Vector3 const& centre, double radius, int size);

    void add(Vector3 const& a, Vector3 const& b, Vector3 const& c);

    /// How much of the light reaches `p`, from 0 to 1: the share of the four cells around it that see nothing closer
    /// than `bias` in front of `p`.
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
