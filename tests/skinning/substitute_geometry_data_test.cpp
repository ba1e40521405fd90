#include <sinew/skinning/substitute_geometry_data.h>

#include <cstddef>
#include <limits>
#include <memory>
#include <new>

#include <gtest/gtest.h>

#include "skinning/reference_skinning.h"
#include "skinning/skinning_scene.h"
#include "support/bits.h"
#include "support/failing_new.h"
#include "support/random.h"

namespace {

using test::Random;
using test::sameBits;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

smart_ptr<DisplayData> triangleAtScale(double scale)
{
    smart_ptr<DisplayData> display(new DisplayData);
    display->surface = smart_ptr<SurfaceGeometryData>(new SurfaceGeometryData);
    display->surface->positions = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    display->surface->normals.assign(3, UVector3(0, 0, 1));
    display->surface->indices = {0, 1, 2};
    display->placement = Transform(scale);
    return display;
}

smart_ptr<BoneTransformVector> oneBone(double x)
{
    BoneTransform bone;
    bone.translation = Vector3(x, 0, 0);
    return smart_ptr<BoneTransformVector>(new BoneTransformVector({bone}));
}

std::vector<int> const kReversed = {1, 0, 2};
std::vector<int> const kOriginal = {0, 1, 2};

} // namespace

TEST(MirrorGuard, PositiveScaleSubstitutesNothing)
{
    smart_ptr<DisplayData> const display = triangleAtScale(2);
    smart_ptr<SurfaceGeometryData> const surface = display->surface;
    {
        SubstituteGeometryData const guard(display);
        EXPECT_EQ(display->surface, surface);
        EXPECT_FALSE(guard.display);
        EXPECT_FALSE(guard.savedSurface);
        EXPECT_EQ(guard.savedPlacement.scale, 2);
        display->placement = Transform(3.0);
    }
    EXPECT_EQ(display->placement.scale, 3) << "a guard that substitutes nothing restores nothing";
    EXPECT_EQ(display->surface, surface);
    EXPECT_EQ(surface->referenceCount, 2);
}

TEST(MirrorGuard, NegativeZeroAndNaNScalesReverseTheWinding)
{
    for (double const scale : {-1.0, 0.0, -0.0, kNaN}) {
        SCOPED_TRACE(scale);
        smart_ptr<DisplayData> const display = triangleAtScale(scale);
        smart_ptr<SurfaceGeometryData> const surface = display->surface;
        {
            SubstituteGeometryData const guard(display);
            EXPECT_EQ(display->surface->indices, kReversed);
            EXPECT_TRUE(sameBits(display->surface->positions, surface->positions));
            EXPECT_TRUE(sameBits(display->placement.scale, scale)) << "the placement does not change";
            EXPECT_EQ(surface->indices, kOriginal) << "the original does not change";
        }
        EXPECT_EQ(display->surface, surface);
        EXPECT_EQ(surface->referenceCount, 2);
        EXPECT_EQ(display->referenceCount, 1);
    }
}

TEST(Guards, RestoreANullSurface)
{
    smart_ptr<DisplayData> const display(new DisplayData);
    display->placement = Transform(-1.0);
    {
        SubstituteGeometryData const outer(display);
        SubstituteGeometryData const inner(display, oneBone(1));
        EXPECT_TRUE(display->surface->positions.empty());
    }
    EXPECT_FALSE(display->surface);
    EXPECT_EQ(display->placement, Transform(-1.0));
}

TEST(BonesGuard, SubstitutesTheDeformedSurfaceInWorldSpace)
{
    Random random(61);
    smart_ptr<DisplayData> const display = test::randomDisplay(random, 40, 3);
    smart_ptr<BoneTransformVector> const bones = test::randomBones(random, 3);
    smart_ptr<SurfaceGeometryData> const surface = display->surface;
    Transform const placement = display->placement;
    SurfaceGeometryData expected;
    reference::deform(*bones, *display, expected);
    {
        SubstituteGeometryData const guard(display, bones);
        EXPECT_TRUE(sameBits(display->surface->positions, expected.positions));
        EXPECT_EQ(display->placement, Transform()) << "the positions already include the placement";
        EXPECT_EQ(guard.savedPlacement, placement);
        EXPECT_EQ(guard.savedSurface, surface);
        EXPECT_EQ(guard.display, display);
        EXPECT_FALSE(guard.curve);
        EXPECT_FALSE(guard.savedCurveGeometry);
    }
    EXPECT_EQ(display->surface, surface);
    EXPECT_EQ(display->placement, placement);
    EXPECT_EQ(display->referenceCount, 1);
    EXPECT_EQ(surface->referenceCount, 2);
    EXPECT_EQ(bones->referenceCount, 1);
}

