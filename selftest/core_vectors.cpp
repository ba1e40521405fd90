// Vectors, and the functions of vectors and points.

#include <selftest/core_groups.h>

#include <sinew/core/predicates.h>
#include <sinew/core/vector3.h>
#include <sinew/core/vector_geometry.h>

namespace selftest {

namespace {

void arithmetic(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const a = in.point();
        Vector3 const b = in.point();
        double const s = in.number();
        out.add(a + b);
        out.add(a - b);
        out.add(-a);
        out.add(a * s);
        out.add(s * a);
        out.add(a / s);
        out.add(a * b);
        out.add(cross(a, b));
        Vector3 changed = a;
        changed += b;
        changed *= s;
        changed -= a;
        out.add(changed);
        out.add(a == b);
        out.add(a != b);
        out.add(a[in.below(5)]);
    });
}

void lengths(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const a = in.point();
        Vector3 const b = in.point();
        out.add(a.length());
        out.add(a.lengthSq());
        out.add(dist(a, b));
        out.add(distSq(a, b));
        out.add(a.isNull());
    });
}

void normalisation(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const v = in.point();
        Vector3 changed = v;
        out.add(changed.autoNormalize());
        out.add(changed);
        out.add(v.normalize());
        out.add(UVector3(v));
        out.add(UVector3(v.z, v.x, v.y));
    });
}

void parallelAndNormal(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const a = in.point();
        Vector3 const b = in.point();
        double const tolerance = in.oneIn(2) ? -1.0 : in.number();
        out.add(a.isParallel(b, tolerance));
        out.add(a.isAlmostParallel(b));
        out.add(a.isNormal(b, tolerance));
        out.add(a.isAlmostNormal(b));
    });
}

void pullBack(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const v = in.point();
        Vector3 const basis[2] = {in.point(), in.point()};
        Vector3 coefficients(7.0, 8.0, 9.0);
        out.add(v.pullBack(basis, &coefficients));
        out.add(coefficients);
    });
}

void isInTriangle(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const p = in.point();
        Vector3 const a = in.point();
        Vector3 const b = in.point();
        Vector3 const c = in.point();
        out.add(p.isInTriangle(a, b, c));
        double const s = in.uniform(0.0, 1.0);
        double const t = in.lattice() * 0.25;
        out.add((a + s * (b - a) + t * (c - a)).isInTriangle(a, b, c)); // in the plane, often on an edge
    });
}

void reflect(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const p = in.point();
        Vector3 const a = in.point();
        Vector3 const b = in.point();
        out.add(p.reflect(a, b));
    });
}

void angleBetween(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const a = in.point();
        Vector3 const b = in.point();
        Vector3 const n = in.point();
        out.add(getAngleBetween(a, b, n));
    });
}

void samePlaneTest(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const p = in.point();
        UVector3 const m = in.direction();
        Vector3 const q = in.point();
        UVector3 const n = in.oneIn(2) ? UVector3(m + 1e-3 * in.tamePoint()) : in.direction();
        out.add(samePlane(p, m, q, n));
        out.add(samePlane(p, m, projectOnPlane(q, p, m), n));
    });
}

void projections(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const p = in.point();
        Vector3 const a = in.point();
        UVector3 const d = in.direction();
        out.add(projectOnLine(p, a, d));
        out.add(projectOnPlane(p, a, d));
    });
}

void distanceToSegment(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const p = in.point();
        Vector3 const a = in.point();
        Vector3 const b = in.point();
        double t = -1.0;
        out.add(distSqToLineSegment(p, a, b, &t));
        out.add(t);
    });
}

void basis(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const n = in.oneIn(2) ? in.direction() : in.point();
        Vector3 e1;
        Vector3 e2;
        getBasis(n, e1, e2);
        out.add(e1);
        out.add(e2);
    });
}

void curvature(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const d1 = in.point();
        Vector3 const d2 = in.point();
        out.add(calcCurvature(d1, d2));
    });
}

void curvaturesOfSurface(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const first[2] = {in.point(), in.point()};
        Vector3 const second[3] = {in.point(), in.point(), in.point()};
        double k1 = -1.0;
        double k2 = -1.0;
        out.add(principalCurvatures(first, second, &k1, &k2));
        out.add(k1);
        out.add(k2);
    });
}

// Points of a grid, points on a line or circle up to rounding, and any.
void predicates(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 p[4] = {in.point(), in.point(), in.point(), in.point()};
        if (in.oneIn(2)) {
            for (Vector3& point : p) point = in.tamePoint();
        }
        if (in.oneIn(4)) p[2] = p[0] + (p[1] - p[0]) * in.tame();
        double const along = in.lattice();
        if (in.oneIn(4)) p[3] = p[0] + (p[1] - p[0]) * along + (p[2] - p[0]) * in.tame();
        tzNM::vect2<double> q[4];
        for (int i = 0; i < 4; ++i) q[i] = {p[i].x, p[i].y};
        if (in.oneIn(4)) { // corners of a rectangle
            q[2] = q[0] + q[1];
            q[1] = {q[2].x, q[0].y};
            q[3] = {q[0].x, q[2].y};
        }
        out.add(sinew::orient2d(q[0], q[1], q[2]));
        out.add(sinew::orient3d(p[0], p[1], p[2], p[3]));
        out.add(sinew::inCircle(q[0], q[1], q[2], q[3]));
    });
}

} // namespace

std::vector<Group> vectorGroups()
{
    constexpr MathLibrary kUnused = MathLibrary::unused;
    return {
        {"core.Vector3.arithmetic", "pairs of vectors and a number", kUnused, arithmetic},
        {"core.Vector3.lengths", "pairs of vectors", kUnused, lengths},
        {"core.Vector3.normalisation", "vectors", kUnused, normalisation},
        {"core.Vector3.parallelAndNormal", "pairs of vectors and a tolerance", kUnused, parallelAndNormal},
        {"core.Vector3.pullBack", "vectors and bases", kUnused, pullBack},
        {"core.Vector3.isInTriangle", "pairs of points and a triangle", kUnused, isInTriangle},
        {"core.Vector3.reflect", "points and lines", kUnused, reflect},
        {"core.getAngleBetween", "triples of vectors", MathLibrary::used, angleBetween},
        {"core.samePlane", "pairs of planes", kUnused, samePlaneTest},
        {"core.projectOnLineAndPlane", "points and lines", kUnused, projections},
        {"core.distSqToLineSegment", "points and segments", kUnused, distanceToSegment},
        {"core.getBasis", "vectors", kUnused, basis},
        {"core.calcCurvature", "pairs of derivatives", kUnused, curvature},
        {"core.principalCurvatures", "quintuples of derivatives", kUnused, curvaturesOfSurface},
        {"core.predicates", "quadruples of points", kUnused, predicates},
    };
}

} // namespace selftest
