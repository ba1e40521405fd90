#include <sinew/sparse/builders.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <map>

#include <gtest/gtest.h>

#include "sparse/matrices.h"
#include "support/bits.h"
#include "support/failing_new.h"
#include "support/random.h"

#ifdef SINEW_TEST_EIGEN
#include <Eigen/Sparse>
#endif

using sinew::EntryFault;
using sinew::fromCsc;
using sinew::fromCsr;
using sinew::fromTriplets;
using sinew::MatrixBuild;
using sinew::MirroredPairs;
using sinew::packed;
using sinew::Strided;
using sinew::Triplet;
using test::Random;

namespace {

sinew::IntegerArray const kNoIndices;
sinew::RealArray const kNoValues;
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// The plain method: sums in ordered maps. Every row must have a diagonal entry.
SPDMatrix plainMatrix(int size, std::vector<Triplet> const& triplets, MirroredPairs mirrored)
{
    std::vector<std::map<int, double>> lower(size), upper(size);
    auto const add = [](std::map<int, double>& row, int column, double value) {
        auto const [place, isNew] = row.emplace(column, value);
        if (!isNew) place->second += value;
    };
    for (Triplet const& t : triplets) {
        bool const isUpper = t.column > t.row;
        auto& rows = isUpper && mirrored != MirroredPairs::summed ? upper : lower;
        add(rows[std::max(t.row, t.column)], std::min(t.row, t.column), t.value);
    }
    SPDMatrix result;
    for (int i = 0; i < size; ++i) {
        lower[i].insert(upper[i].begin(), upper[i].end()); // only what the lower triangle does not have
        result.rows.emplace_back(lower[i].begin(), lower[i].end());
    }
    return result;
}

std::vector<Triplet> randomTriplets(int size, Random& random)
{
    std::vector<Triplet> result;
    for (int i = 0; i < size; ++i) result.push_back({i, i, random.oneIn(9) ? -0.0 : random.spread()});
    for (int k = random.below(6 * size + 1); k > 0; --k) {
        int const row = random.below(size);
        result.push_back({row, random.below(size), random.oneIn(9) ? -0.0 : random.spread()});
    }
    for (int k = static_cast<int>(result.size()); k-- > 1;) std::swap(result[k], result[random.below(k + 1)]);
    return result;
}

// The compressed rows, or columns, of triplets. The entries of each stay in their order. With gaps between them if
// `lengths` is used.
template <typename Index, typename Value>
struct Arrays
{
    std::vector<Index> starts, indices, lengths;
    std::vector<Value> values;

