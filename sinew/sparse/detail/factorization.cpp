#include <sinew/sparse/detail/factorization.h>

#include <cassert>
#include <cstddef>
#include <utility>

#include <sinew/sparse/detail/elimination.h>
#include <sinew/sparse/detail/panel_factor.h>

namespace sinew::detail {

namespace {

// With fewer rows than this, the plan of the panels takes more time than the panels save.
constexpr std::size_t kFewestRowsForPanels = 1000;

} // namespace

Factorization::Factorization(SparseRows const& rows, std::vector<int> perm, FactorMethod method)
    : perm_(std::move(perm))
{
    assert(isWellFormed(rows) && perm_.size() == rows.size());
    LowerPattern const pattern = permutedPattern(rows, perm_);
    std::vector<int> const parent = eliminationTree(pattern);
    std::vector<int> const counts = columnCounts(pattern, parent);
    for (std::int64_t count : counts) {
        entryCount_ += count;
        updateCount_ += count * (count + 1) / 2;
    }
    if (method == FactorMethod::automatic) {
        method = rows.size() < kFewestRowsForPanels ? FactorMethod::rows : FactorMethod::panels;
    }
    if (method == FactorMethod::rows) {
        sweep_.emplace(pattern, parent, counts);
        slots_ = makeSlots(rows, perm_, [this](int row, int column) { return sweep_->locate(row, column); });
    } else {
        plan_.emplace(planPanels(pattern, parent, counts));
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

NumericResult Factorization::factor(SparseRows const& rows, VectorWidth width) const
{
    NumericResult result =
        sweep_ ? sweep_->factor(rows, perm_, slots_) : factorPanels(*plan_, rows, perm_, slots_, width);
    result.factor.perm = perm_;
    return result;
}

} // namespace sinew::detail
