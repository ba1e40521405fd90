#pragma once

/// The axis-aligned bounding box. Use it to bound a set of points and to intersect, unite or scale such bounds.
///
/// Nothing throws. All functions have constant cost, except the constructor from points.

#include <vector>

#include <sinew/core/tolerances.h>
#include <sinew/core/vector3.h>

/// An axis-aligned box: the points whose coordinates lie between those of two corners.
///
/// A box is invalid if its lower corner exceeds its upper corner by more than 1e-13 on some axis (`isValid`). An
/// invalid box stands for the empty set. Each operation states how it treats one.
class Bbox
{
public:
    /// The corner with the smallest coordinates.
    ::Vector3 min;

    /// The corner with the largest coordinates. In the default box it is (0, 0, -2), so the z axis makes
    /// that box invalid.
    ::Vector3 max = {0.0, 0.0, -2.0};

    /// The default box, from (0, 0, 0) to (0, 0, -2), which is invalid.
    constexpr Bbox() = default;

    /// The smallest box that contains all `points`. For no points it is the valid box that contains only the origin,
    /// not the default box.
    ///
    /// Of equal coordinates (0.0 and -0.0) the first is kept. A NaN coordinate of the first point stays NaN in both
    /// corners; a NaN coordinate of another point is ignored. Cost: linear in the number of points.
    SINEW_API explicit Bbox(std::vector<::Vector3> const& points);

    /// Makes this the default box.
    constexpr void reset() { *this = Bbox(); }

    /// Makes this the box that contains only `p`.
    constexpr void init(::Vector3 const& p) { min = max = ::Vector3(p); }

    /// Whether no axis has min > max + 1e-13. A NaN coordinate does not make the box invalid.
    constexpr bool isValid() const
    {
        using sinew::kGeometricZero;
        return !(min.x > max.x + kGeometricZero || min.y > max.y + kGeometricZero || min.z > max.z + kGeometricZero);
    }

    /// Grows the box to contain `p`. An invalid box becomes the box that contains only p. A valid box ignores a NaN
    /// coordinate of p.
    constexpr void update(::Vector3 const& p)
    {
        if (!isValid()) return init(p);
        updateAxis(p.x, min.x, max.x);
        updateAxis(p.y, min.y, max.y);
        updateAxis(p.z, min.z, max.z);
    }

    /// Replaces this box by its intersection with `b`. If this box is invalid, nothing changes. If `b` is invalid,
    /// the result is the default box. If a gap of more than 1e-13 lies between the boxes, the result is invalid.
    ///
    /// A NaN coordinate of this box stays NaN; a NaN coordinate of b is ignored.
    SINEW_API void isec(Bbox const& b);

    /// The smallest box that contains both boxes, or the default box if either is invalid.
    ///
    /// A NaN coordinate of this box stays NaN; a NaN coordinate of b is ignored.
    SINEW_API Bbox operator+(Bbox const& b) const;

    /// Replaces a valid box by this + `b`, which is the default box if `b` is invalid, and an invalid box by a
    /// copy of `b`.
    SINEW_API void operator+=(Bbox const& b);

    /// Whether the box is valid and contains `p`. The faces belong to the box; there is no tolerance. A NaN
    /// coordinate of the box or of p gives false.
    constexpr bool filter(::Vector3 const& p) const
    {
        return isValid() && min.x <= p.x && p.x <= max.x && min.y <= p.y && p.y <= max.y && min.z <= p.z &&
               p.z <= max.z;
    }

    /// The volume, or -2.0 for an invalid box.
    constexpr double volume() const
    {
        if (!isValid()) return kInvalidVolume;
        return (max.x - min.x) * (max.y - min.y) * (max.z - min.z);
    }

    /// Scales the box about its centre by 1 + `f`. The value 0 changes nothing (up to rounding), 1 doubles the
    /// extent, -1 shrinks the box to its centre, and a smaller value exchanges the corners. Whether the box is valid
    /// makes no difference.
    SINEW_API void expand(double f);

    /// The corners with the smallest and the largest extent along `d`.
    ///
    /// @param lo, hi  receive the two corners; either may be null.
    ///
    /// The search starts with `min` and `max`, exchanged if (max - min) * d < -1e-13, and visits the eight corners
    /// with z varying fastest and x slowest. A corner replaces the smallest or the largest so far only if it exceeds
    /// that corner by more than 1e-13. Among ties the starting corners are kept, then the corner that is visited
    /// first. Whether the box is valid makes no difference.
    SINEW_API void boundsInDir(UVector3 d, ::Vector3* lo, ::Vector3* hi) const;

private:
    static constexpr double kInvalidVolume = -2.0;

    static constexpr void updateAxis(double p, double& low, double& high)
    {
        if (low > p) {
            low = p;
        } else if (p > high) {
            high = p;
        }
    }
};

/// Exact comparison of the corners: 0.0 equals -0.0, and NaN equals nothing.
constexpr bool operator==(Bbox const& a, Bbox const& b)
{
    return a.min == b.min && a.max == b.max;
}
constexpr bool operator!=(Bbox const& a, Bbox const& b)
{
    return !(a == b);
}
