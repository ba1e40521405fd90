// Distances to polylines, implicit functions, proximity, dense matrices.

#include <selftest/group.h>
#include <selftest/polylines.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <utility>

#include <sinew/core/bbox.h>
#include <sinew/fields/dense_matrix.h>
#include <sinew/fields/impl_ellipsoid.h>
#include <sinew/fields/implicit.h>
#include <sinew/fields/polyline_projector.h>
#include <sinew/fields/polyline_set.h>
#include <sinew/fields/proximity_tester.h>
#include <sinew/fields/smooth_distance.h>
#include <sinew/fields/symmetric_smooth_distance.h>

namespace selftest {

namespace {

// ---- nearest points on polylines ----

void add(sinew::PolylineHit const& hit, Record& out)
{
    out.add(hit.segment);
    out.add(hit.t);
    out.add(hit.point);
}

// Calls test(polyline, queries) for a polyline after the other, until there were enough queries.
template <typename Test>
void forPolylines(Inputs& in, Record& out, bool regular, int inputs, Test const& test)
{
    constexpr int kQueries = 250; // for one polyline
    while (out.count() < inputs) {
        Polyline const polyline = regular ? regularPolyline(in) : irregularPolyline(in);
        std::vector<Vector3> queries;
        for (int i = 0; i < kQueries; ++i) queries.push_back(queryNear(in, polyline));
        test(polyline, queries);
        out.countInputs(kQueries);
    }
}

void project(Polyline const& polyline, std::vector<Vector3> const& queries, Record& out)
{
    PolylineProjector projector(polyline);
    out.add(projector.arcLengths);
    for (Vector3 const& q : queries) {
        projector.project(q);
        out.add(projector.segment);
        out.add(projector.t);
        out.add(projector.point);
    }
}

void projectOnIrregular(Inputs& in, Record& out)
{
    forPolylines(in, out, false, kInputs,
                 [&](auto const& polyline, auto const& queries) { project(polyline, queries, out); });
}

// Ladders, combs, circles and grids, asked on their axes of symmetry: nearly every query has several nearest segments.
void projectOnRegular(Inputs& in, Record& out)
{
    forPolylines(in, out, true, kInputs,
                 [&](auto const& polyline, auto const& queries) { project(polyline, queries, out); });
}

void projectAll(Inputs& in, Record& out)
{
    forPolylines(in, out, true, kInputs, [&](auto const& polyline, auto const& queries) {
        PolylineProjector const projector(polyline);
        std::vector<sinew::PolylineHit> hits(queries.size());
        sinew::projectMany(projector, queries.data(), queries.size(), hits.data());
        for (sinew::PolylineHit const& hit : hits) add(hit, out);
        PolylineProjector copy(projector);
        PolylineProjector other(queries);
        add(sinew::closestPoint(copy, queries[0]), out);
        other = copy;
        add(sinew::closestPoint(other, queries[1]), out);
        PolylineProjector const moved(std::move(copy));
        add(sinew::closestPoint(moved, queries[2]), out);
    });
}

void arcLengths(Inputs& in, Record& out)
{
    forPolylines(in, out, false, kInputs, [&](auto const& polyline, auto const& queries) {
        PolylineProjector const projector(polyline);
        for (Vector3 const& q : queries) {
            sinew::PolylineHit const nearest = sinew::closestPoint(projector, q);
            double const length = sinew::arcLengthOf(projector, nearest);
            out.add(nearest.distSq);
            out.add(length);
            sinew::PolylineHit const there = sinew::pointAtArcLength(projector, in.oneIn(2) ? length : in.number());
            add(there, out);
            out.add(there.distSq);
        }
    });
}

// Sets of some irregular polylines, and of regular ones, which give ties between curves.
void polylineSets(Inputs& in, Record& out)
{
    while (out.count() < kInputs) {
        std::vector<PolylineProjector> curves;
        Polyline all;
        bool const regular = in.oneIn(2);
        for (int i = 1 + in.below(20); i > 0; --i) {
            Polyline const polyline = regular ? regularPolyline(in) : irregularPolyline(in);
            all.insert(all.end(), polyline.begin(), polyline.end());
            curves.emplace_back(polyline);
        }
        sinew::PolylineSet const set(std::move(curves));
        std::vector<Vector3> queries;
        for (int i = 0; i < 250; ++i) queries.push_back(queryNear(in, all));
        std::vector<sinew::PolylineSetHit> hits(queries.size());
        sinew::projectMany(set, sinew::coordinatesOf(std::as_const(queries).data(), queries.size()), hits.data());
        for (sinew::PolylineSetHit const& nearest : hits) {
            out.add(nearest.curve);
            add(nearest.hit, out);
            out.add(nearest.hit.distSq);
        }
        out.countInputs(static_cast<std::int64_t>(queries.size()));
    }
}

// ---- smooth distances ----

void smoothWeight(Inputs& in, Record& out)
{
    repeat(out, [&] {
        double const center = in.number();
        double const radius = in.oneIn(2) ? in.uniform(0.0, 2.0) : in.number();
        SmoothWeight const weight(center, radius);
        double const x = in.oneIn(2) ? center + in.lattice() * 0.25 * radius : in.number();
        double w = -1.0;
        double dw = -1.0;
        double d2w = -1.0;
        out.add(weight.evaluate(x, &w, &dw, &d2w));
        for (double const number : {weight.invRadius, weight.margin, w, dw, d2w}) out.add(number);
    });
}

void smoothMaximum(Inputs& in, Record& out)
{
    repeat(out, [&] {
        double const a = in.number();
        double const b = in.oneIn(2) ? a + in.spread(-50, 1) : in.number();
        double const h = in.oneIn(2) ? in.uniform(0.0, 2.0) : in.number();
        double gradient[3] = {-1.0, -1.0, -1.0};
        double hessian[6] = {-1.0, -1.0, -1.0, -1.0, -1.0, -1.0};
        out.add(smoothMax(a, b, h, gradient, hessian));
        for (double const number : gradient) out.add(number);
        for (double const number : hessian) out.add(number);
    });
}

void foldedDistances(Inputs& in, Record& out)
{
    double minimum = 1e13;
    Vector3 gradient;
    Matrix3 hessian;
    repeat(out, [&] {
        if (in.oneIn(8)) { // a new minimum
            minimum = in.oneIn(8) ? in.number() : 1e13;
            gradient = Vector3();
            hessian = Matrix3();
        }
        Vector3 const x = in.oneIn(8) ? in.point() : in.tamePoint();
        Vector3 const y = in.tamePoint();
        double const d = in.oneIn(8) ? in.number() : distSq(x, y);
        double const h = in.oneIn(8) ? in.number() : in.uniform(0.0, 2.0);
        Vector3* const wantedGradient = in.oneIn(8) ? nullptr : &gradient;
        Matrix3* const wantedHessian = in.oneIn(8) ? nullptr : &hessian;
        updateSmoothDist(d, x, y, minimum, h, wantedGradient, wantedHessian);
        out.add(minimum);
        out.add(gradient);
        out.add(hessian);
    });
}

double blendWidth(Inputs& in)
{
    int const kind = in.below(4);
    if (kind == 0) return in.oneIn(2) ? 0.0 : in.number();
    return kind == 1 ? in.uniform(0.0, 4.0) : in.uniform(0.0, 0.1);
}

void smoothDistanceMany(Inputs& in, Record& out, bool regular)
{
    forPolylines(in, out, regular, kInputs, [&](auto const& polyline, auto const& queries) {
        double const h = blendWidth(in);
        std::vector<double> distances(queries.size());
        std::vector<Vector3> gradients(queries.size());
        std::vector<Matrix3> hessians(queries.size());
        sinew::smoothDistMany(polyline, queries.data(), queries.size(), h, distances.data(), gradients.data(),
                              hessians.data());
        out.add(distances);
        out.add(gradients);
        out.add(hessians);
        double distance = -1.0;
        smoothDistToPolyline(polyline, queries[0], h, &distance, nullptr, nullptr);
        out.add(distance);
    });
}

void smoothDistToIrregular(Inputs& in, Record& out)
{
    smoothDistanceMany(in, out, false);
}

void smoothDistToRegular(Inputs& in, Record& out)
{
    smoothDistanceMany(in, out, true);
}

void symmetricSmoothDistance(Inputs& in, Record& out)
{
    forPolylines(in, out, false, kInputs, [&](auto const& polyline, auto const& queries) {
        double const width = blendWidth(in);
        std::vector<double> distances(queries.size());
        std::vector<Vector3> gradients(queries.size());
        std::vector<Matrix3> hessians(queries.size());
        sinew::smoothDistanceMany(polyline, sinew::coordinatesOf(queries.data(), queries.size()), width,
                                  distances.data(), gradients.data(), hessians.data());
        out.add(distances);
        out.add(gradients);
        out.add(hessians);
        out.add(sinew::smoothDistance(polyline, queries[0], width).dist);
    });
}

// ---- dense matrices ----

// Regular, singular, and with entries that are not finite; of any size up to `largest`.
template <typename T>
matrix<T> denseMatrix(Inputs& in, int largest)
{
    int const n = in.below(largest + 1);
    matrix<T> m(n, in.oneIn(16) ? n + 1 : n);
    int const kind = in.below(4);
    for (T& entry : m.entries) entry = static_cast<T>(kind == 0 ? in.lattice() : in.tame());
    if (n > 0 && kind == 1) {
        double const odd = in.special();
        bool const isInRange = !(std::fabs(odd) > std::numeric_limits<T>::max());
        m(in.below(n), 0) = isInRange ? static_cast<T>(odd) : std::numeric_limits<T>::infinity();
    }
    if (n > 1 && in.oneIn(4)) { // equal rows
        for (int j = 0; j < m.columns; ++j) m(1, j) = m(0, j);
    }
    return m;
}

template <typename T>
void add(matrix<T> const& m, Record& out)
{
    out.add(m.rows);
    out.add(m.columns);
    out.add(m.entries);
}

template <typename T>
void inversesOf(Inputs& in, Record& out)
{
    while (out.count() < kInputs) {
        matrix<T> const m = denseMatrix<T>(in, out.count() < kInputs / 2 ? 12 : 90);
        matrix<T> const inverse = !m;
        add(inverse, out);
        std::vector<T> vector;
        for (int j = 0; j < m.columns; ++j) vector.push_back(static_cast<T>(in.tame()));
        out.add(m * vector);
        out.countInputs(static_cast<std::int64_t>(m.entries.size()));
    }
}

// ---- implicit functions ----

using Samples = std::vector<std::pair<Vector3, double>>;

// Points in general position; sometimes too few, equal, in one plane, far apart, or with a number that is not finite.
Samples samples(Inputs& in, int count)
{
    Samples result;
    int const kind = in.below(8);
    for (int i = 0; i < count; ++i) {
        Vector3 p = kind == 0 ? in.point() : Vector3{in.uniform(), in.uniform(), in.uniform()};
        if (kind == 1) p.z = 0.5;
        if (kind == 2) p = in.tamePoint();
        result.emplace_back(kind == 3 ? p * 1e110 : p, kind == 4 ? in.number() : in.tame());
    }
    return result;
}

void implicitFit(Inputs& in, Record& out)
{
    while (out.count() < kInputs) {
        int const largest = in.oneIn(40) ? 150 : 20;
        Samples const input = samples(in, in.below(largest));
        Implicit const field(input);
        out.add(field.coefficients);
        out.add(field.constantTerm);
        out.add(field.linearTerm);
        out.add(sinew::diagnose(input));
        sinew::ImplicitCost const cost = sinew::estimateCost(input.size());
        out.add(cost.flops);
        out.countInputs(4 * static_cast<std::int64_t>(input.size()));
    }
}

void implicitEvaluation(Inputs& in, Record& out)
{
    constexpr int kQueries = 500;
    while (out.count() < kInputs) {
        Implicit const field(samples(in, 4 + in.below(60)));
        std::vector<Vector3> points;
        for (int i = 0; i < kQueries; ++i) {
            Vector3 const p = in.oneIn(4) ? in.point() : in.tamePoint();
            points.push_back(in.oneIn(8) ? field.centres[i % field.centres.size()] : p);
        }
        std::vector<double> values(points.size());
        std::vector<Vector3> gradients(points.size());
        sinew::evaluateMany(field, points.data(), points.size(), values.data());
        sinew::gradientMany(field, points.data(), points.size(), gradients.data());
        out.add(values);
        out.add(gradients);
        out.add(field.evaluate(points[0]));
        out.add(field.getGradient(points[0]));
        out.countInputs(kQueries);
    }
}

// Spread in space, in a plane, on a line, or equal.
std::vector<Vector3> cloud(Inputs& in)
{
    std::vector<Vector3> points;
    int const kind = in.below(8);
    Vector3 const a = in.tamePoint();
    Vector3 const b = in.tamePoint();
    for (int i = in.below(16); i > 0; --i) {
        Vector3 p = in.tamePoint();
        if (kind == 0) p = in.point();
        if (kind == 1) p = a;
        if (kind == 2) p = a + in.lattice() * b;
        if (kind == 3) p *= 1e-4;
        points.push_back(p);
    }
    return points;
}

void ellipsoidFit(Inputs& in, Record& out)
{
    repeat(out, [&] {
        std::vector<Vector3> const points = cloud(in);
        ImplEllipsoid const about(points, in.tamePoint());
        ImplEllipsoid const fitted(points);
        out.add(about.shape);
        out.add(fitted.centre);
        out.add(fitted.shape);
        std::unique_ptr<ImplEllipsoid const> const thick(fitted.thicken(in.tame()));
        out.add(thick->shape);
    });
}

void ellipsoidEvaluation(Inputs& in, Record& out)
{
    repeat(out, [&] {
        ImplEllipsoid ellipsoid;
        ellipsoid.centre = in.tamePoint();
        ellipsoid.shape = in.oneIn(2) ? in.matrix() : in.rotation();
        Vector3 const p = in.point();
        double value = -1.0;
        Vector3 gradient;
        Matrix3 hessian;
        out.add(ellipsoid.evaluate(p, &value, &gradient, &hessian));
        out.add(value);
        out.add(gradient);
        out.add(hessian);
        sinew::evaluateMany(ellipsoid, &p, 1, &value);
        sinew::gradientMany(ellipsoid, &p, 1, &gradient);
        out.add(value);
        out.add(gradient);
    });
}

// ---- proximity ----

// Sets with points at any distance get a radius of their size: the grid of a set without extent along an axis has up to
// 2^31 cells.
double radiusFor(Inputs& in, std::vector<Vector3> const& points, bool hostile)
{
    if (in.oneIn(8)) return in.oneIn(2) ? 0.0 : std::numeric_limits<double>::quiet_NaN();
    double const radius = in.uniform(0.25, 2.0);
    if (!hostile) return radius;
    Bbox const box(points);
    Vector3 const extent = box.max - box.min;
    return radius * std::max({extent.x, extent.y, extent.z});
}

void proximity(Inputs& in, Record& out)
{
    constexpr int kQueries = 500;
    while (out.count() < kInputs) {
        bool const hostile = in.oneIn(4);
        std::vector<Vector3> points;
        for (int i = in.below(60); i > 0; --i) points.push_back(hostile ? in.point() : in.tamePoint());
        ProximityTester const tester(points, radiusFor(in, points, hostile));
        out.add(tester.origin);
        for (int a = 0; a < 3; ++a) {
            out.add(tester.cellCount[a]);
            out.add(tester.cellSize[a]);
        }
        std::vector<Vector3> queries;
        for (int i = 0; i < kQueries; ++i) queries.push_back(in.oneIn(4) ? in.point() : in.tamePoint());
        bool results[kQueries];
        sinew::testMany(tester, queries.data(), queries.size(), results);
        for (bool const result : results) out.add(result);
        out.add(tester.test(queries[0]));
        out.countInputs(kQueries);
    }
}

} // namespace

std::vector<Group> fieldsGroups()
{
    constexpr MathLibrary kUnused = MathLibrary::unused;
    return {
        {"fields.PolylineProjector.irregular", "queries", kUnused, projectOnIrregular},
        {"fields.PolylineProjector.regular", "queries", kUnused, projectOnRegular},
        {"fields.projectMany", "queries", kUnused, projectAll},
        {"fields.arcLengths", "queries", kUnused, arcLengths},
        {"fields.PolylineSet", "queries", kUnused, polylineSets},
        {"fields.SmoothWeight", "weights and arguments", kUnused, smoothWeight},
        {"fields.smoothMax", "pairs of numbers and a width", kUnused, smoothMaximum},
        {"fields.updateSmoothDist", "distances", kUnused, foldedDistances},
        {"fields.smoothDist.irregular", "queries", kUnused, smoothDistToIrregular},
        {"fields.smoothDist.regular", "queries", kUnused, smoothDistToRegular},
        {"fields.smoothDistance", "queries", kUnused, symmetricSmoothDistance},
        {"fields.matrix.double", "entries", kUnused, inversesOf<double>},
        {"fields.matrix.float", "entries", kUnused, inversesOf<float>},
        {"fields.Implicit.fit", "coordinates and values", kUnused, implicitFit},
        {"fields.Implicit.evaluate", "queries", kUnused, implicitEvaluation},
        {"fields.ImplEllipsoid.fit", "lists of points", kUnused, ellipsoidFit},
        {"fields.ImplEllipsoid.evaluate", "ellipsoids and points", kUnused, ellipsoidEvaluation},
        {"fields.ProximityTester", "queries", kUnused, proximity},
    };
}

} // namespace selftest
