#include <sinew/core/matrix3.h>

#include <algorithm>

#include <sinew/core/eigen_solver.h>
#include <sinew/core/vector_geometry.h>

using sinew::kDeterminantZero;
using sinew::kGramZero;

namespace {

constexpr double kNearOneLow = 0.999999863;
constexpr double kNearOneHigh = 1.000000137;
constexpr double kNearZeroRotation = 0.000523599; // 0.03 degrees in radians

// Below this squared cross product a rotation is the identity to within rounding. Not kGramZero: this one is 1e-16.
constexpr double kNoAxis = 1e-16;

Vector3 axisVector(int i)
{
    return {i == 0 ? 1.0 : 0.0, i == 1 ? 1.0 : 0.0, i == 2 ? 1.0 : 0.0};
}

Matrix3 diagonal(double a, double b, double c)
{
    return Matrix3(Vector3(a, 0.0, 0.0), Vector3(0.0, b, 0.0), Vector3(0.0, 0.0, c));
}

} // namespace

void Matrix3::zero()
{
    *this = diagonal(0.0, 0.0, 0.0);
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
            if (!(std::fabs(e) < kDeterminantZero)) return false;
        }
    }
    return true;
}

Matrix3 Matrix3::rotationMatrix(UVector3 const& axis, double angle)
{
    double const x = axis.x;
    double const y = axis.y;
    double const z = axis.z;
    double const c = std::cos(angle);
    double const s = std::sin(angle);
    double const w = 1 - c;
    return Matrix3(Vector3(x * (w * x) + c, w * x * y + s * z, w * x * z - s * y),
                   Vector3(w * x * y - s * z, y * (w * y) + c, w * y * z + s * x),
                   Vector3(w * x * z + s * y, w * y * z - s * x, z * (w * z) + c));
}

Matrix3 Matrix3::rotationMatrix(UVector3 const& from, UVector3 const& to)
{
    Vector3 normal = cross(from, to);
    double const angle = std::atan2(normal.length(), from * to);
    if (!normal.autoNormalize()) {
        Vector3 unused;
        getBasis(from, normal, unused);
    }
    return rotationMatrix(UVector3(normal), angle);
}

UVector3 Matrix3::getRotationAxis() const
{
    // The rows of (transpose - identity) are all perpendicular to the axis, so crosses of pairs point along it.
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
    // The least component by signed comparison, not by magnitude: part of the contract.
    int k = a.x > a.y ? 1 : 0;
    if (a.x > a.z && a.y > a.z) k = 2;
    Vector3 const p = cross(a, axisVector(k));
    Vector3 const q = cross(a, column(k));
    return std::atan2(cross(p, q) * a, p * q);
}

int Matrix3::getEigensystem(double* values, UVector3* vectors) const
{
    jacobiMethod(*this, values, vectors);
    return 3;
}

Matrix3 Matrix3::getMatrixFromEigs(double const* values, Vector3 const* vectors)
{
    Matrix3 const basis(vectors[0], vectors[1], vectors[2]);
    return basis * diagonal(values[0], values[1], values[2]) * basis.inverse();
}

namespace {

// Null space of a matrix whose columns are all parallel: the plane perpendicular to its common row direction.
int nullspaceOfRankOne(Vector3 const (&columns)[3], UVector3* out)
{
    Vector3 longest = columns[0];
    for (int j = 1; j < 3; ++j) {
        if (columns[j].lengthSq() > longest.lengthSq()) longest = columns[j];
    }
    UVector3 const u(longest);
    UVector3 const w(Vector3(u * columns[0], u * columns[1], u * columns[2]));
    getBasis(w, out[0], out[1]);
    return 2;
}

} // namespace

int Matrix3::getNullspace(UVector3* out, bool force) const
{
    if (std::fabs(determinant()) > kDeterminantZero && !force) return 0;
    if (isNearZero()) {
        for (int i = 0; i < 3; ++i) out[i] = UVector3(axisVector(i));
        return 3;
    }
    Vector3 const columns[3] = {column(0), column(1), column(2)};
    double const area01 = cross(columns[0], columns[1]).lengthSq();
    double const area02 = cross(columns[0], columns[2]).lengthSq();
    double const area12 = cross(columns[1], columns[2]).lengthSq();
    if (std::max({area01, area02, area12}) < kGramZero) return nullspaceOfRankOne(columns, out);

    // Coordinates of all columns in the best-conditioned pair of them; their rows span the row space.
    Vector3 basis[2];
    if (area12 >= area01 && area12 >= area02) {
        basis[0] = UVector3(columns[2]);
        basis[1] = UVector3(columns[1]);
    } else {
        basis[0] = UVector3(columns[0]);
        basis[1] = UVector3(area02 >= area01 ? columns[2] : columns[1]);
    }
    Vector3 alpha;
    Vector3 beta;
    for (int j = 0; j < 3; ++j) {
        Vector3 coordinates;
        columns[j].pullBack(basis, &coordinates);
        alpha[j] = coordinates.x;
        beta[j] = coordinates.y;
    }
    Vector3 const normal = cross(alpha, beta);
    if (!normal.isNull()) {
        out[0] = UVector3(normal);
        return 1;
    }
    getBasis(alpha.lengthSq() > beta.lengthSq() ? alpha : beta, out[0], out[1]);
    return 2;
}
