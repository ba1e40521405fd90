#include <sinew/sparse/compact_factor.h>

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>
#include <utility>

#include <sinew/core/detail/progress_meter.h>
#include <sinew/detail/as_index.h>
#include <sinew/sparse/detail/log_product.h>
#include <sinew/sparse/detail/minimum_degree.h>
#include <sinew/sparse/detail/norm_estimate.h>
#include <sinew/sparse/detail/panel_factor.h>
#include <sinew/sparse/detail/panel_substitution.h>
#include <sinew/sparse/detail/pattern_analysis.h>
#include <sinew/sparse/detail/phases.h>

namespace sinew {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Numbers of right-hand sides that are solved together: 8 doubles are a cache line, 4 are half of one.
constexpr std::size_t kLargeGroup = 8;
constexpr std::size_t kSmallGroup = 4;

template <typename T>
std::int64_t bytesOf(std::vector<T> const& list)
{
    return static_cast<std::int64_t>(list.size() * sizeof(T));
}

bool isPermutation(std::vector<int> const& perm)
{
    std::vector<bool> seen(perm.size(), false);
    for (int position : perm) {
        if (position < 0 || detail::asIndex(position) >= perm.size() || seen[detail::asIndex(position)]) return false;
        seen[detail::asIndex(position)] = true;
    }
    return true;
}

std::uint64_t bitsOf(double number)
{
    std::uint64_t bits;
    std::memcpy(&bits, &number, sizeof bits);
    return bits;
}

bool isSameNumber(double a, double b)
{
    return (a != a && b != b) || bitsOf(a) == bitsOf(b);
}

// Whether the lists are those of one triangular matrix, as the constructor from an `LLTMatrix` requires.
bool isConsistent(LLTMatrix const& factor)
{
    std::size_t const n = factor.rows.size();
    if (factor.Mt.size() != n || factor.diag.size() != n || factor.perm.size() != n) return false;
    if (n > detail::asIndex(std::numeric_limits<int>::max()) || !isPermutation(factor.perm)) return false;
    std::vector<std::size_t> next(n, 0); // in each list of Mt
    for (std::size_t i = 0; i < n; ++i) {
        int const row = static_cast<int>(i);
        int least = 0;
        for (auto const& [c, v] : factor.rows[i]) {
            if (c < least || c >= row) return false;
            least = c + 1;
            auto const& column = factor.Mt[detail::asIndex(c)];
            std::size_t const at = next[detail::asIndex(c)]++;
            if (at >= column.size() || column[at].first != row || !isSameNumber(column[at].second, v)) return false;
        }
    }
    for (std::size_t c = 0; c < n; ++c) {
        if (next[c] != factor.Mt[c].size()) return false;
    }
    return true;
}

// The 1-norm of the matrix whose off-diagonal values have been loaded.
double normOfLoaded(detail::SparseRows const& rows, detail::EntrySlots const& slots, double const* values,
                    detail::PanelScratch& scratch)
{
    std::vector<double>& sums = scratch.gathered;
    std::vector<int>& lastRow = scratch.position; // of each column; repeated pairs count once
    std::fill(sums.begin(), sums.end(), 0.0);
    std::fill(lastRow.begin(), lastRow.end(), -1);
    std::int64_t const* slot = slots.slot.data();
    for (std::size_t r = 0; r < rows.size(); ++r) {
        int const row = static_cast<int>(r);
        for (std::size_t k = 0; k + 1 < rows[r].size(); ++k, ++slot) {
            std::size_t const column = detail::asIndex(rows[r][k].first);
            if (lastRow[column] == row) continue;
            lastRow[column] = row;
            double const magnitude = std::fabs(values[*slot]);
            sums[r] += magnitude;
            sums[column] += magnitude;
        }
        sums[r] += std::fabs(rows[r].back().second);
    }
    double norm = 0.0;
    for (double sum : sums) {
        if (sum != sum) return sum;
        norm = std::max(norm, sum);
    }
    return norm;
}

} // namespace

