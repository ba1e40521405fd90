#pragma once

/// Everything about a factor that its pattern decides, kept for any number of matrices of that pattern.

#include <cstdint>
#include <optional>
#include <vector>

#include <sinew/sparse/detail/numeric.h>
#include <sinew/sparse/detail/panel_factor.h>
#include <sinew/sparse/detail/row_sweep.h>
#include <sinew/sparse/detail/sparse_rows.h>

namespace sinew::detail {

/// How the numbers are computed; the bits do not depend on it.
enum class FactorMethod
{
    automatic, // rows for small matrices, panels for all others
    rows,
    panels
};

class Factorization
{
public:
    /// @param rows  well-formed
    /// @param perm  position of each row in the elimination order
    Factorization(SparseRows const& rows, std::vector<int> perm, FactorMethod method = FactorMethod::automatic);

    std::vector<int> const& perm() const { return perm_; }

    /// Entries of the factor below its diagonal.
    std::int64_t entryCount() const { return entryCount_; }

    /// Products that are subtracted on the way, those of the pivots included.
    std::int64_t updateCount() const { return updateCount_; }

    /// Bytes that `factor` works in, beside its result.
    std::int64_t workBytes() const;

    /// Bytes held by this object.
    std::int64_t bytes() const;

    /// Factors a matrix of the same pattern. `factor.perm` of the result is set; the rest as NumericResult says.
    NumericResult factor(SparseRows const& rows, PanelKernel kernel = panelKernel(widestVectors())) const;

private:
    std::vector<int> perm_;
    EntrySlots slots_;
    std::optional<RowSweep> sweep_; // one of the two
    std::optional<PanelPlan> panels_;
    std::int64_t entryCount_ = 0;
    std::int64_t updateCount_ = 0;
};

} // namespace sinew::detail
