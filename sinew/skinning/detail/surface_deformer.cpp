#include <sinew/skinning/detail/surface_deformer.h>

#include <cmath>

#include <sinew/core/tolerances.h>

namespace {

using sinew::detail::DeformationInput;
using Influences = std::vector<std::pair<int, double>>;

// Small enough to stay in the first-level cache, large enough that compilers see loops to vectorise: loops over eight
// are unrolled first and then come out scalar (measured: half the speed).
constexpr std::size_t kBlock = 32;

// Vectors component by component, so that one instruction works on several of them. Where the one-at-a-time code
// branches, both sides are computed and one is selected.
struct Block
{
    double x[kBlock];
    double y[kBlock];
    double z[kBlock];
};

// A bone with one row per lane: the columns of its linear part, then its translation. The fourth lane is padding.
struct BoneColumns
{
    double linear[3][4];
    double translation[4];
};

BoneColumns columnsOf(BoneTransform const& bone)
{
    BoneColumns result = {};
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) result.linear[j][i] = bone.linear(i, j);
        result.translation[i] = bone.translation[i];
    }
    return result;
}

template <typename Vector>
SINEW_KERNEL void load(Vector const* source, std::size_t lanes, Block& block)
{
    block = {};
    for (std::size_t l = 0; l < lanes; ++l) {
        block.x[l] = source[l].x;
        block.y[l] = source[l].y;
        block.z[l] = source[l].z;
    }
}

// linear * (scale * v) + translation, as `Transform` maps a point.
SINEW_KERNEL void place(Transform const& t, Vector3 const& translation, Block& block)
{
    Matrix3 const m = t.linear;
    double const scale = t.scale;
    for (std::size_t l = 0; l < kBlock; ++l) {
        double const x = block.x[l] * scale;
        double const y = block.y[l] * scale;
        double const z = block.z[l] * scale;
        block.x[l] = m(0, 0) * x + m(0, 1) * y + m(0, 2) * z + translation.x;
        block.y[l] = m(1, 0) * x + m(1, 1) * y + m(1, 2) * z + translation.y;
        block.z[l] = m(2, 0) * x + m(2, 1) * y + m(2, 2) * z + translation.z;
    }
}

// What the constructor of `UVector3` does.
SINEW_KERNEL void makeUnit(Block& block)
{
    for (std::size_t l = 0; l < kBlock; ++l) {
        double const x = block.x[l];
        double const y = block.y[l];
        double const z = block.z[l];
        double const lengthSq = x * x + y * y + z * z;
        double const r = 1.0 / std::sqrt(lengthSq);
        bool const null = lengthSq < sinew::kNullLengthSq;
        block.x[l] = null ? x : x * r;
        block.y[l] = null ? y : y * r;
        block.z[l] = null ? 1.0 : z * r;
    }
}

SINEW_KERNEL void crossProducts(Block const& a, Block const& b, Block& result)
{
    for (std::size_t l = 0; l < kBlock; ++l) {
        result.x[l] = a.y[l] * b.z[l] - b.y[l] * a.z[l];
        result.y[l] = a.z[l] * b.x[l] - b.z[l] * a.x[l];
        result.z[l] = a.x[l] * b.y[l] - b.x[l] * a.y[l];
    }
}

// What `getBasis` does.
SINEW_KERNEL void bases(Block const& n, Block& e1, Block& e2)
{
    for (std::size_t l = 0; l < kBlock; ++l) {
        double const ax = std::fabs(n.x[l]);
        double const ay = std::fabs(n.y[l]);
        double const az = std::fabs(n.z[l]);
        bool const alongX = (ay > ax) & (az > ax);
        bool const aboveY = az > ay;
        double const sx = alongX ? 1.0 : 0.0;
        double const sy = alongX ? 0.0 : (aboveY ? 1.0 : 0.0);
        double const sz = alongX ? 0.0 : (aboveY ? 0.0 : 1.0);
        double const dot = n.x[l] * sx + n.y[l] * sy + n.z[l] * sz;
        e1.x[l] = sx - n.x[l] * dot;
        e1.y[l] = sy - n.y[l] * dot;
        e1.z[l] = sz - n.z[l] * dot;
    }
    makeUnit(e1);
    crossProducts(n, e1, e2);
    makeUnit(e2);
}

SINEW_KERNEL void transformed(double const (&linear)[3][4], double x, double y, double z, double (&result)[4])
{
    for (int r = 0; r < 4; ++r) result[r] = linear[0][r] * x + linear[1][r] * y + linear[2][r] * z;
}

