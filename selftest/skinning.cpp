// Bones, deformed display data, bone weights.

#include <selftest/group.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include <sinew/skinning/bone_transform.h>
#include <sinew/skinning/bone_transform_vector.h>
#include <sinew/skinning/display_data.h>
#include <sinew/skinning/heat_weights.h>
#include <sinew/skinning/skin.h>
#include <sinew/skinning/substitute_geometry_data.h>
#include <sinew/skinning/weights.h>

namespace selftest {

namespace {

BoneTransform bone(Inputs& in)
{
    BoneTransform b;
    b.linear = in.oneIn(2) ? in.rotation() : in.matrix();
    b.translation = in.point();
    return b;
}

BoneTransform tameBone(Inputs& in)
{
    BoneTransform b;
    int const kind = in.below(4);
    b.linear = kind == 0 ? in.tameMatrix() : in.rotation();
    if (kind == 1) {
        double const stretch[3] = {in.lattice(), in.tame(), 1.0};
        b.linear = b.linear * sinew::diagonalMatrix(stretch[0], stretch[1], stretch[2]);
    }
    b.translation = in.tamePoint();
    return b;
}

void bones(Inputs& in, Record& out)
{
    repeat(out, [&] {
        BoneTransform const a = bone(in);
        BoneTransform const b = bone(in);
        out.add(a * b);
        out.add(a * in.point());
        out.add(a.inverse());
    });
}

void bonesFromEnds(Inputs& in, Record& out)
{
    repeat(out, [&] {
        Vector3 const restStart = in.point();
        Vector3 const restEnd = in.point();
        Vector3 const posedStart = in.oneIn(2) ? restStart : in.point();
        Vector3 const posedEnd = in.point();
        out.add(BoneTransform(restStart, restEnd, posedStart, posedEnd, in.angle()));
    });
}

void boneInterpolation(Inputs& in, Record& out)
{
    repeat(out, [&] {
        BoneTransform const from = in.oneIn(8) ? bone(in) : tameBone(in);
        BoneTransform const to = in.oneIn(8) ? bone(in) : tameBone(in);
        double const t = in.oneIn(4) ? in.number() : in.uniform(0.0, 1.0);
        out.add(BoneTransform::interpolate(to, t));
        out.add(BoneTransform::interpolate(from, to, t));
    });
}

// Influences: none, one, several, also of equal bones; weights that sum to one or not.
std::vector<std::pair<int, double>> influences(Inputs& in, int boneCount)
{
    std::vector<std::pair<int, double>> list;
    bool const hostile = in.oneIn(16);
    for (int k = in.below(6); k > 0; --k) {
        int const index = in.below(boneCount);
        list.emplace_back(index, hostile ? in.number() : in.uniform(0.0, 1.0));
    }
    return list;
}

// A surface with bone weights. Some have fewer normals or lists than vertices, or no weights at all.
smart_ptr<DisplayData> display(Inputs& in, int vertices, int boneCount)
{
    smart_ptr<DisplayData> const data(new DisplayData);
    data->surface = smart_ptr<SurfaceGeometryData>(new SurfaceGeometryData);
    data->boneWeights = smart_ptr<BoneWeightTable>(new BoneWeightTable);
    data->placement.linear = in.rotation();
    data->placement.translation = in.tamePoint();
    data->placement.scale = in.tame();
    for (int i = 0; i < vertices; ++i) {
        data->surface->positions.push_back(in.oneIn(16) ? in.point() : in.tamePoint());
        data->surface->normals.push_back(in.direction());
        data->boneWeights->influences.push_back(influences(in, boneCount));
        data->surface->indices.push_back(in.below(vertices));
    }
    if (in.oneIn(8)) data->surface->normals.resize(static_cast<std::size_t>(vertices / 2));
    if (in.oneIn(8)) data->boneWeights->influences.resize(static_cast<std::size_t>(vertices / 2));
    if (in.oneIn(8)) data->boneWeights.reset();
    return data;
}

smart_ptr<BoneTransformVector> figure(Inputs& in, int boneCount)
{
    std::vector<BoneTransform> list;
    for (int i = 0; i < boneCount; ++i) list.push_back(in.oneIn(16) ? bone(in) : tameBone(in));
    return smart_ptr<BoneTransformVector>(new BoneTransformVector(list));
}

void add(SurfaceGeometryData const& surface, Record& out)
{
    out.add(surface.positions);
    out.add(surface.normals);
    out.add(surface.indices);
}

constexpr int kVertices = 200; // of a surface
constexpr int kBones = 5;

void deformation(Inputs& in, Record& out)
{
    while (out.count() < kInputs) {
        int const vertices = kVertices + in.below(20);
        smart_ptr<DisplayData> const data = display(in, vertices, kBones);
        smart_ptr<SurfaceGeometryData> const deformed = BoneTransformModifyer(figure(in, kBones))(data);
        add(*deformed, out);
        out.countInputs(vertices);
    }
}

void singleVertices(Inputs& in, Record& out)
{
    while (out.count() < kInputs) {
        smart_ptr<DisplayData> const data = display(in, kVertices, kBones);
        smart_ptr<BoneTransformVector> const skeleton = figure(in, kBones);
        std::size_t const all = data->surface->positions.size();
        int const listed = static_cast<int>(data->boneWeights ? data->boneWeights->influences.size() : all);
        for (int vertex = 0; vertex < listed; ++vertex) {
            UVector3 normal;
            out.add(skeleton->getTransformed(vertex, data));
            out.add(skeleton->getTransformed(vertex, data, in.direction(), normal));
            out.add(normal);
        }
        out.countInputs(listed);
    }
}

// Interleaved arrays of floats, or doubles behind each other; lists, or a fixed number of influences of which some name
// no bone.
template <typename T>
void rawArrays(Inputs& in, Record& out, sinew::SkinMethod method)
{
    std::size_t const count = static_cast<std::size_t>(kVertices + in.below(20));
    std::size_t const perVertex = static_cast<std::size_t>(in.below(6));
    std::vector<T> vectors;
    std::vector<T> weights;
    std::vector<std::int16_t> indices;
    std::vector<int> offsets = {0};
    for (std::size_t i = 0; i < count; ++i) {
        Vector3 const position = in.oneIn(16) ? in.point() : in.tamePoint();
        Vector3 const normal = in.direction();
        for (int k = 0; k < 3; ++k) vectors.push_back(static_cast<T>(position[k]));
        for (int k = 0; k < 3; ++k) vectors.push_back(static_cast<T>(normal[k]));
        for (std::size_t k = 0; k < perVertex; ++k) {
            indices.push_back(static_cast<std::int16_t>(in.below(kBones + 2) - 1));
            weights.push_back(static_cast<T>(in.uniform(0.0, 1.0)));
        }
        offsets.push_back(in.below(static_cast<int>(indices.size()) + 1));
    }
    smart_ptr<BoneTransformVector> const skeleton = figure(in, kBones);
    std::vector<T> posed(vectors.size());
    using sinew::Strided;
    std::size_t const stride = 6 * sizeof(T);
    sinew::SkinInput input;
    input.positions = Strided<T const>(vectors.data(), count, stride);
    input.normals = Strided<T const>(vectors.data() + 3, count, stride);
    input.bones = skeleton->bones.data();
    input.boneCount = skeleton->bones.size();
    input.placement.translation = in.tamePoint();
    input.method = method;
    if (in.oneIn(2)) {
        input.influences = {perVertex,
                            Strided<std::int16_t const>(indices.data(), count, perVertex * sizeof(std::int16_t)),
                            Strided<T const>(weights.data(), count, perVertex * sizeof(T))};
    } else {
        input.influences = {Strided<int const>(offsets.data(), offsets.size(), sizeof(int)),
                            Strided<std::int16_t const>(indices.data(), indices.size(), sizeof(std::int16_t)),
                            Strided<T const>(weights.data(), weights.size(), sizeof(T))};
    }
    out.add(sinew::skin(input, {Strided<T>(posed.data(), count, stride), Strided<T>(posed.data() + 3, count, stride)}));
    out.add(posed);
    out.countInputs(static_cast<std::int64_t>(count));
}

void rawSkinning(Inputs& in, Record& out)
{
    while (out.count() < kInputs) {
        rawArrays<float>(in, out, sinew::SkinMethod::linear);
        rawArrays<double>(in, out, sinew::SkinMethod::linear);
        std::vector<double> matrices;
        for (int i = 0; i < 32; ++i) matrices.push_back(in.number());
        BoneTransform bones[2];
        sinew::Strided<double const> const array(matrices.data(), 2, 16 * sizeof(double));
        for (sinew::MatrixOrder const order : {sinew::MatrixOrder::rows, sinew::MatrixOrder::columns}) {
            sinew::bonesFromMatrices(array, order, bones);
            for (BoneTransform const& each : bones) out.add(each);
        }
    }
}

void dualQuaternions(Inputs& in, Record& out)
{
    while (out.count() < kInputs) {
        rawArrays<float>(in, out, sinew::SkinMethod::dualQuaternion);
        rawArrays<double>(in, out, sinew::SkinMethod::dualQuaternion);
    }
}

void substitution(Inputs& in, Record& out)
{
    while (out.count() < kInputs) {
        smart_ptr<DisplayData> const data = display(in, kVertices, kBones);
        if (in.oneIn(8)) data->placement.scale = in.special();
        {
            SubstituteGeometryData const deformed(data, figure(in, kBones));
            add(*data->surface, out);
            out.add(data->placement);
        }
        {
            SubstituteGeometryData const reversed(data);
            add(*data->surface, out);
        }
        add(*data->surface, out);
        smart_ptr<CurveDisplayData> const curve(new CurveDisplayData);
        curve->geometry = data->surface;
        {
            SubstituteGeometryData const guard(curve, nullptr);
            curve->geometry.reset();
        }
        out.add(curve->geometry->positions);
        out.countInputs(kVertices);
    }
}

void weights(Inputs& in, Record& out)
{
    while (out.count() < kInputs) {
        BoneWeightTable table;
        int const lists = in.below(20);
        for (int i = 0; i < lists; ++i) {
            table.influences.push_back(influences(in, kBones + 2));
            if (in.oneIn(8) && !table.influences.back().empty()) table.influences.back()[0].first = -1;
            if (in.oneIn(8)) table.influences.back() = {{0, 0.5}, {1, 0.5 + in.spread(-30, -10)}};
        }
        std::size_t const vertices = static_cast<std::size_t>(lists + in.below(3));
        out.add(sinew::diagnose(table, vertices, kBones));
        out.add(sinew::normalizeWeights(table));
        out.add(table.influences);
        out.countInputs(lists);
    }
}

// A strip of squares in waves, with loose triangles and other vertices around it, and bones near it.
void heat(Inputs& in, Record& out)
{
    while (out.count() < kInputs) {
        std::vector<Vector3> positions;
        std::vector<int> triangles;
        int const squares = in.below(40);
        for (int i = 0; i <= squares; ++i) {
            for (int side = 0; side < 2; ++side) {
                positions.emplace_back(0.25 * i, side, in.oneIn(3) ? 0.25 * in.lattice() : 0.0);
            }
            if (i == squares) break;
            int const a = 2 * i;
            triangles.insert(triangles.end(), {a, a + 1, a + 3, a, a + 3, a + 2});
        }
        int const others = in.below(20);
        for (int i = 0; i < others; ++i) positions.push_back(in.tamePoint());
        if (in.oneIn(8)) positions.push_back(in.point());
        int const count = static_cast<int>(positions.size());
        for (int i = 0; i < 3 * others; ++i) triangles.push_back(in.below(count));
        if (in.oneIn(16)) triangles.back() = count;

        std::vector<sinew::BoneSegment> skeleton;
        int const bones = in.below(12);
        for (int b = 0; b < bones; ++b) {
            Vector3 const start = in.oneIn(3) || skeleton.empty() ? in.tamePoint() : skeleton.back().end;
            skeleton.push_back({start, in.oneIn(8) ? start : in.tamePoint()});
        }
        auto const visibility = in.oneIn(4) ? sinew::BoneVisibility::ignored : sinew::BoneVisibility::respected;
        Vector3 const* const first = positions.data();
        sinew::HeatMesh const mesh = {sinew::coordinatesOf(first, positions.size()), sinew::packed(triangles, 3)};
        sinew::HeatWeights const result = sinew::heatWeights(mesh, skeleton, visibility);
        out.add(result);
        out.add(result.boneCount);
        out.add(result.weights);
        for (std::size_t const number :
             {result.joined, result.isolated, result.pieces, result.raisedEdges, result.shaded, result.sightless,
              result.shadedPieces, result.unknowns, result.matrixEntries, result.factorEntries}) {
            out.add(number);
        }
        out.add(result.largestCorrection);
        out.countInputs(count);
    }
}

} // namespace

std::vector<Group> skinningGroups()
{
    constexpr MathLibrary kUnused = MathLibrary::unused;
    constexpr MathLibrary kUsed = MathLibrary::used;
    return {
        {"skinning.BoneTransform.arithmetic", "pairs of bones", kUnused, bones},
        {"skinning.BoneTransform.fromEnds", "ends of bones and an angle", kUsed, bonesFromEnds},
        {"skinning.BoneTransform.interpolate", "pairs of bones and a parameter", kUsed, boneInterpolation},
        {"skinning.BoneTransformModifyer", "vertices", kUnused, deformation},
        {"skinning.BoneTransformVector", "vertices", kUnused, singleVertices},
        {"skinning.SubstituteGeometryData", "vertices", kUnused, substitution},
        {"skinning.heatWeights", "vertices", kUnused, heat},
        {"skinning.skin", "vertices", kUnused, rawSkinning},
        {"skinning.skin.dualQuaternion", "vertices", kUnused, dualQuaternions},
        {"skinning.weights", "lists of influences", kUnused, weights},
    };
}

} // namespace selftest
