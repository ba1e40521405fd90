// Intersections, roots, fits and clipping.

#include <selftest/group.h>

#include <cmath>
#include <limits>

#include <sinew/queries/best_fit.h>
#include <sinew/queries/fit.h>
#include <sinew/queries/fit_diagnosis.h>
#include <sinew/queries/intersections.h>
#include <sinew/queries/lines.h>
#include <sinew/queries/polynomial_roots.h>
#include <sinew/queries/rays.h>
#include <sinew/queries/real_roots.h>
#include <sinew/queries/segments_2d.h>

namespace selftest {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

double tolerance(Inputs& in)
{
    return in.oneIn(8) ? in.number() : in.spread(-44, -3);
}

// A point on the line or plane through `p`, or a little off it.
Vector3 near(Inputs& in, Vector3 const& p, Vector3 const& along)
{
    Vector3 const on = p + along * in.lattice();
    double const off = in.oneIn(2) ? 0.0 : in.spread(-50, 0);
    return on + in.tamePoint() * off;
}

void addLineLine(LineLineInt const& hit, Record& out)
{
    out.add(hit.result);
    out.add(hit.point);
    out.add(hit.t1);
    out.add(hit.t2);
}

void lineLine(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const p1 = in.point();
        UVector3 const d1 = in.direction();
        UVector3 const d2 = in.oneIn(3) ? d1 : in.direction();
        Vector3 const p2 = in.oneIn(2) ? near(in, p1, d1) : in.point();
        addLineLine(LineLineInt(p1, d1, p2, d2, tolerance(in)), out);
    });
}

void lineLineAnyLength(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const p1 = in.point();
        Vector3 const d1 = in.point();
        Vector3 const d2 = in.oneIn(3) ? near(in, d1, d1) : in.point();
        Vector3 const p2 = in.oneIn(2) ? near(in, p1, d1) : in.point();
        addLineLine(LineLineInt(p1, d1, p2, d2, tolerance(in)), out);
    });
}

void planePlane(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const p1 = in.point();
        UVector3 const n1 = in.direction();
        Vector3 const p2 = in.oneIn(2) ? near(in, p1, cross(n1, p1)) : in.point();
        UVector3 const n2 = in.oneIn(3) ? UVector3(near(in, n1, n1)) : in.direction();
        PlanePlaneInt const hit(p1, n1, p2, n2, tolerance(in));
        out.add(hit.result);
        out.add(hit.point);
        out.add(hit.dir);
    });
}

void linePlane(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const p = in.point();
        UVector3 const d = in.direction();
        Vector3 const q = in.oneIn(2) ? near(in, p, d) : in.point();
        UVector3 const n = in.oneIn(3) ? UVector3(cross(d, in.tamePoint())) : in.direction();
        LinePlaneInt const hit(p, d, q, n, tolerance(in));
        out.add(hit.result);
        out.add(hit.point);
        out.add(hit.t);
    });
}

void lineTriangle(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const a = in.point();
        Vector3 const b = in.point();
        Vector3 const c = in.point();
        // Towards the inside, a side or a corner of the triangle, or anywhere.
        double const s = 0.125 * in.below(9);
        double const t = 0.125 * in.below(9);
        Vector3 const target = in.oneIn(4) ? in.point() : a + s * (b - a) + t * (c - a);
        Vector3 const p = in.point();
        UVector3 const d = in.oneIn(4) ? in.direction() : UVector3(target - p);
        LineTriangleInt const hit(p, d, a, b, c, tolerance(in));
        out.add(hit.result);
        out.add(hit.point);
        out.add(hit.t);
    });
}

void lineSphere(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const p = in.point();
        UVector3 const d = in.direction();
        Vector3 const center = in.oneIn(2) ? near(in, p, d) : in.point();
        double const toLine = dist(center, p + d * ((center - p) * d));
        double const radius = in.oneIn(2) ? toLine : in.number(); // often a tangent
        LineSphereInt const hit(p, d, center, radius, tolerance(in));
        out.add(hit.result);
        out.add(hit.point1);
        out.add(hit.point2);
        out.add(hit.t1);
        out.add(hit.t2);
    });
}

