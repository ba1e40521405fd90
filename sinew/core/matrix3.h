#pragma once

/// The 3x3 matrix of doubles: linear parts of transforms, rotations, outer products, covariances, Hessians.
///
/// Vectors are columns: M * v maps v, A * B applies B first. Elements are stored row by row. Thresholds are absolute.
/// No operation throws, prints or allocates; singularity is reported in-band, as each operation says.

#include <sinew/core/tolerances.h>
#include <sinew/core/vector3.h>

class Matrix;

class Matrix3
{
public:
    /// The identity.
    constexpr Matrix3() = default;

    /// The matrix whose columns are a, b and c.
    constexpr Matrix3(Vector3 const& a, Vector3 const& b, Vector3 const& c)
        : entries_{{a.x, b.x, c.x}, {a.y, b.y, c.y}, {a.z, b.z, c.z}}
    {
    }

    /// The upper-left 3x3 block of a 4x4 matrix.
    SINEW_API Matrix3(Matrix const& m);

    /// Element in row i and column j, both in 0..2.
    constexpr double& operator()(int i, int j) { return entries_[i][j]; }
    constexpr double const& operator()(int i, int j) const { return entries_[i][j]; }

    /// Column j as a vector.
    constexpr Vector3 column(int j) const { return {entries_[0][j], entries_[1][j], entries_[2][j]}; }

    /// Sets all nine elements to 0.0.
    SINEW_API void zero();

    /// Sets this to the identity.
    SINEW_API void identity();

    /// Sets this to the outer product a b^T: element (i, j) is a_i * b_j.
    SINEW_API void tensor(Vector3 const& a, Vector3 const& b);

    /// Whether each diagonal element lies in [0.999999863, 1.000000137] and each other one within 0.000523599 of zero
    /// (0.03 degrees), bounds included. NaN gives false.
    SINEW_API bool isNearIdentity() const;

    /// Whether every element is below 1e-08 in magnitude (strict). NaN gives false.
    SINEW_API bool isNearZero() const;

    constexpr Matrix3 transpose() const
    {
        Matrix3 result;
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) result.entries_[i][j] = entries_[j][i];
        }
        return result;
    }

    /// Determinant, expanded along the first row.
    constexpr double determinant() const
    {
        auto const& a = entries_;
        return a[0][0] * (a[1][1] * a[2][2] - a[1][2] * a[2][1]) - a[0][1] * (a[2][2] * a[1][0] - a[1][2] * a[2][0]) +
               a[0][2] * (a[2][1] * a[1][0] - a[1][1] * a[2][0]);
    }

    /// The inverse, or the zero matrix when |determinant| is below 1e-08 (strict): the only sign of a singular matrix.
    ///
    /// A NaN determinant does not count as small. The threshold is absolute, so a regular matrix of small elements
    /// (a uniform scale below about 0.002) counts as singular; scale such input first.
    Matrix3 inverse() const;

    /// The right-handed rotation by `angle` radians about `axis`, which is trusted to have length 1.
    SINEW_API static Matrix3 rotationMatrix(UVector3 const& axis, double angle);

    /// The rotation that turns `from` onto `to` about their common normal. Equal directions give the identity, opposite
    /// ones a half turn about the first vector of `getBasis(from)`.
    SINEW_API static Matrix3 rotationMatrix(UVector3 const& from, UVector3 const& to);

    /// Axis of a rotation matrix, up to sign; `getRotationAngle` follows the same sign.
    ///
    /// A matrix within rounding of the identity gives one of its own columns ((1, 0, 0) for the identity itself).
    /// The matrix is trusted to be a rotation.
    SINEW_API UVector3 getRotationAxis() const;

    /// Angle of a rotation matrix about `axis`, in (-pi, pi], right-handed.
    ///
    /// @param axis  unit axis to measure about; null measures about `getRotationAxis()`.
    SINEW_API double getRotationAngle(UVector3 const* axis = nullptr) const;

    /// Eigenvalues in ascending order and unit eigenvectors of the symmetric part of this matrix.
    ///
    /// @param values   receives three eigenvalues; may be null.
    /// @param vectors  receives the three eigenvectors in the same order; may be null.
    /// @return 3, whatever the convergence; `jacobiMethod` tells it.
    SINEW_API int getEigensystem(double* values, UVector3* vectors) const;

    /// The matrix with the given eigenvalues and eigenvectors, P D P^-1 with the vectors as columns of P.
    ///
    /// The vectors need not be perpendicular or unit. |det P| below 1e-08 gives the zero matrix.
    SINEW_API static Matrix3 getMatrixFromEigs(double const* values, Vector3 const* vectors);

    /// Unit vectors that span the numerical null space, and their number 0 to 3.
    ///
    /// @param out    room for three vectors; only as many as the result counts are written.
    /// @param force  goes on although |determinant| exceeds 1e-08, to find the least-determined direction.
    ///
    /// All elements below 1e-08 give 3 and the coordinate axes. Signs are whatever the computation yields.
    SINEW_API int getNullspace(UVector3* out, bool force) const;