    Arrays(int size, std::vector<Triplet> const& triplets, bool byRows, int gap)
    {
        for (int s = 0; s < size; ++s) {
            starts.push_back(static_cast<Index>(indices.size()));
            for (Triplet const& t : triplets) {
                if ((byRows ? t.row : t.column) != s) continue;
                indices.push_back(static_cast<Index>(byRows ? t.column : t.row));
                values.push_back(static_cast<Value>(t.value));
            }
            lengths.push_back(static_cast<Index>(indices.size()) - starts.back());
            indices.insert(indices.end(), gap, static_cast<Index>(-7)); // must not be read
            values.insert(values.end(), gap, std::numeric_limits<Value>::quiet_NaN());
        }
        starts.push_back(static_cast<Index>(indices.size()));
    }
};

// What the compressed arrays hold, in the order in which `fromCsr` and `fromCsc` read it.
std::vector<Triplet> inOrderOf(std::vector<Triplet> triplets, bool byRows)
{
    auto const segment = [byRows](Triplet const& t) { return byRows ? t.row : t.column; };
    std::stable_sort(triplets.begin(), triplets.end(),
                     [&](Triplet const& a, Triplet const& b) { return segment(a) < segment(b); });
    return triplets;
}

template <typename Index, typename Value>
void expectCompressed(int size, std::vector<Triplet> triplets, MirroredPairs mirrored)
{
    for (Triplet& t : triplets) t.value = static_cast<Value>(t.value);
    for (bool byRows : {true, false}) {
        auto const expected = plainMatrix(size, inOrderOf(triplets, byRows), mirrored);
        auto const build = byRows ? fromCsr : fromCsc;
        Arrays<Index, Value> const dense(size, triplets, byRows, 0);
        MatrixBuild const compressed =
            build(size, packed(dense.starts), packed(dense.indices), packed(dense.values), mirrored, {});
        EXPECT_EQ(compressed.text(), "");
        EXPECT_TRUE(test::sameBits(compressed.matrix.rows, expected.rows));
        Arrays<Index, Value> const loose(size, triplets, byRows, 3);
        MatrixBuild const withGaps = build(size, packed(loose.starts), packed(loose.indices), packed(loose.values),
                                           mirrored, packed(loose.lengths));
        EXPECT_EQ(withGaps.text(), "");
        EXPECT_TRUE(test::sameBits(withGaps.matrix.rows, expected.rows));
    }
}

// The full symmetric matrix of a lower triangle.
std::vector<Triplet> bothTriangles(SPDMatrix const& matrix)
{
    std::vector<Triplet> result;
    for (int i = 0; i < static_cast<int>(matrix.rows.size()); ++i) {
        for (auto const& [c, v] : matrix.rows[i]) {
            result.push_back({i, c, v});
            if (c != i) result.push_back({c, i, v});
        }
    }
    return result;
}

SPDMatrix sortedRows(SPDMatrix matrix)
{
    for (auto& row : matrix.rows) std::sort(row.begin(), row.end());
    return matrix;
}

void expectRefusal(MatrixBuild const& build, EntryFault kind, std::vector<std::int64_t> const& indices,
                   std::string const& text)
{
    EXPECT_FALSE(build.succeeded());
    EXPECT_TRUE(build.matrix.rows.empty());
    ASSERT_EQ(build.findings.size(), 1U) << build.text();
    EXPECT_EQ(build.findings[0].kind, kind);
    EXPECT_EQ(build.findings[0].indices, indices);
    EXPECT_EQ(build.text(), text + "\n");
}

// A type with the interface of a sparse matrix by rows, with unsigned 64-bit indices and values of type float.
struct HostMatrix
{
    static constexpr bool IsRowMajor = true;
    std::size_t size = 2;
    std::vector<std::uint64_t> starts = {0, 1, 3};
    std::vector<std::uint64_t> indices = {0, 0, 1};
    std::vector<float> values = {2.0F, -1.0F, 2.5F};

    std::size_t rows() const { return size; }
    std::size_t cols() const { return 2; }
    std::uint64_t const* outerIndexPtr() const { return starts.data(); }
    std::uint64_t const* innerIndexPtr() const { return indices.data(); }
    std::uint64_t const* innerNonZeroPtr() const { return nullptr; }
    float const* valuePtr() const { return values.data(); }
};

} // namespace

TEST(FromTriplets, SumsRepeatedPlacesInTheOrderGiven)
{
    std::vector<Triplet> const triplets = {{0, 0, 1e16}, {0, 0, 1.0}, {0, 0, 1.0}};
    MatrixBuild const build = fromTriplets(1, triplets);
    ASSERT_TRUE(build.succeeded());
    EXPECT_EQ(build.matrix.rows[0][0].second, (1e16 + 1.0) + 1.0);
    EXPECT_NE((1e16 + 1.0) + 1.0, 1e16 + (1.0 + 1.0)) << "the values must distinguish the two orders";
}

TEST(FromTriplets, HasTheBitsOfThePlainMethod)
{
    Random random(20251210);
    for (int trial = 0; trial < 300; ++trial) {
        SCOPED_TRACE(trial);
        int const size = 1 + random.below(40);
        std::vector<Triplet> const triplets = randomTriplets(size, random);
        for (MirroredPairs mirrored : {MirroredPairs::summed, MirroredPairs::once}) {
            MatrixBuild const build = fromTriplets(size, triplets, mirrored);
            EXPECT_EQ(build.text(), "");
            EXPECT_TRUE(test::sameBits(build.matrix.rows, plainMatrix(size, triplets, mirrored).rows));
            EXPECT_EQ(build.matrix.computePerm().size(), static_cast<std::size_t>(size)) << "well-formed";
        }
    }
}

TEST(FromTriplets, MirroredPairsAreSummedOrCountedOnce)
{
    std::vector<Triplet> const triplets = {{0, 0, 4.0}, {1, 1, 4.0}, {1, 0, 1.0}, {0, 1, 1.0}};
    EXPECT_EQ(fromTriplets(2, triplets).matrix.rows[1][0].second, 2.0);
    EXPECT_EQ(fromTriplets(2, triplets, MirroredPairs::once).matrix.rows[1][0].second, 1.0);
    EXPECT_EQ(fromTriplets(2, triplets, MirroredPairs::verified).matrix.rows[1][0].second, 1.0);
}

