// The rotation of a polar decomposition as the dominant eigenvector of a symmetric 4x4 matrix.
//
// Sources: N. J. Higham, Computing the polar decomposition, with applications, SIAM Journal on Scientific and
// Statistical Computing 1986, for the decomposition and its condition; B. K. P. Horn, Closed-form solution of absolute
// orientation using unit quaternions, Journal of the Optical Society of America A 1987, for the 4x4 matrix; C. G. J.
// Jacobi, Über ein leichtes Verfahren, die in der Theorie der Säkularstörungen vorkommenden Gleichungen numerisch
// aufzulösen, 1846, for its eigenvectors. Newton's iteration of the first source needs the inverse of the matrix; the
// eigenvector exists for singular matrices too.

#include <sinew/skinning/detail/rotation_factor.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include <sinew/core/detail/power_scale.h>

namespace sinew::detail {

namespace {

// The iteration converges quadratically: four or five sweeps are usual.
constexpr int kMostSweeps = 16;
// An element off the diagonal that is not larger leaves the eigenvectors unchanged to rounding. The elements of the
// matrix lie in [-3, 3].
constexpr double kNegligible = 1e-30;
// Eigenvalues within this difference of the largest one count as equal to it, relative to the largest element of the
// 3x3 matrix: below the rounding of ordinary matrices, the axis of the rotation is not determined.
constexpr double kEqualEigenvalues = 1e-12;
// The squared length below which the part of an eigenspace along the identity has no direction.
constexpr double kNoDirectionSq = 1e-20;

// A symmetric matrix and the product of the rotations that have been applied to it. Rows and columns: x, y, z, w.
struct Eigensystem
{
    double a[4][4];
    double vectors[4][4]; // in the columns
};

// For a unit quaternion q, q^T a q is the trace of R(q)^T m.
Eigensystem systemOf(double const (&m)[3][3])
{
    Eigensystem s = {};
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) s.a[i][j] = m[i][j] + m[j][i];
        int const j = (i + 1) % 3;
        int const k = (i + 2) % 3;
        s.a[i][i] = m[i][i] - m[j][j] - m[k][k];
        s.a[i][3] = s.a[3][i] = m[k][j] - m[j][k];
    }
    s.a[3][3] = m[0][0] + m[1][1] + m[2][2];
    for (int i = 0; i < 4; ++i) s.vectors[i][i] = 1.0;
    return s;
}

// The rotation in the plane of p and q that makes a[p][q] zero.
void rotate(Eigensystem& s, int p, int q)
{
    double const theta = (s.a[q][q] - s.a[p][p]) / (2.0 * s.a[p][q]);
    double const t = (theta < 0 ? -1.0 : 1.0) / (std::fabs(theta) + std::sqrt(theta * theta + 1.0));
    double const c = 1.0 / std::sqrt(t * t + 1.0);
    double const sine = t * c;
    for (auto& row : s.a) {
        double const ap = row[p];
        row[p] = c * ap - sine * row[q];
        row[q] = sine * ap + c * row[q];
    }
    for (int k = 0; k < 4; ++k) {
        double const ap = s.a[p][k];
        s.a[p][k] = c * ap - sine * s.a[q][k];
        s.a[q][k] = sine * ap + c * s.a[q][k];
    }
    s.a[p][q] = s.a[q][p] = 0.0; // without its rounding error, which no further sweep would make smaller
    for (auto& row : s.vectors) {
        double const vp = row[p];
        row[p] = c * vp - sine * row[q];
        row[q] = sine * vp + c * row[q];
    }
}

void diagonalize(Eigensystem& s)
{
    for (int sweep = 0; sweep < kMostSweeps; ++sweep) {
        bool isDiagonal = true;
        for (int p = 0; p < 3; ++p) {
            for (int q = p + 1; q < 4; ++q) {
                if (std::fabs(s.a[p][q]) <= kNegligible) continue;
                isDiagonal = false;
                rotate(s, p, q);
            }
        }
        if (isDiagonal) return;
    }
}

Quaternion unit(double const (&v)[4])
{
    double const length = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2] + v[3] * v[3]);
    return {v[0] / length, v[1] / length, v[2] / length, v[3] / length};
}

// The unit vector of the dominant eigenspace that is nearest to the identity (0, 0, 0, 1).
Quaternion dominant(Eigensystem const& s)
{
    int top = 0;
    for (int k = 1; k < 4; ++k) {
        if (s.a[k][k] > s.a[top][top]) top = k;
    }
    double v[4] = {};
    double lengthSq = 0.0;
    bool isUnique = true;
    for (int k = 0; k < 4; ++k) {
        if (!(s.a[k][k] >= s.a[top][top] - kEqualEigenvalues)) continue;
        if (k != top) isUnique = false;
        for (int i = 0; i < 4; ++i) v[i] += s.vectors[3][k] * s.vectors[i][k];
        lengthSq += s.vectors[3][k] * s.vectors[3][k];
    }
    // All vectors of the eigenspace may be half turns; then each of them is as near.
    if (isUnique || lengthSq < kNoDirectionSq) {
        for (int i = 0; i < 4; ++i) v[i] = s.vectors[i][top];
    }
    return unit(v);
}

bool isMirroring(double const (&m)[3][3])
{
    double const determinant = m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
                               m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
                               m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
    double sum = 0.0;
    for (auto const& row : m) sum += row[0] * row[0] + row[1] * row[1] + row[2] * row[2];
    double const meanStretch = std::sqrt(sum / 3.0);
    return determinant < -kMirroringVolume * (meanStretch * meanStretch * meanStretch);
}

} // namespace

Quaternion rotationFactor(Matrix3 const& linear)
{
    double largest = 0.0;
    bool isFinite = true;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            isFinite = isFinite && std::isfinite(linear(i, j));
            largest = std::max(largest, std::fabs(linear(i, j)));
        }
    }
    if (!isFinite) {
        constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
        return {kNaN, kNaN, kNaN, kNaN};
    }
    if (largest == 0.0) return {};
    int exponent = 0;
    std::frexp(largest, &exponent);
    double m[3][3];
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) m[i][j] = timesPowerOfTwo(linear(i, j), -exponent);
    }
    if (isMirroring(m)) {
        for (auto& row : m) {
            for (double& element : row) element = -element;
        }
    }
    Eigensystem s = systemOf(m);
    diagonalize(s);
    return dominant(s);
}

} // namespace sinew::detail
