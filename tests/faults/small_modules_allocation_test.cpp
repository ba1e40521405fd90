// The modules core and queries allocate nothing, so their functions never throw.

#include <sstream>

#include <sinew/sinew.h>

#include "faults/sweep.h"
#include "support/random.h"

TEST(CoreAllocation, NothingAllocates)
{
    test::Random random(1);
    std::vector<Vector3> const points = random.points(20);
    Vector3 const a = points[0], b = points[1], c = points[2];
    UVector3 const u(a);
    Matrix3 const m(a, b, c);
    double volatile sum = 0; // the compiler must not remove the calls
    faults::expectNoAllocation([&] {
        sum = sum + dist(a, b) + distSq(a, b) + m.determinant() + m.inverse()(0, 0) + getAngleBetween(a, b, c);
        double eigenvalues[3];
        UVector3 eigenvectors[3];
        Matrix3 symmetric = m * m.transpose();
        sum = sum + symmetric.getEigensystem(eigenvalues, eigenvectors);
        Vector3 e1, e2;
        getBasis(a, e1, e2);
        double t = 0;
        sum = sum + distSqToLineSegment(a, b, c, &t);
        Transform const transform(b, 0.5);
        sum = sum + (transform * a).x + transform.inverse().scale;
        Matrix const placed;
        sum = sum + (placed * a).y;
        Bbox box(points);
        sum = sum + box.max.x;
        vxFuncBinder::drawPoints(points, 0, 5);
        sum = sum + static_cast<double>(std::hash<Vector3>()(a) % 2);
        sum = sum + sinew::eigenSymmetric(symmetric).values[0];
        // Points on a line, in a plane and on a circle take the exact stages; those of 1e-300 do it with large
        // integers.
        for (double const scale : {1.0, 1e-300}) {
            tzNM::vect2<double> const p(scale, 0), q(0, scale), r(-scale, 0), s(0, -scale);
            sum = sum + sinew::orient2d(p, tzNM::vect2<double>(0, 0), r) + sinew::inCircle(p, q, r, s);
            sum = sum + sinew::orient3d({scale, 0, 0}, {0, scale, 0}, {-scale, 0, 0}, {0, -scale, 0});
        }
    });
}

TEST(QueriesAllocation, NothingAllocates)
{
    test::Random random(2);
    std::vector<Vector3> const points = random.points(20);
    Vector3 const a = points[0], b = points[1], c = points[2], d = points[3];
    UVector3 const u(a), n(b);
    double volatile sum = 0;
    faults::expectNoAllocation([&] {
        double roots[3];
        sum = sum + solveQuadratic(1, -3, 2, roots) + solveCubic(1, -6, 11, -6, roots);
        Vector3 centre;
        UVector3 direction;
        sum = sum + bestFitLine(points, &centre, &direction) + bestFitPlane(points, &centre, &direction);
        sum = sum + LinePlaneInt(a, u, b, n, 1e-9).result + PlanePlaneInt(a, u, b, n, 1e-9).result;
        sum = sum + LineTriangleInt(a, u, b, c, d, 1e-9).result + LineSphereInt(a, u, b, 0.5, 1e-9).result;
        sum = sum + LineLineInt(a, u, b, n, 1e-9).result + TriangleWeightsFinder(a, b, c, d).weights.x;
        Vector3 p = a, q = b;
        sum = sum + segClipHalfPlane2D(p, q, c, n) + segIntersectRect2D(a, b, Vector3(-1, -1, 0), Vector3(1, 1, 0));
        sum = sum + segsIntersect(a, b, c, d, 1e-9, true) +
              segClipRect2D(a, b, Vector3(-1, -1, 0), Vector3(1, 1, 0), p, q);
        sinew::Ray const ray(a, b - a);
        sum = sum + sinew::rayTriangle(ray, b, c, d).t + sinew::raySphere(ray, c, 0.5).tEnter;
        sum = sum + sinew::closestLines(a, u, b, n).distance;
        for (double const last : {24.0, 25.0}) { // four simple roots, and none
            double const coefficients[] = {1, -10, 35, -50, last};
            sum = sum + sinew::realRoots(coefficients).roots[0];
        }
        double const twice[] = {1, -4, 6, -4, 1}; // one root four times
        sum = sum + sinew::realRoots(twice).roots[0];
        sinew::RealArray const array = sinew::coordinatesOf(points.data(), points.size());
        sum = sum + sinew::fitLine(array).residual + sinew::fitPlane(array).residual;
    });
}
