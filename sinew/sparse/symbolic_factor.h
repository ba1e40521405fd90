#pragma once

/// The analysis of a sparse matrix. Use it to factor many matrices of the same pattern, or to find out in advance what
/// a factorisation costs.

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include <sinew/core/progress.h>
#include <sinew/export.h>
#include <sinew/sparse/spd_matrix.h>

namespace sinew {

namespace detail {
struct CompactFactorAccess;
struct PatternAnalysis;
struct SymbolicFactorAccess;
} // namespace detail

/// The part of a factorisation that depends only on the pattern of the matrix: its ordering and the pattern of its
/// factor.
///
/// A simulation whose matrix changes its values at every step, but not its pattern, makes this object once. Each step
/// then computes only the numbers.
///
/// A size of 0 means that there is nothing to factor: the pattern was malformed or empty, or the object was moved from.
/// All counts are 0 then. Const functions may be called from several threads at once.
///
/// Source: J. Liu, The role of elimination trees in sparse factorization, SIAM Journal on Matrix Analysis and
/// Applications 11, 1990, for the pattern of the factor.
class SymbolicFactor
{
public:
    /// Computes the ordering of the matrix and the pattern of its factor. Values are not read. Strong guarantee.
    SINEW_API explicit SymbolicFactor(SPDMatrix const& pattern);
    SINEW_API ~SymbolicFactor();
    SINEW_API SymbolicFactor(SymbolicFactor&&) noexcept;
    SINEW_API SymbolicFactor& operator=(SymbolicFactor&&) noexcept;

    /// Number of rows of the matrix.
    SINEW_API int size() const;

    /// For each row its position in the elimination order, as `SPDMatrix::computePerm` returns it.
    SINEW_API std::vector<int> const& perm() const;

    /// Number of entries of the factor, the diagonal included.
    SINEW_API std::int64_t entryCount() const;

    /// Number of entries of the factor that are zero in the lower triangle of the matrix (fill-in).
    SINEW_API std::int64_t fillCount() const;

    /// Number of floating-point operations in `factor`: three for each product that is subtracted from an entry below
    /// the diagonal, two for each product that is subtracted from a pivot, one for each scaled entry, and a root and a
    /// reciprocal for each pivot.
    SINEW_API std::int64_t flopCount() const;

    /// Number of bytes that the returned factor allocates, without the overhead of the allocator.
    SINEW_API std::int64_t factorBytes() const;

    /// Number of bytes that this object holds, and that `factor` allocates and releases besides its result.
    SINEW_API std::int64_t workBytes() const;

    /// Whether `matrix` has the pattern of this analysis: the same columns in each row, in the same order. A matrix
    /// without rows matches an analysis of size 0. Linear in the number of entries.
    SINEW_API bool matches(SPDMatrix const& matrix) const;

    /// Returns the bits of `matrix.factor()`, without computing the ordering and the analysis again.
    ///
    /// Returns the empty factor if `matrix` does not match, or if it has a pivot that is zero or negative. A NaN pivot
    /// is accepted. Strong guarantee.
    SINEW_API LLTMatrix factor(SPDMatrix const& matrix) const;

    /// The same with progress. See `Progress`.
    SINEW_API std::optional<LLTMatrix> factor(SPDMatrix const& matrix, Progress const& progress) const;

private:
    // Not the functions themselves: friends are declared again, and some compilers then lose their import from a DLL.
    friend struct detail::SymbolicFactorAccess;
    friend struct detail::CompactFactorAccess; // shares the analysis
    SymbolicFactor() = default;                // size 0
    std::shared_ptr<detail::PatternAnalysis const> sharedAnalysis() const;

    struct Analysis;
    std::unique_ptr<Analysis const> analysis_;
};

/// `SymbolicFactor(pattern)` with progress. See `Progress`.
SINEW_API std::optional<SymbolicFactor> makeSymbolicFactor(SPDMatrix const& pattern, Progress const& progress);

} // namespace sinew
