#pragma once

namespace sinew::detail {

/// Absolute width below which `smoothMax` does not blend: its divisions by the width would lose their meaning.
inline constexpr double kSmallestBlend = 1e-13;

} // namespace sinew::detail