struct CompactFactor::State
{
    std::shared_ptr<detail::PatternAnalysis const> analysis; // null if the factor was made from lists
    detail::PanelPlan listPlan;                              // used without an analysis
    std::vector<int> listPerm;                               // used without an analysis
    detail::PanelNumbers numbers;
    detail::PanelScratch scratch; // empty without an analysis
    double norm = kNaN;
    std::size_t largestRowCount = 0; // of all panels
    bool hasNumbers = false;

    explicit State(std::shared_ptr<detail::PatternAnalysis const> shared)
        : analysis(std::move(shared)), numbers(plan()), scratch(plan()),
          largestRowCount(detail::largestRowCount(plan()))
    {
    }

    explicit State(LLTMatrix const& factor)
        : listPlan(detail::planOfColumns(factor.Mt)), listPerm(factor.perm), numbers(listPlan),
          largestRowCount(detail::largestRowCount(listPlan)), hasNumbers(true)
    {
        numbers.diag = factor.diag;
        for (detail::Panel const& panel : listPlan.panels) {
            for (int c = 0; c < panel.width; ++c) {
                double* value = numbers.values.data() + panel.columnStart(c) + c;
                for (auto const& entry : factor.Mt[detail::asIndex(panel.first + c)]) *++value = entry.second;
            }
        }
    }

    detail::PanelPlan const& plan() const
    {
        if (!analysis) return listPlan;
        detail::PanelPlan const* const plan = analysis->factorization.panelPlan();
        assert(plan); // an analysis without it is not used
        return *plan;
    }
    std::vector<int> const& perm() const { return analysis ? analysis->factorization.perm() : listPerm; }

    detail::Panel const& panelOf(int column) const
    {
        return plan().panels[detail::asIndex(plan().panelOf[detail::asIndex(column)])];
    }

    // Factors into the place of the old numbers.
    // @param rows  of the pattern of the analysis
    bool factor(detail::SparseRows const& rows, detail::ProgressMeter* meter = nullptr)
    {
        hasNumbers = false;
        std::fill(numbers.values.begin(), numbers.values.end(), 0.0);
        hasNumbers = factorInto(rows, numbers, norm, meter);
        return hasNumbers;
    }

    // Keeps the old numbers until the new ones are complete.
    bool factorApart(detail::SparseRows const& rows, detail::ProgressMeter& meter)
    {
        detail::PanelNumbers newNumbers(plan());
        double newNorm = kNaN;
        bool const isFactored = factorInto(rows, newNumbers, newNorm, &meter);
        meter.finish();
        numbers = std::move(newNumbers);
        norm = newNorm;
        hasNumbers = isFactored;
        return hasNumbers;
    }

    // @param target  its values must be zero
    bool factorInto(detail::SparseRows const& rows, detail::PanelNumbers& target, double& targetNorm,
                    detail::ProgressMeter* meter)
    {
        detail::EntrySlots const& slots = analysis->factorization.slots();
        detail::PanelWork const work = detail::loadPanels(plan(), rows, perm(), slots, target, scratch);
        targetNorm = normOfLoaded(rows, slots, work.values, scratch);
        return detail::factorInPlace(work, detail::widestVectors(), meter) < 0;
    }

    // Solves `Count` systems; `b` points to the right-hand sides. In y, the values of one unknown are consecutive.
    template <std::size_t Count>
    void solveGroup(double* const* b, std::vector<double>& y, std::vector<double>& gathered) const
    {
        std::vector<int> const& position = perm();
        std::size_t const n = position.size();
        for (std::size_t i = 0; i < n; ++i) {
            double* const own = y.data() + detail::asIndex(position[i]) * Count;
            for (std::size_t s = 0; s < Count; ++s) own[s] = b[s][i];
        }
        detail::substitutePanels<Count>({&plan(), numbers.values.data(), numbers.diag.data()}, y.data(),
                                        gathered.data());
        for (std::size_t i = 0; i < n; ++i) {
            double const* const own = y.data() + detail::asIndex(position[i]) * Count;
            for (std::size_t s = 0; s < Count; ++s) b[s][i] = own[s];
        }
    }

