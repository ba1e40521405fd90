// The equation for the smooth minimum has one increasing and convex side, so that Newton's method from above descends
// to its solution: A. M. Ostrowski, Solution of Equations and Systems of Equations, 1960, chapter 9.

#include <sinew/fields/symmetric_smooth_distance.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include <sinew/core/detail/progress_meter.h>
#include <sinew/core/detail/real_array.h>
#include <sinew/detail/as_index.h>
#include <sinew/fields/detail/distance_results.h>

namespace sinew {

namespace {

using detail::asIndex;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Newton steps. Equal distances of n segments need about log(n), and a step that does not descend ends the iteration.
constexpr int kMostSteps = 200;

// Segments under a box of the lowest level, and boxes under one of the next level.
constexpr std::size_t kFanOut = 8;

constexpr std::size_t kQueriesBetweenReports = 16;

// A box is left out only if it is farther than its distance says by this much: relative to the distance, and relative
// to the largest coordinate. The nearest point on a segment is rounded, and may lie outside the box of the segment.
constexpr double kRelativeMargin = 0x1p-46;

bool isFinite(Vector3 const& v)
{
    return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

// The nearest point on a segment, as the offset from it to the query, and its distance.
struct Nearest
{
    Vector3 offset;
    double dist;
    bool isInside; // not at an end of the segment
};

Nearest nearestOnSegment(Vector3 const& q, Vector3 const& a, Vector3 const& b)
{
    Vector3 const along = b - a;
    double const lengthSq = along.lengthSq();
    double const t = (q - a) * along;
    Nearest result{};
    result.isInside = t > 0 && t < lengthSq;
    if (result.isInside) {
        result.offset = q - (a + (t / lengthSq) * along);
    } else {
        result.offset = t > 0 ? q - b : q - a; // without length t is 0
    }
    result.dist = std::sqrt(result.offset.lengthSq());
    return result;
}

// NaN if a coordinate is not finite.
double distanceToSegment(Vector3 const& q, Vector3 const& a, Vector3 const& b)
{
    return isFinite(a) && isFinite(b) ? nearestOnSegment(q, a, b).dist : kNaN;
}

// The segments that a query needs, in the order of the polyline.
struct Candidates
{
    std::vector<int> segments;
    std::vector<double> dists;
};

// `visit(segment, distance)` for all segments, or for those of a list.
struct AllSegments
{
    std::vector<Vector3> const& points;
    Vector3 const& q;

    template <typename Visit>
    void forEach(Visit const& visit) const
    {
        for (std::size_t i = 0; i + 1 < points.size(); ++i) {
            visit(i, distanceToSegment(q, points[i], points[i + 1]));
        }
    }
};

struct ListedSegments
{
    Candidates const& list;

    template <typename Visit>
    void forEach(Visit const& visit) const
    {
        for (std::size_t i = 0; i < list.segments.size(); ++i) visit(asIndex(list.segments[i]), list.dists[i]);
    }
};

// s with sum over i of max(0, s - e_i)^3 = 1, where e_i = (d_i - nearest) / width. 0 < s <= 1.
template <typename Segments>
double solvedLevel(Segments const& segments, double nearest, double width)
{
    double s = 1.0; // the nearest segment alone gives a sum of 1
    for (int step = 0; step < kMostSteps; ++step) {
        double cubes = 0.0;
        double squares = 0.0;
        segments.forEach([&](std::size_t, double dist) {
            double const rest = s - (dist - nearest) / width;
            if (!(rest > 0)) return; // also NaN
            squares += rest * rest;
            cubes += rest * rest * rest;
        });
        double const next = s - (cubes - 1.0) / (3.0 * squares);
        if (!(next < s && next > 0)) break;
        s = next;
    }
    return s;
}

// The derivatives of the distance to one segment.
struct Derivatives
{
    Vector3 grad;
    Matrix3 hess;
};

Matrix3 outer(Vector3 const& v)
{
    Matrix3 result;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) result(i, j) = v[i] * v[j];
    }
    return result;
}

// The Hessian is that of the distance to a point, without the direction of the segment if the nearest point can move.
Derivatives derivativesOf(Vector3 const& q, Vector3 const& a, Vector3 const& b, bool wantsHessian)
{
    Nearest const nearest = nearestOnSegment(q, a, b);
    Derivatives result;
    result.hess = Matrix3() * 0.0;
    if (!(nearest.dist > 0)) return result;
    double const inverse = 1.0 / nearest.dist;
    result.grad = nearest.offset * inverse;
    if (!wantsHessian) return result;
    Matrix3 const acrossGradient = outer(result.grad);
    Vector3 const along = b - a;
    // Normalised first: the square of a short segment may be too small for its reciprocal.
    Vector3 const unit = nearest.isInside ? along * (1.0 / std::sqrt(along.lengthSq())) : Vector3();
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            double const identity = i == j ? 1.0 : 0.0;
            result.hess(i, j) = (identity - acrossGradient(i, j) - unit[i] * unit[j]) * inverse;
        }
    }
    return result;
}

