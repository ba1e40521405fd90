#pragma once

/// The factorisation of matrices of one pattern.

#include <cstdint>
#include <optional>
#include <vector>

#include <sinew/detail/dispatch.h>
#include <sinew/sparse/detail/entry_slots.h>
#include <sinew/sparse/detail/numeric.h>
#include <sinew/sparse/detail/panels.h>
#include <sinew/sparse/detail/row_sweep.h>
#include <sinew/sparse/detail/sparse_rows.h>

namespace sinew::detail {

class ProgressMeter;

/// How the numbers are computed. The bits do not depend on it.
enum class FactorMethod
{
    automatic, ///< `rows` for small matrices, `panels` for all others.
    rows,      ///< `RowSweep`
    panels     ///< `factorPanels`
};

/// Everything about a factor that the pattern of the matrix determines. It factors any number of matrices of this
/// pattern.
class Factorization
{
public:
    /// @param rows  well-formed
    /// @param perm  for each row its position in the elimination order
    /// @param meter  receives the progress; may be null
    Factorization(SparseRows const& rows, std::vector<int> perm, FactorMethod method = FactorMethod::automatic,
                  ProgressMeter* meter = nullptr);

    std::vector<int> const& perm() const { return perm_; }

    /// Number of entries of the factor below its diagonal.
    std::int64_t entryCount() const { return entryCount_; }

    /// Number of products that are subtracted from entries and from pivots.
    std::int64_t updateCount() const { return updateCount_; }

    /// Number of bytes that `factor` allocates besides its result.
    std::int64_t workBytes() const;

    /// Number of bytes that this object holds.
    std::int64_t bytes() const;

    /// The layout in panels; null if the method is `rows`.
    PanelPlan const* panelPlan() const { return plan_ ? &*plan_ : nullptr; }

    /// The places of the matrix entries in the values of the factor.
    EntrySlots const& slots() const { return slots_; }

    /// Factors a matrix of the same pattern. `factor.perm` of the result is set.
    /// @param width  at most `widestVectors()`; the bits do not depend on it
    /// @param meter  receives the progress; may be null
    NumericResult factor(SparseRows const& rows, VectorWidth width = widestVectors(),
                         ProgressMeter* meter = nullptr) const;

private:
    std::vector<int> perm_;
    EntrySlots slots_;
    std::optional<RowSweep> sweep_; // has a value if the method is `rows`
    std::optional<PanelPlan> plan_; // has a value if the method is `panels`
    std::int64_t entryCount_ = 0;
    std::int64_t updateCount_ = 0;
};

} // namespace sinew::detail