TEST(FromTriplets, LowerTriangleWinsAndTheUpperOneFillsItsGaps)
{
    std::vector<Triplet> const triplets = {{0, 0, 9.0}, {1, 1, 9.0}, {2, 2, 9.0},
                                           {0, 1, 5.0}, {1, 0, 3.0}, {1, 2, 7.0}};
    SPDMatrix const matrix = fromTriplets(3, triplets, MirroredPairs::once).matrix;
    ASSERT_EQ(matrix.rows.size(), 3U);
    EXPECT_EQ(matrix.rows[1][0].second, 3.0);
    EXPECT_EQ(matrix.rows[2][0], std::make_pair(1, 7.0));
}

TEST(FromTriplets, ASumOfZeroStaysAnEntry)
{
    std::vector<Triplet> const triplets = {{0, 0, 1.0}, {1, 1, 1.0}, {1, 0, 2.0}, {0, 1, -2.0}};
    MatrixBuild const build = fromTriplets(2, triplets);
    ASSERT_TRUE(build.succeeded());
    EXPECT_EQ(build.matrix.rows[1], (std::vector<std::pair<int, double>>{{0, 0.0}, {1, 1.0}}));
}

TEST(FromTriplets, ReadsStridedArraysOfAllTypes)
{
    struct Item
    {
        float value;
        std::uint32_t row;
        std::int64_t column;
    };
    std::vector<Item> const items = {{2.0F, 1, 1}, {-1.0F, 1, 0}, {2.5F, 0, 0}};
    MatrixBuild const build = fromTriplets(2, Strided<std::uint32_t const>(&items[0].row, 3, sizeof(Item)),
                                           Strided<std::int64_t const>(&items[0].column, 3, sizeof(Item)),
                                           Strided<float const>(&items[0].value, 3, sizeof(Item)));
    ASSERT_TRUE(build.succeeded()) << build.text();
    EXPECT_EQ(build.matrix.rows, (SPDMatrix{}.rows = {{{0, 2.5}}, {{0, -1.0}, {1, 2.0}}}));
}

TEST(FromTriplets, ReadsBackwardsAndUnaligned)
{
    std::vector<int> const backwards = {1, 0};
    std::vector<unsigned char> bytes(1 + 2 * sizeof(double));
    double const values[] = {3.0, 5.0};
    std::memcpy(bytes.data() + 1, values, sizeof values);
    auto const* const unaligned = reinterpret_cast<double const*>(bytes.data() + 1);
    constexpr std::ptrdiff_t step = -static_cast<std::ptrdiff_t>(sizeof(int));
    Strided<int const> const indices(&backwards[1], 2, step);
    MatrixBuild const build = fromTriplets(2, indices, indices, packed(unaligned, 2));
    ASSERT_TRUE(build.succeeded()) << build.text();
    EXPECT_EQ(build.matrix.rows, (SPDMatrix{}.rows = {{{0, 3.0}}, {{1, 5.0}}}));
}

TEST(FromTriplets, EmptyInputGivesAMatrixWithoutRows)
{
    EXPECT_TRUE(fromTriplets(0, kNoIndices, kNoIndices, kNoValues).succeeded());
    EXPECT_TRUE(fromTriplets(0, {}).succeeded());
    EXPECT_TRUE(fromCsr(0, kNoIndices, kNoIndices, kNoValues, MirroredPairs::once).succeeded());
    EXPECT_TRUE(fromTriplets(0, {}).matrix.rows.empty());
}

TEST(FromTriplets, RefusesASizeOutOfRange)
{
    expectRefusal(fromTriplets(-3, {}), EntryFault::sizeOutOfRange, {-3},
                  "The number of rows is -3, which is negative.");
    std::int64_t const large = std::int64_t{1} << 31;
    expectRefusal(fromTriplets(large, {}), EntryFault::sizeOutOfRange, {large},
                  "The number of rows is 2147483648, which is too large for an int.");
    expectRefusal(fromCsr(-1, kNoIndices, kNoIndices, kNoValues, MirroredPairs::once), EntryFault::sizeOutOfRange, {-1},
                  "The number of rows is -1, which is negative.");
}

