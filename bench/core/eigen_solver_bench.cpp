// Eigenvalues and eigenvectors of symmetric 3x3 matrices: `jacobiMethod`, its reference implementation,
// `sinew::eigenSymmetric`, Eigen and Imath. All but the first two iterate to full precision or use a closed form. Their
// results are compared with the equation A v = lambda v, not with the bits of `jacobiMethod`.

#include <algorithm>
#include <array>

#include <sinew/core/eigen_solver.h>
#include <sinew/core/eigen_symmetric.h>

#include "contenders.h"
#include "core/reference_matrix3.h"

#ifdef SINEW_BENCH_EIGEN
#include <Eigen/Eigenvalues>
#endif
#ifdef SINEW_BENCH_IMATH
#include <Imath/ImathMatrixAlgo.h>
#endif

namespace {

using bench::contender;
using bench::converted;
using test::Random;

constexpr double kPairTolerance = 1e-7; // relative to the size of the matrix, and absolute below 1

struct Eigensystem
{
    double values[3];
    Vector3 vectors[3];
};

bool sameBits(Eigensystem const& a, Eigensystem const& b)
{
    for (int k = 0; k < 3; ++k) {
        if (!test::sameBits(a.values[k], b.values[k]) || !test::sameBits(a.vectors[k], b.vectors[k])) return false;
    }
    return true;
}

// Whether A v = lambda v holds for every pair up to the error that the solver's threshold of 1e-8 allows.
bool fits(Eigensystem const& e, Matrix3 const& m, double size)
{
    for (int k = 0; k < 3; ++k) {
        if (!(dist(m * e.vectors[k], e.vectors[k] * e.values[k]) <= kPairTolerance * (1 + size))) return false;
    }
    return true;
}

Eigensystem solve(Matrix3 const& m)
{
    Eigensystem e;
    UVector3 vectors[3];
    jacobiMethod(m, e.values, vectors);
    std::copy(vectors, vectors + 3, e.vectors);
    return e;
}

// A pointer that the compiler cannot see through, because the library's function is not inlined either.
auto* volatile referenceJacobi = reference::jacobiMethod;

Eigensystem solveByReference(Matrix3 const& m)
{
    Eigensystem e;
    Vector3 vectors[3];
    referenceJacobi(m, e.values, vectors);
    std::copy(vectors, vectors + 3, e.vectors);
    return e;
}

Matrix3 symmetricPart(Matrix3 const& m)
{
    return (m + m.transpose()) * 0.5;
}

Matrix3 general(Random& random)
{
    return symmetricPart(Matrix3(random.point(), random.point(), random.point()));
}

// The covariance of 20 points near a line, as best-fit lines and planes use it.
Matrix3 covariance(Random& random)
{
    Vector3 const along = random.point(-10, 10);
    Matrix3 sum;
    sum.zero();
    for (int i = 0; i < 20; ++i) {
        Vector3 const p = along * random.uniform() + random.point() * 0.1;
        Matrix3 term;
        term.tensor(p, p);
        sum = sum + term;
    }
    return sum;
}

Matrix3 nearlyDiagonal(Random& random)
{
    Matrix3 m = general(random) * 1e-6;
    for (int k = 0; k < 3; ++k) m(k, k) += random.uniform();
    return m;
}

Matrix3 multipleOfIdentity(Random& random)
{
    return Matrix3() * random.uniform();
}

template <typename Make>
void addCase(std::string const& name, Make make)
{
    auto const matrices = bench::inputs(1, make);
    auto const agrees = [matrices](Eigensystem const& e, std::size_t i) {
        return sameBits(e, solveByReference(matrices[i]));
    };
    contender(name + "/sinew", matrices, solve, agrees);
    contender(name + "/reference", matrices, solveByReference, agrees);
    auto const fitsInput = [matrices](Eigensystem const& e, std::size_t i) {
        return fits(e, matrices[i], matrices[i].column(0).length() + matrices[i].column(1).length());
    };
    contender(
        name + "/eigenSymmetric", matrices,
        [](Matrix3 const& m) {
            sinew::SymmetricEigensystem const found = sinew::eigenSymmetric(m);
            Eigensystem e;
            std::copy(found.values, found.values + 3, e.values);
            std::copy(found.vectors, found.vectors + 3, e.vectors);
            return e;
        },
        fitsInput);
#ifdef SINEW_BENCH_EIGEN
    auto const toEigen = [](Matrix3 const& m) { return sinew::to<Eigen::Matrix3d>(m); };
    auto const fromEigen = [](Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> const& solver) {
        Eigensystem e;
        for (int k = 0; k < 3; ++k) {
            e.values[k] = solver.eigenvalues()[k];
            e.vectors[k] = sinew::toVector3(solver.eigenvectors().col(k));
        }
        return e;
    };
    contender(
        name + "/Eigen", converted(matrices, toEigen),
        [fromEigen](Eigen::Matrix3d const& m) { return fromEigen(Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d>(m)); },
        fitsInput);
    contender(
        name + "/Eigen, closed form", converted(matrices, toEigen),
        [fromEigen](Eigen::Matrix3d const& m) {
            Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> solver;
            solver.computeDirect(m);
            return fromEigen(solver);
        },
        fitsInput);
#endif
#ifdef SINEW_BENCH_IMATH
    contender(
        name + "/Imath", converted(matrices, [](Matrix3 const& m) { return sinew::toAxes<Imath::M33d>(m); }),
        [](Imath::M33d m) { // a copy: the solver works in place
            Imath::V3d values;
            Imath::M33d vectors;
            Imath::jacobiEigenSolver(m, values, vectors);
            Eigensystem e;
            for (int k = 0; k < 3; ++k) {
                e.values[k] = values[k];
                e.vectors[k] = Vector3(vectors[0][k], vectors[1][k], vectors[2][k]);
            }
            return e;
        },
        fitsInput);
#endif
}

bool const registered = [] {
    addCase("general", general);
    addCase("covariance", covariance);
    addCase("nearly diagonal", nearlyDiagonal);
    addCase("multiple of the identity", multipleOfIdentity);
    return true;
}();

} // namespace
