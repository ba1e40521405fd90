#pragma once

/// Construction of an `SPDMatrix` from arrays: triplets, compressed rows, compressed columns, and the sparse matrices
/// of other libraries. Use it instead of filling `SPDMatrix::rows` if the host already holds its matrix as arrays.

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>
#include <vector>

#include <sinew/core/strided.h>
#include <sinew/export.h>
#include <sinew/framework/findings.h>
#include <sinew/sparse/spd_matrix.h>

namespace sinew {

/// One entry of a matrix, or one contribution to it.
struct Triplet
{
    int row = 0;
    int column = 0;
    double value = 0.0;
};

/// How entries (i, j) and (j, i) with i != j of the same matrix are counted. The diagonal is the same in all cases.
///
/// "Mirrored" refers to what the arrays hold, not to the matrix, which is always symmetric.
enum class MirroredPairs
{
    summed, ///< Both are contributions to the entry (i, j), and all are summed. For one triangle, or a mixture of both.
    once, ///< Both are the entry (i, j), given twice. Each triangle is summed for itself. The sum of the lower triangle
          ///< counts; that of the upper one counts if the lower triangle does not have the entry.
    verified ///< As `once`, but both must be there, and their sums must be equal. Otherwise the matrix is refused.
};

/// Why arrays were refused. A refusal has at most one finding of each kind: for the first entry that has this fault.
///
/// `indices` hold the entry as {position in the arrays, row, column}, unless stated otherwise. `value` is its value.
/// "Segment" means the entries of one compressed row or column. An unsigned index above 2^63 - 1 appears as 2^63 - 1.
enum class EntryFault
{
    sizeOutOfRange,   ///< The number of rows is negative, or does not fit an int. `indices` hold it.
    notSquare,        ///< `indices` hold the numbers {rows, columns}.
    shortArray,       ///< An array has fewer elements than must be read. `indices` hold {needed elements, elements}.
    badSegment,       ///< A segment begins before 0 or ends before it begins. `indices` hold {segment, begin, end}.
    overlongSegment,  ///< A segment ends after the start of the next one. `indices` hold {segment, end, next start}.
    rowOutOfRange,    ///< The row of an entry is negative, or not less than the number of rows.
    columnOutOfRange, ///< The column of an entry is negative, or not less than the number of rows.
    notFinite,        ///< The value of an entry is NaN or infinite.
    asymmetric,       ///< The mirrored entry is missing or differs. `indices` hold {row, column} with row > column;
                      ///< `value` is the sum of the lower triangle, or 0 if this one is missing.
    missingDiagonal   ///< The arrays have no entry on the diagonal of a row. `indices` hold the row.
};

/// A matrix that was built from arrays, or the reasons why it was not. Findings are in the order of `EntryFault`.
struct MatrixBuild : Diagnosis<EntryFault>
{
    SPDMatrix matrix; ///< Without rows if there are findings.

    MatrixBuild() = default;
    MatrixBuild(MatrixBuild const&) = default;
    MatrixBuild(MatrixBuild&&) noexcept = default;
    /// Strong guarantee: if an allocation fails, nothing has changed.
    MatrixBuild& operator=(MatrixBuild const& other) { return *this = MatrixBuild(other); }
    MatrixBuild& operator=(MatrixBuild&&) noexcept = default;
    ~MatrixBuild() = default;

