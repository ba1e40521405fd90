#pragma once

/// A check of points before a host relies on `bestFitLine` and `bestFitPlane` for them: these methods have an absolute
/// threshold, which small point sets fall below.

#include <vector>

#include <sinew/core/vector3.h>
#include <sinew/export.h>
#include <sinew/framework/findings.h>

namespace sinew {

/// What `diagnose` finds in points that a line or a plane is fitted to. Each enumerator states what `Finding::indices`
/// and `Finding::value` hold.
enum class FitFault
{
    /// A coordinate is NaN or infinite, so no fit has a meaning.
    /// Indices: the point. Value: the first such coordinate.
    notFinite,

    /// There are fewer than two points, so `bestFitLine` and `bestFitPlane` return false.
    /// Indices: empty. Value: the number of points.
    tooFewPoints,

    /// Several lines fit equally well, up to rounding.
    /// Indices: empty. Value: the largest standard deviation along an axis, a length.
    undeterminedLine,

    /// Several planes fit equally well, up to rounding.
    /// Indices: empty. Value: the largest standard deviation along an axis, a length.
    undeterminedPlane,

    /// The direction of `bestFitLine` is wrong by more than `kInaccurateFit`. `fitLine` has the right one.
    /// Indices: empty. Value: the angle between both, in radians, in (kInaccurateFit, pi / 2]. If the squares of the
    /// coordinates overflow, it may be any angle or NaN.
    inaccurateLine,

    /// The normal of `bestFitPlane` is wrong by more than `kInaccurateFit`. `fitPlane` has the right one.
    /// Indices: empty. Value: the angle between both, in radians, in (kInaccurateFit, pi / 2]. If the squares of the
    /// coordinates overflow, it may be any angle or NaN.
    inaccuratePlane,
};

/// All findings about one set of points.
using FitDiagnosis = Diagnosis<FitFault>;

/// The error of a direction, in radians, from which on `diagnose` reports it.
inline constexpr double kInaccurateFit = 1e-6;

/// Reports what makes `bestFitLine` and `bestFitPlane` unreliable for these points. No finding means that both
/// directions exist and are right to `kInaccurateFit`.
///
/// The error is measured, not estimated: the directions are compared with those of `fitLine` and `fitPlane`. It comes
/// from the absolute threshold of `jacobiMethod`. Points that spread over less than about 0.1 length units may be
/// affected, and points that spread over less than about 1e-4 always are, unless they lie along the coordinate axes.
/// Coordinates beyond about 1e154 overflow its squares.
///
/// The findings are in the order of `FitFault`; those of `notFinite` ascend by their point. After `notFinite` and
/// `tooFewPoints` nothing else is examined. An undetermined direction is not compared. Cost: linear in the number of
/// points. Strong guarantee.
SINEW_API FitDiagnosis diagnose(std::vector<::Vector3> const& points);

} // namespace sinew
