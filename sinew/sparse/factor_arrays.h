#pragma once

/// A factor as arrays, for hosts that process it with other libraries or store it.

#include <cstdint>
#include <vector>

#include <sinew/export.h>
#include <sinew/sparse/builders.h>
#include <sinew/sparse/compact_factor.h>
#include <sinew/sparse/llt_matrix.h>

namespace sinew {

/// The factor L with compressed columns. All rows and columns are positions in the elimination order.
///
/// Column c has the entries k = starts[c], ..., starts[c + 1] - 1: values[k] in row rows[k], rows ascending, so that
/// the first entry of each column is its diagonal. `starts` has one element more than L has columns. All arrays are
/// empty if there is no factor.
template <typename Index>
struct CscFactor
{
    std::vector<Index> starts;
    std::vector<Index> rows;
    std::vector<double> values;
    std::vector<int> perm; ///< For each index in the caller's numbering its position in the elimination order.

    CscFactor() = default;
    CscFactor(CscFactor const&) = default;
    CscFactor(CscFactor&&) noexcept = default;
    /// Strong guarantee: if an allocation fails, nothing has changed.
    CscFactor& operator=(CscFactor const& other) { return *this = CscFactor(other); }
    CscFactor& operator=(CscFactor&&) noexcept = default;
    ~CscFactor() = default;
};

/// The factor L as triplets, by columns, rows ascending in each. Rows and columns are positions in the elimination
/// order.
struct TripletFactor
{
    std::vector<Triplet> triplets;
    std::vector<int> perm; ///< For each index in the caller's numbering its position in the elimination order.

    TripletFactor() = default;
    TripletFactor(TripletFactor const&) = default;
    TripletFactor(TripletFactor&&) noexcept = default;
    /// Strong guarantee: if an allocation fails, nothing has changed.
    TripletFactor& operator=(TripletFactor const& other) { return *this = TripletFactor(other); }
    TripletFactor& operator=(TripletFactor&&) noexcept = default;
    ~TripletFactor() = default;
};

/// The entries of a factor, read from `factor.rows`, `diag` and `perm`. The bits of the values do not change.
///
/// Empty if there is no factor, and if `rows`, `diag` and `perm` of an `LLTMatrix` differ in size or `rows` holds a
/// column that is not below its row. `Mt` is not read. `toCsc` is also empty if L has more entries than an int can
/// count. Linear in the number of entries. Strong guarantee.
SINEW_API CscFactor<int> toCsc(LLTMatrix const& factor);
SINEW_API CscFactor<int> toCsc(CompactFactor const& factor);

/// As `toCsc`, for any number of entries.
SINEW_API CscFactor<std::int64_t> toCsc64(LLTMatrix const& factor);
SINEW_API CscFactor<std::int64_t> toCsc64(CompactFactor const& factor);

/// As `toCsc`, for any number of entries.
SINEW_API TripletFactor toTriplets(LLTMatrix const& factor);
SINEW_API TripletFactor toTriplets(CompactFactor const& factor);

} // namespace sinew
