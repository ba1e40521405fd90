#pragma once

/// Extrapolation that always has a result: where `MeshFunction2D::extrapolate` refuses a point, because the nearest
/// boundary triangle is flat, because the domain is tiny or because the point is far away, these functions continue
/// from the nearest triangle that is not degenerate. Inside a small triangle that evaluation refuses they use that
/// triangle.
///
///     tzNM::vect2<double> value;
///     sinew::extrapolateAnywhere(function, {u, v}, &value, nullptr); // true for every finite point

#include <cstddef>
#include <optional>

#include <sinew/core/progress.h>
#include <sinew/core/strided.h>
#include <sinew/export.h>
#include <sinew/framework/vect2.h>
#include <sinew/meshfunc/location.h>

class MeshFunction2D;

namespace sinew {

/// The value at any point of the plane. Arguments as for `MeshFunction2D::extrapolate`.
///
/// Where `function.extrapolate` returns true, this function returns true, and with the same bits except in two cases.
/// Inside a good triangle that `evaluate` refuses, `extrapolate` continues a boundary triangle, however far away it is;
/// this function uses the good triangle (with `extrapolateFlag`; the older extrapolation keeps its bits). And if the
/// square of the extent of a finite domain overflows, from about 1e154, the defined methods give meaningless values and
/// are not used for a finite point. Elsewhere this function uses the affine map of one **good** triangle. It takes the
/// first of these that exists:
///
/// 1. the good triangle with the smallest index that contains `p`: no barycentric weight is below -1e-8. Triangles that
///    `evaluate` has tried are left out. With `extrapolateFlag` this comes before the boundary triangle that
///    `extrapolate` continues;
/// 2. of the boundary segments whose triangle is good, the triangle of the nearest, among the loops in
///    `boundaryProjectors`;
/// 3. the nearest good triangle of the function. This happens if every boundary triangle is degenerate, or if the
///    function has no boundary: `extrapolateFlag` was not set when it was built, its domain is smaller than 1e-8, or
///    every edge has two triangles.
///
/// **Good** is relative, so it means the same at any scale: the corners exist, all coordinates and edges are finite,
/// and the magnitude of the determinant (twice the area) is larger than 2^-40 of the square of the longest edge. The
/// determinant of such a triangle is rounded by less than 1 part in 1000. The limit of the defined methods, a
/// determinant of 1e-16, is absolute: it refuses well-shaped triangles with sides below 1e-8, and in a domain of size
/// 1e6 it accepts triangles whose determinant is only rounding. The bits of `extrapolate` are kept there. A triangle
/// with a corner that is not finite may accept any point of its cells and give NaN, also points of other triangles;
/// these bits are kept as well. `diagnose` names such triangles and those that the defined methods refuse. Outside a
/// domain smaller than about 1e-6 the absolute margins of the defined methods can choose another triangle than the
/// nearest; scale such a domain to the order of one before you build the function. A domain whose margins overflow,
/// above 1e308, is not recognised as finite: its results may be meaningless.
///
/// @return true for every finite point if the function has a good triangle. For a point with a NaN or infinite
///         coordinate, and without a good triangle, what `function.extrapolate` returns, but false for a finite point
///         if the square of the extent overflows. If this is false, the outputs are left unwritten.
///
/// Ties: of equally near boundary segments the first in the order of loops and segments is used, of equally near
/// triangles the one with the smallest index. Squared distances are compared in double after scaling by a power of two,
/// so they neither overflow nor, unless they are below 1e-290 of the squared extent, underflow. The extent is that of
/// all vertices, also of those that no triangle uses. A value that the continuation carries beyond the range of doubles
/// is infinite or NaN.
///
/// Cost: that of `function.evaluate` where that has a result. Otherwise rule 1 looks at the triangles in one cell of
/// the grid, of which it tests those that evaluation refuses, if it is not known that there are none; then follows the
/// cost of `function.extrapolate`. Rule 2 tests the boundary segments, and with more than four loops only those of the
/// loops that can be nearest; rule 3 tests all triangles, and so does rule 1 without a grid. Only what
/// `function.extrapolate` allocates is allocated, with its guarantee.
SINEW_API bool extrapolateAnywhere(MeshFunction2D const& function, tzNM::vect2<double> const& p,
                                   tzNM::vect2<double>* out, float* outScalar);

/// The location of `p`: that of the triangle with which `extrapolateAnywhere` computes its result.
///
/// @return rule `none`, with all other members as initialised, exactly where `extrapolateAnywhere` returns false.
///
/// Where `extrapolateAnywhere` keeps the bits of `extrapolate`, this is the location of `locate`. Elsewhere the rules 1
/// to 3 of `extrapolateAnywhere` give `LocationRule::inside`, `nearestBoundary` and `nearestTriangle`. `blend` of the
/// entries of `values` gives the bits of `extrapolateAnywhere`. Distances beyond the range of doubles are 0 or
/// infinite. Cost and guarantee are those of `extrapolateAnywhere`.
SINEW_API Location locateAnywhere(MeshFunction2D const& function, tzNM::vect2<double> const& p);

/// `extrapolateAnywhere` for the points of an array with two coordinates an element, with the same bits. Arguments and
/// result as for `evaluateMany`; points in a vector of numbers are `packed(numbers, 2)`. If std::bad_alloc is thrown,
/// any of the outputs may have been written.
SINEW_API std::size_t extrapolateAnywhereMany(MeshFunction2D const& function, RealArray const& points,
                                              tzNM::vect2<double>* values, float* scalars, bool* found);

/// `locateAnywhere` for the points of an array. Arguments and result as for `locateMany`.
SINEW_API std::size_t locateAnywhereMany(MeshFunction2D const& function, RealArray const& points, Location* locations);

/// Both with progress. See `Progress`: the value is empty if the host has cancelled. The results are computed in memory
/// of their own, 21 bytes a point for all outputs and 64 for a location, and copied at the end. Strong guarantee.
SINEW_API std::optional<std::size_t> extrapolateAnywhereMany(MeshFunction2D const& function, RealArray const& points,
                                                             tzNM::vect2<double>* values, float* scalars, bool* found,
                                                             Progress const& progress);
SINEW_API std::optional<std::size_t> locateAnywhereMany(MeshFunction2D const& function, RealArray const& points,
                                                        Location* locations, Progress const& progress);

} // namespace sinew