TEST(BonesGuard, ReversesTheWindingOnlyForANegativeScale)
{
    for (double const scale : {1.0, 0.0, -0.0, kNaN}) {
        smart_ptr<DisplayData> const display = triangleAtScale(scale);
        SubstituteGeometryData const guard(display, oneBone(1));
        EXPECT_EQ(display->surface->indices, kOriginal) << scale;
    }
    smart_ptr<DisplayData> const display = triangleAtScale(-1);
    SubstituteGeometryData const guard(display, oneBone(1));
    EXPECT_EQ(display->surface->indices, kReversed);
}

TEST(BonesGuard, RestoresTheOriginalWhateverTheHostAssigned)
{
    smart_ptr<DisplayData> const display = triangleAtScale(-2);
    smart_ptr<SurfaceGeometryData> const surface = display->surface;
    {
        SubstituteGeometryData const guard(display, oneBone(1));
        display->surface = smart_ptr<SurfaceGeometryData>(new SurfaceGeometryData);
        display->placement = Transform(7.0);
    }
    EXPECT_EQ(display->surface, surface);
    EXPECT_EQ(display->placement, Transform(-2.0));
}

TEST(BonesGuard, NestedGuardsRestoreInReverseOrder)
{
    smart_ptr<DisplayData> const display = triangleAtScale(-1);
    smart_ptr<SurfaceGeometryData> const surface = display->surface;
    auto outer = std::make_unique<SubstituteGeometryData>(display, oneBone(1));
    smart_ptr<SurfaceGeometryData> const once = display->surface;
    auto inner = std::make_unique<SubstituteGeometryData>(display, oneBone(1));
    EXPECT_NE(display->surface, once);
    inner.reset();
    EXPECT_EQ(display->surface, once);
    outer.reset();
    EXPECT_EQ(display->surface, surface);
    EXPECT_EQ(display->placement, Transform(-1.0));
}

TEST(MirrorGuard, AnIncompleteLastTriangleIsNotChanged)
{
    smart_ptr<DisplayData> const display = triangleAtScale(-1);
    display->surface->indices = {0, 1, 2, 2};
    SubstituteGeometryData const guard(display);
    EXPECT_EQ(display->surface->indices, (std::vector<int>{1, 0, 2, 2}));
}

TEST(CurveGuard, RestoresTheGeometryButNotThePlacement)
{
    smart_ptr<CurveDisplayData> const curve(new CurveDisplayData);
    smart_ptr<GeometryData> const geometry(new GeometryData);
    curve->geometry = geometry;
    curve->placement = Transform(-5.0);
    {
        SubstituteGeometryData const guard(curve, oneBone(1));
        EXPECT_EQ(curve->geometry, geometry) << "curves are not deformed";
        EXPECT_EQ(guard.savedPlacement, Transform());
        EXPECT_FALSE(guard.display);
        curve->geometry = smart_ptr<GeometryData>(new GeometryData);
        curve->placement = Transform(4.0);
    }
    EXPECT_EQ(curve->geometry, geometry);
    EXPECT_EQ(curve->placement, Transform(4.0));
    EXPECT_EQ(geometry->referenceCount, 2);
    EXPECT_EQ(curve->referenceCount, 1);
}

TEST(CurveGuard, AcceptsNullBones)
{
    smart_ptr<CurveDisplayData> const curve(new CurveDisplayData);
    SubstituteGeometryData const guard(curve, smart_ptr<BoneTransformVector>());
    EXPECT_EQ(guard.curve, curve);
}

TEST(Guards, LeaveEverythingUnchangedWhenAnAllocationFails)
{
    Random random(62);
    smart_ptr<DisplayData> const display = test::randomDisplay(random, 20, 3);
    display->placement = Transform(-1.5);
    smart_ptr<BoneTransformVector> const bones = test::randomBones(random, 3);
    smart_ptr<SurfaceGeometryData> const surface = display->surface;
    for (bool const withBones : {true, false}) {
        bool finished = false;
        for (long k = 0; !finished; ++k) {
            SCOPED_TRACE(k);
            ASSERT_LT(k, 1000) << "the construction never succeeds";
            bool failed = false;
            try {
                test::FailingNew const failing(k);
                if (withBones) {
                    SubstituteGeometryData const guard(display, bones);
                } else {
                    SubstituteGeometryData const guard(display);
                }
            } catch (std::bad_alloc const&) {
                failed = true;
            }
            finished = !failed;
            EXPECT_EQ(display->surface, surface);
            EXPECT_EQ(display->placement, Transform(-1.5));
            EXPECT_EQ(surface->referenceCount, 2);
            EXPECT_EQ(display->referenceCount, 1);
            EXPECT_EQ(bones->referenceCount, 1);
        }
    }
}

