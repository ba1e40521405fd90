// Blending of dual quaternions, with bones that may stretch.
//
// Source: L. Kavan, S. Collins, J. Žára, C. O'Sullivan, Geometric skinning with approximate dual quaternion blending,
// ACM Transactions on Graphics 2008: the weighted sum of unit dual quaternions, divided by the length of its real part,
// and polar decomposition of bones that stretch.
//
// A bone maps a point p to M p + t, where M = R S. The rigid motion with the rotation R that maps p to the same image
// has the dual quaternion q + e u/2, where q is the quaternion of R, e the dual unit, and u = (M p + t) q - q p, a
// product of quaternions in which vectors have the real part 0. With the weights w and the signs s, the blended real
// part is b = sum of w s q. The blended motion maps p to
//
//     (b p b* + (sum of w s u) b*) / |b|^2 = (sum of w s (M p + t) q) b* / |b|^2
//
// without its real part, because the sum of w s q p is b p. This is linear in p, and the columns of that linear map,
// which are the products (M p + t) q for the axes and for the origin, are computed once for each bone. Its derivative
// maps the tangents.

#include <sinew/skinning/detail/dual_quaternion_blend.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include <sinew/core/detail/power_scale.h>
#include <sinew/detail/element_count.h>
#include <sinew/skinning/detail/raw_influences.h>
#include <sinew/skinning/detail/rotation_factor.h>
#include <sinew/skinning/detail/skin_kernel.h>

namespace sinew::detail {

namespace {

// A blended quaternion whose squared length is at most this multiple of the square of the greatest weight has no
// direction. Only negative weights can make it so short.
constexpr double kNoDirection = 1e-20;
// Weights whose greatest lies outside these limits are multiplied by a power of two. Products of two weights and a
// coordinate must neither overflow nor underflow.
constexpr double kLargeWeight = 0x1p+64;
constexpr double kSmallWeight = 0x1p-64;
// The factor is at most 2 to this power, so that it is a normal number too. It brings the least weight to 2^-74.
constexpr int kMostShift = 1000;
// The squared lengths that `makeUnit` divides by without loss. The lower limit is that of null vectors.
constexpr double kMostLengthSq = 1e300;

constexpr int kColumns = 5;

// The sums over the bones are sums of these columns. Each is a quaternion (x, y, z, w): the products of the columns 0
// to 2 of the linear part and of the translation with the quaternion of the rotation, and that quaternion.
struct alignas(64) QuaternionColumns
{
    double columns[kColumns][4];
};

// The product of a vector, as a quaternion without real part, and a quaternion.
void multiply(double const (&v)[kPaddedRows], Quaternion const& q, double (&product)[4])
{
    product[0] = q.w * v[0] + (v[1] * q.z - v[2] * q.y);
    product[1] = q.w * v[1] + (v[2] * q.x - v[0] * q.z);
    product[2] = q.w * v[2] + (v[0] * q.y - v[1] * q.x);
    product[3] = -(v[0] * q.x + v[1] * q.y + v[2] * q.z);
}

QuaternionColumns quaternionColumnsOf(BoneColumns const& bone)
{
    Matrix3 linear;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) linear(i, j) = bone.columns[j][i];
    }
    Quaternion const q = rotationFactor(linear);
    QuaternionColumns result;
    for (int j = 0; j < 4; ++j) multiply(bone.columns[j], q, result.columns[j]);
    double const rotation[4] = {q.x, q.y, q.z, q.w};
    std::copy(rotation, rotation + 4, result.columns[4]);
    return result;
}

// The weighted sum of the columns of the bones of one vertex.
template <VectorWidth width>
struct ColumnSums
{
    Rows<width> columns[kColumns];

    SINEW_KERNEL void setZero()
    {
        for (auto& column : columns) {
            for (int v = 0; v < kRowVectors<width>; ++v) column.part[v] = RowVector<width>{};
        }
    }

    SINEW_KERNEL void add(QuaternionColumns const& bone, double weight)
    {
        for (int j = 0; j < kColumns; ++j) {
            Rows<width> const& column = *reinterpret_cast<Rows<width> const*>(bone.columns[j]);
            for (int v = 0; v < kRowVectors<width>; ++v)
                columns[j].part[v] = columns[j].part[v] + column.part[v] * weight;
        }
    }

    // The blended quaternion.
    SINEW_KERNEL double const* real() const { return reinterpret_cast<double const*>(columns[4].part); }
};

SINEW_KERNEL double dot(double const* a, double const* b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2] + a[3] * b[3];
}

