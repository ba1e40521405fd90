#pragma once

/// The 3D vector of doubles that all modules use, the unit vector derived from it, and their arithmetic.
///
/// Arithmetic follows IEEE double precision in the order written here. No function throws, allocates or checks its
/// arguments. All have constant cost.

#include <cmath>
#include <iosfwd>

#include <sinew/core/tolerances.h>
#include <sinew/export.h>

class UVector3;

/// A vector or a point: three doubles, in the length unit of the caller.
///
/// The class has no virtual functions and owns no memory. A `std::vector<Vector3>` is a sequence of consecutive
/// triples of doubles. The member functions `pullBack`, `isInTriangle` and `reflect` are implemented with the
/// functions of vector_geometry.h.
class Vector3
{
public:
    /// The components.
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;

    /// The zero vector.
    constexpr Vector3() = default;

    /// The vector (x_, y_, z_).
    constexpr Vector3(double x_, double y_, double z_) : x(x_), y(y_), z(z_) {}

    /// Component 0, 1 or 2. Any other index gives z.
    constexpr double& operator[](int i) { return i == 0 ? x : (i == 1 ? y : z); }
    constexpr double const& operator[](int i) const { return i == 0 ? x : (i == 1 ? y : z); }

    /// Squared Euclidean length: x*x + y*y + z*z, summed in that order. Components beyond about 1e154 overflow.
    constexpr double lengthSq() const { return x * x + y * y + z * z; }

    /// Euclidean length, the square root of lengthSq().
    double length() const { return std::sqrt(lengthSq()); }

    /// Whether lengthSq() is below 1e-26 (strict), that is, the length is below 1e-13. A NaN component gives false.
    constexpr bool isNull() const { return lengthSq() < sinew::kNullLengthSq; }

    /// Scales this vector to length 1 and returns true. A null vector (`isNull`) is left unchanged and gives false.
    ///
    /// Each component is multiplied by the reciprocal of the length, which is computed once. A NaN or infinite
    /// component gives true and at least one NaN component; finite components beyond about 1e154 give true and
    /// the zero vector.
    bool autoNormalize()
    {
        if (isNull()) return false;
        *this *= 1.0 / length();
        return true;
    }

    /// The unit vector in this direction. A null vector gives the null fallback of `UVector3`.
    UVector3 normalize() const;

    /// Whether this vector is parallel to `other` or to its opposite: whether the cosine of the angle between them
    /// has a magnitude above `tol` (strict).
    ///
    /// @param tol  cosine of the largest angle that counts as parallel. It is squared before use; a NaN gives the
    ///             result false. A negative value selects the default of 0.03 degrees: 0.9999997258, which is already
    ///             a squared cosine and is not squared again.
    ///
    /// The result is false if either vector is null, even if both are the same vector, and false if a component is
    /// NaN. With tol = 1 equal directions give false as well, because the comparison is strict.
    constexpr bool isParallel(Vector3 const& other, double tol) const
    {
        if (isNull() || other.isNull()) return false;
        double const d = dot(other);
        return d * d > lengthSq() * other.lengthSq() * cosineSqFactor(tol, sinew::kParallelCosineSq);
    }

    /// `isParallel` with the cosine of 5 degrees.
    constexpr bool isAlmostParallel(Vector3 const& other) const
    {
        return isParallel(other, sinew::kAlmostParallelCosine);
    }

    /// Whether this vector is perpendicular to `other`: whether the cosine of the angle between them has a magnitude
    /// below `tol` (strict).
    ///
    /// @param tol  cosine of the smallest angle that counts as perpendicular. It is squared before use; a NaN gives
    ///             the result false. A negative value selects the default of 0.03 degrees from the right angle, a
    ///             squared cosine of 2.7415591280100005e-07.
    ///
    /// The result is false if either vector is null and false if a component is NaN. With tol = 0 it is always false,
    /// because the comparison is strict.
    constexpr bool isNormal(Vector3 const& other, double tol) const
    {
        if (isNull() || other.isNull()) return false;
        double const d = dot(other);
        return lengthSq() * other.lengthSq() * cosineSqFactor(tol, sinew::kNormalCosineSq) > d * d;
    }

    /// `isNormal` with the cosine of 85 degrees.
    constexpr bool isAlmostNormal(Vector3 const& other) const { return isNormal(other, sinew::kAlmostNormalCosine); }

    /// Least-squares coordinates of this vector in the basis of two vectors: the pair (alpha, beta) that minimises
    /// |this - (alpha * basis[0] + beta * basis[1])|.
    ///
    /// @param basis   two consecutive vectors. The pointer must not be null. The vectors need not have length 1 or be
    ///                perpendicular.
    /// @param coeffs  receives (alpha, beta, 0.0); may be null. It is left unwritten if the result is false. It may
    ///                be one of the basis vectors.
    ///
    /// The equations are divided by the sum of the squared basis lengths. If their determinant is then below
    /// 1.0000000000000001e-16 in magnitude, because the basis vectors are parallel or one of them is tiny, this
    /// vector is projected on the longer basis vector alone (on the first if both are equally long) and the other
    /// coefficient is 0. The result is false only if the sum of the squared basis lengths is below
    /// 1.0000000000000001e-16, or if the share of the longer vector in that sum is. All these comparisons are strict.
    /// NaN input gives NaN coefficients and true. If the sum of the squared basis lengths overflows, which needs
    /// lengths of about 1e154, the result is false or the coefficients are NaN.
    SINEW_API bool pullBack(Vector3 const* basis, Vector3* coeffs) const;

