// Nearest points and smooth distances of polylines, compared with the reference implementations.

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include <sinew/fields/polyline_projector.h>
#include <sinew/fields/smooth_distance.h>

#include "fields/reference_polyline.h"
#include "fields/reference_smooth_distance.h"
#include "fuzz/input.h"
#include "support/bits.h"

using fuzz::Input;
using fuzz::require;
using test::sameBits;

namespace {

constexpr int kMostGiven = 40;
constexpr int kMostTurns = 12;
constexpr int kMostQueries = 24;

// Some vertices, perhaps repeated many times with a shift: spirals, zigzags, equal points.
std::vector<Vector3> polyline(Input& input)
{
    std::vector<Vector3> given;
    int const count = input.below(kMostGiven);
    for (int i = 0; i < count; ++i) given.push_back(input.point());
    int const turns = 1 + (input.flag() ? input.below(kMostTurns) : 0);
    Vector3 const shift = turns > 1 ? input.tamePoint() : Vector3();
    std::vector<Vector3> result;
    for (int turn = 0; turn < turns; ++turn) {
        for (Vector3 const& p : given) result.push_back(p + static_cast<double>(turn) * shift);
    }
    if (!result.empty() && input.flag()) result.push_back(result.front());
    return result;
}

bool same(sinew::PolylineHit const& a, sinew::PolylineHit const& b)
{
    return a.segment == b.segment && sameBits(a.t, b.t) && sameBits(a.point, b.point) && sameBits(a.distSq, b.distSq);
}

// Every length has a point unless there is no segment, and the point's arc length is the length again.
void comparePointsAtArcLengths(PolylineProjector const& projector, std::vector<Vector3> const& queries)
{
    for (Vector3 const& q : queries) {
        sinew::PolylineHit const hit = sinew::pointAtArcLength(projector, q.x);
        require((hit.segment < 0) == (projector.points.size() < 2 || std::isnan(q.x)), "a point at every arc length");
        double const length = sinew::arcLengthOf(projector, hit);
        if (hit.t == 0.0 && hit.segment > 0) {
            require(length <= q.x, "a vertex at the arc length or before");
        } else if (std::isfinite(length) && q.x > 0 && q.x < projector.arcLengths.back()) {
            double const rounding = 1e-14 * projector.arcLengths.back() + std::numeric_limits<double>::min();
            require(std::abs(length - q.x) <= rounding, "the arc length of the point");
        }
    }
}

void compareNearestPoints(std::vector<Vector3> const& vertices, std::vector<Vector3> const& queries)
{
    PolylineProjector projector(vertices);
    reference::Projector const expected(vertices);
    require(sameBits(projector.arcLengths, expected.arcLengths), "same arc lengths");
    std::vector<sinew::PolylineHit> hits(queries.size());
    sinew::projectMany(projector, queries.data(), queries.size(), hits.data());
    PolylineProjector copied(projector);
    for (std::size_t i = 0; i < queries.size(); ++i) {
        sinew::PolylineHit const hit = expected.project(queries[i]);
        require(same(sinew::closestPoint(projector, queries[i]), hit), "nearest point as the reference");
        require(same(hits[i], hit), "many nearest points as single ones");
        copied.segment = -1;
        copied.t = 0;
        copied.point = Vector3();
        copied.project(queries[i]);
        require(same({copied.segment, copied.t, copied.point, hit.distSq}, hit), "the projector stores the result");
        if (i % 3 == 0) copied = PolylineProjector(projector);
    }
}

struct Field
{
    double dist = 7;
    Vector3 grad{7, 7, 7};
    Matrix3 hess;
};

void compareSmoothDistances(std::vector<Vector3> const& vertices, std::vector<Vector3> const& queries, double h)
{
    std::vector<double> dists(queries.size(), 7.0);
    std::vector<Vector3> grads(queries.size(), Vector3(7, 7, 7));
    std::vector<Matrix3> hessians(queries.size());
    sinew::smoothDistMany(vertices, queries.data(), queries.size(), h, dists.data(), grads.data(), hessians.data());
    for (std::size_t i = 0; i < queries.size(); ++i) {
        Field expected;
        reference::smoothDistToPolyline(vertices, queries[i], h, &expected.dist, &expected.grad, &expected.hess);
        Field found;
        smoothDistToPolyline(vertices, queries[i], h, &found.dist, &found.grad, &found.hess);
        require(sameBits(found.dist, expected.dist), "smooth distance as the reference");
        require(sameBits(found.grad, expected.grad), "gradient as the reference");
        require(sameBits(found.hess, expected.hess), "Hessian as the reference");
        require(sameBits(dists[i], expected.dist) && sameBits(grads[i], expected.grad), "many as single ones");
        require(sameBits(hessians[i], expected.hess), "many Hessians as single ones");
        double alone = 7;
        smoothDistToPolyline(vertices, queries[i], h, &alone, nullptr, nullptr);
        require(sameBits(alone, expected.dist), "the distance without derivatives");
    }
}

void compareSmoothMaximum(Input& input)
{
    double const a = input.number();
    double const b = input.number();
    double const h = input.number();
    double grad[3], hess[6], expectedGrad[3], expectedHess[6];
    double const expected = reference::smoothMax(a, b, h, expectedGrad, expectedHess);
    require(sameBits(smoothMax(a, b, h, grad, hess), expected), "smooth maximum");
    for (int i = 0; i < 3; ++i) require(sameBits(grad[i], expectedGrad[i]), "derivative of the smooth maximum");
    for (int i = 0; i < 6; ++i) require(sameBits(hess[i], expectedHess[i]), "second derivative");
    require(sameBits(smoothMax(a, b, h, nullptr, nullptr), expected), "without derivatives");

    Vector3 const x = input.point();
    Vector3 const y = input.point();
    Vector3 g = input.point();
    Vector3 expectedG = g;
    Matrix3 H = input.matrix3();
    Matrix3 expectedH = H;
    double acc = b;
    double expectedAcc = b;
    updateSmoothDist(a, x, y, acc, h, &g, &H);
    reference::updateSmoothDist(a, x, y, expectedAcc, h, &expectedG, &expectedH);
    require(sameBits(acc, expectedAcc) && sameBits(g, expectedG) && sameBits(H, expectedH), "fold of a distance");
}

void evaluateWeight(Input& input)
{
    SmoothWeight const weight(input.number(), input.number());
    double const x = input.number();
    double w = 7, dw = 7, d2w = 7;
    require(weight.evaluate(x, &w, &dw, &d2w), "a weight always has a value");
    double alone = 7;
    weight.evaluate(x, &alone, nullptr, nullptr);
    require(sameBits(alone, w), "the weight without derivatives");
    require(std::isnan(w) || (w >= 0 && w <= 1), "weights lie in [0, 1]");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    Input input(data, size);
    double const h = input.number();
    std::vector<Vector3> const vertices = polyline(input);
    compareSmoothMaximum(input);
    evaluateWeight(input);
    std::vector<Vector3> queries;
    do {
        queries.push_back(input.pointNear(vertices));
    } while (input.more() && queries.size() < kMostQueries);
    compareNearestPoints(vertices, queries);
    comparePointsAtArcLengths(PolylineProjector(vertices), queries);
    compareSmoothDistances(vertices, queries, h);
    return 0;
}
