#pragma once

/// The parts of `coreGroups`, one for each source.

#include <selftest/group.h>

namespace selftest {

std::vector<Group> vectorGroups();
std::vector<Group> matrixGroups();
std::vector<Group> placementGroups();
std::vector<Group> conversionGroups();

} // namespace selftest
