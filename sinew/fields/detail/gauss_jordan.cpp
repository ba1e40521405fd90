#include <sinew/fields/detail/gauss_jordan.h>

#include <algorithm>
#include <cmath>

namespace sinew::detail {

namespace {

int const kBlock = RowPiece::kColumns;

// What one elimination works on, as bare pointers for the kernels.
struct Work
{
    int n;
    int tileCount;
    RowPiece* pieces;
    int* ownColumn;
    int vanishedColumn;

    // The block at hand: `width` pivots from row and column `first` on.
    int first;
    int width;
    RowPiece* factors;       // of every row, one for each pivot of the block
    unsigned char* hasSkips; // of every row, whether one of its factors is 0.0
    double* zeros;           // of every row, what its companion columns hold that no pivot has reached
    int swaps[kBlock];       // the row that each pivot came from
    double scales[kBlock];   // 1 / pivot

    RowPiece* tile(int t) const { return pieces + static_cast<std::ptrdiff_t>(t) * n; }
};

// The widest vectors of each kind of processor, as the compilers' portable vector types. Each lane is rounded like a
// single double, so the width shows in no result.
#if defined(__GNUC__)
typedef double Vector128 __attribute__((vector_size(16), may_alias));
#if SINEW_WIDE_KERNELS
typedef double Vector256 __attribute__((vector_size(32), may_alias));
typedef double Vector512 __attribute__((vector_size(64), may_alias));
#endif
#else
using Vector128 = double;
#endif

template <typename V>
SINEW_KERNEL V* lanes(RowPiece* piece)
{
    return reinterpret_cast<V*>(piece->x);
}
template <typename V>
SINEW_KERNEL V const* lanes(RowPiece const* piece)
{
    return reinterpret_cast<V const*>(piece->x);
}
template <typename V>
constexpr int kLanes = static_cast<int>(sizeof(RowPiece) / sizeof(V));

// to += f * from
template <typename V>
SINEW_KERNEL void addMultiple(RowPiece* to, double f, RowPiece const* from)
{
    for (int v = 0; v < kLanes<V>; ++v) lanes<V>(to)[v] += f * lanes<V>(from)[v];
}

template <typename V>
SINEW_KERNEL void scale(RowPiece* row, double factor)
{
    if (factor == 1.0) return; // changes nothing
    for (int v = 0; v < kLanes<V>; ++v) lanes<V>(row)[v] *= factor;
}

SINEW_KERNEL int pivotRow(RowPiece const* panel, int begin, int end, int column)
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

// Eliminates column `k` of the panel in all its rows but the pivot's. Returns false if a factor is not finite.
//
// The eliminated column's place goes to the companion column that this pivot is the first to reach: before, it holds 1
// in the pivot row and in every other row r the zero `zeros[r]`, whose sign has followed the same row operations.
template <typename V>
SINEW_KERNEL bool eliminateInPanel(Work& work, RowPiece* panel, int k)
{
    int const c = work.first + k;
    RowPiece* const pivot = &panel[c];
    double const scaleFactor = 1.0 / pivot->x[k];
    if (!std::isfinite(scaleFactor)) return false;
    work.scales[k] = scaleFactor;
    pivot->x[k] = 1.0;
    scale<V>(pivot, scaleFactor);
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
        addMultiple<V>(&panel[r], f, &source);
    }
    return finite;
}

// Finds the block's pivots and factors on its own columns.
template <typename V>
SINEW_KERNEL GaussJordan::Outcome factorPanel(Work& work)
{
    RowPiece* const panel = work.tile(work.first / kBlock);
    std::fill(work.hasSkips, work.hasSkips + work.n, static_cast<unsigned char>(0));
    for (int k = 0; k < work.width; ++k) {
        int const c = work.first + k;
        int const p = pivotRow(panel, c, work.n, k);
        if (panel[p].x[k] == 0.0) {
            work.vanishedColumn = c;
            return GaussJordan::Outcome::vanishedPivot;
        }
        work.swaps[k] = p;
        if (p != c) {
            // All that belongs to a row moves with it, the factors of earlier pivots included.
            std::swap(panel[p], panel[c]);
            std::swap(work.factors[p], work.factors[c]);
            std::swap(work.hasSkips[p], work.hasSkips[c]);
            std::swap(work.zeros[p], work.zeros[c]);
            std::swap(work.ownColumn[p], work.ownColumn[c]);
        }
        if (!eliminateInPanel<V>(work, panel, k)) return GaussJordan::Outcome::notFinite;
    }
    return GaussJordan::Outcome::inverted;
}

// row += factors[k] * pivots[k] for k = begin .. end - 1, without those whose factor is 0.0.
template <typename V>
SINEW_KERNEL void addUnskipped(RowPiece* row, RowPiece const& factors, RowPiece const* pivots, int begin, int end)
{
    for (int k = begin; k < end; ++k) {
        if (factors.x[k] != 0.0) addMultiple<V>(row, factors.x[k], &pivots[k]);
    }
}

// The same for `kRows` rows at once and all sixteen pivots, none skipped: every sum stays in a register.
template <typename V, int kRows>
SINEW_KERNEL void addAll(RowPiece* rows, RowPiece const* factors, RowPiece const* pivots)
{
    V sums[kRows][kLanes<V>];
    for (int i = 0; i < kRows; ++i) {
        for (int v = 0; v < kLanes<V>; ++v) sums[i][v] = lanes<V>(&rows[i])[v];
    }
    for (int k = 0; k < kBlock; ++k) {
        V const* const pivot = lanes<V>(&pivots[k]);
        for (int i = 0; i < kRows; ++i) {
            for (int v = 0; v < kLanes<V>; ++v) sums[i][v] += factors[i].x[k] * pivot[v];
        }
    }
    for (int i = 0; i < kRows; ++i) {
        for (int v = 0; v < kLanes<V>; ++v) lanes<V>(&rows[i])[v] = sums[i][v];
    }
}

template <typename V, int kRows>
SINEW_KERNEL void updateRows(Work const& work, RowPiece* tile, RowPiece const* pivots, int begin, int end)
{
    for (int r = begin; r < end;) {
        bool plain = work.width == kBlock && r + kRows <= end;
        for (int i = 0; plain && i < kRows; ++i) plain = !work.hasSkips[r + i];
        if (plain) {
            addAll<V, kRows>(&tile[r], &work.factors[r], pivots);
            r += kRows;
        } else {
            addUnskipped<V>(&tile[r], work.factors[r], pivots, 0, work.width);
            ++r;
        }
    }
}

// Takes the block's row operations to one tile outside its panel.
template <typename V, int kRows>
SINEW_KERNEL void updateTile(Work const& work, RowPiece* tile)
{
    int const first = work.first;
    for (int k = 0; k < work.width; ++k) {
        if (work.swaps[k] != first + k) std::swap(tile[first + k], tile[work.swaps[k]]);
    }
    // Each pivot row as it stands when it is added to the others: after the pivots before it, and scaled.
    RowPiece pivots[kBlock];
    for (int k = 0; k < work.width; ++k) {
        pivots[k] = tile[first + k];
        addUnskipped<V>(&pivots[k], work.factors[first + k], pivots, 0, k);
        scale<V>(&pivots[k], work.scales[k]);
    }
    for (int k = 0; k < work.width; ++k) {
        tile[first + k] = pivots[k];
        addUnskipped<V>(&tile[first + k], work.factors[first + k], pivots, k + 1, work.width);
    }
    updateRows<V, kRows>(work, tile, pivots, 0, first);
    updateRows<V, kRows>(work, tile, pivots, first + work.width, work.n);
}

template <typename V, int kRows>
SINEW_KERNEL GaussJordan::Outcome invertBody(Work& work)
{
    for (work.first = 0; work.first < work.n; work.first += kBlock) {
        work.width = std::min(kBlock, work.n - work.first);
        GaussJordan::Outcome const outcome = factorPanel<V>(work);
        if (outcome != GaussJordan::Outcome::inverted) return outcome;
        for (int t = 0; t < work.tileCount; ++t) {
            if (t != work.first / kBlock) updateTile<V, kRows>(work, work.tile(t));
        }
    }
    return GaussJordan::Outcome::inverted;
}

// Rows at once: as many as leave registers for the pivot row and a product.
GaussJordan::Outcome invertBaseline(Work& work)
{
    return invertBody<Vector128, 1>(work);
}
#if SINEW_WIDE_KERNELS
SINEW_AVX2 GaussJordan::Outcome invertAvx2(Work& work)
{
    return invertBody<Vector256, 2>(work);
}
SINEW_AVX512 GaussJordan::Outcome invertAvx512(Work& work)
{
    return invertBody<Vector512, 4>(work);
}
#endif

} // namespace

