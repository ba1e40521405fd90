#pragma once

/// The unit vectors of the coordinate axes by index. Not installed.

#include <sinew/core/vector3.h>

namespace sinew::detail {

/// The unit vector of coordinate axis i, which is 0, 1 or 2.
constexpr Vector3 axisVector(int i)
{
    return {i == 0 ? 1.0 : 0.0, i == 1 ? 1.0 : 0.0, i == 2 ? 1.0 : 0.0};
}

} // namespace sinew::detail