void add(Matrix3* sum, double factor, Matrix3 const& m)
{
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) (*sum)(i, j) += factor * m(i, j);
    }
}

// A difference of unit vectors in which rounding errors count as zero. A narrow blend would enlarge their squares.
Vector3 withoutRounding(Vector3 const& difference)
{
    constexpr double kRounding = 0x1p-51;
    auto const cut = [](double x) { return std::fabs(x) <= kRounding ? 0.0 : x; };
    return {cut(difference.x), cut(difference.y), cut(difference.z)};
}

// Which outputs a call wants.
struct Wanted
{
    bool grad;
    bool hess;
};

// The field for one query, from the segments that are given.
template <typename Segments>
class Blend
{
public:
    Blend(std::vector<Vector3> const& points, Vector3 const& q, double width, Segments const& segments)
        : points_(points), q_(q), width_(width), segments_(segments)
    {
    }

    SmoothDistance evaluate(Wanted const& wanted) const
    {
        SmoothDistance result;
        result.hess = Matrix3() * 0.0;
        result.dist = kInfinity;
        std::size_t first = 0;
        segments_.forEach([&](std::size_t segment, double dist) {
            if (!(dist < result.dist)) return;
            result.dist = dist;
            first = segment;
        });
        if (result.dist == kInfinity) return result;
        double const nearest = result.dist;
        double const level = width_ > 0 ? solvedLevel(segments_, nearest, width_) : 1.0;
        if (level < 1.0) {
            result.dist = nearest - width_ * (1.0 - level);
            if (wanted.grad || wanted.hess) addDerivatives(nearest, level, wanted, &result);
        } else if (wanted.grad || wanted.hess) {
            Derivatives const one = derivativesOf(q_, points_[first], points_[first + 1], wanted.hess);
            result.grad = one.grad;
            result.hess = one.hess;
        }
        return result;
    }

private:
    // Calls visit(rest, derivatives) for the segments within the blend: rest = level - e_i > 0.
    template <typename Visit>
    void forBlended(double nearest, double level, bool wantsHessian, Visit const& visit) const
    {
        segments_.forEach([&](std::size_t i, double dist) {
            double const rest = level - (dist - nearest) / width_;
            if (rest > 0) visit(rest, derivativesOf(q_, points_[i], points_[i + 1], wantsHessian));
        });
    }

    // The derivatives of the equation: with r_i = level - e_i, the gradient is the mean of those of d_i with the
    // weights r_i^2; the Hessian is that of their Hessians, less 2 / width times the mean spread of the gradients, by
    // r_i.
    void addDerivatives(double nearest, double level, Wanted const& wanted, SmoothDistance* result) const
    {
        double sum = 0.0;
        forBlended(nearest, level, wanted.hess, [&](double rest, Derivatives const& d) {
            double const weight = rest * rest;
            sum += weight;
            result->grad = result->grad + weight * d.grad;
            if (wanted.hess) add(&result->hess, weight, d.hess);
        });
        result->grad = result->grad * (1.0 / sum);
        if (!wanted.hess) return;
        forBlended(nearest, level, false, [&](double rest, Derivatives const& d) {
            Vector3 const difference = withoutRounding(d.grad - result->grad);
            if (difference.lengthSq() > 0) add(&result->hess, -2.0 * rest / width_, outer(difference));
        });
        result->hess = result->hess * (1.0 / sum);
    }

