#pragma once

#include <sinew/detail/dispatch.h>
#include <sinew/core/tolerances.h>
#include <sinew/core/vector3.h>

namespace sinew::detail {

/// distSqToLineSegment(p, a, b, nullptr), to be inlined into loops over vectors: choices instead of branches, the same
/// bits.
SINEW_KERNEL double segmentDistSq(Vector3 const& p, Vector3 const& a, Vector3 const& b)
{
    Vector3 const e = b - a;
    Vector3 const pa = p - a;
    Vector3 const pb = p - b;
    double const toA = pa.lengthSq();
    double const toB = pb.lengthSq();
    double const alongA = pa * e;
    double const alongB = pb * e;
    double const foot = toA - alongA * alongA / e.lengthSq(); // NaN without length, where the end is taken
    double const inside = foot > 0.0 ? foot : 0.0;
    double const beyondA = alongB >= -kGeometricZero ? toB : inside;
    return alongA <= kGeometricZero ? toA : beyondA;
}

} // namespace sinew::detail
