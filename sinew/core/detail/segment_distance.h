#pragma once

#include <sinew/core/detail/cpu.h>
#include <sinew/core/tolerances.h>
#include <sinew/core/vector3.h>

namespace sinew::detail {

/// distSqToLineSegment(p, a, b, nullptr), to be inlined into loops: choices instead of branches, the same bits.
SINEW_KERNEL double segmentDistSq(Vector3 const& p, Vector3 const& a, Vector3 const& b)
{
    Vector3 const e = b - a;
    Vector3 const pa = p - a;
    Vector3 const pb = p - b;
    double const toA = pa.lengthSq();
    double const toB = pb.lengthSq();
    double const fromA = pa * e;
    double const fromB = pb * e;
    double const foot = toA - fromA * fromA / e.lengthSq(); // NaN without length, where the end is taken
    double const inside = foot > 0.0 ? foot : 0.0;
    double const beyondA = fromB >= -kGeometricZero ? toB : inside;
    return fromA <= kGeometricZero ? toA : beyondA;
}

} // namespace sinew::detail
