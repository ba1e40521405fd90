#pragma once

/// The groups of operations whose results `sinew selftest` compares: one for each public operation, or for a family of
/// small ones.
///
/// The groups need only the public headers of the library and the standard library. They use no file, no thread and no
/// locale, so that they run on every system for which the library builds.

#include <string_view>
#include <vector>

#include <selftest/inputs.h>
#include <selftest/record.h>

namespace selftest {

/// The number of inputs of a group, at least.
inline constexpr int kInputs = 100000;

/// Whether results depend on sines, arctangents, exponentials, logarithms or powers.
enum class MathLibrary
{
    unused, ///< All results follow from IEEE 754. They are equal in every build.
    used    ///< The results are those of the build with SINEW_MATH=portable, or else depend on the system.
};

/// One group.
struct Group
{
    std::string_view name; ///< The module, a point, the operation.
    std::string_view unit; ///< What is counted as an input, in the plural.
    MathLibrary math;
    /// Adds results to `out` and counts their inputs. Begins with a generator that depends only on `name`.
    void (*run)(Inputs& in, Record& out);
};

/// The groups of each module.
std::vector<Group> frameworkGroups();
std::vector<Group> coreGroups();
std::vector<Group> queriesGroups();
std::vector<Group> fieldsGroups();
std::vector<Group> skinningGroups();
std::vector<Group> meshfuncGroups();
std::vector<Group> sparseGroups();

/// All groups, module by module in the order of their dependencies.
std::vector<Group> allGroups();

/// Runs a group.
Record run(Group const& group);

/// Calls `oneInput()` for each of `kInputs` inputs, and counts them.
template <typename OneInput>
void repeat(Record& out, OneInput const& oneInput)
{
    for (int i = 0; i < kInputs; ++i) oneInput();
    out.countInputs(kInputs);
}

} // namespace selftest
