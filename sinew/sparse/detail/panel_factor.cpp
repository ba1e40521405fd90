#include <sinew/sparse/detail/panel_factor.h>

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <iterator>
#include <utility>

#include <sinew/detail/element_count.h>
#include <sinew/sparse/detail/panel_kernels.h>

namespace sinew::detail {

namespace {

using Entry = std::pair<int, double>;

// The entries of a column of a block as pairs. A list that is assigned from such iterators is allocated at its exact
// size, and its memory is not set to zero first.
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

// Copies each finished panel into the lists of the result, while the panel is still in the cache.
class ResultWriter
{
public:
    ResultWriter(PanelPlan const& plan, PanelWork const& work, LLTMatrix& result)
        : plan_(plan), work_(work), result_(result), rowEnd_(plan.rowLength.size())
    {
        result.rows.resize(rowEnd_.size());
        result.Mt.resize(rowEnd_.size());
        for (std::size_t i = 0; i < rowEnd_.size(); ++i) {
            result.rows[i].resize(asIndex(plan.rowLength[i]));
            rowEnd_[i] = result.rows[i].data();
        }
    }

    void write(Panel const& panel)
    {
        int const height = panel.height();
        rows_.resize(asIndex(height));
        int* const rows = rows_.data();
        for (int c = 0; c < panel.width; ++c) rows[c] = panel.first + c;
        std::copy_n(plan_.rowsBelow(panel), panel.rowCount, rows + panel.width);
        for (int c = 0; c < panel.width; ++c) {
            double const* const column = work_.columnOf(panel, c);
            result_.Mt[asIndex(panel.first + c)].assign(ColumnIterator(rows + c + 1, column + c + 1),
                                                        ColumnIterator(rows + height, column + height));
        }
        for (int i = 1; i < height; ++i) {
            Entry*& end = rowEnd_[asIndex(rows[i])];
            double const* value = work_.columnOf(panel, 0) + i;
            int const columns = std::min(i, panel.width);
            for (int c = 0; c < columns; ++c, value += panel.stride) *end++ = {panel.first + c, *value};
        }
    }

private:
    PanelPlan const& plan_;
    PanelWork const& work_;
    LLTMatrix& result_;
    std::vector<Entry*> rowEnd_; // for each row of the result the place of its next entry
    std::vector<int> rows_;      // of the current panel: its own rows, then those below
};

std::size_t largestUpdateCount(PanelPlan const& plan)
{
    int largest = 0;
    for (std::size_t p = 0; p < plan.panels.size(); ++p) {
        largest = std::max(largest, plan.updatesOf(static_cast<int>(p)).size());
    }
    return asIndex(largest);
}

} // namespace

NumericResult factorPanels(PanelPlan const& plan, SparseRows const& rows, std::vector<int> const& perm,
                           EntrySlots const& slots, VectorWidth width)
{
    std::size_t const n = rows.size();
    assert(plan.panelOf.size() == n && perm.size() == n);
    std::vector<double> values(elementCount<double>(plan.valueCount + kPanelSlack), 0.0);
    slots.load(rows, values.data());
    NumericResult result;
    result.pivots.resize(n);
    for (std::size_t r = 0; r < n; ++r) result.pivots[asIndex(perm[r])] = rows[r].back().second;
    result.factor.diag.resize(n);

    std::vector<double> invDiag(n), gathered(n);
    std::vector<int> position(n), nextRow(largestUpdateCount(plan)), where(n);
    PanelWork work = {};
    work.plan = &plan;
    work.values = values.data();
    work.pivots = result.pivots.data();
    work.diag = result.factor.diag.data();
    work.invDiag = invDiag.data();
    work.position = position.data();
    work.nextRow = nextRow.data();
    work.where = where.data();
    work.gathered = gathered.data();

    PanelKernel const finishPanel = panelKernel(width);
    ResultWriter writer(plan, work, result.factor);
    for (std::size_t p = 0; p < plan.panels.size(); ++p) {
        result.failedAt = finishPanel(work, static_cast<int>(p));
        if (result.failedAt >= 0) {
            result.pivots.resize(asIndex(result.failedAt) + 1);
            return result;
        }
        writer.write(plan.panels[p]);
    }
    return result;
}

} // namespace sinew::detail
