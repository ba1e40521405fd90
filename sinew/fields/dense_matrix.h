#pragma once

/// A small dense matrix of run-time size, with the inverse and the product that fitting an implicit function needs.
///
/// For square systems of up to a few thousand rows. `!m` inverts, `m * v` maps a vector.

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>
#include <vector>

#include <sinew/export.h>

/// The magnitude of a number; a NaN stays NaN.
template <typename T>
constexpr T absolute(T const& value)
{
    return value < T(0) ? -value : value;
}

/// A forward iterator that visits every `stride`-th element of a sequence: a column of a matrix stored by rows.
///
/// The one past the last is `stride` beyond the last, so the sequence must not be dereferenced there; two iterators of
/// one column are compared by position alone.
template <typename Iterator>
class jumping_iterator
{
public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = typename std::iterator_traits<Iterator>::value_type;
    using difference_type = typename std::iterator_traits<Iterator>::difference_type;
    using pointer = typename std::iterator_traits<Iterator>::pointer;
    using reference = typename std::iterator_traits<Iterator>::reference;

    jumping_iterator() = default;
    /// Stands on element `position` of the sequence that starts at `first`.
    jumping_iterator(Iterator first, difference_type position, difference_type stride)
        : first_(first), position_(position), stride_(stride)
    {
    }

    /// Distance from the start of the sequence, in elements (not in strides).
    difference_type position() const { return position_; }

    reference operator*() const { return first_[position_]; }
    pointer operator->() const { return &first_[position_]; }
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
    friend bool operator==(jumping_iterator const& a, jumping_iterator const& b) { return a.position_ == b.position_; }
    friend bool operator!=(jumping_iterator const& a, jumping_iterator const& b) { return !(a == b); }

private:
    // An index, not a moved iterator: stepping an iterator beyond the end of its sequence is undefined.
    Iterator first_{};
    difference_type position_ = 0;
    difference_type stride_ = 1;
};

/// A matrix of `rows` x `columns` entries, stored row by row in `entries`.
template <typename T>
class matrix
{
public:
    int rows = 0;
    int columns = 0;
    std::vector<T> entries;

    /// The empty matrix, 0 x 0.
    matrix() = default;

    /// All entries zero. A negative size makes the matrix empty (0 x 0).
    matrix(int rowCount, int columnCount)
    {
        if (rowCount < 0 || columnCount < 0) return;
        rows = rowCount;
        columns = columnCount;
        entries.assign(static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns), T(0));
    }

    /// Entry in row i and column j, counted from 0 and not checked.
    T& operator()(int i, int j) { return entries[index(i, j)]; }
    T const& operator()(int i, int j) const { return entries[index(i, j)]; }

    /// Whether there are as many entries as rows and columns promise; hosts may change all three.
    bool isConsistent() const
    {
        return rows >= 0 && columns >= 0 &&
               entries.size() == static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns);
    }

private:
    std::size_t index(int i, int j) const
    {
        return static_cast<std::size_t>(i) * static_cast<std::size_t>(columns) + static_cast<std::size_t>(j);
    }
};

namespace sinew::detail {

/// Adds `factor` times row `from` to row `to`, or, where `to` is `from`, multiplies the row by `factor`.
template <typename T>
void combineRows(matrix<T>& m, int to, int from, T const& factor)
{
    for (int j = 0; j < m.columns; ++j) {
        if (to == from) {
            m(to, j) *= factor;
        } else {
            m(to, j) += factor * m(from, j);
        }
    }
}

/// Gauss-Jordan elimination of the square `work` beside `companion`, column by column with row pivoting.
///
/// Returns the column whose pivot was exactly zero, where it stops, or `work.rows` when all were eliminated.
template <typename T>
int eliminate(matrix<T>& work, matrix<T>& companion)
{
    int const n = work.rows;
    auto const swapRows = [n](matrix<T>& m, int a, int b) {
        if (a != b) std::swap_ranges(&m(a, 0), &m(a, 0) + n, &m(b, 0));
    };
    for (int c = 0; c < n; ++c) {
        using Column = jumping_iterator<typename std::vector<T>::const_iterator>;
        std::ptrdiff_t const size = n;
        Column const begin(work.entries.begin(), c * size + c, size);
        Column const end(work.entries.begin(), n * size + c, size);
        // The first of equal magnitudes wins; a NaN wins only where the search starts.
        Column const best =
            std::max_element(begin, end, [](T const& a, T const& b) { return absolute(a) < absolute(b); });
        if (*best == T(0)) return c;
        int const pivotRow = static_cast<int>(best.position() / size);
        swapRows(work, pivotRow, c);
        swapRows(companion, pivotRow, c);

        T const factor = T(1) / work(c, c);
        if (factor != T(1)) {
            combineRows(work, c, c, factor);
            combineRows(companion, c, c, factor);
        }
        for (int r = 0; r < n; ++r) {
            T const f = -work(r, c);
            if (r == c || f == T(0)) continue;
            combineRows(work, r, c, f);
            combineRows(companion, r, c, f);
        }
    }
    return n;
}

/// The inverse of a consistent square matrix by that elimination, or the partly reduced matrix.
template <typename T>
matrix<T> inverseByElimination(matrix<T> work)
{
    matrix<T> companion(work.rows, work.rows);
    for (int i = 0; i < work.rows; ++i) companion(i, i) = T(1);
    if (eliminate(work, companion) == work.rows) work.entries.swap(companion.entries);
    return work;
}

} // namespace sinew::detail

/// The inverse of a square matrix, by Gauss-Jordan elimination with row pivoting.
///
/// A matrix that is not square, or whose `entries` do not match its size, gives the empty matrix (0 x 0).
/// If a pivot is exactly 0.0 the matrix is singular and the elimination stops there: the result is the partly reduced
/// copy as it then stands, without any sign of the error (`sinew::diagnose` tells for the systems of `Implicit`).
/// A nearly singular matrix gives large, inaccurate entries; NaN and infinities spread by IEEE arithmetic.
/// Of equally large pivots the topmost is taken. About n^3 products and sums, and two more matrices of memory.
template <typename T>
matrix<T> operator!(matrix<T> const& m)
{
    if (m.rows != m.columns || !m.isConsistent()) return {};
    return sinew::detail::inverseByElimination(m);
}

/// The same bits for doubles, several times faster from a few dozen rows on; one more matrix of memory, or two if the
/// matrix is singular or not finite.
template <>
SINEW_API matrix<double> operator!(matrix<double> const& m);

/// The product of a matrix and a column vector; each sum runs over the columns in ascending order.
///
/// A vector whose size is not the number of columns gives the empty vector; a matrix without columns gives zeros.
template <typename T>
std::vector<T> operator*(matrix<T> const& m, std::vector<T> const& v)
{
    if (!m.isConsistent() || v.size() != static_cast<std::size_t>(m.columns)) return {};
    std::vector<T> result(static_cast<std::size_t>(m.rows), T(0));
    for (int i = 0; i < m.rows && m.columns > 0; ++i) {
        T sum = m(i, 0) * v[0];
        for (int j = 1; j < m.columns; ++j) sum += m(i, j) * v[static_cast<std::size_t>(j)];
        result[static_cast<std::size_t>(i)] = sum;
    }
    return result;
}
