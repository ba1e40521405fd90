// The 2D segment functions against their reference implementations.

#include <array>

#include <sinew/queries/segments_2d.h>

#include "contenders.h"
#include "queries/reference_segments_2d.h"
#include "support/random.h"

namespace {

using bench::notInlined;

constexpr std::size_t kCount = 4096;

// The ends of two segments in the plane. The ends of the second one are also the corners of a rectangle.
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

// Registers a library function and its reference. `onInput` makes a function of the index of the input from either.
template <typename OnInput, typename Ours, typename Reference>
void add(std::string const& name, OnInput onInput, Ours ours, Reference reference)
{
    bench::againstReference(name, kCount, onInput(ours), onInput(reference));
}

int const kRegistered = [] {
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
        segClipRect2D, notInlined<reference::segClipRect2D>);
    add(
        "segment and rectangle",
        [](auto meets) {
            return [=](std::size_t i) {
                auto const& k = input()[i];
                return meets(k[0], k[1], k[2], k[3]) ? 1.0 : 0.0;
            };
        },
        segIntersectRect2D, notInlined<reference::segIntersectRect2D>);
    add(
        "two segments",
        [](auto intersect) {
            return [=](std::size_t i) {
                auto const& k = input()[i];
                return intersect(k[0], k[1], k[2], k[3], 1e-9, true) ? 1.0 : 0.0;
            };
        },
        segsIntersect, notInlined<reference::segsIntersect>);
    return 0;
}();

} // namespace
