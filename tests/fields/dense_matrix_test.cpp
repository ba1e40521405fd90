#include <sinew/fields/dense_matrix.h>

#include <limits>
#include <new>

#include <gtest/gtest.h>

#include "fields/reference_implicit.h"
#include "support/bits.h"
#include "support/failing_new.h"
#include "support/random.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

template <typename T = double>
matrix<T> square(int n, std::vector<T> const& entries)
{
    matrix<T> m(n, n);
    m.entries = entries;
    return m;
}

std::vector<double> referenceInverse(matrix<double> const& m)
{
    reference::Rows rows(static_cast<std::size_t>(m.rows));
    for (int i = 0; i < m.rows; ++i) {
        for (int j = 0; j < m.rows; ++j) rows[static_cast<std::size_t>(i)].push_back(m(i, j));
    }
    std::vector<double> result;
    for (auto const& row : reference::inverse(rows)) result.insert(result.end(), row.begin(), row.end());
    return result;
}

::testing::AssertionResult sameInverse(matrix<double> const& m)
{
    matrix<double> const inverse = !m;
    if (inverse.rows != m.rows || inverse.columns != m.rows) return ::testing::AssertionFailure() << "size";
    std::vector<double> const expected = referenceInverse(m);
    for (std::size_t i = 0; i < expected.size(); ++i) {
        if (!test::sameBits(inverse.entries[i], expected[i])) {
            return ::testing::AssertionFailure()
                   << "entry " << i << ": " << inverse.entries[i] << ", expected " << expected[i];
        }
    }
    return ::testing::AssertionSuccess();
}

// A square matrix whose entries `entry` generates.
template <typename Entry>
matrix<double> filled(int n, Entry entry)
{
    matrix<double> m(n, n);
    for (double& value : m.entries) value = entry();
    return m;
}

// Sizes on both sides of every block boundary up to 64.
constexpr int kSizes[] = {0, 1, 2, 3, 4, 5, 8, 15, 16, 17, 31, 32, 33, 47, 48, 49, 63, 64, 65};

} // namespace

TEST(DenseMatrix, ASizeThatNoMemoryHasIsRefused)
{
    // The number of entries is 1, modulo 2^32.
    constexpr int kLargest = std::numeric_limits<int>::max();
    EXPECT_THROW(matrix<double>(kLargest, kLargest), std::bad_alloc);
    if (sizeof(std::size_t) == 4) {
        EXPECT_THROW(matrix<double>(1 << 16, 1 << 16), std::bad_alloc); // 0, modulo 2^32
        EXPECT_THROW(matrix<char>(1 << 16, 1 << 15), std::bad_alloc);   // 2^31
    }
}

TEST(DenseMatrix, EntriesStartAtZeroAndAreStoredRowByRow)
{
    matrix<double> m(2, 3);
    EXPECT_EQ(m.rows, 2);
    EXPECT_EQ(m.columns, 3);
    EXPECT_EQ(m.entries, std::vector<double>(6, 0.0));
    m(1, 0) = 5;
    EXPECT_EQ(m.entries[3], 5);
}

TEST(DenseMatrix, NegativeSizeIsEmpty)
{
    EXPECT_EQ(matrix<double>(-1, 3).rows, 0);
    EXPECT_EQ(matrix<double>(3, -1).rows, 0);
    EXPECT_TRUE(matrix<double>(-1, -1).entries.empty());
}

TEST(DenseMatrix, JumpingIteratorVisitsAColumn)
{
    std::vector<int> const rows = {1, 2, 3, 4, 5, 6};
    using Column = jumping_iterator<std::vector<int>::const_iterator>;
    std::vector<int> column;
    for (Column i(rows.begin(), 1, 2); i != Column(rows.begin(), 7, 2); i++) column.push_back(*i);
    EXPECT_EQ(column, (std::vector<int>{2, 4, 6}));
}

TEST(DenseMatrix, AbsoluteKeepsNaN)
{
    EXPECT_EQ(absolute(-2.5), 2.5);
    EXPECT_EQ(absolute(2.5), 2.5);
    EXPECT_NE(absolute(kNaN), absolute(kNaN));
}

TEST(DenseMatrixInverse, InvertsKnownMatrices)
{
    EXPECT_EQ((!square(2, {2, 0, 0, 4})).entries, (std::vector<double>{0.5, 0, 0, 0.25}));
    EXPECT_EQ((!square(2, {0, 1, 1, 0})).entries, (std::vector<double>{0, 1, 1, 0})) << "a row swap";
    EXPECT_EQ((!square(2, {1, 2, 3, 4})).entries.size(), 4U);
    EXPECT_NEAR((!square(2, {1, 2, 3, 4}))(1, 0), 1.5, 1e-15);
}

