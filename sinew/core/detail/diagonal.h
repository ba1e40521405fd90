#pragma once

/// The diagonal matrix, for the sources that stretch along coordinate axes or eigenvectors. Not installed.

#include <sinew/core/matrix3.h>

namespace sinew::detail {

/// The matrix with a, b and c on its diagonal and 0.0 elsewhere.
constexpr Matrix3 diagonal(double a, double b, double c)
{
    return Matrix3(Vector3(a, 0.0, 0.0), Vector3(0.0, b, 0.0), Vector3(0.0, 0.0, c));
}

} // namespace sinew::detail
