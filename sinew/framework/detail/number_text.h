#pragma once

/// Numbers in the sentences of findings. Not installed.

#include <cmath>
#include <locale>
#include <sstream>
#include <string>

namespace sinew::detail {

/// The number with at most `digits` significant digits and a decimal point in every locale, in the shorter of the forms
/// "0.25" and "1e-09". NaN gives "NaN", because a stream may print the sign of a NaN.
inline std::string numberText(double x, int digits)
{
    if (std::isnan(x)) return "NaN";
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.precision(digits);
    text << x;
    return text.str();
}

} // namespace sinew::detail
