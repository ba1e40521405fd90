// The forms of the module fields with progress.

#include <cstddef>
#include <cstring>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <sinew/fields/implicit.h>
#include <sinew/fields/polyline_set.h>
#include <sinew/fields/proximity_tester.h>
#include <sinew/fields/smooth_distance.h>
#include <sinew/fields/symmetric_smooth_distance.h>

#include "faults/digest.h"
#include "support/progress.h"
#include "support/random.h"

using faults::Digest;
using sinew::PolylineHit;
using sinew::PolylineSetHit;
using sinew::Progress;
using sinew::RealArray;
using test::checkProgress;
using test::Random;

namespace {

using Samples = std::vector<std::pair<Vector3, double>>;

Samples samples(int count)
{
    Random random(20261124);
    Samples result;
    for (int i = 0; i < count; ++i) {
        Vector3 const p = random.point();
        result.emplace_back(p, random.uniform());
    }
    return result;
}

std::vector<Vector3> curve(int count)
{
    Random random(20261130);
    std::vector<Vector3> result;
    for (int i = 0; i < count; ++i) result.push_back(random.point() + Vector3(0.1 * i, 0, 0));
    return result;
}

// Vectors of a host in floats or doubles, which lie 40 bytes apart.
class HostPoints
{
public:
    HostPoints(std::size_t count, bool isDouble) : bytes_(count * kStride + 1), count_(count), isDouble_(isDouble)
    {
        Random random(20261201);
        for (std::size_t i = 0; i < count; ++i) {
            for (std::size_t k = 0; k < 3; ++k) set(i, k, random.oneIn(50) ? random.hostile() : random.uniform(-1, 3));
        }
    }
    RealArray array() const
    {
        char const* const first = bytes_.data() + 1; // not aligned
        if (isDouble_) return sinew::Strided<double const>(reinterpret_cast<double const*>(first), count_, kStride);
        return sinew::Strided<float const>(reinterpret_cast<float const*>(first), count_, kStride);
    }

private:
    static constexpr std::size_t kStride = 40;

    void set(std::size_t i, std::size_t k, double x)
    {
        char* const place = bytes_.data() + 1 + i * kStride;
        float const rounded = static_cast<float>(x);
        if (isDouble_) std::memcpy(place + k * sizeof x, &x, sizeof x);
        if (!isDouble_) std::memcpy(place + k * sizeof rounded, &rounded, sizeof rounded);
    }

    std::vector<char> bytes_;
    std::size_t count_;
    bool isDouble_;
};

void addHit(Digest& digest, PolylineHit const& hit)
{
    digest.add(hit.segment);
    digest.add(hit.t);
    digest.add(hit.point);
    digest.add(hit.distSq);
}

std::string digestOf(std::vector<PolylineHit> const& hits)
{
    Digest digest;
    for (PolylineHit const& hit : hits) addHit(digest, hit);
    return digest;
}
std::string digestOf(std::vector<PolylineSetHit> const& hits)
{
    Digest digest;
    for (PolylineSetHit const& hit : hits) {
        digest.add(hit.curve);
        addHit(digest, hit.hit);
    }
    return digest;
}
std::string digestOf(std::vector<double> const& values)
{
    return Digest(values);
}
std::string digestOf(std::vector<Vector3> const& values)
{
    return Digest(values);
}
std::string digestOf(std::vector<char> const& values)
{
    return {values.begin(), values.end()};
}

// A call that fills one array of as many elements as there are points; `mark` is what they hold before.
template <typename T, typename Plain, typename Form>
void checkArray(std::size_t count, T const& mark, std::size_t fewest, Plain const& plain, Form const& form)
{
    checkProgress([&] { return std::vector<T>(count, mark); }, [&](std::vector<T>& out) { plain(out.data()); },
                  [&](std::vector<T>& out, Progress const& p) { return form(out.data(), p); },
                  [](std::vector<T> const& out) { return digestOf(out); }, fewest);
}

PolylineHit marked()
{
    PolylineHit hit;
    hit.segment = -7;
    return hit;
}

bool* asBools(char* chars)
{
    return reinterpret_cast<bool*>(chars);
}

} // namespace

TEST(FieldsProgress, FitIsTheSameAndCancelledAnywhere)
{
    Samples coplanar = samples(50);
    for (auto& [point, value] : coplanar) point.z = 0.0;
    Samples repeated = samples(50);
    repeated[30] = repeated[20];
    for (Samples const& input : {samples(150), coplanar, repeated, samples(3), Samples()}) {
        SCOPED_TRACE(input.size());
        checkProgress([] { return std::optional<Implicit>(); }, [&](std::optional<Implicit>& f) { f.emplace(input); },
                      [&](std::optional<Implicit>& f, Progress const& p) {
                          std::optional<Implicit> result = sinew::makeImplicit(input, p);
                          if (!result) return false;
                          f = std::move(result);
                          return true;
                      },
                      [](std::optional<Implicit> const& f) {
                          if (!f) return std::string("none");
                          return std::string(Digest(f->centres, f->coefficients, f->constantTerm, f->linearTerm));
                      },
                      input.size() / 2 + 4);
    }
}

TEST(FieldsProgress, DiagnosisIsTheSameAndCancelledAnywhere)
{
    using Diagnosis = std::optional<sinew::ImplicitDiagnosis>;
    Samples repeated = samples(50);
    repeated[30] = repeated[20];
    Samples huge = samples(60);
    for (auto& [point, value] : huge) point = 1e110 * point;
    for (Samples const& input : {samples(150), repeated, huge, Samples()}) {
        SCOPED_TRACE(input.size());
        checkProgress([] { return Diagnosis(); }, [&](Diagnosis& d) { d.emplace(sinew::diagnose(input)); },
                      [&](Diagnosis& d, Progress const& p) {
                          Diagnosis result = sinew::diagnose(input, p);
                          if (!result) return false;
                          d = std::move(result);
                          return true;
                      },
                      [](Diagnosis const& d) { return d ? std::string(Digest(*d)) : std::string("none"); },
                      input.size() == 150 ? 80 : 1);
    }
}

