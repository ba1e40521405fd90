#include <sinew/sparse/spd_matrix.h>

#include <utility>

#include <sinew/sparse/detail/factorization.h>
#include <sinew/sparse/detail/graph.h>
#include <sinew/sparse/detail/minimum_degree.h>
#include <sinew/sparse/detail/sparse_rows.h>

std::vector<int> SPDMatrix::computePerm() const
{
    if (!sinew::detail::isWellFormed(rows)) return {};
    int const n = static_cast<int>(rows.size());
    return sinew::detail::minimumDegree(sinew::detail::graphOf(rows), sinew::detail::defaultDenseDegree(n));
}

LLTMatrix SPDMatrix::factor() const
{
    std::vector<int> perm = computePerm();
    if (perm.empty()) return {};
    sinew::detail::NumericResult result = sinew::detail::Factorization(rows, std::move(perm)).factor(rows);
    return result.failedAt < 0 ? std::move(result.factor) : LLTMatrix();
}
