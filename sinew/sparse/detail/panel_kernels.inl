// No include guard: panel_kernels.cpp includes this once for each variant.
//
// Every entry L[i][r] of the factor begins as A[i][r] * invDiag[r] and then takes, for k ascending, one
// L[i][r] -= (L[r][k] * L[i][k]) * invDiag[r]. Tiles and vectors run over rows i and columns r; k is always the
// innermost, ascending loop, so that each entry sees its own sequence of roundings and no other.
//
// Helpers are static and not inline, so that no unit compiled without the wide vectors can end up with this code.

namespace sinew::detail::SINEW_PANEL_VARIANT {

constexpr int kLanes = SINEW_PANEL_LANES;
constexpr int kTileRows = 2 * kLanes;
constexpr int kTileColumns = 4;

#if SINEW_PANEL_LANES > 1
typedef double Vector __attribute__((vector_size(8 * SINEW_PANEL_LANES)));
typedef double Unaligned __attribute__((vector_size(8 * SINEW_PANEL_LANES), aligned(8), may_alias));
#else
typedef double Vector;
typedef double Unaligned;
#endif

/// Applies `depth` columns of a finished block to a tile of another.
///
/// @param rows     first row of the tile in the finished block's first column; columns are `stride` apart
/// @param factors  likewise the first of the `Columns` consecutive rows that are columns of the target
/// @param inv      invDiag of those columns
/// @param target   the tile's columns, `targetStride` apart, Vectors * kLanes rows each
template <int Columns, int Vectors>
SINEW_PANEL_TARGET static void updateTile(double const* rows, double const* factors, std::int64_t stride, int depth,
                                          double const* inv, double* target, std::int64_t targetStride)
{
    Vector sum[Columns][Vectors];
    for (int c = 0; c < Columns; ++c) {
        for (int v = 0; v < Vectors; ++v) {
            sum[c][v] = *reinterpret_cast<Unaligned const*>(target + c * targetStride + v * kLanes);
        }
    }
    for (int k = 0; k < depth; ++k, rows += stride, factors += stride) {
        Vector l[Vectors];
        for (int v = 0; v < Vectors; ++v) l[v] = *reinterpret_cast<Unaligned const*>(rows + v * kLanes);
        for (int c = 0; c < Columns; ++c) {
            for (int v = 0; v < Vectors; ++v) sum[c][v] -= (l[v] * factors[c]) * inv[c];
        }
    }
    for (int c = 0; c < Columns; ++c) {
        for (int v = 0; v < Vectors; ++v) {
            *reinterpret_cast<Unaligned*>(target + c * targetStride + v * kLanes) = sum[c][v];
        }
    }
}

template <int Vectors>
SINEW_PANEL_TARGET static void updateColumns(int columns, double const* rows, double const* factors,
                                             std::int64_t stride, int depth, double const* inv, double* target,
                                             std::int64_t targetStride)
{
    switch (columns) {
    case 1:
        return updateTile<1, Vectors>(rows, factors, stride, depth, inv, target, targetStride);
    case 2:
        return updateTile<2, Vectors>(rows, factors, stride, depth, inv, target, targetStride);
    case 3:
        return updateTile<3, Vectors>(rows, factors, stride, depth, inv, target, targetStride);
    default:
        return updateTile<4, Vectors>(rows, factors, stride, depth, inv, target, targetStride);
    }
}

// --- The rows that are columns of the panel itself, and the pivots.

// Narrow sources: an entry takes one or two updates, so gathering it into a tile would cost more than they do.
constexpr int kScatteredDepth = 2;

SINEW_PANEL_TARGET static void updateScattered(double const* rows, double const* factors, std::int64_t stride,
                                               int depth, double inv, double* column, int const* where, int count)
{
    for (int k = 0; k < depth; ++k, rows += stride, factors += stride) {
        double const factor = *factors;
        for (int t = 0; t < count; ++t) column[where[t]] -= (rows[t] * factor) * inv;
    }
}

// One column of the panel, an earlier panel's part: `count` of its rows from `rows` on, which are the column's rows
// `where`. Lone columns take four vectors of rows at a time, or each would wait for its own last subtraction.
SINEW_PANEL_TARGET static void updateOwnRows(double const* rows, double const* factors, std::int64_t stride, int depth,
                                             double inv, double* column, int const* where, int count)
{
    if (depth <= kScatteredDepth) return updateScattered(rows, factors, stride, depth, inv, column, where, count);
    constexpr int kLong = 4 * kLanes;
    alignas(64) double tile[kLong] = {};
    for (int t = 0; t < count; t += kLong) {
        int const used = count - t < kLong ? count - t : kLong;
        for (int i = 0; i < used; ++i) tile[i] = column[where[t + i]];
        if (used > 2 * kLanes) {
            updateTile<1, 4>(rows + t, factors, stride, depth, &inv, tile, kLong);
        } else if (used > kLanes) {
            updateTile<1, 2>(rows + t, factors, stride, depth, &inv, tile, kLong);
        } else {
            updateTile<1, 1>(rows + t, factors, stride, depth, &inv, tile, kLong);
        }
        for (int i = 0; i < used; ++i) column[where[t + i]] = tile[i];
    }
}

// Column c of the panel within its own rows, once its pivot is known.
SINEW_PANEL_TARGET static void finishOwnRows(PanelWork& work, int index, int c)
{
    PanelPlan const& plan = *work.plan;
    Panel const& panel = plan.panels[index];
    double* const block = work.values + panel.values;
    double* const column = block + static_cast<std::int64_t>(c) * panel.stride;
    double const inv = work.invDiag[panel.first + c];
    PanelUpdate const* const updates = plan.updates.data() + plan.updateStart[index];
    int const updateCount = static_cast<int>(plan.updateStart[index + 1] - plan.updateStart[index]);
    for (int u = 0; u < updateCount; ++u) {
        int const at = work.cursor[u];
        if (at == updates[u].rowEnd) continue;
        Panel const& source = plan.panels[updates[u].panel];
        int const* const rows = plan.rowIndex.data() + source.rows;
        if (rows[at] != panel.first + c) continue;
        work.cursor[u] = at + 1;
        if (at + 1 == updates[u].rowEnd) continue;
        for (int t = at + 1; t < updates[u].rowEnd; ++t) work.where[t] = rows[t] - panel.first;
        double const* const sourceBlock = work.values + source.values + source.width;
        updateOwnRows(sourceBlock + at + 1, sourceBlock + at, source.stride, source.width, inv, column,
                      work.where + at + 1, updates[u].rowEnd - at - 1);
    }
    for (int k = 0; k < c; ++k) {
        double const* const left = block + static_cast<std::int64_t>(k) * panel.stride;
        double const factor = left[c];
        for (int i = c + 1; i < panel.width; ++i) column[i] -= (left[i] * factor) * inv;
    }
    for (int i = c + 1; i < panel.width; ++i) work.pivots[panel.first + i] -= column[i] * column[i];
}

SINEW_PANEL_TARGET static int finishTriangle(PanelWork& work, int index)
{
    PanelPlan const& plan = *work.plan;
    Panel const& panel = plan.panels[index];
    PanelUpdate const* const updates = plan.updates.data();
    for (std::int64_t u = plan.updateStart[index]; u < plan.updateStart[index + 1]; ++u) {
        work.cursor[u - plan.updateStart[index]] = updates[u].rowBegin;
    }
    for (int c = 0; c < panel.width; ++c) {
        int const r = panel.first + c;
        if (work.pivots[r] <= 0) return r; // false for NaN, which is let through
        work.diag[r] = std::sqrt(work.pivots[r]);
        work.invDiag[r] = 1 / work.diag[r];
        double* const column = work.values + panel.values + static_cast<std::int64_t>(c) * panel.stride;
        double const inv = work.invDiag[r];
        for (int i = c + 1; i < panel.stride; ++i) column[i] *= inv;
        finishOwnRows(work, index, c);
    }
    return -1;
}

// --- The rows below.

// Rows that do not lie together in the target are collected in a tile and put back; so is a tile cut short by the end.
SINEW_PANEL_TARGET static void updateGathered(int columns, double const* rows, double const* factors,
                                              std::int64_t stride, int depth, double const* inv, double* target,
                                              std::int64_t targetStride, int const* where, int count)
{
    alignas(64) double tile[kTileColumns * kTileRows];
    for (int c = 0; c < columns; ++c) {
        double const* const column = target + c * targetStride;
        for (int t = 0; t < count; ++t) tile[c * kTileRows + t] = column[where[t]];
        for (int t = count; t < kTileRows; ++t) tile[c * kTileRows + t] = 0.0;
    }
    updateColumns<2>(columns, rows, factors, stride, depth, inv, tile, kTileRows);
    for (int c = 0; c < columns; ++c) {
        double* const column = target + c * targetStride;
        for (int t = 0; t < count; ++t) column[where[t]] = tile[c * kTileRows + t];
    }
}

// An earlier panel's part in the rows below the panel at work.
SINEW_PANEL_TARGET static void updateBelow(PanelWork& work, Panel const& panel, PanelUpdate const& update)
{
    Panel const& source = work.plan->panels[update.panel];
    int const* const sourceRows = work.plan->rowIndex.data() + source.rows;
    double const* const sourceBlock = work.values + source.values + source.width;
    double* const block = work.values + panel.values;
    for (int t = update.rowEnd; t < source.rowCount; ++t) work.where[t] = work.position[sourceRows[t]];
    if (source.width <= kScatteredDepth) {
        for (int s = update.rowBegin; s < update.rowEnd; ++s) {
            int const r = sourceRows[s];
            updateScattered(sourceBlock + update.rowEnd, sourceBlock + s, source.stride, source.width, work.invDiag[r],
                            block + static_cast<std::int64_t>(r - panel.first) * panel.stride,
                            work.where + update.rowEnd, source.rowCount - update.rowEnd);
        }
        return;
    }
    for (int t = update.rowEnd; t < source.rowCount; t += kTileRows) {
        int const count = source.rowCount - t < kTileRows ? source.rowCount - t : kTileRows;
        int const* const where = work.where + t;
        bool const together = count == kTileRows && where[kTileRows - 1] - where[0] == kTileRows - 1;
        for (int s = update.rowBegin; s < update.rowEnd;) {
            int const r = sourceRows[s]; // the columns that follow it without a gap go along
            int columns = 1;
            while (columns < kTileColumns && s + columns < update.rowEnd && sourceRows[s + columns] == r + columns) {
                ++columns;
            }
            double* const target = block + static_cast<std::int64_t>(r - panel.first) * panel.stride;
            if (together) {
                updateColumns<2>(columns, sourceBlock + t, sourceBlock + s, source.stride, source.width,
                                 work.invDiag + r, target + where[0], panel.stride);
            } else {
                updateGathered(columns, sourceBlock + t, sourceBlock + s, source.stride, source.width, work.invDiag + r,
                               target, panel.stride, where, count);
            }
            s += columns;
        }
    }
}

// The panel's own columns, applied to `Vectors` vectors of rows below it, left to right.
template <int Vectors>
SINEW_PANEL_TARGET static void finishTile(double* block, Panel const& panel, double const* inv, int row)
{
    std::int64_t const stride = panel.stride;
    for (int c = 0; c < panel.width; c += kTileColumns) {
        int const columns = panel.width - c < kTileColumns ? panel.width - c : kTileColumns;
        double* const target = block + c * stride + row;
        updateColumns<Vectors>(columns, block + row, block + c, stride, c, inv + c, target, stride);
        for (int j = 1; j < columns; ++j) {
            updateTile<1, Vectors>(target, block + c * stride + c + j, stride, j, inv + c + j, target + j * stride,
                                   stride);
        }
    }
}

SINEW_PANEL_TARGET static void finishBelow(PanelWork& work, Panel const& panel)
{
    double* const block = work.values + panel.values;
    double const* const inv = work.invDiag + panel.first;
    std::int64_t const stride = panel.stride;
    int row = panel.width;
    if ((panel.stride - panel.width) % 8 == 0 && panel.width > 1) {
        for (; row + kTileRows <= panel.stride; row += kTileRows) finishTile<2>(block, panel, inv, row);
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

SINEW_PANEL_TARGET static void subtractSquares(PanelWork& work, Panel const& panel)
{
    int const* const rows = work.plan->rowIndex.data() + panel.rows;
    double const* const block = work.values + panel.values + panel.width;
    for (int t = 0; t < panel.rowCount; ++t) work.gathered[t] = work.pivots[rows[t]];
    for (int k = 0; k < panel.width; ++k) {
        double const* const column = block + static_cast<std::int64_t>(k) * panel.stride;
        for (int t = 0; t < panel.rowCount; ++t) work.gathered[t] -= column[t] * column[t];
    }
    for (int t = 0; t < panel.rowCount; ++t) work.pivots[rows[t]] = work.gathered[t];
}

SINEW_PANEL_TARGET static int factorPanel(PanelWork& work, int index)
{
    PanelPlan const& plan = *work.plan;
    Panel const& panel = plan.panels[index];
    int const* const rows = plan.rowIndex.data() + panel.rows;
    for (int t = 0; t < panel.rowCount; ++t) work.position[rows[t]] = panel.width + t;
    int const failed = finishTriangle(work, index);
    if (failed >= 0) return failed;
    for (std::int64_t u = plan.updateStart[index]; u < plan.updateStart[index + 1]; ++u) {
        updateBelow(work, panel, plan.updates[u]);
    }
    finishBelow(work, panel);
    subtractSquares(work, panel);
    return -1;
}

} // namespace sinew::detail::SINEW_PANEL_VARIANT

#undef SINEW_PANEL_VARIANT
#undef SINEW_PANEL_TARGET
#undef SINEW_PANEL_LANES