void triangleWeights(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const a = in.point();
        Vector3 const b = in.point();
        Vector3 const c = in.point();
        Vector3 const p = in.oneIn(2) ? near(in, a, b - c) : in.point();
        out.add(TriangleWeightsFinder(p, a, b, c).weights);
    });
}

void addRoots(int count, double const* roots, Record& out)
{
    out.add(count);
    for (int i = 0; i < 3; ++i) out.add(roots[i]);
}

void quadratic(Inputs& in, Record& out)
{
    repeat(out, [&] {
        double roots[3] = {-7.0, -8.0, -9.0};
        double c[3] = {in.number(), in.number(), in.number()};
        if (in.oneIn(3)) { // equal or nearly equal roots
            double const root = in.tame();
            double const other = in.oneIn(2) ? root : root + in.spread(-50, -10);
            c[1] = -(root + other) * c[0];
            c[2] = root * other * c[0];
        }
        addRoots(solveQuadratic(c[0], c[1], c[2], roots), roots, out);
    });
}

void cubic(Inputs& in, Record& out)
{
    repeat(out, [&] {
        double roots[3] = {-7.0, -8.0, -9.0};
        double c[4] = {in.number(), in.number(), in.number(), in.number()};
        if (in.oneIn(3)) { // whole roots, also double and triple ones
            double const r0 = in.lattice();
            double const r1 = in.oneIn(2) ? r0 : in.lattice();
            double const r2 = in.oneIn(2) ? r1 : in.lattice();
            c[1] = -(r0 + r1 + r2) * c[0];
            c[2] = (r0 * r1 + r0 * r2 + r1 * r2) * c[0];
            c[3] = -(r0 * r1 * r2) * c[0];
        }
        addRoots(solveCubic(c[0], c[1], c[2], c[3], roots), roots, out);
    });
}

// Of degree 0 to 4: any numbers, or whole roots, also multiple ones, and their neighbours; at any scale.
void polynomial(Inputs& in, Record& out)
{
    repeat(out, [&] {
        int const degree = in.below(5);
        double c[5] = {};
        int const kind = in.below(4);
        if (kind == 0) {
            for (int i = 0; i <= degree; ++i) c[i] = in.tame();
        } else if (kind == 1 && in.oneIn(8)) { // mostly by exact integers, which takes long
            for (int i = 0; i <= degree; ++i) c[i] = in.number();
        } else {
            c[0] = in.spread(-30, 30);
            if (in.oneIn(2)) c[0] = 1.0;
            double root = in.lattice();
            for (int k = 1; k <= degree; ++k) { // times (x - root)
                for (int i = k; i > 0; --i) c[i] -= root * c[i - 1];
                if (!in.oneIn(4)) root = in.lattice();
            }
            int const scale = in.below(100) - 50;
            for (int i = 0; i <= degree; ++i) c[i] = std::ldexp(c[i], i * scale);
            if (in.oneIn(8)) c[in.below(degree + 1)] += in.spread(-60, -40);
        }
        sinew::RealRoots const found = sinew::realRoots(c, degree);
        out.add(static_cast<int>(found.outcome));
        out.add(found.count);
        for (int i = 0; i < found.count; ++i) {
            out.add(found.roots[i]);
            out.add(found.multiplicities[i]);
        }
    });
}

// Any points, points on a line or in a plane, and the corners of a square or a cube, where all directions fit equally.
std::vector<Vector3> cloud(Inputs& in)
{
    int const kind = in.below(4);
    int const count = in.below(12);
    std::vector<Vector3> points;
    Vector3 const a = in.tamePoint();
    Vector3 const b = in.tamePoint();
    if (kind == 0) {
        int const corners = in.oneIn(2) ? 4 : 8;
        for (int i = 0; i < corners; ++i) points.push_back(a + Vector3(i % 2, i / 2 % 2, i / 4));
        return points;
    }
    for (int i = 0; i < count; ++i) {
        Vector3 const p = kind == 1 ? in.point() : in.tamePoint();
        points.push_back(kind == 2 ? near(in, a, b) : p);
    }
    return points;
}