TEST(FromTriplets, RefusesArraysOfDifferentLengths)
{
    std::vector<int> const indices = {0, 1};
    std::vector<double> const values = {1.0, 1.0};
    sinew::IntegerArray const i = packed(indices), one = packed(indices.data(), 1);
    std::string const text = "An array has 1 elements, and 2 are needed.";
    expectRefusal(fromTriplets(2, one, i, packed(values)), EntryFault::shortArray, {2, 1}, text);
    expectRefusal(fromTriplets(2, i, one, packed(values)), EntryFault::shortArray, {2, 1}, text);
    expectRefusal(fromTriplets(2, i, i, packed(values.data(), 1)), EntryFault::shortArray, {2, 1}, text);
    expectRefusal(fromTriplets(2, i, i, packed(static_cast<double const*>(nullptr), 2)), EntryFault::shortArray, {2, 0},
                  "An array has 0 elements, and 2 are needed.");
    EXPECT_EQ(fromTriplets(2, kNoIndices, i, kNoValues).text(),
              "An array has 0 elements, and 2 are needed; 1 other has the same fault.\n");
}

TEST(FromTriplets, RefusesIndicesOutOfRange)
{
    std::vector<Triplet> triplets = {{0, 0, 1.0}, {1, 1, 1.0}, {2, 0, 5.0}};
    expectRefusal(fromTriplets(2, triplets), EntryFault::rowOutOfRange, {2, 2, 0},
                  "Entry 2 (row 2, column 0) has a row outside the matrix.");
    triplets[2] = {-1, 0, 5.0};
    expectRefusal(fromTriplets(2, triplets), EntryFault::rowOutOfRange, {2, -1, 0},
                  "Entry 2 (row -1, column 0) has a row outside the matrix.");
    triplets[2] = {0, 7, 5.0};
    triplets.push_back({0, 8, 5.0});
    expectRefusal(fromTriplets(2, triplets), EntryFault::columnOutOfRange, {2, 0, 7},
                  "Entry 2 (row 0, column 7) has a column outside the matrix; 1 other has the same fault.");
    std::uint64_t const huge = std::numeric_limits<std::uint64_t>::max();
    int const row = 0;
    double const value = 1.0;
    EXPECT_EQ(fromTriplets(1, packed(&row, 1), packed(&huge, 1), packed(&value, 1)).findings.at(0).indices,
              (std::vector<std::int64_t>{0, 0, std::numeric_limits<std::int64_t>::max()}));
}

TEST(FromTriplets, RefusesValuesThatAreNotFinite)
{
    std::vector<Triplet> triplets = {{0, 0, 1.0}, {1, 0, kNaN}, {1, 1, 1.0}};
    expectRefusal(fromTriplets(2, triplets), EntryFault::notFinite, {1, 1, 0},
                  "Entry 1 (row 1, column 0) has the value NaN, which is not finite.");
    triplets.push_back({0, 0, kInf});
    triplets.push_back({0, 0, -kInf});
    MatrixBuild const build = fromTriplets(2, triplets);
    ASSERT_EQ(build.findings.size(), 1U);
    EXPECT_EQ(build.findings[0].sentence, "Entry 1 (row 1, column 0) has the value NaN, which is not finite; 2 others "
                                          "have the same fault.");
}

TEST(FromTriplets, ASumMayOverflow)
{
    double const huge = std::numeric_limits<double>::max();
    MatrixBuild const build = fromTriplets(1, {{0, 0, huge}, {0, 0, huge}, {0, 0, -huge}});
    ASSERT_TRUE(build.succeeded());
    EXPECT_EQ(build.matrix.rows[0][0].second, kInf);
}

TEST(FromTriplets, RefusesARowWithoutDiagonal)
{
    expectRefusal(fromTriplets(3, {{0, 0, 1.0}, {1, 0, 1.0}}), EntryFault::missingDiagonal, {1},
                  "Row 1 has no diagonal entry; 1 other has the same fault.");
}

TEST(FromTriplets, VerifiedRefusesAsymmetry)
{
    std::vector<Triplet> triplets = {{0, 0, 4.0}, {1, 1, 4.0}, {1, 0, 1.0}, {0, 1, 2.0}};
    std::string const text = "The entry in row 1, column 0 and its mirrored entry are not equal.";
    expectRefusal(fromTriplets(2, triplets, MirroredPairs::verified), EntryFault::asymmetric, {1, 0}, text);
    triplets.pop_back();
    expectRefusal(fromTriplets(2, triplets, MirroredPairs::verified), EntryFault::asymmetric, {1, 0}, text);
    triplets.back() = {0, 1, 2.0};
    expectRefusal(fromTriplets(2, triplets, MirroredPairs::verified), EntryFault::asymmetric, {1, 0}, text);
    triplets.back() = {0, 1, 0.0};
    triplets.push_back({1, 0, -0.0});
    EXPECT_TRUE(fromTriplets(2, triplets, MirroredPairs::verified).succeeded()) << "zeros of either sign are equal";
}

