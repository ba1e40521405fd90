// An interleaved vertex buffer of floats, 100,000 vertices under 30 bones: `sinew::skin`, linear blend skinning written
// with Eigen in floats on the same buffer (with the inverse transpose for normals), and reading the same bytes and
// writing the results without any computation, as a measure of the memory. The library is compared bit for bit with the
// deformation of display data, the positions of the peer to the rounding of floats.
//
// The same by dual quaternions: the linear method of the library, and the same definition written with Eigen in floats.
// Library and peer are compared with the reference implementation, bit for bit and to the rounding of floats.

#include <cstdint>
#include <cstring>
#include <map>
#include <vector>

#include <Eigen/Dense>
#include <benchmark/benchmark.h>

#include <sinew/skinning/skin.h>

#include "skinning/reference_dual_quaternions.h"
#include "skinning/skinning_scene.h"
#include "support/bits.h"

namespace {

constexpr int kVertices = 100000;
constexpr int kBones = 30;
constexpr float kPeerRounding = 1e-4f; // floats of a few units, summed over the influences
// The bones of the scene turn by any angle: a blended quaternion may be short, which magnifies the rounding.
constexpr float kDualPeerRounding = 2e-2f;

struct Posed
{
    float position[3];
    float normal[3];
};

template <int influences>
struct Vertex
{
    float position[3];
    float normal[3];
    std::uint8_t bones[influences < 4 ? 4 : influences];
    float weights[influences];
};

template <int influences>
struct Scene
{
    std::vector<Vertex<influences>> rest;
    std::vector<BoneTransform> bones;
    Transform placement;
    smart_ptr<DisplayData> display; // the same numbers

    Scene() : rest(kVertices)
    {
        test::Random random(1);
        for (int i = 0; i < kBones; ++i) {
            Vector3 const a = random.point();
            Vector3 const b = a + UVector3(random.point());
            Vector3 const c = random.point();
            bones.emplace_back(a, b, c, c + UVector3(b - a) * 1.2, random.uniform());
        }
        display = test::randomDisplay(random, kVertices, kBones);
        display->placement.scale = 1.5;
        placement = display->placement;
        for (int i = 0; i < kVertices; ++i) {
            auto& list = display->boneWeights->influences[i];
            list.clear();
            for (int k = 0; k < influences; ++k) {
                rest[i].bones[k] = static_cast<std::uint8_t>(random.below(kBones));
                rest[i].weights[k] = 1.0f / influences;
                list.emplace_back(rest[i].bones[k], rest[i].weights[k]);
            }
            copyRounded(display->surface->positions[i], rest[i].position);
            copyRounded(display->surface->normals[i], rest[i].normal);
        }
    }

    // Through memory: gcc 12 drops the conversion from double to float and back where it makes vectors of it.
    static void copyRounded(Vector3& v, float (&numbers)[3])
    {
        for (int k = 0; k < 3; ++k) {
            float const volatile number = static_cast<float>(v[k]);
            numbers[k] = number;
            v[k] = number;
        }
    }

