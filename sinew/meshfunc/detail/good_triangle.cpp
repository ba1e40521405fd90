// Sources: C. Ericson, Real-Time Collision Detection, 2005, sections 3.4 (barycentric weights) and 5.1.2 (distance to a
// segment). N. J. Higham, Accuracy and Stability of Numerical Algorithms, 2nd edition 2002, section 3.1, for the
// rounding of the determinant.

#include <sinew/meshfunc/detail/good_triangle.h>

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include <sinew/core/detail/power_scale.h>
#include <sinew/detail/as_index.h>
#include <sinew/meshfunc/detail/mesh_cells.h>
#include <sinew/meshfunc/detail/mesh_search.h>

namespace sinew::detail {

namespace {

using Point = tzNM::vect2<double>;

// A triangle is good if its determinant is larger than this part of the square of its longest edge. The determinant is
// rounded by at most 8 * 2^-53 of that square (an edge by 2^-53 of itself, twice in each product; the products and
// their difference once), which is less than 1 part in 1000 of a determinant above the limit.
constexpr double kFlatness = 0x1p-40;

// Exponents of scales are clamped to this, so that scale and 1 / scale are normal numbers.
constexpr int kLargestExponent = 1000;

// Squares of coordinates that are scaled by a power of two with a smaller exponent lie well inside the range of
// doubles.
constexpr int kOrdinaryExponent = 400;

bool isFinite(Point const& p)
{
    return std::isfinite(p.x) && std::isfinite(p.y);
}

// Whether the point with these weights lies in the triangle. Unlike `Weights::accepted`, false for NaN weights: far
// away from a tiny triangle weights overflow.
bool isInside(Weights const& weights)
{
    return weights.u >= -kInsideTolerance && weights.v >= -kInsideTolerance && weights.w >= -kInsideTolerance;
}

double largestOf(Point const& p)
{
    return std::max(std::fabs(p.x), std::fabs(p.y));
}

// The exponent of the power of two that brings `magnitude`, which must be finite, to [1/2, 1). 0 for a zero.
int scalingExponent(double magnitude)
{
    int exponent = 0;
    std::frexp(magnitude, &exponent);
    return std::clamp(-exponent, -kLargestExponent, kLargestExponent);
}

// The largest finite coordinate of the vertices and of `p`, or a little more.
double largestCoordinate(MeshFunction2D const& f, Point const& p)
{
    double largest = largestOf(p);
    if (hasGrid(f) && isFinite(f.domainMin) && isFinite(f.domainMax)) {
        return std::max({largest, largestOf(f.domainMin), largestOf(f.domainMax)});
    }
    for (Point const& vertex : f.params) {
        if (isFinite(vertex)) largest = std::max(largest, largestOf(vertex));
    }
    return largest;
}

// Squared distances from one point, in coordinates that are scaled so that no square overflows.
class ScaledDistance
{
public:
    ScaledDistance(MeshFunction2D const& f, Point const& p)
        : exponent_(scalingExponent(largestCoordinate(f, p))), scale_(timesPowerOfTwo(1.0, exponent_)), p_(scale_ * p)
    {
    }

    // To the segment from `a` to `b`: NaN or infinite if a coordinate is not finite, so never less than a distance.
    // Without margins, so that it does not depend on the scale.
    double toSegment(Point const& a, Point const& b) const
    {
        Point const d = scale_ * b - scale_ * a;
        Point const v = p_ - scale_ * a;
        double const t = d * v;
        if (t <= 0) return v.lengthSq();
        double const l2 = d.lengthSq();
        if (t >= l2) return (p_ - scale_ * b).lengthSq();
        // More accurate than a difference of squares. The square itself would underflow for short segments.
        double const cross = d.x * v.y - d.y * v.x;
        return cross * (cross / l2);
    }

    // To the axis-aligned box of three points: at most the distance to their triangle, up to rounding.
    double toBox(Point const& a, Point const& b, Point const& c) const
    {
        double sum = 0;
        for (int k = 0; k < 2; ++k) {
            double const low = std::min({a[k], b[k], c[k]}) * scale_;
            double const high = std::max({a[k], b[k], c[k]}) * scale_;
            double const outside = std::max({low - p_[k], p_[k] - high, 0.0});
            sum += outside * outside;
        }
        return sum;
    }

