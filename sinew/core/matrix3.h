#pragma once

/// The 3x3 matrix of doubles and its arithmetic. Use it for the linear part of a transform, a rotation, an outer
/// product, a covariance matrix or a Hessian.
///
/// No operation throws, prints or allocates; each has constant cost. Thresholds are absolute.

#include <sinew/core/tolerances.h>
#include <sinew/core/vector3.h>

class Matrix;

/// A 3x3 matrix, stored row by row: nine consecutive doubles from element (0, 0) on.
///
/// Vectors are columns: M * v maps v, and A * B applies B first. Angles are in radians, rotations are right-handed. A
/// singular matrix is reported by a special result, as each function states.
class Matrix3
{
public:
    /// The identity.
    constexpr Matrix3() = default;

    /// The matrix whose columns are a, b and c.
    constexpr Matrix3(::Vector3 const& a, ::Vector3 const& b, ::Vector3 const& c)
        : entries_{{a.x, b.x, c.x}, {a.y, b.y, c.y}, {a.z, b.z, c.z}}
    {
    }

    /// The upper-left 3x3 block of a 4x4 matrix.
    SINEW_API Matrix3(::Matrix const& m);

    /// Element in row i and column j, both in 0..2. The indices are not checked.
    constexpr double& operator()(int i, int j) { return entries_[i][j]; }
    constexpr double const& operator()(int i, int j) const { return entries_[i][j]; }

    /// Column j, the image of axis j.
    constexpr ::Vector3 column(int j) const { return {entries_[0][j], entries_[1][j], entries_[2][j]}; }

    /// Sets all nine elements to 0.0.
    SINEW_API void zero();

    /// Sets this to the identity.
    SINEW_API void identity();

    /// Sets this to the outer product a b^T: element (i, j) becomes a[i] * b[j].
    SINEW_API void tensor(::Vector3 const& a, ::Vector3 const& b);

    /// Whether each diagonal element lies in [0.999999863, 1.000000137] and each other element in [-0.000523599,
    /// 0.000523599], which is 0.03 degrees in radians. NaN gives false.
    SINEW_API bool isNearIdentity() const;

    /// Whether every element is below 1e-08 in magnitude (strict). NaN gives false.
    SINEW_API bool isNearZero() const;

    /// The transpose: rows become columns.
    constexpr Matrix3 transpose() const
    {
        Matrix3 result;
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) result.entries_[i][j] = entries_[j][i];
        }
        return result;
    }

    /// The determinant, expanded along the first row.
    constexpr double determinant() const
    {
        auto const& a = entries_;
        return a[0][0] * (a[1][1] * a[2][2] - a[1][2] * a[2][1]) - a[0][1] * (a[2][2] * a[1][0] - a[1][2] * a[2][0]) +
               a[0][2] * (a[2][1] * a[1][0] - a[1][1] * a[2][0]);
    }

    /// The inverse, or the zero matrix if the magnitude of the determinant is below 1e-08 (strict). Nothing else
    /// reports a singular matrix.
    ///
    /// A NaN element gives NaN elements. The threshold is absolute, so a regular matrix of small elements, such as a
    /// uniform scale below about 0.002, counts as singular; scale such input first.
    Matrix3 inverse() const;

    /// The rotation by `angle` radians about `axis`. The length of the axis must be 1; it is not checked.
    ///
    /// Source: O. Rodrigues, Des lois géométriques qui régissent les déplacements d'un système solide, 1840.
    SINEW_API static Matrix3 rotationMatrix(UVector3 const& axis, double angle);

    /// The rotation about the common normal of `from` and `to` that turns `from` into `to`. If the cross product of
    /// the two is null (`Vector3::isNull`), equal directions give the identity and opposite directions a half turn
    /// about the first vector of `getBasis(from)`.
    SINEW_API static Matrix3 rotationMatrix(UVector3 const& from, UVector3 const& to);

    /// The axis of a rotation matrix, up to sign. `getRotationAngle` gives the angle about the axis with that sign.
    ///
    /// A matrix that equals the identity up to rounding gives one of its own columns, the identity itself (1, 0, 0).
    /// The criterion is that the largest squared cross product of two columns of (matrix - identity) is below 1e-16
    /// (strict). The matrix must be a rotation; this is not checked.
    SINEW_API UVector3 getRotationAxis() const;

    /// The angle of a rotation matrix about `axis`, in (-pi, pi].
    ///
    /// @param axis  the axis, of length 1. Null stands for `getRotationAxis()`.
    ///
    /// The matrix must be a rotation; this is not checked.
    SINEW_API double getRotationAngle(UVector3 const* axis = nullptr) const;

    /// Eigenvalues in ascending order and unit eigenvectors of the symmetric part of this matrix: the results
    /// of `jacobiMethod` (eigen_solver.h).
    ///
    /// @param values   receives three eigenvalues; may be null.
    /// @param vectors  receives the three eigenvectors in the same order; may be null.
    /// @return always 3. To learn whether the iteration converged, call `jacobiMethod`.
    SINEW_API int getEigensystem(double* values, UVector3* vectors) const;

    /// The matrix with the given eigenvalues and eigenvectors: P D P^-1, where the vectors are the columns of P and
    /// the values the diagonal of D.
    ///
    /// @param values   three eigenvalues. Must not be null.
    /// @param vectors  three eigenvectors. Must not be null. They need not have length 1 or be perpendicular. If the
    ///                 magnitude of det P is below 1e-08 (strict), the result is the zero matrix.
    SINEW_API static Matrix3 getMatrixFromEigs(double const* values, ::Vector3 const* vectors);

    /// Unit vectors that span the numerical null space.
    ///
    /// @param out    array for three vectors. Must not be null. Only as many are written as the function returns.
    /// @param force  if false, a matrix whose determinant exceeds 1e-08 in magnitude (strict) has no null space. If
    ///               true, such a matrix is treated like a singular one: its columns are projected on the plane of
    ///               two of them, and the result is the null space of that matrix.
    /// @return the number of vectors, 0 to 3.
    ///
    /// If all elements are below 1e-08 in magnitude (strict), the vectors are the three coordinate axes. If the
    /// squared cross products of all pairs of columns are below 1.0000000000000001e-16 (strict), there are two
    /// vectors. The signs of the vectors are not normalised. A NaN element gives one or two vectors of NaN.
    SINEW_API int getNullspace(UVector3* out, bool force) const;

