#pragma once

/// A smooth function of space through given values at scattered points: a radial basis function.

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include <sinew/core/vector3.h>
#include <sinew/export.h>

/// f(p) = c0 + c . p + sum over i of lambda_i |p - x_i|^3: the smoothest interpolant of its values in the sense of the
/// cubic kernel, twice differentiable everywhere, linear where the values are.
///
/// With values 0 on a surface and, say, the signed offset at points off it, f = 0 is an implicit surface through them.
/// Source: J. Duchon, Splines minimizing rotation-invariant semi-norms in Sobolev spaces, 1977; fitted surfaces:
/// J. C. Carr et al., Reconstruction and representation of 3D objects with radial basis functions, 2001.
class Implicit
{
public:
    std::vector<Vector3> centres;     ///< x_i, in input order.
    std::vector<double> coefficients; ///< lambda_i, one for each centre.
    double constantTerm = 0.0;        ///< c0
    Vector3 linearTerm;               ///< c

    /// Fits the function to points with the values to interpolate there.
    ///
    /// At least four points that are not in one plane are needed, no two of them equal, all finite. Otherwise the
    /// system is singular and the coefficients are whatever its inversion left, without any sign of the error: ask
    /// `sinew::diagnose` first. No points at all give all terms zero.
    /// The kernel's powers grow with the cube of the extent; keep coordinates within a few powers of ten of 1.
    /// Dense: about n^3 products and sums and 8 n^2 bytes; ask `sinew::estimateCost` first.
    SINEW_API explicit Implicit(std::vector<std::pair<Vector3, double>> const& pointsWithValues);

    /// f(p). At a centre this is its value, to rounding. Cost: one square root a centre.
    ///
    /// If a host has left `centres` and `coefficients` of different size, the surplus is ignored.
    SINEW_API double evaluate(Vector3 const& p) const;

    /// The gradient of f at p: c + sum of 3 lambda_i |p - x_i| (p - x_i). Cost as `evaluate`.
    SINEW_API Vector3 getGradient(Vector3 const& p) const;
};

namespace sinew {

/// f at each of `count` points, bit for bit as `Implicit::evaluate` gives it, in a fraction of the time.
///
/// `points` and `values` may be null only when `count` is 0; they must not overlap.
SINEW_API void evaluateMany(Implicit const& field, Vector3 const* points, std::size_t count, double* values);

/// The gradient of f at each of `count` points, bit for bit as `Implicit::getGradient` gives it.
///
/// `gradients` may be `points`; both may be null only when `count` is 0.
SINEW_API void gradientMany(Implicit const& field, Vector3 const* points, std::size_t count, Vector3* gradients);

/// One reason why `Implicit` cannot be trusted to interpolate its input.
struct ImplicitProblem
{
    enum class Kind
    {
        notFinite,      ///< a coordinate or a value is NaN or infinite: `first` is its index
        repeatedCentre, ///< two points are equal: `first` < `second` are their indices
        tooFewPoints,   ///< fewer than four that are finite: `first` is their number
        coplanar,       ///< all points lie in one plane, to a relative 1e-12: the linear part is undetermined
        vanishedPivot,  ///< the elimination met a pivot of exactly zero: `first` is its column, counted from 0, where
                        ///< the columns from n on are those of c0 and c
        outOfRange      ///< the elimination overflowed: cubes of distances beyond 1e102, or pivots below 1e-308
    };
    Kind kind;
    int first = -1;      ///< see `kind`; -1 where it says nothing
    int second = -1;     ///< see `kind`; -1 where it says nothing
    std::string message; ///< the same as an English sentence with a full stop
};

/// Everything that makes the system of `Implicit` singular or useless for this input, in the order of
/// `ImplicitProblem::Kind`, each in ascending order of indices; empty when a fit can be trusted.
///
/// A centre that repeats several times is reported once for each repetition, with the first of its kind as `first`.
/// Points with a coordinate of NaN or infinity take part in no other check. Coordinates of 0.0 and -0.0 are equal.
/// The elimination is tried only when nothing else was found, so a refusal costs n log n and an approval as much as
/// the fit itself.
SINEW_API std::vector<ImplicitProblem> diagnose(std::vector<std::pair<Vector3, double>> const& pointsWithValues);

/// What a fit of `Implicit` takes.
struct ImplicitCost
{
    double flops; ///< additions and multiplications of the elimination, about 2 n^3
    double bytes; ///< most memory held at once beside input and result, about 8 n^2; twice that for singular input
};

/// The cost of fitting `Implicit` to `count` points; twenty thousand take 1.6e13 flops and 3.2 GB.
SINEW_API ImplicitCost estimateCost(std::size_t count);

} // namespace sinew
