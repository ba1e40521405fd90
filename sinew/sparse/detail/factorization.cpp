#include <sinew/sparse/detail/factorization.h>

#include <utility>

namespace sinew::detail {

namespace {

// Below this size setting up panels takes longer than they save.
constexpr std::size_t kSmallSize = 1000;

} // namespace

Factorization::Factorization(SparseRows const& rows, std::vector<int> perm, FactorMethod method)
    : perm_(std::move(perm))
{
    LowerPattern const pattern = permutedPattern(rows, perm_);
    std::vector<int> const parent = eliminationTree(pattern);
    std::vector<int> const counts = columnCounts(pattern, parent);
    for (std::int64_t count : counts) {
        entryCount_ += count;
        updateCount_ += count * (count + 1) / 2;
    }
    if (method == FactorMethod::automatic) {
        method = rows.size() < kSmallSize ? FactorMethod::rows : FactorMethod::panels;
    }
    if (method == FactorMethod::rows) {
        sweep_.emplace(pattern, parent, counts);
        slots_ = makeSlots(rows, perm_, [this](int row, int column) { return sweep_->locate(row, column); });
    } else {
        panels_.emplace(planPanels(pattern, parent, counts));
        slots_ = makeSlots(rows, perm_, [this](int row, int column) { return panels_->locate(row, column); });
    }
}

std::int64_t Factorization::workBytes() const
{
    std::int64_t const values = sweep_ ? entryCount_ : panels_->valueCount;
    constexpr std::int64_t kPerRow = 5 * sizeof(double); // pivots, reciprocals and three lists of scratch, rounded up
    return values * static_cast<std::int64_t>(sizeof(double)) + static_cast<std::int64_t>(perm_.size()) * kPerRow;
}

std::int64_t Factorization::bytes() const
{
    return static_cast<std::int64_t>(perm_.size() * sizeof(int) + slots_.slot.size() * sizeof(std::int64_t)) +
           (sweep_ ? sweep_->bytes() : panels_->bytes());
}

NumericResult Factorization::factor(SparseRows const& rows, PanelKernel kernel) const
{
    NumericResult result =
        sweep_ ? sweep_->factor(rows, perm_, slots_) : factorPanels(*panels_, rows, perm_, slots_, kernel);
    result.factor.perm = perm_;
    return result;
}

} // namespace sinew::detail
