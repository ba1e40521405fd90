#pragma once

/// The elementary functions that the library calls. The build option SINEW_MATH chooses between those of the C library,
/// whose last bits differ between systems and processors, and correctly rounded ones. Not installed.

#if defined(SINEW_PORTABLE_MATH)
#include <sinew/core/detail/portable_math.h>
#else
#include <cmath>
#endif

namespace sinew::detail::math {

#if defined(SINEW_PORTABLE_MATH)
using portable::atan2;
using portable::cos;
using portable::exp;
using portable::log;
using portable::pow;
using portable::sin;
#else
using std::atan2;
using std::cos;
using std::exp;
using std::log;
using std::pow;
using std::sin;
#endif

} // namespace sinew::detail::math
