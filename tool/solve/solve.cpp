#include <tool/solve/solve.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iomanip>
#include <vector>

#include <sinew/sparse/diagnose.h>
#include <sinew/sparse/symbolic_factor.h>

#include <tool/io/files.h>
#include <tool/io/matrix_market.h>
#if defined(SINEW_TOOL_PICTURES)
#include <tool/solve/pattern_picture.h>
#endif
#include <tool/support/as_index.h>
#include <tool/support/stopwatch.h>
#include <tool/support/user_error.h>

namespace tool {
namespace {

std::vector<double> product(SPDMatrix const& matrix, std::vector<double> const& x)
{
    std::vector<double> result(x.size(), 0.0);
    for (std::size_t i = 0; i < x.size(); ++i) {
        for (auto const& [c, v] : matrix.rows[i]) {
            result[i] += v * x[asIndex(c)];
            if (asIndex(c) != i) result[asIndex(c)] += v * x[i];
        }
    }
    return result;
}

double largest(std::vector<double> const& x)
{
    double result = 0;
    for (double value : x) result = std::max(result, std::fabs(value));
    return result;
}

double largestDifference(std::vector<double> a, std::vector<double> const& b)
{
    for (std::size_t i = 0; i < a.size(); ++i) a[i] -= b[i];
    return largest(a);
}

[[noreturn]] void refuse(std::string const& file, SPDMatrix const& matrix)
{
    sinew::MatrixDiagnosis const diagnosis = sinew::diagnose(matrix);
    std::string const why = diagnosis.findings.empty() ? "" : diagnosis.findings.back().sentence;
    throw UserError(file + ": this matrix has no factor. " + why + " (Rows are counted from 0.)");
}

std::ostream& line(std::ostream& out, char const* name)
{
    return out << std::left << std::setw(16) << name << std::right;
}

} // namespace

int runSolve(SolveOptions const& options, std::ostream& out)
{
    SPDMatrix const matrix = readMatrixMarket(options.matrixFile);
    std::int64_t entries = 0;
    for (auto const& row : matrix.rows) entries += static_cast<std::int64_t>(row.size());

    std::vector<double> const ones(matrix.rows.size(), 1.0);
    std::vector<double> const b = product(matrix, ones);
    std::vector<double> x = b;

    Stopwatch const analysing;
    sinew::SymbolicFactor const symbolic(matrix);
    double const analysis = analysing.seconds();
    Stopwatch const factoring;
    LLTMatrix const factor = symbolic.factor(matrix);
    double const factorisation = factoring.seconds();
    if (factor.rows.empty()) refuse(options.matrixFile, matrix);
    Stopwatch const solving;
    factor.solve(x);
    double const solution = solving.seconds();

    line(out, "rows") << matrix.rows.size() << "\n";
    line(out, "entries") << entries << " in the lower triangle\n";
    line(out, "factor") << symbolic.entryCount() << " entries, " << symbolic.fillCount() << " of them fill-in\n";
    out << std::setprecision(3);
    line(out, "memory") << static_cast<double>(symbolic.factorBytes()) / 1e6 << " MB for the factor\n";
    line(out, "operations") << static_cast<double>(symbolic.flopCount()) << "\n";
    line(out, "order, analyse") << 1e3 * analysis << " ms\n";
    line(out, "factor") << 1e3 * factorisation << " ms\n";
    line(out, "solve") << 1e3 * solution << " ms\n";
    double const size = largest(b);
    line(out, "residual") << largestDifference(product(matrix, x), b) / (size > 0 ? size : 1.0)
                          << " of the right-hand side\n";
    line(out, "error") << largestDifference(x, ones) << " of the known solution, which is all ones\n";
#if defined(SINEW_TOOL_PICTURES)
    if (!options.pictureFile.empty()) {
        writeFile(options.pictureFile, drawPatterns(matrix, factor));
        line(out, "picture") << options.pictureFile << "\n";
    }
#endif
    return 0;
}

} // namespace tool