    std::vector<Vector3> const& points_;
    Vector3 const& q_;
    double const width_;
    Segments const& segments_;
};

SmoothDistance notANumber()
{
    SmoothDistance result;
    result.dist = kNaN;
    result.grad = Vector3(kNaN, kNaN, kNaN);
    for (int j = 0; j < 3; ++j) {
        for (int i = 0; i < 3; ++i) result.hess(i, j) = kNaN;
    }
    return result;
}

// Boxes over eight segments each, and over eight boxes each on every level above.
class BoxTree
{
public:
    explicit BoxTree(std::vector<Vector3> const& points) : points_(points)
    {
        std::vector<Box> boxes;
        std::size_t const segments = points.size() - 1;
        for (std::size_t first = 0; first < segments; first += kFanOut) {
            Box box;
            for (std::size_t i = first; i < std::min(first + kFanOut, segments); ++i) {
                if (!isFinite(points[i]) || !isFinite(points[i + 1])) continue;
                box.include(points[i], points[i]);
                box.include(points[i + 1], points[i + 1]);
            }
            boxes.push_back(box);
        }
        levels_.push_back(boxes);
        while (levels_.back().size() > 1) addLevel();
        Box const& whole = levels_.back()[0];
        for (std::size_t k = 0; k < 3; ++k) {
            if (whole.low[k] <= whole.high[k]) {
                greatest_ = std::max({greatest_, std::fabs(whole.low[k]), std::fabs(whole.high[k])});
            }
        }
    }

    // The segments that may be less than `width` farther than the nearest one, with their distances.
    void find(Vector3 const& q, double width, Candidates* out) const
    {
        out->segments.clear();
        out->dists.clear();
        Search search{q, std::max(width, 0.0), 0.0, kInfinity};
        search.margin = kRelativeMargin * std::max({greatest_, std::fabs(q.x), std::fabs(q.y), std::fabs(q.z)});
        search.nearest = distanceByDescent(q);
        visit(levels_.size() - 1, 0, search, out);
    }

private:
    struct Box
    {
        std::array<double, 3> low = {kInfinity, kInfinity, kInfinity}; // above high: empty
        std::array<double, 3> high = {-kInfinity, -kInfinity, -kInfinity};

        void include(Vector3 const& from, Vector3 const& to)
        {
            for (int k = 0; k < 3; ++k) {
                low[asIndex(k)] = std::min(low[asIndex(k)], from[k]);
                high[asIndex(k)] = std::max(high[asIndex(k)], to[k]);
            }
        }

        // Infinity if the box is empty.
        double distance(Vector3 const& q) const
        {
            double sum = 0.0;
            for (int k = 0; k < 3; ++k) {
                double const outside = std::max({low[asIndex(k)] - q[k], q[k] - high[asIndex(k)], 0.0});
                sum += outside * outside;
            }
            return std::sqrt(sum);
        }
    };

    struct Search
    {
        Vector3 const& q;
        double width;
        double margin;
        double nearest; // the smallest distance so far

        bool isOut(double boxDistance) const
        {
            return boxDistance * (1 - kRelativeMargin) - margin > (nearest + width) * (1 + kRelativeMargin);
        }
    };

    void addLevel()
    {
        std::vector<Box> const& below = levels_.back();
        std::vector<Box> boxes;
        for (std::size_t first = 0; first < below.size(); first += kFanOut) {
            Box box;
            for (std::size_t i = first; i < std::min(first + kFanOut, below.size()); ++i) {
                for (int k = 0; k < 3; ++k) {
                    box.low[asIndex(k)] = std::min(box.low[asIndex(k)], below[i].low[asIndex(k)]);
                    box.high[asIndex(k)] = std::max(box.high[asIndex(k)], below[i].high[asIndex(k)]);
                }
            }
            boxes.push_back(box);
        }
        levels_.push_back(boxes);
    }

    double distanceTo(Vector3 const& q, std::size_t segment) const
    {
        return distanceToSegment(q, points_[segment], points_[segment + 1]);
    }