    // @param column  column(k) returns the right-hand side k
    template <typename Column>
    void solveAll(std::size_t count, Column column, detail::ProgressMeter* meter = nullptr) const
    {
        std::vector<double> y(perm().size() * std::min(count, kLargeGroup)), gathered(largestRowCount);
        double* group[kLargeGroup];
        std::size_t solved = 0;
        auto const solveNext = [&](auto groupSize) {
            constexpr std::size_t kCount = decltype(groupSize)::value;
            for (; solved + kCount <= count; solved += kCount) {
                if (meter) meter->reached(detail::fractionOf(solved, count));
                for (std::size_t s = 0; s < kCount; ++s) group[s] = column(solved + s);
                solveGroup<kCount>(group, y, gathered);
            }
        };
        solveNext(std::integral_constant<std::size_t, kLargeGroup>());
        solveNext(std::integral_constant<std::size_t, kSmallGroup>());
        solveNext(std::integral_constant<std::size_t, 1>());
    }
};

CompactFactor::CompactFactor() = default;
CompactFactor::~CompactFactor() = default;
CompactFactor::CompactFactor(CompactFactor&&) noexcept = default;
CompactFactor& CompactFactor::operator=(CompactFactor&&) noexcept = default;

CompactFactor::CompactFactor(CompactFactor const& other)
    : state_(other.state_ ? std::make_unique<State>(*other.state_) : nullptr)
{
}

CompactFactor& CompactFactor::operator=(CompactFactor const& other)
{
    return *this = CompactFactor(other);
}

struct detail::CompactFactorAccess
{
    static CompactFactor factored(SPDMatrix const& matrix, ProgressMeter* meter)
    {
        CompactFactor result;
        beginPhase(meter, 0.0, kOrdered);
        std::vector<int> perm = orderingOf(matrix.rows, meter);
        if (perm.empty()) return result;
        beginPhase(meter, kOrdered, kAnalysed);
        auto analysis =
            std::make_shared<PatternAnalysis const>(matrix.rows, std::move(perm), FactorMethod::panels, meter);
        beginPhase(meter, kAnalysed, 1.0);
        auto state = std::make_unique<CompactFactor::State>(std::move(analysis));
        if (state->factor(matrix.rows, meter)) result.state_ = std::move(state);
        return result;
    }

    static CompactFactor factored(SymbolicFactor const& symbolic, SPDMatrix const& matrix, ProgressMeter* meter)
    {
        CompactFactor result;
        if (symbolic.size() == 0 || !symbolic.matches(matrix)) return result;
        std::shared_ptr<PatternAnalysis const> analysis = symbolic.sharedAnalysis();
        if (analysis->factorization.panelPlan() == nullptr) {
            analysis = std::make_shared<PatternAnalysis const>(matrix.rows, symbolic.perm(), FactorMethod::panels);
        }
        auto state = std::make_unique<CompactFactor::State>(std::move(analysis));
        if (state->factor(matrix.rows, meter)) result.state_ = std::move(state);
        return result;
    }

    static bool solveMany(CompactFactor const& factor, std::vector<std::vector<double>>& rightHandSides,
                          ProgressMeter* meter)
    {
        std::size_t const n = factor.perm().size();
        auto const fits = [n](std::vector<double> const& b) { return b.size() == n; };
        if (!std::all_of(rightHandSides.begin(), rightHandSides.end(), fits)) return false;
        if (!factor.state_ || rightHandSides.empty()) return true;
        if (!factor.state_->hasNumbers) return false;
        auto const column = [&](std::size_t k) { return rightHandSides[k].data(); };
        factor.state_->solveAll(rightHandSides.size(), column, meter);
        return true;
    }
};

