#pragma once

/// The 4x4 matrix of doubles in which a host and the library exchange placements, and the float matrix of the host,
/// from which it is constructed.
///
/// Nothing throws or allocates; all functions have constant cost. Only `print` writes to standard output.
/// Thresholds are absolute.

#include <sinew/core/matrix3.h>
#include <sinew/core/vector3.h>

/// The float matrix of the host: an aggregate of sixteen floats, stored row by row, with the translation in column 3.
/// The default is the identity. `Matrix` is constructed from it; `sinew::to<Matrixf>` (interop.h) converts back.
class Matrixf
{
public:
    /// Row by row: entries[i][j] is the element in row i and column j.
    float entries[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};

    /// Element in row i and column j, both in 0..3. The indices are not checked.
    constexpr float& operator()(int i, int j) { return entries[i][j]; }
    constexpr float const& operator()(int i, int j) const { return entries[i][j]; }
};

/// A 4x4 homogeneous matrix, stored row by row: sixteen consecutive doubles from element (0, 0) on.
///
/// Points are columns: M * p maps p, and A * B applies B first. The linear block lies in rows and columns 0 to 2,
/// the translation in column 3; the last row of an affine matrix is (0, 0, 0, 1). Angles are in radians,
/// rotations are right-handed.
class Matrix
{
public:
    /// The identity.
    constexpr Matrix() = default;

    /// Each of the sixteen floats as a double, which is exact.
    SINEW_API Matrix(Matrixf const& m);

    /// Element in row i and column j, both in 0..3. The indices are not checked.
    constexpr double& operator()(int i, int j) { return entries_[i][j]; }
    constexpr double const& operator()(int i, int j) const { return entries_[i][j]; }

    /// Writes the four rows to standard output and flushes it. Each row is one line: "[" in the first row and a blank
    /// in the others, then the four elements with two decimals and a blank after each, then "]" in the last row.
    SINEW_API void print() const;

    /// Frobenius distance to `B`: the square root of the sum of the squared differences of all sixteen elements.
    SINEW_API double distTo(Matrix const& B) const;

    /// The row-by-column product: `B` is applied first.
    constexpr Matrix operator*(Matrix const& B) const
    {
        Matrix result;
        for (int i = 0; i < 4; ++i) {
            auto const& a = entries_[i];
            for (int j = 0; j < 4; ++j) {
                result.entries_[i][j] = a[0] * B.entries_[0][j] + a[1] * B.entries_[1][j] + a[2] * B.entries_[2][j] +
                                        a[3] * B.entries_[3][j];
            }
        }
        return result;
    }

    /// Replaces this matrix by this * `B`. `B` may be this matrix.
    constexpr Matrix& operator*=(Matrix const& B) { return *this = *this * B; }

    /// The transpose of all four rows and columns.
    constexpr Matrix transpose() const
    {
        Matrix result;
        for (int i = 0; i < 4; ++i) {
            for (int j = 0; j < 4; ++j) result.entries_[i][j] = entries_[j][i];
        }
        return result;
    }

    /// The matrix with rows 0 to 2 (the translation included) multiplied by `s` and with the last row (0, 0, 0, 1).
    SINEW_API Matrix scale(double s) const;

    /// The inverse of an affine matrix. The last row is not read; that of the result is (0, 0, 0, 1).
    ///
    /// If the determinant of the linear block is 1e-13 or less in magnitude, or NaN, the result is the identity.
    /// `Matrix3::inverse` gives zero instead, for another threshold.
    Matrix inverse() const;

    /// Whether this is a rotation or a reflection, followed by a translation.
    ///
    /// The last row must be exactly (0, 0, 0, 1). Let N be the matrix without its translation, all sixteen
    /// elements divided by the length of the linear part of the first row. The result is true if the `distTo`
    /// between N N^T and the identity is 0.0001 or less. Since element (3, 3) is divided too, a uniform scale
    /// must be 1 to within about 0.00005. A NaN distance, which a zero first row gives, does not exceed the
    /// threshold; the result is then true.
    SINEW_API bool isRigid() const;

    /// The axis of the rotation in the linear block, up to sign. `getRotationAngle` gives the angle about the axis
    /// with that sign. The columns of the block are normalised first, so they may be scaled.
    ///
    /// The result has length 1. It is the normalised cross product of the differences between two columns and
    /// their coordinate axes, for the first of the pairs (0, 1), (1, 2), (2, 0) where it is not null
    /// (`Vector3::isNull`). If there is none, as for the identity or with fewer than two columns that are not
    /// null, the result is (1, 0, 0).
    SINEW_API ::Vector3 getRotationAxis() const;

    /// The angle of the rotation in the linear block about `axis`, in (-pi, pi].
    ///
    /// @param axis  need not have length 1. A null vector stands for the null fallback of `UVector3`.
    ///
    /// The block is first divided by its scale, the length of its first row. A zero first row gives NaN.
    SINEW_API double getRotationAngle(::Vector3 axis) const;

