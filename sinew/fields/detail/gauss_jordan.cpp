// B.-I. Clasen, Sur une nouvelle méthode de résolution des équations linéaires, Annales de la Société Scientifique de
// Bruxelles 12, 1888, and W. Jordan, Handbuch der Vermessungskunde, third edition, 1888, for the elimination.
// W. H. Press et al., Numerical Recipes, section 2.1, for the inversion in place.
// G. H. Golub and C. F. Van Loan, Matrix Computations, section 3.2.11, for blocks of pivots, there in LU factorisation.
//
// The elimination by its definition (dense_matrix.h) works on two matrices: the matrix itself, which becomes the
// identity, and its companion, which starts as the identity and becomes the inverse. This one saves two things:
//
// - Columns. A column of the matrix is not read again once it is eliminated, and a column of the companion is known
//   until the first pivot reaches it: it holds 1 in one row and zeros elsewhere. So both share one column of storage.
//   Row operations change the signs of those zeros, in all such columns alike; one number for each row keeps them.
// - Passes over memory. Sixteen pivots are found on a panel, the sixteen columns that contain them. All other columns
//   then take the sixteen row operations at once, in registers. Each entry takes them in the order of the pivots.
//
// As in the definition, a factor of 0.0 or 1.0 causes no operation. This is part of the result: the operation would
// change the sign of zeros, and turn infinities into NaN.

#include <sinew/fields/detail/gauss_jordan.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include <sinew/core/detail/progress_meter.h>
#include <sinew/detail/vectors.h>

namespace sinew::detail {

namespace {

constexpr int kBlock = RowPiece::kColumns; // pivots of a block

// The matrix of one elimination, and the block of pivots that is being processed.
struct Work
{
    int n;
    int tileCount;
    RowPiece* pieces;
    int* inverseColumns;
    int zeroPivotColumn;

    int first;               // row and column of the block's first pivot
    int width;               // number of the block's pivots; below kBlock only in the last block
    RowPiece* factors;       // for each row, its factor for each pivot of the block
    unsigned char* hasSkips; // for each row, whether one of these factors is 0.0
    double* zeros;           // for each row, its zero in the columns of the companion that no pivot has reached
    int swaps[kBlock];       // for each pivot, the row that it was found in
    double scales[kBlock];   // for each pivot, its reciprocal
    ProgressMeter* meter;    // may be null

