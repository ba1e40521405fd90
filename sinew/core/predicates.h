#pragma once

/// Geometric predicates whose sign is exact: on which side of a line, plane or circle a point lies.
///
/// Each function returns a determinant as a double. **Its sign is exact for all finite coordinates**, also for
/// subnormal and huge ones: the result is positive, negative or zero exactly if the determinant of the given doubles
/// is. Its value approximates the determinant. Where a sign is enough to decide, algorithms that use only these signs
/// decide consistently: a point never lies on both sides of a line, and neighbouring triangles agree about their common
/// edge.
///
/// The functions compute the determinant in doubles and compare it with a bound of its rounding error. Only if it is
/// smaller than this bound, the exact value is computed: by expansions (sums of doubles that do not overlap) if all
/// coordinates are zero or have a magnitude in [2^-200, 2^200], otherwise by integers of up to 8704 bits.
///
/// Value: where the determinant in doubles is returned, its error is less than its magnitude, and less than 4e-16 times
/// the sum of the two products (`orient2d`), 1e-15 times the product of |x| + |y| + |z| of the three differences
/// (`orient3d`), or 5e-16 times the square of the sum of the squared differences (`inCircle`). The exact value is
/// rounded with a relative error of less than 1e-15, and with half of 2^-1074 more if it is subnormal; it is infinite
/// beyond the largest double, and the smallest subnormal number of its sign if it would be rounded to zero.
///
/// Exchanging two points reverses the sign exactly. A NaN or infinite coordinate gives NaN, which is neither above nor
/// below zero. The functions do not throw and do not allocate. Their cost is constant: a few nanoseconds on ordinary
/// input, up to about two microseconds for points that are degenerate or nearly so, and at worst (`inCircle` of
/// coordinates that together span more than a thousand powers of two) some tens of microseconds.
///
/// Source: J. R. Shewchuk, Adaptive Precision Floating-Point Arithmetic and Fast Robust Geometric Predicates, Discrete
/// & Computational Geometry 18, 1997. Here the bounds of `orient3d` and `inCircle` need fewer operations and are
/// wider, and there is one exact stage, which leaves out the parts that are zero.

#include <cmath>

#include <sinew/core/vector3.h>
#include <sinew/export.h>
#include <sinew/framework/vect2.h>

namespace sinew {

namespace detail {

// The exact stages.
SINEW_API double exactOrient2d(tzNM::vect2<double> const& a, tzNM::vect2<double> const& b,
                               tzNM::vect2<double> const& c);
SINEW_API double exactOrient3d(::Vector3 const& a, ::Vector3 const& b, ::Vector3 const& c, ::Vector3 const& d);
SINEW_API double exactInCircle(tzNM::vect2<double> const& a, tzNM::vect2<double> const& b, tzNM::vect2<double> const& c,
                               tzNM::vect2<double> const& d);

// Added to bounds, for products below 2^-1022: their rounding error is at most 2^-1075, not relative to them.
constexpr double kUnderflowBound = 0x1p-1000;
constexpr double kUnderflow = 0x1p-940; // before a multiplication by a relative bound

} // namespace detail

/// Twice the signed area of the triangle a, b, c: (a - c) x (b - c).
///
/// Positive if a, b, c are in counter-clockwise order, negative if they are in clockwise order, 0 if they lie on a
/// line: c lies to the left of the directed line from a to b, to its right, or on it.
inline double orient2d(tzNM::vect2<double> const& a, tzNM::vect2<double> const& b, tzNM::vect2<double> const& c)
{
    // Three roundings, of two differences and their product, for each of the products (section 4.2 of the source).
    constexpr double kBound = (3.0 + 16.0 * 0x1p-53) * 0x1p-53;
    double const left = (a.x - c.x) * (b.y - c.y);
    double const right = (a.y - c.y) * (b.x - c.x);
    double const determinant = left - right;
    double const bound = kBound * (std::fabs(left) + std::fabs(right)) + detail::kUnderflowBound;
    // If a difference or product overflows, the bound is infinite or NaN, and the comparison is false.
    return std::fabs(determinant) > bound ? determinant : detail::exactOrient2d(a, b, c);
}

/// Six times the signed volume of the tetrahedron a, b, c, d: the determinant of a - d, b - d and c - d.
///
/// Positive if d lies below the plane of a, b, c: on the side from which they are seen in clockwise order. Negative if
/// d lies above it, on the side to which (b - a) x (c - a) points. 0 if the four points lie in a plane.
inline double orient3d(::Vector3 const& a, ::Vector3 const& b, ::Vector3 const& c, ::Vector3 const& d)
{
    // Each of the six terms has at most eight roundings. The magnitudes of all sum up to at most the product of the
    // sums of the components.
    constexpr double kBound = 9.0 * 0x1p-53;
    double const ax = a.x - d.x, ay = a.y - d.y, az = a.z - d.z;
    double const bx = b.x - d.x, by = b.y - d.y, bz = b.z - d.z;
    double const cx = c.x - d.x, cy = c.y - d.y, cz = c.z - d.z;
    double const determinant = ax * (by * cz - bz * cy) + ay * (bz * cx - bx * cz) + az * (bx * cy - by * cx);
    double const sumA = std::fabs(ax) + std::fabs(ay) + std::fabs(az);
    double const sumB = std::fabs(bx) + std::fabs(by) + std::fabs(bz);
    double const sumC = std::fabs(cx) + std::fabs(cy) + std::fabs(cz);
    // A product of b and c that underflows is multiplied by a; so is the bound of its error. The product of the sums is
    // not smaller than any sum in the determinant: if one overflows, the bound is infinite or NaN, and the comparison
    // is false.
    double const bound = (sumB * sumC + detail::kUnderflow) * sumA * kBound + detail::kUnderflowBound;
    return std::fabs(determinant) > bound ? determinant : detail::exactOrient3d(a, b, c, d);
}

/// Whether d lies in the circle through a, b and c: the determinant of the rows (x, y, x^2 + y^2) of a - d, b - d, c -
/// d.
///
/// If a, b, c are in counter-clockwise order, the result is positive for d inside the circle, negative outside and 0 on
/// it. If they are in clockwise order, the sign is reversed. If they lie on a line, the sign depends on the side of it
/// where d lies; the result is 0 for d on the line, or if two of the three are equal.
inline double inCircle(tzNM::vect2<double> const& a, tzNM::vect2<double> const& b, tzNM::vect2<double> const& c,
                       tzNM::vect2<double> const& d)
{
    // Each of the twelve terms has at most eleven roundings. The magnitudes of the two products in one bracket sum up
    // to at most half of the sum of the squares of their vectors, hence those of all terms to a third of the square of
    // `squares`.
    constexpr double kBound = 4.0 * 0x1p-53;
    double const ax = a.x - d.x, ay = a.y - d.y;
    double const bx = b.x - d.x, by = b.y - d.y;
    double const cx = c.x - d.x, cy = c.y - d.y;
    double const aa = ax * ax + ay * ay;
    double const bb = bx * bx + by * by;
    double const cc = cx * cx + cy * cy;
    double const determinant = aa * (bx * cy - by * cx) + bb * (cx * ay - cy * ax) + cc * (ax * by - ay * bx);
    double const squares = aa + bb + cc;
    // As in `orient3d`.
    double const bound = (squares + detail::kUnderflow) * squares * kBound + detail::kUnderflowBound;
    return std::fabs(determinant) > bound ? determinant : detail::exactInCircle(a, b, c, d);
}

} // namespace sinew
