#include <sinew/core/eigen_solver.h>

#include <utility>

#include <sinew/core/tolerances.h>

namespace {

constexpr int kMaxRotations = 51;
constexpr double kConverged = 1e-08; // sum of off-diagonal magnitudes
constexpr double kSteepAngle = 1e13; // beyond it theta squared would only lose digits

void rotate(Matrix3& w, int p, int q, double s, double t, double tau)
{
    double const wpq = w(p, q);
    w(p, p) -= t * wpq;
    w(q, q) += t * wpq;
    w(p, q) = w(q, p) = 0.0;
    int const r = 3 - p - q;
    double const wrp = w(r, p);
    double const wrq = w(r, q);
    w(r, p) = w(p, r) = wrp - s * (wrq + tau * wrp);
    w(r, q) = w(q, r) = wrq + s * (wrp - tau * wrq);
}

void rotateColumns(Matrix3& v, int p, int q, double c, double s)
{
    for (int r = 0; r < 3; ++r) {
        double const vrp = v(r, p);
        double const vrq = v(r, q);
        v(r, p) = c * vrp - s * vrq;
        v(r, q) = s * vrp + c * vrq;
    }
}

bool diagonalize(Matrix3& w, Matrix3& v)
{
    for (int rotations = 0; rotations < kMaxRotations; ++rotations) {
        int p = 0;
        int q = 0;
        double c = 0.0;
        double s = 0.0;
        double t = 0.0;
        double tau = 0.0;
        if (!jacobiRotation(w, p, q, c, s, t, tau)) return true;
        rotate(w, p, q, s, t, tau);
        rotateColumns(v, p, q, c, s);
        double const rest = std::fabs(w(1, 0)) + std::fabs(w(2, 0)) + std::fabs(w(2, 1));
        if (!(rest > kConverged)) return true; // a NaN sum will not improve either
    }
    return false;
}

} // namespace

bool jacobiRotation(Matrix3 const& A, int& p, int& q, double& c, double& s, double& t, double& tau)
{
    p = 1;
    q = 0;
    for (int column = 0; column < 2; ++column) {
        if (std::fabs(A(2, column)) >= std::fabs(A(p, q))) {
            p = 2;
            q = column;
        }
    }
    double const d = A(q, q) - A(p, p);
    double const doubled = 2 * A(p, q);
    if (std::fabs(d) < sinew::kGeometricZero && std::fabs(doubled) < sinew::kGeometricZero) return false;

    double const theta = d / doubled;
    if (std::fabs(theta) > kSteepAngle) {
        t = A(p, q) / d;
    } else {
        double const sign = theta > 0 ? 1.0 : -1.0;
        t = sign / (std::fabs(theta) + std::sqrt(theta * theta + 1));
    }
    c = 1 / std::sqrt(t * t + 1);
    s = t * c;
    tau = s / (1 + c);
    return true;
}

bool jacobiMethod(Matrix3 const& A, double* values, UVector3* vectors)
{
    Matrix3 v;
    Matrix3 w = (A + A.transpose()) * 0.5;
    bool const converged = diagonalize(w, v);

    double eigenvalues[3] = {w(0, 0), w(1, 1), w(2, 2)};
    int order[3] = {0, 1, 2};
    for (int pass = 0; pass < 3; ++pass) {
        for (int k = 0; k < 2; ++k) {
            if (eigenvalues[k] > eigenvalues[k + 1]) {
                std::swap(eigenvalues[k], eigenvalues[k + 1]);
                std::swap(order[k], order[k + 1]);
            }
        }
    }
    for (int k = 0; k < 3; ++k) {
        if (values) values[k] = eigenvalues[k];
        if (vectors) vectors[k] = UVector3(v.column(order[k]));
    }
    return converged;
}
