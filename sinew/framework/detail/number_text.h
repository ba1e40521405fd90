#pragma once

/// Numbers in the sentences of findings. Not installed.

#include <cmath>
#include <string>

#include <sinew/detail/number_writer.h>

namespace sinew::detail {

/// The number as `realText` writes it; NaN gives "NaN", without its sign.
inline std::string numberText(double x, int digits)
{
    return std::isnan(x) ? "NaN" : realText(x, digits);
}

} // namespace sinew::detail
