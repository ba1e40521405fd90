// The arithmetic of one panel for one vector width. No include guard: panel_kernels.cpp includes this file once for
// each width, with
//     SINEW_PANEL_VARIANT  the namespace of the width
//     SINEW_PANEL_TARGET   the attribute of its functions
//     SINEW_PANEL_LANES    the number of doubles in a vector
//
// Each entry L[i][r] of the factor starts as A[i][r] * invDiag[r]. Then it takes, for k ascending, one
//     L[i][r] -= (L[r][k] * L[i][k]) * invDiag[r]
// Tiles and vectors extend over rows i and columns r. The loop over k is always the innermost one and ascending, so
// that each entry takes the same sequence of roundings at every width.
//
// Sources: E. Ng, B. Peyton, Block sparse Cholesky algorithms on advanced uniprocessor computers, SIAM Journal on
// Scientific Computing 14, 1993, for the updates between panels; K. Goto, R. van de Geijn, Anatomy of high-performance
// matrix multiplication, ACM Transactions on Mathematical Software 34, 2008, for tiles whose sums stay in registers.
//
// Everything here is in an unnamed namespace. A function that is compiled for wide vectors can therefore never replace
// one of the same name in another object file.

namespace sinew::detail::SINEW_PANEL_VARIANT {

namespace {

constexpr int kLanes = SINEW_PANEL_LANES;
constexpr int kTileVectors = 2;
constexpr int kTileRows = kTileVectors * kLanes;
constexpr int kTileColumns = 4;
constexpr int kLongTileRows = kLongTileVectors * kLanes;
constexpr int kTileAlignment = kWidestLanes * static_cast<int>(sizeof(double));

static_assert(kWidestLanes % kLanes == 0, "padding must fill whole vectors");
static_assert(kTileRows <= kPanelSlack && kLongTileRows <= kPanelSlack, "tiles must not read past the last block");

#if SINEW_PANEL_LANES > 1
typedef double Vector __attribute__((vector_size(8 * SINEW_PANEL_LANES)));
typedef double Unaligned __attribute__((vector_size(8 * SINEW_PANEL_LANES), aligned(8), may_alias));
#else
typedef double Vector;
typedef double Unaligned;
#endif

// The columns 0 to depth - 1 of a finished block, which are `stride` apart, as an update reads them.
struct Source
{
    double const* rows;    // in the first column: the first row of the target
    double const* factors; // in the first column: the first of the consecutive rows that are columns of the target
    std::int64_t stride;
    int depth;
};

// Consecutive rows of consecutive columns, which are `stride` apart.
struct Tile
{
    double* values;
    std::int64_t stride;
    double const* invDiag; // of the columns
};

// Rows of a block that are not consecutive.
struct RowList
{
    int const* where; // the rows, ascending
    int count;
};

// Applies the source to a tile of `Columns` columns and `Vectors` vectors of rows.
template <std::size_t Columns, std::size_t Vectors>
SINEW_PANEL_TARGET void updateTile(Source const& source, Tile const& tile)
{
    double inv[Columns];
    for (std::size_t c = 0; c < Columns; ++c) inv[c] = tile.invDiag[c];
    Vector sum[Columns][Vectors];
    double* column = tile.values;
    for (std::size_t c = 0; c < Columns; ++c, column += tile.stride) {
        for (std::size_t v = 0; v < Vectors; ++v) {
            sum[c][v] = *reinterpret_cast<Unaligned const*>(column + v * kLanes);
        }
    }
    double const* rows = source.rows;
    double const* factors = source.factors;
    std::int64_t const stride = source.stride;
    for (int k = 0; k < source.depth; ++k, rows += stride, factors += stride) {
        Vector l[Vectors];
        for (std::size_t v = 0; v < Vectors; ++v) l[v] = *reinterpret_cast<Unaligned const*>(rows + v * kLanes);
        for (std::size_t c = 0; c < Columns; ++c) {
            for (std::size_t v = 0; v < Vectors; ++v) sum[c][v] -= (l[v] * factors[c]) * inv[c];
        }
    }
    column = tile.values;
    for (std::size_t c = 0; c < Columns; ++c, column += tile.stride) {
        for (std::size_t v = 0; v < Vectors; ++v) *reinterpret_cast<Unaligned*>(column + v * kLanes) = sum[c][v];
    }
}

template <std::size_t Vectors>
SINEW_PANEL_TARGET void updateColumns(int columns, Source const& source, Tile const& tile)
{
    static_assert(kTileColumns == 4, "one case for each number of columns");
    assert(columns >= 1 && columns <= kTileColumns);
    switch (columns) {
    case 1:
        return updateTile<1, Vectors>(source, tile);
    case 2:
        return updateTile<2, Vectors>(source, tile);
    case 3:
        return updateTile<3, Vectors>(source, tile);
    default:
        return updateTile<4, Vectors>(source, tile);
    }
}

// --- The rows of the panel itself, and the pivots.

// Up to this depth, the entries of a target are updated in place. An entry takes so few updates that they cost less
// than copying it to a tile and back.
constexpr int kScatteredDepth = 2;

SINEW_PANEL_TARGET void updateScattered(Source const& source, double inv, double* column, RowList const& list)
{
    double const* rows = source.rows;
    double const* factors = source.factors;
    int const* const where = list.where;
    int const count = list.count;
    for (int k = 0; k < source.depth; ++k, rows += source.stride, factors += source.stride) {
        double const factor = *factors;
        for (int t = 0; t < count; ++t) column[where[t]] -= (rows[t] * factor) * inv;
    }
}

// Applies an earlier panel to one column of the panel. A single column takes long tiles: with fewer vectors, each
// subtraction would wait for the one before.
SINEW_PANEL_TARGET void updateSingleColumn(Source const& source, double inv, double* column, RowList const& list)
{
    if (source.depth <= kScatteredDepth) return updateScattered(source, inv, column, list);
    alignas(kTileAlignment) double values[kLongTileRows] = {};
    Tile const tile = {values, kLongTileRows, &inv};
    Source part = source;
    for (int t = 0; t < list.count; t += kLongTileRows, part.rows += kLongTileRows) {
        int const* const where = list.where + t;
        int const count = list.count - t < kLongTileRows ? list.count - t : kLongTileRows;
        for (int i = 0; i < count; ++i) values[i] = column[where[i]];
        if (count > 2 * kLanes) {
            updateTile<1, kLongTileVectors>(part, tile);
        } else if (count > kLanes) {
            updateTile<1, 2>(part, tile);
        } else {
            updateTile<1, 1>(part, tile);
        }
        for (int i = 0; i < count; ++i) column[where[i]] = values[i];
    }
}

// Applies all earlier panels to column c, in the rows of the panel below the pivot.
SINEW_PANEL_TARGET void updateOwnRows(PanelWork const& work, int index, int c)
{
    PanelPlan const& plan = *work.plan;
    Panel const& panel = plan.panels[asIndex(index)];
    double* const column = work.columnOf(panel, c);
    double const inv = work.invDiag[panel.first + c];
    int* nextRow = work.nextRow;
    for (PanelUpdate const& update : plan.updatesOf(index)) {
        int& next = *nextRow++;
        if (next == update.rowEnd) continue;
        Panel const& earlier = plan.panels[asIndex(update.panel)];
        int const* const rows = plan.rowsBelow(earlier);
        if (rows[next] != panel.first + c) continue;
        int const factorRow = next++;
        if (next == update.rowEnd) continue;
        for (int t = next; t < update.rowEnd; ++t) work.where[t] = rows[t] - panel.first;
        double const* const below = work.values + earlier.values + earlier.width;
        Source const source = {below + next, below + factorRow, earlier.stride, earlier.width};
        updateSingleColumn(source, inv, column, {work.where + next, update.rowEnd - next});
    }
}

// Finishes column c in the rows of the panel, once its pivot is known.
SINEW_PANEL_TARGET void finishOwnRows(PanelWork const& work, int index, int c)
{
    updateOwnRows(work, index, c);
    Panel const& panel = work.plan->panels[asIndex(index)];
    double* const column = work.columnOf(panel, c);
    double const inv = work.invDiag[panel.first + c];
    int const width = panel.width;
    for (int k = 0; k < c; ++k) {
        double const* const left = work.columnOf(panel, k);
        double const factor = left[c];
        for (int i = c + 1; i < width; ++i) column[i] -= (left[i] * factor) * inv;
    }
    double* const pivots = work.pivots + panel.first;
    for (int i = c + 1; i < width; ++i) pivots[i] -= column[i] * column[i];
}

// Finishes the pivots and the rows of the panel itself. The result is that of PanelKernel.
SINEW_PANEL_TARGET int finishTriangle(PanelWork const& work, int index)
{
    PanelPlan const& plan = *work.plan;
    Panel const& panel = plan.panels[asIndex(index)];
    int* nextRow = work.nextRow;
    for (PanelUpdate const& update : plan.updatesOf(index)) *nextRow++ = update.rowBegin;
    for (int c = 0; c < panel.width; ++c) {
        int const r = panel.first + c;
        if (work.pivots[r] <= 0) return r; // false for NaN, which is not rejected
        work.diag[r] = std::sqrt(work.pivots[r]);
        work.invDiag[r] = 1 / work.diag[r];
        double* const column = work.columnOf(panel, c);
        double const inv = work.invDiag[r];
        for (int i = c + 1; i < panel.stride; ++i) column[i] *= inv;
        finishOwnRows(work, index, c);
    }
    return -1;
}

// --- The rows below the panel.

// Rows that are not consecutive in the target are copied to a tile and back, and so are rows that do not fill a tile.
SINEW_PANEL_TARGET void updateGathered(int columns, Source const& source, Tile const& target, RowList const& list)
{
    alignas(kTileAlignment) double values[kTileColumns * kTileRows];
    int const* const where = list.where;
    int const count = list.count;
    for (int c = 0; c < columns; ++c) {
        double const* const column = target.values + c * target.stride;
        double* const copy = values + std::ptrdiff_t{c} * kTileRows;
        for (int t = 0; t < count; ++t) copy[t] = column[where[t]];
        for (int t = count; t < kTileRows; ++t) copy[t] = 0.0;
    }
    updateColumns<kTileVectors>(columns, source, {values, kTileRows, target.invDiag});
    for (int c = 0; c < columns; ++c) {
        double* const column = target.values + c * target.stride;
        double const* const copy = values + std::ptrdiff_t{c} * kTileRows;
        for (int t = 0; t < count; ++t) column[where[t]] = copy[t];
    }
}

// An earlier panel of small width, applied to the rows below the current panel.
SINEW_PANEL_TARGET void updateBelowScattered(PanelWork const& work, Panel const& panel, PanelUpdate const& update)
{
    Panel const& earlier = work.plan->panels[asIndex(update.panel)];
    int const* const rows = work.plan->rowsBelow(earlier);
    double const* const below = work.values + earlier.values + earlier.width;
    RowList const list = {work.where + update.rowEnd, earlier.rowCount - update.rowEnd};
    for (int s = update.rowBegin; s < update.rowEnd; ++s) {
        Source const source = {below + update.rowEnd, below + s, earlier.stride, earlier.width};
        updateScattered(source, work.invDiag[rows[s]], work.columnOf(panel, rows[s] - panel.first), list);
    }
}

// The rows from `row` on of an earlier panel, as many as fill a tile, applied to the current panel.
SINEW_PANEL_TARGET void updateBelowTile(PanelWork const& work, Panel const& panel, PanelUpdate const& update, int row)
{
    Panel const& earlier = work.plan->panels[asIndex(update.panel)];
    int const* const rows = work.plan->rowsBelow(earlier);
    double const* const below = work.values + earlier.values + earlier.width;
    RowList const list = {work.where + row,
                          earlier.rowCount - row < kTileRows ? earlier.rowCount - row : kTileRows};
    bool const isConsecutive = list.count == kTileRows && list.where[kTileRows - 1] - list.where[0] == kTileRows - 1;
    for (int s = update.rowBegin; s < update.rowEnd;) {
        int const r = rows[s];
        int columns = 1; // those that follow column r without a gap are updated with it
        while (columns < kTileColumns && s + columns < update.rowEnd && rows[s + columns] == r + columns) ++columns;
        Source const source = {below + row, below + s, earlier.stride, earlier.width};
        Tile target = {work.columnOf(panel, r - panel.first), panel.stride, work.invDiag + r};
        if (isConsecutive) {
            target.values += list.where[0];
            updateColumns<kTileVectors>(columns, source, target);
        } else {
            updateGathered(columns, source, target, list);
        }
        s += columns;
    }
}

// Applies an earlier panel to the rows below the current panel.
SINEW_PANEL_TARGET void updateBelow(PanelWork const& work, Panel const& panel, PanelUpdate const& update)
{
    Panel const& earlier = work.plan->panels[asIndex(update.panel)];
    int const* const rows = work.plan->rowsBelow(earlier);
    for (int t = update.rowEnd; t < earlier.rowCount; ++t) work.where[t] = work.position[rows[t]];
    if (earlier.width <= kScatteredDepth) return updateBelowScattered(work, panel, update);
    for (int t = update.rowEnd; t < earlier.rowCount; t += kTileRows) updateBelowTile(work, panel, update, t);
}

// Applies the panel's own columns to `Vectors` vectors of rows below it, from left to right.
template <std::size_t Vectors>
SINEW_PANEL_TARGET void finishTile(double* block, Panel const& panel, double const* inv, int row)
{
    std::int64_t const stride = panel.stride;
    for (int c = 0; c < panel.width; c += kTileColumns) {
        int const columns = panel.width - c < kTileColumns ? panel.width - c : kTileColumns;
        double const* const first = block + c * stride;
        double* const target = block + c * stride + row;
        updateColumns<Vectors>(columns, {block + row, block + c, stride, c}, {target, stride, inv + c});
        for (int j = 1; j < columns; ++j) {
            updateTile<1, Vectors>({target, first + c + j, stride, j}, {target + j * stride, stride, inv + c + j});
        }
    }
}

// Finishes the rows below the panel, to which all earlier panels have been applied.
SINEW_PANEL_TARGET void finishBelow(PanelWork const& work, Panel const& panel)
{
    double* const block = work.values + panel.values;
    double const* const inv = work.invDiag + panel.first;
    std::int64_t const stride = panel.stride;
    if (panel.width > 1 && panel.hasWholeVectors()) {
        int row = panel.width;
        for (; row + kTileRows <= panel.stride; row += kTileRows) finishTile<kTileVectors>(block, panel, inv, row);
        for (; row + kLanes <= panel.stride; row += kLanes) finishTile<1>(block, panel, inv, row);
        return;
    }
    for (int c = 1; c < panel.width; ++c) {
        double* const column = block + c * stride;
        for (int k = 0; k < c; ++k) {
            double const* const left = block + k * stride;
            double const factor = left[c];
            for (int i = panel.width; i < panel.stride; ++i) column[i] -= (left[i] * factor) * inv[c];
        }
    }
}

// Subtracts the squares of the rows below the panel from their pivots.
SINEW_PANEL_TARGET void subtractSquares(PanelWork const& work, Panel const& panel)
{
    int const* const rows = work.plan->rowsBelow(panel);
    double* const gathered = work.gathered;
    for (int t = 0; t < panel.rowCount; ++t) gathered[t] = work.pivots[rows[t]];
    for (int k = 0; k < panel.width; ++k) {
        double const* const column = work.columnOf(panel, k) + panel.width;
        for (int t = 0; t < panel.rowCount; ++t) gathered[t] -= column[t] * column[t];
    }
    for (int t = 0; t < panel.rowCount; ++t) work.pivots[rows[t]] = gathered[t];
}

SINEW_PANEL_TARGET int factorPanel(PanelWork const& work, int index)
{
    PanelPlan const& plan = *work.plan;
    Panel const& panel = plan.panels[asIndex(index)];
    int const* const rows = plan.rowsBelow(panel);
    for (int t = 0; t < panel.rowCount; ++t) work.position[rows[t]] = panel.width + t;
    int const failed = finishTriangle(work, index);
    if (failed >= 0) return failed;
    for (PanelUpdate const& update : plan.updatesOf(index)) updateBelow(work, panel, update);
    finishBelow(work, panel);
    subtractSquares(work, panel);
    return -1;
}

} // namespace

} // namespace sinew::detail::SINEW_PANEL_VARIANT

#undef SINEW_PANEL_VARIANT
#undef SINEW_PANEL_TARGET
#undef SINEW_PANEL_LANES
