#include <sinew/sparse/detail/panel_factor.h>

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace sinew::detail {

namespace {

using Entry = std::pair<int, double>;

// Walks a column of a block as pairs, so that a list is allocated and filled in one go, without zeroing it first.
class ColumnIterator
{
public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = Entry;
    using difference_type = std::ptrdiff_t;
    using pointer = Entry const*;
    using reference = Entry;

    ColumnIterator(int const* row, double const* value) : row_(row), value_(value) {}
    Entry operator*() const { return {*row_, *value_}; }
    ColumnIterator& operator++()
    {
        ++row_;
        ++value_;
        return *this;
    }
    bool operator==(ColumnIterator const& other) const { return row_ == other.row_; }
    bool operator!=(ColumnIterator const& other) const { return row_ != other.row_; }

private:
    int const* row_;
    double const* value_;
};

// Copies finished panels, still in cache, into the lists of the result.
class Emitter
{
public:
    Emitter(PanelPlan const& plan, double const* values, LLTMatrix& result)
        : plan_(plan), values_(values), result_(result), rowEnd_(plan.rowLength.size())
    {
        result.rows.resize(rowEnd_.size());
        result.Mt.resize(rowEnd_.size());
        for (std::size_t i = 0; i < rowEnd_.size(); ++i) {
            result.rows[i].resize(static_cast<std::size_t>(plan.rowLength[i]));
            rowEnd_[i] = result.rows[i].data();
        }
    }

    void emit(Panel const& panel)
    {
        double const* const block = values_ + panel.values;
        int const height = panel.width + panel.rowCount;
        rows_.resize(static_cast<std::size_t>(height));
        for (int c = 0; c < panel.width; ++c) rows_[c] = panel.first + c;
        std::copy_n(plan_.rowIndex.data() + panel.rows, panel.rowCount, rows_.data() + panel.width);
        for (int c = 0; c < panel.width; ++c) {
            double const* const column = block + static_cast<std::int64_t>(c) * panel.stride;
            result_.Mt[panel.first + c].assign(ColumnIterator(rows_.data() + c + 1, column + c + 1),
                                               ColumnIterator(rows_.data() + height, column + height));
        }
        for (int i = 1; i < height; ++i) {
            Entry*& end = rowEnd_[rows_[i]];
            double const* value = block + i;
            for (int c = 0; c < std::min(i, panel.width); ++c, value += panel.stride)
                *end++ = {panel.first + c, *value};
        }
    }

private:
    PanelPlan const& plan_;
    double const* values_;
    LLTMatrix& result_;
    std::vector<Entry*> rowEnd_; // where the next entry of each row goes
    std::vector<int> rows_;      // of the panel at hand, its own and those below
};

} // namespace

NumericResult factorPanels(PanelPlan const& plan, SparseRows const& rows, std::vector<int> const& perm,
                           EntrySlots const& slots, PanelKernel kernel)
{
    std::size_t const n = rows.size();
    std::vector<double> values(static_cast<std::size_t>(plan.valueCount) + kPanelSlack, 0.0);
    slots.load(rows, values.data());
    NumericResult result;
    result.pivots.resize(n);
    for (std::size_t r = 0; r < n; ++r) result.pivots[perm[r]] = rows[r].back().second;

    LLTMatrix& factor = result.factor;
    factor.diag.resize(n);
    Emitter emitter(plan, values.data(), factor);

    std::size_t mostUpdates = 0;
    for (std::size_t p = 0; p < plan.panels.size(); ++p) {
        mostUpdates = std::max(mostUpdates, static_cast<std::size_t>(plan.updateStart[p + 1] - plan.updateStart[p]));
    }
    std::vector<double> invDiag(n), gathered(n);
    std::vector<int> position(n), cursor(mostUpdates), where(n);
    PanelWork work = {&plan,           values.data(), result.pivots.data(), factor.diag.data(), invDiag.data(),
                      position.data(), cursor.data(), where.data(),         gathered.data()};
    for (std::size_t p = 0; p < plan.panels.size(); ++p) {
        result.failedAt = kernel(work, static_cast<int>(p));
        if (result.failedAt >= 0) {
            result.pivots.resize(static_cast<std::size_t>(result.failedAt) + 1);
            return result;
        }
        emitter.emit(plan.panels[p]);
    }
    return result;
}

} // namespace sinew::detail