CompactFactor::CompactFactor(SPDMatrix const& matrix)
    : CompactFactor(detail::CompactFactorAccess::factored(matrix, nullptr))
{
}

CompactFactor::CompactFactor(SymbolicFactor const& symbolic, SPDMatrix const& matrix)
    : CompactFactor(detail::CompactFactorAccess::factored(symbolic, matrix, nullptr))
{
}

std::optional<CompactFactor> makeCompactFactor(SPDMatrix const& matrix, Progress const& progress)
{
    return detail::withProgress(progress, [&](detail::ProgressMeter& meter) {
        CompactFactor result = detail::CompactFactorAccess::factored(matrix, &meter);
        meter.finish();
        return result;
    });
}

std::optional<CompactFactor> makeCompactFactor(SymbolicFactor const& symbolic, SPDMatrix const& matrix,
                                               Progress const& progress)
{
    return detail::withProgress(progress, [&](detail::ProgressMeter& meter) {
        CompactFactor result = detail::CompactFactorAccess::factored(symbolic, matrix, &meter);
        meter.finish();
        return result;
    });
}

CompactFactor::CompactFactor(LLTMatrix const& factor)
{
    if (!factor.rows.empty() && isConsistent(factor)) state_ = std::make_unique<State>(factor);
}

int CompactFactor::size() const
{
    return static_cast<int>(perm().size());
}

bool CompactFactor::hasNumbers() const
{
    return state_ && state_->hasNumbers;
}

std::vector<int> const& CompactFactor::perm() const
{
    static std::vector<int> const none;
    return state_ ? state_->perm() : none;
}

std::int64_t CompactFactor::entryCount() const
{
    if (!state_) return 0;
    std::int64_t count = size();
    for (int length : state_->plan().rowLength) count += length;
    return count;
}

std::int64_t CompactFactor::factorBytes() const
{
    if (!state_) return 0;
    detail::PanelScratch const& scratch = state_->scratch;
    return bytesOf(state_->numbers.values) + bytesOf(state_->numbers.diag) + bytesOf(scratch.pivots) +
           bytesOf(scratch.invDiag) + bytesOf(scratch.gathered) + bytesOf(scratch.position) + bytesOf(scratch.nextRow) +
           bytesOf(scratch.where);
}

std::int64_t CompactFactor::analysisBytes() const
{
    if (!state_) return 0;
    if (state_->analysis) return state_->analysis->bytes();
    return state_->listPlan.bytes() + bytesOf(state_->listPerm);
}

bool CompactFactor::refactor(SPDMatrix const& matrix)
{
    if (!state_ || !state_->analysis || !state_->analysis->matches(matrix.rows)) return false;
    return state_->factor(matrix.rows);
}

std::optional<bool> CompactFactor::refactor(SPDMatrix const& matrix, Progress const& progress)
{
    return detail::withProgress(progress, [&](detail::ProgressMeter& meter) {
        bool const matches = state_ && state_->analysis && state_->analysis->matches(matrix.rows);
        if (matches) return state_->factorApart(matrix.rows, meter);
        meter.finish();
        return false;
    });
}

bool CompactFactor::solve(std::vector<double>& b) const
{
    return solve(b.data(), b.size());
}

bool CompactFactor::solve(double* b, std::size_t count) const
{
    if (!state_) return count == 0;
    if (!state_->hasNumbers || count != perm().size()) return false;
    state_->solveAll(1, [b](std::size_t) { return b; });
    return true;
}

bool CompactFactor::solveMany(std::vector<std::vector<double>>& rightHandSides) const
{
    return detail::CompactFactorAccess::solveMany(*this, rightHandSides, nullptr);
}

bool CompactFactor::solveMany(double* b, std::size_t columnCount, std::size_t stride) const
{
    if (columnCount == 0) return true;
    if (stride < perm().size()) return false;
    if (!state_) return true;
    if (!state_->hasNumbers) return false;
    state_->solveAll(columnCount, [&](std::size_t k) { return b + k * stride; });
    return true;
}

