// 4x4 matrices, similarity transforms and boxes.

#include <selftest/core_groups.h>

#include <sinew/core/bbox.h>
#include <sinew/core/matrix.h>
#include <sinew/core/transform.h>

namespace selftest {

namespace {

Matrix matrixOf(Matrix3 const& linear, Vector3 const& translation)
{
    Matrix m;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) m(i, j) = linear(i, j);
        m(i, 3) = translation[i];
    }
    return m;
}

// A placement or any affine matrix; sometimes with another last row.
Matrix anyMatrix(Inputs& in)
{
    Matrix3 const linear = in.oneIn(2) ? in.rotation() : in.matrix();
    double const scale = in.oneIn(2) ? 1.0 : in.number();
    Matrix m = matrixOf(linear * scale, in.point());
    if (in.oneIn(8)) {
        int const column = in.below(4);
        m(3, column) = in.number();
    }
    return m;
}

Matrix placementMatrix(Inputs& in)
{
    Matrix3 const rotation = in.rotation();
    double const scale = in.tame();
    return matrixOf(rotation * scale, in.tamePoint());
}

Transform placement(Inputs& in)
{
    Transform t(in.tame());
    t.linear = in.rotation();
    t.translation = in.tamePoint();
    return t;
}

void matrixArithmetic(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Matrix const a = anyMatrix(in);
        Matrix const b = anyMatrix(in);
        Vector3 const p = in.point();
        double const s = in.number();
        out.add(a * b);
        out.add(a * p);
        out.add(a * s);
        out.add(s * a);
        Matrix changed = a;
        changed *= changed;
        out.add(changed);
        out.add(a.transpose());
        out.add(a.scale(s));
        out.add(a.distTo(b));
        out.add(a == b);
        out.add(a != b);
        out.add(Matrix::vvt(p));
        out.add(Matrix3(a));
    });
}

void floatMatrix(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Matrixf m;
        for (int i = 0; i < 4; ++i) {
            for (int j = 0; j < 4; ++j) m(i, j) = static_cast<float>(in.tame());
        }
        out.add(Matrix(m));
    });
}

void matrixInverse(Inputs& in, Record& out)
{
    repeat(out, [&] { out.add(anyMatrix(in).inverse()); });
}

void isRigid(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Matrix3 const rotation = in.rotation();
        Matrix const m = in.oneIn(4) ? anyMatrix(in) : matrixOf(rotation, in.point());
        double const s = 1.0 + in.spread(-20, -6);
        out.add(m.isRigid());
        out.add((m * s).isRigid());
    });
}

void matrixAxis(Inputs& in, Record& out)
{
    repeat(out, [&] { out.add(anyMatrix(in).getRotationAxis()); });
}

void matrixAngle(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Matrix const m = anyMatrix(in);
        out.add(m.getRotationAngle(in.point()));
    });
}

void matrixRotation(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const axis = in.oneIn(4) ? in.tamePoint() * 1e-4 : in.point();
        double const angle = in.angle();
        out.add(Matrix::rotationMatrix(axis, angle));
    });
}

void rigidTransform(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const a0 = in.point();
        Vector3 const d0 = in.point();
        Vector3 const a1 = in.point();
        Vector3 const d1 = in.point();
        out.add(Matrix::rigidTransform(a0, d0, a1, d1));
    });
}

// Between the ends, at the ends, beyond them, or NaN.
double parameter(Inputs& in)
{
    return in.oneIn(4) ? in.number() : in.uniform(0.0, 1.0);
}

void matrixInterpolation(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Matrix const a = in.oneIn(8) ? anyMatrix(in) : placementMatrix(in);
        Matrix const b = in.oneIn(8) ? anyMatrix(in) : placementMatrix(in);
        out.add(Matrix::interpolate(a, b, parameter(in)));
    });
}

void transforms(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Transform const a = placement(in);
        Transform b = placement(in);
        if (in.oneIn(4)) b.scale = in.number();
        Vector3 const p = in.point();
        out.add(a * b);
        out.add(b * p);
        out.add(b.inverse());
        out.add(b.getLinear());
        out.add(b.getMatrix());
        out.add(b.linearComponent());
        out.add(a == b);
        out.add(a != b);
    });
}

