#pragma once

/// A dense matrix whose size is chosen at run time, with the two operations that the fit of an implicit function needs:
/// `!m` is the inverse, `m * v` the product with a vector. Use it for square systems of up to a few thousand rows.

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <new>
#include <utility>
#include <vector>

#include <sinew/export.h>

namespace sinew::detail {

/// Throws std::bad_alloc. A function of the library, because hosts may compile this header without exceptions.
[[noreturn]] SINEW_API void throwBadAlloc();

} // namespace sinew::detail

/// The magnitude of a number. A NaN stays NaN, and -0.0 stays -0.0. Takes part only for types that have 0, an order and
/// a negative, so that other functions of this name stay callable.
template <typename T, typename = decltype(std::declval<T const&>() < T(0) ? -std::declval<T const&>() : T(0))>
constexpr T absolute(T const& value)
{
    return value < T(0) ? -value : value;
}

/// A forward iterator that visits every `stride`-th element of a sequence, for example a column of a matrix that is
/// stored row by row.
///
/// The end of a column is the position `stride` after that of its last element, which may lie beyond the end of the
/// sequence; an iterator may have this position, but must not be dereferenced there. Comparison is by position only, so
/// compare only iterators of the same sequence.
template <typename Iterator>
class jumping_iterator
{
public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = typename std::iterator_traits<Iterator>::value_type;
    using difference_type = typename std::iterator_traits<Iterator>::difference_type;
    using pointer = typename std::iterator_traits<Iterator>::pointer;
    using reference = typename std::iterator_traits<Iterator>::reference;

    /// An iterator without a sequence. It can only be assigned to, copied and compared.
    jumping_iterator() = default;

    /// Points to element `position` of the sequence that starts at `first`.
    jumping_iterator(Iterator first, difference_type position, difference_type stride)
        : first_(first), position_(position), stride_(stride)
    {
    }

    /// Index of the element in the sequence: the distance from its start in elements, not in strides.
    difference_type position() const { return position_; }

    /// The element at the position, which must be in the sequence.
    reference operator*() const { return first_[position_]; }
    pointer operator->() const { return &first_[position_]; }
    /// Advances by the stride.
    jumping_iterator& operator++()
    {
        position_ += stride_;
        return *this;
    }
    jumping_iterator operator++(int)
    {
        jumping_iterator before = *this;
        ++*this;
        return before;
    }
    /// Whether both are at the same position.
    friend bool operator==(jumping_iterator const& a, jumping_iterator const& b) { return a.position_ == b.position_; }
    friend bool operator!=(jumping_iterator const& a, jumping_iterator const& b) { return !(a == b); }

private:
    // An index instead of an iterator that moves, since an iterator must not move beyond the end of its sequence.
    Iterator first_{};
    difference_type position_ = 0;
    difference_type stride_ = 1;
};

/// A matrix of `rows` x `columns` entries of a number type. Memory: that of the entries.
template <typename T>
class matrix
{
public:
    int rows = 0;           ///< Number of rows.
    int columns = 0;        ///< Number of columns.
    std::vector<T> entries; ///< The entries row by row: entry (i, j) is number i * columns + j.

    /// The empty matrix, 0 x 0.
    matrix() = default;

    /// The matrix whose entries are all zero. If a size is negative, the matrix is empty (0 x 0). Throws std::bad_alloc
    /// if no vector can have as many entries, or if there is not enough memory.
    matrix(int rowCount, int columnCount)
    {
        if (rowCount < 0 || columnCount < 0) return;
        std::int64_t const size = static_cast<std::int64_t>(rowCount) * columnCount;
        // Otherwise the product would wrap where addresses have 32 bits.
        if (static_cast<std::uint64_t>(size) > PTRDIFF_MAX / sizeof(T)) sinew::detail::throwBadAlloc();
        rows = rowCount;
        columns = columnCount;
        entries.assign(static_cast<std::size_t>(size), T(0));
    }

    matrix(matrix const&) = default;
    matrix(matrix&&) noexcept = default;
    /// Strong guarantee: if an allocation fails, the matrix is unchanged.
    matrix& operator=(matrix const& other) { return *this = matrix(other); }
    matrix& operator=(matrix&&) noexcept = default;
    ~matrix() = default;

    /// The entry in row i and column j, counted from 0. The indices are not checked.
    T& operator()(int i, int j) { return entries[index(i, j)]; }
    T const& operator()(int i, int j) const { return entries[index(i, j)]; }

    /// Whether `entries` has `rows` * `columns` elements and neither number is negative. Callers may change all three.
    /// Without columns (or rows) the other number is not bounded by the entries.
    bool isConsistent() const
    {
        return rows >= 0 && columns >= 0 &&
               entries.size() == static_cast<std::uint64_t>(rows) * static_cast<std::uint64_t>(columns);
    }

private:
    std::size_t index(int i, int j) const
    {
        return static_cast<std::size_t>(i) * static_cast<std::size_t>(columns) + static_cast<std::size_t>(j);
    }
};

