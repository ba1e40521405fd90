#pragma once

/// Compares the results of groups with the table, and prints them.

#include <ostream>
#include <string>
#include <vector>

#include <selftest/expected.h>
#include <selftest/group.h>

namespace selftest {

/// Which functions this build uses for sines, exponentials and the like.
enum class MathBuild
{
    system,  ///< those of the C library, whose last bits differ between systems
    portable ///< those of the library, correctly rounded (SINEW_MATH=portable)
};

/// That of this build.
MathBuild mathBuild();

/// The compiler, the standard library, the system, the processor's vector width and the math library, as one line.
std::string buildFacts();

/// The groups whose name is one of `names` or begins with one of them and a point; all groups for no names. Throws
/// std::invalid_argument, with a sentence for the user, if a name fits no group.
std::vector<Group> selectGroups(std::vector<Group> const& groups, std::vector<std::string> const& names);

/// Runs the groups and prints a line for each: name, number of inputs, hash, and what the comparison with `expected`
/// says; then a summary. Returns the status of the program: 0, or 1 if a group differs or is not in `expected`.
///
/// Groups that use the math library are compared strictly only in a portable build. In a system build their lines end
/// with "system math", and the summary counts those that are unlike a portable build.
int compare(std::vector<Group> const& groups, std::vector<Expected> const& expected, MathBuild math, std::ostream& out);

/// `compare` for the groups that `names` select, with the table of this version.
int runSelftest(std::vector<std::string> const& names, std::ostream& out);

/// Runs all groups and prints the source of a new table. Groups that use the math library get new results only in a
/// portable build; otherwise they keep those of `expected`.
void printTable(std::vector<Group> const& groups, std::vector<Expected> const& expected, MathBuild math,
                std::ostream& out);

} // namespace selftest
