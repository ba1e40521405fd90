// Deforms surfaces by bones, with weight tables and placements of any numbers and bone indices that may name no bone,
// and examines and normalises the weights. Positions and normals are compared with the reference implementation.

#include <algorithm>
#include <memory>
#include <utility>

#include <sinew/core/strided.h>
#include <sinew/skinning/bone_transform_vector.h>
#include <sinew/skinning/skin.h>
#include <sinew/skinning/substitute_geometry_data.h>
#include <sinew/skinning/weights.h>

#include "fuzz/input.h"
#include "skinning/reference_bone_transform.h"
#include "skinning/reference_dual_quaternions.h"
#include "skinning/reference_skinning.h"
#include "support/bits.h"

using fuzz::Input;
using fuzz::require;
using test::sameBits;

namespace {

constexpr int kMostVertices = 80; // more than two blocks of the deformer
constexpr int kMostBones = 8;
constexpr int kMostInfluences = 6;

bool same(BoneTransform const& a, BoneTransform const& b)
{
    return sameBits(a.linear, b.linear) && sameBits(a.translation, b.translation);
}

BoneTransform compareBone(Input& input)
{
    Vector3 const p[4] = {input.point(), input.point(), input.point(), input.point()};
    double const twist = input.number();
    BoneTransform const bone(p[0], p[1], p[2], p[3], twist);
    require(same(bone, reference::boneTransform(p[0], p[1], p[2], p[3], twist)), "bone as the reference");
    return bone;
}

BoneTransform boneOf(Input& input)
{
    if (input.flag()) return compareBone(input);
    BoneTransform bone;
    bone.linear = input.matrix3();
    bone.translation = input.point();
    return bone;
}

void compareInterpolation(Input& input, BoneTransform const& a, BoneTransform const& b)
{
    double const t = input.number();
    require(same(BoneTransform::interpolate(a, t), reference::interpolate(a, t)), "interpolation from the identity");
    require(same(BoneTransform::interpolate(a, b, t), reference::interpolate(a, b, t)), "interpolation");
    require(same(a.inverse(), reference::inverse(a)), "inverse of a bone");
    require(same(a * b, reference::compose(a, b)), "composition of bones");
}

// Most indices name a bone, the others are any numbers.
smart_ptr<BoneWeightTable> weightsOf(Input& input, int vertices, int bones)
{
    smart_ptr<BoneWeightTable> table(new BoneWeightTable);
    for (int v = 0; v < vertices; ++v) {
        std::vector<std::pair<int, double>> list;
        for (int k = input.below(kMostInfluences); k > 0; --k) {
            int const bone = bones == 0 || input.below(8) == 0 ? input.anyInt() : input.below(bones);
            list.push_back({bone, input.number()});
        }
        table->influences.push_back(std::move(list));
    }
    return table;
}

// Without the influences that are left out. The reference implementation takes only valid ones.
smart_ptr<BoneWeightTable> validWeights(BoneWeightTable const& table, std::size_t bones, bool negativeIsIdentity)
{
    smart_ptr<BoneWeightTable> valid(new BoneWeightTable(table));
    for (auto& list : valid->influences) {
        list.erase(std::remove_if(list.begin(), list.end(),
                                  [&](auto const& influence) {
                                      if (influence.first < 0) return !negativeIsIdentity;
                                      return static_cast<std::size_t>(influence.first) >= bones;
                                  }),
                   list.end());
    }
    return valid;
}

smart_ptr<DisplayData> displayOf(Input& input)
{
    smart_ptr<DisplayData> display(new DisplayData);
    display->surface = smart_ptr<SurfaceGeometryData>(new SurfaceGeometryData);
    SurfaceGeometryData& surface = *display->surface;
    int const vertices = input.below(kMostVertices);
    bool const repeat = input.flag(); // few bytes for many vertices
    for (int v = 0; v < vertices; ++v) {
        surface.positions.push_back(repeat && v > 3 ? surface.positions[static_cast<std::size_t>(v % 4)]
                                                    : input.point());
        surface.normals.push_back(repeat && v > 3 ? surface.normals[static_cast<std::size_t>(v % 4)]
                                                  : UVector3(input.point()));
    }
    for (int i = 0; i + 2 < vertices; i += 3) surface.indices.insert(surface.indices.end(), {i, i + 1, i + 2});
    display->placement = input.transform();
    return display;
}

void comparePoints(BoneTransformVector const& figure, smart_ptr<DisplayData> display)
{
    smart_ptr<BoneWeightTable> const given = display->boneWeights;
    std::vector<Vector3> found;
    int const vertices = static_cast<int>(display->surface->positions.size());
    for (int v = 0; v < vertices; ++v) found.push_back(figure.getTransformed(v, display));
    display->boneWeights = validWeights(*given, figure.bones.size(), true);
    for (int v = 0; v < vertices; ++v) {
        require(sameBits(found[static_cast<std::size_t>(v)], reference::getTransformed(figure, v, *display)),
                "position as the reference");
    }
    display->boneWeights = given;
}

// Raw arrays of the same numbers give the same results.
void compareArrays(BoneTransformVector const& figure, DisplayData const& display, SurfaceGeometryData const& expected)
{
    SurfaceGeometryData const& surface = *display.surface;
    std::size_t const vertices = surface.positions.size();
    std::vector<int> bones;
    std::vector<double> weights;
    std::vector<std::size_t> offsets(1, 0);
    for (std::size_t v = 0; display.boneWeights && v < vertices; ++v) {
        for (auto const& [bone, weight] : display.boneWeights->influences[v]) {
            bones.push_back(bone);
            weights.push_back(weight);
        }
        offsets.push_back(bones.size());
    }
    std::vector<Vector3> normals(surface.normals.begin(), surface.normals.end());
    std::vector<Vector3> positions(vertices), unitNormals(vertices);
    sinew::SkinInput in;
    in.positions = sinew::coordinatesOf(surface.positions.data(), vertices);
    in.normals = sinew::coordinatesOf(normals.data(), vertices);
    if (display.boneWeights) in.influences = {sinew::packed(offsets), sinew::packed(bones), sinew::packed(weights)};
    in.bones = figure.bones.data();
    in.boneCount = figure.bones.size();
    in.placement = display.placement;
    sinew::SkinOutput const out = {sinew::coordinatesOf(positions.data(), vertices),
                                   sinew::coordinatesOf(unitNormals.data(), vertices)};
    require(sinew::skin(in, out) == vertices, "all vertices are written");
    require(sameBits(positions, expected.positions), "positions of arrays");
    for (std::size_t v = 0; v < vertices; ++v) {
        require(sameBits(unitNormals[v], static_cast<Vector3 const&>(expected.normals[v])), "normals of arrays");
    }
    in.method = sinew::SkinMethod::dualQuaternion;
    std::vector<Vector3> blended, blendedNormals;
    reference::skinByDualQuaternions(figure.bones, display, blended, blendedNormals);
    require(sinew::skin(in, out) == vertices, "all vertices are blended");
    require(sameBits(positions, blended), "positions by dual quaternions");
    require(sameBits(unitNormals, blendedNormals), "normals by dual quaternions");
}

void compareSurface(smart_ptr<BoneTransformVector> figure, smart_ptr<DisplayData> display)
{
    smart_ptr<SurfaceGeometryData> const result = BoneTransformModifyer(figure)(display);
    std::vector<std::pair<Vector3, UVector3>> single;
    for (std::size_t v = 0; v < display->surface->normals.size(); ++v) {
        UVector3 normal;
        Vector3 const p = figure->getTransformed(static_cast<int>(v), display, display->surface->normals[v], normal);
        single.push_back({p, normal});
    }
    smart_ptr<BoneWeightTable> const given = display->boneWeights;
    if (given) display->boneWeights = validWeights(*given, figure->bones.size(), false);
    SurfaceGeometryData expected;
    reference::deform(*figure, *display, expected);
    display->boneWeights = given;
    require(sameBits(result->positions, expected.positions), "positions as the reference");
    for (std::size_t v = 0; v < expected.normals.size(); ++v) {
        require(sameBits(result->normals[v], expected.normals[v]), "normals as the reference");
        require(sameBits(single[v].first, expected.positions[v]), "position of a single vertex");
        require(sameBits(single[v].second, expected.normals[v]), "normal of a single vertex");
    }
    require(result->indices == expected.indices, "the same triangles");
    compareArrays(*figure, *display, expected);
}

// Vertices beyond the end of a list are copied.
void deformIncomplete(Input& input, smart_ptr<BoneTransformVector> figure, smart_ptr<DisplayData> display)
{
    SurfaceGeometryData& surface = *display->surface;
    surface.normals.resize(static_cast<std::size_t>(input.below(kMostVertices)));
    if (display->boneWeights) {
        display->boneWeights->influences.resize(static_cast<std::size_t>(input.below(kMostVertices)));
    }
    smart_ptr<SurfaceGeometryData> const result = BoneTransformModifyer(figure)(display);
    require(result->positions.size() == surface.positions.size(), "as many positions");
    require(result->normals.size() == surface.normals.size(), "as many normals");
    std::size_t done = std::min(surface.positions.size(), surface.normals.size());
    if (display->boneWeights) {
        done = std::min(done, display->boneWeights->influences.size());
        display->boneWeights = validWeights(*display->boneWeights, figure->bones.size(), false);
    }
    for (std::size_t v = 0; v < surface.positions.size(); ++v) {
        Vector3 expected = surface.positions[v];
        UVector3 normal;
        if (v < done) {
            expected = reference::getTransformed(*figure, static_cast<int>(v), *display, surface.normals[v], normal);
        }
        require(sameBits(result->positions[v], expected), "positions of an incomplete surface");
    }
}

void useGuards(smart_ptr<BoneTransformVector> figure, smart_ptr<DisplayData> display)
{
    smart_ptr<SurfaceGeometryData> const before = display->surface;
    Transform const placement = display->placement;
    {
        SubstituteGeometryData const deformed(display, figure);
        SubstituteGeometryData const turned(display);
        require(display->surface->positions.size() == before->positions.size(), "as many vertices");
    }
    require(display->surface == before && sameBits(display->placement, placement), "guards restore the surface");
}

double sumOf(std::vector<std::pair<int, double>> const& list)
{
    double sum = 0;
    for (auto const& [bone, weight] : list) sum += weight;
    return sum;
}

void normalize(BoneWeightTable table, std::size_t bones)
{
    std::size_t const vertices = table.influences.size();
    sinew::WeightDiagnosis const diagnosis = sinew::diagnose(table, vertices + 1, bones);
    require(!diagnosis.findings.empty(), "a missing list is found");
    diagnosis.text();
    auto const before = table.influences;
    std::size_t unchanged = 0;
    std::size_t const reported = sinew::normalizeWeights(table);
    for (std::size_t v = 0; v < vertices; ++v) {
        double const sum = sumOf(before[v]);
        bool const divides = !before[v].empty() && sum > 0 && std::isfinite(sum);
        unchanged += divides ? 0 : 1;
        for (std::size_t k = 0; k < before[v].size(); ++k) {
            double const weight = before[v][k].second;
            require(sameBits(table.influences[v][k].second, divides ? weight / sum : weight), "normalised weight");
        }
    }
    require(reported == unchanged, "number of lists left unchanged");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    Input input(data, size);
    smart_ptr<BoneTransformVector> figure(new BoneTransformVector);
    int const bones = input.below(kMostBones);
    for (int b = 0; b < bones; ++b) figure->bones.push_back(boneOf(input));
    for (int b = 0; b + 1 < bones; ++b) {
        compareInterpolation(input, figure->bones[static_cast<std::size_t>(b)],
                             figure->bones[static_cast<std::size_t>(b) + 1]);
    }
    smart_ptr<DisplayData> display = displayOf(input);
    int const vertices = static_cast<int>(display->surface->positions.size());
    display->boneWeights = weightsOf(input, vertices, bones);
    comparePoints(*figure, display);
    normalize(*display->boneWeights, figure->bones.size());
    if (input.below(8) == 0) display->boneWeights = nullptr;
    compareSurface(figure, display);
    useGuards(figure, display);
    deformIncomplete(input, figure, display);
    return 0;
}
