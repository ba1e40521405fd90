#include <sinew/sparse/detail/panel_substitution.h>

// Sources: T. Davis, Direct Methods for Sparse Linear Systems, 2006, section 3.1, for substitution by columns;
// E. Ng, B. Peyton, Block sparse Cholesky algorithms on advanced uniprocessor computers, SIAM Journal on Scientific
// Computing 14, 1993, for panels.
//
// The lists of an `LLTMatrix` finish each unknown by one sum over its row, columns ascending. Here, each finished
// unknown is subtracted from all later ones. Panels are visited in ascending order, so that every unknown takes the
// same products in the same order. The back substitution goes through the columns of the factor in descending order,
// and takes the rows of each in ascending order, as the lists `Mt` do.

#include <algorithm>
#include <cstdint>

#include <sinew/detail/as_index.h>

namespace sinew::detail {

namespace {

// Number of columns that are subtracted in one pass over the rows below a panel.
constexpr int kColumnsAtOnce = 4;

template <std::size_t Count>
SINEW_KERNEL void divide(double* own, double diagonal)
{
    for (std::size_t s = 0; s < Count; ++s) own[s] /= diagonal;
}

template <std::size_t Count>
SINEW_KERNEL void subtractProduct(double* own, double const* other, double v)
{
    for (std::size_t s = 0; s < Count; ++s) own[s] -= other[s] * v;
}

// Subtracts the columns from `first` on of a block, `Columns` of them, from the gathered rows below the panel.
template <std::size_t Columns>
SINEW_KERNEL void subtractColumns(double const* first, std::int64_t stride, double const* x, int rowCount,
                                  double* __restrict gathered)
{
    double const* column[Columns];
    for (std::size_t c = 0; c < Columns; ++c, first += stride) column[c] = first;
    for (int t = 0; t < rowCount; ++t) {
        double sum = gathered[t];
        for (std::size_t c = 0; c < Columns; ++c) sum -= x[c] * column[c][t];
        gathered[t] = sum;
    }
}

template <std::size_t Count>
struct Substitution
{
    PanelFactorView factor;
    double* y;
    double* gathered;

    template <VectorWidth width>
    SINEW_KERNEL void run() const
    {
        std::vector<Panel> const& panels = factor.plan->panels;
        for (std::size_t p = 0; p < panels.size(); ++p) forward(panels[p]);
        for (std::size_t p = panels.size(); p-- > 0;) backward(panels[p]);
    }

    SINEW_KERNEL double* unknown(int i) const { return y + asIndex(i) * Count; }

    SINEW_KERNEL void forward(Panel const& panel) const
    {
        int const panelWidth = panel.width;
        for (int c = 0; c < panelWidth; ++c) {
            double* const own = unknown(panel.first + c);
            divide<Count>(own, factor.diag[panel.first + c]);
            double const* const column = factor.values + panel.columnStart(c);
            for (int i = c + 1; i < panelWidth; ++i) subtractProduct<Count>(unknown(panel.first + i), own, column[i]);
        }
        if (Count == 1 && panelWidth > 1) {
            forwardGathered(panel);
        } else {
            forwardInPlace(panel);
        }
    }

    // The rows below the panel, for one right-hand side.
    SINEW_KERNEL void forwardGathered(Panel const& panel) const
    {
        int const* const rows = factor.plan->rowsBelow(panel);
        int const rowCount = panel.rowCount;
        std::int64_t const stride = panel.stride;
        for (int t = 0; t < rowCount; ++t) gathered[t] = y[rows[t]];
        double const* below = factor.values + panel.values + panel.width;
        double const* x = y + panel.first;
        int c = panel.width;
        for (; c >= kColumnsAtOnce; c -= kColumnsAtOnce, x += kColumnsAtOnce, below += kColumnsAtOnce * stride) {
            subtractColumns<kColumnsAtOnce>(below, stride, x, rowCount, gathered);
        }
        if (c == 3) subtractColumns<3>(below, stride, x, rowCount, gathered);
        if (c == 2) subtractColumns<2>(below, stride, x, rowCount, gathered);
        if (c == 1) subtractColumns<1>(below, stride, x, rowCount, gathered);
        for (int t = 0; t < rowCount; ++t) y[rows[t]] = gathered[t];
    }

    // The rows below the panel, for a group of right-hand sides, or for a panel of one column.
    SINEW_KERNEL void forwardInPlace(Panel const& panel) const
    {
        int const* const rows = factor.plan->rowsBelow(panel);
        for (int first = 0; first < panel.width; first += kColumnsAtOnce) {
            int const last = std::min(first + kColumnsAtOnce, panel.width);
            double const* const below = factor.values + panel.columnStart(first) + panel.width;
            for (int t = 0; t < panel.rowCount; ++t) {
                double* const own = unknown(rows[t]);
                double sum[Count];
                for (std::size_t s = 0; s < Count; ++s) sum[s] = own[s];
                double const* value = below + t;
                for (int c = first; c < last; ++c, value += panel.stride) {
                    subtractProduct<Count>(sum, unknown(panel.first + c), *value);
                }
                for (std::size_t s = 0; s < Count; ++s) own[s] = sum[s];
            }
        }
    }

    SINEW_KERNEL void backward(Panel const& panel) const
    {
        int const* const rows = factor.plan->rowsBelow(panel);
        int const rowCount = panel.rowCount;
        bool const isGathered = Count == 1 && panel.width > 1; // each column reads these unknowns
        if (isGathered) {
            for (int t = 0; t < rowCount; ++t) gathered[t] = y[rows[t]];
        }
        for (int c = panel.width; c-- > 0;) {
            double* const own = unknown(panel.first + c);
            double const* const column = factor.values + panel.columnStart(c);
            double const* const below = column + panel.width;
            double sum[Count];
            for (std::size_t s = 0; s < Count; ++s) sum[s] = own[s];
            for (int i = c + 1; i < panel.width; ++i) subtractProduct<Count>(sum, unknown(panel.first + i), column[i]);
            if (isGathered) {
                for (int t = 0; t < rowCount; ++t) sum[0] -= gathered[t] * below[t];
            } else {
                for (int t = 0; t < rowCount; ++t) subtractProduct<Count>(sum, unknown(rows[t]), below[t]);
            }
            divide<Count>(sum, factor.diag[panel.first + c]);
            for (std::size_t s = 0; s < Count; ++s) own[s] = sum[s];
        }
    }
};

} // namespace

std::size_t largestRowCount(PanelPlan const& plan)
{
    int largest = 0;
    for (Panel const& panel : plan.panels) largest = std::max(largest, panel.rowCount);
    return asIndex(largest);
}

template <std::size_t Count>
void substitutePanels(PanelFactorView const& factor, double* y, double* gathered, VectorWidth width)
{
    dispatch(width, Substitution<Count>{factor, y, gathered});
}

template void substitutePanels<1>(PanelFactorView const&, double*, double*, VectorWidth);
template void substitutePanels<4>(PanelFactorView const&, double*, double*, VectorWidth);
template void substitutePanels<8>(PanelFactorView const&, double*, double*, VectorWidth);

} // namespace sinew::detail
