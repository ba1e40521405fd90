#pragma once

/// The phases of a factorisation, as its progress tells them.

namespace sinew::detail {

// The numbers of a large factor take nearly all of the time; how much is not known before the pattern is.
inline constexpr double kOrdered = 0.1;   ///< The fraction at which the ordering is known.
inline constexpr double kAnalysed = 0.15; ///< The fraction at which the pattern of the factor is known.

} // namespace sinew::detail
