#pragma once

/// The raster queries at a given vector width, for tests: the width changes no result.

#include <cstddef>

#include <sinew/detail/dispatch.h>
#include <sinew/meshfunc/location.h>
#include <sinew/meshfunc/mesh_function_2d.h>
#include <sinew/meshfunc/raster.h>

namespace sinew::detail {

class ProgressMeter;

/// `evaluateRaster` or `extrapolateRaster`.
/// @param width  at most `widestVectors()`
/// @param meter  receives the progress; may be null
std::size_t valuesOnRaster(MeshFunction2D const& f, Raster const& raster, Outside outside, tzNM::vect2<double>* values,
                           float* scalars, bool* found, VectorWidth width, ProgressMeter* meter = nullptr);

/// `locateRaster`. The last two parameters are those of `valuesOnRaster`.
std::size_t locationsOnRaster(MeshFunction2D const& f, Raster const& raster, Outside outside, Location* locations,
                              VectorWidth width, ProgressMeter* meter = nullptr);

} // namespace sinew::detail
