#include <sinew/core/vector3.h>

#include <ostream>

#include <sinew/core/tolerances.h>

namespace {

// A caller's tolerance is a cosine and gets squared; the default already is a squared cosine. `tol < 0` sends NaN to
// the square, where every comparison then fails.
double cosineSqFactor(double tol, double defaultCosineSq)
{
    return tol < 0 ? defaultCosineSq : tol * tol;
}

} // namespace

bool Vector3::isNull() const
{
    return lengthSq() < sinew::kNullLengthSq;
}

bool Vector3::autoNormalize()
{
    if (isNull()) return false;
    *this *= 1.0 / length();
    return true;
}

UVector3 Vector3::normalize() const
{
    return UVector3(*this);
}

bool Vector3::isParallel(Vector3 const& other, double tol) const
{
    if (isNull() || other.isNull()) return false;
    double const dot = *this * other;
    return dot * dot > lengthSq() * other.lengthSq() * cosineSqFactor(tol, sinew::kParallelCosineSq);
}

bool Vector3::isAlmostParallel(Vector3 const& other) const
{
    return isParallel(other, sinew::kAlmostParallelCosine);
}

bool Vector3::isNormal(Vector3 const& other, double tol) const
{
    if (isNull() || other.isNull()) return false;
    double const dot = *this * other;
    return lengthSq() * other.lengthSq() * cosineSqFactor(tol, sinew::kNormalCosineSq) > dot * dot;
}

bool Vector3::isAlmostNormal(Vector3 const& other) const
{
    return isNormal(other, sinew::kAlmostNormalCosine);
}

UVector3::UVector3(Vector3 const& v) : Vector3(v)
{
    if (!autoNormalize()) z = 1.0;
}

UVector3::UVector3(double x_, double y_, double z_) : UVector3(Vector3(x_, y_, z_)) {}

std::ostream& operator<<(std::ostream& out, Vector3 const& v)
{
    return out << "(" << v.x << ", " << v.y << ", " << v.z << ")";
}
