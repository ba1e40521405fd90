#pragma once

/// `extrapolateAnywhere` as its docstring defines it, by searching everything, for coordinates whose squares neither
/// overflow nor underflow. Tests, benches and the fuzz target compare with it.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include <sinew/meshfunc/extrapolate_anywhere.h>
#include <sinew/meshfunc/mesh_function_2d.h>

namespace reference {

using Point = tzNM::vect2<double>;

/// A triangle with its corners, or none.
struct Corners
{
    bool exist = false;
    int index[3] = {-1, -1, -1};
    Point at[3];
};

inline Corners cornersOf(MeshFunction2D const& f, std::size_t t)
{
    Corners c;
    if (t >= f.facets.size() / 3) return c;
    std::size_t const vertices = std::min(f.params.size(), f.values.size());
    for (std::size_t k = 0; k < 3; ++k) {
        c.index[k] = f.facets[3 * t + k];
        if (c.index[k] < 0 || static_cast<std::size_t>(c.index[k]) >= vertices) return c;
        c.at[k] = f.params[static_cast<std::size_t>(c.index[k])];
    }
    c.exist = true;
    return c;
}

inline double determinantOf(Corners const& c)
{
    Point const e1 = c.at[1] - c.at[0], e2 = c.at[2] - c.at[0];
    return e1.x * e2.y - e2.x * e1.y;
}

inline bool isGood(Corners const& c)
{
    if (!c.exist) return false;
    Point const e1 = c.at[1] - c.at[0], e2 = c.at[2] - c.at[0];
    double const longest = std::max({e1.lengthSq(), e2.lengthSq(), (e2 - e1).lengthSq()});
    return std::isfinite(longest) && std::fabs(determinantOf(c)) > 0x1p-40 * longest;
}

/// Weights of the corners, in the order of `facets`.
struct CornerWeights
{
    double of[3];
    bool areInside() const { return of[0] >= -1e-8 && of[1] >= -1e-8 && of[2] >= -1e-8; }
};

inline CornerWeights weightsAt(Corners const& c, Point const& p)
{
    Point const e1 = c.at[1] - c.at[0], e2 = c.at[2] - c.at[0], d = p - c.at[0];
    double const r = 1.0 / determinantOf(c);
    double const u = r * e2.y * d.x + r * -e2.x * d.y;
    double const v = r * -e1.y * d.x + r * e1.x * d.y;
    return {{1 - u - v, u, v}};
}

inline double segmentDistSq(Point const& p, Point const& a, Point const& b)
{
    Point const d = b - a, v = p - a;
    double const t = d * v, l2 = d.lengthSq();
    if (t <= 0) return v.lengthSq();
    if (t >= l2) return (p - b).lengthSq();
    double const cross = d.x * v.y - d.y * v.x;
    return cross * (cross / l2);
}

/// The location of `p` in triangle `t`.
inline sinew::Location locationIn(MeshFunction2D const& f, Point const& p, sinew::LocationRule rule, std::size_t t,
                                  double distSq)
{
    sinew::Location found;
    Corners const c = cornersOf(f, t);
    CornerWeights const weights = weightsAt(c, p);
    found.rule = rule;
    found.triangle = static_cast<int>(t);
    std::copy(c.index, c.index + 3, found.corners);
    std::copy(weights.of, weights.of + 3, found.weights);
    found.distSq = distSq;
    return found;
}

inline bool isRefused(Corners const& c)
{
    return std::fabs(determinantOf(c)) < 1.0000000000000001e-16;
}

/// Rule 1.
inline sinew::Location searchContaining(MeshFunction2D const& f, Point const& p)
{
    if (!std::isfinite(p.x) || !std::isfinite(p.y)) return {};
    bool const evaluated = f.extrapolateFlag && f.gridSize[0] > 0; // then evaluation has refused p
    for (std::size_t t = 0; t < f.facets.size() / 3; ++t) {
        Corners const c = cornersOf(f, t);
        if (!isGood(c) || !weightsAt(c, p).areInside() || (evaluated && !isRefused(c))) continue;
        return locationIn(f, p, sinew::LocationRule::inside, t, 0);
    }
    return {};
}

/// The rules 2 and 3.
inline sinew::Location searchNearest(MeshFunction2D const& f, Point const& p)
{
    sinew::Location found;
    if (!std::isfinite(p.x) || !std::isfinite(p.y)) return found;
    double best = std::numeric_limits<double>::infinity();
    for (std::size_t k = 0; k < f.boundaryProjectors.size(); ++k) {
        std::vector<Vector3> const& points = f.boundaryProjectors[k]->points;
        for (std::size_t j = 0; j < f.boundaryFacets[k].size(); ++j) {
            auto const t = static_cast<std::size_t>(f.boundaryFacets[k][j]);
            double const d = segmentDistSq(p, {points[j].x, points[j].y}, {points[j + 1].x, points[j + 1].y});
            if (!isGood(cornersOf(f, t)) || !(d < best)) continue;
            best = d;
            found = locationIn(f, p, sinew::LocationRule::nearestBoundary, t, d);
            found.loop = static_cast<int>(k);
            found.segment = static_cast<int>(j);
        }
    }
    if (found.rule != sinew::LocationRule::none) return found;
    for (std::size_t t = 0; t < f.facets.size() / 3; ++t) {
        Corners const c = cornersOf(f, t);
        if (!isGood(c)) continue;
        double d = 0;
        if (!weightsAt(c, p).areInside()) {
            d = std::min({segmentDistSq(p, c.at[0], c.at[1]), segmentDistSq(p, c.at[1], c.at[2]),
                          segmentDistSq(p, c.at[2], c.at[0])});
        }
        if (!(d < best)) continue;
        best = d;
        found = locationIn(f, p, sinew::LocationRule::nearestTriangle, t, d);
    }
    return found;
}

/// The location where `locate` has none.
inline sinew::Location searchAnywhere(MeshFunction2D const& f, Point const& p)
{
    sinew::Location const found = searchContaining(f, p);
    return found.rule != sinew::LocationRule::none ? found : searchNearest(f, p);
}

/// `locateAnywhere`, for domains whose squares do not overflow.
inline sinew::Location locateAnywhere(MeshFunction2D const& f, Point const& p)
{
    auto const exists = [](sinew::Location const& l) { return l.rule != sinew::LocationRule::none; };
    if (f.extrapolateFlag) {
        sinew::Location const inside = sinew::locate(f, p, sinew::Outside::excluded);
        if (exists(inside)) return inside;
        sinew::Location const containing = searchContaining(f, p);
        if (exists(containing)) return containing;
    }
    sinew::Location const defined = sinew::locate(f, p);
    return exists(defined) ? defined : searchAnywhere(f, p);
}

/// Whether this location of `extrapolateAnywhere` may differ from that of `extrapolate`: evaluation refuses the point
/// and the triangle, or squares overflow.
inline bool mayDiffer(MeshFunction2D const& f, Point const& p, sinew::Location const& location)
{
    auto const isFinite = [](Point const& q) { return std::isfinite(q.x) && std::isfinite(q.y); };
    bool const isFiniteDomain = isFinite(f.domainMin) && isFinite(f.domainMax) && isFinite(p);
    if (isFiniteDomain && !std::isfinite((f.domainMax - f.domainMin).lengthSq())) return true;
    return f.extrapolateFlag && location.rule == sinew::LocationRule::inside && !f.evaluate(p, nullptr, nullptr) &&
           isRefused(cornersOf(f, static_cast<std::size_t>(location.triangle)));
}

} // namespace reference
