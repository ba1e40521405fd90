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
#include <cstring>

#include <sinew/detail/as_index.h>
#include <sinew/detail/vectors.h>

namespace sinew::detail {

namespace {

// Number of columns that are subtracted in one pass over the rows below a panel.
constexpr int kColumnsAtOnce = 4;

// The values of one unknown for `Count` right-hand sides, in vectors. Compilers vectorise the loops over right-hand
// sides by many permutations otherwise.
template <std::size_t Count, VectorWidth width>
struct Group
{
    // A group of four on a processor with vectors of eight takes the vectors of four.
    static constexpr VectorWidth kPartWidth = Count < kVectorSize<width> ? VectorWidth::avx2 : width;
    static constexpr std::size_t kVectors = Count / kVectorSize<kPartWidth>;

    Vector<kPartWidth> part[kVectors];

    SINEW_KERNEL void load(double const* values) { std::memcpy(part, values, sizeof part); }
    SINEW_KERNEL void store(double* values) const { std::memcpy(values, part, sizeof part); }
    SINEW_KERNEL void divide(double diagonal)
    {
        for (std::size_t v = 0; v < kVectors; ++v) part[v] /= diagonal;
    }
    SINEW_KERNEL void subtract(Group const& other, double factor)
    {
        for (std::size_t v = 0; v < kVectors; ++v) part[v] -= other.part[v] * factor;
    }
};

// A single right-hand side.
template <VectorWidth width>
struct Group<1, width>
{
    double value;

    SINEW_KERNEL void load(double const* values) { value = *values; }
    SINEW_KERNEL void store(double* values) const { *values = value; }
    SINEW_KERNEL void divide(double diagonal) { value /= diagonal; }
    SINEW_KERNEL void subtract(Group const& other, double factor) { value -= other.value * factor; }
};

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
        for (std::size_t p = 0; p < panels.size(); ++p) forward<Group<Count, width>>(panels[p]);
        for (std::size_t p = panels.size(); p-- > 0;) backward<Group<Count, width>>(panels[p]);
    }

    SINEW_KERNEL double* unknown(int i) const { return y + asIndex(i) * Count; }

    template <typename Values>
    SINEW_KERNEL void forward(Panel const& panel) const
    {
        int const panelWidth = panel.width;
        for (int c = 0; c < panelWidth; ++c) {
            Values own, later;
            own.load(unknown(panel.first + c));
            own.divide(factor.diag[panel.first + c]);
            own.store(unknown(panel.first + c));
            double const* const column = factor.values + panel.columnStart(c);
            for (int i = c + 1; i < panelWidth; ++i) {
                later.load(unknown(panel.first + i));
                later.subtract(own, column[i]);
                later.store(unknown(panel.first + i));
            }
        }
        if (Count == 1 && panelWidth > 1) return forwardGathered(panel);
        int c = 0;
        for (; c + kColumnsAtOnce <= panelWidth; c += kColumnsAtOnce) {
            forwardInPlace<Values, kColumnsAtOnce>(panel, c);
        }
        if (panelWidth - c == 3) forwardInPlace<Values, 3>(panel, c);
        if (panelWidth - c == 2) forwardInPlace<Values, 2>(panel, c);
        if (panelWidth - c == 1) forwardInPlace<Values, 1>(panel, c);
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

    // Subtracts `Columns` columns, from `first` on, from the rows below the panel.
    template <typename Values, std::size_t Columns>
    SINEW_KERNEL void forwardInPlace(Panel const& panel, int first) const
    {
        Values x[Columns];
        for (std::size_t c = 0; c < Columns; ++c) x[c].load(unknown(panel.first + first) + c * Count);
        int const* const rows = factor.plan->rowsBelow(panel);
        double const* const below = factor.values + panel.columnStart(first) + panel.width;
        std::int64_t const stride = panel.stride;
        for (int t = 0; t < panel.rowCount; ++t) {
            double* const own = unknown(rows[t]);
            Values sum;
            sum.load(own);
            double const* value = below + t;
            for (std::size_t c = 0; c < Columns; ++c, value += stride) sum.subtract(x[c], *value);
            sum.store(own);
        }
    }

    template <typename Values>
    SINEW_KERNEL void backward(Panel const& panel) const
    {
        int const* const rows = factor.plan->rowsBelow(panel);
        int const rowCount = panel.rowCount;
        bool const isGathered = Count == 1 && panel.width > 1; // each column reads these unknowns
        if (isGathered) {
            for (int t = 0; t < rowCount; ++t) gathered[t] = y[rows[t]];
        }
        for (int c = panel.width; c-- > 0;) {
            double const* const column = factor.values + panel.columnStart(c);
            double const* const below = column + panel.width;
            Values sum, other;
            sum.load(unknown(panel.first + c));
            for (int i = c + 1; i < panel.width; ++i) {
                other.load(unknown(panel.first + i));
                sum.subtract(other, column[i]);
            }
            for (int t = 0; t < rowCount; ++t) {
                other.load(isGathered ? gathered + t : unknown(rows[t]));
                sum.subtract(other, below[t]);
            }
            sum.divide(factor.diag[panel.first + c]);
            sum.store(unknown(panel.first + c));
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
