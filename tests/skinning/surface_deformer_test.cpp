// The kernel at every vector width that this machine supports, against the reference implementation.

#include <sinew/skinning/detail/surface_deformer.h>

#include <gtest/gtest.h>

#include "skinning/reference_skinning.h"
#include "skinning/skinning_scene.h"
#include "support/bits.h"
#include "support/vector_widths.h"

namespace {

using sinew::detail::VectorWidth;
using test::Random;
using test::sameBits;

void expectReferenceBits(BoneTransformVector const& figure, DisplayData const& display)
{
    SurfaceGeometryData expected;
    reference::deform(figure, display, expected);
    std::size_t const count = display.surface->positions.size();
    for (VectorWidth const width : test::vectorWidths()) {
        SCOPED_TRACE(testing::Message() << "width " << static_cast<int>(width));
        std::vector<Vector3> positions(count);
        std::vector<UVector3> normals(count);
        sinew::detail::deformVertices({figure.bones, display.placement, display.boneWeights.get(),
                                       display.surface->positions.data(), display.surface->normals.data(), count},
                                      positions.data(), normals.data(), width);
        for (std::size_t i = 0; i < count; ++i) {
            ASSERT_TRUE(sameBits(positions[i], expected.positions[i])) << i;
            ASSERT_TRUE(sameBits(normals[i], expected.normals[i])) << i;
        }
    }
}

} // namespace

TEST(SurfaceDeformer, HasTheBitsOfTheReferenceAtEveryWidth)
{
    Random random(71);
    for (int trial = 0; trial < 400; ++trial) {
        SCOPED_TRACE(trial);
        smart_ptr<BoneTransformVector> const figure = test::randomBones(random, 7);
        smart_ptr<DisplayData> const display = test::randomDisplay(random, random.below(40), 7, 1 + trial % 8);
        if (random.oneIn(10)) display->boneWeights.reset();
        expectReferenceBits(*figure, *display);
    }
}

TEST(SurfaceDeformer, HasTheBitsOfTheReferenceInEveryBranchOfTheBasis)
{
    Random random(72);
    smart_ptr<BoneTransformVector> const figure = test::randomBones(random, 3);
    smart_ptr<DisplayData> const display = test::randomDisplay(random, 125, 3, 3);
    display->placement = Transform();
    double const steps[] = {-1.0, -0.0, 0.0, 1e-14, 1.0};
    for (int i = 0; i < 125; ++i) {
        // All combinations: null vectors, equal components, and both signs of zero.
        static_cast<Vector3&>(display->surface->normals[i]) = Vector3(steps[i % 5], steps[i / 5 % 5], steps[i / 25]);
    }
    expectReferenceBits(*figure, *display);
}

TEST(SurfaceDeformer, ANormalWithASquaredLengthOfTheThresholdIsNotNull)
{
    Random random(73);
    smart_ptr<BoneTransformVector> const figure = test::randomBones(random, 1);
    smart_ptr<DisplayData> const display = test::randomDisplay(random, 2, 1, 1);
    display->placement = Transform();
    display->boneWeights.reset();
    static_cast<Vector3&>(display->surface->normals[0]) = Vector3(1e-13, 0, 0); // its square is exactly 1e-26
    static_cast<Vector3&>(display->surface->normals[1]) = Vector3(0.99e-13, 0, 0);
    expectReferenceBits(*figure, *display);
}
