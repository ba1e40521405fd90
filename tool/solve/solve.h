#pragma once

/// The command `sinew solve`.

#include <ostream>
#include <string>

namespace tool {

/// What the user has chosen on the command line.
struct SolveOptions
{
    std::string matrixFile;
    std::string pictureFile = "pattern.png"; ///< empty for no picture; not used in builds without pictures
};

/// Orders, factors and solves a sparse system, prints size, entries, fill-in, times and residual to `out`, and draws
/// the pattern before and after the ordering.
///
/// The system is A x = A 1, whose solution is known. Returns the program's status, 0. Throws `UserError` with the
/// reason if the file is damaged or the matrix is not positive definite.
int runSolve(SolveOptions const& options, std::ostream& out);

} // namespace tool
