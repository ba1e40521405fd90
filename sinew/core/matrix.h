#pragma once

/// The 4x4 homogeneous matrix of doubles through which placements are exchanged with the host, and the host's float
/// matrix that it is made from.
///
/// Points are columns: M * p maps p, A * B applies B first. Elements are stored row by row, the linear block in rows
/// and columns 0 to 2, the translation in column 3, the last row (0, 0, 0, 1). Angles are radians, rotations
/// right-handed. Thresholds are absolute. Nothing throws or allocates; only `print` writes to standard output.

#include <sinew/core/matrix3.h>
#include <sinew/core/vector3.h>

/// The host's matrix: sixteen floats, row by row, translation in column 3. An aggregate that starts as the identity.
class Matrixf
{
public:
    float entries[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};

    /// Element in row i and column j, both in 0..3.
    constexpr float& operator()(int i, int j) { return entries[i][j]; }
    constexpr float const& operator()(int i, int j) const { return entries[i][j]; }
};

class Matrix
{
public:
    /// The identity.
    constexpr Matrix() = default;

    /// Each of the sixteen floats, widened.
    SINEW_API Matrix(Matrixf const& m);

    /// Element in row i and column j, both in 0..3. The sixteen are consecutive from (0, 0) on, row by row.
    constexpr double& operator()(int i, int j) { return entries_[i][j]; }
    constexpr double const& operator()(int i, int j) const { return entries_[i][j]; }

    /// Writes the four rows to standard output and flushes it: "[" before the first row and a blank before the others,
    /// each element with two decimals and a blank after it, "]" at the end of the last row, a newline after every row.
    SINEW_API void print() const;

    /// Frobenius distance: the square root of the summed squared differences of all sixteen elements.
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

    /// This matrix becomes this * `B`, which may be this matrix itself.
    constexpr Matrix& operator*=(Matrix const& B) { return *this = *this * B; }

    constexpr Matrix transpose() const
    {
        Matrix result;
        for (int i = 0; i < 4; ++i) {
            for (int j = 0; j < 4; ++j) result.entries_[i][j] = entries_[j][i];
        }
        return result;
    }

    /// Rows 0 to 2, the translation included, times `s`; the last row becomes (0, 0, 0, 1).
    SINEW_API Matrix scale(double s) const;

    /// The inverse of an affine matrix. The last row is taken for (0, 0, 0, 1) whatever it holds.
    ///
    /// Where the determinant of the linear block is not greater than 1e-13 in magnitude (strict, NaN included), the
    /// result is the identity: unlike `Matrix3::inverse`, which reports a singular matrix by zero.
    Matrix inverse() const;

    /// Whether this is a rotation, proper or not, followed by a translation.
    ///
    /// The last row must be exactly (0, 0, 0, 1). Without its translation and divided, all sixteen elements, by the
    /// length of the first row, the matrix times its transpose may differ from the identity by a `distTo` of 0.0001 at
    /// most. Since element (3, 3) is divided too, a uniform scale must be 1 to within about 0.00005. A NaN distance,
    /// as from a zero first row, does not exceed the bound and gives true.
    SINEW_API bool isRigid() const;

    /// Axis of the rotation in the linear block, each column of which is normalised first; up to sign, and
    /// `getRotationAngle` follows the same sign. The identity, and a block with fewer than two columns that can be
    /// normalised, give (1, 0, 0).
    SINEW_API Vector3 getRotationAxis() const;

    /// Angle of the rotation in the linear block about `axis`, in (-pi, pi], right-handed.
    ///
    /// @param axis  need not have length 1; a null vector takes the null fallback of `UVector3`.
    ///
    /// A uniform scale, measured as the length of the first row, is divided out; a zero first row gives NaN.
    SINEW_API double getRotationAngle(Vector3 axis) const;

    /// The outer product v v^T in the linear block, element (3, 3) = 1, all else 0.
    SINEW_API static Matrix vvt(Vector3 const& v);

    /// The right-handed rotation by `angle` radians about `axis`, of any length.
    ///
    /// The identity when |axis| is below 0.0001 and not below `angle`, a length held against an angle: hosts depend on
    /// it. A short axis with a larger angle is divided by its own length, and a zero axis then gives NaN elements.
    SINEW_API static Matrix rotationMatrix(Vector3 const& axis, double angle);

    /// The rigid motion that carries the point `a0` to `a1` and turns the direction `d0` to `d1` about their common
    /// normal. The directions need not have length 1.
    ///
    /// Parallel directions have no common normal; the null fallback of `UVector3` takes its place, so opposite ones
    /// turn by pi about (0, 0, 1), which does not carry one onto the other unless they are perpendicular to it.
    SINEW_API static Matrix rigidTransform(Vector3 const& a0, Vector3 const& d0, Vector3 const& a1, Vector3 const& d1);

    /// The placement between `A` (w <= 0) and `B` (w >= 1), both rotations with uniform scale and translation.
    ///
    /// The translation goes linearly, the scale geometrically, the rotation about the axis of inverse(A) * B at
    /// constant rate. A NaN `w` goes on and gives NaN; a zero first row gives infinities or NaN through the logarithm.
    SINEW_API static Matrix interpolate(Matrix const& A, Matrix const& B, double w);

private:
    double entries_[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
};

/// The point map: linear block times p, plus the translation. The last row is ignored.
constexpr Vector3 operator*(Matrix const& m, Vector3 const& p)
{
    return {m(0, 0) * p.x + m(0, 1) * p.y + m(0, 2) * p.z + m(0, 3),
            m(1, 0) * p.x + m(1, 1) * p.y + m(1, 2) * p.z + m(1, 3),
            m(2, 0) * p.x + m(2, 1) * p.y + m(2, 2) * p.z + m(2, 3)};
}

/// All sixteen elements times `s`; `Matrix::scale` keeps the last row.
constexpr Matrix operator*(Matrix const& m, double s)
{
    Matrix result;
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) result(i, j) = m(i, j) * s;
    }
    return result;
}
constexpr Matrix operator*(double s, Matrix const& m)
{
    return m * s;
}

constexpr bool operator==(Matrix const& a, Matrix const& b)
{
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) {
            if (!(a(i, j) == b(i, j))) return false;
        }
    }
    return true;
}
constexpr bool operator!=(Matrix const& a, Matrix const& b)
{
    return !(a == b);
}

inline Matrix Matrix::inverse() const
{
    auto const& a = entries_;
    double const det = a[0][0] * (a[1][1] * a[2][2] - a[1][2] * a[2][1]) -
                       a[0][1] * (a[1][0] * a[2][2] - a[1][2] * a[2][0]) +
                       a[0][2] * (a[1][0] * a[2][1] - a[1][1] * a[2][0]);
    Matrix result;
    // Written so that a NaN determinant gives the identity.
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
        // From the cofactors, not from the scaled block: one rounding less in every term.
        result.entries_[i][3] = (-row[0] * a[0][3] + -row[1] * a[1][3] + -row[2] * a[2][3]) * reciprocal;
    }
    return result;
}
