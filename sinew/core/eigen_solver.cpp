// C. G. J. Jacobi, Über ein leichtes Verfahren, die in der Theorie der Säcularstörungen vorkommenden Gleichungen
// numerisch aufzulösen, Journal für die reine und angewandte Mathematik 30, 1846. W. H. Press et al., Numerical
// Recipes, section 11.1, for the formulas of one rotation. They use tau = s / (1 + c) after H. Rutishauser, The
// Jacobi Method for Real Symmetric Matrices, Numerische Mathematik 9, 1966.

#include <sinew/core/eigen_solver.h>

#include <tuple>
#include <utility>

#include <sinew/core/tolerances.h>

namespace {

constexpr int kMaxRotations = 51;

// Sum of the off-diagonal magnitudes up to which a matrix counts as diagonal; absolute, in the unit of the elements.
constexpr double kConverged = 1e-08;

// Magnitude of theta, the cotangent of twice the rotation angle, beyond which the tangent is computed as 1 / (2
// theta), that is apq / d. It has no unit. Both formulas agree there up to rounding, and theta^2 could overflow.
constexpr double kSteepAngle = 1e13;

// The rotation that annihilates the element `apq`, where d is a_qq - a_pp. False, with nothing written, if both are
// too small to rotate.
bool planeRotation(double d, double apq, double& c, double& s, double& t, double& tau)
{
    double const doubled = 2 * apq;
    if (std::fabs(d) < sinew::kGeometricZero && std::fabs(doubled) < sinew::kGeometricZero) return false;
    double const theta = d / doubled;
    if (std::fabs(theta) > kSteepAngle) {
        t = apq / d;
    } else {
        double const sign = theta > 0 ? 1.0 : -1.0;
        t = sign / (std::fabs(theta) + std::sqrt(theta * theta + 1));
    }
    c = 1 / std::sqrt(t * t + 1);
    s = t * c;
    tau = s / (1 + c);
    return true;
}

// Rotates w and the accumulated vectors v in the plane (p, q); r is the remaining index. The indices are
// template arguments so that w and v stay in registers: indices known only at run time would force every
// element through memory.
template <int p, int q, int r>
bool rotate(Matrix3& w, Matrix3& v)
{
    static_assert(q < p && p + q + r == 3);
    double c = 0.0;
    double s = 0.0;
    double t = 0.0;
    double tau = 0.0;
    double const wpq = w(p, q);
    if (!planeRotation(w(q, q) - w(p, p), wpq, c, s, t, tau)) return false;

    w(p, p) -= t * wpq;
    w(q, q) += t * wpq;
    w(p, q) = w(q, p) = 0.0;
    double const wrp = w(r, p);
    double const wrq = w(r, q);
    w(r, p) = w(p, r) = wrp - s * (wrq + tau * wrp);
    w(r, q) = w(q, r) = wrq + s * (wrp - tau * wrq);
    for (int i = 0; i < 3; ++i) {
        double const vip = v(i, p);
        double const viq = v(i, q);
        v(i, p) = c * vip - s * viq;
        v(i, q) = s * vip + c * viq;
    }
    return true;
}

// Row and column of the largest element of the strict lower triangle. A later element replaces the choice if it is at
// least as large; every comparison with NaN is false, so a later NaN does not.
std::pair<int, int> largestOffDiagonal(Matrix3 const& m)
{
    std::pair<int, int> plane(1, 0);
    double largest = std::fabs(m(1, 0));
    if (std::fabs(m(2, 0)) >= largest) {
        plane = {2, 0};
        largest = std::fabs(m(2, 0));
    }
    if (std::fabs(m(2, 1)) >= largest) plane = {2, 1};
    return plane;
}

bool rotateLargest(Matrix3& w, Matrix3& v)
{
    auto const [p, q] = largestOffDiagonal(w);
    if (p == 1) return rotate<1, 0, 2>(w, v);
    return q == 0 ? rotate<2, 0, 1>(w, v) : rotate<2, 1, 0>(w, v);
}

// Rotates until w counts as diagonal. False if kMaxRotations did not suffice.
bool diagonalise(Matrix3& w, Matrix3& v)
{
    for (int rotations = 0; rotations < kMaxRotations; ++rotations) {
        if (!rotateLargest(w, v)) return true;
        double const rest = std::fabs(w(1, 0)) + std::fabs(w(2, 0)) + std::fabs(w(2, 1));
        if (!(rest > kConverged)) return true; // true for a NaN sum, which further rotations would not change
    }
    return false;
}

} // namespace

bool jacobiRotation(Matrix3 const& A, int& p, int& q, double& c, double& s, double& t, double& tau)
{
    std::tie(p, q) = largestOffDiagonal(A);
    return planeRotation(A(q, q) - A(p, p), A(p, q), c, s, t, tau);
}

bool jacobiMethod(Matrix3 const& A, double* values, UVector3* vectors)
{
    Matrix3 v;
    Matrix3 w;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j <= i; ++j) w(i, j) = w(j, i) = (A(i, j) + A(j, i)) * 0.5;
    }
    bool const converged = diagonalise(w, v);

    double eigenvalues[3] = {w(0, 0), w(1, 1), w(2, 2)};
    Vector3 columns[3] = {v.column(0), v.column(1), v.column(2)};
    for (int pass = 0; pass < 3; ++pass) {
        for (int k = 0; k < 2; ++k) {
            if (eigenvalues[k] > eigenvalues[k + 1]) {
                std::swap(eigenvalues[k], eigenvalues[k + 1]);
                std::swap(columns[k], columns[k + 1]);
            }
        }
    }
    for (int k = 0; k < 3; ++k) {
        if (values) values[k] = eigenvalues[k];
        if (vectors) vectors[k] = UVector3(columns[k]);
    }
    return converged;
}

// The members of `Matrix3` that decompose and reassemble. They are defined here and not in matrix3.cpp, so that
// `Matrix3` does not depend on the solver.

int Matrix3::getEigensystem(double* values, UVector3* vectors) const
{
    jacobiMethod(*this, values, vectors);
    return 3;
}

Matrix3 Matrix3::getMatrixFromEigs(double const* values, Vector3 const* vectors)
{
    Matrix3 const basis(vectors[0], vectors[1], vectors[2]);
    return basis * sinew::diagonalMatrix(values[0], values[1], values[2]) * basis.inverse();
}
