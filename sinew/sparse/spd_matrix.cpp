#include <sinew/sparse/spd_matrix.h>

#include <utility>

#include <sinew/core/detail/progress_meter.h>
#include <sinew/sparse/detail/factorization.h>
#include <sinew/sparse/detail/minimum_degree.h>
#include <sinew/sparse/detail/phases.h>

using namespace sinew::detail;

namespace {

LLTMatrix factorOf(SparseRows const& rows, ProgressMeter* meter)
{
    beginPhase(meter, 0.0, kOrdered);
    std::vector<int> perm = orderingOf(rows, meter);
    if (perm.empty()) return {};
    beginPhase(meter, kOrdered, kAnalysed);
    Factorization const factorization(rows, std::move(perm), FactorMethod::automatic, meter);
    beginPhase(meter, kAnalysed, 1.0);
    NumericResult result = factorization.factor(rows, widestVectors(), meter);
    return result.failedAt < 0 ? std::move(result.factor) : LLTMatrix();
}

} // namespace

std::vector<int> SPDMatrix::computePerm() const
{
    return orderingOf(rows);
}

LLTMatrix SPDMatrix::factor() const
{
    return factorOf(rows, nullptr);
}

namespace sinew {

std::optional<std::vector<int>> computePerm(SPDMatrix const& matrix, Progress const& progress)
{
    return withProgress(progress, [&](ProgressMeter& meter) {
        std::vector<int> perm = orderingOf(matrix.rows, &meter);
        meter.finish();
        return perm;
    });
}

std::optional<LLTMatrix> factor(SPDMatrix const& matrix, Progress const& progress)
{
    return withProgress(progress, [&](ProgressMeter& meter) {
        LLTMatrix result = factorOf(matrix.rows, &meter);
        meter.finish();
        return result;
    });
}

} // namespace sinew
