#include <sinew/sparse/factor_arrays.h>

#include <gtest/gtest.h>

#include "sparse/matrices.h"
#include "support/bits.h"
#include "support/random.h"

#ifdef SINEW_TEST_EIGEN
#include <Eigen/Sparse>
#endif

using sinew::CompactFactor;
using sinew::Triplet;
using test::Random;

namespace {

// The entries by columns, from the lists `Mt`.
std::vector<Triplet> plainTriplets(LLTMatrix const& factor)
{
    std::vector<Triplet> result;
    for (int c = 0; c < static_cast<int>(factor.diag.size()); ++c) {
        result.push_back({c, c, factor.diag[static_cast<std::size_t>(c)]});
        for (auto const& [r, v] : factor.Mt[static_cast<std::size_t>(c)]) result.push_back({r, c, v});
    }
    return result;
}

bool sameTriplets(std::vector<Triplet> const& a, std::vector<Triplet> const& b)
{
    if (a.size() != b.size()) return false;
    for (std::size_t k = 0; k < a.size(); ++k) {
        if (a[k].row != b[k].row || a[k].column != b[k].column || !test::sameBits(a[k].value, b[k].value)) return false;
    }
    return true;
}

template <typename Index>
std::vector<Triplet> tripletsOf(sinew::CscFactor<Index> const& factor)
{
    std::vector<Triplet> result;
    EXPECT_EQ(factor.rows.size(), factor.values.size());
    for (std::size_t c = 0; c + 1 < factor.starts.size(); ++c) {
        for (Index k = factor.starts[c]; k < factor.starts[c + 1]; ++k) {
            auto const at = static_cast<std::size_t>(k);
            result.push_back({static_cast<int>(factor.rows.at(at)), static_cast<int>(c), factor.values.at(at)});
        }
    }
    EXPECT_EQ(result.size(), factor.rows.size());
    return result;
}

template <typename Factor>
void expectArrays(Factor const& factor, LLTMatrix const& lists)
{
    std::vector<Triplet> const expected = plainTriplets(lists);
    EXPECT_TRUE(sameTriplets(sinew::toTriplets(factor).triplets, expected));
    EXPECT_TRUE(sameTriplets(tripletsOf(sinew::toCsc(factor)), expected));
    EXPECT_TRUE(sameTriplets(tripletsOf(sinew::toCsc64(factor)), expected));
    EXPECT_EQ(sinew::toTriplets(factor).perm, lists.perm);
    EXPECT_EQ(sinew::toCsc(factor).perm, lists.perm);
    EXPECT_EQ(sinew::toCsc64(factor).perm, lists.perm);
    EXPECT_EQ(sinew::toCsc(factor).starts.size(), lists.rows.empty() ? 0U : lists.rows.size() + 1);
}

} // namespace

TEST(FactorArrays, HoldTheEntriesByColumns)
{
    Random random(20251240);
    for (int trial = 0; trial < 40; ++trial) {
        SCOPED_TRACE(trial);
        SPDMatrix const matrix = test::randomShape(random, 150);
        LLTMatrix const lists = matrix.factor();
        expectArrays(lists, lists);
        expectArrays(CompactFactor(matrix), lists);
    }
}

TEST(FactorArrays, AreEmptyWithoutAFactor)
{
    expectArrays(LLTMatrix(), LLTMatrix());
    expectArrays(CompactFactor(), LLTMatrix());
    SPDMatrix matrix;
    matrix.rows = {{{0, 4.0}}, {{0, 1.0}, {1, 4.0}}};
    CompactFactor failed(matrix);
    matrix.rows[0][0].second = -1.0;
    ASSERT_FALSE(failed.refactor(matrix));
    expectArrays(failed, LLTMatrix());
}

TEST(FactorArrays, AreEmptyForFieldsThatDoNotFitTogether)
{
    SPDMatrix matrix;
    matrix.rows = {{{0, 4.0}}, {{0, 1.0}, {1, 4.0}}};
    LLTMatrix const good = matrix.factor();
    auto const isEmpty = [&](auto change) {
        LLTMatrix lists = good;
        change(lists);
        return sinew::toCsc(lists).starts.empty() && sinew::toCsc64(lists).perm.empty() &&
               sinew::toTriplets(lists).triplets.empty();
    };
    EXPECT_FALSE(isEmpty([](LLTMatrix&) {}));
    EXPECT_TRUE(isEmpty([](LLTMatrix& f) { f.diag.pop_back(); }));
    EXPECT_TRUE(isEmpty([](LLTMatrix& f) { f.perm.push_back(2); }));
    for (int column : {-1, 1, 2}) {
        EXPECT_TRUE(isEmpty([column](LLTMatrix& f) { f.rows[1][0].first = column; })) << column;
    }
}

#ifdef SINEW_TEST_EIGEN
TEST(FactorArrays, TimesItsTransposeIsThePermutedMatrix)
{
    Random random(20251213);
    for (int trial = 0; trial < 30; ++trial) {
        SCOPED_TRACE(trial);
        SPDMatrix const matrix = test::randomShape(random, 60);
        auto const size = static_cast<int>(matrix.rows.size());
        sinew::CscFactor<int> const arrays = sinew::toCsc(matrix.factor());
        Eigen::Map<Eigen::SparseMatrix<double> const> const factor(size, size, static_cast<int>(arrays.rows.size()),
                                                                   arrays.starts.data(), arrays.rows.data(),
                                                                   arrays.values.data());
        Eigen::MatrixXd expected = Eigen::MatrixXd::Zero(size, size);
        for (int i = 0; i < size; ++i) {
            for (auto const& [c, v] : matrix.rows[static_cast<std::size_t>(i)]) {
                int const a = arrays.perm[static_cast<std::size_t>(i)];
                int const b = arrays.perm[static_cast<std::size_t>(c)];
                expected(a, b) = expected(b, a) = v;
            }
        }
        Eigen::MatrixXd const product = Eigen::MatrixXd(factor) * Eigen::MatrixXd(factor).transpose();
        // The rounding of at most `size` products of numbers below the largest diagonal entry, about 200.
        EXPECT_LE((product - expected).cwiseAbs().maxCoeff(), 1e-11);
    }
}
#endif