TEST(DenseMatrixInverse, WorksForOtherNumberTypes)
{
    EXPECT_EQ((!square<float>(2, {2, 0, 0, 4})).entries, (std::vector<float>{0.5F, 0, 0, 0.25F}));
    EXPECT_EQ((!square<float>(2, {1, 2, 2, 4})).entries, (std::vector<float>{1, 2, 0, 0}))
        << "the pivot row (2, 4) is swapped up and scaled; the other row is reduced to zero";
}

TEST(DenseMatrixInverse, IsEmptyIfTheMatrixIsNotSquareOrInconsistent)
{
    matrix<double> const none = !matrix<double>(2, 3);
    EXPECT_EQ(none.rows, 0);
    EXPECT_EQ(none.columns, 0);
    EXPECT_TRUE(none.entries.empty());
    matrix<double> cut(2, 2);
    cut.entries.pop_back();
    EXPECT_EQ((!cut).rows, 0);
    matrix<float> cutFloats(2, 2);
    cutFloats.entries.pop_back();
    EXPECT_EQ((!cutFloats).rows, 0);
    matrix<double> negative(0, 2);
    negative.columns = -2;
    EXPECT_FALSE(negative.isConsistent());
    negative.rows = -2;
    EXPECT_EQ((!negative).rows, 0);
    EXPECT_EQ((!matrix<double>()).rows, 0);
}

TEST(DenseMatrixInverse, ZeroPivotReturnsThePartlyReducedCopy)
{
    // Column 0 is eliminated with the pivot 2 from row 1. Column 1 then contains only zeros below its diagonal.
    matrix<double> const result = !square(3, {1, 2, 5, 2, 4, 6, 0, 0, 7});
    EXPECT_EQ(result.entries, (std::vector<double>{1, 2, 3, 0, 0, 2, 0, 0, 7}));
    EXPECT_EQ((!square(2, {0, 5, 0, 6})).entries, (std::vector<double>{0, 5, 0, 6}))
        << "the elimination stops before any change";
}

TEST(DenseMatrixInverse, OfEqualMagnitudesTheFirstIsThePivot)
{
    // All magnitudes in column 0 are 3.
    matrix<double> const m = square(3, {3, 1, 0, -3, 1, 0, 3, 5, 0});
    matrix<double> const result = !m;
    ASSERT_TRUE(test::sameBits(result.entries, referenceInverse(m)));
    EXPECT_EQ(result(0, 0), 1.0);
    EXPECT_EQ(result(1, 1), 1.0) << "in column 1, row 2 (5 - 1 = 4) is chosen before row 1 (1 + 1 = 2)";
}

TEST(DenseMatrixInverse, SkipsFactorsOfZeroAndOne)
{
    // A row with a factor of zero keeps the signs of its zeros, and an infinity in the pivot row does not change it.
    EXPECT_TRUE(sameInverse(square(2, {1, kInfinity, 0, 1})));
    matrix<double> const m = square(3, {1, kNaN, 0, 0, 1, -0.0, 0, 0, 1});
    EXPECT_TRUE(sameInverse(m));
    EXPECT_EQ((!m)(2, 2), 1.0) << "all factors of row 2 are zero";
    // A pivot of 1 is not divided by; a pivot of -1 is, which changes the signs of zeros.
    EXPECT_TRUE(sameInverse(square(2, {-1, 0, 0, 1})));
    EXPECT_TRUE(std::signbit((!square(2, {-1, 0, 0, 1}))(0, 1))) << "0.0 times -1";
}

TEST(DenseMatrixInverse, EqualsTheReferenceOnRandomMatrices)
{
    test::Random random(401);
    for (int n : kSizes) {
        SCOPED_TRACE(n);
        EXPECT_TRUE(sameInverse(filled(n, [&] { return random.uniform(); })));
        EXPECT_TRUE(sameInverse(filled(n, [&] { return random.spread(); })));
    }
    EXPECT_TRUE(sameInverse(filled(150, [&] { return random.uniform(); })));
}

