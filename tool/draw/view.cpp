#include <tool/draw/view.h>

#include <algorithm>
#include <cmath>

namespace tool {
namespace {

constexpr double kRadiansPerDegree = 3.14159265358979323846 / 180;
constexpr double kDistanceInRadii = 5; // a long lens: little distortion, still some depth

} // namespace

View::View(Vector3 const& low, Vector3 const& high, double azimuthDegrees, double elevationDegrees, Rect const& where,
           double zoom)
    : where_(where)
{
    double const azimuth = azimuthDegrees * kRadiansPerDegree;
    double const elevation = elevationDegrees * kRadiansPerDegree;
    Vector3 const towardsEye(std::cos(elevation) * std::sin(azimuth), std::sin(elevation),
                             std::cos(elevation) * std::cos(azimuth));
    double const radius = std::max(0.5 * dist(low, high), 1e-9);
    forward_ = -towardsEye;
    right_ = Vector3(std::cos(azimuth), 0, -std::sin(azimuth)); // stays defined when looking straight down
    up_ = cross(right_, forward_);
    eye_ = (low + high) * 0.5 + towardsEye * (kDistanceInRadii * radius);
    double const tangent = 1 / std::sqrt(kDistanceInRadii * kDistanceInRadii - 1);
    unitsPerTangent_ = zoom * 0.5 * std::min(where.width, where.height) / tangent;
}

Point View::operator()(Vector3 const& p, double* depth) const
{
    Vector3 const fromEye = p - eye_;
    double const along = fromEye * forward_;
    if (depth) *depth = along;
    double const scale = unitsPerTangent_ / along;
    return {where_.x + 0.5 * where_.width + (fromEye * right_) * scale,
            where_.y + 0.5 * where_.height - (fromEye * up_) * scale};
}

Vector3 View::rayThrough(Point at) const
{
    double const x = (at.x - where_.x - 0.5 * where_.width) / unitsPerTangent_;
    double const y = (where_.y + 0.5 * where_.height - at.y) / unitsPerTangent_;
    return UVector3(forward_ + right_ * x + up_ * y);
}

} // namespace tool
