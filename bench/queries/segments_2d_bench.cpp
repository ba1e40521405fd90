// The 2D segment functions against their plain transcriptions.

#include <array>

#include <sinew/queries/segments_2d.h>

#include "peers.h"
#include "queries/reference_segments_2d.h"
#include "support/random.h"

namespace {

std::size_t const kCount = 4096;

// Two segments of a plane; the second one's ends also serve as the corners of a rectangle.
std::vector<std::array<Vector3, 4>> const& input()
{
    static auto const all = [] {
        test::Random random(20250431);
        std::vector<std::array<Vector3, 4>> result;
        for (std::size_t i = 0; i < kCount; ++i) {
            Vector3 const a(random.uniform(-1, 2), random.uniform(-1, 2), 0);
            Vector3 const b(random.uniform(-1, 2), random.uniform(-1, 2), 0);
            Vector3 const c(random.uniform(0, 0.3), random.uniform(0, 0.3), 0);
            result.push_back({a, b, c, c + Vector3(random.uniform(0.3, 0.7), random.uniform(0.3, 0.7), 0)});
        }
        return result;
    }();
    return all;
}

SINEW_BENCH_CALL bool plainClip(Vector3 const& a, Vector3 const& b, Vector3 const& lo, Vector3 const& hi, Vector3& outA,
                                Vector3& outB)
{
    return reference::segClipRect2D(a, b, lo, hi, outA, outB);
}
SINEW_BENCH_CALL bool plainMeets(Vector3 const& a, Vector3 const& b, Vector3 const& lo, Vector3 const& hi)
{
    return reference::segIntersectRect2D(a, b, lo, hi);
}
SINEW_BENCH_CALL bool plainCross(Vector3 const& a, Vector3 const& b, Vector3 const& c, Vector3 const& d, double tol,
                                 bool inclusive)
{
    return reference::segsIntersect(a, b, c, d, tol, inclusive);
}

template <typename Make, typename Ours, typename Plain>
void add(std::string const& name, Make make, Ours ours, Plain plainOne)
{
    auto const expected = bench::answers(kCount, make(ours));
    bench::contend(name + "/sinew", expected, 0.0, make(ours));
    bench::contend(name + "/plain", expected, 0.0, make(plainOne));
}

int const registered = [] {
    add(
        "clip to a rectangle",
        [](auto clip) {
            return [=](std::size_t i) {
                auto const& k = input()[i];
                Vector3 a;
                Vector3 b;
                return clip(k[0], k[1], k[2], k[3], a, b) ? a.x + b.y : -9.0;
            };
        },
        segClipRect2D, plainClip);
    add(
        "meet a rectangle",
        [](auto meets) {
            return [=](std::size_t i) {
                auto const& k = input()[i];
                return meets(k[0], k[1], k[2], k[3]) ? 1.0 : 0.0;
            };
        },
        segIntersectRect2D, plainMeets);
    add(
        "two segments",
        [](auto intersect) {
            return [=](std::size_t i) {
                auto const& k = input()[i];
                return intersect(k[0], k[1], k[2], k[3], 1e-9, true) ? 1.0 : 0.0;
            };
        },
        segsIntersect, plainCross);
    return 0;
}();

} // namespace
