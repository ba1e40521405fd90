#include <sinew/sparse/detail/factorization.h>

#include <cassert>
#include <cstddef>
#include <utility>

#include <sinew/core/detail/progress_meter.h>
#include <sinew/sparse/detail/elimination.h>
#include <sinew/sparse/detail/panel_factor.h>

namespace sinew::detail {

namespace {

// With fewer rows than this, the plan of the panels takes more time than the panels save.
constexpr std::size_t kFewestRowsForPanels = 1000;

// The parts of the analysis that are done after its steps.
constexpr double kTreeDone = 0.2;
constexpr double kCountsDone = 0.4;
constexpr double kPlanDone = 0.7;

void reached(ProgressMeter* meter, double fraction)
{
    if (meter) meter->reached(fraction);
}

} // namespace

Factorization::Factorization(SparseRows const& rows, std::vector<int> perm, FactorMethod method, ProgressMeter* meter)
    : perm_(std::move(perm))
{
    assert(isWellFormed(rows) && perm_.size() == rows.size());
    LowerPattern const pattern = permutedPattern(rows, perm_);
    std::vector<int> const parent = eliminationTree(pattern);
    reached(meter, kTreeDone);
    std::vector<int> const counts = columnCounts(pattern, parent);
    reached(meter, kCountsDone);
    for (std::int64_t count : counts) {
        entryCount_ += count;
        updateCount_ += count * (count + 1) / 2;
    }
    if (method == FactorMethod::automatic) {
        method = rows.size() < kFewestRowsForPanels ? FactorMethod::rows : FactorMethod::panels;
    }
    if (method == FactorMethod::rows) {
        sweep_.emplace(pattern, parent, counts);
        reached(meter, kPlanDone);
        slots_ = makeSlots(rows, perm_, [this](int row, int column) { return sweep_->locate(row, column); });
    } else {
        plan_.emplace(planPanels(pattern, parent, counts));
        reached(meter, kPlanDone);
        slots_ = makeSlots(rows, perm_, [this](int row, int column) { return plan_->locate(row, column); });
    }
}

std::int64_t Factorization::workBytes() const
{
    std::int64_t const values = sweep_ ? entryCount_ : plan_->valueCount;
    // Pivots, their reciprocals and scratch, of the method that needs more of them.
    constexpr std::int64_t kBytesPerRow = 5 * sizeof(double);
    return values * static_cast<std::int64_t>(sizeof(double)) + static_cast<std::int64_t>(perm_.size()) * kBytesPerRow;
}

std::int64_t Factorization::bytes() const
{
    return static_cast<std::int64_t>(perm_.size() * sizeof(int) + slots_.slot.size() * sizeof(std::int64_t)) +
           (sweep_ ? sweep_->bytes() : plan_->bytes());
}

NumericResult Factorization::factor(SparseRows const& rows, VectorWidth width, ProgressMeter* meter) const
{
    NumericResult result =
        sweep_ ? sweep_->factor(rows, perm_, slots_, meter) : factorPanels(*plan_, rows, perm_, slots_, width, meter);
    result.factor.perm = perm_;
    return result;
}

} // namespace sinew::detail
