// The module fields with every allocation failing in turn.

#include <array>
#include <limits>
#include <memory>

#include <sinew/fields/dense_matrix.h>
#include <sinew/fields/impl_ellipsoid.h>
#include <sinew/fields/implicit.h>
#include <sinew/fields/polyline_projector.h>
#include <sinew/fields/polyline_set.h>
#include <sinew/fields/proximity_tester.h>
#include <sinew/fields/smooth_distance.h>
#include <sinew/fields/symmetric_smooth_distance.h>

#include "faults/digest.h"
#include "faults/sweep.h"
#include "fields/polylines.h"
#include "support/random.h"

using faults::Digest;
using faults::Guarantee;
using faults::sweep;
using test::Random;

namespace {

using Samples = std::vector<std::pair<Vector3, double>>;

template <typename T>
std::string digestOf(matrix<T> const& m)
{
    return Digest(m.rows, m.columns, m.entries);
}

std::string digestOf(Implicit const& f)
{
    Vector3 const p(0.3, -0.2, 0.7);
    return Digest(f.centres, f.coefficients, f.constantTerm, f.linearTerm, f.evaluate(p), f.getGradient(p));
}

std::string digestOf(PolylineProjector const& p)
{
    Digest digest(p.points, p.arcLengths, p.t, p.segment, p.point);
    Random random(1);
    for (int i = 0; i < 20; ++i) {
        sinew::PolylineHit const hit = sinew::closestPoint(p, random.point(-2, 2));
        digest.add(hit.segment);
        digest.add(hit.t);
        digest.add(hit.point);
    }
    return digest;
}

std::string digestOf(ProximityTester const& tester)
{
    Digest digest(tester.origin, tester.occupied);
    for (int a = 0; a < 3; ++a) {
        digest.add(tester.axes[a]);
        digest.add(tester.cellCount[a]);
        digest.add(tester.cellSize[a]);
    }
    Random random(2);
    for (int i = 0; i < 50; ++i) digest.add(tester.test(random.point(-2, 2)));
    return digest;
}

template <typename T>
matrix<T> filled(int rows, int columns)
{
    Random random(3);
    matrix<T> m(rows, columns);
    for (T& entry : m.entries) entry = static_cast<T>(random.uniform());
    return m;
}

Samples samples(int count)
{
    Random random(4);
    Samples result;
    for (int i = 0; i < count; ++i) {
        Vector3 const p = random.point();
        result.emplace_back(p, random.uniform());
    }
    return result;
}

std::vector<Vector3> curve(int count)
{
    Random random(5);
    return test::noisyCurve(count, random);
}

std::string digestOf(sinew::ImplicitDiagnosis const& diagnosis)
{
    return Digest(diagnosis);
}
std::string digestOf(std::vector<double> const& values)
{
    return Digest(values);
}
std::string digestOf(std::string const& text)
{
    return text;
}

// The call `compute()` that returns an object.
template <typename Compute>
void sweepResult(Compute const& compute)
{
    faults::sweepResult(compute, [](auto const& result) { return digestOf(result); });
}

} // namespace

TEST(FieldsAllocation, DenseMatrix)
{
    sweepResult([] { return matrix<double>(5, 7); });
    matrix<double> const square = filled<double>(20, 20);
    matrix<float> const small = filled<float>(4, 4);
    matrix<double> const singular(6, 6);
    std::vector<double> const v(20, 0.5);
    sweepResult([&] { return !square; });
    sweepResult([&] { return !small; });
    sweepResult([&] { return !singular; });
    sweepResult([&] { return square * v; });
    faults::sweepCopies<matrix<double>>([] { return filled<double>(2, 3); }, [] { return filled<double>(9, 5); },
                                        [](matrix<double> const& m) { return digestOf(m); });
}

TEST(FieldsAllocation, Implicit)
{
    Samples const few = samples(6);
    Samples const plane = {{{0, 0, 0}, 1}, {{1, 0, 0}, 2}, {{0, 1, 0}, 3}, {{1, 1, 0}, 4}};
    sweepResult([&] { return Implicit(few); });
    sweepResult([&] { return Implicit(plane); });
    faults::sweepCopies<Implicit>([] { return Implicit(samples(5)); }, [] { return Implicit(samples(9)); },
                                  [](Implicit const& f) { return digestOf(f); });
    Implicit const field(few);
    std::vector<Vector3> points = curve(10);
    std::vector<double> values(10);
    faults::expectNoAllocation([&] {
        sinew::evaluateMany(field, points.data(), points.size(), values.data());
        sinew::gradientMany(field, points.data(), points.size(), points.data());
        sinew::estimateCost(10);
    });
}

