#include <tool/solve/solve.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <iomanip>
#include <vector>

#include <sinew/sparse/diagnose.h>
#include <sinew/sparse/symbolic_factor.h>

#include <tool/io/files.h>
#include <tool/io/matrix_market.h>
#include <tool/solve/pattern_picture.h>
#include <tool/support/user_error.h>

namespace tool {

namespace {

template <typename Work>
double milliseconds(Work work)
{
    auto const begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
}

std::vector<double> product(SPDMatrix const& matrix, std::vector<double> const& x)
{
    std::vector<double> result(x.size(), 0.0);
    for (std::size_t i = 0; i < x.size(); ++i) {
        for (auto const& [c, v] : matrix.rows[i]) {
            result[i] += v * x[static_cast<std::size_t>(c)];
            if (static_cast<std::size_t>(c) != i) result[static_cast<std::size_t>(c)] += v * x[i];
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
    LLTMatrix factor;
    auto const begin = std::chrono::steady_clock::now();
    sinew::SymbolicFactor const symbolic(matrix);
    std::chrono::duration<double, std::milli> const analysis = std::chrono::steady_clock::now() - begin;
    double const numbers = milliseconds([&] { factor = symbolic.factor(matrix); });
    if (factor.rows.empty()) refuse(options.matrixFile, matrix);
    double const solution = milliseconds([&] { factor.solve(x); });

    line(out, "rows") << matrix.rows.size() << "\n";
    line(out, "entries") << entries << " in the lower triangle\n";
    line(out, "factor") << symbolic.entryCount() << " entries, " << symbolic.fillCount() << " of them fill\n";
    out << std::setprecision(3);
    line(out, "memory") << static_cast<double>(symbolic.factorBytes()) / 1e6 << " MB for the factor\n";
    line(out, "operations") << static_cast<double>(symbolic.flopCount()) << "\n";
    line(out, "order, analyse") << analysis.count() << " ms\n";
    line(out, "factor") << numbers << " ms\n";
    line(out, "solve") << solution << " ms\n";
    double const size = largest(b);
    line(out, "residual") << largestDifference(product(matrix, x), b) / (size > 0 ? size : 1.0)
                          << " of the right-hand side\n";
    line(out, "error") << largestDifference(x, ones) << " from the known solution, all ones\n";
    if (!options.pictureFile.empty()) {
        writeFile(options.pictureFile, drawPatterns(matrix, factor));
        line(out, "picture") << options.pictureFile << "\n";
    }
    return 0;
}

} // namespace tool
