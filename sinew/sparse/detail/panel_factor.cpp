#include <sinew/sparse/detail/panel_factor.h>

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <iterator>
#include <utility>

#include <sinew/core/detail/progress_meter.h>
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

// Copies finished panels into the lists of the result, in their order.
class ResultWriter
{
public:
    ResultWriter(PanelPlan const& plan, double const* values, LLTMatrix& result, ProgressMeter* meter = nullptr)
        : plan_(plan), values_(values), result_(result), rowEnd_(plan.rowLength.size())
    {
        result.rows.resize(rowEnd_.size());
        result.Mt.resize(rowEnd_.size());
        for (std::size_t i = 0; i < rowEnd_.size(); ++i) {
            if (meter && i % kRowsPerLook == 0) meter->reached(0.0); // allocating takes long, too
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
            double const* const column = values_ + panel.columnStart(c);
            result_.Mt[asIndex(panel.first + c)].assign(ColumnIterator(rows + c + 1, column + c + 1),
                                                        ColumnIterator(rows + height, column + height));
        }
        for (int i = 1; i < height; ++i) {
            Entry*& end = rowEnd_[asIndex(rows[i])];
            double const* value = values_ + panel.values + i;
            int const columns = std::min(i, panel.width);
            for (int c = 0; c < columns; ++c, value += panel.stride) *end++ = {panel.first + c, *value};
        }
    }

private:
    static constexpr std::size_t kRowsPerLook = 1024;

    PanelPlan const& plan_;
    double const* values_;
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

// How many products finishing a panel takes, roughly: those of its updates, and those within the panel.
double productsOf(PanelPlan const& plan, std::size_t p)
{
    Panel const& panel = plan.panels[p];
    double products = static_cast<double>(panel.width) * panel.width * panel.height();
    for (PanelUpdate const& update : plan.updatesOf(static_cast<int>(p))) {
        Panel const& earlier = plan.panels[asIndex(update.panel)];
        double const entries = static_cast<double>(update.rowEnd - update.rowBegin) * earlier.width;
        products += entries * (earlier.rowCount - update.rowBegin);
    }
    return products;
}

// Tells a meter which part of the products is done. Without a meter, it does nothing.
class PanelProgress
{
public:
    PanelProgress(PanelPlan const& plan, ProgressMeter* meter) : plan_(plan), meter_(meter)
    {
        for (std::size_t p = 0; meter && p < plan.panels.size(); ++p) total_ += productsOf(plan, p);
    }

    void finished(std::size_t p)
    {
        if (!meter_) return;
        done_ += productsOf(plan_, p);
        meter_->reached(done_ / total_);
    }

private:
    PanelPlan const& plan_;
    ProgressMeter* meter_;
    double total_ = 0.0;
    double done_ = 0.0;
};

// Finishes all panels, and calls visit(panel) after each. The result is that of PanelKernel.
template <typename Visit>
int finishPanels(PanelWork const& work, VectorWidth width, ProgressMeter* meter, Visit visit)
{
    PanelKernel const finishPanel = panelKernel(width);
    PanelProgress progress(*work.plan, meter);
    for (std::size_t p = 0; p < work.plan->panels.size(); ++p) {
        int const failedAt = finishPanel(work, static_cast<int>(p));
        if (failedAt >= 0) return failedAt;
        visit(work.plan->panels[p]);
        progress.finished(p);
    }
    return -1;
}

} // namespace

PanelNumbers::PanelNumbers(PanelPlan const& plan)
    : values(elementCount<double>(plan.valueCount + kPanelSlack), 0.0), diag(plan.panelOf.size())
{
}

PanelScratch::PanelScratch(PanelPlan const& plan)
    : pivots(plan.panelOf.size()), invDiag(plan.panelOf.size()), gathered(plan.panelOf.size()),
      position(plan.panelOf.size()), nextRow(largestUpdateCount(plan)), where(plan.panelOf.size())
{
}

PanelWork loadPanels(PanelPlan const& plan, SparseRows const& rows, std::vector<int> const& perm,
                     EntrySlots const& slots, PanelNumbers& numbers, PanelScratch& scratch)
{
    assert(plan.panelOf.size() == rows.size() && perm.size() == rows.size());
    slots.load(rows, numbers.values.data());
    for (std::size_t r = 0; r < rows.size(); ++r) scratch.pivots[asIndex(perm[r])] = rows[r].back().second;
    PanelWork work = {};
    work.plan = &plan;
    work.values = numbers.values.data();
    work.pivots = scratch.pivots.data();
    work.diag = numbers.diag.data();
    work.invDiag = scratch.invDiag.data();
    work.position = scratch.position.data();
    work.nextRow = scratch.nextRow.data();
    work.where = scratch.where.data();
    work.gathered = scratch.gathered.data();
    return work;
}

int factorInPlace(PanelWork const& work, VectorWidth width, ProgressMeter* meter)
{
    return finishPanels(work, width, meter, [](Panel const&) {});
}

void writeLists(PanelPlan const& plan, double const* values, LLTMatrix& result)
{
    ResultWriter writer(plan, values, result);
    for (Panel const& panel : plan.panels) writer.write(panel);
}

NumericResult factorPanels(PanelPlan const& plan, SparseRows const& rows, std::vector<int> const& perm,
                           EntrySlots const& slots, VectorWidth width, ProgressMeter* meter)
{
    PanelNumbers numbers(plan);
    PanelScratch scratch(plan);
    PanelWork const work = loadPanels(plan, rows, perm, slots, numbers, scratch);
    NumericResult result;
    ResultWriter writer(plan, work.values, result.factor, meter);
    // Each panel is copied while it is still in the cache.
    result.failedAt = finishPanels(work, width, meter, [&writer](Panel const& panel) { writer.write(panel); });
    result.pivots = std::move(scratch.pivots);
    if (result.failedAt >= 0) result.pivots.resize(asIndex(result.failedAt) + 1);
    result.factor.diag = std::move(numbers.diag);
    return result;
}

} // namespace sinew::detail