TEST(FieldsAllocation, ImplicitDiagnosis)
{
    Samples const sound = samples(6);
    Samples repeated = samples(5);
    repeated.push_back(repeated[0]);
    repeated.emplace_back(Vector3(std::numeric_limits<double>::infinity(), 0, 0), 0);
    sweepResult([&] { return sinew::diagnose(sound); });
    sweepResult([&] { return sinew::diagnose(repeated); });
    sinew::ImplicitDiagnosis const diagnosis = sinew::diagnose(repeated);
    sweepResult([&] { return diagnosis.text(); });
    using Diagnosis = sinew::ImplicitDiagnosis;
    faults::sweepCopies<Diagnosis>([&] { return sinew::diagnose(Samples(2, sound[0])); }, [&] { return diagnosis; },
                                   [](Diagnosis const& d) { return digestOf(d); });
    using Finding = sinew::Finding<sinew::ImplicitFault>;
    faults::sweepCopies<Finding>([&] { return diagnosis.findings.at(0); },
                                 [&] {
                                     Finding finding = diagnosis.findings.at(1);
                                     finding.sentence += finding.sentence;
                                     return finding;
                                 },
                                 [](Finding const& f) { return std::string(Digest(f)); });
}

TEST(FieldsAllocation, Ellipsoid)
{
    std::vector<Vector3> const points = curve(10);
    ImplEllipsoid const ellipsoid(points);
    struct State
    {
        std::unique_ptr<ImplEllipsoid> thick;
    };
    sweep(
        Guarantee::strong, [] { return std::make_unique<State>(); },
        [&](State& s) { s.thick.reset(ellipsoid.thicken(0.1)); },
        [](State& s) { return s.thick ? std::string(Digest(s.thick->centre, s.thick->shape)) : "none"; });
    faults::expectNoAllocation([&] {
        ImplEllipsoid other(points);
        other.computeMatrix(points, Vector3());
        double value;
        other.evaluate(points[0], &value, nullptr, nullptr);
    });
}

TEST(FieldsAllocation, PolylineProjector)
{
    for (int const count : {12, 200}) {
        SCOPED_TRACE(count);
        std::vector<Vector3> const points = curve(count);
        sweepResult([&] { return PolylineProjector(points); });
        // Copies of a long projector with an index share it; others build their own.
        for (bool const indexed : {false, true}) {
            auto const large = [&] {
                PolylineProjector p(points);
                if (indexed) p.project({0, 0, 1});
                return p;
            };
            faults::sweepCopies<PolylineProjector>([] { return PolylineProjector(curve(3)); }, large,
                                                   [](PolylineProjector const& p) { return digestOf(p); });
        }
    }
}

TEST(FieldsAllocation, SetsOfPolylines)
{
    auto const set = [](int curves) {
        std::vector<PolylineProjector> list;
        for (int i = 0; i < curves; ++i) list.emplace_back(curve(3 + 20 * (i % 2)));
        return sinew::PolylineSet(std::move(list));
    };
    auto const digest = [](sinew::PolylineSet const& s) {
        Digest result(s.curves().size());
        for (PolylineProjector const& p : s.curves()) result.add(digestOf(p));
        return std::string(result);
    };
    faults::sweepResult([&] { return set(9); }, digest);
    faults::sweepCopies<sinew::PolylineSet>([&] { return set(2); }, [&] { return set(9); }, digest);
    // A query builds the indices of the long polylines near it.
    sweep(
        Guarantee::strong, [&] { return std::make_unique<sinew::PolylineSet>(set(9)); },
        [](sinew::PolylineSet& s) {
            sinew::closestPoint(s, {0.1, 0.2, 0.3});
        },
        [&](sinew::PolylineSet& s) { return digest(s); });
}

TEST(FieldsAllocation, ArcLengths)
{
    PolylineProjector const polyline(curve(200));
    faults::expectNoAllocation([&] { sinew::arcLengthOf(polyline, sinew::pointAtArcLength(polyline, 0.5)); });
}

