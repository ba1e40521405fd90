#include <sinew/fields/dense_matrix.h>

#include <sinew/fields/detail/gauss_jordan.h>

namespace {

using sinew::detail::GaussJordan;

// Writes the inverse of a square matrix to `result`, which has the same size. Returns false and leaves `result`
// unchanged if a pivot is zero or a factor is not finite. Only the elimination of dense_matrix.h defines the result
// then.
bool invertInBlocks(matrix<double> const& m, matrix<double>& result)
{
    GaussJordan work(m.rows);
    for (int i = 0; i < m.rows; ++i) {
        for (int j = 0; j < m.rows; ++j) work(i, j) = m(i, j);
    }
    if (work.invert() != GaussJordan::Outcome::inverted) return false;
    for (int i = 0; i < m.rows; ++i) work.copyRow(i, &result(i, 0));
    return true;
}

} // namespace

void sinew::detail::throwBadAlloc()
{
    throw std::bad_alloc();
}

template <>
matrix<double> operator!(matrix<double> const& m)
{
    if (m.rows != m.columns || !m.isConsistent()) return {};
    matrix<double> result(m.rows, m.rows);
    if (!invertInBlocks(m, result)) result = sinew::detail::inverseByElimination(m);
    return result;
}
