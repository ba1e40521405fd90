#pragma once

/// Intersection records: small value classes whose constructor computes an intersection and whose fields hold the
/// result.
///
/// A line is an origin and a direction; its parameter t stands for the point origin + t * direction. A plane is a point
/// and a unit normal. The field `result` is an outcome code. Read it before the other fields. Each class numbers its
/// codes separately: 0 is the hit in all classes except `LineSphereInt`, where 0 is the miss.
///
/// No constructor throws or allocates, and the cost of each is constant. Directions and normals of type `UVector3` must
/// have length 1; the constructors do not check this. Tolerances are absolute. Each class states which quantity it
/// compares `tol` with. A comparison with NaN is false, so NaN input passes no test for a special case; each class
/// states the result.

#include <cstdint>

#include <sinew/core/vector3.h>

/// Intersection of two lines, or their closest points if they do not meet.
class LineLineInt
{
public:
    /// 0: the lines meet; 1: parallel and apart; 2: parallel and coincident; 3: skew.
    ///
    /// Lines meet or coincide if their distance is less than the magnitude of `tol` (strict). For tol = 0 no lines
    /// meet. NaN input gives 3 with NaN parameters, or 1 if the directions are parallel.
    std::int32_t result;
    /// For 0 the closest point on line 1 (not the midpoint between the lines), for 1 and 2 `p1`, for 3 (0, 0, 0).
    ::Vector3 point;
    /// Parameter of the closest point on line 1, also if the lines do not meet; 0 for parallel lines.
    double t1;
    /// Parameter of the closest point on line 2, also if the lines do not meet. For parallel lines it is that of the
    /// projection of `p1` onto line 2.
    double t2;

    /// Lines with unit directions. They are parallel if 1 - |d1 * d2| is less than 5.0000000000000005e-17. This is less
    /// than the distance from 1 to the next smaller double, so |d1 * d2| must be at least 1.
    SINEW_API LineLineInt(::Vector3 const& p1, UVector3 const& d1, ::Vector3 const& p2, UVector3 const& d2, double tol);

    /// Lines with directions of any length. They are parallel if `Vector3::isParallel` says so at its default tolerance
    /// of 0.03 degrees. A null direction is not parallel to any direction; a zero direction gives 3 with NaN
    /// parameters.
    ///
    /// A call with one `UVector3` and one `Vector3` direction is ambiguous; convert one of them.
    SINEW_API LineLineInt(::Vector3 const& p1, ::Vector3 d1, ::Vector3 const& p2, ::Vector3 const& d2, double tol);
};

/// Intersection of two planes: their common line.
class PlanePlaneInt
{
public:
    /// 0: the planes meet in a line; 1: parallel and apart; 2: parallel and coincident.
    ///
    /// Parallel means that |N1 x N2|^2 is less than 1.0000000000000001e-16 (strict), an angle of 1e-8 radians.
    /// Coincident means that the distance of p2 from plane 1 is less than `tol` (strict). NaN input gives 0 with NaN
    /// fields, or 1 if the normals are parallel.
    std::int32_t result;
    /// For 0 the point of the common line nearest to `p1`, otherwise (0, 0, 0).
    ::Vector3 point;
    /// For 0 the unit direction of the common line, along N1 x N2; otherwise (0, 0, 0).
    ::Vector3 dir;

    /// The planes through `p1` and `p2` with the normals `N1` and `N2`.
    SINEW_API PlanePlaneInt(::Vector3 const& p1, UVector3 const& N1, ::Vector3 const& p2, UVector3 const& N2,
                            double tol);
};

/// Intersection of the line (p, d) with the plane through q with normal n.
class LinePlaneInt
{
public:
    /// 0: the line crosses the plane; 1: it is parallel to the plane and off it; 2: it lies in the plane.
    ///
    /// Parallel means that |d * n| is less than 1e-8 (strict), independent of `tol`. A parallel line lies in the plane
    /// if the distance of `p` from the plane is less than `tol` (strict). NaN input gives 0 with NaN fields, or 1 if
    /// the line is parallel.
    std::int32_t result;
    /// For 0 the crossing, otherwise `p`.
    ::Vector3 point;
    /// For 0 the parameter of the crossing, otherwise 0.
    double t;

