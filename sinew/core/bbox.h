#pragma once

/// The axis-aligned bounding box: built from points, grown, intersected, united, scaled, queried.
///
/// An empty box is one whose lower corner exceeds its upper corner on some axis; such a box is called invalid, and each
/// operation says what it does with one. Nothing throws or reports.

#include <vector>

#include <sinew/core/tolerances.h>
#include <sinew/core/vector3.h>

class Bbox
{
public:
    /// Smallest corner.
    Vector3 min;

    /// Largest corner. It lies below `min` in the default box, on z alone: (0, 0, 0) to (0, 0, -2).
    Vector3 max = {0.0, 0.0, -2.0};

    /// The default box, which is invalid.
    constexpr Bbox() = default;

    /// The smallest box around `points`. No points give the valid box that holds the origin alone, not the default box.
    ///
    /// Of equal coordinates the first stays. A NaN coordinate of the first point stays NaN; of any other it is ignored.
    SINEW_API explicit Bbox(std::vector<Vector3> const& points);

    /// Back to the default box.
    constexpr void reset() { *this = Bbox(); }

    /// The box that holds `p` alone.
    constexpr void init(Vector3 const& p) { min = max = Vector3(p); }

    /// Whether min <= max + 1e-13 on every axis. NaN coordinates count as valid.
    constexpr bool isValid() const
    {
        constexpr double slack = sinew::kGeometricZero;
        return !(min.x > max.x + slack || min.y > max.y + slack || min.z > max.z + slack);
    }

    /// Grows to contain `p`; an invalid box becomes the point. A NaN coordinate of p is ignored.
    constexpr void update(Vector3 const& p)
    {
        if (!isValid()) return init(p);
        updateAxis(p.x, min.x, max.x);
        updateAxis(p.y, min.y, max.y);
        updateAxis(p.z, min.z, max.z);
    }

    /// Intersects with `b` in place. An invalid box stays as it is, an invalid `b` leaves the default box, and disjoint
    /// boxes leave an invalid one.
    SINEW_API void isec(Bbox const& b);

    /// The smallest box around both. The default box if either is invalid.
    SINEW_API Bbox operator+(Bbox const& b) const;

    /// Becomes this + `b`, so that an invalid `b` leaves the default box; an invalid box becomes a copy of `b`.
    SINEW_API void operator+=(Bbox const& b);

    /// Whether the box is valid and holds `p`, faces included, without tolerance. NaN is outside.
    constexpr bool filter(Vector3 const& p) const
    {
        return isValid() && min.x <= p.x && p.x <= max.x && min.y <= p.y && p.y <= max.y && min.z <= p.z &&
               p.z <= max.z;
    }

    /// Volume, or -2.0 for an invalid box.
    constexpr double volume() const
    {
        if (!isValid()) return -2.0;
        return (max.x - min.x) * (max.y - min.y) * (max.z - min.z);
    }

    /// Scales the box about its centre by 1 + `f`: 0 keeps it (to rounding), 1 doubles its extent, -1 collapses it to
    /// its centre, less turns it inside out. Validity is not asked.
    SINEW_API void expand(double f);

    /// The corners with the least and the greatest extent along `d`.
    ///
    /// @param lo, hi  receive the two corners; either may be null.
    ///
    /// A corner replaces the choice only where it reaches farther by more than 1e-13. The choice starts at `min` and
    /// `max` (exchanged where the diagonal points against d by more than 1e-13) and the others follow with z running
    /// fastest, so ties keep the starting corners, then the earlier one. Validity is not asked.
    SINEW_API void boundsInDir(UVector3 d, Vector3* lo, Vector3* hi) const;

private:
    static constexpr void updateAxis(double p, double& low, double& high)
    {
        if (low > p) {
            low = p;
        } else if (p > high) {
            high = p;
        }
    }
};

constexpr bool operator==(Bbox const& a, Bbox const& b)
{
    return a.min == b.min && a.max == b.max;
}
constexpr bool operator!=(Bbox const& a, Bbox const& b)
{
    return !(a == b);
}
