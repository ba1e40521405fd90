#pragma once

/// The phases of a factorisation, as its progress tells them.

namespace sinew::detail {

// Which phase takes most of the time depends on the graph: the ordering that of a plane, the numbers that of a block.
inline constexpr double kOrdered = 0.4;  ///< The fraction at which the ordering is known.
inline constexpr double kAnalysed = 0.5; ///< The fraction at which the pattern of the factor is known.

} // namespace sinew::detail