    /// The line p + t d, and the plane through `q` with the normal `n`.
    SINEW_API LinePlaneInt(::Vector3 const& p, UVector3 const& d, ::Vector3 const& q, UVector3 const& n, double tol);
};

/// Intersection of the line (p, d), which extends to both sides of its origin, with the triangle a, b, c of either
/// orientation.
class LineTriangleInt
{
public:
    /// 0: hit; 1: miss; 2: the line lies in the triangle's plane; 3: it is parallel to the plane and off it; 4: the
    /// triangle is degenerate, which means that |(b - a) x (c - a)| is less than 1e-13.
    ///
    /// The first test compares the line with the triangle's bounding sphere. A line outside it is a miss, even if it is
    /// parallel to the plane or the triangle is degenerate. Twice `tol` is added to the squared radius of the sphere.
    /// The codes 2 and 3 are determined as in `LinePlaneInt` with the same `tol`. At a hit, the doubled signed areas of
    /// the three triangles that the crossing forms with the sides are at least -tol. `tol` is an area there: it widens
    /// the triangle at each side by a strip of width tol / (length of the side). NaN input gives 1, or 3 if the line is
    /// parallel.
    std::int32_t result;
    /// The crossing of the line and the triangle's plane, for 0 and for a miss by a line that passes through the
    /// bounding sphere; otherwise (0, 0, 0).
    ::Vector3 point;
    /// The parameter of `point` in the cases in which `point` is the crossing; otherwise 0.
    double t;

    /// The line p + t d, and the triangle `a`, `b`, `c`.
    SINEW_API LineTriangleInt(::Vector3 const& p, UVector3 const& d, ::Vector3 const& a, ::Vector3 const& b,
                              ::Vector3 const& c, double tol);
};

/// Intersection of the line (p, d), which extends to both sides of its origin, with a sphere. The sign of the radius
/// does not matter.
class LineSphereInt
{
public:
    /// 0: miss; 1: tangent; 2: two points.
    ///
    /// The squared distance from the line to the center determines the code: more than radius^2 + tol is a miss, more
    /// than radius^2 - tol a tangent (both strict), and the rest two points. `tol` is therefore compared with squared
    /// lengths. NaN input gives 2 with NaN fields.
    std::int32_t result;
    /// For 2 the entry along `d`, for 1 the closest point of the line to the center, for 0 (0, 0, 0).
    ::Vector3 point1;
    /// For 2 the exit along `d`, for 1 the same as `point1`, for 0 (0, 0, 0).
    ::Vector3 point2;
    /// The parameter of `point1`; 0 for a miss. Never greater than `t2`.
    double t1;
    /// The parameter of `point2`; 0 for a miss.
    double t2;

    /// The line p + t d, and the sphere.
    SINEW_API LineSphereInt(::Vector3 const& p, UVector3 const& d, ::Vector3 const& center, double radius, double tol);
};

/// Barycentric coordinates of a point with respect to a triangle.
class TriangleWeightsFinder
{
public:
    /// The weights of a, b and c, in x, y and z. Their sum is 1. Outside the triangle some are negative; they are not
    /// clamped.
    ///
    /// The triangle and the point are projected along the coordinate axis with the greatest component of the triangle's
    /// normal (of equal components, along the first), so the distance of the point from the plane does not matter. A
    /// triangle whose projection has a doubled area of less than 1e-8 gives (0, 0, 0), because `Matrix3::inverse`
    /// treats its matrix as singular; scale small triangles up first. NaN input gives (0, 0, 0) or NaN.
    ::Vector3 weights;

    /// The weights of `p` in the triangle `a`, `b`, `c`.
    SINEW_API TriangleWeightsFinder(::Vector3 const& p, ::Vector3 const& a, ::Vector3 const& b, ::Vector3 const& c);
};
