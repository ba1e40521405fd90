// The functions of one or a few numbers, vectors and matrices, with special numbers of every kind. Each call is
// compared with the reference implementation.

#include <vector>

#include <sinew/core/bbox.h>
#include <sinew/core/eigen_solver.h>
#include <sinew/core/matrix.h>
#include <sinew/core/matrix3.h>
#include <sinew/core/transform.h>
#include <sinew/core/vector_geometry.h>
#include <sinew/queries/best_fit.h>
#include <sinew/queries/intersections.h>
#include <sinew/queries/polynomial_roots.h>
#include <sinew/queries/segments_2d.h>

#include "core/reference_placements.h"
#include "fuzz/input.h"
#include "queries/reference_best_fit.h"
#include "queries/reference_intersections.h"
#include "queries/reference_polynomial_roots.h"
#include "queries/reference_segments_2d.h"
#include "support/bits.h"

using fuzz::Input;
using fuzz::require;
using test::sameBits;

namespace {

// Four points, in which equal ones, planes and lines are frequent.
struct Points
{
    Vector3 p[4];

    explicit Points(Input& input)
    {
        std::vector<Vector3> given;
        for (Vector3& point : p) {
            point = input.pointNear(given);
            given.push_back(point);
        }
    }
};

void compareVectors(Input& input)
{
    Points const points(input);
    Vector3 const &a = points.p[0], &b = points.p[1], &c = points.p[2], &d = points.p[3];
    UVector3 const n(c), m(d);
    double const tol = input.number();
    require(sameBits(UVector3(a), reference::unit(a)), "unit vector");
    require(a.isParallel(b, tol) == reference::isParallel(a, b, tol), "isParallel");
    require(a.isNormal(b, tol) == reference::isNormal(a, b, tol), "isNormal");
    require(sameBits(getAngleBetween(a, b, c), reference::getAngleBetween(a, b, c)), "getAngleBetween");
    require(samePlane(a, n, b, m) == reference::samePlane(a, n, b, m), "samePlane");
    require(sameBits(projectOnLine(a, b, n), reference::projectOnLine(a, b, n)), "projectOnLine");
    require(sameBits(projectOnPlane(a, b, n), reference::projectOnPlane(a, b, n)), "projectOnPlane");
    double t = 7, expectedT = 7;
    require(sameBits(distSqToLineSegment(a, b, c, &t), reference::distSqToLineSegment(a, b, c, &expectedT)),
            "distSqToLineSegment");
    require(sameBits(t, expectedT), "place on the segment");
    Vector3 coeffs(7, 7, 7), expectedCoeffs(7, 7, 7);
    require(a.pullBack(&points.p[1], &coeffs) == reference::pullBack(a, &points.p[1], &expectedCoeffs), "pullBack");
    require(sameBits(coeffs, expectedCoeffs), "coefficients of pullBack");
    require(a.isInTriangle(b, c, d) == reference::isInTriangle(a, b, c, d), "isInTriangle");
    require(sameBits(a.reflect(b, c), reference::reflect(a, b, c)), "reflect");
    Vector3 e1, e2, expected1, expected2;
    getBasis(a, e1, e2);
    reference::getBasis(a, expected1, expected2);
    require(sameBits(e1, expected1) && sameBits(e2, expected2), "getBasis");
    require(sameBits(calcCurvature(a, b), reference::calcCurvature(a, b)), "calcCurvature");
    Vector3 const second[3] = {c, d, input.point()};
    double k1 = 7, k2 = 7, expectedK1 = 7, expectedK2 = 7;
    require(principalCurvatures(points.p, second, &k1, &k2) ==
                reference::principalCurvatures(points.p, second, &expectedK1, &expectedK2),
            "principalCurvatures");
    require(sameBits(k1, expectedK1) && sameBits(k2, expectedK2), "curvatures");
}

void compareMatrices3(Input& input)
{
    Matrix3 const a = input.matrix3(), b = input.matrix3();
    Vector3 const v = input.point(), w = input.point();
    double const angle = input.number();
    require(sameBits(a * b, reference::product(a, b)), "product");
    require(sameBits(a * v, reference::map(a, v)), "image of a vector");
    require(sameBits(a.transpose(), reference::transposed(a)), "transpose");
    require(sameBits(a.determinant(), reference::determinant(a)), "determinant");
    require(sameBits(a.inverse(), reference::inverse(a)), "inverse");
    require(sameBits(Matrix3::rotationMatrix(UVector3(v), angle), reference::rotationMatrix(UVector3(v), angle)),
            "rotation about an axis");
    require(sameBits(Matrix3::rotationMatrix(UVector3(v), UVector3(w)),
                     reference::rotationBetween(UVector3(v), UVector3(w))),
            "rotation between directions");
    require(sameBits(a.getRotationAxis(), reference::getRotationAxis(a)), "rotation axis");
    UVector3 const axis(v);
    require(sameBits(a.getRotationAngle(&axis), reference::getRotationAngle(a, &axis)), "rotation angle");
    require(sameBits(a.getRotationAngle(), reference::getRotationAngle(a, nullptr)), "rotation angle without an axis");
    require(a.isNearZero() == reference::isNearZero(a), "isNearZero");
    double values[3] = {7, 7, 7}, expectedValues[3] = {7, 7, 7};
    UVector3 vectors[3];
    Vector3 expectedVectors[3] = {vectors[0], vectors[1], vectors[2]};
    require(jacobiMethod(a, values, vectors) == reference::jacobiMethod(a, expectedValues, expectedVectors), "jacobi");
    for (int i = 0; i < 3; ++i) {
        require(sameBits(values[i], expectedValues[i]), "eigenvalue");
        require(sameBits(vectors[i], expectedVectors[i]), "eigenvector");
    }
    Vector3 const columns[3] = {v, w, a.column(0)};
    require(sameBits(Matrix3::getMatrixFromEigs(values, columns), reference::getMatrixFromEigs(values, columns)),
            "matrix of an eigensystem");
    UVector3 null[3];
    Vector3 expectedNull[3] = {null[0], null[1], null[2]};
    bool const force = input.flag();
    require(a.getNullspace(null, force) == reference::getNullspace(a, expectedNull, force),
            "dimension of the nullspace");
    for (int i = 0; i < 3; ++i) require(sameBits(null[i], expectedNull[i]), "vector of the nullspace");
}

void comparePlacements(Input& input)
{
    Matrix const a = input.matrix(), b = input.matrix();
    Vector3 const v = input.point(), w = input.point();
    double const s = input.number();
    require(sameBits(a * b, reference::product(a, b)), "product of 4 x 4 matrices");
    require(sameBits(a.distTo(b), reference::distTo(a, b)), "distTo");
    require(sameBits(a.scale(s), reference::scaled(a, s)), "scale");
    require(sameBits(a.inverse(), reference::inverse(a)), "inverse of a 4 x 4 matrix");
    require(a.isRigid() == reference::isRigid(a), "isRigid");
    require(sameBits(a.getRotationAxis(), reference::getRotationAxis(a)), "axis of a 4 x 4 matrix");
    require(sameBits(a.getRotationAngle(v), reference::getRotationAngle(a, v)), "angle of a 4 x 4 matrix");
    require(sameBits(Matrix::rotationMatrix(v, s), reference::rotation(v, s)), "rotation as a 4 x 4 matrix");
    Points const points(input);
    require(sameBits(Matrix::rigidTransform(points.p[0], points.p[1], points.p[2], points.p[3]),
                     reference::rigidTransform(points.p[0], points.p[1], points.p[2], points.p[3])),
            "rigidTransform");
    require(sameBits(Matrix::interpolate(a, b, s), reference::interpolate(a, b, s)), "interpolation of matrices");
    Transform const t = input.transform(), u = input.transform();
    require(sameBits(t * v, reference::map(t, v)), "image by a transform");
    require(sameBits(t * u, reference::product(t, u)), "product of transforms");
    require(sameBits(t.inverse(), reference::inverse(t)), "inverse of a transform");
    require(sameBits(Transform::rotate(UVector3(v), UVector3(w)), reference::rotate(UVector3(v), UVector3(w))),
            "rotate");
    require(sameBits(Transform::reflection(v, UVector3(w)), reference::reflection(v, UVector3(w))), "reflection");
    require(sameBits(Transform::interpolate(t, u, s), reference::interpolate(t, u, s)), "interpolation of transforms");
}

template <typename Ours, typename Expected>
void requireSameLines(Ours const& r, Expected const& e)
{
    require(r.result == e.result && sameBits(r.point, e.point), "two lines");
    require(sameBits(r.t1, e.t1) && sameBits(r.t2, e.t2), "places on two lines");
}

void compareIntersections(Input& input)
{
    Points const points(input);
    Vector3 const &a = points.p[0], &b = points.p[1], &c = points.p[2], &d = points.p[3];
    UVector3 const u(b), v(d);
    double const tol = input.number(), radius = input.number();
    requireSameLines(LineLineInt(a, u, c, v, tol), reference::lineLineUnit(a, u, c, v, tol));
    requireSameLines(LineLineInt(a, b, c, d, tol), reference::lineLine(a, b, c, d, tol));
    PlanePlaneInt const planes(a, u, c, v, tol);
    reference::PlanePlane const expectedPlanes = reference::planePlane(a, u, c, v, tol);
    require(planes.result == expectedPlanes.result && sameBits(planes.point, expectedPlanes.point) &&
                sameBits(planes.dir, expectedPlanes.dir),
            "two planes");
    LinePlaneInt const plane(a, u, c, v, tol);
    reference::LinePlane const expectedPlane = reference::linePlane(a, u, c, v, tol);
    require(plane.result == expectedPlane.result && sameBits(plane.point, expectedPlane.point) &&
                sameBits(plane.t, expectedPlane.t),
            "line and plane");
    Vector3 const p = input.point();
    LineTriangleInt const triangle(p, v, a, b, c, tol);
    reference::LinePlane const expectedTriangle = reference::lineTriangle(p, v, a, b, c, tol);
    require(triangle.result == expectedTriangle.result && sameBits(triangle.point, expectedTriangle.point) &&
                sameBits(triangle.t, expectedTriangle.t),
            "line and triangle");
    LineSphereInt const sphere(a, u, c, radius, tol);
    reference::LineSphere const expectedSphere = reference::lineSphere(a, u, c, radius, tol);
    require(sphere.result == expectedSphere.result && sameBits(sphere.point1, expectedSphere.point1) &&
                sameBits(sphere.point2, expectedSphere.point2) && sameBits(sphere.t1, expectedSphere.t1) &&
                sameBits(sphere.t2, expectedSphere.t2),
            "line and sphere");
    require(sameBits(TriangleWeightsFinder(p, a, b, c).weights, reference::triangleWeights(p, a, b, c)),
            "weights in a triangle");
}

void compareSegments(Input& input)
{
    Points const points(input);
    Vector3 const &a = points.p[0], &b = points.p[1], &c = points.p[2], &d = points.p[3];
    UVector3 const n(input.point());
    double const tol = input.number();
    bool const inclusive = input.flag();
    Vector3 a1 = a, b1 = b, a2 = a, b2 = b;
    require(segClipHalfPlane2D(a1, b1, c, n) == reference::segClipHalfPlane2D(a2, b2, c, n), "clip at a half-plane");
    require(sameBits(a1, a2) && sameBits(b1, b2), "ends of the clipped segment");
    require(segClipRect2D(a, b, c, d, a1, b1) == reference::segClipRect2D(a, b, c, d, a2, b2), "clip at a rectangle");
    require(sameBits(a1, a2) && sameBits(b1, b2), "ends of the segment in the rectangle");
    require(segIntersectRect2D(a, b, c, d) == reference::segIntersectRect2D(a, b, c, d), "segment and rectangle");
    require(segsIntersect(a, b, c, d, tol, inclusive) == reference::segsIntersect(a, b, c, d, tol, inclusive),
            "two segments");
}

void compareRoots(Input& input)
{
    double const a = input.number(), b = input.number(), c = input.number(), d = input.number();
    double roots[3] = {7, 7, 7}, expected[3] = {7, 7, 7};
    require(solveQuadratic(a, b, c, roots) == reference::solveQuadratic(a, b, c, expected), "roots of a quadratic");
    for (int i = 0; i < 3; ++i) require(sameBits(roots[i], expected[i]), "root of a quadratic");
    require(solveCubic(a, b, c, d, roots) == reference::solveCubic(a, b, c, d, expected), "roots of a cubic");
    for (int i = 0; i < 3; ++i) require(sameBits(roots[i], expected[i]), "root of a cubic");
}

void compareFit(Input& input)
{
    std::vector<Vector3> points;
    for (int i = input.below(16); i > 0; --i) points.push_back(input.pointNear(points));
    for (bool const largest : {false, true}) {
        Vector3 center(7, 7, 7), expectedCenter(7, 7, 7);
        UVector3 axis, expectedAxis;
        require(_getCenterAndEigv(points, &center, &axis, largest) ==
                    reference::getCenterAndEigv(points, &expectedCenter, &expectedAxis, largest),
                "fit");
        require(sameBits(center, expectedCenter) && sameBits(axis, expectedAxis), "centre and axis of the fit");
    }
}

// There is no reference implementation of boxes; what they promise is tested.
void useBoxes(Input& input)
{
    std::vector<Vector3> points;
    for (int i = input.below(8); i > 0; --i) points.push_back(input.point());
    Bbox box(points);
    Bbox other;
    for (Vector3 const& p : points) other.update(p);
    bool const same = sameBits(box.min, other.min) && sameBits(box.max, other.max);
    require(points.empty() || same, "the box of points and the box updated by each of them");
    Bbox const sum = box + Bbox({input.point(), input.point()});
    box += sum;
    other.isec(box);
    box.expand(input.number());
    Vector3 low, high;
    box.boundsInDir(UVector3(input.point()), &low, &high);
    box.filter(input.point());
    require(Bbox().volume() < 0 && !Bbox().isValid(), "the empty box");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using Compare = void (*)(Input&);
    Compare const compare[] = {compareVectors,  compareMatrices3, comparePlacements, compareIntersections,
                               compareSegments, compareRoots,     compareFit,        useBoxes};
    Input input(data, size);
    do {
        compare[input.below(static_cast<int>(std::size(compare)))](input);
    } while (input.more());
    return 0;
}