    /// Whether there are no findings. `matrix` is well-formed then.
    bool succeeded() const { return findings.empty(); }
};

/// The matrix of `size` rows whose entries are the sums of the given triplets.
///
/// Entry k has the value values[k] in row rows[k] and column columns[k], counted from 0. All three arrays have the same
/// number of elements, one number each. The triplets may be in any order. Triplets of the same place are summed one by
/// one, in the order given: ((v0 + v1) + v2) + ... Equal arrays therefore give equal bits. A sum that is zero stays an
/// entry, so that the pattern does not depend on values. A sum of huge values may be infinite; `diagnose` reports this.
///
/// The rows of the result are sorted by column and hold each column once. Every row must have its diagonal entry.
///
/// No entry is skipped silently: if any is refused, the result has no rows, and `findings` name the first entry of each
/// kind of fault and the number of others. Size 0 without triplets gives a matrix without rows and no finding. An array
/// without data has no elements.
///
/// Cost and memory: linear in the triplets and in `size`. Strong guarantee.
///
/// @code
/// std::vector<int> const rows = {0, 1, 1}, columns = {0, 0, 1};
/// std::vector<float> const values = {2, -1, 2};
/// using sinew::packed;
/// sinew::MatrixBuild const build = sinew::fromTriplets(2, packed(rows), packed(columns), packed(values));
/// LLTMatrix const factor = build.matrix.factor(); // of the matrix (2, -1; -1, 2)
/// @endcode
SINEW_API MatrixBuild fromTriplets(std::int64_t size, IntegerArray const& rows, IntegerArray const& columns,
                                   RealArray const& values, MirroredPairs mirrored = MirroredPairs::summed);

/// The same for triplets in structures.
///
/// @code
/// std::vector<sinew::Triplet> triplets = {{0, 0, 2.0}, {1, 0, -1.0}, {1, 1, 1.5}, {1, 1, 0.5}};
/// sinew::MatrixBuild const build = sinew::fromTriplets(2, triplets);
/// if (!build.succeeded()) std::printf("%s", build.text().c_str());
/// LLTMatrix const factor = build.matrix.factor(); // of the matrix (2, -1; -1, 2)
/// @endcode
inline MatrixBuild fromTriplets(std::int64_t size, std::vector<Triplet> const& triplets,
                                MirroredPairs mirrored = MirroredPairs::summed)
{
    if (triplets.empty()) return fromTriplets(size, IntegerArray(), IntegerArray(), RealArray(), mirrored);
    Triplet const& first = triplets[0];
    std::size_t const count = triplets.size();
    return fromTriplets(size, Strided<int const>(&first.row, count, sizeof(Triplet)),
                        Strided<int const>(&first.column, count, sizeof(Triplet)),
                        Strided<double const>(&first.value, count, sizeof(Triplet)), mirrored);
}

/// The matrix whose rows are compressed: row i has the entries k = starts[i], ..., starts[i + 1] - 1, with value
/// values[k] in column columns[k].
///
/// `starts` has at least size + 1 elements. If `lengths` has data, it has at least `size` elements, and row i has only
/// its first lengths[i] entries (a matrix that is not compressed). Columns may be in any order, and repeated ones are
/// summed. Everything else is as in `fromTriplets`; the position of an entry in a finding is k.
///
/// If the rows need more elements than `columns` or `values` have, the matrix is refused, and nothing is read beyond
/// the arrays.
///
/// @param mirrored  `summed` for one triangle, `once` or `verified` for the whole matrix
SINEW_API MatrixBuild fromCsr(std::int64_t size, IntegerArray const& starts, IntegerArray const& columns,
                              RealArray const& values, MirroredPairs mirrored, IntegerArray const& lengths = {});

/// As `fromCsr`, with rows and columns exchanged: column j has the entries k = starts[j], ..., starts[j + 1] - 1, with
/// value values[k] in row rows[k].
SINEW_API MatrixBuild fromCsc(std::int64_t size, IntegerArray const& starts, IntegerArray const& rows,
                              RealArray const& values, MirroredPairs mirrored, IntegerArray const& lengths = {});

namespace detail {

/// An end of segments as a number of elements: 0 for a negative one, and at most what an object can have.
template <typename Index>
std::size_t asCount(Index end)
{
    if (!(end > 0)) return 0;
    auto const count = static_cast<std::uint64_t>(end);
    return static_cast<std::size_t>(count < PTRDIFF_MAX ? count : PTRDIFF_MAX);
}

/// The refusal of a matrix that is not square.
SINEW_API MatrixBuild refuseShape(std::int64_t rows, std::int64_t columns);

template <typename Matrix, typename = void>
struct LooksLikeEigenSparse : std::false_type
{
};
template <typename Matrix>
struct LooksLikeEigenSparse<
    Matrix, std::void_t<decltype(std::declval<Matrix const&>().rows()), decltype(std::declval<Matrix const&>().cols()),
                        decltype(std::declval<Matrix const&>().outerIndexPtr()[0]),
                        decltype(std::declval<Matrix const&>().innerIndexPtr()[0]),
                        decltype(std::declval<Matrix const&>().innerNonZeroPtr()[0]),
                        decltype(std::declval<Matrix const&>().valuePtr()[0])>> : std::true_type
{
};

/// Whether the matrix is stored by rows, as its member `IsRowMajor` says. Without such a member, it is not.
template <typename Matrix, typename = void>
struct IsStoredByRows : std::false_type
{
};
template <typename Matrix>
struct IsStoredByRows<Matrix, std::void_t<decltype(Matrix::IsRowMajor)>> : std::bool_constant<bool(Matrix::IsRowMajor)>
{
};

} // namespace detail

/// The matrix that an object of another library holds, if its type has the interface of Eigen::SparseMatrix: `rows`,
/// `cols`, `outerIndexPtr`, `innerIndexPtr`, `innerNonZeroPtr` (null if the matrix is compressed) and `valuePtr`.
/// Indices are integers of any type, values are float or double. No header of that library is included.
///
/// The arrays of indices and values are taken to have as many elements as the last start says.
///
/// Everything else is as in `fromCsr` and `fromCsc`.
///
/// @param mirrored  `summed` for one triangle, `once` or `verified` for the whole matrix
template <typename Matrix, typename = std::enable_if_t<detail::LooksLikeEigenSparse<Matrix>::value>>
MatrixBuild fromSparse(Matrix const& matrix, MirroredPairs mirrored)
{
    auto const size = static_cast<std::int64_t>(matrix.rows());
    auto const columns = static_cast<std::int64_t>(matrix.cols());
    if (size != columns) return detail::refuseShape(size, columns);
    auto const* const starts = matrix.outerIndexPtr(); // null for a vector
    auto const* const lengths = matrix.innerNonZeroPtr();
    std::size_t const rowCount = size > 0 ? static_cast<std::size_t>(size) : 0;
    std::size_t const entryCount = starts && rowCount > 0 ? detail::asCount(starts[rowCount]) : 0;
    auto const build = detail::IsStoredByRows<Matrix>::value ? fromCsr : fromCsc;
    return build(size, packed(starts, starts ? rowCount + 1 : 0), packed(matrix.innerIndexPtr(), entryCount),
                 packed(matrix.valuePtr(), entryCount), mirrored, packed(lengths, lengths ? rowCount : 0));
}

} // namespace sinew
