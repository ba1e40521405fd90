#pragma once

#include <cmath>

#include <sinew/core/tolerances.h>
#include <sinew/core/vector3.h>

namespace sinew::detail {

/// What the constructor of `UVector3` makes of `v`, to the bit, where a call into the library's own public interface
/// would cost as much as the work: exported functions can be replaced by the host and are therefore never inlined.
inline UVector3 unit(Vector3 const& v)
{
    double const lengthSq = v.lengthSq();
    UVector3 result;
    static_cast<Vector3&>(result) = lengthSq < kNullLengthSq ? Vector3(v.x, v.y, 1.0) : v * (1.0 / std::sqrt(lengthSq));
    return result;
}

} // namespace sinew::detail
