#pragma once

/// The raster queries at a given vector width, for tests: the width changes no result.

#include <cstddef>

#include <sinew/detail/dispatch.h>
#include <sinew/meshfunc/location.h>
#include <sinew/meshfunc/mesh_function_2d.h>
#include <sinew/meshfunc/raster.h>

namespace sinew::detail {

/// `evaluateRaster` or `extrapolateRaster`. `width` must not exceed `widestVectors()`.
std::size_t valuesOnRaster(MeshFunction2D const& f, Raster const& raster, Outside outside, tzNM::vect2<double>* values,
                           float* scalars, bool* found, VectorWidth width);

/// `locateRaster`. `width` must not exceed `widestVectors()`.
std::size_t locationsOnRaster(MeshFunction2D const& f, Raster const& raster, Outside outside, Location* locations,
                              VectorWidth width);

} // namespace sinew::detail
