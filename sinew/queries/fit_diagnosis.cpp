#include <sinew/queries/fit_diagnosis.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <utility>

#include <sinew/core/detail/math.h>
#include <sinew/queries/best_fit.h>
#include <sinew/queries/fit.h>

namespace sinew {

namespace {

constexpr std::size_t kFewest = 2; // points that `bestFitLine` and `bestFitPlane` need

// Points that spread over more than this may have squares and products that overflow.
constexpr double kSquaresOverflow = 1e150;

// Collects the findings about one set of points.
class FitChecks
{
public:
    explicit FitChecks(std::vector<Vector3> const& points) : points_(points) {}

    FitDiagnosis run()
    {
        checkCoordinates();
        if (found_.findings.empty()) checkCount();
        if (found_.findings.empty()) checkDirections();
        return std::move(found_);
    }

private:
    void add(FitFault kind, std::vector<std::int64_t> indices, double value, std::string sentence)
    {
        found_.findings.push_back({kind, std::move(indices), value, std::move(sentence)});
    }

    void checkCoordinates()
    {
        for (std::size_t i = 0; i < points_.size(); ++i) {
            double const coordinates[] = {points_[i].x, points_[i].y, points_[i].z};
            double const* const odd = std::find_if_not(std::begin(coordinates), std::end(coordinates),
                                                       [](double c) { return std::isfinite(c); });
            if (odd == std::end(coordinates)) continue;
            add(FitFault::notFinite, {static_cast<std::int64_t>(i)}, *odd,
                "Point " + std::to_string(i) + " has a coordinate that is not finite, so no line or plane fits.");
        }
    }

    void checkCount()
    {
        if (points_.size() >= kFewest) return;
        add(FitFault::tooFewPoints, {}, static_cast<double>(points_.size()),
            "A line or a plane needs two points or more, and there are " + std::to_string(points_.size()) + ".");
    }

    void checkDirections()
    {
        RealArray const coordinates = coordinatesOf(points_.data(), points_.size());
        LineFit const line = fitLine(coordinates);
        PlaneFit const plane = fitPlane(coordinates);
        bool const hasLine = line.outcome == FitOutcome::determined;
        bool const hasPlane = plane.outcome == FitOutcome::determined;
        if (!hasLine) {
            add(FitFault::undeterminedLine, {}, line.spreads[2],
                "The points spread equally in several directions, so several lines fit equally well.");
        }
        if (!hasPlane) {
            add(FitFault::undeterminedPlane, {}, plane.spreads[2],
                "The points spread equally in the directions of least spread, so several planes fit equally well.");
        }
        UVector3 dir;
        char const* const why =
            line.spreads[2] > kSquaresOverflow ? "its squares overflow" : "the points are close to each other";
        if (hasLine && bestFitLine(points_, nullptr, &dir)) {
            compare(FitFault::inaccurateLine, dir, line.direction, "direction of bestFitLine", why, "fitLine");
        }
        if (hasPlane && bestFitPlane(points_, nullptr, &dir)) {
            compare(FitFault::inaccuratePlane, dir, plane.normal, "normal of bestFitPlane", why, "fitPlane");
        }
    }

    void compare(FitFault kind, Vector3 const& defined, Vector3 const& right, char const* what, char const* why,
                 char const* variant)
    {
        double const angle = detail::math::atan2(cross(defined, right).length(), std::fabs(defined * right));
        if (angle <= kInaccurateFit) return; // a NaN is reported: the defined method has overflowed
        add(kind, {}, angle,
            std::string("The ") + what + " is wrong by more than 1e-6 radians, because " + why + "; sinew::" + variant +
                " is right at any scale.");
    }

    std::vector<Vector3> const& points_;
    FitDiagnosis found_;
};

} // namespace

FitDiagnosis diagnose(std::vector<Vector3> const& points)
{
    return FitChecks(points).run();
}

} // namespace sinew
