// Orders, factors and solves sparse matrices, malformed ones included, and solves with edited factors. All results are
// compared with the reference implementation.

#include <algorithm>
#include <utility>
#include <vector>

#include <sinew/sparse/compact_factor.h>
#include <sinew/sparse/diagnose.h>
#include <sinew/sparse/solve_many.h>
#include <sinew/sparse/spd_matrix.h>
#include <sinew/sparse/symbolic_factor.h>

#include "fuzz/input.h"
#include "sparse/reference_sparse.h"
#include "support/bits.h"

using fuzz::Input;
using fuzz::require;
using test::sameBits;

namespace {

using Rows = std::vector<std::vector<std::pair<int, double>>>;

constexpr int kMostRows = 48;
constexpr int kMostEdits = 16;

void addRandomEntries(Input& input, Rows& rows)
{
    int const n = static_cast<int>(rows.size());
    int const entries = input.below(256);
    for (int k = 0; k < entries && n > 1; ++k) {
        int const i = 1 + input.below(n - 1);
        int const c = input.below(i);
        rows[static_cast<std::size_t>(i)].push_back({c, input.number()});
    }
}

// A block of neighbours that all have entries in common, which elimination treats as one panel.
void addClique(Input& input, Rows& rows)
{
    int const n = static_cast<int>(rows.size());
    if (n == 0) return;
    int const first = input.below(n);
    int const last = std::min(n, first + input.below(n));
    double const value = input.tame();
    for (int i = first; i < last; ++i) {
        for (int c = first; c < i; ++c) rows[static_cast<std::size_t>(i)].push_back({c, value / (1 + i - c)});
    }
}

SPDMatrix matrixOf(Input& input)
{
    SPDMatrix matrix;
    matrix.rows.resize(static_cast<std::size_t>(input.below(kMostRows)));
    int const kinds = input.below(8);
    if ((kinds & 1) == 0) addRandomEntries(input, matrix.rows);
    for (int k = 0; k < kinds / 2; ++k) addClique(input, matrix.rows);
    double const diagonal = input.flag() ? 64.0 : input.number();
    for (std::size_t i = 0; i < matrix.rows.size(); ++i) {
        double const own = input.more() && input.below(8) == 0 ? input.number() : diagonal;
        matrix.rows[i].push_back({static_cast<int>(i), own});
    }
    return matrix;
}

// Any change of the rows, which may make the matrix malformed.
void damage(Input& input, SPDMatrix& matrix)
{
    if (matrix.rows.empty()) return;
    auto& row = matrix.rows[static_cast<std::size_t>(input.below(65536)) % matrix.rows.size()];
    switch (input.below(4)) {
    case 0:
        row.clear();
        break;
    case 1:
        row.push_back({input.anyInt(), input.number()});
        break;
    case 2:
        if (!row.empty()) row.pop_back();
        break;
    default:
        if (!row.empty()) row[static_cast<std::size_t>(input.below(65536)) % row.size()].first = input.anyInt();
        break;
    }
}

bool isWellFormed(SPDMatrix const& matrix)
{
    for (std::size_t i = 0; i < matrix.rows.size(); ++i) {
        auto const& row = matrix.rows[i];
        int const diagonal = static_cast<int>(i);
        if (row.empty() || row.back().first != diagonal) return false;
        for (std::size_t k = 0; k + 1 < row.size(); ++k) {
            if (row[k].first < 0 || row[k].first >= diagonal) return false;
        }
    }
    return true;
}

bool same(LLTMatrix const& a, LLTMatrix const& b)
{
    return sameBits(a.rows, b.rows) && sameBits(a.Mt, b.Mt) && sameBits(a.diag, b.diag) && a.perm == b.perm;
}

// The compact factor of the same matrix holds the same numbers, and those of another matrix after refactoring.
void compareCompact(sinew::SymbolicFactor const& symbolic, SPDMatrix const& matrix, SPDMatrix const& other)
{
    LLTMatrix const expected = symbolic.factor(matrix);
    sinew::CompactFactor compact(symbolic, matrix);
    require(compact.hasNumbers() == !expected.rows.empty(), "a compact factor where there is a factor");
    require(same(compact.toLLT(), expected), "numbers of the compact factor");
    require(!(compact.conditionEstimate() < 0), "a condition number");
    if (compact.size() == 0) return;
    LLTMatrix const next = symbolic.factor(other);
    require(compact.refactor(other) == !next.rows.empty(), "refactored where there is a factor");
    require(same(compact.toLLT(), next), "numbers of the refactored factor");
}

// A compact factor of edited lists is empty, or solves like them.
void compareCompactSolution(LLTMatrix const& factor, std::vector<double> b)
{
    sinew::CompactFactor const compact(factor);
    if (!compact.hasNumbers()) return;
    std::vector<double> expected = b;
    require(factor.solve(expected) && compact.solve(b), "both solve");
    require(sameBits(b, expected), "solution of the compact factor");
}

std::vector<double> rightHandSide(Input& input, std::size_t size)
{
    std::vector<double> b(size);
    for (double& x : b) x = input.number();
    return b;
}

// The factor must satisfy the preconditions of `solve`, or its fields must differ in size.
void compareSolutions(Input& input, LLTMatrix const& factor)
{
    std::size_t const n = factor.rows.size();
    bool const fits = factor.Mt.size() == n && factor.diag.size() == n && factor.perm.size() == n;
    std::vector<std::vector<double>> sides;
    for (int k = 1 + input.below(10); k > 0; --k) sides.push_back(rightHandSide(input, n));
    std::vector<std::vector<double>> const before = sides;
    std::vector<std::vector<double>> expected = sides;
    for (std::vector<double>& b : expected) {
        std::vector<double> alone = b;
        require(factor.solve(alone) == fits, "a factor whose fields differ in size does not solve");
        if (fits) reference::solve(factor, b);
        require(sameBits(alone, b), "solution as the reference");
    }
    require(sinew::solveMany(factor, sides) == fits, "many right-hand sides as one");
    require(sameBits(sides, expected), "many solutions as single ones");
    compareCompactSolution(factor, before.front());
    sides.push_back(rightHandSide(input, n + 1));
    require(!sinew::solveMany(factor, sides), "a right-hand side of the wrong size");
    std::vector<double> tooLong = sides.back();
    require(!factor.solve(tooLong) && sameBits(tooLong, sides.back()), "it is left unchanged");
}

void examineMalformed(SPDMatrix const& matrix)
{
    require(matrix.computePerm().empty(), "a malformed matrix has no ordering");
    require(matrix.factor().rows.empty(), "a malformed matrix has no factor");
    sinew::SymbolicFactor const symbolic(matrix);
    require(symbolic.size() == 0 && symbolic.entryCount() == 0, "a malformed matrix has no analysis");
    sinew::MatrixDiagnosis const diagnosis = sinew::diagnose(matrix);
    require(!diagnosis.wellFormed && !diagnosis.positiveDefinite, "the diagnosis says so");
    require(!diagnosis.findings.empty() && !diagnosis.text().empty(), "and gives a reason");
}

LLTMatrix compareFactors(Input& input, SPDMatrix const& matrix)
{
    std::vector<int> const perm = reference::computePerm(matrix);
    require(matrix.computePerm() == perm, "ordering as the reference");
    LLTMatrix const expected = reference::factor(matrix, perm);
    LLTMatrix factor = matrix.factor();
    require(same(factor, expected), "factor as the reference");
    sinew::SymbolicFactor symbolic(matrix);
    require(symbolic.perm() == perm && symbolic.matches(matrix), "analysis of the same matrix");
    require(same(symbolic.factor(matrix), expected), "factor from the analysis");
    std::int64_t entries = static_cast<std::int64_t>(expected.diag.size());
    for (auto const& row : expected.rows) entries += static_cast<std::int64_t>(row.size());
    require(expected.rows.empty() || symbolic.entryCount() == entries, "number of entries");

    SPDMatrix other = matrix; // other values, the same pattern
    for (auto& row : other.rows) row.back().second = input.flag() ? 100.0 : row.back().second;
    require(same(symbolic.factor(other), reference::factor(other, perm)), "factor of other values");
    compareCompact(symbolic, matrix, other);
    sinew::MatrixDiagnosis const diagnosis = sinew::diagnose(matrix);
    require(diagnosis.wellFormed, "the diagnosis of a well-formed matrix");
    bool hasNaN = false;
    for (double d : expected.diag) hasNaN = hasNaN || std::isnan(d);
    require(diagnosis.positiveDefinite == (!expected.rows.empty() && !hasNaN), "the diagnosis knows the pivots");
    diagnosis.pivotText();
    return factor;
}

int otherIndex(Input& input, int n, int own)
{
    int const index = input.below(n);
    return index == own ? (index + 1) % n : index;
}

// A change that a host may make: the indices stay within the factor and off the diagonal.
void edit(Input& input, LLTMatrix& factor)
{
    int const n = static_cast<int>(factor.rows.size());
    int const i = n > 0 ? input.below(n) : 0;
    std::size_t const own = static_cast<std::size_t>(i);
    int const kind = input.below(8);
    if (kind == 0) factor.diag.resize(static_cast<std::size_t>(input.below(kMostRows)), 1.0);
    if (kind == 1 && n > 1) factor.rows[own].push_back({otherIndex(input, n, i), input.number()});
    if (kind == 2 && n > 1 && factor.Mt.size() == factor.rows.size()) {
        factor.Mt[own].push_back({otherIndex(input, n, i), input.number()});
    }
    if (kind == 3 && n > 0) std::reverse(factor.rows[own].begin(), factor.rows[own].end());
    if (kind == 4 && n > 0 && own < factor.diag.size()) factor.diag[own] = input.number();
    if (kind == 5) factor.Mt.resize(static_cast<std::size_t>(input.below(kMostRows)));
    if (kind == 6 && n > 1 && factor.perm.size() == factor.rows.size()) {
        std::swap(factor.perm[own], factor.perm[static_cast<std::size_t>(input.below(n))]);
    }
    if (kind == 7) {
        LLTMatrix expected = factor;
        reference::initMt(expected);
        factor.initMt();
        require(sameBits(factor.Mt, expected.Mt), "transpose as the reference");
    }
    for (auto& list : factor.Mt) { // a list that was shortened or lengthened must still hold valid indices
        list.erase(std::remove_if(list.begin(), list.end(), [n](auto const& entry) { return entry.first >= n; }),
                   list.end());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    Input input(data, size);
    SPDMatrix matrix = matrixOf(input);
    for (int k = input.below(8) - 4; k > 0; --k) damage(input, matrix);
    if (!isWellFormed(matrix)) {
        examineMalformed(matrix);
        return 0;
    }
    LLTMatrix factor = compareFactors(input, matrix);
    compareSolutions(input, factor);
    for (int k = 0; k < kMostEdits && input.more(); ++k) {
        edit(input, factor);
        compareSolutions(input, factor);
    }
    return 0;
}
