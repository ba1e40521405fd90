#pragma once

/// Where a point lies in a mesh function: the triangle, the barycentric weights and the rule that chose them. One
/// location interpolates any attributes of the vertices: positions in space, normals, colours. The 3D point of a
/// texture coordinate is then one call:
///
///     double position[3];
///     sinew::Location const location = sinew::locate(function, {u, v});
///     if (sinew::blend(location, positions, 3, 3, position)) use(position);

#include <cstddef>
#include <optional>

#include <sinew/core/progress.h>
#include <sinew/core/strided.h>
#include <sinew/export.h>
#include <sinew/framework/vect2.h>

class MeshFunction2D;

namespace sinew {

/// How the triangle of a location was chosen.
enum class LocationRule
{
    none,            ///< there is no triangle
    inside,          ///< the triangle accepts the point, as `MeshFunction2D::evaluate` defines it
    nearestBoundary, ///< no triangle accepts the point; this one has the nearest boundary segment
    nearestEdge,     ///< as `MeshFunction2D::extrapolateOld` chooses it; the point may lie inside
    nearestTriangle  ///< of `locateAnywhere` only: no boundary triangle can be used; this is the nearest triangle
};

/// What a query does with a point that no triangle accepts.
enum class Outside
{
    extrapolated, ///< what `MeshFunction2D::extrapolate` does
    excluded      ///< what `MeshFunction2D::evaluate` does: such a point has no result
};

/// The triangle whose affine map gives the result of a query, and the weights of the point in it.
struct Location
{
    LocationRule rule = LocationRule::none;
    int triangle = -1;             ///< index of the triangle; -1 if there is none
    int corners[3] = {-1, -1, -1}; ///< its vertices, in the order of `facets`
    int loop = -1;                 ///< for nearestBoundary: index in `boundaryProjectors`; otherwise -1
    int segment = -1;              ///< for nearestBoundary: index of the segment in its loop; otherwise -1
    double weights[3] = {0, 0, 0}; ///< barycentric weights of the corners; their sum is 1 up to rounding
    /// Squared distance to what the rule names: the boundary segment, the triangle, or the edge as
    /// `MeshFunction2D::iDistToEdge` gives it, which rounding may make slightly negative on the edge. 0 for the other
    /// rules.
    double distSq = 0;
};

/// The location of `p`: that of the triangle with which the function computes its result.
///
/// @param p        the point, in the frame of `params`.
/// @param outside  `Outside::extrapolated` gives the location that `function.extrapolate` uses, also if
///                 `extrapolateFlag` is not set; `Outside::excluded` gives that of `function.evaluate`.
/// @return rule `none`, with all other members as initialised, exactly where that query returns false.
///
/// `blend` of the entries of `values` with the location gives the bits of the query's value. If the function has a
/// scalar (`normaldots` is at least as long as `values`), `blend` of `normaldots` gives the bits of the query's scalar.
/// Ties, NaN and thresholds are those of the query. A weight may be below 0, by up to 1e-8 for rule `inside` and by any
/// amount for the other rules. A point with a NaN coordinate has NaN weights.
///
/// Cost and guarantee are those of the query: std::bad_alloc is thrown only where `extrapolate` throws it.
SINEW_API Location locate(MeshFunction2D const& function, tzNM::vect2<double> const& p,
                          Outside outside = Outside::extrapolated);

/// `locate` for `count` points, with the same bits. `locations` receives at index i the location of points[i], also
/// where there is none.
///
/// Both arrays may be null if `count` is 0 and must not overlap. Returns the number of points whose rule is not `none`.
/// If std::bad_alloc is thrown, some locations may have been written.
SINEW_API std::size_t locateMany(MeshFunction2D const& function, tzNM::vect2<double> const* points, std::size_t count,
                                 Location* locations, Outside outside = Outside::extrapolated);

/// The same for points in an array of the host, with two coordinates an element; those of a vector of numbers are
/// `packed(numbers, 2)`.
SINEW_API std::size_t locateMany(MeshFunction2D const& function, RealArray const& points, Location* locations,
                                 Outside outside = Outside::extrapolated);

/// Both with progress. See `Progress`: the value is empty if the host has cancelled. The locations are computed in
/// memory of their own, 64 bytes a point, and copied at the end. Strong guarantee.
SINEW_API std::optional<std::size_t> locateMany(MeshFunction2D const& function, tzNM::vect2<double> const* points,
                                                std::size_t count, Location* locations, Outside outside,
                                                Progress const& progress);
SINEW_API std::optional<std::size_t> locateMany(MeshFunction2D const& function, RealArray const& points,
                                                Location* locations, Outside outside, Progress const& progress);

/// The attributes of the vertices, interpolated at a location.
///
/// Component c of the result is weights[1] * a1 + weights[2] * a2 + weights[0] * a0, summed in this order, where ak is
/// attributes[stride * corners[k] + c].
///
/// @param attributes  of all vertices that `facets` names. Those of vertex i begin at index stride * i. Must not be
///                    null, unless the location has no triangle.
/// @param components  numbers in an attribute: 3 for positions in space. May be 0.
/// @param stride      numbers from one vertex to the next, at least `components`: 3 for packed positions, more if a
///                    vertex has other data, too.
/// @param out         receives `components` numbers. Must not overlap `attributes`.
/// @return whether the location has a triangle. If false, `out` is left unwritten.
///
/// The double form computes in double. The float form multiplies in double and rounds each partial sum to float, as
/// `MeshFunction2D` does with its scalar. Interpolated normals are not of unit length. Never throws.
SINEW_API bool blend(Location const& location, double const* attributes, std::size_t components, std::size_t stride,
                     double* out);
SINEW_API bool blend(Location const& location, float const* attributes, std::size_t components, std::size_t stride,
                     float* out);

/// `blend` for `count` locations, with the same bits.
///
/// The result of locations[i] begins at out[outStride * i]; `outStride` is at least `components`. It is left unwritten
/// where the location has no triangle. Returns the number of locations with a triangle. All three arrays may be null if
/// `count` is 0. The arrays must not overlap. Never throws.
SINEW_API std::size_t blendMany(Location const* locations, std::size_t count, double const* attributes,
                                std::size_t components, std::size_t stride, double* out, std::size_t outStride);
SINEW_API std::size_t blendMany(Location const* locations, std::size_t count, float const* attributes,
                                std::size_t components, std::size_t stride, float* out, std::size_t outStride);

} // namespace sinew
