#include <sinew/sparse/factor_arrays.h>

#include <cstddef>
#include <limits>
#include <utility>

#include <sinew/detail/as_index.h>
#include <sinew/detail/element_count.h>

namespace sinew {

namespace {

// For each column of the factor the number of its entries, the diagonal included. Empty if the fields of the factor do
// not fit together.
std::vector<std::int64_t> columnLengths(LLTMatrix const& factor)
{
    std::size_t const n = factor.rows.size();
    if (factor.diag.size() != n || factor.perm.size() != n) return {};
    std::vector<std::int64_t> lengths(n, 1);
    for (std::size_t i = 0; i < n; ++i) {
        for (auto const& [c, v] : factor.rows[i]) {
            if (c < 0 || detail::asIndex(c) >= i) return {};
            ++lengths[detail::asIndex(c)];
        }
    }
    return lengths;
}

std::vector<std::int64_t> columnLengths(CompactFactor const& factor)
{
    if (!factor.hasNumbers()) return {};
    std::vector<std::int64_t> lengths(detail::asIndex(factor.size()));
    for (int c = 0; c < factor.size(); ++c) lengths[detail::asIndex(c)] = factor.columnLength(c);
    return lengths;
}

std::vector<int> const& permOf(LLTMatrix const& factor)
{
    return factor.perm;
}
std::vector<int> const& permOf(CompactFactor const& factor)
{
    return factor.perm();
}

// visit(position, row, column, value) for every entry, where `position` is its place by columns, rows ascending
template <typename Visit>
void forEachEntry(LLTMatrix const& factor, std::vector<std::int64_t> const& starts, Visit visit)
{
    std::vector<std::int64_t> next = starts;
    for (std::size_t i = 0; i < factor.rows.size(); ++i) {
        int const row = static_cast<int>(i);
        for (auto const& [c, v] : factor.rows[i]) visit(detail::asIndex(next[detail::asIndex(c)]++), row, c, v);
        visit(detail::asIndex(next[i]++), row, row, factor.diag[i]);
    }
}

template <typename Visit>
void forEachEntry(CompactFactor const& factor, std::vector<std::int64_t> const& starts, Visit visit)
{
    std::vector<int> rows(detail::asIndex(factor.size()));
    std::vector<double> values(rows.size());
    for (int c = 0; c < factor.size(); ++c) {
        std::size_t const length = detail::asIndex(factor.columnLength(c));
        factor.copyColumn(c, rows.data(), values.data());
        std::size_t const first = detail::asIndex(starts[detail::asIndex(c)]);
        for (std::size_t k = 0; k < length; ++k) visit(first + k, rows[k], c, values[k]);
    }
}

// Replaces the lengths of columns by their starts; the end of the last one is appended.
void accumulate(std::vector<std::int64_t>& lengths)
{
    std::int64_t sum = 0;
    for (std::int64_t& length : lengths) sum += std::exchange(length, sum);
    lengths.push_back(sum);
}

template <typename Index, typename Factor>
CscFactor<Index> compressed(Factor const& factor)
{
    std::vector<std::int64_t> starts = columnLengths(factor);
    if (starts.empty()) return {};
    accumulate(starts);
    if (starts.back() > std::numeric_limits<Index>::max()) return {};
    CscFactor<Index> result;
    result.starts.reserve(starts.size());
    for (std::int64_t start : starts) result.starts.push_back(static_cast<Index>(start));
    result.rows.resize(detail::elementCount<Index>(starts.back()));
    result.values.resize(detail::elementCount<double>(starts.back()));
    forEachEntry(factor, starts, [&](std::size_t position, int row, int, double value) {
        result.rows[position] = row;
        result.values[position] = value;
    });
    result.perm = permOf(factor);
    return result;
}

template <typename Factor>
TripletFactor triplets(Factor const& factor)
{
    std::vector<std::int64_t> starts = columnLengths(factor);
    if (starts.empty()) return {};
    accumulate(starts);
    TripletFactor result;
    result.triplets.resize(detail::elementCount<Triplet>(starts.back()));
    forEachEntry(factor, starts, [&](std::size_t position, int row, int column, double value) {
        result.triplets[position] = {row, column, value};
    });
    result.perm = permOf(factor);
    return result;
}

} // namespace

CscFactor<int> toCsc(LLTMatrix const& factor)
{
    return compressed<int>(factor);
}

CscFactor<int> toCsc(CompactFactor const& factor)
{
    return compressed<int>(factor);
}

CscFactor<std::int64_t> toCsc64(LLTMatrix const& factor)
{
    return compressed<std::int64_t>(factor);
}

CscFactor<std::int64_t> toCsc64(CompactFactor const& factor)
{
    return compressed<std::int64_t>(factor);
}

TripletFactor toTriplets(LLTMatrix const& factor)
{
    return triplets(factor);
}

TripletFactor toTriplets(CompactFactor const& factor)
{
    return triplets(factor);
}

} // namespace sinew
