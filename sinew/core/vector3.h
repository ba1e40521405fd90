#pragma once

/// The 3D vector of doubles that everything else is built on, and its unit-length companion.
///
/// `Vector3` is a plain value: three doubles, no virtual functions, no heap. Vectors of them are consecutive triples.
/// Arithmetic follows IEEE double precision in the order written here; nothing throws, nothing is checked.
/// Coordinates are in whatever unit the host uses.

#include <cmath>
#include <iosfwd>

#include <sinew/core/tolerances.h>
#include <sinew/export.h>

class UVector3;

class Vector3
{
public:
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;

    /// The zero vector.
    constexpr Vector3() = default;
    constexpr Vector3(double x_, double y_, double z_) : x(x_), y(y_), z(z_) {}

    /// Component 0, 1 or 2. Any other index gives z.
    constexpr double& operator[](int i) { return i == 0 ? x : (i == 1 ? y : z); }
    constexpr double const& operator[](int i) const { return i == 0 ? x : (i == 1 ? y : z); }

    /// Squared Euclidean length, x*x + y*y + z*z in that order. Overflows beyond about 1e154.
    constexpr double lengthSq() const { return x * x + y * y + z * z; }

    /// Euclidean length, the square root of lengthSq().
    double length() const { return std::sqrt(lengthSq()); }

    /// True exactly when lengthSq() is below 1e-26 (strict): a length under 1e-13. A NaN component gives false.
    constexpr bool isNull() const { return lengthSq() < sinew::kNullLengthSq; }

    /// Scales the vector to length 1 and returns true. A null vector (`isNull`) stays as it is and gives false.
    ///
    /// The reciprocal of the length is formed once and multiplied into each component.
    bool autoNormalize()
    {
        if (isNull()) return false;
        *this *= 1.0 / length();
        return true;
    }

    /// The unit vector of this direction; a null vector gives the null fallback of `UVector3`.
    UVector3 normalize() const;

    /// Whether the angle to `other`, or to its opposite, has a cosine of magnitude above `tol` (strict).
    ///
    /// @param tol  cosine of the largest angle still counted as parallel. It is squared before use, also when it is
    ///             NaN (the answer is then false). Negative selects the default of 0.03 degrees; that default,
    ///             0.9999997258, already is a squared cosine and is used as it stands.
    ///
    /// False when either vector is null, so a null vector is not even parallel to itself, and false when a component
    /// is NaN. With tol = 1 even equal directions give false, because the comparison is strict.
    constexpr bool isParallel(Vector3 const& other, double tol) const
    {
        if (isNull() || other.isNull()) return false;
        double const d = dot(other);
        return d * d > lengthSq() * other.lengthSq() * cosineSqFactor(tol, sinew::kParallelCosineSq);
    }

    /// `isParallel` within 5 degrees.
    constexpr bool isAlmostParallel(Vector3 const& other) const
    {
        return isParallel(other, sinew::kAlmostParallelCosine);
    }

    /// Whether the cosine of the angle to `other` has a magnitude below `tol` (strict).
    ///
    /// @param tol  cosine of the smallest angle still counted as perpendicular, squared before use (also when NaN).
    ///             Negative selects the default of 0.03 degrees, a squared cosine of 2.7415591280100005e-07.
    ///
    /// False when either vector is null and when a component is NaN; always false with tol = 0.
    constexpr bool isNormal(Vector3 const& other, double tol) const
    {
        if (isNull() || other.isNull()) return false;
        double const d = dot(other);
        return lengthSq() * other.lengthSq() * cosineSqFactor(tol, sinew::kNormalCosineSq) > d * d;
    }

    /// `isNormal` within 5 degrees.
    constexpr bool isAlmostNormal(Vector3 const& other) const { return isNormal(other, sinew::kAlmostNormalCosine); }

    /// Least-squares coordinates of this vector in the basis of two vectors: the pair (alpha, beta) that minimises
    /// |this - (alpha * basis[0] + beta * basis[1])|.
    ///
    /// @param basis   two consecutive vectors, not null. They need not be unit length or perpendicular.
    /// @param coeffs  receives (alpha, beta, 0.0); may be null. Left untouched when the result is false.
    ///
    /// Where the basis vectors are parallel, or one of them is tiny, this vector is projected on the longer of the two
    /// alone (on the first if equally long) and the other coefficient is 0. The result is false only when the sum of
    /// the squared basis lengths is below 1.0000000000000001e-16, or the longer one's share of it is. NaN input passes
    /// every test and gives NaN coefficients.
    SINEW_API bool pullBack(Vector3 const* basis, Vector3* coeffs) const;