// The image of the vector in lane l, of which `product` is the sum of products: product b* / |b|^2 without the real
// part.
SINEW_KERNEL void setImage(double const* product, double const* b, double inverseSq, std::size_t l, VertexBlock& block)
{
    double const* const e = product;
    block.x[l] = (b[3] * e[0] - e[3] * b[0] + (b[1] * e[2] - b[2] * e[1])) * inverseSq;
    block.y[l] = (b[3] * e[1] - e[3] * b[1] + (b[2] * e[0] - b[0] * e[2])) * inverseSq;
    block.z[l] = (b[3] * e[2] - e[3] * b[2] + (b[0] * e[1] - b[1] * e[0])) * inverseSq;
}

template <VectorWidth width, bool isPoint>
SINEW_KERNEL void blendLane(ColumnSums<width> const& sums, double inverseSq, std::size_t l, VertexBlock& block)
{
    Rows<width> product;
    transformed<width>(sums.columns[0], sums.columns[1], sums.columns[2], block.x[l], block.y[l], block.z[l], product);
    if constexpr (isPoint) {
        for (int v = 0; v < kRowVectors<width>; ++v) product.part[v] = product.part[v] + sums.columns[3].part[v];
    }
    setImage(reinterpret_cast<double const*>(product.part), sums.real(), inverseSq, l, block);
}

// Which influence of a vertex determines the signs.
struct Pivot
{
    std::size_t at;     // the influence of the greatest weight in magnitude, the first one of several
    double weight;      // its magnitude
    std::size_t others; // influences besides it that have a weight
};

// `boneAt(k)` may be kNoBone. If all influences are so, the result has `at` == size.
template <typename BoneAt, typename WeightAt>
SINEW_KERNEL Pivot pivotOf(std::size_t size, BoneAt const& boneAt, WeightAt const& weightAt)
{
    Pivot pivot = {size, 0.0, 0};
    for (std::size_t k = 0; k < size; ++k) {
        if (boneAt(k) == kNoBone) continue;
        double const weight = std::fabs(weightAt(k));
        // Weights of zero count only if there are no others. NaN is not zero.
        bool const counts = weight != 0.0;
        bool const isFirst = pivot.at == size || (counts && pivot.weight == 0.0);
        if (counts && !isFirst) ++pivot.others;
        if (isFirst || weight > pivot.weight) {
            pivot.at = k;
            pivot.weight = weight;
        }
    }
    return pivot;
}

// A power of two that brings the greatest weight near 1 if it is far from it.
double scaleOfWeights(double greatest)
{
    bool const isFar = greatest > kLargeWeight || greatest < kSmallWeight;
    if (!isFar || !std::isfinite(greatest)) return 1.0;
    int exponent = 0;
    std::frexp(greatest, &exponent);
    return timesPowerOfTwo(1.0, std::clamp(-exponent, -kMostShift, kMostShift));
}

// The tangents' cross product in lane l as a unit vector, where its length is too small or too large to be squared, or
// the tangents are not finite.
void setNormalAtAnyScale(Moving const& block, std::size_t l, VertexBlock& n)
{
    double tangents[2][3] = {{block.tangent1.x[l], block.tangent1.y[l], block.tangent1.z[l]},
                             {block.tangent2.x[l], block.tangent2.y[l], block.tangent2.z[l]}};
    auto const scaled = [](double(&v)[3]) {
        double const largest = std::fmax(std::fabs(v[0]), std::fmax(std::fabs(v[1]), std::fabs(v[2])));
        int exponent = 0;
        if (std::isfinite(largest)) std::frexp(largest, &exponent);
        for (double& number : v) number = timesPowerOfTwo(number, -exponent);
    };
    auto const& a = tangents[0];
    auto const& b = tangents[1];
    scaled(tangents[0]);
    scaled(tangents[1]);
    double product[3] = {a[1] * b[2] - b[1] * a[2], a[2] * b[0] - b[2] * a[0], a[0] * b[1] - b[0] * a[1]};
    scaled(product);
    double const lengthSq = product[0] * product[0] + product[1] * product[1] + product[2] * product[2];
    double const r = 1.0 / std::sqrt(lengthSq);
    bool const isNull = lengthSq == 0.0;
    n.x[l] = isNull ? product[0] : product[0] * r;
    n.y[l] = isNull ? product[1] : product[1] * r;
    n.z[l] = isNull ? 1.0 : product[2] * r;
}

struct DualQuaternionBlend
{
    BoneColumns const* bones;
    QuaternionColumns const* turns; // of the same bones
    std::uint64_t count;            // below kNoBone

