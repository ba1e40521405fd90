// 3x3 matrices and their eigen-solver.

#include <selftest/core_groups.h>

#include <sinew/core/eigen_solver.h>
#include <sinew/core/eigen_symmetric.h>
#include <sinew/core/matrix.h>
#include <sinew/core/matrix3.h>

namespace selftest {

namespace {

// Diagonal and symmetric matrices with equal and almost equal eigenvalues, and rotated ones.
Matrix3 symmetricMatrix(Inputs& in)
{
    int const kind = in.below(4);
    Matrix3 m = in.matrix();
    if (kind == 0) return m;
    if (kind == 1) return m + m.transpose();
    double const a = in.lattice();
    double const b = in.oneIn(2) ? a : in.lattice();
    double const c = in.oneIn(3) ? b + in.spread(-60, 0) : in.lattice();
    Matrix3 const diagonal = sinew::diagonalMatrix(a, b, c);
    if (kind == 2) return diagonal;
    Matrix3 const r = in.rotation();
    return r * diagonal * r.transpose();
}

// Any matrix, or one with proportional or zero columns.
Matrix3 perhapsSingular(Inputs& in)
{
    int const kind = in.below(4);
    Vector3 const a = in.tamePoint();
    if (kind == 0) return in.matrix();
    if (kind == 1) return in.tameMatrix();
    double const s = in.lattice();
    double const t = in.oneIn(2) ? in.lattice() : in.spread(-50, 0);
    if (kind == 2) return Matrix3(a, a * s, a * t);
    Vector3 const b = in.tamePoint();
    return Matrix3(a, b, s * a + t * b);
}

void arithmetic(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Matrix3 const a = in.matrix();
        Matrix3 const b = in.oneIn(4) ? in.rotation() : in.matrix();
        Vector3 const v = in.point();
        double const s = in.number();
        out.add(a * v);
        out.add(a * b);
        out.add(a * s);
        out.add(s * a);
        out.add(a + b);
        out.add(a - b);
        out.add(-a);
        out.add(a == b);
        out.add(a != b);
        out.add(a.transpose());
        out.add(a.determinant());
        out.add(a.column(in.below(3)));
    });
}

void values(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const a = in.point();
        Vector3 const b = in.point();
        Matrix3 m;
        m.tensor(a, b);
        out.add(m);
        out.add(m.isNearZero());
        Matrix3 const near = Matrix3() + m * in.spread(-30, 0);
        out.add(near.isNearIdentity());
        out.add(sinew::diagonalMatrix(a.x, a.y, b.z));
        m.zero();
        out.add(m);
        m.identity();
        out.add(m);
    });
}

void inverse(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Matrix3 const m = perhapsSingular(in);
        out.add(m.inverse());
    });
}

void rotationMatrix(Inputs& in, Record& out)
{
    repeat(out, [&] {
        UVector3 const axis = in.direction();
        double const angle = in.angle();
        out.add(Matrix3::rotationMatrix(axis, angle));
    });
}

void rotationBetween(Inputs& in, Record& out)
{
    repeat(out, [&] {
        UVector3 const from = in.direction();
        UVector3 const to = in.direction();
        out.add(Matrix3::rotationMatrix(from, to));
    });
}

void rotationAxis(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Matrix3 const m = in.oneIn(4) ? in.matrix() : in.rotation();
        out.add(m.getRotationAxis());
    });
}

void rotationAngle(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Matrix3 const m = in.oneIn(4) ? in.matrix() : in.rotation();
        UVector3 const axis = in.direction();
        out.add(m.getRotationAngle());
        out.add(m.getRotationAngle(&axis));
    });
}

void jacobiRotations(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Matrix3 const m = symmetricMatrix(in);
        int p = -1;
        int q = -1;
        double numbers[4] = {-1.0, -1.0, -1.0, -1.0};
        out.add(jacobiRotation(m, p, q, numbers[0], numbers[1], numbers[2], numbers[3]));
        out.add(p);
        out.add(q);
        for (double const number : numbers) out.add(number);
    });
}

void eigensystem(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Matrix3 const m = symmetricMatrix(in);
        double eigenvalues[3];
        UVector3 vectors[3];
        out.add(jacobiMethod(m, eigenvalues, vectors));
        out.add(m.getEigensystem(eigenvalues, vectors));
        for (int k = 0; k < 3; ++k) {
            out.add(eigenvalues[k]);
            out.add(vectors[k]);
        }
    });
}

void eigenSymmetric(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Matrix3 m = symmetricMatrix(in);
        if (in.oneIn(4)) m = m * in.spread(-1000, 1000);
        sinew::SymmetricEigensystem const e = sinew::eigenSymmetric(m);
        out.add(e.isFinite);
        for (int k = 0; k < 3; ++k) {
            out.add(e.values[k]);
            out.add(e.vectors[k]);
        }
    });
}

void matrixFromEigensystem(Inputs& in, Record& out)
{
    repeat(out, [&] {
        double const eigenvalues[3] = {in.number(), in.number(), in.number()};
        Matrix3 const m = in.oneIn(2) ? in.rotation() : perhapsSingular(in);
        Vector3 const vectors[3] = {m.column(0), m.column(1), m.column(2)};
        out.add(Matrix3::getMatrixFromEigs(eigenvalues, vectors));
    });
}

void nullspace(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Matrix3 const m = perhapsSingular(in);
        UVector3 vectors[3];
        for (bool const force : {false, true}) {
            int const count = m.getNullspace(vectors, force);
            out.add(count);
            for (int k = 0; k < count; ++k) out.add(vectors[k]);
        }
    });
}

} // namespace

std::vector<Group> matrixGroups()
{
    constexpr MathLibrary kUnused = MathLibrary::unused;
    return {
        {"core.Matrix3.arithmetic", "pairs of matrices, a vector and a number", kUnused, arithmetic},
        {"core.Matrix3.values", "pairs of vectors", kUnused, values},
        {"core.Matrix3.inverse", "matrices", kUnused, inverse},
        {"core.Matrix3.rotationMatrix", "axes and angles", MathLibrary::used, rotationMatrix},
        {"core.Matrix3.rotationMatrixBetween", "pairs of directions", MathLibrary::used, rotationBetween},
        {"core.Matrix3.getRotationAxis", "matrices", kUnused, rotationAxis},
        {"core.Matrix3.getRotationAngle", "matrices and axes", MathLibrary::used, rotationAngle},
        {"core.jacobiRotation", "matrices", kUnused, jacobiRotations},
        {"core.jacobiMethod", "matrices", kUnused, eigensystem},
        {"core.eigenSymmetric", "matrices", kUnused, eigenSymmetric},
        {"core.Matrix3.getMatrixFromEigs", "eigensystems", kUnused, matrixFromEigensystem},
        {"core.Matrix3.getNullspace", "matrices", kUnused, nullspace},
    };
}

} // namespace selftest
