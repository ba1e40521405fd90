#pragma once

/// Mesh functions on all pixels of a regular grid of points, as baking into textures needs them. The results have the
/// bits of single calls, pixel by pixel, and take a fraction of their time: inside the mesh triangles are drawn instead
/// of pixels being searched, and outside neighbouring pixels share the search of the boundary.
///
///     sinew::Raster raster;
///     raster.origin = {0.5 / width, 0.5 / height}; // the middle of the first pixel
///     raster.step = {1.0 / width, 1.0 / height};
///     raster.width = width;
///     raster.height = height;
///     sinew::extrapolateRaster(function, raster, values.data(), nullptr, nullptr);

#include <cstddef>
#include <optional>

#include <sinew/core/progress.h>
#include <sinew/export.h>
#include <sinew/framework/vect2.h>
#include <sinew/meshfunc/location.h>

class MeshFunction2D;

namespace sinew {

/// A regular grid of points, in rows. The point of the pixel in column i and row j is
/// (origin.x + i * step.x, origin.y + j * step.y): one rounded product and one rounded sum a coordinate.
///
/// Any numbers are allowed, also steps that are negative, zero or not finite.
struct Raster
{
    tzNM::vect2<double> origin;     ///< the point of column 0, row 0
    tzNM::vect2<double> step{1, 1}; ///< x from a column to the next one; y from a row to the next one
    int width = 0;                  ///< number of columns; without pixels if it is 0 or less
    int height = 0;                 ///< number of rows; without pixels if it is 0 or less
    /// Elements from the beginning of a row to that of the next one, in all output arrays. At least `width`, or 0,
    /// which stands for `width`. What lies between the rows is neither read nor written.
    std::size_t rowStride = 0;
};

/// The point of a pixel. `column` and `row` may lie outside the raster.
SINEW_API tzNM::vect2<double> pixelPoint(Raster const& raster, int column, int row);

/// `function.evaluate` for the points of all pixels, with the same bits.
///
/// @param values   receives at index column + rowStride * row the value of a pixel that has one; may be null.
/// @param scalars  receives at the same index its scalar; may be null.
/// @param found    receives at the same index whether the pixel has a value; may be null.
/// @return the number of pixels with a value.
///
/// `values` and `scalars` are left unwritten at pixels without a value. The arrays must not overlap. All arrays may be
/// null if there are no pixels.
///
/// Cost: linear in the pixels and in the triangles of the grid cells that have pixels. Where triangles overlap,
/// drawing ends when all pixels have one. Memory: about 16 bytes a row and a column, and up to 200 bytes for each pixel
/// of one grid cell. Strong guarantee: without memory std::bad_alloc is thrown, and nothing has been written.
SINEW_API std::size_t evaluateRaster(MeshFunction2D const& function, Raster const& raster, tzNM::vect2<double>* values,
                                     float* scalars, bool* found);

/// `function.extrapolate` for the points of all pixels, with the same bits. Arguments and result as for
/// `evaluateRaster`.
///
/// If `extrapolateFlag` is not set, this takes the time of single calls. Basic guarantee: if std::bad_alloc is thrown,
/// some pixels may have been written.
SINEW_API std::size_t extrapolateRaster(MeshFunction2D const& function, Raster const& raster,
                                        tzNM::vect2<double>* values, float* scalars, bool* found);

/// `locate` for the points of all pixels, with the same bits. `locations` receives the location of each pixel at index
/// column + rowStride * row, also where there is none; it may be null if there are no pixels.
///
/// Returns the number of pixels whose rule is not `none`. Cost and guarantee are those of `evaluateRaster` for
/// `Outside::excluded` and of `extrapolateRaster` for `Outside::extrapolated`.
SINEW_API std::size_t locateRaster(MeshFunction2D const& function, Raster const& raster, Location* locations,
                                   Outside outside = Outside::extrapolated);

/// The same with progress. See `Progress`: the value is empty if the host has cancelled. The results are computed in
/// memory of their own, 21 bytes a pixel for all outputs of a function and 64 for a location, and copied at the end.
/// Strong guarantee. The progress is reported tile by tile, and row by row where pixels are searched for by themselves.
SINEW_API std::optional<std::size_t> evaluateRaster(MeshFunction2D const& function, Raster const& raster,
                                                    tzNM::vect2<double>* values, float* scalars, bool* found,
                                                    Progress const& progress);
SINEW_API std::optional<std::size_t> extrapolateRaster(MeshFunction2D const& function, Raster const& raster,
                                                       tzNM::vect2<double>* values, float* scalars, bool* found,
                                                       Progress const& progress);
SINEW_API std::optional<std::size_t> locateRaster(MeshFunction2D const& function, Raster const& raster,
                                                  Location* locations, Outside outside, Progress const& progress);

} // namespace sinew