GaussJordan::GaussJordan(int n)
    : rows_(static_cast<std::size_t>(n)), pieces_((rows_ + kBlock - 1) / kBlock * rows_), ownColumn_(rows_)
{
}

GaussJordan::Outcome GaussJordan::invert(VectorWidth width)
{
    for (std::size_t i = 0; i < rows_; ++i) ownColumn_[i] = static_cast<int>(i);
    std::vector<RowPiece> factors(rows_);
    std::vector<unsigned char> hasSkips(rows_);
    std::vector<double> zeros(rows_, 0.0);
    Work work{};
    work.n = static_cast<int>(rows_);
    work.tileCount = (work.n + kBlock - 1) / kBlock;
    work.pieces = pieces_.data();
    work.ownColumn = ownColumn_.data();
    work.vanishedColumn = -1;
    work.factors = factors.data();
    work.hasSkips = hasSkips.data();
    work.zeros = zeros.data();

    Outcome outcome;
    switch (width) {
#if SINEW_WIDE_KERNELS
    case VectorWidth::avx512:
        outcome = invertAvx512(work);
        break;
    case VectorWidth::avx2:
        outcome = invertAvx2(work);
        break;
#endif
    default:
        outcome = invertBaseline(work);
        break;
    }
    vanishedColumn_ = work.vanishedColumn;
    return outcome;
}

void GaussJordan::copyRow(int i, double* row) const
{
    for (std::size_t c = 0; c < rows_; ++c) {
        row[ownColumn_[c]] = piece(static_cast<int>(c) / kBlock, i).x[c % static_cast<std::size_t>(kBlock)];
    }
}

} // namespace sinew::detail
