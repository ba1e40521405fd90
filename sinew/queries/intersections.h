#pragma once

/// Intersection records: each answers one question in its constructor, and is read through its fields.
///
/// A line is an origin and a direction; its parameter t means the point origin + t * direction. A plane is a point and
/// a unit normal. `result` is an outcome code with numbers of its own in every class; switch on it before reading the
/// other fields. The codes are not uniform: 0 is the hit everywhere but in `LineSphereInt`, where it is the miss.
///
/// Nothing throws or allocates, and the cost is constant. Unit directions are trusted to have length 1. Tolerances are
/// absolute; which quantity `tol` is compared with is told at each class. A comparison with NaN fails, so that NaN
/// input falls through every test for a special case; what comes back then is told at each class.

#include <cstdint>

#include <sinew/core/vector3.h>

/// Two lines: where they meet, or come closest.
class LineLineInt
{
public:
    /// 0: the lines meet; 1: parallel and apart; 2: parallel and coincident; 3: skew.
    ///
    /// They meet, or coincide, if their distance is below the magnitude of `tol` (strict), so never for tol = 0. NaN
    /// input gives 3 with NaN parameters, or 1 where the directions are parallel.
    std::int32_t result;
    /// For 0 the closest point on line 1 (not the midpoint), for 1 and 2 `p1`, for 3 (0, 0, 0).
    Vector3 point;
    /// Parameters of the closest points of both lines, also if they do not meet. Of parallel lines t1 is 0, and t2 that
    /// of the foot of `p1` on line 2.
    double t1;
    double t2;

    /// Lines with unit directions: parallel for 1 - |d1 * d2| below 5.0000000000000005e-17, which is less than one unit
    /// in the last place of 1: the cosine must be 1 to the last bit, or above.
    SINEW_API LineLineInt(Vector3 const& p1, UVector3 const& d1, Vector3 const& p2, UVector3 const& d2, double tol);

    /// Lines with directions of any length: parallel by `Vector3::isParallel` at its default of 0.03 degrees. A null
    /// direction is parallel to nothing; a zero one gives 3 with NaN parameters.
    ///
    /// Where one direction is a `UVector3` and the other is not, neither constructor is the better match: convert one.
    SINEW_API LineLineInt(Vector3 const& p1, Vector3 d1, Vector3 const& p2, Vector3 const& d2, double tol);
};

/// Two planes: their common line.
class PlanePlaneInt
{
public:
    /// 0: the planes meet in a line; 1: parallel and apart; 2: parallel and coincident.
    ///
    /// Parallel means |N1 x N2|^2 below 1.0000000000000001e-16 (strict), an angle of 1e-8. Coincident means a distance
    /// of p2 from plane 1 below `tol` (strict). NaN input gives 0 with NaN fields, or 1 where the normals are parallel.
    std::int32_t result;
    /// For 0 the point of the common line that is nearest to `p1`, otherwise (0, 0, 0).
    Vector3 point;
    /// For 0 the unit direction of the common line, along N1 x N2; otherwise (0, 0, 0).
    Vector3 dir;

    SINEW_API PlanePlaneInt(Vector3 const& p1, UVector3 const& N1, Vector3 const& p2, UVector3 const& N2, double tol);
};

/// A line (p, d) and the plane through q with normal n.
class LinePlaneInt
{
public:
    /// 0: the line crosses the plane; 1: parallel, off the plane; 2: it lies in the plane.
    ///
    /// Parallel means |d * n| below 1e-8 (strict), whatever `tol` is; lying in the plane a distance of `p` from it
    /// below `tol` (strict). NaN input gives 0 with NaN fields, or 1 where the line is parallel.
    std::int32_t result;
    /// For 0 the crossing, otherwise `p`.
    Vector3 point;
    /// For 0 the parameter of the crossing, otherwise 0.
    double t;

    SINEW_API LinePlaneInt(Vector3 const& p, UVector3 const& d, Vector3 const& q, UVector3 const& n, double tol);
};

/// A line (p, d), on both sides of its origin, and the triangle a, b, c, of either orientation.
class LineTriangleInt
{
public:
    /// 0: hit; 1: miss; 2: the line lies in the triangle's plane; 3: it is parallel to the plane, off it; 4: the
    /// triangle is degenerate, |(b - a) x (c - a)| being below 1e-13.
    ///
    /// A line too far from the triangle's bounding sphere is a miss before anything else is tested, also a parallel one
    /// and also of a degenerate triangle. 2 and 3 are those of `LinePlaneInt` with the same `tol`. At a hit the three
    /// doubled areas between the point and the sides must be at least -tol: `tol` is an area there, so the strip that
    /// it adds outside a side is the narrower the longer the side. In the test of the sphere `tol` is added to a
    /// squared radius, twice. NaN input gives 1, or 3 where the line is parallel.
    std::int32_t result;
    /// Where the line crosses the triangle's plane, if it came to that: always for 0, and for 1 unless the bounding
    /// sphere was missed. Otherwise (0, 0, 0) and 0.
    Vector3 point;
    double t;

    SINEW_API LineTriangleInt(Vector3 const& p, UVector3 const& d, Vector3 const& a, Vector3 const& b, Vector3 const& c,
                              double tol);
};

/// A line (p, d), on both sides of its origin, and a sphere. The sign of the radius does not matter.
class LineSphereInt
{
public:
    /// 0: miss; 1: tangent; 2: two points.
    ///
    /// With the squared distance of the line from the center: a miss above radius^2 + tol, tangent above
    /// radius^2 - tol (both strict), otherwise two points. `tol` is compared with squared lengths. NaN input gives 2,
    /// with NaN fields.
    std::int32_t result;
    /// For 2 the entry and the exit, in the order along `d`; for 1 both are the line's closest point to the center; for
    /// 0 (0, 0, 0).
    Vector3 point1;
    Vector3 point2;
    /// Their parameters, t1 <= t2; for 0 both are 0.
    double t1;
    double t2;

    SINEW_API LineSphereInt(Vector3 const& p, UVector3 const& d, Vector3 const& center, double radius, double tol);
};

/// Barycentric weights of a point with respect to a triangle.
class TriangleWeightsFinder
{
public:
    /// The weights of a, b and c, in x, y and z. They sum to 1 and are negative where `p` lies outside; not clamped.
    ///
    /// The triangle and the point are projected along the coordinate axis that the normal is closest to (of equal ones
    /// the first), so the point's distance from the plane does not matter. A triangle whose projection has less than
    /// 1e-8 of doubled area gives (0, 0, 0), the inverse of a small matrix being zero: scale small triangles first.
    /// NaN input gives (0, 0, 0) or NaN.
    Vector3 weights;

    SINEW_API TriangleWeightsFinder(Vector3 const& p, Vector3 const& a, Vector3 const& b, Vector3 const& c);
};