std::optional<bool> CompactFactor::solveMany(std::vector<std::vector<double>>& rightHandSides,
                                             Progress const& progress) const
{
    return detail::withProgress(progress, [&](detail::ProgressMeter& meter) {
        std::vector<std::vector<double>> solutions = rightHandSides;
        bool const isSolved = detail::CompactFactorAccess::solveMany(*this, solutions, &meter);
        meter.finish();
        if (isSolved) {
            // Copied, not exchanged, because the host may hold pointers to its numbers.
            for (std::size_t k = 0; k < solutions.size(); ++k) {
                std::copy(solutions[k].begin(), solutions[k].end(), rightHandSides[k].begin());
            }
        }
        return isSolved;
    });
}

std::optional<bool> CompactFactor::solveMany(double* b, std::size_t columnCount, std::size_t stride,
                                             Progress const& progress) const
{
    return detail::withProgress(progress, [&](detail::ProgressMeter& meter) {
        std::size_t const n = perm().size();
        bool const isSolvable = columnCount > 0 && stride >= n && hasNumbers();
        std::vector<double> solutions;
        if (isSolvable) {
            if (columnCount > solutions.max_size() / n) throw std::bad_alloc();
            solutions.resize(columnCount * n);
            for (std::size_t k = 0; k < columnCount; ++k) std::copy_n(b + k * stride, n, solutions.data() + k * n);
            state_->solveAll(
                columnCount, [&](std::size_t k) { return solutions.data() + k * n; }, &meter);
        }
        meter.finish();
        if (!isSolvable) return columnCount == 0 || (stride >= n && !state_);
        for (std::size_t k = 0; k < columnCount; ++k) std::copy_n(solutions.data() + k * n, n, b + k * stride);
        return true;
    });
}

double CompactFactor::logDeterminant() const
{
    if (!state_) return 0.0;
    if (!state_->hasNumbers) return kNaN;
    detail::ScaledProduct product;
    for (double d : state_->numbers.diag) product.multiply(d);
    return 2.0 * product.logarithm();
}

double CompactFactor::matrixNorm() const
{
    if (!state_) return 0.0;
    return state_->hasNumbers ? state_->norm : kNaN;
}

double CompactFactor::inverseNormEstimate() const
{
    if (!state_) return 0.0;
    if (!state_->hasNumbers) return kNaN;
    std::size_t const n = perm().size();
    std::vector<double> y(n), gathered(state_->largestRowCount);
    return detail::estimateInverseNorm(n, [&](std::vector<double>& x) {
        double* const b = x.data();
        state_->solveGroup<1>(&b, y, gathered);
    });
}

double CompactFactor::conditionEstimate() const
{
    return state_ ? matrixNorm() * inverseNormEstimate() : 0.0;
}

int CompactFactor::columnLength(int column) const
{
    assert(hasNumbers());
    detail::Panel const& panel = state_->panelOf(column);
    return panel.height() - (column - panel.first);
}

void CompactFactor::copyColumn(int column, int* rows, double* values) const
{
    assert(hasNumbers());
    detail::Panel const& panel = state_->panelOf(column);
    int const c = column - panel.first;
    *rows++ = column;
    *values++ = state_->numbers.diag[detail::asIndex(column)];
    for (int i = c + 1; i < panel.width; ++i) *rows++ = panel.first + i;
    std::copy_n(state_->plan().rowsBelow(panel), panel.rowCount, rows);
    std::copy_n(state_->numbers.values.data() + panel.columnStart(c) + c + 1, panel.height() - c - 1, values);
}

LLTMatrix CompactFactor::toLLT() const
{
    LLTMatrix result;
    if (!hasNumbers()) return result;
    detail::writeLists(state_->plan(), state_->numbers.values.data(), result);
    result.diag = state_->numbers.diag;
    result.perm = state_->perm();
    return result;
}

} // namespace sinew
