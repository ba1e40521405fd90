#pragma once

/// The part of a factorisation that depends on the pattern alone, made once and used for any number of matrices.
///
/// A simulation whose matrix changes its values at every step, not its pattern, orders and analyses it once and then
/// pays for the numbers only. A host that is unsure whether a factor fits into memory asks here first.

#include <cstdint>
#include <memory>
#include <vector>

#include <sinew/export.h>
#include <sinew/sparse/spd_matrix.h>

namespace sinew {

class SymbolicFactor
{
public:
    /// Orders the matrix and finds the pattern of its factor. Values are not read. A malformed matrix, or one without
    /// rows, gives an analysis of size 0, which factors nothing.
    SINEW_API explicit SymbolicFactor(SPDMatrix const& pattern);
    SINEW_API ~SymbolicFactor();
    SINEW_API SymbolicFactor(SymbolicFactor&&) noexcept;
    SINEW_API SymbolicFactor& operator=(SymbolicFactor&&) noexcept;

    /// Number of rows of the matrix; 0 if it was malformed or empty, and after this object was moved from.
    SINEW_API int size() const;

    /// Position of each row in the elimination order, as `SPDMatrix::computePerm` gives it.
    SINEW_API std::vector<int> const& perm() const;

    /// Entries of the factor, diagonal included.
    SINEW_API std::int64_t entryCount() const;

    /// Entries that the factor has and the lower triangle of the matrix has not.
    SINEW_API std::int64_t fillCount() const;

    /// Floating-point operations of `factor`: three for each product subtracted from an entry below the diagonal, two
    /// for each subtracted from a pivot, one for each scaled entry, a root and a reciprocal for each pivot.
    SINEW_API std::int64_t flopCount() const;

    /// Bytes of heap that the returned factor holds, allocator overhead left out.
    SINEW_API std::int64_t factorBytes() const;

    /// Bytes of heap that `factor` needs besides, released when it returns, and that this object holds.
    SINEW_API std::int64_t workBytes() const;

    /// Whether `matrix` has the pattern that was analysed: the same columns in each row, in the same order.
    SINEW_API bool matches(SPDMatrix const& matrix) const;

    /// The bits of `matrix.factor()`, without the ordering and the analysis. The empty factor if the matrix does not
    /// match, or meets a pivot that is zero or negative. Safe to call from several threads.
    SINEW_API LLTMatrix factor(SPDMatrix const& matrix) const;

private:
    struct Analysis;
    std::unique_ptr<Analysis const> analysis_;
};

} // namespace sinew