namespace sinew::detail {

/// row `to` of `m` += `factor` * row `from`
template <typename T>
void addMultipleOfRow(::matrix<T>& m, int to, int from, T const& factor)
{
    for (int j = 0; j < m.columns; ++j) m(to, j) += factor * m(from, j);
}

/// row `row` of `m` *= `factor`
template <typename T>
void scaleRow(::matrix<T>& m, int row, T const& factor)
{
    for (int j = 0; j < m.columns; ++j) m(row, j) *= factor;
}

/// Exchanges two rows of `m`.
template <typename T>
void swapRows(::matrix<T>& m, int a, int b)
{
    if (a != b) std::swap_ranges(&m(a, 0), &m(a, 0) + m.columns, &m(b, 0));
}

/// The row from `column` downwards whose entry in that column of the square matrix `m` has the largest magnitude. Of
/// equal magnitudes the first wins; a NaN is chosen only where the search starts.
template <typename T>
int findPivotRow(::matrix<T> const& m, int column)
{
    using Column = jumping_iterator<typename std::vector<T>::const_iterator>;
    std::ptrdiff_t const n = m.rows;
    Column const begin(m.entries.begin(), column * n + column, n);
    Column const end(m.entries.begin(), n * n + column, n);
    Column const pivot = std::max_element(begin, end, [](T const& a, T const& b) { return absolute(a) < absolute(b); });
    return static_cast<int>(pivot.position() / n);
}

/// Gauss-Jordan elimination with row pivoting: reduces the square matrix `work` to the identity, column by column, and
/// applies the same row operations to `companion`, a matrix of the same size.
///
/// A factor of 0 or 1 causes no operation. This is part of the result: the operation would change the signs of zeros,
/// and turn infinities into NaN. Stops at a pivot of exactly zero and returns its column; returns `work.rows` if there
/// is none. Calls beforeColumn(c) before column c; it may throw.
template <typename T, typename BeforeColumn>
int eliminate(::matrix<T>& work, ::matrix<T>& companion, BeforeColumn const& beforeColumn)
{
    int const n = work.rows;
    assert(work.columns == n && companion.rows == n && companion.columns == n);
    for (int c = 0; c < n; ++c) {
        beforeColumn(c);
        int const pivotRow = findPivotRow(work, c);
        if (work(pivotRow, c) == T(0)) return c;
        swapRows(work, pivotRow, c);
        swapRows(companion, pivotRow, c);

        T const factor = T(1) / work(c, c);
        if (factor != T(1)) {
            scaleRow(work, c, factor);
            scaleRow(companion, c, factor);
        }
        for (int r = 0; r < n; ++r) {
            T const f = -work(r, c);
            if (r == c || f == T(0)) continue;
            addMultipleOfRow(work, r, c, f);
            addMultipleOfRow(companion, r, c, f);
        }
    }
    return n;
}

/// The inverse of a consistent square matrix by `eliminate`, or the partly reduced matrix if a pivot is zero.
template <typename T, typename BeforeColumn>
::matrix<T> inverseByElimination(::matrix<T> work, BeforeColumn const& beforeColumn)
{
    assert(work.isConsistent() && work.rows == work.columns);
    ::matrix<T> companion(work.rows, work.rows);
    for (int i = 0; i < work.rows; ++i) companion(i, i) = T(1);
    if (eliminate(work, companion, beforeColumn) == work.rows) work.entries.swap(companion.entries);
    return work;
}

/// The same, without a function for the columns.
template <typename T>
::matrix<T> inverseByElimination(::matrix<T> work)
{
    return inverseByElimination(std::move(work), [](int) {});
}

} // namespace sinew::detail

/// The inverse of a square matrix, by Gauss-Jordan elimination with row pivoting.
///
/// The result is the empty matrix (0 x 0) if the matrix is not square or `entries` does not match its size.
///
/// If a pivot is exactly zero, the matrix is singular and the elimination stops: the result is the partly reduced copy,
/// and nothing reports the error. (`sinew::diagnose` reports it for the system of an `Implicit`.) A nearly singular
/// matrix gives large, inaccurate entries. NaN and infinities propagate by IEEE arithmetic.
///
/// Of entries with equal magnitudes the topmost becomes the pivot. Cost: about 2 n^3 products and as many sums, and the
/// memory of two more matrices. Strong guarantee.
///
/// Source: W. Jordan, Handbuch der Vermessungskunde, third edition, 1888; with partial pivoting as in G. H. Golub and
/// C. F. Van Loan, Matrix Computations, section 3.4.
template <typename T>
::matrix<T> operator!(::matrix<T> const& m)
{
    if (m.rows != m.columns || !m.isConsistent()) return {};
    return sinew::detail::inverseByElimination(m);
}

/// The inverse of a square matrix of doubles. The result has the bits of the general template. From a few dozen rows
/// on, this function is several times faster. Memory: that of one more matrix, or of two if the matrix is singular or
/// not finite. Strong guarantee.
template <>
SINEW_API ::matrix<double> operator!(::matrix<double> const& m);

/// The product of a matrix and a column vector. Each sum starts with its first term and takes the columns in ascending
/// order.
///
/// The result is empty if the vector's size is not the number of columns or the matrix is not consistent; a matrix
/// without columns gives zeros.
///
/// Allocates only the result, which has one element for each row. **A matrix without columns has no entries and yet any
/// number of rows**: it is consistent, and 2^31 - 1 rows of doubles need 16 GB here. Strong guarantee: throws
/// std::bad_alloc if there is not as much memory.
template <typename T>
std::vector<T> operator*(::matrix<T> const& m, std::vector<T> const& v)
{
    if (!m.isConsistent() || v.size() != static_cast<std::size_t>(m.columns)) return {};
    if (static_cast<std::size_t>(m.rows) > PTRDIFF_MAX / sizeof(T)) sinew::detail::throwBadAlloc();
    std::vector<T> result(static_cast<std::size_t>(m.rows), T(0));
    for (int i = 0; i < m.rows && m.columns > 0; ++i) {
        T sum = m(i, 0) * v[0];
        for (int j = 1; j < m.columns; ++j) sum += m(i, j) * v[static_cast<std::size_t>(j)];
        result[static_cast<std::size_t>(i)] = sum;
    }
    return result;
}
