#pragma once

/// The small matrices and vectors that several sources build from the coordinate axes. Not installed.

#include <sinew/core/matrix3.h>

namespace sinew::detail {

/// The matrix with a, b and c on its diagonal and 0.0 elsewhere.
constexpr Matrix3 diagonal(double a, double b, double c)
{
    return Matrix3(Vector3(a, 0.0, 0.0), Vector3(0.0, b, 0.0), Vector3(0.0, 0.0, c));
}

/// The unit vector of coordinate axis i, which is 0, 1 or 2.
constexpr Vector3 axisVector(int i)
{
    return {i == 0 ? 1.0 : 0.0, i == 1 ? 1.0 : 0.0, i == 2 ? 1.0 : 0.0};
}

} // namespace sinew::detail