    SINEW_KERNEL std::uint64_t boneCount() const { return count; }

    template <VectorWidth width, bool withNormals>
    SINEW_KERNEL void moveByList(std::uint32_t const* indices, double const* weights, std::size_t size, std::size_t l,
                                 Moving& block) const
    {
        move<width, withNormals>(
            size, [indices](std::size_t k) { return indices[k]; }, [weights](std::size_t k) { return weights[k]; }, l,
            block);
    }

    // A function of its own, not a part of the kernel, because it is hardly ever called.
    template <bool withNormals>
    void moveByLongList(InfluenceArrays const& arrays, List const& list, std::size_t l, Moving& block) const
    {
        auto const boneAt = [&](std::size_t k) {
            std::uint64_t const bone = arrays.bone(list, k);
            return bone < count ? static_cast<std::uint32_t>(bone) : kNoBone;
        };
        auto const weightAt = [&](std::size_t k) { return arrays.weight(list, k); };
        move<VectorWidth::baseline, withNormals>(list.size, boneAt, weightAt, l, block);
    }

    SINEW_KERNEL void normals(Moving const& block, VertexBlock& n) const
    {
        crossProducts(block.tangent1, block.tangent2, n);
        VertexBlock const products = n;
        makeUnit(n);
        bool isOrdinary = true;
        for (std::size_t l = 0; l < kVertexBlock; ++l) isOrdinary = isOrdinary & hasOrdinaryLength(products, l);
        if (isOrdinary) return;
        for (std::size_t l = 0; l < kVertexBlock; ++l) {
            if (!hasOrdinaryLength(products, l)) setNormalAtAnyScale(block, l, n);
        }
    }

private:
    // False for NaN.
    SINEW_KERNEL static bool hasOrdinaryLength(VertexBlock const& v, std::size_t l)
    {
        double const lengthSq = v.x[l] * v.x[l] + v.y[l] * v.y[l] + v.z[l] * v.z[l];
        return (lengthSq >= kNullLengthSq) & (lengthSq <= kMostLengthSq);
    }

    // Moves the vertex in lane l by `size` influences. `boneAt(k)` is the index of a bone, or kNoBone.
    template <VectorWidth width, bool withNormals, typename BoneAt, typename WeightAt>
    SINEW_KERNEL void move(std::size_t size, BoneAt const& boneAt, WeightAt const& weightAt, std::size_t l,
                           Moving& block) const
    {
        Pivot const pivot = pivotOf(size, boneAt, weightAt);
        if (pivot.at == size) return;
        std::uint32_t const pivotBone = boneAt(pivot.at);
        if (pivot.others == 0) return moveByOne<width, withNormals>(bones[pivotBone], l, block);
        double const scale = scaleOfWeights(pivot.weight);
        ColumnSums<width> sums;
        sums.setZero();
        for (std::size_t k = 0; k < size; ++k) {
            std::uint32_t const bone = boneAt(k);
            double const weight = weightAt(k);
            if (bone == kNoBone || weight == 0.0) continue;
            // q and -q are the same rotation; the sum takes the one on the side of the pivot.
            bool const isOpposite = dot(turns[pivotBone].columns[4], turns[bone].columns[4]) < 0.0;
            sums.add(turns[bone], (isOpposite ? -weight : weight) * scale);
        }
        double const lengthSq = dot(sums.real(), sums.real());
        double const pivotWeight = pivot.weight * scale;
        double const shortest = kNoDirection * (pivotWeight * pivotWeight);
        // Not for weights that are NaN or infinite, which make the vertex NaN.
        if (lengthSq <= shortest && shortest < std::numeric_limits<double>::infinity())
            return moveByOne<width, withNormals>(bones[pivotBone], l, block);
        blendLane<width, true>(sums, 1.0 / lengthSq, l, block.p);
        if constexpr (withNormals) {
            blendLane<width, false>(sums, 1.0 / lengthSq, l, block.tangent1);
            blendLane<width, false>(sums, 1.0 / lengthSq, l, block.tangent2);
        }
    }
};

} // namespace

void skinByDualQuaternions(std::vector<BoneColumns> const& bones, SkinInput const& input, SkinOutput const& output,
                           std::size_t count, VectorWidth width)
{
    std::vector<QuaternionColumns> turns(elementCount<QuaternionColumns>(bones.size()));
    for (std::size_t b = 0; b < bones.size(); ++b) turns[b] = quaternionColumnsOf(bones[b]);
    skinBy(DualQuaternionBlend{bones.data(), turns.data(), bones.size()}, input, output, count, width);
}

} // namespace sinew::detail
