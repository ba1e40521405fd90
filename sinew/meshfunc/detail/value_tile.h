#pragma once

/// The values and scalars of the pixels of a tile.
///
/// They are interpolated when a triangle is drawn, because its weights at the pixels are known then. Components have
/// arrays of their own, because compilers do not vectorise loops over pairs of them reliably. When all triangles are
/// drawn, the rows are copied to the arrays of the host.

#include <sinew/detail/dispatch.h>
#include <sinew/meshfunc/detail/interpolation.h>
#include <sinew/meshfunc/detail/prepared_triangle.h>
#include <sinew/meshfunc/detail/raster_tile.h>

namespace sinew::detail {

/// One component of the values, or the scalar, at the corners of a triangle.
template <typename T>
struct AtCorners
{
    T first;
    T second;
    T third;

    SINEW_KERNEL T interpolated(Weights const& weights) const
    {
        return detail::interpolated(weights, first, second, third);
    }
};

/// One number for each pixel of a tile. Pixels without a triangle keep what an earlier tile has left; nothing reads it.
template <typename T>
struct TileNumbers
{
    alignas(kCacheLine) T pixels[RasterTile::kRows][RasterTile::kColumns] = {};

    SINEW_KERNEL T* at(TestedPixels const& tested) { return pixels[tested.row] + tested.column; }
};

/// The values and scalars of the pixels of a tile.
struct ValueTile
{
    TileNumbers<double> x;
    TileNumbers<double> y;
    TileNumbers<float> scalar;
};

/// Sets the owners of pixels, and interpolates the values there.
SINEW_KERNEL void drawValues(AtCorners<double> const& xAtCorners, AtCorners<double> const& yAtCorners,
                             RowWeights const& weights, TestedPixels const& tested, ValueTile* tile)
{
    double const* __restrict const x = tested.x;
    double* __restrict const owners = tested.owners;
    double* __restrict const outX = tile->x.at(tested);
    double* __restrict const outY = tile->y.at(tested);
    for (int i = 0; i < tested.count; ++i) {
        Weights const w = weights.at(x[i]);
        double const owner = ownerAfter(w, owners[i], tested.owner);
        owners[i] = owner;
        outX[i] = owner == tested.owner ? xAtCorners.interpolated(w) : outX[i];
        outY[i] = owner == tested.owner ? yAtCorners.interpolated(w) : outY[i];
    }
}

/// Interpolates the scalars at the pixels that the triangle owns.
SINEW_KERNEL void drawScalars(AtCorners<float> const& atCorners, RowWeights const& weights, TestedPixels const& tested,
                              ValueTile* tile)
{
    double const* __restrict const x = tested.x;
    double const* __restrict const owners = tested.owners;
    float* __restrict const out = tile->scalar.at(tested);
    for (int i = 0; i < tested.count; ++i) {
        float const scalar = atCorners.interpolated(weights.at(x[i]));
        out[i] = owners[i] == tested.owner ? scalar : out[i];
    }
}

} // namespace sinew::detail