SINEW_KERNEL void setLane(Block& block, std::size_t l, double const (&v)[4])
{
    block.x[l] = v[0];
    block.y[l] = v[1];
    block.z[l] = v[2];
}

SINEW_KERNEL void turn(double const (&linear)[3][4], Block& tangents, std::size_t l)
{
    double turned[4];
    transformed(linear, tangents.x[l], tangents.y[l], tangents.z[l], turned);
    setLane(tangents, l, turned);
}

// One vertex under one or more bones. A lone influence moves it fully, whatever its weight.
SINEW_KERNEL void moveByBones(BoneColumns const* bones, Influences const& influences, std::size_t l, Block& p,
                              Block& tangent1, Block& tangent2)
{
    double const x = p.x[l];
    double const y = p.y[l];
    double const z = p.z[l];
    BoneColumns const& first = bones[influences[0].first];
    double moved[4];
    transformed(first.linear, x, y, z, moved);
    for (int r = 0; r < 4; ++r) moved[r] = moved[r] + first.translation[r];
    if (influences.size() == 1) {
        setLane(p, l, moved);
        turn(first.linear, tangent1, l);
        turn(first.linear, tangent2, l);
        return;
    }

    double const weight = influences[0].second;
    double position[4];
    double blended[3][4];
    for (int r = 0; r < 4; ++r) {
        position[r] = 0.0 + moved[r] * weight; // the sum starts from zero, the blended matrix with its first term
        for (int j = 0; j < 3; ++j) blended[j][r] = first.linear[j][r] * weight;
    }
    for (std::size_t k = 1; k < influences.size(); ++k) {
        BoneColumns const& bone = bones[influences[k].first];
        double const w = influences[k].second;
        transformed(bone.linear, x, y, z, moved);
        for (int r = 0; r < 4; ++r) {
            position[r] = position[r] + (moved[r] + bone.translation[r]) * w;
            for (int j = 0; j < 3; ++j) blended[j][r] = blended[j][r] + bone.linear[j][r] * w;
        }
    }
    setLane(p, l, position);
    turn(blended, tangent1, l);
    turn(blended, tangent2, l);
}

SINEW_KERNEL void deformBody(DeformationInput const& input, BoneColumns const* bones, Vector3* positions,
                             UVector3* normals)
{
    for (std::size_t start = 0; start < input.count; start += kBlock) {
        std::size_t const lanes = input.count - start < kBlock ? input.count - start : kBlock;
        Block p;
        Block n;
        load(input.positions + start, lanes, p);
        load(input.normals + start, lanes, n);
        place(input.placement, input.placement.translation, p);
        place(input.placement, Vector3(), n);
        makeUnit(n);
        if (input.weights) {
            Block tangent1;
            Block tangent2;
            bases(n, tangent1, tangent2);
            Influences const* const lists = input.weights->influences.data() + start;
            for (std::size_t l = 0; l < lanes; ++l) {
                if (!lists[l].empty()) moveByBones(bones, lists[l], l, p, tangent1, tangent2);
            }
            crossProducts(tangent1, tangent2, n);
            makeUnit(n);
        }
        for (std::size_t l = 0; l < lanes; ++l) {
            positions[start + l] = Vector3(p.x[l], p.y[l], p.z[l]);
            static_cast<Vector3&>(normals[start + l]) = Vector3(n.x[l], n.y[l], n.z[l]);
        }
    }
}

void deformBaseline(DeformationInput const& input, BoneColumns const* bones, Vector3* positions, UVector3* normals)
{
    deformBody(input, bones, positions, normals);
}

#if SINEW_WIDE_KERNELS
SINEW_AVX2 void deformAvx2(DeformationInput const& input, BoneColumns const* bones, Vector3* positions,
                           UVector3* normals)
{
    deformBody(input, bones, positions, normals);
}
SINEW_AVX512 void deformAvx512(DeformationInput const& input, BoneColumns const* bones, Vector3* positions,
                               UVector3* normals)
{
    deformBody(input, bones, positions, normals);
}
#endif

} // namespace

void sinew::detail::deformVertices(DeformationInput const& input, Vector3* positions, UVector3* normals,
                                   VectorWidth width)
{
    std::vector<BoneColumns> bones;
    bones.reserve(input.bones.size());
    for (BoneTransform const& bone : input.bones) bones.push_back(columnsOf(bone));
#if SINEW_WIDE_KERNELS
    if (width == VectorWidth::avx512) return deformAvx512(input, bones.data(), positions, normals);
    if (width == VectorWidth::avx2) return deformAvx2(input, bones.data(), positions, normals);
#else
    (void)width;
#endif
    deformBaseline(input, bones.data(), positions, normals);
}