TEST(FieldsAllocation, ProjectionOnALongPolyline)
{
    struct State
    {
        PolylineProjector polyline{curve(200)};
        std::vector<Vector3> queries = curve(7);
        std::vector<sinew::PolylineHit> hits = std::vector<sinew::PolylineHit>(7);
    };
    auto const make = [] { return std::make_unique<State>(); };
    // Without queries to the projector itself, which would build its index.
    auto const digest = [](State& s) {
        Digest result(s.polyline.t, s.polyline.segment, s.polyline.point);
        for (auto const& hit : s.hits) {
            result.add(hit.segment);
            result.add(hit.t);
            result.add(hit.point);
        }
        return std::string(result);
    };
    sweep(
        Guarantee::strong, make,
        [](State& s) {
            s.polyline.project({0.1, 0.2, 0.3});
        },
        digest);
    sweep(
        Guarantee::strong, make,
        [](State& s) {
            s.hits[0] = sinew::closestPoint(s.polyline, {0.1, 0.2, 0.3});
        },
        digest);
    sweep(
        Guarantee::strong, make,
        [](State& s) { sinew::projectMany(s.polyline, s.queries.data(), s.queries.size(), s.hits.data()); }, digest);
    PolylineProjector shortOne(curve(12));
    faults::expectNoAllocation([&] { shortOne.project({1, 2, 3}); });
    PolylineProjector indexed(curve(200));
    indexed.project({1, 2, 3});
    faults::expectNoAllocation([&] { indexed.project({3, 2, 1}); });
}

TEST(FieldsAllocation, ProximityTester)
{
    Random random(6);
    std::vector<Vector3> const points = random.points(30);
    sweepResult([&] { return ProximityTester(points, 0.3); });
    faults::sweepCopies<ProximityTester>([&] { return ProximityTester({points[0]}, 0.5); },
                                         [&] { return ProximityTester(points, 0.2); },
                                         [](ProximityTester const& t) { return digestOf(t); });
    ProximityTester const tester(points, 0.3);
    bool results[30];
    faults::expectNoAllocation([&] { sinew::testMany(tester, points.data(), points.size(), results); });
}

TEST(FieldsAllocation, SmoothDistance)
{
    struct State
    {
        double dist[5] = {};
        Vector3 grad[5];
        Matrix3 hess[5];
    };
    auto const digest = [](State& s) {
        Digest result;
        for (int i = 0; i < 5; ++i) {
            result.add(s.dist[i]);
            result.add(s.grad[i]);
            result.add(s.hess[i]);
        }
        return std::string(result);
    };
    for (int const count : {12, 90}) {
        SCOPED_TRACE(count);
        std::vector<Vector3> const points = curve(count);
        std::vector<Vector3> const queries = curve(5);
        auto const make = [] { return std::make_unique<State>(); };
        sweep(
            Guarantee::strong, make,
            [&](State& s) {
                smoothDistToPolyline(points, {0.1, 0.2, 0.3}, 0.5, s.dist, s.grad, s.hess);
            },
            digest);
        if (count < 20) {
            State s;
            faults::expectNoAllocation(
                [&] { sinew::smoothDistMany(points, queries.data(), 5, 0.5, s.dist, s.grad, s.hess); });
        } else {
            sweep(
                Guarantee::basic, make,
                [&](State& s) { sinew::smoothDistMany(points, queries.data(), 5, 0.5, s.dist, s.grad, s.hess); },
                digest);
        }
    }
}

TEST(FieldsAllocation, SymmetricSmoothDistance)
{
    std::vector<Vector3> const points = curve(90);
    std::vector<Vector3> const queries = curve(5);
    faults::expectNoAllocation([&] { sinew::smoothDistance(points, {0.1, 0.2, 0.3}, 0.5); });
    using Distances = std::array<double, 5>;
    sweep(
        Guarantee::basic, [] { return std::make_unique<Distances>(); },
        [&](Distances& d) {
            sinew::smoothDistanceMany(points, sinew::coordinatesOf(queries.data(), 5), 0.5, d.data(), nullptr, nullptr);
        },
        [](Distances& d) {
            Digest result;
            for (double const dist : d) result.add(dist);
            return std::string(result);
        });
}