TEST(FromTriplets, ReportsOneFindingOfEachKindInTheirOrder)
{
    std::vector<Triplet> const triplets = {{0, 0, kInf}, {9, 9, 1.0}, {9, -1, kNaN}};
    MatrixBuild const build = fromTriplets(1, triplets);
    ASSERT_EQ(build.findings.size(), 3U);
    EXPECT_EQ(build.findings[0].kind, EntryFault::rowOutOfRange);
    EXPECT_EQ(build.findings[1].kind, EntryFault::columnOutOfRange);
    EXPECT_EQ(build.findings[2].kind, EntryFault::notFinite);
    EXPECT_EQ(build.findings[2].value, kInf);
    EXPECT_EQ(build.findings[0].indices, (std::vector<std::int64_t>{1, 9, 9}));
}

TEST(FromCompressed, HasTheBitsOfThePlainMethodForAllTypes)
{
    Random random(20251211);
    for (int trial = 0; trial < 60; ++trial) {
        SCOPED_TRACE(trial);
        int const size = 1 + random.below(25);
        std::vector<Triplet> const triplets = randomTriplets(size, random);
        for (MirroredPairs mirrored : {MirroredPairs::summed, MirroredPairs::once}) {
            expectCompressed<int, double>(size, triplets, mirrored);
            expectCompressed<long long, float>(size, triplets, mirrored);
            expectCompressed<unsigned, float>(size, triplets, mirrored);
            expectCompressed<std::size_t, double>(size, triplets, mirrored);
            expectCompressed<std::uint8_t, double>(size, triplets, mirrored);
            expectCompressed<std::int16_t, double>(size, triplets, mirrored);
            expectCompressed<std::uint16_t, float>(size, triplets, mirrored);
        }
    }
}

TEST(FromCompressed, RefusesMalformedSegments)
{
    int const indices[] = {0, 1, 1};
    double const values[] = {1.0, 1.0, 1.0};
    auto const build = [&](std::vector<int> const& starts, std::vector<int> const& lengths) {
        return fromCsr(2, packed(starts), packed(indices, 3), packed(values, 3), MirroredPairs::summed,
                       packed(lengths.empty() ? nullptr : lengths.data(), lengths.size()));
    };
    EXPECT_TRUE(build({0, 1, 2}, {}).succeeded());
    EXPECT_TRUE(build({1, 1, 3}, {0, 1}).findings[0].kind == EntryFault::missingDiagonal);
    expectRefusal(build({0, 2, 1}, {}), EntryFault::badSegment, {1, 2, 1},
                  "Segment 1 begins at entry 2 and ends before entry 1, which is not a range.");
    EXPECT_EQ(build({-1, 1, 2}, {}).findings[0].kind, EntryFault::badSegment);
    EXPECT_EQ(build({-1, 1, 2}, {1, 1}).findings[0].kind, EntryFault::badSegment);
    EXPECT_EQ(build({0, 1, 2}, {1, -1}).findings[0].kind, EntryFault::badSegment);
    expectRefusal(build({0, 1, 3}, {2, 1}), EntryFault::overlongSegment, {0, 2, 1},
                  "Segment 0 ends before entry 2, but the next one begins at entry 1.");
    std::int64_t const huge = std::numeric_limits<std::int64_t>::max();
    std::int64_t const starts[] = {5, 6};
    EXPECT_EQ(
        fromCsc(1, packed(starts, 2), packed(indices, 3), packed(values, 3), MirroredPairs::once, packed(&huge, 1))
            .findings[0]
            .kind,
        EntryFault::overlongSegment);
}