TEST(GeometryData, CopyingDoesNotCopyTheReferenceCount)
{
    smart_ptr<SurfaceGeometryData> const a(new SurfaceGeometryData);
    smart_ptr<SurfaceGeometryData> const b(new SurfaceGeometryData);
    a->indices = {1, 2, 3};
    a->positions = {Vector3(1, 2, 3)};
    smart_ptr<SurfaceGeometryData> const another = b;
    *b = *a;
    EXPECT_EQ(b->indices, a->indices);
    EXPECT_EQ(b->referenceCount, 2);
    EXPECT_EQ(a->referenceCount, 1);
    EXPECT_EQ(SurfaceGeometryData(*a).referenceCount, 0);
}

TEST(GeometryData, IsDeletedOnceWhenItsCountReachesZero)
{
    static int deleted = 0;
    struct Watched : SurfaceGeometryData
    {
        ~Watched() override { ++deleted; }
    };
    deleted = 0;
    Watched* const surface = new Watched;
    surface->addReference();
    surface->addReference();
    surface->releaseReference();
    EXPECT_EQ(deleted, 0);
    surface->releaseReference();
    EXPECT_EQ(deleted, 1);
}

TEST(IntrusiveFunctions, CallTheOverridesOfTheHost)
{
    struct CountingDecal : DecalDisplayData
    {
        mutable int added = 0;
        mutable int released = 0;
        void addReference() const override { ++added; }
        void releaseReference() const override { ++released; }
    };
    CountingDecal decal;
    intrusive_ptr_add_ref(static_cast<DecalDisplayData const*>(&decal));
    intrusive_ptr_add_ref(static_cast<DisplayData const*>(&decal));
    intrusive_ptr_release(static_cast<DecalDisplayData const*>(&decal));
    EXPECT_EQ(decal.added, 2);
    EXPECT_EQ(decal.released, 1);

    smart_ptr<SurfaceGeometryData> const surface(new SurfaceGeometryData);
    intrusive_ptr_add_ref(surface.get());
    EXPECT_EQ(surface->referenceCount, 2);
    intrusive_ptr_release(surface.get());
    smart_ptr<CurveDisplayData> const curve(new CurveDisplayData);
    intrusive_ptr_add_ref(curve.get());
    EXPECT_EQ(curve->referenceCount, 2);
    intrusive_ptr_release(curve.get());
    EXPECT_EQ(curve->referenceCount, 1);
}

// Hosts are compiled against this layout: the order of the fields and the slots of the virtual functions.
#if defined(__GNUC__) && defined(__x86_64__)
TEST(Layout, FieldsHaveTheirDocumentedOrder)
{
    SurfaceGeometryData surface;
    char const* const start = reinterpret_cast<char const*>(&surface);
    EXPECT_EQ(reinterpret_cast<char const*>(&surface.positions) - start, 16);
    EXPECT_EQ(reinterpret_cast<char const*>(&surface.normals) - start, 16 + 24);
    EXPECT_EQ(reinterpret_cast<char const*>(&surface.indices) - start, 16 + 48);

    smart_ptr<DisplayData> const display = triangleAtScale(1);
    SubstituteGeometryData const guard(display);
    char const* const guardStart = reinterpret_cast<char const*>(&guard);
    EXPECT_EQ(reinterpret_cast<char const*>(&guard.savedCurveGeometry) - guardStart, 0);
    EXPECT_EQ(reinterpret_cast<char const*>(&guard.savedSurface) - guardStart, 16);
    EXPECT_EQ(reinterpret_cast<char const*>(&guard.curve) - guardStart, 32);
    EXPECT_EQ(reinterpret_cast<char const*>(&guard.display) - guardStart, 48);
    EXPECT_EQ(reinterpret_cast<char const*>(&guard.savedPlacement) - guardStart, 64);
}

TEST(Layout, CountingFunctionsHaveSlotsThreeToFiveAndTheGetterSlotSix)
{
    struct Probe : DisplayData
    {
        mutable int added = 0;
        void addReference() const override { ++added; }
        smart_ptr<GeometryData const> getGeometry() const override { return smart_ptr<GeometryData const>(); }
    };
    Probe probe;
    DisplayData const original;
    auto const slots = [](void const* object) { return *static_cast<void* const* const*>(object); };
    // The indices here start at 0. Indices 0 and 1 are the two destructors. Of 2 to 5, only those that Probe overrides
    // differ from DisplayData.
    EXPECT_NE(slots(&probe)[2], slots(&original)[2]);
#if !defined(_WIN32) // there the DLL and the program have a copy each of an inline function
    EXPECT_EQ(slots(&probe)[3], slots(&original)[3]);
    EXPECT_EQ(slots(&probe)[4], slots(&original)[4]);
#endif
    EXPECT_NE(slots(&probe)[5], slots(&original)[5]);
    reinterpret_cast<void (*)(void const*)>(slots(&probe)[2])(&probe);
    EXPECT_EQ(probe.added, 1);
}
#endif
