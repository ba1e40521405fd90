#include <sinew/skinning/weights.h>

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace {

using sinew::checkWeights;
using sinew::WeightFault;
using sinew::WeightProblem;

double const kNaN = std::numeric_limits<double>::quiet_NaN();
double const kInfinity = std::numeric_limits<double>::infinity();

std::vector<WeightFault> faultsOf(std::vector<std::pair<int, double>> list, std::size_t bones = 2)
{
    BoneWeightTable table;
    table.influences = {std::move(list)};
    std::vector<WeightFault> faults;
    for (WeightProblem const& problem : checkWeights(table, 1, bones)) faults.push_back(problem.fault);
    return faults;
}

using Faults = std::vector<WeightFault>;

} // namespace

TEST(CheckWeights, FindsNothingInSoundWeights)
{
    EXPECT_EQ(faultsOf({{0, 0.25}, {1, 0.75}}), Faults());
    EXPECT_EQ(faultsOf({{1, 1.0}}), Faults());
}

TEST(CheckWeights, ToleratesSumsOfSinglePrecision)
{
    EXPECT_EQ(faultsOf({{0, 0.1f}, {1, 0.9f}}), Faults());
    EXPECT_EQ(faultsOf({{0, 0.5}, {1, 0.50001}}), Faults{WeightFault::sumNotOne});
    EXPECT_EQ(faultsOf({{0, 0.5}, {1, 0.49999}}), Faults{WeightFault::sumNotOne});
}

TEST(CheckWeights, NamesEveryFaultOnceInOrder)
{
    EXPECT_EQ(faultsOf({}), Faults{WeightFault::noInfluence});
    EXPECT_EQ(faultsOf({{2, 1.0}}), Faults{WeightFault::boneOutOfRange});
    EXPECT_EQ(faultsOf({{-1, 1.0}}), Faults{WeightFault::boneOutOfRange});
    EXPECT_EQ(faultsOf({{0, -0.5}, {1, 1.5}}), Faults{WeightFault::negativeWeight});
    EXPECT_EQ(faultsOf({{0, kNaN}, {1, 1.0}}), Faults{WeightFault::notFinite});
    EXPECT_EQ(faultsOf({{5, -kInfinity}, {6, -1.0}}),
              (Faults{WeightFault::boneOutOfRange, WeightFault::notFinite, WeightFault::negativeWeight}));
}

TEST(CheckWeights, ReportsVerticesThatTheTableDoesNotReach)
{
    BoneWeightTable table;
    table.influences = {{{0, 1.0}}};
    std::vector<WeightProblem> const problems = checkWeights(table, 3, 1);
    ASSERT_EQ(problems.size(), 2u);
    EXPECT_EQ(problems[0].fault, WeightFault::listMissing);
    EXPECT_EQ(problems[0].vertex, 1);
    EXPECT_EQ(problems[1].vertex, 2);
    EXPECT_EQ(problems[1].sentence, "vertex 2: the table holds lists for 1 vertices only");
}

TEST(CheckWeights, LooksAtNoListBeyondTheVertices)
{
    BoneWeightTable table;
    table.influences = {{{0, 1.0}}, {}};
    EXPECT_TRUE(checkWeights(table, 1, 1).empty());
    EXPECT_TRUE(checkWeights(BoneWeightTable(), 0, 0).empty());
}

TEST(NormalizeWeights, DividesByTheSum)
{
    BoneWeightTable table;
    table.influences = {{{0, 1.0}, {1, 3.0}}, {{1, 0.1}}};
    EXPECT_EQ(sinew::normalizeWeights(table), 0u);
    EXPECT_EQ(table.influences[0], (std::vector<std::pair<int, double>>{{0, 0.25}, {1, 0.75}}));
    EXPECT_EQ(table.influences[1][0].second, 1.0);
}

TEST(NormalizeWeights, LeavesWhatHasNoPositiveFiniteSum)
{
    BoneWeightTable table;
    table.influences = {{}, {{0, 0.0}}, {{0, -1.0}, {1, 0.5}}, {{0, kInfinity}}, {{0, kNaN}}, {{0, 2.0}}};
    EXPECT_EQ(sinew::normalizeWeights(table), 5u);
    EXPECT_EQ(table.influences[1][0].second, 0.0);
    EXPECT_EQ(table.influences[2][0].second, -1.0);
    EXPECT_EQ(table.influences[3][0].second, kInfinity);
    EXPECT_TRUE(std::isnan(table.influences[4][0].second));
    EXPECT_EQ(table.influences[5][0].second, 1.0);
}