TEST(FromCompressed, RefusesShortArraysAndReadsNothingBeyondThem)
{
    std::vector<int> const starts = {0, 1, 3}, columns = {0, 0, 1}, lengths = {1, 2};
    std::vector<double> const values = {2.0, -1.0, 2.0};
    auto const build = [&](std::size_t startCount, std::size_t columnCount, std::size_t valueCount,
                           std::size_t lengthCount) {
        // Copies of just the elements that the arrays are said to have.
        std::vector<int> const s(starts.begin(), starts.begin() + static_cast<std::ptrdiff_t>(startCount));
        std::vector<int> const c(columns.begin(), columns.begin() + static_cast<std::ptrdiff_t>(columnCount));
        std::vector<double> const v(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(valueCount));
        std::vector<int> const l(lengths.begin(), lengths.begin() + static_cast<std::ptrdiff_t>(lengthCount));
        return fromCsr(2, packed(s), packed(c), packed(v), MirroredPairs::once, packed(l));
    };
    EXPECT_TRUE(build(3, 3, 3, 2).succeeded());
    EXPECT_TRUE(build(3, 3, 3, 0).succeeded());
    expectRefusal(build(2, 3, 3, 2), EntryFault::shortArray, {3, 2}, "An array has 2 elements, and 3 are needed.");
    expectRefusal(build(0, 3, 3, 0), EntryFault::shortArray, {3, 0}, "An array has 0 elements, and 3 are needed.");
    expectRefusal(build(3, 2, 3, 0), EntryFault::shortArray, {3, 2}, "An array has 2 elements, and 3 are needed.");
    expectRefusal(build(3, 3, 1, 2), EntryFault::shortArray, {3, 1}, "An array has 1 elements, and 3 are needed.");
    expectRefusal(build(3, 3, 3, 1), EntryFault::shortArray, {2, 1}, "An array has 1 elements, and 2 are needed.");
}

TEST(FromCompressed, RefusesSegmentsBeyondAllMemory)
{
    // Where addresses have 32 bits, these ends must not wrap.
    std::int64_t const end = (std::int64_t{1} << 32) + 1;
    std::vector<std::int64_t> const starts = {0, end};
    std::vector<int> const indices = {0};
    std::vector<double> const values = {1.0};
    MatrixBuild const build = fromCsr(1, packed(starts), packed(indices), packed(values), MirroredPairs::once);
    ASSERT_EQ(build.findings.size(), 1U) << build.text();
    EXPECT_EQ(build.findings[0].kind, EntryFault::shortArray);
    EXPECT_EQ(build.findings[0].indices, (std::vector<std::int64_t>{end, 1}));
}

TEST(FromTriplets, RefusesAHugeSizeWithoutMemoryForItsRows)
{
    std::int64_t const rows = 5000000; // 120 MB of rows
    long long const before = test::allocatedBytes();
    expectRefusal(fromTriplets(rows, {{0, 0, 1.0}, {7, 3, 1.0}}), EntryFault::missingDiagonal, {1},
                  "Row 1 has no diagonal entry; 4999998 others have the same fault.");
    EXPECT_LT(test::allocatedBytes() - before, 100000);
}

TEST(FromTriplets, CountsBeyondAllMemoryAreRefusedOrMemoryThatRunsOut)
{
    std::size_t const huge = std::numeric_limits<std::size_t>::max();
    int const zero = 0;
    double const one = 1.0;
    Strided<int const> const all(&zero, huge, 0); // a stride of 0: all elements are the same
    MatrixBuild const build = fromTriplets(1, all, Strided<int const>(&zero, 3, 0), packed(&one, 1));
    ASSERT_EQ(build.findings.size(), 1U);
    EXPECT_EQ(build.findings[0].kind, EntryFault::shortArray);
    EXPECT_GT(build.findings[0].indices[0], 3);
    EXPECT_THROW(fromTriplets(1, all, all, Strided<double const>(&one, huge, 0)), std::bad_alloc);
}

TEST(FromCompressed, NamesTheEntryByItsPositionAndItsPlace)
{
    int const starts[] = {0, 1, 3};
    int const indices[] = {0, 5, 1};
    double const values[] = {1.0, 1.0, 1.0};
    expectRefusal(fromCsr(2, packed(starts, 3), packed(indices, 3), packed(values, 3), MirroredPairs::once),
                  EntryFault::columnOutOfRange, {1, 1, 5},
                  "Entry 1 (row 1, column 5) has a column outside the matrix.");
    expectRefusal(fromCsc(2, packed(starts, 3), packed(indices, 3), packed(values, 3), MirroredPairs::once),
                  EntryFault::rowOutOfRange, {1, 5, 1}, "Entry 1 (row 5, column 1) has a row outside the matrix.");
}

