#pragma once

/// The command that orders, factors and solves a sparse system from a file and reports on it.

#include <ostream>
#include <string>

namespace tool {

struct SolveOptions
{
    std::string matrixFile;
    std::string pictureFile = "pattern.png"; // empty: no picture
};

/// Prints size, entries, fill, times and residual to `out`, and draws the pattern before and after ordering.
///
/// The system solved is A x = A 1, whose solution is known. A matrix that is not positive definite throws `UserError`
/// with the reason. The result is the program's status.
int runSolve(SolveOptions const& options, std::ostream& out);

} // namespace tool