void bestFit(Inputs& in, Record& out)
{
    repeat(out, [&] {
        std::vector<Vector3> const points = cloud(in);
        Vector3 center(1.0, 2.0, 3.0);
        UVector3 direction;
        out.add(bestFitLine(points, &center, &direction));
        out.add(center);
        out.add(direction);
        out.add(bestFitPlane(points, &center, &direction));
        out.add(direction);
        out.add(_getCenterAndEigv(points, &center, &direction, in.oneIn(2)));
        out.add(center);
        out.add(direction);
    });
}

void addFit(sinew::FitOutcome outcome, Vector3 const& centroid, Vector3 const& axis, double residual,
            double const (&spreads)[3], Record& out)
{
    out.add(outcome);
    out.add(centroid);
    out.add(axis);
    out.add(residual);
    for (double const spread : spreads) out.add(spread);
}

// A number beyond the range of floats becomes infinite; the conversion itself would be undefined.
float nearestFloat(double x)
{
    using limits = std::numeric_limits<float>;
    if (std::fabs(x) > double{limits::max()}) return x > 0 ? limits::infinity() : -limits::infinity();
    return static_cast<float>(x);
}

void fit(Inputs& in, Record& out)
{
    repeat(out, [&] {
        std::vector<Vector3> points = cloud(in);
        double const scale = in.oneIn(2) ? 1.0 : in.spread(-1000, 1000);
        for (Vector3& p : points) p *= scale;
        std::vector<float> coordinates;
        std::vector<float> weights;
        for (Vector3 const& p : points) {
            for (int k = 0; k < 3; ++k) coordinates.push_back(nearestFloat(in.oneIn(64) ? in.special() : p[k]));
            weights.push_back(static_cast<float>(in.lattice()));
        }
        auto const doubles = sinew::coordinatesOf(points.data(), points.size());
        sinew::LineFit const line = sinew::fitLine(doubles);
        addFit(line.outcome, line.centroid, line.direction, line.residual, line.spreads, out);
        sinew::PlaneFit plane = sinew::fitPlane(doubles);
        addFit(plane.outcome, plane.centroid, plane.normal, plane.residual, plane.spreads, out);
        plane = sinew::fitPlane(sinew::packed(coordinates, 3), sinew::packed(weights));
        addFit(plane.outcome, plane.centroid, plane.normal, plane.residual, plane.spreads, out);
    });
}

void fitDiagnosis(Inputs& in, Record& out)
{
    repeat(out, [&] {
        std::vector<Vector3> points = cloud(in);
        double const scale = in.oneIn(2) ? 1.0 : in.spread(-60, 4);
        for (Vector3& p : points) p *= scale;
        out.add(sinew::diagnose(points));
    });
}

// Mostly in the plane z = 0.
Vector3 planePoint(Inputs& in)
{
    Vector3 p = in.point();
    if (!in.oneIn(16)) p.z = 0.0;
    return p;
}

void clipHalfPlane(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 a = planePoint(in);
        Vector3 b = planePoint(in);
        Vector3 const p = in.oneIn(2) ? a : planePoint(in);
        UVector3 const n = in.direction();
        out.add(segClipHalfPlane2D(a, b, p, n));
        out.add(a);
        out.add(b);
    });
}

void clipRect(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const a = planePoint(in);
        Vector3 const b = planePoint(in);
        Vector3 const lo = planePoint(in);
        Vector3 const hi = planePoint(in);
        Vector3 outA;
        Vector3 outB;
        out.add(segClipRect2D(a, b, lo, hi, outA, outB));
        out.add(outA);
        out.add(outB);
        out.add(segIntersectRect2D(a, b, lo, hi));
    });
}

void segments(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const a = planePoint(in);
        Vector3 const b = planePoint(in);
        Vector3 const c = planePoint(in);
        Vector3 const d = planePoint(in);
        double const tol = in.oneIn(4) ? 0.0 : tolerance(in);
        out.add(segsIntersect(a, b, c, d, tol, true));
        out.add(segsIntersect(a, b, c, d, tol, false));
    });
}

