#include <algorithm>
#include <map>
#include <set>

#include <gtest/gtest.h>

#include <sinew/core/func_binder.h>

#include <tool/figure/limbs.h>
#include <tool/models/models.h>
#include <tool/support/user_error.h>
#include <tool/tour/outcome_panel.h>

#include "stage_run.h"

namespace {

tool::Skeleton skeletonOf(std::string const& tgf)
{
    return tool::parseTgf(tgf, "test.tgf");
}

std::vector<std::string> namesOf(std::vector<tool::Limb> const& limbs)
{
    std::vector<std::string> names;
    for (tool::Limb const& limb : limbs) names.push_back(limb.name);
    std::sort(names.begin(), names.end());
    return names;
}

// Runs the stage on a skeleton of the user. Returns the page.
std::string stageOn(std::string const& tgf, std::vector<std::string>* failed = nullptr)
{
    test::StageRun run;
    run.options.skeletonFile = "user.tgf";
    run.tour.skeleton = skeletonOf(tgf);
    run.tour.skeletonIsBundled = false;
    tool::skeletonStage(run.tour);
    EXPECT_FALSE(tool::readFile(run.folder / "limbs.png").empty());
    EXPECT_FALSE(tool::readFile(run.folder / "outcomes.png").empty());
    if (failed) *failed = run.report.failedClaims();
    return run.page();
}

} // namespace

TEST(LimbsOf, OfTheFigureAreSpineHeadArmsAndLegs)
{
    std::vector<tool::Limb> const limbs = tool::limbsOf(skeletonOf(tool::bundledFigureTgf()));
    EXPECT_EQ(namesOf(limbs),
              (std::vector<std::string>{"chest - crown", "chest - left-hand", "chest - right-hand", "pelvis - chest",
                                        "pelvis - left-toes", "pelvis - right-toes"}));
}

TEST(LimbsOf, ContainEveryBoneOnce)
{
    char const* const skeletons[] = {
        "1 0 0 0 a\n2 1 0 0 b\n#\n1 2\n",                                                      // one bone
        "1 0 0 0 a\n2 1 0 0 b\n3 0 1 0 c\n#\n1 2\n2 3\n3 1\n",                                 // a ring
        "1 0 0 0 a\n2 1 0 0 b\n3 0 1 0 c\n4 5 5 5 d\n5 6 6 6 e\n#\n1 2\n2 3\n3 1\n4 5\n",      // a ring and a bone
        "1 0 0 0 a\n2 1 0 0 b\n3 0 1 0 c\n4 0 0 1 d\n#\n1 2\n1 3\n1 4\n",                      // a star
        "1 0 0 0 a\n2 1 0 0 b\n3 0 1 0 c\n4 0 0 1 d\n5 1 1 1 e\n#\n1 2\n2 3\n3 1\n1 4\n1 5\n", // a ring on a branching
    };
    for (char const* const tgf : skeletons) {
        SCOPED_TRACE(tgf);
        tool::Skeleton const skeleton = skeletonOf(tgf);
        std::multiset<std::pair<int, int>> walked;
        std::vector<tool::Limb> const limbs = tool::limbsOf(skeleton);
        for (tool::Limb const& limb : limbs) {
            ASSERT_GE(limb.joints.size(), 2u);
            ASSERT_EQ(limb.bones.size() + 1, limb.joints.size());
            for (std::size_t k = 0; k + 1 < limb.joints.size(); ++k) {
                auto const ends = std::minmax(limb.joints[k], limb.joints[k + 1]);
                auto const& bone = skeleton.bones[static_cast<std::size_t>(limb.bones[k])];
                EXPECT_EQ(ends, std::minmax(bone[0], bone[1]));
                walked.insert(ends);
            }
        }
        std::multiset<std::pair<int, int>> bones;
        for (auto const& bone : skeleton.bones) bones.insert(std::minmax(bone[0], bone[1]));
        EXPECT_EQ(walked, bones);
    }
}

