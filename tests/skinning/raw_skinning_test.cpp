// The skinning of raw arrays against that of display data and, by dual quaternions, against the reference
// implementation, at every vector width that this machine supports.

#include <sinew/skinning/detail/raw_skinning.h>

#include <cmath>
#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

#include <sinew/skinning/skin.h>

#include "skinning/raw_arrays.h"
#include "skinning/reference_dual_quaternions.h"
#include "skinning/skinning_scene.h"
#include "support/bits.h"
#include "support/vector_widths.h"

namespace {

using sinew::SkinInput;
using sinew::SkinMethod;
using sinew::SkinOutput;
using sinew::VertexInfluences;
using sinew::detail::VectorWidth;
using test::Random;
using test::RawArray;
using test::sameBits;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

struct Scene
{
    smart_ptr<DisplayData> display;
    smart_ptr<BoneTransformVector> figure;

    std::size_t size() const { return display->surface->positions.size(); }
    std::vector<std::pair<int, double>> const& list(std::size_t i) const { return display->boneWeights->influences[i]; }
};

// The T nearest to a number. Through memory: gcc 12 at -O2 drops the conversion from double to float and back where it
// makes vectors of it.
template <typename T>
double rounded(double number)
{
    T const volatile result = static_cast<T>(number);
    return static_cast<double>(result);
}

template <typename T>
Vector3 rounded(Vector3 const& v)
{
    return {rounded<T>(v.x), rounded<T>(v.y), rounded<T>(v.z)};
}

// Singular, mirroring, of any scale, or not finite.
Matrix3 makeHostile(Random& random)
{
    // Arguments in braces are evaluated in their order, others in an order that the compiler chooses.
    if (random.oneIn(4)) return Matrix3{random.hostilePoint(), random.hostilePoint(), random.hostilePoint()};
    double const scale = random.oneIn(2) ? random.spread(-300, 300) : 1.0;
    double const first = random.oneIn(2) ? 0.0 : scale;
    Matrix3 const flat = sinew::diagonalMatrix(first, random.oneIn(2) ? 0.0 : scale, -scale);
    return flat * test::randomBone(random).linear;
}

// Coordinates and weights that a T holds exactly, the bones 0 to 4, and indices that name no bone. Some numbers are
// hostile. `perVertex` influences a vertex, or any number if it is negative.
template <typename T>
Scene makeScene(Random& random, int vertices, int perVertex, int mostInfluences)
{
    Scene scene;
    scene.figure = test::randomBones(random, 5);
    scene.display = test::randomDisplay(random, vertices, 5, mostInfluences);
    if (random.oneIn(8)) scene.figure->bones[0].translation = random.hostilePoint();
    if (random.oneIn(8)) scene.figure->bones[1].linear = makeHostile(random);
    if (random.oneIn(8)) scene.display->placement = Transform();
    SurfaceGeometryData& surface = *scene.display->surface;
    for (Vector3& p : surface.positions) p = rounded<T>(random.oneIn(16) ? random.hostilePoint() : p);
    for (UVector3& n : surface.normals)
        static_cast<Vector3&>(n) = rounded<T>(random.oneIn(16) ? random.hostilePoint() : Vector3(n));
    for (auto& list : scene.display->boneWeights->influences) {
        if (perVertex >= 0) list.resize(static_cast<std::size_t>(perVertex), {random.below(5), 0.0});
        for (auto& [bone, weight] : list) {
            if (random.oneIn(12)) bone = random.oneIn(2) ? -1 : 5 + random.below(100);
            if (random.oneIn(40)) weight = random.oneIn(2) ? kNaN : random.hostile();
            if (random.oneIn(12)) weight = 0.0;
            weight = rounded<T>(weight);
        }
    }
    return scene;
}

template <typename T>
RawArray<T> rawVectors(Random& random, std::size_t count, Vector3 const* vectors, std::size_t stride)
{
    RawArray<T> result(random, count, 3);
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t k = 0; k < 3; ++k)
            result.set(i, k, static_cast<T>((*(vectors + i * stride))[static_cast<int>(k)]));
    }
    return result;
}

