#pragma once

/// `sinew::skin` at a given vector width. Not installed.

#include <sinew/detail/dispatch.h>
#include <sinew/skinning/skin.h>

namespace sinew::detail {

/// As `sinew::skin`; `width` must not exceed `widestVectors()`. The same bits at every width.
std::size_t skin(SkinInput const& input, SkinOutput const& output, VectorWidth width);

} // namespace sinew::detail