private:
    double entries_[3][3] = {{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}};
};

/// The linear map of a column vector: component i is the dot product of row i with v.
constexpr Vector3 operator*(Matrix3 const& m, Vector3 const& v)
{
    return {m(0, 0) * v.x + m(0, 1) * v.y + m(0, 2) * v.z, m(1, 0) * v.x + m(1, 1) * v.y + m(1, 2) * v.z,
            m(2, 0) * v.x + m(2, 1) * v.y + m(2, 2) * v.z};
}

constexpr Matrix3 operator*(Matrix3 const& a, Matrix3 const& b)
{
    return Matrix3(a * b.column(0), a * b.column(1), a * b.column(2));
}

constexpr Matrix3 operator*(Matrix3 const& m, double s)
{
    return Matrix3(m.column(0) * s, m.column(1) * s, m.column(2) * s);
}
constexpr Matrix3 operator*(double s, Matrix3 const& m)
{
    return m * s;
}

constexpr Matrix3 operator+(Matrix3 const& a, Matrix3 const& b)
{
    return Matrix3(a.column(0) + b.column(0), a.column(1) + b.column(1), a.column(2) + b.column(2));
}

constexpr Matrix3 operator-(Matrix3 const& a, Matrix3 const& b)
{
    return Matrix3(a.column(0) - b.column(0), a.column(1) - b.column(1), a.column(2) - b.column(2));
}

constexpr Matrix3 operator-(Matrix3 const& a)
{
    return Matrix3(-a.column(0), -a.column(1), -a.column(2));
}

constexpr bool operator==(Matrix3 const& a, Matrix3 const& b)
{
    return a.column(0) == b.column(0) && a.column(1) == b.column(1) && a.column(2) == b.column(2);
}
constexpr bool operator!=(Matrix3 const& a, Matrix3 const& b)
{
    return !(a == b);
}

inline Matrix3 Matrix3::inverse() const
{
    auto const& a = entries_;
    double const det = determinant();
    // Strict, and written so that NaN goes on.
    if (std::fabs(det) < sinew::kDeterminantZero) return Matrix3(Vector3(), Vector3(), Vector3());
    Matrix3 const adjugate(Vector3(a[1][1] * a[2][2] - a[1][2] * a[2][1], a[1][2] * a[2][0] - a[1][0] * a[2][2],
                                   a[1][0] * a[2][1] - a[1][1] * a[2][0]),
                           Vector3(a[0][2] * a[2][1] - a[0][1] * a[2][2], a[0][0] * a[2][2] - a[0][2] * a[2][0],
                                   a[0][1] * a[2][0] - a[0][0] * a[2][1]),
                           Vector3(a[0][1] * a[1][2] - a[0][2] * a[1][1], a[0][2] * a[1][0] - a[0][0] * a[1][2],
                                   a[0][0] * a[1][1] - a[0][1] * a[1][0]));
    return adjugate * (1.0 / det);
}