TEST(FromSparse, AcceptsATypeByItsInterface)
{
    MatrixBuild const build = sinew::fromSparse(HostMatrix(), MirroredPairs::summed);
    ASSERT_TRUE(build.succeeded()) << build.text();
    EXPECT_EQ(build.matrix.rows, (SPDMatrix{}.rows = {{{0, 2.0}}, {{0, -1.0}, {1, 2.5}}}));
    EXPECT_FALSE(sinew::detail::LooksLikeEigenSparse<std::vector<double>>::value);
}

TEST(FromSparse, RefusesATypeWithoutStarts)
{
    struct Vector : HostMatrix
    {
        std::uint64_t const* outerIndexPtr() const { return nullptr; }
    };
    expectRefusal(sinew::fromSparse(Vector(), MirroredPairs::summed), EntryFault::shortArray, {3, 0},
                  "An array has 0 elements, and 3 are needed.");
}

TEST(FromSparse, RefusesAMatrixThatIsNotSquare)
{
    HostMatrix matrix;
    matrix.size = 3;
    expectRefusal(sinew::fromSparse(matrix, MirroredPairs::once), EntryFault::notSquare, {3, 2},
                  "The matrix has 3 rows and 2 columns: it is not square.");
}

#ifdef SINEW_TEST_EIGEN
namespace {

template <typename EigenMatrix>
EigenMatrix eigenMatrix(int size, std::vector<Triplet> const& triplets)
{
    using Scalar = typename EigenMatrix::Scalar;
    using Index = typename EigenMatrix::StorageIndex;
    std::vector<Eigen::Triplet<Scalar, Index>> list;
    for (Triplet const& t : triplets) {
        list.emplace_back(static_cast<Index>(t.row), static_cast<Index>(t.column), static_cast<Scalar>(t.value));
    }
    EigenMatrix result(size, size);
    result.setFromTriplets(list.begin(), list.end());
    return result;
}

template <typename EigenMatrix>
void expectSameAsEigen(SPDMatrix const& matrix)
{
    auto const size = static_cast<int>(matrix.rows.size());
    EigenMatrix const full = eigenMatrix<EigenMatrix>(size, bothTriangles(matrix));
    MatrixBuild const build = sinew::fromSparse(full, MirroredPairs::verified);
    ASSERT_TRUE(build.succeeded()) << build.text();
    ASSERT_EQ(build.matrix.rows.size(), matrix.rows.size());
    for (int i = 0; i < size; ++i) {
        for (auto const& [c, v] : build.matrix.rows[i]) EXPECT_EQ(full.coeff(i, c), v);
    }
    SPDMatrix const expected = sortedRows(matrix);
    EigenMatrix loose = full;
    loose.uncompress();
    loose.reserve(std::vector<int>(size, 2));
    ASSERT_FALSE(loose.isCompressed());
    EXPECT_TRUE(test::sameBits(sinew::fromSparse(loose, MirroredPairs::verified).matrix.rows, build.matrix.rows));
    EigenMatrix const upper = full.template triangularView<Eigen::Upper>();
    EXPECT_TRUE(test::sameBits(sinew::fromSparse(upper, MirroredPairs::summed).matrix.rows, build.matrix.rows));
    EigenMatrix const lower = full.template triangularView<Eigen::Lower>();
    EXPECT_TRUE(test::sameBits(sinew::fromSparse(lower, MirroredPairs::once).matrix.rows, build.matrix.rows));
    if (sizeof(typename EigenMatrix::Scalar) == sizeof(double)) {
        EXPECT_TRUE(test::sameBits(build.matrix.rows, expected.rows));
    }
}

} // namespace

TEST(FromSparse, ReadsEigensMatricesOfAllKinds)
{
    Random random(20251212);
    for (int trial = 0; trial < 30; ++trial) {
        SCOPED_TRACE(trial);
        SPDMatrix const matrix = test::randomShape(random, 60);
        expectSameAsEigen<Eigen::SparseMatrix<double>>(matrix);
        expectSameAsEigen<Eigen::SparseMatrix<double, Eigen::RowMajor>>(matrix);
        expectSameAsEigen<Eigen::SparseMatrix<double, Eigen::ColMajor, std::int64_t>>(matrix);
        expectSameAsEigen<Eigen::SparseMatrix<float, Eigen::RowMajor, std::int64_t>>(matrix);
    }
}
#endif
