#pragma once

/// The perspective camera of all pictures of space.

#include <vector>

#include <sinew/core/vector3.h>

#include <tool/draw/canvas.h>

namespace tool {

/// A perspective camera that looks at a box and maps space to a rectangle of a canvas. The renderer uses it, and so
/// does everything that is drawn over its picture.
class View
{
public:
    /// Looks at the middle of the box from `low` to `high` so that its bounding sphere fits into `where`.
    ///
    /// @param azimuthDegrees    0 looks from +z, 90 from +x.
    /// @param elevationDegrees  90 looks straight down (y is up).
    /// @param zoom              factor of enlargement. Few boxes fill their bounding spheres, so it may exceed 1.
    View(Vector3 const& low, Vector3 const& high, double azimuthDegrees, double elevationDegrees, Rect const& where,
         double zoom = 1);

    /// Looks at the points. They are centred and as large as possible with `fill` of the width and of the height of
    /// `where`.
    static View fitted(std::vector<Vector3> const& points, double azimuthDegrees, double elevationDegrees,
                       Rect const& where, double fill = 0.86);

    /// The point on the canvas. `depth` may be null; it receives the distance from the eye along the view direction.
    Point operator()(Vector3 const& p, double* depth = nullptr) const;

    /// Unit vector of the ray from the eye through a point on the canvas.
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