    // A scaled squared distance in the unit of the domain, and the reverse.
    double unscaled(double distSq) const { return distSq * (1 / scale_) * (1 / scale_); }

    // Whether unscaled squares neither overflow nor underflow where it matters.
    bool isOrdinary() const { return std::abs(exponent_) <= kOrdinaryExponent; }

private:
    int exponent_;
    double scale_;
    Point p_;
};

// Rule 1: the first good triangle that contains p, among those that evaluation has not tried.
class Containing
{
public:
    Containing(MeshFunction2D const& f, Point const& p)
        : f_(f), p_(p), mayBeTried_(f.extrapolateFlag && hasGrid(f) && asksDefinedMethods(f, p))
    {
    }

    FoundTriangle search()
    {
        if (!hasGrid(f_)) {
            std::size_t const count = f_.facets.size() / kCorners;
            for (std::size_t t = 0; t < count; ++t) {
                if (accepts(static_cast<int>(t))) return found_;
            }
            return found_;
        }
        int cell[2];
        bool isNaN = false;
        for (int k = 0; k < 2; ++k) {
            if (!cellOfPoint(f_, p_[k], k, &cell[k], &isNaN)) return found_;
        }
        if (mayBeTried_ && hasTriedAll(cell)) return found_;
        std::vector<int> const* const list = cellList(f_, cell);
        if (list) static_cast<void>(std::any_of(list->begin(), list->end(), [&](int t) { return accepts(t); }));
        return found_;
    }

private:
    // Whether evaluation is known to refuse no triangle of the cell, as in most meshes. It has built the structure.
    bool hasTriedAll(int const cell[2]) const
    {
        TriangleLocator const* const locator = MeshFunctionAccess::locator(f_);
        if (!locator || !locator->matches(viewOf(f_))) return false;
        CellTriangles const* const known = locator->known(cellIndex(cell[0], cell[1], f_.gridSize[1]));
        return known && !known->refusesTriangles();
    }

    bool accepts(int t)
    {
        int corners[kCorners];
        if (t < 0 || !triangleCorners(f_.facets, asIndex(t), vertexCountOf(f_), corners)) return false;
        // `evaluate` has tried what is above its threshold. Most triangles are, so this test comes first.
        if (mayBeTried_ && std::fabs(TriangleEdges(f_.params, corners).determinant()) >= kGramZero) return false;
        GoodTriangle triangle;
        if (!prepareGoodTriangle(f_, t, &triangle) || !isInside(triangle.weightsAt(p_))) return false;
        found_.rule = LocationRule::inside;
        found_.triangle = triangle;
        return true;
    }

    MeshFunction2D const& f_;
    Point const& p_;
    bool mayBeTried_;
    FoundTriangle found_;
};

// Rule 2: of the boundary segments whose triangle is good, the triangle of the nearest.
class NearestAtBoundary
{
public:
    NearestAtBoundary(MeshFunction2D const& f, ScaledDistance const& distance) : f_(f), distance_(distance) {}

    FoundTriangle search(Point const& p)
    {
        LoopBoxes const* const boxes = MeshFunctionAccess::loopBoxes(f_);
        if (boxes && boxes->loopCount() == f_.boundaryProjectors.size() && distance_.isOrdinary()) {
            boxes->visitNearest(p, &bound_, [&](std::size_t k) { tryLoop(k); });
        } else {
            for (std::size_t k = 0; k < f_.boundaryProjectors.size(); ++k) tryLoop(k);
        }
        found_.distSq = distance_.unscaled(best_);
        return found_;
    }

private:
    void tryLoop(std::size_t k)
    {
        if (!f_.boundaryProjectors[k] || k >= f_.boundaryFacets.size()) return;
        std::vector<Vector3> const& points = f_.boundaryProjectors[k]->points;
        std::vector<int> const& triangles = f_.boundaryFacets[k];
        for (std::size_t j = 0; j + 1 < points.size() && j < triangles.size(); ++j) {
            double const d = distance_.toSegment({points[j].x, points[j].y}, {points[j + 1].x, points[j + 1].y});
            // Loops come in any order, so a tie must be decided by the index.
            bool const isNearer = d < best_ || (d == best_ && found_.loop >= 0 && k < asIndex(found_.loop));
            if (!isNearer || !prepareGoodTriangle(f_, triangles[j], &found_.triangle)) continue;
            found_.rule = LocationRule::nearestBoundary;
            found_.loop = static_cast<int>(k);
            found_.segment = static_cast<int>(j);
            best_ = d;
            bound_ = distance_.unscaled(d);
        }
    }

