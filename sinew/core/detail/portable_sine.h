#pragma once

/// Sine and cosine as wide numbers, for the last steps of the trigonometric functions.

#include <cstddef>

#include <sinew/core/detail/wide_number.h>

namespace sinew::detail::portable {

/// The relative error of both functions is below 2^(kWideSineErrorBits - 64 kWords).
constexpr int kWideSineErrorBits = 64;

/// sin x; |x| < 0.8.
template <std::size_t kWords>
Wide<kWords> wideSine(Wide<kWords> const& x);

/// cos x; |x| < 0.8.
template <std::size_t kWords>
Wide<kWords> wideCosine(Wide<kWords> const& x);

} // namespace sinew::detail::portable
