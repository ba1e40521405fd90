#include <tool/draw/view.h>

#include <algorithm>
#include <cmath>

#include <tool/support/bounds.h>

namespace tool {
namespace {

constexpr double kRadiansPerDegree = 3.14159265358979323846 / 180;
constexpr double kLargestZoom = 100;     // for points that lie in one place
constexpr double kDistanceInRadii = 5;   // of the eye from the box: large enough for little perspective distortion
constexpr double kSmallestExtent = 1e-9; // of the points, in space and on the canvas: no division by zero

} // namespace

View::View(Vector3 const& low, Vector3 const& high, double azimuthDegrees, double elevationDegrees, Rect const& where,
           double zoom)
    : where_(where), middle_{where.x + 0.5 * where.width, where.y + 0.5 * where.height}
{
    double const azimuth = azimuthDegrees * kRadiansPerDegree;
    double const elevation = elevationDegrees * kRadiansPerDegree;
    Vector3 const towardsEye(std::cos(elevation) * std::sin(azimuth), std::sin(elevation),
                             std::cos(elevation) * std::cos(azimuth));
    double const radius = std::max(0.5 * dist(low, high), kSmallestExtent);
    forward_ = -towardsEye;
    right_ = Vector3(std::cos(azimuth), 0, -std::sin(azimuth)); // defined also when the camera looks straight down
    up_ = cross(right_, forward_);
    eye_ = (low + high) * 0.5 + towardsEye * (kDistanceInRadii * radius);
    double const tangent = 1 / std::sqrt(kDistanceInRadii * kDistanceInRadii - 1);
    unitsPerTangent_ = zoom * 0.5 * std::min(where.width, where.height) / tangent;
}

View View::fitted(std::vector<Vector3> const& points, double azimuthDegrees, double elevationDegrees, Rect const& where,
                  double fill)
{
    Vector3 low, high;
    boundsOf(points, low, high);
    View view(low, high, azimuthDegrees, elevationDegrees, where);
    Point least = view.middle_, most = least;
    for (Vector3 const& p : points) {
        Point const at = view(p);
        least = {std::min(least.x, at.x), std::min(least.y, at.y)};
        most = {std::max(most.x, at.x), std::max(most.y, at.y)};
    }
    double const wide = std::max(most.x - least.x, kSmallestExtent);
    double const tall = std::max(most.y - least.y, kSmallestExtent);
    double const scale = std::min({fill * where.width / wide, fill * where.height / tall, kLargestZoom});
    Point const centre{0.5 * (least.x + most.x), 0.5 * (least.y + most.y)};
    view.unitsPerTangent_ *= scale;
    view.middle_.x -= scale * (centre.x - view.middle_.x);
    view.middle_.y -= scale * (centre.y - view.middle_.y);
    return view;
}

Point View::operator()(Vector3 const& p, double* depth) const
{
    Vector3 const fromEye = p - eye_;
    double const along = fromEye * forward_;
    if (depth) *depth = along;
    double const scale = unitsPerTangent_ / along;
    return {middle_.x + (fromEye * right_) * scale, middle_.y - (fromEye * up_) * scale};
}

Vector3 View::rayThrough(Point at) const
{
    double const x = (at.x - middle_.x) / unitsPerTangent_;
    double const y = (middle_.y - at.y) / unitsPerTangent_;
    return UVector3(forward_ + right_ * x + up_ * y);
}

} // namespace tool
