#pragma once

/// The threshold of `smoothMax` that the smooth distance to a polyline shares. Not installed.

namespace sinew::detail {

/// Width below which `smoothMax` does not blend. Absolute, in the unit of the blended numbers. The derivatives divide
/// by the width twice; for smaller widths these quotients are too large to be of use.
inline constexpr double kSmallestBlend = 1e-13;

} // namespace sinew::detail