private:
    double entries_[3][3] = {{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}};
};

/// The image of the column vector v: component i is the dot product of row i with v.
constexpr ::Vector3 operator*(::Matrix3 const& m, ::Vector3 const& v)
{
    return {m(0, 0) * v.x + m(0, 1) * v.y + m(0, 2) * v.z, m(1, 0) * v.x + m(1, 1) * v.y + m(1, 2) * v.z,
            m(2, 0) * v.x + m(2, 1) * v.y + m(2, 2) * v.z};
}

/// The matrix product: `b` is applied first.
constexpr ::Matrix3 operator*(::Matrix3 const& a, ::Matrix3 const& b)
{
    return ::Matrix3(a * b.column(0), a * b.column(1), a * b.column(2));
}

/// Every element times `s`.
constexpr ::Matrix3 operator*(::Matrix3 const& m, double s)
{
    return ::Matrix3(m.column(0) * s, m.column(1) * s, m.column(2) * s);
}
constexpr ::Matrix3 operator*(double s, ::Matrix3 const& m)
{
    return m * s;
}

/// Element by element.
constexpr ::Matrix3 operator+(::Matrix3 const& a, ::Matrix3 const& b)
{
    return ::Matrix3(a.column(0) + b.column(0), a.column(1) + b.column(1), a.column(2) + b.column(2));
}

constexpr ::Matrix3 operator-(::Matrix3 const& a, ::Matrix3 const& b)
{
    return ::Matrix3(a.column(0) - b.column(0), a.column(1) - b.column(1), a.column(2) - b.column(2));
}

constexpr ::Matrix3 operator-(::Matrix3 const& a)
{
    return ::Matrix3(-a.column(0), -a.column(1), -a.column(2));
}

/// Exact comparison of the elements: 0.0 equals -0.0, and NaN equals nothing.
constexpr bool operator==(::Matrix3 const& a, ::Matrix3 const& b)
{
    return a.column(0) == b.column(0) && a.column(1) == b.column(1) && a.column(2) == b.column(2);
}
constexpr bool operator!=(::Matrix3 const& a, ::Matrix3 const& b)
{
    return !(a == b);
}

namespace sinew {

/// The matrix with a, b and c on its diagonal and 0.0 elsewhere: the scaling by these factors along the axes.
constexpr ::Matrix3 diagonalMatrix(double a, double b, double c)
{
    return ::Matrix3(::Vector3(a, 0.0, 0.0), ::Vector3(0.0, b, 0.0), ::Vector3(0.0, 0.0, c));
}

} // namespace sinew

inline auto ::Matrix3::inverse() const -> ::Matrix3
{
    auto const& a = entries_;
    double const det = determinant();
    // The comparison is false for a NaN determinant, so that the result becomes NaN and not zero.
    if (std::fabs(det) < sinew::kDeterminantZero) return Matrix3(::Vector3(), ::Vector3(), ::Vector3());
    Matrix3 const adjugate(::Vector3(a[1][1] * a[2][2] - a[1][2] * a[2][1], a[1][2] * a[2][0] - a[1][0] * a[2][2],
                                     a[1][0] * a[2][1] - a[1][1] * a[2][0]),
                           ::Vector3(a[0][2] * a[2][1] - a[0][1] * a[2][2], a[0][0] * a[2][2] - a[0][2] * a[2][0],
                                     a[0][1] * a[2][0] - a[0][0] * a[2][1]),
                           ::Vector3(a[0][1] * a[1][2] - a[0][2] * a[1][1], a[0][2] * a[1][0] - a[0][0] * a[1][2],
                                     a[0][0] * a[1][1] - a[0][1] * a[1][0]));
    return adjugate * (1.0 / det);
}