void frames(Inputs& in, Record& out)
{
    repeat(out, [&] {
        UVector3 const a = in.direction();
        Vector3 const p = in.point();
        UVector3 const b = UVector3(cross(a, in.tamePoint()));
        out.add(Transform(a, b, p));
        out.add(Transform::reflection(p, a));
    });
}

void transformRotations(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const axis = in.point();
        double const angle = in.angle();
        out.add(Transform(axis, angle));
        UVector3 const a = in.direction();
        UVector3 const b = in.direction();
        out.add(Transform::rotate(a, b));
    });
}

void transformInterpolation(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Transform const a = placement(in);
        Transform const b = placement(in);
        out.add(Transform::interpolate(a, b, parameter(in)));
    });
}

Bbox box(Inputs& in)
{
    int const kind = in.below(6);
    if (kind == 0) return Bbox();
    Bbox result;
    result.init(in.point());
    if (kind == 1) {
        result.max = in.point(); // in any order
        return result;
    }
    result.update(in.tamePoint());
    if (kind == 2) result.max += Vector3(1e-13, -1e-13, 2e-13); // around the threshold
    return result;
}

void boxesOfPoints(Inputs& in, Record& out)
{
    repeat(out, [&] {
        std::vector<Vector3> points;
        for (int i = in.below(6); i > 0; --i) points.push_back(in.point());
        Bbox b(points);
        out.add(b);
        b.reset();
        out.add(b);
        if (!points.empty()) b.init(points[0]);
        for (Vector3 const& p : points) b.update(p);
        out.add(b);
    });
}

void boxes(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Bbox const a = box(in);
        Bbox const b = box(in);
        Vector3 const p = in.point();
        out.add(a.isValid());
        out.add(a.volume());
        out.add(a.filter(p));
        out.add(a + b);
        out.add(a == b);
        out.add(a != b);
        Bbox changed = a;
        changed += b;
        out.add(changed);
        changed = a;
        changed.isec(b);
        out.add(changed);
        changed = a;
        changed.expand(in.number());
        out.add(changed);
    });
}

void bounds(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Bbox const b = box(in);
        Vector3 lo;
        Vector3 hi;
        b.boundsInDir(in.direction(), &lo, &hi);
        out.add(lo);
        out.add(hi);
    });
}

} // namespace

std::vector<Group> placementGroups()
{
    constexpr MathLibrary kUnused = MathLibrary::unused;
    return {
        {"core.Matrix.arithmetic", "pairs of matrices, a point and a number", kUnused, matrixArithmetic},
        {"core.Matrixf", "matrices", kUnused, floatMatrix},
        {"core.Matrix.inverse", "matrices", kUnused, matrixInverse},
        {"core.Matrix.isRigid", "pairs of matrices", kUnused, isRigid},
        {"core.Matrix.getRotationAxis", "matrices", kUnused, matrixAxis},
        {"core.Matrix.getRotationAngle", "matrices and axes", MathLibrary::used, matrixAngle},
        {"core.Matrix.rotationMatrix", "axes and angles", MathLibrary::used, matrixRotation},
        {"core.Matrix.rigidTransform", "pairs of lines", MathLibrary::used, rigidTransform},
        {"core.Matrix.interpolate", "pairs of placements and a parameter", MathLibrary::used, matrixInterpolation},
        {"core.Transform.arithmetic", "pairs of transforms and a point", kUnused, transforms},
        {"core.Transform.frames", "directions and points", kUnused, frames},
        {"core.Transform.rotations", "axes, angles and pairs of directions", MathLibrary::used, transformRotations},
        {"core.Transform.interpolate", "pairs of transforms and a parameter", MathLibrary::used,
         transformInterpolation},
        {"core.Bbox.ofPoints", "lists of points", kUnused, boxesOfPoints},
        {"core.Bbox.arithmetic", "pairs of boxes and a point", kUnused, boxes},
        {"core.Bbox.boundsInDir", "boxes and directions", kUnused, bounds},
    };
}

} // namespace selftest
