#pragma once

/// The method of `sinew::skin` that blends dual quaternions. Not installed.

#include <cstddef>
#include <vector>

#include <sinew/detail/dispatch.h>
#include <sinew/skinning/detail/vertex_block.h>
#include <sinew/skinning/skin.h>

namespace sinew::detail {

/// Moves the first `count` vertices, which all arrays have, by the maps `bones`. `width` must not exceed
/// `widestVectors()`. The same bits at every width. std::bad_alloc, before anything is written, if the memory for 192
/// bytes a bone cannot be allocated.
void skinByDualQuaternions(std::vector<BoneColumns> const& bones, SkinInput const& input, SkinOutput const& output,
                           std::size_t count, VectorWidth width);

} // namespace sinew::detail