    sinew::SkinInput input() const
    {
        using sinew::Strided;
        constexpr std::size_t kSize = sizeof(Vertex<influences>);
        sinew::SkinInput result;
        result.positions = Strided<float const>(rest[0].position, rest.size(), kSize);
        result.normals = Strided<float const>(rest[0].normal, rest.size(), kSize);
        result.influences = {influences, Strided<std::uint8_t const>(rest[0].bones, rest.size(), kSize),
                             Strided<float const>(rest[0].weights, rest.size(), kSize)};
        result.bones = bones.data();
        result.boneCount = bones.size();
        result.placement = placement;
        return result;
    }
};

template <int influences>
Scene<influences> const& scene()
{
    static Scene<influences> const result;
    return result;
}

sinew::SkinOutput outputTo(std::vector<Posed>& posed)
{
    using sinew::Strided;
    return {Strided<float>(posed[0].position, posed.size(), sizeof(Posed)),
            Strided<float>(posed[0].normal, posed.size(), sizeof(Posed))};
}

bool sameAsDisplayData(SurfaceGeometryData const& expected, std::vector<Posed> const& posed)
{
    for (int i = 0; i < kVertices; ++i) {
        for (int k = 0; k < 3; ++k) {
            if (posed[i].position[k] != static_cast<float>(expected.positions[i][k])) return false;
            if (posed[i].normal[k] != static_cast<float>(expected.normals[i][k])) return false;
        }
    }
    return true;
}

template <int influences>
smart_ptr<SurfaceGeometryData> displayDataResult()
{
    smart_ptr<BoneTransformVector> const figure(new BoneTransformVector(scene<influences>().bones));
    return BoneTransformModifyer(figure)(scene<influences>().display);
}

template <int influences>
void skinWithSinew(benchmark::State& state)
{
    sinew::SkinInput const input = scene<influences>().input();
    std::vector<Posed> posed(kVertices);
    sinew::skin(input, outputTo(posed));
    if (!sameAsDisplayData(*displayDataResult<influences>(), posed))
        return state.SkipWithError("the results differ from those of display data");
    for (auto _ : state) {
        sinew::skin(input, outputTo(posed));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kVertices);
}

struct EigenFigure
{
    std::vector<Eigen::Matrix3f> linear;
    std::vector<Eigen::Vector3f> translation;
    Eigen::Matrix3f placement;
    Eigen::Vector3f offset;
};

template <typename Matrix>
Eigen::Matrix3f toEigen(Matrix const& m)
{
    Eigen::Matrix3f result;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) result(i, j) = static_cast<float>(m(i, j));
    }
    return result;
}

Eigen::Vector3f toEigen(Vector3 const& v)
{
    return Eigen::Vector3d(v.x, v.y, v.z).cast<float>();
}

template <int influences>
void blendWithEigen(EigenFigure const& figure, std::vector<Vertex<influences>> const& rest, std::vector<Posed>& posed)
{
    using Floats = Eigen::Map<Eigen::Vector3f const>;
    for (std::size_t v = 0; v < rest.size(); ++v) {
        Eigen::Matrix3f linear = Eigen::Matrix3f::Zero();
        Eigen::Vector3f translation = Eigen::Vector3f::Zero();
        for (int k = 0; k < influences; ++k) {
            linear += rest[v].weights[k] * figure.linear[rest[v].bones[k]];
            translation += rest[v].weights[k] * figure.translation[rest[v].bones[k]];
        }
        Eigen::Vector3f const p = figure.placement * Floats(rest[v].position) + figure.offset;
        Eigen::Map<Eigen::Vector3f>(posed[v].position) = linear * p + translation;
        Eigen::Matrix3f const normalMatrix = (linear * figure.placement).inverse().transpose();
        Eigen::Map<Eigen::Vector3f>(posed[v].normal) = (normalMatrix * Floats(rest[v].normal)).normalized();
    }
}

template <int influences>
void skinWithEigen(benchmark::State& state)
{
    EigenFigure figure;
    for (BoneTransform const& bone : scene<influences>().bones) {
        figure.linear.push_back(toEigen(bone.linear));
        figure.translation.push_back(toEigen(bone.translation));
    }
    figure.placement = toEigen(scene<influences>().placement.getLinear());
    figure.offset = toEigen(scene<influences>().placement.translation);
    std::vector<Posed> posed(kVertices);
    blendWithEigen<influences>(figure, scene<influences>().rest, posed);
    smart_ptr<SurfaceGeometryData> const expected = displayDataResult<influences>();
    for (int i = 0; i < kVertices; ++i) {
        if ((Eigen::Vector3f(posed[i].position) - toEigen(expected->positions[i])).norm() > kPeerRounding)
            return state.SkipWithError("the positions differ from the library");
    }
    for (auto _ : state) {
        blendWithEigen<influences>(figure, scene<influences>().rest, posed);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kVertices);
}

