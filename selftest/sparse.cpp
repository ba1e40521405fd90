// The sparse solver: ordering, factor, solutions, diagnosis.

#include <selftest/group.h>

#include <algorithm>
#include <string>
#include <utility>

#include <sinew/sparse/builders.h>
#include <sinew/sparse/compact_factor.h>
#include <sinew/sparse/diagnose.h>
#include <sinew/sparse/factor_arrays.h>
#include <sinew/sparse/solve_many.h>
#include <sinew/sparse/symbolic_factor.h>

namespace selftest {

namespace {

using Row = std::vector<std::pair<int, double>>;

double coupling(Inputs& in)
{
    return -in.uniform(0.25, 1.0);
}

// The neighbours of a cell in a regular grid: equal degrees everywhere.
SPDMatrix gridMatrix(Inputs& in, int columns, int rows)
{
    SPDMatrix matrix;
    for (int i = 0; i < columns * rows; ++i) {
        Row row;
        if (i >= columns) row.emplace_back(i - columns, coupling(in));
        if (i % columns > 0) row.emplace_back(i - 1, coupling(in));
        row.emplace_back(i, 5.0);
        matrix.rows.push_back(row);
    }
    return matrix;
}

// Random neighbours: few, or for some rows many.
SPDMatrix randomMatrix(Inputs& in, int size)
{
    SPDMatrix matrix;
    int const most = 1 + in.below(5);
    for (int i = 0; i < size; ++i) {
        Row row;
        int const count = in.oneIn(40) ? i / 2 : in.below(most + 1);
        for (int k = 0; k < count && i > 0; ++k) {
            int const column = in.below(i);
            bool const repeated = std::any_of(row.begin(), row.end(), [&](auto const& e) { return e.first == column; });
            if (!repeated || in.oneIn(8)) row.emplace_back(column, coupling(in));
        }
        row.emplace_back(i, 2.0 * size);
        matrix.rows.push_back(row);
    }
    return matrix;
}

// Rows with so many neighbours that the ordering treats them apart, until elimination has merged most of them.
SPDMatrix matrixWithHubs(Inputs& in, int size)
{
    SPDMatrix matrix = gridMatrix(in, 20, size / 20);
    int const rows = static_cast<int>(matrix.rows.size());
    for (int hub = rows - 1 - in.below(8); hub < rows; ++hub) {
        Row row;
        int const most = in.below(hub);
        for (int column = in.below(4); column < most; column += 1 + in.below(4)) row.emplace_back(column, coupling(in));
        row.emplace_back(hub, 2.0 * size);
        matrix.rows[static_cast<std::size_t>(hub)] = row;
    }
    return matrix;
}

// A star, a path, a dense block, or no couplings at all.
SPDMatrix regularMatrix(Inputs& in, int size)
{
    SPDMatrix matrix;
    int const kind = in.below(4);
    for (int i = 0; i < size; ++i) {
        Row row;
        if (kind == 0 && i > 0) row.emplace_back(0, coupling(in));
        if (kind == 1 && i > 0) row.emplace_back(i - 1, coupling(in));
        for (int k = 0; kind == 2 && k < i; ++k) row.emplace_back(k, coupling(in));
        row.emplace_back(i, 2.0 * size);
        matrix.rows.push_back(row);
    }
    return matrix;
}

SPDMatrix anyMatrix(Inputs& in)
{
    int const kind = in.below(4);
    if (kind == 0) {
        int const columns = 1 + in.below(30);
        int const rows = 1 + in.below(30);
        return gridMatrix(in, columns, rows);
    }
    if (kind == 1) return regularMatrix(in, in.below(120));
    return randomMatrix(in, in.below(kind == 2 ? 60 : 500));
}

// Without a factor, malformed, or with values that are not finite.
SPDMatrix damagedMatrix(Inputs& in)
{
    SPDMatrix matrix = randomMatrix(in, in.below(30));
    int const size = static_cast<int>(matrix.rows.size());
    for (int damages = size > 0 ? in.below(5) : 0; damages > 0; --damages) {
        Row& row = matrix.rows[static_cast<std::size_t>(in.below(size))];
        if (row.empty()) continue;
        auto& entry = row[static_cast<std::size_t>(in.below(static_cast<int>(row.size())))];
        switch (in.below(6)) {
        case 0:
            entry.second = in.number();
            break;
        case 1:
            entry.first = in.below(size + 2) - 1;
            break;
        case 2:
            row.pop_back();
            break;
        case 3:
            row.push_back(row.front());
            break;
        case 4:
            std::reverse(row.begin(), row.end());
            break;
        default:
            row.back().second = 0.5 - in.below(2);
            break;
        }
    }
    return matrix;
}

void add(LLTMatrix const& factor, Record& out)
{
    out.add(factor.rows);
    out.add(factor.Mt);
    out.add(factor.diag);
    out.add(factor.perm);
}

std::vector<double> rightHandSide(Inputs& in, std::size_t size)
{
    std::vector<double> b(size);
    bool const hostile = in.oneIn(16);
    for (double& entry : b) entry = hostile ? in.number() : in.tame();
    return b;
}

void ordering(Inputs& in, Record& out)
{
    while (out.count() < kInputs) {
        SPDMatrix matrix = anyMatrix(in);
        if (in.oneIn(30)) matrix = matrixWithHubs(in, 800);
        if (in.oneIn(60)) matrix = randomMatrix(in, 2000);
        out.add(matrix.computePerm());
        out.countInputs(static_cast<std::int64_t>(matrix.rows.size()));
    }
}

// A grid that is large enough for blocks of many columns, then smaller matrices of all kinds.
void factors(Inputs& in, Record& out)
{
    LLTMatrix const large = gridMatrix(in, 60, 60).factor();
    add(large, out);
    out.countInputs(static_cast<std::int64_t>(large.rows.size()));
    while (out.count() < kInputs) {
        SPDMatrix matrix = anyMatrix(in);
        if (in.oneIn(8) && !matrix.rows.empty()) { // not positive definite
            matrix.rows[static_cast<std::size_t>(in.below(static_cast<int>(matrix.rows.size())))].back().second = 0.125;
        }
        LLTMatrix factor = matrix.factor();
        add(factor, out);
        if (!factor.rows.empty() && !factor.rows.back().empty()) factor.rows.back().back().second = 0.25;
        factor.initMt();
        out.add(factor.Mt);
        out.countInputs(static_cast<std::int64_t>(matrix.rows.size()));
    }
}

void solutions(Inputs& in, Record& out)
{
    while (out.count() < kInputs) {
        LLTMatrix const factor = anyMatrix(in).factor();
        std::size_t const size = factor.rows.size();
        std::vector<std::vector<double>> sides;
        for (int i = in.below(12); i > 0; --i) sides.push_back(rightHandSide(in, size + (in.oneIn(50) ? 1 : 0)));
        std::vector<double> single = rightHandSide(in, size);
        out.add(factor.solve(single));
        out.add(single);
        out.add(sinew::solveMany(factor, sides));
        out.add(sides);
        out.countInputs(static_cast<std::int64_t>(size));
    }
}

// Without the numbers of bytes, which depend on the size of pointers.
void symbolicFactors(Inputs& in, Record& out)
{
    while (out.count() < kInputs) {
        SPDMatrix const matrix = in.oneIn(16) ? damagedMatrix(in) : anyMatrix(in);
        sinew::SymbolicFactor moved(matrix);
        sinew::SymbolicFactor const symbolic(std::move(moved));
        out.add(symbolic.size());
        out.add(symbolic.perm());
        out.add(symbolic.entryCount());
        out.add(symbolic.fillCount());
        out.add(symbolic.flopCount());
        SPDMatrix const other = in.oneIn(4) ? anyMatrix(in) : matrix;
        out.add(symbolic.matches(other));
        add(symbolic.factor(other), out);
        out.countInputs(static_cast<std::int64_t>(matrix.rows.size()));
    }
}

void diagnosis(Inputs& in, Record& out)
{
    while (out.count() < kInputs) {
        SPDMatrix const matrix = damagedMatrix(in);
        sinew::MatrixDiagnosis const diagnosis = sinew::diagnose(matrix);
        out.add(diagnosis);
        out.add(diagnosis.wellFormed);
        out.add(diagnosis.positiveDefinite);
        out.add(diagnosis.smallestPivot);
        out.add(diagnosis.largestPivot);
        out.add(diagnosis.smallestPivotRow);
        out.add(diagnosis.largestPivotRow);
        out.add(std::string_view(diagnosis.pivotText()));
        add(matrix.factor(), out);
        out.countInputs(static_cast<std::int64_t>(matrix.rows.size()));
    }
}

std::vector<sinew::Triplet> tripletsFor(Inputs& in, int size)
{
    std::vector<sinew::Triplet> result;
    bool const isHostile = in.oneIn(8);
    for (int i = 0; i < size; ++i) result.push_back({i, i, 2.0 * size});
    for (int k = size > 0 ? in.below(4 * size) : 0; k > 0; --k) {
        int const row = in.below(size);
        int const column = isHostile ? in.below(size + 2) - 1 : in.below(size);
        result.push_back({row, column, isHostile && in.oneIn(8) ? in.number() : coupling(in)});
        if (in.oneIn(2)) result.push_back({column, row, result.back().value});
    }
    for (std::size_t k = result.size(); k-- > 1;) {
        std::swap(result[k], result[static_cast<std::size_t>(in.below(static_cast<int>(k) + 1))]);
    }
    return result;
}

void add(sinew::MatrixBuild const& build, Record& out)
{
    out.add(build);
    out.add(build.matrix.rows);
}

void builders(Inputs& in, Record& out)
{
    using sinew::MirroredPairs;
    while (out.count() < kInputs) {
        int const size = in.below(80);
        std::vector<sinew::Triplet> const triplets = tripletsFor(in, size);
        for (MirroredPairs mirrored : {MirroredPairs::summed, MirroredPairs::once, MirroredPairs::verified}) {
            add(sinew::fromTriplets(size, triplets, mirrored), out);
        }
        // The arrays of a factor: a triangle by columns, which is the other triangle by rows.
        sinew::CscFactor<int> const arrays = sinew::toCsc(anyMatrix(in).factor());
        std::int64_t const columns = static_cast<std::int64_t>(arrays.perm.size()) + (in.oneIn(20) ? -1 : 0);
        auto const starts = sinew::packed(arrays.starts), rows = sinew::packed(arrays.rows);
        auto const values = sinew::packed(arrays.values);
        add(sinew::fromCsc(columns, starts, rows, values, MirroredPairs::summed), out);
        add(sinew::fromCsr(columns, starts, rows, values, MirroredPairs::once), out);
        out.countInputs(static_cast<std::int64_t>(triplets.size() + arrays.rows.size()));
    }
}

void add(sinew::TripletFactor const& factor, Record& out)
{
    for (sinew::Triplet const& t : factor.triplets) {
        out.add(t.row);
        out.add(t.column);
        out.add(t.value);
    }
    out.add(factor.perm);
}

// Without the numbers of bytes, which depend on the size of pointers.
void compactFactors(Inputs& in, Record& out)
{
    while (out.count() < kInputs) {
        SPDMatrix matrix = in.oneIn(16) ? damagedMatrix(in) : anyMatrix(in);
        sinew::CompactFactor factor =
            in.oneIn(2) ? sinew::CompactFactor(matrix) : sinew::CompactFactor(sinew::SymbolicFactor(matrix), matrix);
        if (in.oneIn(8)) factor = sinew::CompactFactor(matrix.factor());
        for (int steps = in.below(3); steps > 0; --steps) {
            if (!matrix.rows.empty() && !matrix.rows.back().empty()) matrix.rows.back().back().second = in.tame();
            out.add(factor.refactor(matrix));
        }
        auto const size = static_cast<std::size_t>(factor.size());
        std::vector<std::vector<double>> sides;
        for (int i = in.below(12); i > 0; --i) sides.push_back(rightHandSide(in, size + (in.oneIn(50) ? 1 : 0)));
        std::vector<double> single = rightHandSide(in, size);
        out.add(factor.hasNumbers());
        out.add(factor.solve(single));
        out.add(single);
        out.add(factor.solveMany(sides));
        out.add(sides);
        out.add(factor.logDeterminant());
        out.add(factor.matrixNorm());
        out.add(factor.inverseNormEstimate());
        out.add(factor.conditionEstimate());
        add(sinew::toTriplets(factor), out);
        add(factor.toLLT(), out);
        out.countInputs(static_cast<std::int64_t>(matrix.rows.size()));
    }
}

} // namespace

std::vector<Group> sparseGroups()
{
    constexpr MathLibrary kUnused = MathLibrary::unused;
    return {
        {"sparse.computePerm", "rows", kUnused, ordering},
        {"sparse.factor", "rows", kUnused, factors},
        {"sparse.solve", "unknowns", kUnused, solutions},
        {"sparse.SymbolicFactor", "rows", kUnused, symbolicFactors},
        {"sparse.diagnose", "rows", kUnused, diagnosis},
        {"sparse.builders", "entries", kUnused, builders},
        {"sparse.CompactFactor", "rows", kUnused, compactFactors},
    };
}

} // namespace selftest
