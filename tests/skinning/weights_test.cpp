#include <sinew/skinning/weights.h>

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "support/comma_locale.h"

namespace {

using sinew::diagnose;
using sinew::WeightDiagnosis;
using sinew::WeightFault;
using Influences = std::vector<std::pair<int, double>>;
using Faults = std::vector<WeightFault>;
using Indices = std::vector<std::int64_t>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr std::size_t kBones = 2;

WeightDiagnosis diagnoseList(Influences list)
{
    BoneWeightTable table;
    table.influences = {std::move(list)};
    return diagnose(table, 1, kBones);
}

Faults faultsOf(Influences list)
{
    Faults faults;
    for (auto const& finding : diagnoseList(std::move(list)).findings) faults.push_back(finding.kind);
    return faults;
}

// The only finding about the list.
sinew::Finding<WeightFault> findingOf(Influences list)
{
    WeightDiagnosis const diagnosis = diagnoseList(std::move(list));
    EXPECT_EQ(diagnosis.findings.size(), 1u);
    return diagnosis.findings.at(0);
}

} // namespace

TEST(DiagnoseWeights, FindsNothingInValidWeights)
{
    EXPECT_EQ(faultsOf({{0, 0.25}, {1, 0.75}}), Faults());
    EXPECT_EQ(faultsOf({{1, 1.0}}), Faults());
    EXPECT_EQ(diagnoseList({{1, 1.0}}).text(), "");
}

TEST(DiagnoseWeights, AcceptsSumsOfSinglePrecisionWeights)
{
    EXPECT_EQ(faultsOf({{0, 0.1f}, {1, 0.9f}}), Faults());
    EXPECT_EQ(faultsOf({{0, 0.5}, {1, 0.50001}}), Faults{WeightFault::sumNotOne});
    EXPECT_EQ(faultsOf({{0, 0.5}, {1, 0.49999}}), Faults{WeightFault::sumNotOne});
}

TEST(DiagnoseWeights, ReportsEachFaultOnceInTheOrderOfTheKinds)
{
    EXPECT_EQ(faultsOf({}), Faults{WeightFault::noInfluence});
    EXPECT_EQ(faultsOf({{2, 1.0}}), Faults{WeightFault::boneOutOfRange});
    EXPECT_EQ(faultsOf({{-1, 1.0}}), Faults{WeightFault::boneOutOfRange});
    EXPECT_EQ(faultsOf({{0, -0.5}, {1, 1.5}}), Faults{WeightFault::negativeWeight});
    EXPECT_EQ(faultsOf({{0, kNaN}, {1, 1.0}}), Faults{WeightFault::notFinite});
    EXPECT_EQ(faultsOf({{5, -kInfinity}, {6, -1.0}}),
              (Faults{WeightFault::boneOutOfRange, WeightFault::notFinite, WeightFault::negativeWeight}));
}

TEST(DiagnoseWeights, ReportsVerticesBeyondTheEndOfTheTable)
{
    BoneWeightTable table;
    table.influences = {{{0, 1.0}}};
    auto const findings = diagnose(table, 3, 1).findings;
    ASSERT_EQ(findings.size(), 2u);
    EXPECT_EQ(findings[0].kind, WeightFault::listMissing);
    EXPECT_EQ(findings[0].indices, Indices{1});
    EXPECT_EQ(findings[1].indices, Indices{2});
    EXPECT_EQ(findings[1].value, 1.0) << "the number of lists";
    EXPECT_EQ(findings[1].sentence, "Vertex 2 has no influence list; the number of lists in the table is 1.");
}

TEST(DiagnoseWeights, IgnoresListsBeyondTheVertices)
{
    BoneWeightTable table;
    table.influences = {{{0, 1.0}}, {}};
    EXPECT_TRUE(diagnose(table, 1, 1).findings.empty());
    EXPECT_TRUE(diagnose(BoneWeightTable(), 0, 0).findings.empty());
}

TEST(DiagnoseWeights, IndicesAndValueDescribeTheFirstInfluenceConcerned)
{
    auto const empty = findingOf({});
    EXPECT_EQ(empty.indices, Indices{0});
    EXPECT_EQ(empty.value, 0.0);
    auto const outOfRange = findingOf({{0, 0.5}, {7, 0.25}, {-3, 0.25}});
    EXPECT_EQ(outOfRange.indices, (Indices{0, 7}));
    EXPECT_EQ(outOfRange.value, 2.0) << "the number of bones";
    auto const notFinite = findingOf({{0, 0.5}, {1, kInfinity}, {0, kNaN}});
    EXPECT_EQ(notFinite.indices, (Indices{0, 1}));
    EXPECT_EQ(notFinite.value, kInfinity);
    auto const negative = findingOf({{0, 1.75}, {1, -0.25}, {0, -0.5}});
    EXPECT_EQ(negative.indices, (Indices{0, 1}));
    EXPECT_EQ(negative.value, -0.25);
    auto const sum = findingOf({{0, 0.5}, {1, 0.75}});
    EXPECT_EQ(sum.indices, Indices{0});
    EXPECT_EQ(sum.value, 1.25);
}

TEST(DiagnoseWeights, SentencesStateVertexBoneAndNumber)
{
    EXPECT_EQ(findingOf({}).sentence, "Vertex 0 has no influences; no bone moves it.");
    EXPECT_EQ(findingOf({{7, 1.0}}).sentence,
              "Vertex 0 refers to bone 7, which does not exist; the number of bones is 2.");
    EXPECT_EQ(findingOf({{-1, 1.0}}).sentence,
              "Vertex 0 refers to bone -1, which does not exist; a negative index keeps the vertex in place, but its "
              "normal cannot be deformed.");
    EXPECT_EQ(findingOf({{1, -kNaN}}).sentence, "Vertex 0 has the weight NaN for bone 1; weights must be finite.");
    EXPECT_EQ(findingOf({{0, 1.5}, {1, -0.5}}).sentence,
              "Vertex 0 has the weight -0.5 for bone 1; it moves against this bone.");
    EXPECT_EQ(findingOf({{0, 1e-9}}).sentence,
              "Vertex 0 has weights with the sum 1e-09; they scale it about the origin by this factor.");
}

TEST(DiagnoseWeights, SumsThatAreReportedNeverReadAsOne)
{
    EXPECT_NE(findingOf({{0, 1.0000011}}).sentence.find("the sum 1.0000011;"), std::string::npos);
    EXPECT_NE(findingOf({{0, 0.9999989}}).sentence.find("the sum 0.9999989;"), std::string::npos);
}

TEST(DiagnoseWeights, NumbersHaveADecimalPointInEveryLocale)
{
    test::CommaLocale const comma;
    ASSERT_TRUE(test::CommaLocale::inCLibrary()) << "no locale with a decimal comma: install the package 'locales'";
    EXPECT_EQ(findingOf({{0, 1234.5}}).sentence,
              "Vertex 0 has weights with the sum 1234.5; they scale it about the origin by this factor.");
}

TEST(NormalizeWeights, DividesByTheSum)
{
    BoneWeightTable table;
    table.influences = {{{0, 1.0}, {1, 3.0}}, {{1, 0.1}}};
    EXPECT_EQ(sinew::normalizeWeights(table), 0u);
    EXPECT_EQ(table.influences[0], (Influences{{0, 0.25}, {1, 0.75}}));
    EXPECT_EQ(table.influences[1][0].second, 1.0);
}

TEST(NormalizeWeights, LeavesListsWithoutAPositiveFiniteSumUnchanged)
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