    FoundTriangle found_;
    MeshFunction2D const& f_;
    ScaledDistance const& distance_;
    double best_ = std::numeric_limits<double>::infinity();
    double bound_ = best_; // the same in the unit of the domain
};

// Rule 3: the nearest good triangle. Its distance is 0 if it contains p, which happens only with a triangle that the
// cell of p does not list: rule 1 has tried the others.
FoundTriangle nearestTriangle(MeshFunction2D const& f, Point const& p, ScaledDistance const& distance)
{
    FoundTriangle found;
    double best = std::numeric_limits<double>::infinity();
    std::size_t const count = f.facets.size() / kCorners;
    for (std::size_t t = 0; t < count; ++t) {
        int corners[kCorners];
        if (!triangleCorners(f.facets, t, vertexCountOf(f), corners)) continue;
        Point const& a = f.params[asIndex(corners[0])];
        Point const& b = f.params[asIndex(corners[1])];
        Point const& c = f.params[asIndex(corners[2])];
        if (distance.toBox(a, b, c) > best) continue;
        GoodTriangle triangle;
        if (!prepareGoodTriangle(f, static_cast<int>(t), &triangle)) continue;
        double const d = isInside(triangle.weightsAt(p))
                             ? 0.0
                             : std::min({distance.toSegment(a, b), distance.toSegment(b, c), distance.toSegment(c, a)});
        if (!(d < best)) continue;
        found.rule = LocationRule::nearestTriangle;
        found.triangle = triangle;
        best = d;
    }
    found.distSq = distance.unscaled(best);
    return found;
}

} // namespace

bool prepareGoodTriangle(MeshFunction2D const& f, int t, GoodTriangle* out)
{
    int corners[kCorners];
    if (t < 0 || !triangleCorners(f.facets, asIndex(t), vertexCountOf(f), corners)) return false;
    TriangleEdges edges(f.params, corners);
    Point const third = edges.second - edges.first;
    if (!isFinite(edges.first) || !isFinite(edges.second) || !isFinite(third)) return false;
    double const scale =
        timesPowerOfTwo(1.0, scalingExponent(std::max(largestOf(edges.first), largestOf(edges.second))));
    edges.first = scale * edges.first;
    edges.second = scale * edges.second;
    double const det = edges.determinant();
    double const longest = std::max({edges.first.lengthSq(), edges.second.lengthSq(), (scale * third).lengthSq()});
    if (!(std::fabs(det) > kFlatness * longest)) return false;
    out->scaled = preparedTriangle(f.params, corners, edges, det, t);
    out->scaled.origin = scale * out->scaled.origin;
    out->scale = scale;
    return true;
}

bool asksDefinedMethods(MeshFunction2D const& f, Point const& p)
{
    bool const isFiniteDomain = isFinite(f.domainMin) && isFinite(f.domainMax);
    return !isFiniteDomain || std::isfinite((f.domainMax - f.domainMin).lengthSq()) || !isFinite(p);
}

FoundTriangle findContaining(MeshFunction2D const& f, Point const& p)
{
    return isFinite(p) ? Containing(f, p).search() : FoundTriangle{};
}

FoundTriangle findNearest(MeshFunction2D const& f, Point const& p)
{
    if (!isFinite(p)) return {};
    ScaledDistance const distance(f, p);
    FoundTriangle const found = NearestAtBoundary(f, distance).search(p);
    return found.rule != LocationRule::none ? found : nearestTriangle(f, p, distance);
}

} // namespace sinew::detail