    /// Whether this point lies strictly inside the triangle a, b, c, seen along the triangle's normal.
    ///
    /// Each barycentric coordinate must lie inside its range by more than 1e-13, so points on an edge or at a vertex
    /// are outside. A point off the triangle's plane is judged by its foot on the plane. A triangle whose edges from
    /// `a` are parallel is judged by `pullBack`'s projection on the longer edge, which gives a second coordinate of 0:
    /// outside. NaN input gives false.
    SINEW_API bool isInTriangle(Vector3 const& a, Vector3 const& b, Vector3 const& c) const;

    /// This point mirrored in the line through `a` and `b`, as the rule (b - a) * s + a - (p - a) has it, where s is
    /// the length of p - a along the unit direction of the line.
    ///
    /// It is the true mirror image only when |b - a| = 2: s is measured along the unit direction but applied along
    /// b - a. Hosts depend on this rule. Equal points take the null fallback of `UVector3` for the direction.
    SINEW_API Vector3 reflect(Vector3 const& a, Vector3 const& b) const;

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

    // A caller's tolerance is a cosine and gets squared; the default already is a squared cosine. `tol < 0` sends NaN
    // to the square, where every comparison then fails.
    static constexpr double cosineSqFactor(double tol, double defaultCosineSq)
    {
        return tol < 0 ? defaultCosineSq : tol * tol;
    }
};

/// A direction: a `Vector3` that was brought to length 1 when it was constructed.
///
/// Null fallback: from a null vector (length under 1e-13) x and y stay as given and z becomes 1.0, so a zero vector
/// gives (0, 0, 1) and (1e-14, 0, 0) gives (1e-14, 0, 1). No error is reported. A NaN or infinite component gives NaN
/// components. Changes made later through the `Vector3` interface are not normalised again.
class UVector3 : public Vector3
{
public:
    /// The null fallback, (0, 0, 1).
    constexpr UVector3() : Vector3(0.0, 0.0, 1.0) {}
    UVector3(Vector3 const& v) : Vector3(v)
    {
        if (!autoNormalize()) z = 1.0;
    }
    UVector3(double x_, double y_, double z_) : UVector3(Vector3(x_, y_, z_)) {}
};

inline UVector3 Vector3::normalize() const
{
    return UVector3(*this);
}

constexpr Vector3 operator+(Vector3 const& a, Vector3 const& b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
constexpr Vector3 operator-(Vector3 const& a, Vector3 const& b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
constexpr Vector3 operator-(Vector3 const& a)
{
    return {-a.x, -a.y, -a.z};
}
constexpr Vector3 operator*(Vector3 const& a, double s)
{
    return {a.x * s, a.y * s, a.z * s};
}
constexpr Vector3 operator*(double s, Vector3 const& a)
{
    return a * s;
}

/// Dot product, summed x, y, z.
constexpr double operator*(Vector3 const& a, Vector3 const& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

/// Each component times the one reciprocal 1.0 / s, which is not always the nearest double to the quotient.
/// Division by 0.0 follows IEEE arithmetic.
constexpr Vector3 operator/(Vector3 const& a, double s)
{
    return a * (1.0 / s);
}

constexpr bool operator==(Vector3 const& a, Vector3 const& b)
{
    return a.x == b.x && a.y == b.y && a.z == b.z;
}
constexpr bool operator!=(Vector3 const& a, Vector3 const& b)
{
    return !(a == b);
}

/// Right-handed cross product.
constexpr Vector3 cross(Vector3 const& a, Vector3 const& b)
{
    return {a.y * b.z - b.y * a.z, a.z * b.x - b.z * a.x, a.x * b.y - b.x * a.y};
}

/// Squared distance of two points, summed x, y, z.
constexpr double distSq(Vector3 const& a, Vector3 const& b)
{
    return (a - b).lengthSq();
}

/// Distance of two points.
inline double dist(Vector3 const& a, Vector3 const& b)
{
    return std::sqrt(distSq(a, b));
}

/// Writes "(x, y, z)" with the stream's number formatting and no newline.
SINEW_API std::ostream& operator<<(std::ostream& out, Vector3 const& v);