template <typename T>
void expectVector(RawArray<T> const& out, std::size_t i, Vector3 const& expected)
{
    for (std::size_t k = 0; k < 3; ++k) {
        double const number = rounded<T>(expected[static_cast<int>(k)]);
        ASSERT_TRUE(sameBits(static_cast<double>(out.get(i, k)), number))
            << "vertex " << i << ", coordinate " << k << ": " << out.get(i, k) << ", expected " << number;
    }
}

struct Expected
{
    std::vector<Vector3> positions;
    std::vector<Vector3> normals;
};

Expected expectedOf(Scene const& scene, SkinMethod method)
{
    Expected expected;
    if (method == SkinMethod::linear) {
        smart_ptr<SurfaceGeometryData> const surface = BoneTransformModifyer(scene.figure)(scene.display);
        expected.positions = surface->positions;
        expected.normals.assign(surface->normals.begin(), surface->normals.end());
    } else {
        reference::skinByDualQuaternions(scene.figure->bones, *scene.display, expected.positions, expected.normals);
    }
    return expected;
}

// `skin` at every width and with and without normals.
template <typename In, typename Out>
void expectAtAllWidths(Random& random, SkinInput input, sinew::RealArray const& normals, Expected const& expected)
{
    std::size_t const count = expected.positions.size();
    for (VectorWidth const width : test::vectorWidths()) {
        for (bool const withNormals : {true, false}) {
            SCOPED_TRACE(testing::Message() << "width " << static_cast<int>(width) << ", normals " << withNormals
                                            << ", method " << static_cast<int>(input.method));
            RawArray<Out> outPositions(random, count, 3);
            RawArray<Out> outNormals(random, count, 3);
            input.normals = withNormals ? normals : sinew::RealArray();
            SkinOutput const output = {outPositions.view(), outNormals.view()};
            ASSERT_EQ(sinew::detail::skin(input, output, width), count);
            for (std::size_t i = 0; i < count; ++i) {
                expectVector(outPositions, i, expected.positions[i]);
                if (withNormals) expectVector(outNormals, i, expected.normals[i]);
                if (testing::Test::HasFatalFailure()) return;
            }
            ASSERT_TRUE(outPositions.onlyWritten(count));
            ASSERT_TRUE(outNormals.onlyWritten(withNormals ? count : 0));
        }
    }
}

// `skin` with the influences `given`, by both methods.
template <typename In, typename Out>
void expectBits(Random& random, Scene const& scene, VertexInfluences const& given)
{
    SurfaceGeometryData const& rest = *scene.display->surface;
    RawArray<In> const positions = rawVectors<In>(random, scene.size(), rest.positions.data(), 1);
    RawArray<In> const normals = rawVectors<In>(random, scene.size(), rest.normals.data(), 1);
    SkinInput input;
    input.positions = sinew::Strided<In const>(positions);
    input.influences = given;
    input.bones = scene.figure->bones.data();
    input.boneCount = scene.figure->bones.size();
    input.placement = scene.display->placement;
    for (SkinMethod const method : {SkinMethod::linear, SkinMethod::dualQuaternion}) {
        input.method = method;
        expectAtAllWidths<In, Out>(random, input, sinew::Strided<In const>(normals), expectedOf(scene, method));
        if (testing::Test::HasFatalFailure()) return;
    }
}

template <typename Index>
Index indexOf(int bone)
{
    // A negative index cannot be expressed in an unsigned type: the greatest number stands for it.
    return bone < 0 ? static_cast<Index>(-1) : static_cast<Index>(bone);
}

template <typename In, typename Out, typename Index>
void testFixed(Random& random)
{
    std::size_t const perVertex = static_cast<std::size_t>(random.oneIn(6) ? random.below(25) : random.below(6));
    Scene const scene = makeScene<In>(random, random.below(80), static_cast<int>(perVertex), 4);
    RawArray<Index> bones(random, scene.size(), perVertex);
    RawArray<In> weights(random, scene.size(), perVertex);
    for (std::size_t i = 0; i < scene.size(); ++i) {
        for (std::size_t k = 0; k < perVertex; ++k) {
            bones.set(i, k, indexOf<Index>(scene.list(i)[k].first));
            weights.set(i, k, static_cast<In>(scene.list(i)[k].second));
        }
    }
    expectBits<In, Out>(random, scene, {perVertex, bones.view(), weights.view()});
}