    RowPiece* tile(int t) const { return pieces + static_cast<std::ptrdiff_t>(t) * n; }
};

template <VectorWidth width>
constexpr int kVectorsInPiece = RowPiece::kColumns / kVectorSize<width>;

// Rows that are updated together. Their sums take eight vectors, which leaves registers for the pivot row and a
// product.
template <VectorWidth width>
constexpr int kRowsTogether = kVectorSize<width> > 2 ? kVectorSize<width> / 2 : 1;

// Tells the meter that the current block is done up to a tile.
void tellProgress(Work const& work, int tile)
{
    work.meter->reached((work.first + fractionOf(tile, work.tileCount) * work.width) / work.n);
}

// row += factor * other
template <VectorWidth width>
SINEW_KERNEL void addMultiple(RowPiece* row, double factor, RowPiece const* other)
{
    for (int v = 0; v < kVectorsInPiece<width>; ++v) vectors<width>(row->x)[v] += factor * vectors<width>(other->x)[v];
}

// row *= factor
template <VectorWidth width>
SINEW_KERNEL void scale(RowPiece* row, double factor)
{
    if (factor == 1.0) return;
    for (int v = 0; v < kVectorsInPiece<width>; ++v) vectors<width>(row->x)[v] *= factor;
}

// The row from `begin` to `end` - 1 with the largest magnitude in a column. Of equal magnitudes the first is chosen; a
// NaN is chosen only in row `begin`.
SINEW_KERNEL int findPivotRow(RowPiece const* panel, int begin, int end, int column)
{
    int best = begin;
    double largest = std::fabs(panel[begin].x[column]);
    for (int r = begin + 1; r < end; ++r) {
        double const magnitude = std::fabs(panel[r].x[column]);
        if (largest < magnitude) {
            largest = magnitude;
            best = r;
        }
    }
    return best;
}

// Everything that belongs to a row moves with it, the factors of earlier pivots included.
SINEW_KERNEL void swapRows(Work& work, RowPiece* panel, int a, int b)
{
    std::swap(panel[a], panel[b]);
    std::swap(work.factors[a], work.factors[b]);
    std::swap(work.hasSkips[a], work.hasSkips[b]);
    std::swap(work.zeros[a], work.zeros[b]);
    std::swap(work.inverseColumns[a], work.inverseColumns[b]);
}

// Eliminates column k of the panel in all rows but the pivot's, and stores in its place the column of the companion
// that this pivot is the first to reach: 1 in the pivot row and `zeros[r]` in every other row r. Returns false if a
// factor is not finite: then the zeros of the companion would not stay zeros.
template <VectorWidth width>
SINEW_KERNEL bool eliminateInPanel(Work& work, RowPiece* panel, int k)
{
    int const c = work.first + k;
    RowPiece* const pivot = &panel[c];
    double const scaleFactor = 1.0 / pivot->x[k];
    if (!std::isfinite(scaleFactor)) return false;
    work.scales[k] = scaleFactor;
    pivot->x[k] = 1.0;
    scale<width>(pivot, scaleFactor);
    if (scaleFactor != 1.0) work.zeros[c] *= scaleFactor;

    bool finite = true;
    RowPiece const source = *pivot;
    double const sourceZero = work.zeros[c];
    for (int r = 0; r < work.n; ++r) {
        if (r == c) continue;
        double const f = -panel[r].x[k];
        work.factors[r].x[k] = f;
        panel[r].x[k] = work.zeros[r];
        if (f == 0.0) {
            work.hasSkips[r] = 1;
            continue;
        }
        finite = finite && std::isfinite(f);
        work.zeros[r] += f * sourceZero;
        addMultiple<width>(&panel[r], f, &source);
    }
    return finite;
}

// Finds the pivots and the factors of a block, on the columns that contain its pivots.
template <VectorWidth width>
SINEW_KERNEL GaussJordan::Outcome factorPanel(Work& work)
{
    RowPiece* const panel = work.tile(work.first / kBlock);
    std::fill(work.hasSkips, work.hasSkips + work.n, static_cast<unsigned char>(0));
    for (int k = 0; k < work.width; ++k) {
        int const c = work.first + k;
        int const pivotRow = findPivotRow(panel, c, work.n, k);
        if (panel[pivotRow].x[k] == 0.0) {
            work.zeroPivotColumn = c;
            return GaussJordan::Outcome::zeroPivot;
        }
        work.swaps[k] = pivotRow;
        if (pivotRow != c) swapRows(work, panel, pivotRow, c);
        if (!eliminateInPanel<width>(work, panel, k)) return GaussJordan::Outcome::notFinite;
    }
    return GaussJordan::Outcome::inverted;
}

// row += factors[k] * pivots[k] for k from `begin` to `end` - 1, without those whose factor is 0.0.
template <VectorWidth width>
SINEW_KERNEL void addWithSkips(RowPiece* row, RowPiece const& factors, RowPiece const* pivots, int begin, int end)
{
    for (int k = begin; k < end; ++k) {
        if (factors.x[k] != 0.0) addMultiple<width>(row, factors.x[k], &pivots[k]);
    }
}

// rows[i] += factors[i][k] * pivots[k] for all k of a whole block and kRowsTogether rows, with every sum in a register.
template <VectorWidth width>
SINEW_KERNEL void addAll(RowPiece* rows, RowPiece const* factors, RowPiece const* pivots)
{
    Vector<width> sums[kRowsTogether<width>][kVectorsInPiece<width>];
    for (int i = 0; i < kRowsTogether<width>; ++i) {
        for (int v = 0; v < kVectorsInPiece<width>; ++v) sums[i][v] = vectors<width>(rows[i].x)[v];
    }
    for (int k = 0; k < kBlock; ++k) {
        Vector<width> const* const pivot = vectors<width>(pivots[k].x);
        for (int i = 0; i < kRowsTogether<width>; ++i) {
            for (int v = 0; v < kVectorsInPiece<width>; ++v) sums[i][v] += factors[i].x[k] * pivot[v];
        }
    }
    for (int i = 0; i < kRowsTogether<width>; ++i) {
        for (int v = 0; v < kVectorsInPiece<width>; ++v) vectors<width>(rows[i].x)[v] = sums[i][v];
    }
}

// Adds the pivot rows to the rows from `begin` to `end` - 1 of a tile.
template <VectorWidth width>
SINEW_KERNEL void updateRows(Work const& work, RowPiece* tile, RowPiece const* pivots, int begin, int end)
{
    constexpr int kRows = kRowsTogether<width>;
    for (int r = begin; r < end;) {
        bool together = work.width == kBlock && r + kRows <= end;
        for (int i = 0; together && i < kRows; ++i) together = !work.hasSkips[r + i];
        if (together) {
            addAll<width>(&tile[r], &work.factors[r], pivots);
            r += kRows;
        } else {
            addWithSkips<width>(&tile[r], work.factors[r], pivots, 0, work.width);
            ++r;
        }
    }
}

// Applies the block's row operations to a tile that does not contain its pivots.
template <VectorWidth width>
SINEW_KERNEL void updateTile(Work const& work, RowPiece* tile)
{
    int const first = work.first;
    for (int k = 0; k < work.width; ++k) {
        if (work.swaps[k] != first + k) std::swap(tile[first + k], tile[work.swaps[k]]);
    }
    // Each pivot row with the values that are added to the other rows: after the operations of the pivots before it,
    // and scaled.
    RowPiece pivots[kBlock];
    for (int k = 0; k < work.width; ++k) {
        pivots[k] = tile[first + k];
        addWithSkips<width>(&pivots[k], work.factors[first + k], pivots, 0, k);
        scale<width>(&pivots[k], work.scales[k]);
    }
    for (int k = 0; k < work.width; ++k) {
        tile[first + k] = pivots[k];
        addWithSkips<width>(&tile[first + k], work.factors[first + k], pivots, k + 1, work.width);
    }
    updateRows<width>(work, tile, pivots, 0, first);
    updateRows<width>(work, tile, pivots, first + work.width, work.n);
}

struct Invert
{
    Work* work;

