// Builds matrices from triplets and compressed arrays with any numbers in them, and any lengths. What is accepted must
// be the sum of its entries; the compressed forms must agree with the triplets.

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include <sinew/sparse/builders.h>
#include <sinew/sparse/factor_arrays.h>

#include "fuzz/input.h"
#include "support/bits.h"

using fuzz::Input;
using fuzz::require;
using sinew::MatrixBuild;
using sinew::MirroredPairs;
using sinew::packed;
using sinew::Triplet;
using test::sameBits;

namespace {

constexpr int kMostRows = 24;
constexpr int kMostEntries = 128;

// Most indices are in range.
int indexBelow(Input& input, int size)
{
    return size == 0 || input.below(64) == 63 ? input.anyInt() : input.below(size);
}

std::vector<Triplet> tripletsOf(Input& input, int size)
{
    std::vector<Triplet> triplets;
    bool const hasDiagonal = input.below(4) != 3;
    for (int i = 0; hasDiagonal && i < size; ++i) triplets.push_back({i, i, input.number()});
    for (int k = input.below(kMostEntries); k > 0; --k) {
        int const row = indexBelow(input, size);
        triplets.push_back({row, indexBelow(input, size), input.number()});
    }
    return triplets;
}

// The plain method, for triplets that are all in range and finite.
SPDMatrix plainMatrix(int size, std::vector<Triplet> const& triplets, MirroredPairs mirrored)
{
    std::vector<std::map<int, double>> lower(static_cast<std::size_t>(size)), upper(lower);
    for (Triplet const& t : triplets) {
        auto& triangle = t.column > t.row && mirrored != MirroredPairs::summed ? upper : lower;
        auto& row = triangle[static_cast<std::size_t>(std::max(t.row, t.column))];
        auto const [place, isNew] = row.emplace(std::min(t.row, t.column), t.value);
        if (!isNew) place->second += t.value;
    }
    SPDMatrix result;
    for (std::size_t i = 0; i < lower.size(); ++i) {
        lower[i].insert(upper[i].begin(), upper[i].end()); // only what the lower triangle does not have
        result.rows.emplace_back(lower[i].begin(), lower[i].end());
    }
    return result;
}

bool isUsable(int size, std::vector<Triplet> const& triplets)
{
    std::vector<bool> hasDiagonal(static_cast<std::size_t>(size), false);
    for (Triplet const& t : triplets) {
        if (t.row < 0 || t.row >= size || t.column < 0 || t.column >= size || !std::isfinite(t.value)) return false;
        if (t.row == t.column) hasDiagonal[static_cast<std::size_t>(t.row)] = true;
    }
    return std::find(hasDiagonal.begin(), hasDiagonal.end(), false) == hasDiagonal.end();
}

void examine(MatrixBuild const& build)
{
    require(build.succeeded() == build.findings.empty(), "findings are the reason");
    require(build.succeeded() || (build.matrix.rows.empty() && !build.text().empty()), "a refusal has no rows");
    if (build.succeeded()) build.matrix.factor();
}

void compareTriplets(int size, std::vector<Triplet> const& triplets, MirroredPairs mirrored)
{
    MatrixBuild const build = sinew::fromTriplets(size, triplets, mirrored);
    examine(build);
    if (mirrored == MirroredPairs::verified) return;
    require(build.succeeded() == isUsable(size, triplets), "accepted if it can be used");
    if (build.succeeded()) {
        require(sameBits(build.matrix.rows, plainMatrix(size, triplets, mirrored).rows), "rows as the plain method");
    }
}

// Arrays in memory of their own, so that the sanitizer notices each access beyond them.
template <typename T>
struct Block
{
    std::unique_ptr<T[]> numbers;
    std::size_t count;

    explicit Block(std::vector<T> const& from) : numbers(new T[from.size()]), count(from.size())
    {
        std::copy(from.begin(), from.end(), numbers.get());
    }
    sinew::Strided<T const> view() const { return packed<T const>(numbers.get(), count); }
};

// Compressed rows of any numbers: starts that are not ascending, arrays that are too short.
template <typename Index>
void buildAnyArrays(Input& input, int size)
{
    std::vector<Index> starts, lengths, columns;
    std::vector<float> values;
    int const entries = input.below(kMostEntries);
    for (int k = 0; k < entries; ++k) {
        columns.push_back(static_cast<Index>(indexBelow(input, size)));
        values.push_back(static_cast<float>(input.number()));
    }
    int next = input.below(4);
    for (int k = input.below(3) + size; k > 0; --k) {
        starts.push_back(static_cast<Index>(input.below(32) == 31 ? input.anyInt() : next));
        lengths.push_back(static_cast<Index>(input.below(8)));
        next += input.below(8);
    }
    if (input.flag()) lengths.clear();
    if (input.below(8) == 7) values.resize(static_cast<std::size_t>(input.below(kMostEntries)));
    auto const mirrored = static_cast<MirroredPairs>(input.below(3));
    Block const s(starts), l(lengths), c(columns);
    Block const v(values);
    examine(sinew::fromCsr(size, s.view(), c.view(), v.view(), mirrored, l.view()));
    examine(sinew::fromCsc(size, s.view(), c.view(), v.view(), mirrored, l.view()));
    examine(sinew::fromTriplets(size, c.view(), s.view(), v.view(), mirrored));
}

// The columns of a factor are the rows of its transpose.
void buildFromFactor(int size, std::vector<Triplet> const& triplets)
{
    LLTMatrix const factor = sinew::fromTriplets(size, triplets).matrix.factor();
    sinew::CscFactor<int> const arrays = sinew::toCsc(factor);
    auto const n = static_cast<std::int64_t>(arrays.perm.size());
    auto const starts = packed(arrays.starts), rows = packed(arrays.rows);
    auto const values = packed(arrays.values);
    MatrixBuild const byColumns = sinew::fromCsc(n, starts, rows, values, MirroredPairs::summed);
    MatrixBuild const byRows = sinew::fromCsr(n, starts, rows, values, MirroredPairs::summed);
    MatrixBuild const byTriplets = sinew::fromTriplets(n, sinew::toTriplets(factor).triplets);
    require(byColumns.text() == byTriplets.text(), "the same findings");
    require(sameBits(byColumns.matrix.rows, byTriplets.matrix.rows), "columns as triplets");
    require(sameBits(byColumns.matrix.rows, byRows.matrix.rows), "a triangle and its transpose");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    Input input(data, size);
    int const rows = input.below(kMostRows);
    std::vector<Triplet> const triplets = tripletsOf(input, rows);
    for (MirroredPairs mirrored : {MirroredPairs::summed, MirroredPairs::once, MirroredPairs::verified}) {
        compareTriplets(rows, triplets, mirrored);
    }
    buildFromFactor(rows, triplets);
    switch (input.below(4)) {
    case 0:
        buildAnyArrays<std::int32_t>(input, rows);
        break;
    case 1:
        buildAnyArrays<std::int64_t>(input, rows);
        break;
    case 2:
        buildAnyArrays<std::uint8_t>(input, rows);
        break;
    default:
        buildAnyArrays<std::uint64_t>(input, rows);
        break;
    }
    return 0;
}
