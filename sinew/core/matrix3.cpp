// Rotation about an axis: O. Rodrigues, Des lois géométriques qui régissent les déplacements d'un système solide dans
// l'espace, Journal de Mathématiques Pures et Appliquées 5, 1840.

#include <sinew/core/matrix3.h>

#include <sinew/core/detail/axes.h>
#include <sinew/core/detail/math.h>
#include <sinew/core/vector_geometry.h>

using sinew::diagonalMatrix;
using sinew::detail::axisVector;
namespace math = sinew::detail::math;

namespace {

// Limits of `isNearIdentity`, absolute. They allow a rotation of about 0.03 degrees: the off-diagonal limit is that
// angle in radians, and the diagonal may differ from 1 by half its square.
constexpr double kNearOneLow = 0.999999863;
constexpr double kNearOneHigh = 1.000000137;
constexpr double kNearZeroRotation = 0.000523599;

// Squared cross product below which `getRotationAxis` takes the matrix for the identity; absolute. A rotation by
// about 1e-4 radians reaches it. The value is the literal 1e-16 and not kGramZero, which is the next double above.
constexpr double kNoAxis = 1e-16;

} // namespace

void Matrix3::zero()
{
    *this = diagonalMatrix(0.0, 0.0, 0.0);
}

void Matrix3::identity()
{
    *this = Matrix3();
}

void Matrix3::tensor(Vector3 const& a, Vector3 const& b)
{
    *this = Matrix3(a * b.x, a * b.y, a * b.z);
}

bool Matrix3::isNearIdentity() const
{
    for (int i = 0; i < 3; ++i) {
        double const d = entries_[i][i];
        if (!(d >= kNearOneLow && d <= kNearOneHigh)) return false;
    }
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            if (i != j && !(std::fabs(entries_[i][j]) <= kNearZeroRotation)) return false;
        }
    }
    return true;
}

bool Matrix3::isNearZero() const
{
    for (auto const& row : entries_) {
        for (double const e : row) {
            if (!(std::fabs(e) < sinew::kDeterminantZero)) return false;
        }
    }
    return true;
}

Matrix3 Matrix3::rotationMatrix(UVector3 const& axis, double angle)
{
    double const x = axis.x;
    double const y = axis.y;
    double const z = axis.z;
    double const c = math::cos(angle);
    double const s = math::sin(angle);
    double const w = 1 - c;
    return Matrix3(Vector3(x * (w * x) + c, w * x * y + s * z, w * x * z - s * y),
                   Vector3(w * x * y - s * z, y * (w * y) + c, w * y * z + s * x),
                   Vector3(w * x * z + s * y, w * y * z - s * x, z * (w * z) + c));
}

Matrix3 Matrix3::rotationMatrix(UVector3 const& from, UVector3 const& to)
{
    Vector3 normal = cross(from, to);
    double const angle = math::atan2(normal.length(), from * to);
    if (!normal.autoNormalize()) {
        Vector3 unused;
        getBasis(from, normal, unused);
    }
    return rotationMatrix(UVector3(normal), angle);
}

UVector3 Matrix3::getRotationAxis() const
{
    // The rows of (transpose - identity) are perpendicular to the axis, so the cross product of two of them
    // is along it.
    Vector3 rows[3];
    for (int i = 0; i < 3; ++i) rows[i] = column(i) - axisVector(i);

    int longest = 0;
    Vector3 crosses[3];
    double lengthsSq[3];
    for (int i = 0; i < 3; ++i) {
        crosses[i] = cross(rows[i], rows[(i + 1) % 3]);
        lengthsSq[i] = crosses[i].lengthSq();
        if (lengthsSq[i] > lengthsSq[longest]) longest = i;
    }
    if (lengthsSq[longest] >= kNoAxis) return UVector3(crosses[longest]);

    double const r0 = rows[0].lengthSq();
    double const r1 = rows[1].lengthSq();
    double const r2 = rows[2].lengthSq();
    if (r0 > r2 && r1 > r2) return UVector3(column(2));
    return UVector3(column(r0 > r1 ? 1 : 0));
}

double Matrix3::getRotationAngle(UVector3 const* axis) const
{
    Vector3 const a = axis ? *axis : getRotationAxis();
    // The smallest component by signed comparison, not by magnitude: part of the contract.
    int k = a.x > a.y ? 1 : 0;
    if (a.x > a.z && a.y > a.z) k = 2;
    Vector3 const p = cross(a, axisVector(k));
    Vector3 const q = cross(a, column(k));
    return math::atan2(cross(p, q) * a, p * q);
}

Matrix3 Matrix3::getMatrixFromEigs(double const* values, Vector3 const* vectors)
{
    Matrix3 const basis(vectors[0], vectors[1], vectors[2]);
    return basis * diagonalMatrix(values[0], values[1], values[2]) * basis.inverse();
}
