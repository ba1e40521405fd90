#pragma once

/// The squared distance to a segment as a kernel function, for loops over vectors of doubles. Not installed.

#include <sinew/core/tolerances.h>
#include <sinew/core/vector3.h>
#include <sinew/detail/dispatch.h>

namespace sinew::detail {

/// The same bits as distSqToLineSegment(p, a, b, nullptr). It computes all three cases and selects one, without
/// branches, so that a compiler can process several segments in one instruction.
SINEW_KERNEL double segmentDistSq(Vector3 const& p, Vector3 const& a, Vector3 const& b)
{
    Vector3 const e = b - a;
    Vector3 const pa = p - a;
    Vector3 const pb = p - b;
    double const toA = pa.lengthSq();
    double const toB = pb.lengthSq();
    double const alongA = pa * e;
    double const alongB = pb * e;
    double const perpendicular = toA - alongA * alongA / e.lengthSq(); // NaN if a = b; the result is then toA
    double const inside = perpendicular > 0.0 ? perpendicular : 0.0;
    double const beyondA = alongB >= -kGeometricZero ? toB : inside;
    return alongA <= kGeometricZero ? toA : beyondA;
}

} // namespace sinew::detail
