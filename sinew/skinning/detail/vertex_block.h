#pragma once

/// Linear blend skinning of a block of vertices: what the deformation of display data and that of raw arrays share. Not
/// installed.
///
/// All functions give the bits of `BoneTransformVector::getTransformed` with a normal, at every vector width.

#include <cmath>
#include <cstddef>

#include <sinew/core/tolerances.h>
#include <sinew/core/transform.h>
#include <sinew/core/vector3.h>
#include <sinew/detail/vectors.h>
#include <sinew/skinning/bone_transform.h>

namespace sinew::detail {

/// Vertices of one block. All blocks of a step fit into the first-level cache. A much smaller block is slower:
/// compilers unroll a loop of eight steps completely before they try to vectorise it, and the result is scalar code
/// (measured: half the speed).
inline constexpr std::size_t kVertexBlock = 32;

/// The vectors of one block, component by component, so that one instruction works on several vectors. Where the
/// functions for a single vector branch, the functions for a block compute both sides and select one.
struct VertexBlock
{
    double x[kVertexBlock];
    double y[kVertexBlock];
    double z[kVertexBlock];
};

/// Rows of a bone's 3x3 linear part, and one row of padding, so that a column fills a vector of four doubles.
inline constexpr int kPaddedRows = 4;

/// A bone, arranged so that one instruction works on all rows of a column. The columns 0 to 2 are its linear part,
/// column 3 is the translation.
struct alignas(64) BoneColumns
{
    double columns[4][kPaddedRows];
};

inline BoneColumns columnsOf(BoneTransform const& bone)
{
    BoneColumns result = {};
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) result.columns[j][i] = bone.linear(i, j);
        result.columns[3][i] = bone.translation[i];
    }
    return result;
}

/// Maps each vector v to linear * (scale * v) + translation, in the order of operations of `Transform`.
SINEW_KERNEL void place(Transform const& t, Vector3 translation, VertexBlock& block)
{
    // Copies, because the compiler cannot know that the stores to the block do not change the transform.
    Matrix3 const m = t.linear;
    double const scale = t.scale;
    for (std::size_t l = 0; l < kVertexBlock; ++l) {
        double const x = block.x[l] * scale;
        double const y = block.y[l] * scale;
        double const z = block.z[l] * scale;
        block.x[l] = m(0, 0) * x + m(0, 1) * y + m(0, 2) * z + translation.x;
        block.y[l] = m(1, 0) * x + m(1, 1) * y + m(1, 2) * z + translation.y;
        block.z[l] = m(2, 0) * x + m(2, 1) * y + m(2, 2) * z + translation.z;
    }
}

/// Normalises each vector as the constructor of `UVector3` does.
SINEW_KERNEL void makeUnit(VertexBlock& block)
{
    for (std::size_t l = 0; l < kVertexBlock; ++l) {
        double const x = block.x[l];
        double const y = block.y[l];
        double const z = block.z[l];
        double const lengthSq = x * x + y * y + z * z;
        double const r = 1.0 / std::sqrt(lengthSq);
        bool const null = lengthSq < kNullLengthSq;
        block.x[l] = null ? x : x * r;
        block.y[l] = null ? y : y * r;
        block.z[l] = null ? 1.0 : z * r;
    }
}

SINEW_KERNEL void crossProducts(VertexBlock const& a, VertexBlock const& b, VertexBlock& result)
{
    for (std::size_t l = 0; l < kVertexBlock; ++l) {
        result.x[l] = a.y[l] * b.z[l] - b.y[l] * a.z[l];
        result.y[l] = a.z[l] * b.x[l] - b.z[l] * a.x[l];
        result.z[l] = a.x[l] * b.y[l] - b.x[l] * a.y[l];
    }
}

