#include <sinew/sparse/detail/factorization.h>

#include <limits>

#include <gtest/gtest.h>

#include <sinew/sparse/symbolic_factor.h>

#include "sparse/matrices.h"
#include "sparse/reference_sparse.h"
#include "support/failing_new.h"
#include "support/random.h"
#include "support/vector_widths.h"

using sinew::detail::Factorization;
using sinew::detail::FactorMethod;
using sinew::detail::NumericResult;
using sinew::detail::VectorWidth;
using test::Random;

namespace {

struct Variant
{
    FactorMethod method;
    VectorWidth width;

    std::string name() const
    {
        if (method == FactorMethod::rows) return "rows";
        return "panels, vector width " + std::to_string(static_cast<int>(width));
    }
    NumericResult factor(SPDMatrix const& matrix, std::vector<int> const& perm) const
    {
        return Factorization(matrix.rows, perm, method).factor(matrix.rows, width);
    }
};

// Both methods, and the panels at every vector width of this machine, the baseline first.
std::vector<Variant> variants()
{
    std::vector<Variant> result = {{FactorMethod::rows, VectorWidth::baseline}};
    for (VectorWidth width : test::vectorWidths()) result.push_back({FactorMethod::panels, width});
    return result;
}

void expectAsReference(SPDMatrix const& matrix)
{
    std::vector<int> const perm = matrix.computePerm();
    LLTMatrix const expected = reference::factor(matrix, perm);
    for (Variant const& variant : variants()) {
        SCOPED_TRACE(variant.name());
        NumericResult const result = variant.factor(matrix, perm);
        EXPECT_EQ(result.failedAt >= 0, expected.rows.empty() && !matrix.rows.empty());
        if (result.failedAt >= 0) continue;
        EXPECT_EQ(test::difference(result.factor, expected), "");
    }
}

// A random, diagonally dominant matrix with all n (n + 1) / 2 entries of its lower triangle.
SPDMatrix dense(int n, Random& random)
{
    return test::matrixOf(test::hubs(n, n), n, random);
}

} // namespace

TEST(Factorization, EveryVariantGivesTheBitsOfTheReference)
{
    Random random(20250340);
    for (int trial = 0; trial < 1000; ++trial) {
        SCOPED_TRACE(trial);
        expectAsReference(test::randomShape(random, trial % 10 == 0 ? 400 : 60));
        if (HasFailure()) return;
    }
}

TEST(Factorization, EveryVariantAgreesOnWidePanels)
{
    Random random(20250341);
    for (int n : {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 33, 47, 48, 49, 64, 65, 95, 97, 130}) {
        SCOPED_TRACE(n);
        expectAsReference(dense(n, random));
    }
    expectAsReference(test::matrixOf(test::grid3D(12), 1728, random));
    expectAsReference(test::matrixOf(test::grid2D(70, 70), 4900, random));
    expectAsReference(test::matrixOf(test::randomGraph(500, 2500, random), 500, random));
    expectAsReference(test::matrixOf(test::shuffled(test::surfaceMesh(60, random), 3600, random), 3600, random));
}

TEST(Factorization, EveryVariantAgreesOnHostileValues)
{
    Random random(20250342);
    for (int trial = 0; trial < 500; ++trial) {
        SCOPED_TRACE(trial);
        SPDMatrix matrix = trial % 3 ? test::randomShape(random, 120) : dense(1 + random.below(70), random);
        for (auto& row : matrix.rows) {
            for (auto& entry : row) {
                if (random.oneIn(200)) entry.second = random.hostile();
            }
        }
        expectAsReference(matrix);
        if (HasFailure()) return;
    }
}

TEST(Factorization, EveryVariantAgreesOnDenormalsAndHugeNumbers)
{
    Random random(20250343);
    for (double scale : {1e-310, 1e-160, 1e150, 1e300}) {
        SPDMatrix matrix = test::matrixOf(test::grid2D(15, 15), 225, random);
        for (auto& row : matrix.rows) {
            for (auto& entry : row) entry.second *= scale;
        }
        expectAsReference(matrix);
    }
}

TEST(Factorization, EveryVariantStopsAtTheFirstBadPivot)
{
    Random random(20250344);
    for (int trial = 0; trial < 200; ++trial) {
        SCOPED_TRACE(trial);
        SPDMatrix matrix = test::randomShape(random, 150);
        int const n = static_cast<int>(matrix.rows.size());
        for (int k = 0; k < 2; ++k)
            matrix.rows[static_cast<std::size_t>(random.below(n))].back().second = -random.uniform(0.0, 1.0);
        std::vector<int> const perm = matrix.computePerm();
        int failedAt = -1;
        double pivot = 0;
        for (Variant const& variant : variants()) {
            NumericResult const result = variant.factor(matrix, perm);
            ASSERT_GE(result.failedAt, 0);
            ASSERT_EQ(result.pivots.size(), static_cast<std::size_t>(result.failedAt) + 1);
            if (failedAt < 0) {
                failedAt = result.failedAt;
                pivot = result.pivots.back();
            }
            EXPECT_EQ(result.failedAt, failedAt) << variant.name();
            EXPECT_EQ(result.pivots.back(), pivot) << variant.name();
            EXPECT_LE(pivot, 0.0);
        }
    }
}