TEST(DenseMatrixInverse, EqualsTheReferenceOnSparseMatricesOfSmallIntegers)
{
    // They have many ties, exact zeros of both signs and factors of one, and some are singular.
    test::Random random(402);
    for (int n : kSizes) {
        for (int trial = 0; trial < 30; ++trial) {
            SCOPED_TRACE(testing::Message() << n << " " << trial);
            int const sparsity = 1 + random.below(n / 2 + 2);
            EXPECT_TRUE(sameInverse(filled(n, [&] {
                double const value = random.oneIn(sparsity) ? random.below(5) - 2 : 0;
                return random.oneIn(2) ? value : -value;
            })));
        }
    }
}

TEST(DenseMatrixInverse, EqualsTheReferenceOnSignedPermutations)
{
    test::Random random(403);
    for (int n : kSizes) {
        SCOPED_TRACE(n);
        matrix<double> m(n, n);
        std::vector<int> order(static_cast<std::size_t>(n));
        for (int i = 0; i < n; ++i) order[static_cast<std::size_t>(i)] = i;
        for (int i = n - 1; i > 0; --i) {
            std::swap(order[static_cast<std::size_t>(i)], order[static_cast<std::size_t>(random.below(i + 1))]);
        }
        for (int i = 0; i < n; ++i) m(i, order[static_cast<std::size_t>(i)]) = random.oneIn(2) ? 1.0 : -2.0;
        EXPECT_TRUE(sameInverse(m));
    }
}

TEST(DenseMatrixInverse, EqualsTheReferenceIfAColumnIsZero)
{
    // The zero pivot is at every position of a block in turn; all columns before it are eliminated.
    test::Random random(404);
    for (int n : {17, 33, 40}) {
        for (int zero = 0; zero < n; ++zero) {
            SCOPED_TRACE(testing::Message() << n << " " << zero);
            matrix<double> m = filled(n, [&] { return random.uniform(); });
            for (int i = 0; i < n; ++i) m(i, zero) = 0.0;
            EXPECT_TRUE(sameInverse(m));
        }
    }
}

TEST(DenseMatrixInverse, EqualsTheReferenceOnHostileNumbers)
{
    test::Random random(405);
    for (int n : kSizes) {
        for (int trial = 0; trial < 20; ++trial) {
            SCOPED_TRACE(testing::Message() << n << " " << trial);
            EXPECT_TRUE(sameInverse(filled(n, [&] { return random.hostile(); })));
            // With one such entry among ordinary ones the elimination advances before it meets that entry.
            matrix<double> m = filled(n, [&] { return random.uniform(); });
            double const odd[] = {kNaN, kInfinity, -kInfinity, 1e308, 4e-320, -0.0};
            if (n > 0) m(random.below(n), random.below(n)) = odd[random.below(6)];
            EXPECT_TRUE(sameInverse(m));
        }
    }
}

TEST(DenseMatrixProduct, SumsColumnsInAscendingOrder)
{
    matrix<double> m(2, 3);
    m.entries = {1e16, 1, -1e16, 1, 2, 3};
    EXPECT_EQ(m * std::vector<double>({1, 1, 1}), (std::vector<double>{0, 6})) << "1e16 + 1 rounds the 1 away";
    m.entries = {1e16, -1e16, 1, 1, 2, 3};
    EXPECT_EQ(m * std::vector<double>({1, 1, 1}), (std::vector<double>{1, 6}));
}

TEST(DenseMatrixProduct, SumsStartWithTheirFirstTerm)
{
    matrix<double> m(1, 1);
    m(0, 0) = 1;
    EXPECT_TRUE(std::signbit((m * std::vector<double>{-0.0})[0])) << "a sum from 0.0 would lose the sign";
}

TEST(DenseMatrixProduct, UnequalSizesGiveNothingAndNoColumnsGiveZeros)
{
    EXPECT_TRUE((matrix<double>(2, 3) * std::vector<double>(2)).empty());
    EXPECT_EQ(matrix<double>(2, 0) * std::vector<double>(), std::vector<double>(2, 0.0));
    EXPECT_TRUE((matrix<double>(0, 2) * std::vector<double>(2)).empty());
}

TEST(DenseMatrix, AProductWithoutColumnsAllocatesOneElementForEachRow)
{
    matrix<double> const m(1000, 0);
    ASSERT_TRUE(m.isConsistent());
    long long const before = test::allocatedBytes();
    std::vector<double> const product = m * std::vector<double>();
    EXPECT_EQ(test::allocatedBytes() - before, 8000);
    EXPECT_EQ(product, std::vector<double>(1000, 0.0));
}