    /// The matrix with the outer product v v^T in the linear block, 1 in element (3, 3) and 0 elsewhere.
    SINEW_API static Matrix vvt(::Vector3 const& v);

    /// The rotation by `angle` radians about `axis`, which need not have length 1.
    ///
    /// The result is the identity if the length of the axis is below 0.0001 (strict) and not below `angle`. This
    /// compares a length with an angle; callers may rely on it. A short axis with a larger angle is divided by its
    /// length like any other axis, so a zero axis with a positive angle gives NaN elements.
    SINEW_API static Matrix rotationMatrix(::Vector3 const& axis, double angle);

    /// The rigid motion that moves the point `a0` to `a1` and turns the direction `d0` into `d1` about their common
    /// normal. The directions need not have length 1.
    ///
    /// If the cross product of the directions is null, the null fallback of `UVector3` stands for the normal.
    /// Opposite directions are then turned by pi about (0, 0, 1), which takes one into the other only if they are
    /// perpendicular to that axis.
    SINEW_API static Matrix rigidTransform(::Vector3 const& a0, ::Vector3 const& d0, ::Vector3 const& a1,
                                           ::Vector3 const& d1);

    /// The placement at parameter `w` between `A` and `B`, each a rotation with a uniform scale and a translation.
    ///
    /// For w <= 0 the result is A, for w >= 1 it is B, unchanged. The translation is interpolated linearly, the scale
    /// geometrically, and the rotation by an angle proportional to w about the axis of inverse(A) * B. A scale is the
    /// length of the first row. A NaN w gives NaN; a zero first row gives infinities or NaN.
    SINEW_API static Matrix interpolate(Matrix const& A, Matrix const& B, double w);

private:
    double entries_[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
};

/// The image of the point p: the linear block times p, plus the translation. The last row is not read.
constexpr ::Vector3 operator*(::Matrix const& m, ::Vector3 const& p)
{
    return {m(0, 0) * p.x + m(0, 1) * p.y + m(0, 2) * p.z + m(0, 3),
            m(1, 0) * p.x + m(1, 1) * p.y + m(1, 2) * p.z + m(1, 3),
            m(2, 0) * p.x + m(2, 1) * p.y + m(2, 2) * p.z + m(2, 3)};
}

/// All sixteen elements times `s`. `Matrix::scale`, in contrast, sets the last row to (0, 0, 0, 1).
constexpr ::Matrix operator*(::Matrix const& m, double s)
{
    ::Matrix result;
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) result(i, j) = m(i, j) * s;
    }
    return result;
}
constexpr ::Matrix operator*(double s, ::Matrix const& m)
{
    return m * s;
}

/// Exact comparison of the elements: 0.0 equals -0.0, and NaN equals nothing.
constexpr bool operator==(::Matrix const& a, ::Matrix const& b)
{
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) {
            if (!(a(i, j) == b(i, j))) return false;
        }
    }
    return true;
}
constexpr bool operator!=(::Matrix const& a, ::Matrix const& b)
{
    return !(a == b);
}

inline auto ::Matrix::inverse() const -> ::Matrix
{
    auto const& a = entries_;
    double const det = a[0][0] * (a[1][1] * a[2][2] - a[1][2] * a[2][1]) -
                       a[0][1] * (a[1][0] * a[2][2] - a[1][2] * a[2][0]) +
                       a[0][2] * (a[1][0] * a[2][1] - a[1][1] * a[2][0]);
    Matrix result;
    // The comparison is false for a NaN determinant, which gives the identity.
    if (!(std::fabs(det) > sinew::kGeometricZero)) return result;

    double const adjugate[3][3] = {{a[1][1] * a[2][2] - a[1][2] * a[2][1], a[0][2] * a[2][1] - a[0][1] * a[2][2],
                                    a[0][1] * a[1][2] - a[0][2] * a[1][1]},
                                   {a[1][2] * a[2][0] - a[1][0] * a[2][2], a[0][0] * a[2][2] - a[0][2] * a[2][0],
                                    a[0][2] * a[1][0] - a[0][0] * a[1][2]},
                                   {a[1][0] * a[2][1] - a[1][1] * a[2][0], a[0][1] * a[2][0] - a[0][0] * a[2][1],
                                    a[0][0] * a[1][1] - a[0][1] * a[1][0]}};
    double const reciprocal = 1.0 / det;
    for (int i = 0; i < 3; ++i) {
        auto const& row = adjugate[i];
        for (int j = 0; j < 3; ++j) result.entries_[i][j] = row[j] * reciprocal;
        // From the cofactors and not from the scaled block, which would round every term once more.
        result.entries_[i][3] = (-row[0] * a[0][3] + -row[1] * a[1][3] + -row[2] * a[2][3]) * reciprocal;
    }
    return result;
}