    template <VectorWidth width>
    SINEW_KERNEL GaussJordan::Outcome run() const
    {
        for (work->first = 0; work->first < work->n; work->first += kBlock) {
            work->width = std::min(kBlock, work->n - work->first);
            GaussJordan::Outcome const outcome = factorPanel<width>(*work);
            if (outcome != GaussJordan::Outcome::inverted) return outcome;
            for (int t = 0; t < work->tileCount; ++t) {
                if (work->meter) tellProgress(*work, t);
                if (t != work->first / kBlock) updateTile<width>(*work, work->tile(t));
            }
        }
        return GaussJordan::Outcome::inverted;
    }
};

} // namespace

GaussJordan::GaussJordan(int n)
    : rows_(asIndex(n)), pieces_((rows_ + kBlock - 1) / kBlock * rows_), inverseColumns_(rows_)
{
}

GaussJordan::Outcome GaussJordan::invert(VectorWidth width, ProgressMeter* meter)
{
    std::iota(inverseColumns_.begin(), inverseColumns_.end(), 0);
    std::vector<RowPiece> factors(rows_);
    std::vector<unsigned char> hasSkips(rows_);
    std::vector<double> zeros(rows_, 0.0);
    Work work{};
    work.n = static_cast<int>(rows_);
    work.tileCount = (work.n + kBlock - 1) / kBlock;
    work.pieces = pieces_.data();
    work.inverseColumns = inverseColumns_.data();
    work.zeroPivotColumn = -1;
    work.factors = factors.data();
    work.hasSkips = hasSkips.data();
    work.zeros = zeros.data();
    work.meter = meter;
    Outcome const outcome = dispatch(width, Invert{&work});
    zeroPivotColumn_ = work.zeroPivotColumn;
    return outcome;
}

void GaussJordan::copyRow(int i, double* row) const
{
    for (std::size_t c = 0; c < rows_; ++c) {
        int const tile = static_cast<int>(c) / kBlock;
        row[inverseColumns_[c]] = piece(tile, i).x[c % asIndex(kBlock)];
    }
}

} // namespace sinew::detail