// By dual quaternions, as the reference implementation computes it.
template <int influences>
std::vector<std::pair<Vector3, Vector3>> dualQuaternionResult()
{
    Scene<influences> const& s = scene<influences>();
    std::vector<Vector3> positions, normals;
    reference::skinByDualQuaternions(s.bones, *s.display, positions, normals);
    std::vector<std::pair<Vector3, Vector3>> result;
    for (std::size_t i = 0; i < positions.size(); ++i) result.emplace_back(positions[i], normals[i]);
    return result;
}

template <int influences>
void blendDualQuaternions(benchmark::State& state)
{
    sinew::SkinInput input = scene<influences>().input();
    input.method = sinew::SkinMethod::dualQuaternion;
    std::vector<Posed> posed(kVertices);
    sinew::skin(input, outputTo(posed));
    auto const expected = dualQuaternionResult<influences>();
    for (int i = 0; i < kVertices; ++i) {
        for (int k = 0; k < 3; ++k) {
            if (posed[i].position[k] != static_cast<float>(expected[i].first[k]) ||
                posed[i].normal[k] != static_cast<float>(expected[i].second[k]))
                return state.SkipWithError("the results differ from the reference implementation");
        }
    }
    for (auto _ : state) {
        sinew::skin(input, outputTo(posed));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kVertices);
}

struct EigenTurns
{
    std::vector<Eigen::Quaternionf> rotations;
    EigenFigure figure;
};

// The linear map v -> v q of the coordinates of a vector.
Eigen::Matrix<float, 4, 3> multiplicationBy(Eigen::Quaternionf const& q)
{
    Eigen::Matrix<float, 4, 3> result;
    for (int j = 0; j < 3; ++j) {
        Eigen::Vector3f const axis = Eigen::Vector3f::Unit(j);
        result.col(j) = (Eigen::Quaternionf(0, axis.x(), axis.y(), axis.z()) * q).coeffs();
    }
    return result;
}

template <int influences>
void blendDualQuaternionsWithEigen(EigenTurns const& turns, std::vector<Vertex<influences>> const& rest,
                                   std::vector<Posed>& posed)
{
    using Floats = Eigen::Map<Eigen::Vector3f const>;
    // Per bone: the images of axes and origin times the quaternion.
    std::vector<Eigen::Matrix4f> columns;
    for (std::size_t b = 0; b < turns.rotations.size(); ++b) {
        Eigen::Matrix<float, 4, 3> const times = multiplicationBy(turns.rotations[b]);
        Eigen::Matrix4f each;
        each << times * turns.figure.linear[b], times * turns.figure.translation[b];
        columns.push_back(each);
    }
    for (std::size_t v = 0; v < rest.size(); ++v) {
        Eigen::Matrix4f sum = Eigen::Matrix4f::Zero();
        Eigen::Vector4f b = Eigen::Vector4f::Zero();
        Eigen::Vector4f const pivot = turns.rotations[rest[v].bones[0]].coeffs(); // all weights are equal
        for (int k = 0; k < influences; ++k) {
            Eigen::Vector4f const& q = turns.rotations[rest[v].bones[k]].coeffs();
            float const weight = pivot.dot(q) < 0 ? -rest[v].weights[k] : rest[v].weights[k];
            sum += weight * columns[rest[v].bones[k]];
            b += weight * q;
        }
        // e -> e b* / |b|^2 without the real part.
        Eigen::Matrix<float, 3, 4> back;
        back << b.w(), -b.z(), b.y(), -b.x(), b.z(), b.w(), -b.x(), -b.y(), -b.y(), b.x(), b.w(), -b.z();
        Eigen::Matrix<float, 3, 4> const map = (back * sum) / b.squaredNorm();
        Eigen::Matrix3f const linear = map.leftCols<3>();
        Eigen::Vector3f const p = turns.figure.placement * Floats(rest[v].position) + turns.figure.offset;
        Eigen::Map<Eigen::Vector3f>(posed[v].position) = linear * p + map.col(3);
        Eigen::Matrix3f const normalMatrix = (linear * turns.figure.placement).inverse().transpose();
        Eigen::Map<Eigen::Vector3f>(posed[v].normal) = (normalMatrix * Floats(rest[v].normal)).normalized();
    }
}

