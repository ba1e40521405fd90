#include <sinew/core/transform.h>

#include <sinew/core/detail/math.h>
#include <sinew/core/vector_geometry.h>

namespace math = sinew::detail::math;

namespace {

constexpr double kHalfTurn = 3.141592653589793; // radians

} // namespace

Transform::Transform(Vector3 const& axis, double angle) : linear(Matrix3::rotationMatrix(UVector3(axis), angle)) {}

Transform Transform::rotate(UVector3 const& a, UVector3 const& b)
{
    Vector3 normal = cross(a, b);
    if (normal.autoNormalize()) return Transform(normal, getAngleBetween(a, b, normal));
    Vector3 unused;
    getBasis(a, unused, normal);
    return Transform(normal, a * b > 0 ? 0.0 : kHalfTurn);
}

Transform Transform::reflection(Vector3 const& p, UVector3 const& n)
{
    double const xy = 2 * n.x * n.y;
    double const xz = 2 * n.x * n.z;
    double const yz = 2 * n.y * n.z;
    Transform result(-1.0);
    result.linear = Matrix3(Vector3(2 * n.x * n.x - 1, xy, xz), Vector3(xy, 2 * n.y * n.y - 1, yz),
                            Vector3(xz, yz, 2 * n.z * n.z - 1));
    result.translation = n * (2 * (n * p));
    return result;
}

Matrix Transform::getMatrix() const
{
    Matrix3 const scaled = getLinear();
    Matrix result;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) result(i, j) = scaled(i, j);
        result(i, 3) = translation[i];
    }
    return result;
}

Transform Transform::interpolate(Transform const& A, Transform const& B, double w)
{
    if (w <= 0) return A;
    if (w >= 1) return B;
    Transform result;
    result.translation = w * B.translation + (1 - w) * A.translation;

    // The geometric mean needs positive scales, and a mean of opposite signs would pass through zero. The magnitudes
    // are interpolated, and the nearer end gives the sign.
    double const magnitude = math::pow(std::fabs(A.scale), 1 - w) * math::pow(std::fabs(B.scale), w);
    double const nearer = w > 0.5 ? B.scale : A.scale;
    result.scale = nearer < 0.0 ? -magnitude : magnitude;

    Matrix3 const relative = B.linear * A.linear.transpose();
    UVector3 const axis = relative.getRotationAxis();
    double const angle = relative.getRotationAngle(&axis);
    result.linear = Matrix3::rotationMatrix(axis, w * angle) * A.linear;
    return result;
}
