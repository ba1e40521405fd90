#include <sinew/sparse/symbolic_factor.h>

#include <utility>

#include <sinew/core/detail/progress_meter.h>
#include <sinew/sparse/detail/minimum_degree.h>
#include <sinew/sparse/detail/pattern_analysis.h>
#include <sinew/sparse/detail/phases.h>

namespace sinew {

struct SymbolicFactor::Analysis
{
    std::shared_ptr<detail::PatternAnalysis const> shared;
};

struct detail::SymbolicFactorAccess
{
    static SymbolicFactor analysed(SPDMatrix const& pattern, ProgressMeter* meter)
    {
        SymbolicFactor result;
        beginPhase(meter, 0.0, kOrdered / kAnalysed);
        std::vector<int> perm = orderingOf(pattern.rows, meter);
        if (perm.empty()) return result;
        beginPhase(meter, kOrdered / kAnalysed, 1.0);
        auto const shared =
            std::make_shared<PatternAnalysis const>(pattern.rows, std::move(perm), FactorMethod::automatic, meter);
        result.analysis_ = std::make_unique<SymbolicFactor::Analysis const>(SymbolicFactor::Analysis{shared});
        return result;
    }

    static LLTMatrix factor(SymbolicFactor const& symbolic, SPDMatrix const& matrix, ProgressMeter* meter)
    {
        if (!symbolic.analysis_ || !symbolic.matches(matrix)) return {};
        NumericResult result = symbolic.analysis_->shared->factorization.factor(matrix.rows, widestVectors(), meter);
        return result.failedAt < 0 ? std::move(result.factor) : LLTMatrix();
    }
};

SymbolicFactor::SymbolicFactor(SPDMatrix const& pattern)
    : SymbolicFactor(detail::SymbolicFactorAccess::analysed(pattern, nullptr))
{
}

SymbolicFactor::~SymbolicFactor() = default;
SymbolicFactor::SymbolicFactor(SymbolicFactor&&) noexcept = default;
SymbolicFactor& SymbolicFactor::operator=(SymbolicFactor&&) noexcept = default;

std::shared_ptr<detail::PatternAnalysis const> SymbolicFactor::sharedAnalysis() const
{
    return analysis_ ? analysis_->shared : nullptr;
}

int SymbolicFactor::size() const
{
    return static_cast<int>(perm().size());
}

std::vector<int> const& SymbolicFactor::perm() const
{
    static std::vector<int> const none;
    return analysis_ ? analysis_->shared->factorization.perm() : none;
}

std::int64_t SymbolicFactor::entryCount() const
{
    return analysis_ ? analysis_->shared->factorization.entryCount() + size() : 0;
}

std::int64_t SymbolicFactor::fillCount() const
{
    return analysis_ ? analysis_->shared->factorization.entryCount() - analysis_->shared->offDiagonalCount : 0;
}

std::int64_t SymbolicFactor::flopCount() const
{
    if (!analysis_) return 0;
    std::int64_t const below = analysis_->shared->factorization.entryCount();
    std::int64_t const pivotUpdates = below; // the square of each entry below the diagonal
    std::int64_t const entryUpdates = analysis_->shared->factorization.updateCount() - pivotUpdates;
    std::int64_t const pivots = size();
    return 3 * entryUpdates + 2 * pivotUpdates + below + 2 * pivots;
}

std::int64_t SymbolicFactor::factorBytes() const
{
    if (!analysis_) return 0;
    auto const pairBytes = static_cast<std::int64_t>(sizeof(std::pair<int, double>));
    auto const rowBytes =
        static_cast<std::int64_t>(2 * sizeof(detail::SparseRows::value_type) + sizeof(double) + sizeof(int));
    std::int64_t const entries = 2 * analysis_->shared->factorization.entryCount(); // each is in rows and in Mt
    return entries * pairBytes + size() * rowBytes;
}

std::int64_t SymbolicFactor::workBytes() const
{
    if (!analysis_) return 0;
    return analysis_->shared->bytes() + analysis_->shared->factorization.workBytes();
}

bool SymbolicFactor::matches(SPDMatrix const& matrix) const
{
    return analysis_ ? analysis_->shared->matches(matrix.rows) : matrix.rows.empty();
}

LLTMatrix SymbolicFactor::factor(SPDMatrix const& matrix) const
{
    return detail::SymbolicFactorAccess::factor(*this, matrix, nullptr);
}

std::optional<LLTMatrix> SymbolicFactor::factor(SPDMatrix const& matrix, Progress const& progress) const
{
    return detail::withProgress(progress, [&](detail::ProgressMeter& meter) {
        LLTMatrix result = detail::SymbolicFactorAccess::factor(*this, matrix, &meter);
        meter.finish();
        return result;
    });
}

std::optional<SymbolicFactor> makeSymbolicFactor(SPDMatrix const& pattern, Progress const& progress)
{
    return detail::withProgress(progress, [&](detail::ProgressMeter& meter) {
        SymbolicFactor result = detail::SymbolicFactorAccess::analysed(pattern, &meter);
        meter.finish();
        return result;
    });
}

} // namespace sinew