template <int influences>
void blendDualQuaternionsWithEigen(benchmark::State& state)
{
    EigenTurns turns;
    for (BoneTransform const& bone : scene<influences>().bones) {
        turns.figure.linear.push_back(toEigen(bone.linear));
        turns.figure.translation.push_back(toEigen(bone.translation));
        sinew::detail::Quaternion const q = sinew::detail::rotationFactor(bone.linear);
        turns.rotations.push_back(Eigen::Quaterniond(q.w, q.x, q.y, q.z).cast<float>());
    }
    turns.figure.placement = toEigen(scene<influences>().placement.getLinear());
    turns.figure.offset = toEigen(scene<influences>().placement.translation);
    std::vector<Posed> posed(kVertices);
    blendDualQuaternionsWithEigen<influences>(turns, scene<influences>().rest, posed);
    auto const expected = dualQuaternionResult<influences>();
    for (int i = 0; i < kVertices; ++i) {
        if ((Eigen::Vector3f(posed[i].position) - toEigen(expected[i].first)).norm() > kDualPeerRounding)
            return state.SkipWithError("the positions differ from the reference implementation");
    }
    for (auto _ : state) {
        blendDualQuaternionsWithEigen<influences>(turns, scene<influences>().rest, posed);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kVertices);
}

// Reads each word of the vertex buffer once and writes as many bytes as the results have.
template <int influences>
void readAndWrite(benchmark::State& state)
{
    std::vector<Vertex<influences>> const& rest = scene<influences>().rest;
    std::vector<std::uint64_t> words(rest.size() * sizeof(rest[0]) / sizeof(std::uint64_t));
    std::memcpy(words.data(), rest.data(), words.size() * sizeof(std::uint64_t));
    std::vector<std::uint64_t> posed(kVertices * sizeof(Posed) / sizeof(std::uint64_t));
    for (auto _ : state) {
        std::uint64_t sums[4] = {};
        for (std::size_t i = 0; i + 4 <= words.size(); i += 4) {
            for (std::size_t k = 0; k < 4; ++k) sums[k] += words[i + k];
        }
        std::fill(posed.begin(), posed.end(), sums[0] ^ sums[1] ^ sums[2] ^ sums[3]);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kVertices);
}

template <int influences>
void registerAll()
{
    std::string const name = "raw skinning of floats, " + std::to_string(influences) +
                             (influences > 1 ? " influences" : " influence") + ", per vertex/";
    benchmark::RegisterBenchmark((name + "sinew").c_str(), skinWithSinew<influences>);
    benchmark::RegisterBenchmark((name + "Eigen").c_str(), skinWithEigen<influences>);
    benchmark::RegisterBenchmark((name + "memory").c_str(), readAndWrite<influences>);
    std::string const dual = "the same by dual quaternions, " + std::to_string(influences) +
                             (influences > 1 ? " influences" : " influence") + ", per vertex/";
    benchmark::RegisterBenchmark((dual + "sinew").c_str(), blendDualQuaternions<influences>);
    benchmark::RegisterBenchmark((dual + "Eigen").c_str(), blendDualQuaternionsWithEigen<influences>);
    benchmark::RegisterBenchmark((dual + "linear").c_str(), skinWithSinew<influences>);
}

int const kRegistered = [] {
    registerAll<1>();
    registerAll<4>();
    registerAll<8>();
    return 0;
}();

} // namespace