/// Two tangents of each normal, as `getBasis` gives them.
SINEW_KERNEL void bases(VertexBlock const& n, VertexBlock& e1, VertexBlock& e2)
{
    for (std::size_t l = 0; l < kVertexBlock; ++l) {
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

/// The vectors that hold a padded column: one of four doubles, or several narrower ones.
template <VectorWidth width>
using RowVector = Vector<width == VectorWidth::baseline ? VectorWidth::baseline : VectorWidth::avx2>;
template <VectorWidth width>
inline constexpr int kRowVectors = kPaddedRows* static_cast<int>(sizeof(double)) /
                                   static_cast<int>(sizeof(RowVector<width>));

/// A padded column.
template <VectorWidth width>
struct Rows
{
    RowVector<width> part[kRowVectors<width>];
};

/// Column j of a bone.
template <VectorWidth width>
SINEW_KERNEL Rows<width> const& column(BoneColumns const& bone, int j)
{
    return *reinterpret_cast<Rows<width> const*>(bone.columns[j]);
}

/// linear * (x, y, z), one row a lane, where `c0` to `c2` are the columns of the linear map. Each row sums its three
/// products in the order of `Matrix3`.
template <VectorWidth width>
SINEW_KERNEL void transformed(Rows<width> const& c0, Rows<width> const& c1, Rows<width> const& c2, double x, double y,
                              double z, Rows<width>& result)
{
    for (int v = 0; v < kRowVectors<width>; ++v) result.part[v] = c0.part[v] * x + c1.part[v] * y + c2.part[v] * z;
}

template <VectorWidth width>
SINEW_KERNEL void setLane(VertexBlock& block, std::size_t l, Rows<width> const& rows)
{
    double const* const v = reinterpret_cast<double const*>(rows.part);
    block.x[l] = v[0];
    block.y[l] = v[1];
    block.z[l] = v[2];
}

/// Applies the linear map with these columns to the vector in lane l.
template <VectorWidth width>
SINEW_KERNEL void transformLane(Rows<width> const& c0, Rows<width> const& c1, Rows<width> const& c2, VertexBlock& block,
                                std::size_t l)
{
    Rows<width> result;
    transformed<width>(c0, c1, c2, block.x[l], block.y[l], block.z[l], result);
    setLane<width>(block, l, result);
}

/// Applies the linear part of the bone to the vector in lane l.
template <VectorWidth width>
SINEW_KERNEL void turnLane(BoneColumns const& bone, VertexBlock& block, std::size_t l)
{
    transformLane<width>(column<width>(bone, 0), column<width>(bone, 1), column<width>(bone, 2), block, l);
}

/// The position (x, y, z) moved by the bone at full weight.
template <VectorWidth width>
SINEW_KERNEL void movedBy(BoneColumns const& bone, double x, double y, double z, Rows<width>& result)
{
    transformed<width>(column<width>(bone, 0), column<width>(bone, 1), column<width>(bone, 2), x, y, z, result);
    for (int v = 0; v < kRowVectors<width>; ++v) result.part[v] = result.part[v] + column<width>(bone, 3).part[v];
}

/// Moves the position in lane l by a bone at full weight.
template <VectorWidth width>
SINEW_KERNEL void moveLane(BoneColumns const& bone, VertexBlock& p, std::size_t l)
{
    Rows<width> moved;
    movedBy<width>(bone, p.x[l], p.y[l], p.z[l], moved);
    setLane<width>(p, l, moved);
}

/// The weighted sums over the bones of one vertex: of its moved positions, which start from zero, and of the linear
/// parts, which start from the first one. `withLinear` is false where only the position is wanted.
template <VectorWidth width, bool withLinear>
struct BlendSums
{
    Rows<width> position;
    Rows<width> linear[3];

    SINEW_KERNEL void start(BoneColumns const& bone, double weight, double x, double y, double z)
    {
        Rows<width> moved;
        movedBy<width>(bone, x, y, z, moved);
        for (int v = 0; v < kRowVectors<width>; ++v) {
            // The addition of zero turns -0.0 into 0.0.
            position.part[v] = 0.0 + moved.part[v] * weight;
            if constexpr (withLinear) {
                for (int j = 0; j < 3; ++j) linear[j].part[v] = column<width>(bone, j).part[v] * weight;
            }
        }
    }

    SINEW_KERNEL void add(BoneColumns const& bone, double weight, double x, double y, double z)
    {
        Rows<width> moved;
        movedBy<width>(bone, x, y, z, moved);
        for (int v = 0; v < kRowVectors<width>; ++v) {
            position.part[v] = position.part[v] + moved.part[v] * weight;
            if constexpr (withLinear) {
                for (int j = 0; j < 3; ++j)
                    linear[j].part[v] = linear[j].part[v] + column<width>(bone, j).part[v] * weight;
            }
        }
    }

    /// Applies the blended linear part to the vector in lane l.
    SINEW_KERNEL void turn(VertexBlock& block, std::size_t l) const
    {
        transformLane<width>(linear[0], linear[1], linear[2], block, l);
    }
};

} // namespace sinew::detail
