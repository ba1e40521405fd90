// A surface of 100,000 vertices under 30 bones: the library, its reference implementation, and linear blend skinning
// written with Eigen, with the inverse transpose for normals. The positions of the peer are compared to a tolerance.
// Its normals are not compared, because they point to the other side where the map mirrors. The amount of output is the
// same.

#include <map>
#include <vector>

#include <Eigen/Dense>
#include <benchmark/benchmark.h>

#include "skinning/reference_skinning.h"
#include "skinning/skinning_scene.h"
#include "support/bits.h"

namespace {

constexpr int kVertices = 100000;
constexpr int kBones = 30;
constexpr double kPeerRounding = 1e-12; // of coordinates of a few units, summed over the influences

struct Scene
{
    smart_ptr<DisplayData> display;
    smart_ptr<BoneTransformVector> figure;
};

// Every vertex has exactly `influences` bones, with weights that sum to 1.
Scene makeScene(int influences)
{
    test::Random random(1);
    Scene scene;
    scene.figure = smart_ptr<BoneTransformVector>(new BoneTransformVector);
    for (int i = 0; i < kBones; ++i) {
        Vector3 const a = random.point();
        Vector3 const b = a + UVector3(random.point());
        Vector3 const c = random.point();
        scene.figure->bones.emplace_back(a, b, c, c + UVector3(b - a) * 1.2, random.uniform());
    }
    scene.display = test::randomDisplay(random, kVertices, kBones);
    scene.display->placement.scale = 1.5;
    for (auto& list : scene.display->boneWeights->influences) {
        list.clear();
        for (int k = 0; k < influences; ++k) list.emplace_back(random.below(kBones), 1.0 / influences);
    }
    return scene;
}

Scene const& sceneOf(int influences)
{
    static std::map<int, Scene> scenes;
    auto found = scenes.find(influences);
    if (found == scenes.end()) found = scenes.emplace(influences, makeScene(influences)).first;
    return found->second;
}

struct EigenMesh
{
    std::vector<Eigen::Vector3d> positions;
    std::vector<Eigen::Vector3d> normals;
};

Eigen::Vector3d toEigen(Vector3 const& v)
{
    return {v.x, v.y, v.z};
}

Eigen::Matrix3d toEigen(Matrix3 const& m)
{
    Eigen::Matrix3d result;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) result(i, j) = m(i, j);
    }
    return result;
}

struct EigenFigure
{
    std::vector<Eigen::Matrix3d> linear;
    std::vector<Eigen::Vector3d> translation;
    Eigen::Matrix3d placement;
    Eigen::Vector3d offset;
    EigenMesh rest;
};

EigenFigure toEigen(Scene const& scene)
{
    EigenFigure result;
    for (BoneTransform const& bone : scene.figure->bones) {
        result.linear.push_back(toEigen(bone.linear));
        result.translation.push_back(toEigen(bone.translation));
    }
    result.placement = toEigen(scene.display->placement.getLinear());
    result.offset = toEigen(scene.display->placement.translation);
    for (Vector3 const& p : scene.display->surface->positions) result.rest.positions.push_back(toEigen(p));
    for (Vector3 const& n : scene.display->surface->normals) result.rest.normals.push_back(toEigen(n));
    return result;
}

void blendWithEigen(EigenFigure const& figure, BoneWeightTable const& weights, EigenMesh& out)
{
    for (std::size_t v = 0; v < figure.rest.positions.size(); ++v) {
        Eigen::Matrix3d linear = Eigen::Matrix3d::Zero();
        Eigen::Vector3d translation = Eigen::Vector3d::Zero();
        for (auto const& [bone, weight] : weights.influences[v]) {
            linear += weight * figure.linear[bone];
            translation += weight * figure.translation[bone];
        }
        Eigen::Vector3d const p = figure.placement * figure.rest.positions[v] + figure.offset;
        out.positions[v] = linear * p + translation;
        Eigen::Matrix3d const normalMatrix = (linear * figure.placement).inverse().transpose();
        out.normals[v] = (normalMatrix * figure.rest.normals[v]).normalized();
    }
}

void skinWithSinew(benchmark::State& state)
{
    Scene const& scene = sceneOf(static_cast<int>(state.range(0)));
    BoneTransformModifyer const deform(scene.figure);
    SurfaceGeometryData expected;
    reference::deform(*scene.figure, *scene.display, expected);
    smart_ptr<SurfaceGeometryData> const once = deform(scene.display);
    if (!test::sameBits(once->positions, expected.positions))
        return state.SkipWithError("the positions differ from the reference");
    for (int i = 0; i < kVertices; ++i) {
        if (!test::sameBits(once->normals[i], expected.normals[i]))
            return state.SkipWithError("the normals differ from the reference");
    }
    for (auto _ : state) benchmark::DoNotOptimize(deform(scene.display)->positions.data());
    state.SetItemsProcessed(state.iterations() * kVertices);
}

void skinWithReference(benchmark::State& state)
{
    Scene const& scene = sceneOf(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        SurfaceGeometryData result;
        reference::deform(*scene.figure, *scene.display, result);
        benchmark::DoNotOptimize(result.positions.data());
    }
    state.SetItemsProcessed(state.iterations() * kVertices);
}

void skinWithEigen(benchmark::State& state)
{
    Scene const& scene = sceneOf(static_cast<int>(state.range(0)));
    EigenFigure const figure = toEigen(scene);
    EigenMesh out = figure.rest;
    blendWithEigen(figure, *scene.display->boneWeights, out);
    smart_ptr<SurfaceGeometryData> const expected = BoneTransformModifyer(scene.figure)(scene.display);
    for (int i = 0; i < kVertices; ++i) {
        if ((out.positions[i] - toEigen(expected->positions[i])).norm() > kPeerRounding) {
            return state.SkipWithError("the positions differ from the library");
        }
    }
    for (auto _ : state) {
        EigenMesh result = figure.rest;
        blendWithEigen(figure, *scene.display->boneWeights, result);
        benchmark::DoNotOptimize(result.positions.data());
    }
    state.SetItemsProcessed(state.iterations() * kVertices);
}

int const kRegistered = [] {
    for (int const influences : {1, 4, 8}) {
        std::string const name = "skinning, " + std::to_string(influences) +
                                 (influences > 1 ? " influences" : " influence") + ", per vertex/";
        benchmark::RegisterBenchmark((name + "sinew").c_str(), skinWithSinew)->Arg(influences);
        benchmark::RegisterBenchmark((name + "reference").c_str(), skinWithReference)->Arg(influences);
        benchmark::RegisterBenchmark((name + "Eigen").c_str(), skinWithEigen)->Arg(influences);
    }
    return 0;
}();

} // namespace
