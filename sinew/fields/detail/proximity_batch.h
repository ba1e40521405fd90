#pragma once

/// Proximity tests of many points at the same time. Not installed.

#include <cstddef>

#include <sinew/core/vector3.h>
#include <sinew/detail/dispatch.h>

class ProximityTester;

namespace sinew::detail {

/// Writes tester.test(points[i]) to results[i] for each i below `count`.
///
/// It computes the cells of some points in vectors and then looks up their bits. These lookups do not depend on each
/// other and have no branches, so that a processor waits for many of them at the same time. `width` must not exceed
/// `widestVectors()`; it changes no result.
void testPoints(ProximityTester const& tester, Vector3 const* points, std::size_t count, bool* results,
                VectorWidth width = widestVectors());

} // namespace sinew::detail