TEST(FieldsProgress, FitTellsAsOftenAsTheIntervalAllows)
{
    Samples const input = samples(1500);
    test::expectSaneNumberOfCalls([&](Progress const& p) { return sinew::makeImplicit(input, p).has_value(); });
}

TEST(FieldsProgress, ProjectionsAreTheSameAndCancelledAnywhere)
{
    for (int const vertices : {0, 1, 5, 60}) {
        PolylineProjector const polyline(curve(vertices));
        sinew::PolylineSet const set({polyline, PolylineProjector(curve(30)), PolylineProjector(curve(3))});
        for (std::size_t const count : {std::size_t{0}, std::size_t{1}, std::size_t{30000}}) {
            SCOPED_TRACE(testing::Message() << vertices << " vertices, " << count << " points");
            HostPoints const points(count, vertices != 5);
            RealArray const a = points.array();
            std::size_t const fewest = count > 1 ? 4 : 1;
            checkArray(
                count, marked(), fewest, [&](PolylineHit* hits) { sinew::projectMany(polyline, a, hits); },
                [&](PolylineHit* hits, Progress const& p) { return sinew::projectMany(polyline, a, hits, p); });
            checkArray(
                count, PolylineSetHit{-7, marked()}, fewest,
                [&](PolylineSetHit* hits) { sinew::projectMany(set, a, hits); },
                [&](PolylineSetHit* hits, Progress const& p) { return sinew::projectMany(set, a, hits, p); });
        }
    }
}

TEST(FieldsProgress, SmoothDistancesAreTheSameAndCancelledAnywhere)
{
    struct Outputs
    {
        std::vector<double> dists;
        std::vector<Vector3> grads;
        std::vector<Matrix3> hessians;
    };
    auto const digest = [](Outputs const& out) { return std::string(Digest(out.dists, out.grads, out.hessians)); };
    for (int const vertices : {0, 1, 5, 9000}) {
        std::vector<Vector3> const polyline = curve(vertices);
        for (std::size_t const count : {std::size_t{0}, std::size_t{1}, std::size_t{400}}) {
            HostPoints const points(count, vertices != 5);
            RealArray const a = points.array();
            auto const make = [&] {
                return Outputs{std::vector<double>(count, 7.0), std::vector<Vector3>(count, Vector3(7, 8, 9)),
                               std::vector<Matrix3>(count)};
            };
            for (int const wanted : {7, 1, 2, 4, 0}) {
                SCOPED_TRACE(testing::Message() << vertices << " vertices, " << count << " points, outputs " << wanted);
                auto const dists = [&](Outputs& out) { return wanted & 1 ? out.dists.data() : nullptr; };
                auto const grads = [&](Outputs& out) { return wanted & 2 ? out.grads.data() : nullptr; };
                auto const hessians = [&](Outputs& out) { return wanted & 4 ? out.hessians.data() : nullptr; };
                checkProgress(
                    make,
                    [&](Outputs& out) {
                        sinew::smoothDistMany(polyline, a, 0.01, dists(out), grads(out), hessians(out));
                    },
                    [&](Outputs& out, Progress const& p) {
                        return sinew::smoothDistMany(polyline, a, 0.01, dists(out), grads(out), hessians(out), p);
                    },
                    digest, vertices == 9000 && count > 1 ? 3 : 1);
                checkProgress(
                    make,
                    [&](Outputs& out) {
                        sinew::smoothDistanceMany(polyline, a, 0.01, dists(out), grads(out), hessians(out));
                    },
                    [&](Outputs& out, Progress const& p) {
                        return sinew::smoothDistanceMany(polyline, a, 0.01, dists(out), grads(out), hessians(out), p);
                    },
                    digest, vertices == 9000 && count > 1 ? 3 : 1);
            }
        }
    }
}

TEST(FieldsProgress, ImplicitValuesAreTheSameAndCancelledAnywhere)
{
    for (Implicit const& field : {Implicit(samples(400)), Implicit(Samples())}) {
        for (std::size_t const count : {std::size_t{0}, std::size_t{1}, std::size_t{20000}}) {
            SCOPED_TRACE(testing::Message() << field.centres.size() << " centres, " << count << " points");
            HostPoints const points(count, count == 1);
            RealArray const a = points.array();
            std::size_t const fewest = count > 1 && !field.centres.empty() ? 4 : 1;
            checkArray(
                count, 7.0, fewest, [&](double* out) { sinew::evaluateMany(field, a, out); },
                [&](double* out, Progress const& p) { return sinew::evaluateMany(field, a, out, p); });
            checkArray(
                count, Vector3(7, 8, 9), fewest, [&](Vector3* out) { sinew::gradientMany(field, a, out); },
                [&](Vector3* out, Progress const& p) { return sinew::gradientMany(field, a, out, p); });
        }
    }
}

TEST(FieldsProgress, ProximityTestsAreTheSameAndCancelledAnywhere)
{
    ProximityTester const tester(curve(40), 0.3);
    for (std::size_t const count : {std::size_t{0}, std::size_t{1}, std::size_t{600000}}) {
        HostPoints const points(count, count == 1);
        RealArray const a = points.array();
        checkArray(
            count, char{1}, count > 1 ? 4 : 1, [&](char* out) { sinew::testMany(tester, a, asBools(out)); },
            [&](char* out, Progress const& p) { return sinew::testMany(tester, a, asBools(out), p); });
    }
}