TEST(Factorization, CountsEntriesAndUpdates)
{
    // A path of three nodes has no fill-in: two entries, and one product for each pivot after the first.
    SPDMatrix path;
    path.rows = {{{0, 2.0}}, {{0, -1.0}, {1, 2.0}}, {{1, -1.0}, {2, 2.0}}};
    Factorization const ofPath(path.rows, path.computePerm());
    EXPECT_EQ(ofPath.entryCount(), 2);
    EXPECT_EQ(ofPath.updateCount(), 2);
    // A full 4 x 4 matrix has 3 + 2 + 1 entries below the diagonal. A column with m of them updates m pivots and
    // m (m - 1) / 2 entries.
    Random random(20250345);
    SPDMatrix const full = dense(4, random);
    Factorization const ofFull(full.rows, full.computePerm());
    EXPECT_EQ(ofFull.entryCount(), 6);
    EXPECT_EQ(ofFull.updateCount(), 6 + 3 + 1);
}

// A product with a zero of a block's upper triangle changes nothing, unless the other factor is not finite.
TEST(Factorization, EveryVariantAgreesOnInfinitiesAndNaNInLargeMatrices)
{
    Random random(20250346);
    double const wild[] = {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
                           std::numeric_limits<double>::quiet_NaN(), 1e200};
    for (int trial = 0; trial < 60; ++trial) {
        SCOPED_TRACE(trial);
        int const n = 1100;
        SPDMatrix matrix = trial % 2 ? test::matrixOf(test::randomGraph(n, 2 * n, random), n, random)
                                     : test::matrixOf(test::grid2D(30, 37), 30 * 37, random);
        for (int k = 0; k < 1 + trial % 3; ++k) {
            auto& row = matrix.rows[static_cast<std::size_t>(random.below(static_cast<int>(matrix.rows.size())))];
            auto const entry = static_cast<std::size_t>(random.below(static_cast<int>(row.size())));
            bool const isDiagonal = entry + 1 == row.size();
            row[entry].second = isDiagonal ? wild[0] : wild[random.below(4)]; // a negative pivot would end the trial
        }
        expectAsReference(matrix);
        if (HasFailure()) return;
    }
}

namespace {

std::int64_t bytesOf(LLTMatrix const& factor)
{
    std::size_t bytes = factor.diag.size() * sizeof(double) + factor.perm.size() * sizeof(int);
    for (auto const* lists : {&factor.rows, &factor.Mt}) {
        for (auto const& list : *lists) bytes += sizeof list + list.size() * sizeof list[0];
    }
    return static_cast<std::int64_t>(bytes);
}

} // namespace

TEST(Factorization, CountsTheBytesThatItHoldsAndThatFactoringTakes)
{
    Random random(20261122);
    SPDMatrix const matrix = test::matrixOf(test::grid2D(40, 40), 1600, random);
    std::int64_t const n = 1600;
    for (FactorMethod method : {FactorMethod::rows, FactorMethod::panels}) {
        SCOPED_TRACE(method == FactorMethod::rows ? "rows" : "panels");
        Factorization const analysis(matrix.rows, matrix.computePerm(), method);
        std::int64_t const before = test::allocatedBytes();
        Factorization const copied(analysis);
        std::int64_t const between = test::allocatedBytes();
        NumericResult const result = copied.factor(matrix.rows);
        std::int64_t const after = test::allocatedBytes();
        EXPECT_EQ(between - before, analysis.bytes()) << "a copy allocates what the object holds";
        // The count of the work is rounded up to the method that needs more, at most two numbers a row, and leaves out
        // the padding behind the last panel and a few numbers for each earlier panel.
        std::int64_t const work = after - between - bytesOf(result.factor);
        EXPECT_LE(work, analysis.workBytes() + 4096);
        EXPECT_GE(work, analysis.workBytes() - 2 * n * static_cast<std::int64_t>(sizeof(double)));
    }
}

TEST(SymbolicFactor, CountsThePatternAndTheAnalysisAsItsBytes)
{
    Random random(20261123);
    SPDMatrix const matrix = test::matrixOf(test::grid2D(40, 40), 1600, random);
    Factorization const analysis(matrix.rows, matrix.computePerm());
    std::int64_t pattern = 0;
    for (auto const& row : matrix.rows) {
        pattern += static_cast<std::int64_t>(sizeof(std::vector<int>) + row.size() * sizeof(int));
    }
    EXPECT_EQ(sinew::SymbolicFactor(matrix).workBytes(), pattern + analysis.bytes() + analysis.workBytes());
}
