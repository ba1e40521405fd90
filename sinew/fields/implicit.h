#pragma once

/// Interpolation of values at scattered points of space by a radial basis function, for example to fit an implicit
/// surface to scanned points.

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include <sinew/core/progress.h>
#include <sinew/core/strided.h>
#include <sinew/core/vector3.h>
#include <sinew/export.h>
#include <sinew/framework/findings.h>

/// The function f(p) = c0 + c . p + sum over i of lambda_i |p - x_i|^3, which takes given values at the points x_i.
///
/// Among all functions that interpolate the values, it is the smoothest one: it has the smallest semi-norm in the
/// native space of the cubic kernel. It is twice continuously differentiable everywhere. If the values are those of a
/// linear function, it equals c0 + c . p. With the value 0 at points of a surface and the signed distance at some
/// points off it, f = 0 is an implicit surface through these points.
///
/// Source: J. Duchon, Splines minimizing rotation-invariant semi-norms in Sobolev spaces, 1977. For surfaces: J. C.
/// Carr et al., Reconstruction and representation of 3D objects with radial basis functions, 2001.
class Implicit
{
public:
    std::vector<::Vector3> centres;   ///< The points x_i, in input order.
    std::vector<double> coefficients; ///< The coefficients lambda_i, one for each centre.
    double constantTerm = 0.0;        ///< c0
    ::Vector3 linearTerm;             ///< c

    /// Fits the function to points and the values that it must take there.
    ///
    /// The input needs at least four points that do not lie in one plane; all numbers must be finite and no two points
    /// equal. Otherwise the linear system is singular: the coefficients then come from a partly reduced matrix and have
    /// no meaning, and no error is reported. Call `sinew::diagnose` first. Without points all terms are zero.
    ///
    /// The cubes of distances grow fast, so keep the extent of the points within a few powers of ten of 1. The system
    /// is dense: about 2 n^3 operations and 8 n^2 bytes (`sinew::estimateCost`), which are released at the end. The
    /// object itself takes 32 bytes a centre. Strong guarantee.
    SINEW_API explicit Implicit(std::vector<std::pair<::Vector3, double>> const& pointsWithValues);

    Implicit(Implicit const&) = default;
    Implicit(Implicit&&) noexcept = default;
    /// Strong guarantee: if an allocation fails, the function is unchanged.
    Implicit& operator=(Implicit const& other) { return *this = Implicit(other); }
    Implicit& operator=(Implicit&&) noexcept = default;
    ~Implicit() = default;

    /// f(p). At a centre it is the value given there, to rounding. A NaN coordinate gives NaN. Cost: one square root
    /// for each centre; no allocation.
    ///
    /// If `centres` and `coefficients` have different sizes, the additional entries of the longer one are ignored.
    SINEW_API double evaluate(::Vector3 const& p) const;

    /// The gradient of f at p: c + sum over i of 3 lambda_i |p - x_i| (p - x_i).
    ///
    /// A NaN coordinate of p gives three NaN, unless there is no centre: the gradient is then c. Cost and different
    /// sizes as in `evaluate`.
    SINEW_API ::Vector3 getGradient(::Vector3 const& p) const;
};

namespace sinew {

/// `Implicit(pointsWithValues)` with progress. See `Progress`. If the system is singular, the progress slows down: the
/// elimination is then done a second time, by a slower method.
SINEW_API std::optional<::Implicit> makeImplicit(std::vector<std::pair<::Vector3, double>> const& pointsWithValues,
                                                 Progress const& progress);

/// f at each of `count` points, with the bits that `Implicit::evaluate` gives, in less time.
///
/// `points` and `values` may be null only if `count` is 0; they must not overlap.
SINEW_API void evaluateMany(Implicit const& field, ::Vector3 const* points, std::size_t count, double* values);

/// The gradient of f at each of `count` points, with the bits that `Implicit::getGradient` gives, in less time.
///
/// `gradients` may be equal to `points` but not overlap it otherwise; both may be null only if `count` is 0.
SINEW_API void gradientMany(Implicit const& field, ::Vector3 const* points, std::size_t count, ::Vector3* gradients);

/// The same for points in an array of the host, with three coordinates an element. The arrays must not overlap.
SINEW_API void evaluateMany(Implicit const& field, RealArray const& points, double* values);
SINEW_API void gradientMany(Implicit const& field, RealArray const& points, ::Vector3* gradients);

/// Both with progress. See `Progress`: false if the host has cancelled. The results are computed in memory of their
/// own, 8 and 24 bytes a point, and copied at the end. Strong guarantee. Points as `Vector3` are passed by
/// `coordinatesOf`.
SINEW_API bool evaluateMany(Implicit const& field, RealArray const& points, double* values, Progress const& progress);
SINEW_API bool gradientMany(Implicit const& field, RealArray const& points, ::Vector3* gradients,
                            Progress const& progress);

/// What makes the linear system of `Implicit` singular or its solution useless.
///
/// Indices of points count from 0. Where nothing is said about `indices` or `value`, they are empty and 0.
enum class ImplicitFault
{
    notFinite,      ///< A coordinate or a value is NaN or infinite. `indices`: {point}; `value`: that number.
    repeatedCentre, ///< Two points are equal. `indices`: {first, second}, with first < second.
    tooFewPoints,   ///< Fewer than four points have finite coordinates. `value`: their number.
    coplanar,       ///< All points lie in one plane, to 1e-12 of their extent, so the linear part is undetermined.
    zeroPivot,      ///< The elimination found a pivot of exactly zero. `indices`: {column} of the (n + 4) x (n + 4)
                    ///< system of n points; the last four columns belong to c0 and to the coordinates of c.
    outOfRange      ///< A factor of the elimination is not finite, because cubes of distances overflow (from distances
                    ///< of about 1e102 on) or pivots are below about 1e-308.
};

/// The result of `sinew::diagnose` for the input of `Implicit`.
using ImplicitDiagnosis = Diagnosis<ImplicitFault>;

/// Finds everything in the input that makes the system of `Implicit` singular or its solution useless. Without findings
/// a fit interpolates its input.
///
/// The findings are in the order of `ImplicitFault`, and in ascending order of their indices within one kind.
///
/// - A point with several numbers that are not finite gives one finding, with the first of x, y, z and the value.
/// - A point with a coordinate that is not finite takes part in no other check.
/// - A point that occurs several times gives one finding for each repetition; its first occurrence is always the first
///   index. Coordinates of 0.0 and -0.0 are equal.
/// - `zeroPivot` and `outOfRange` are searched for only if there is no other finding, since that takes an elimination.
///
/// Cost: n log n if there is another finding, and about as much as the fit otherwise. Strong guarantee.
SINEW_API ImplicitDiagnosis diagnose(std::vector<std::pair<::Vector3, double>> const& pointsWithValues);

/// The same with progress. See `Progress`.
SINEW_API std::optional<ImplicitDiagnosis> diagnose(std::vector<std::pair<::Vector3, double>> const& pointsWithValues,
                                                    Progress const& progress);

/// Time and memory of a fit of `Implicit`.
struct ImplicitCost
{
    double flops; ///< Additions and multiplications of the elimination: about 2 n^3.
    double bytes; ///< Largest amount of memory that is allocated at one time, without input and result: about 8 n^2,
                  ///< and twice as much if the system is singular or the elimination not finite.
};

/// The cost of fitting `Implicit` to `count` points. For example, 20,000 points take 1.6e13 flops and 3.2 GB.
SINEW_API ImplicitCost estimateCost(std::size_t count);

} // namespace sinew