    // The distance to some near segment: by the nearest box of each level.
    double distanceByDescent(Vector3 const& q) const
    {
        std::size_t box = 0;
        for (std::size_t level = levels_.size() - 1; level > 0; --level) {
            std::vector<Box> const& boxes = levels_[level - 1];
            std::size_t const first = box * kFanOut;
            box = first;
            double best = kInfinity;
            for (std::size_t i = first; i < std::min(first + kFanOut, boxes.size()); ++i) {
                double const dist = boxes[i].distance(q);
                if (!(dist < best)) continue;
                best = dist;
                box = i;
            }
        }
        double nearest = kInfinity;
        std::size_t const segments = points_.size() - 1;
        for (std::size_t i = box * kFanOut; i < std::min((box + 1) * kFanOut, segments); ++i) {
            double const dist = distanceTo(q, i);
            if (dist < nearest) nearest = dist;
        }
        return nearest;
    }

    void visit(std::size_t level, std::size_t box, Search& search, Candidates* out) const
    {
        if (search.isOut(levels_[level][box].distance(search.q))) return;
        std::size_t const end = level > 0 ? levels_[level - 1].size() : points_.size() - 1;
        for (std::size_t i = box * kFanOut; i < std::min((box + 1) * kFanOut, end); ++i) {
            if (level > 0) {
                visit(level - 1, i, search, out);
                continue;
            }
            double const dist = distanceTo(search.q, i);
            if (!(dist <= search.nearest + search.width)) continue; // also NaN
            out->segments.push_back(static_cast<int>(i));
            out->dists.push_back(dist);
            search.nearest = std::min(search.nearest, dist);
        }
    }

    std::vector<Vector3> const& points_;
    std::vector<std::vector<Box>> levels_; // up to a level of one box
    double greatest_ = 0.0;                // coordinate, in magnitude
};

// `smoothDistanceMany`, with a meter or null.
void measure(std::vector<Vector3> const& polyline, RealArray const& queries, double width, double* dists,
             Vector3* grads, Matrix3* hessians, detail::ProgressMeter* meter)
{
    if (queries.count == 0) return;
    Wanted const wanted{grads != nullptr, hessians != nullptr};
    bool const hasSegments = polyline.size() > 1;
    std::vector<BoxTree> tree; // at most one
    if (hasSegments) tree.emplace_back(polyline);
    Candidates list;
    for (std::size_t i = 0; i < queries.count; ++i) {
        if (meter && i % kQueriesBetweenReports == 0) meter->reached(detail::fractionOf(i, queries.count));
        Vector3 const q = detail::vectorAt(queries, i);
        SmoothDistance field = notANumber();
        if (isFinite(q) && std::isfinite(width)) {
            if (hasSegments) tree[0].find(q, width, &list);
            ListedSegments const segments{list};
            field = Blend<ListedSegments>(polyline, q, width, segments).evaluate(wanted);
        }
        if (dists) dists[i] = field.dist;
        if (grads) grads[i] = field.grad;
        if (hessians) hessians[i] = field.hess;
    }
}

} // namespace

SmoothDistance smoothDistance(std::vector<::Vector3> const& polyline, ::Vector3 const& q, double width)
{
    if (!isFinite(q) || !std::isfinite(width)) return notANumber();
    AllSegments const segments{polyline, q};
    return Blend<AllSegments>(polyline, q, width, segments).evaluate({true, true});
}

void smoothDistanceMany(std::vector<::Vector3> const& polyline, RealArray const& queries, double width, double* dists,
                        ::Vector3* grads, ::Matrix3* hessians)
{
    measure(polyline, queries, width, dists, grads, hessians, nullptr);
}

bool smoothDistanceMany(std::vector<::Vector3> const& polyline, RealArray const& queries, double width, double* dists,
                        ::Vector3* grads, ::Matrix3* hessians, Progress const& progress)
{
    auto const finished = detail::withProgress(progress, [&](detail::ProgressMeter& meter) {
        detail::DistanceResults results(queries.count, dists, grads, hessians);
        measure(polyline, queries, width, results.dists(), results.grads(), results.hessians(), &meter);
        meter.finish();
        results.copy();
        return true;
    });
    return finished.has_value();
}

} // namespace sinew
