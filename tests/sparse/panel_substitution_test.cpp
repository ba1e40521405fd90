#include <sinew/sparse/detail/panel_substitution.h>

#include <gtest/gtest.h>

#include <sinew/sparse/detail/substitution.h>

#include "sparse/matrices.h"
#include "support/bits.h"
#include "support/random.h"
#include "support/vector_widths.h"

using test::Random;

namespace {

template <std::size_t Count>
void expectAsLists(LLTMatrix const& lists, Random& random)
{
    using namespace sinew::detail;
    PanelPlan const plan = planOfColumns(lists.Mt);
    std::vector<double> values(static_cast<std::size_t>(plan.valueCount) + kPanelSlack, 0.0);
    for (Panel const& panel : plan.panels) {
        for (int c = 0; c < panel.width; ++c) {
            double* value = values.data() + panel.columnStart(c) + c;
            for (auto const& entry : lists.Mt[panel.first + c]) *++value = entry.second;
        }
    }
    std::size_t const n = lists.rows.size();
    std::vector<double> b(n * Count);
    for (double& x : b) x = random.oneIn(60) ? random.hostile() : random.uniform();
    std::vector<double> expected = b;
    substitute<Count>({lists.rows, lists.Mt, lists.diag, lists.perm}, expected.data());
    for (VectorWidth width : test::vectorWidths()) {
        std::vector<double> y = b;
        std::vector<double> gathered(largestRowCount(plan));
        substitutePanels<Count>({&plan, values.data(), lists.diag.data()}, y.data(), gathered.data(), width);
        EXPECT_TRUE(test::sameBits(y, expected)) << "vector width " << static_cast<int>(width);
    }
}

} // namespace

TEST(SubstitutePanels, HasTheBitsOfTheListsAtEveryVectorWidth)
{
    Random random(20251250);
    for (int trial = 0; trial < 120; ++trial) {
        SCOPED_TRACE(trial);
        SPDMatrix const matrix = trial < 60 ? test::randomShape(random, 200)
                                            : test::matrixOf(test::hubs(trial, 1 + random.below(trial)), trial, random);
        LLTMatrix const lists = matrix.factor();
        expectAsLists<1>(lists, random);
        expectAsLists<4>(lists, random);
        expectAsLists<8>(lists, random);
    }
}

TEST(SubstitutePanels, PlanOfColumnsIsThatOfTheAnalysis)
{
    Random random(20251251);
    for (int trial = 0; trial < 40; ++trial) {
        SCOPED_TRACE(trial);
        using namespace sinew::detail;
        SPDMatrix const matrix = test::randomShape(random, 300);
        std::vector<int> const perm = matrix.computePerm();
        LowerPattern const pattern = permutedPattern(matrix.rows, perm);
        std::vector<int> const parent = eliminationTree(pattern);
        PanelPlan const expected = planPanels(pattern, parent, columnCounts(pattern, parent));
        PanelPlan const plan = planOfColumns(matrix.factor().Mt);
        EXPECT_EQ(plan.panelOf, expected.panelOf);
        EXPECT_EQ(plan.rowIndex, expected.rowIndex);
        EXPECT_EQ(plan.rowLength, expected.rowLength);
        EXPECT_EQ(plan.valueCount, expected.valueCount);
        ASSERT_EQ(plan.panels.size(), expected.panels.size());
        for (std::size_t p = 0; p < plan.panels.size(); ++p) {
            EXPECT_EQ(plan.panels[p].values, expected.panels[p].values);
            EXPECT_EQ(plan.panels[p].rows, expected.panels[p].rows);
            EXPECT_EQ(plan.panels[p].stride, expected.panels[p].stride);
        }
    }
}
