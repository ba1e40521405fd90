#pragma once

/// The committed results of the groups.

#include <cstdint>
#include <string_view>
#include <vector>

namespace selftest {

/// The result of one group.
struct Expected
{
    std::string_view name;
    std::int64_t count; ///< number of inputs
    std::uint64_t hash; ///< for groups that use the math library: of the build with SINEW_MATH=portable
};

/// The table, in the order of `allGroups`.
std::vector<Expected> expectedResults();

} // namespace selftest