TEST(LimbsOf, PointsRunFromEndToEnd)
{
    tool::Skeleton const skeleton = skeletonOf("1 0 0 0 a\n2 4 0 0 b\n3 4 2 0 c\n#\n1 2\n2 3\n");
    std::vector<tool::Limb> const limbs = tool::limbsOf(skeleton);
    ASSERT_EQ(limbs.size(), 1u);
    std::vector<Vector3> const points = tool::pointsAlong(skeleton, limbs[0], 2);
    EXPECT_EQ(points, (std::vector<Vector3>{{0, 0, 0}, {2, 0, 0}, {4, 0, 0}, {4, 1, 0}, {4, 2, 0}}));
    EXPECT_EQ(tool::lengthOf(skeleton, limbs[0]), 6.0);
}

TEST(OutcomePanel, ShowsEveryCodeOfEveryRecordOnce)
{
    tool::Canvas sheet(tool::kOutcomePanelWidth, tool::kOutcomePanelHeight, 0.1);
    std::map<std::string, std::vector<int>> codes;
    for (tool::OutcomeScene const& scene : tool::drawOutcomePanel(sheet)) {
        EXPECT_EQ(scene.result, scene.expected) << scene.record;
        codes[scene.record].push_back(scene.result);
    }
    std::map<std::string, std::vector<int>> const all = {{"LineLineInt", {0, 1, 2, 3}},
                                                         {"PlanePlaneInt", {0, 1, 2}},
                                                         {"LinePlaneInt", {0, 1, 2}},
                                                         {"LineTriangleInt", {0, 1, 2, 3, 4}},
                                                         {"LineSphereInt", {0, 1, 2}}};
    EXPECT_EQ(codes, all);
}

TEST(SkeletonStage, PassesItsChecksForEveryKindOfSkeleton)
{
    char const* const skeletons[] = {
        "1 0 0 0 a\n2 1 0 0 b\n#\n1 2\n",                                   // one bone
        "1 0 0 0 a\n2 1e-30 0 0 b\n3 0 2e-30 1e-31 c\n#\n1 2\n2 3\n",       // tiny
        "1 5e99 0 0 a\n2 -9e99 0 0 b\n3 0 2e99 1e98 c\n#\n1 2\n2 3\n",      // huge
        "1 0 0 0 a\n2 1e-310 0 0 b\n#\n1 2\n",                              // its reciprocal overflows
        "1 0 0 0 a\n2 1 0 0 b\n3 0 1 0 c\n#\n1 2\n2 3\n3 1\n",              // a ring
        "1 0 0 0 a\n2 0 0 0 b\n3 1 1 0 c\n#\n1 2\n1 3\n",                   // a bone without length
        "1 0 0 0 a\n2 1 0 0 b\n3 7 7 7 lonely\n#\n1 2\n",                   // a joint without bones
        "1 1000000 0 0 a\n2 1000001 0 0 b\n3 1000001 1 0 c\n#\n1 2\n2 3\n", // far from the origin
    };
    for (char const* const tgf : skeletons) {
        SCOPED_TRACE(tgf);
        std::vector<std::string> failed;
        std::string const page = stageOn(tgf, &failed);
        EXPECT_TRUE(failed.empty()) << failed.front();
        EXPECT_NE(page.find("Your skeleton"), std::string::npos);
        EXPECT_EQ(page.find("nan"), std::string::npos);
    }
}

TEST(SkeletonStage, UnregistersTheDebugDrawingCallbacks)
{
    stageOn("1 0 0 0 a\n2 1 0 0 b\n#\n1 2\n");
    vxFuncBinder const& binder = *vxFuncBinder::iGet();
    EXPECT_EQ(binder.drawVectorSlot, nullptr);
    EXPECT_EQ(binder.drawPointSlot, nullptr);
    EXPECT_EQ(binder.drawPointsSlot, nullptr);
}

TEST(SkeletonStage, RefusesHugeCoordinatesAndEqualJoints)
{
    EXPECT_THROW(stageOn("1 0 0 0 a\n2 1e101 0 0 b\n#\n1 2\n"), tool::UserError);
    EXPECT_THROW(stageOn("1 3 3 3 a\n2 3 3 3 b\n#\n1 2\n"), tool::UserError);
}

TEST(SkeletonStage, EscapesNamesFromTheFile)
{
    std::string const page = stageOn("1 0 0 0 <b>&\n2 1 0 0 end\n#\n1 2\n");
    EXPECT_EQ(page.find("<b>&"), std::string::npos);
    EXPECT_NE(page.find("&lt;b&gt;&amp;"), std::string::npos);
}