    /// Whether the projection of this point on the plane of the triangle a, b, c lies strictly inside the triangle.
    ///
    /// The coordinates of `pullBack` in the edges from `a` are the barycentric coordinates of b and c. Each of the
    /// two must lie between 1e-13 and 1 - 1e-13, and that of a must exceed 1e-13 (all strict), so a point on an edge
    /// or at a vertex is outside. If the edges from `a` are parallel, `pullBack` gives one coordinate of 0, and the
    /// result is false. NaN input gives false.
    SINEW_API bool isInTriangle(Vector3 const& a, Vector3 const& b, Vector3 const& c) const;

    /// The image of this point p under the rule (b - a) * s + a - (p - a), where s is the dot product of p - a with
    /// the unit direction of b - a.
    ///
    /// The result is the mirror image of p in the line through `a` and `b` only if |b - a| = 2, because s is measured
    /// along the unit direction and multiplied with b - a. Callers may rely on this rule. If a and b are equal, the
    /// direction is the null fallback of `UVector3`.
    SINEW_API Vector3 reflect(Vector3 const& a, Vector3 const& b) const;

    /// Componentwise.
    constexpr Vector3& operator+=(Vector3 const& b)
    {
        x += b.x;
        y += b.y;
        z += b.z;
        return *this;
    }
    constexpr Vector3& operator-=(Vector3 const& b)
    {
        x -= b.x;
        y -= b.y;
        z -= b.z;
        return *this;
    }
    constexpr Vector3& operator*=(double s)
    {
        x *= s;
        y *= s;
        z *= s;
        return *this;
    }

private:
    constexpr double dot(Vector3 const& b) const { return x * b.x + y * b.y + z * b.z; }

    // A tolerance of the caller is a cosine and is squared; the default is already a squared cosine. `tol < 0` is
    // false for NaN, whose square is NaN, and every comparison with it is false.
    static constexpr double cosineSqFactor(double tol, double defaultCosineSq)
    {
        return tol < 0 ? defaultCosineSq : tol * tol;
    }
};

/// A direction: a `Vector3` that the constructor scales to length 1.
///
/// Null fallback: if the given vector is null (`isNull`), x and y are kept and z becomes 1.0. The zero vector gives
/// (0, 0, 1) and (1e-14, 0, 0) gives (1e-14, 0, 1). No error is reported. NaN, infinite and huge components act as in
/// `Vector3::autoNormalize`. A later change through the `Vector3` interface is not normalised.
class UVector3 : public ::Vector3
{
public:
    /// The null fallback, (0, 0, 1).
    constexpr UVector3() : Vector3(0.0, 0.0, 1.0) {}

    /// The unit vector in the direction of `v`, or the null fallback.
    UVector3(Vector3 const& v) : Vector3(v)
    {
        if (!autoNormalize()) z = 1.0;
    }

    /// The unit vector in the direction (x_, y_, z_), or the null fallback.
    UVector3(double x_, double y_, double z_) : UVector3(Vector3(x_, y_, z_)) {}
};

inline auto ::Vector3::normalize() const -> UVector3
{
    return UVector3(*this);
}

/// Componentwise.
constexpr ::Vector3 operator+(::Vector3 const& a, ::Vector3 const& b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
constexpr ::Vector3 operator-(::Vector3 const& a, ::Vector3 const& b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
constexpr ::Vector3 operator-(::Vector3 const& a)
{
    return {-a.x, -a.y, -a.z};
}

/// Each component times `s`.
constexpr ::Vector3 operator*(::Vector3 const& a, double s)
{
    return {a.x * s, a.y * s, a.z * s};
}
constexpr ::Vector3 operator*(double s, ::Vector3 const& a)
{
    return a * s;
}

/// Dot product: a.x*b.x + a.y*b.y + a.z*b.z, summed in that order.
constexpr double operator*(::Vector3 const& a, ::Vector3 const& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

/// Each component times the reciprocal 1.0 / s, which is computed once. A component may therefore differ from the
/// rounded quotient. Division by 0.0 follows IEEE arithmetic.
constexpr ::Vector3 operator/(::Vector3 const& a, double s)
{
    return a * (1.0 / s);
}

/// Exact comparison of the components: 0.0 equals -0.0, and NaN equals nothing.
constexpr bool operator==(::Vector3 const& a, ::Vector3 const& b)
{
    return a.x == b.x && a.y == b.y && a.z == b.z;
}
constexpr bool operator!=(::Vector3 const& a, ::Vector3 const& b)
{
    return !(a == b);
}

/// Right-handed cross product.
constexpr ::Vector3 cross(::Vector3 const& a, ::Vector3 const& b)
{
    return {a.y * b.z - b.y * a.z, a.z * b.x - b.z * a.x, a.x * b.y - b.x * a.y};
}

/// Squared distance between two points, summed in the order x, y, z.
constexpr double distSq(::Vector3 const& a, ::Vector3 const& b)
{
    return (a - b).lengthSq();
}

/// Distance between two points.
inline double dist(::Vector3 const& a, ::Vector3 const& b)
{
    return std::sqrt(distSq(a, b));
}

/// Writes "(x, y, z)" in the number format of the stream, without a newline.
SINEW_API std::ostream& operator<<(std::ostream& out, ::Vector3 const& v);