// A point, sometimes far away.
Vector3 rayOrigin(Inputs& in)
{
    double const away = in.oneIn(4) ? 1e8 : 1.0;
    return in.point() * away;
}

// The end of a range: often the parameter of a crossing, or infinite.
double rangeEnd(Inputs& in, double infinite)
{
    int const kind = in.below(4);
    return kind == 0 ? infinite : (kind == 1 ? in.number() : in.lattice());
}

void rayTriangles(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const a = in.point();
        Vector3 const b = in.point();
        Vector3 const c = in.point();
        double const s = 0.125 * in.below(9);
        double const t = 0.125 * in.below(9);
        Vector3 const target = in.oneIn(4) ? in.point() : a + s * (b - a) + t * (c - a);
        Vector3 const origin = rayOrigin(in);
        sinew::Ray const ray(origin, target - origin);
        double const tMin = rangeEnd(in, -kInfinity);
        double const tMax = rangeEnd(in, kInfinity);
        sinew::RayTriangle const found = sinew::rayTriangle(ray, a, b, c, tMin, tMax);
        out.add(found.hit);
        out.add(found.side);
        out.add(found.t);
        out.add(found.weights);
    });
}

void raySpheres(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const origin = rayOrigin(in);
        Vector3 const direction = in.point();
        Vector3 const center = in.oneIn(2) ? near(in, origin, direction) : in.point();
        double const radius = in.number();
        double const tMin = rangeEnd(in, -kInfinity);
        double const tMax = rangeEnd(in, kInfinity);
        sinew::RaySphere const found = sinew::raySphere(sinew::Ray(origin, direction), center, radius, tMin, tMax);
        out.add(found.hit);
        out.add(found.lineHit);
        out.add(found.tEnter);
        out.add(found.tLeave);
    });
}

void closestPointsOfLines(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const p1 = in.point();
        Vector3 const d1 = in.point();
        Vector3 const d2 = in.oneIn(3) ? near(in, d1, d1) : in.point();
        Vector3 const p2 = in.oneIn(2) ? near(in, p1, d1) : in.point();
        sinew::ClosestLines const found = sinew::closestLines(p1, d1, p2, d2);
        out.add(found.parallel);
        out.add(found.t1);
        out.add(found.t2);
        out.add(found.point1);
        out.add(found.point2);
        out.add(found.distance);
    });
}

} // namespace

std::vector<Group> queriesGroups()
{
    constexpr MathLibrary kUnused = MathLibrary::unused;
    return {
        {"queries.LineLineInt.unit", "pairs of lines", kUnused, lineLine},
        {"queries.LineLineInt.anyLength", "pairs of lines", kUnused, lineLineAnyLength},
        {"queries.PlanePlaneInt", "pairs of planes", kUnused, planePlane},
        {"queries.LinePlaneInt", "lines and planes", kUnused, linePlane},
        {"queries.LineTriangleInt", "lines and triangles", kUnused, lineTriangle},
        {"queries.LineSphereInt", "lines and spheres", kUnused, lineSphere},
        {"queries.TriangleWeightsFinder", "points and triangles", kUnused, triangleWeights},
        {"queries.solveQuadratic", "polynomials", kUnused, quadratic},
        {"queries.solveCubic", "polynomials", kUnused, cubic},
        {"queries.realRoots", "polynomials", kUnused, polynomial},
        {"queries.bestFit", "lists of points", kUnused, bestFit},
        {"queries.fit", "lists of points", kUnused, fit},
        {"queries.fitDiagnosis", "lists of points", MathLibrary::used, fitDiagnosis},
        {"queries.segClipHalfPlane2D", "segments and half-planes", kUnused, clipHalfPlane},
        {"queries.segClipAndIntersectRect2D", "segments and rectangles", kUnused, clipRect},
        {"queries.segsIntersect", "pairs of segments", kUnused, segments},
        {"queries.rayTriangle", "rays and triangles", kUnused, rayTriangles},
        {"queries.raySphere", "rays and spheres", kUnused, raySpheres},
        {"queries.closestLines", "pairs of lines", kUnused, closestPointsOfLines},
    };
}

} // namespace selftest
