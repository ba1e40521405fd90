#pragma once

/// `sinew::skin` at a given vector width. Not installed.

#include <cstddef>

#include <sinew/detail/dispatch.h>

namespace sinew {

struct SkinInput;
struct SkinOutput;

namespace detail {

/// As `sinew::skin`; `width` must not exceed `widestVectors()`. The same bits at every width.
std::size_t skin(SkinInput const& input, SkinOutput const& output, VectorWidth width);

} // namespace detail

} // namespace sinew