template <typename In, typename Out, typename Index, typename Offset>
void testLists(Random& random)
{
    Scene const scene = makeScene<In>(random, random.below(80), -1, random.oneIn(4) ? 40 : 5);
    std::size_t total = 0;
    for (std::size_t i = 0; i < scene.size(); ++i) total += scene.list(i).size();
    RawArray<Offset> offsets(random, scene.size() + 1, 1);
    RawArray<Index> bones(random, total, 1);
    RawArray<In> weights(random, total, 1);
    std::size_t at = 0;
    for (std::size_t i = 0; i < scene.size(); ++i) {
        offsets.set(i, 0, static_cast<Offset>(at));
        for (auto const& [bone, weight] : scene.list(i)) {
            bones.set(at, 0, indexOf<Index>(bone));
            weights.set(at++, 0, static_cast<In>(weight));
        }
    }
    offsets.set(scene.size(), 0, static_cast<Offset>(at));
    expectBits<In, Out>(random, scene, {offsets.view(), bones.view(), weights.view()});
}

} // namespace

TEST(RawSkinning, HasTheBitsOfTheReferenceWithAFixedNumberOfInfluences)
{
    Random random(20261130);
    for (int trial = 0; trial < 60; ++trial) {
        SCOPED_TRACE(trial);
        testFixed<double, double, int>(random);
        testFixed<double, float, std::uint32_t>(random);
        testFixed<float, float, std::uint8_t>(random);
        testFixed<float, double, std::uint16_t>(random);
        testFixed<float, float, std::int8_t>(random);
        testFixed<double, double, std::int16_t>(random);
        testFixed<double, double, std::uint64_t>(random);
        testFixed<float, double, std::int64_t>(random);
        if (HasFatalFailure()) return;
    }
}

TEST(RawSkinning, HasTheBitsOfTheReferenceWithListsOfInfluences)
{
    Random random(20261131);
    for (int trial = 0; trial < 60; ++trial) {
        SCOPED_TRACE(trial);
        testLists<double, double, int, int>(random);
        testLists<float, float, std::uint8_t, std::uint32_t>(random);
        testLists<float, double, std::uint16_t, std::uint64_t>(random);
        testLists<double, float, std::int64_t, std::int64_t>(random);
        testLists<double, double, std::uint32_t, std::uint16_t>(random);
        if (HasFatalFailure()) return;
    }
}

TEST(RawSkinning, WithoutInfluencesHasTheBitsOfTheReferenceWithoutWeights)
{
    Random random(20261132);
    for (int trial = 0; trial < 50; ++trial) {
        Scene const scene = makeScene<float>(random, random.below(80), -1, 3);
        scene.display->boneWeights.reset();
        expectBits<float, float>(random, scene, VertexInfluences());
        expectBits<double, double>(random, scene, VertexInfluences());
    }
}

TEST(RawSkinning, NormalsOnTheBranchesOfTheBasisHaveTheBitsOfTheReference)
{
    Random random(20261133);
    Scene const scene = makeScene<double>(random, 125, 2, 2);
    double const steps[] = {-1.0, -0.0, 0.0, 1e-14, 1.0};
    for (std::size_t i = 0; i < 125; ++i)
        static_cast<Vector3&>(scene.display->surface->normals[i]) =
            Vector3(steps[i % 5], steps[i / 5 % 5], steps[i / 25]);
    scene.display->placement = Transform();
    RawArray<int> bones(random, 125, 2);
    RawArray<double> weights(random, 125, 2);
    for (std::size_t i = 0; i < 125; ++i) {
        for (std::size_t k = 0; k < 2; ++k) {
            bones.set(i, k, scene.list(i)[k].first);
            weights.set(i, k, scene.list(i)[k].second);
        }
    }
    expectBits<double, double>(random, scene, {2, bones.view(), weights.view()});
}
