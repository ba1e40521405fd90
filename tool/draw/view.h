#pragma once

/// How space is seen on a sheet: a perspective camera that looks at a box, mapped to a rectangle of a canvas. The same
/// view serves the renderer and everything that is drawn over its picture.

#include <vector>

#include <sinew/core/vector3.h>

#include <tool/draw/canvas.h>

namespace tool {

class View
{
public:
    /// Looks at the middle of the box from `low` to `high` so that its bounding sphere fits into `where`.
    ///
    /// @param azimuthDegrees    0 looks from +z, 90 from +x; @param elevationDegrees  90 looks straight down (y is up).
    /// @param zoom              above 1 comes closer: boxes seldom fill their spheres.
    View(Vector3 const& low, Vector3 const& high, double azimuthDegrees, double elevationDegrees, Rect const& where,
         double zoom = 1);

    /// Looks at the points so that they fill `fill` of `where`, in the direction that has less room for them, centred.
    static View fitted(std::vector<Vector3> const& points, double azimuthDegrees, double elevationDegrees,
                       Rect const& where, double fill = 0.86);

    /// The place on the canvas; `depth`, if given, receives the distance along the view direction.
    Point operator()(Vector3 const& p, double* depth = nullptr) const;

    /// Unit vector of the ray that leaves the eye through a place on the canvas.
    Vector3 rayThrough(Point at) const;

    Vector3 const& eye() const { return eye_; }
    Vector3 const& right() const { return right_; }
    Vector3 const& up() const { return up_; }
    Vector3 const& forward() const { return forward_; }
    Rect const& where() const { return where_; }

private:
    Rect where_;
    Vector3 eye_;
    Vector3 right_;
    Vector3 up_;
    Vector3 forward_;
    Point middle_; ///< where the view direction meets the canvas
    double unitsPerTangent_;
};

} // namespace tool
