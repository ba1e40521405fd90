#include <selftest/inputs.h>

#include <cstring>
#include <iterator>
#include <limits>

namespace selftest {

namespace {

// 2 to the power e, -1022 <= e <= 1023. The bits are put together here, so that no function of the system's math
// library takes part.
double powerOfTwo(int e)
{
    constexpr int kBias = 1023;
    constexpr int kSignificandBits = 52;
    std::uint64_t const bits = static_cast<std::uint64_t>(e + kBias) << kSignificandBits;
    double power = 0;
    std::memcpy(&power, &bits, sizeof power);
    return power;
}

using limits = std::numeric_limits<double>;

constexpr double kSpecial[] = {
    // zeros, subnormal numbers, the ends of the range
    0.0,
    -0.0,
    limits::denorm_min(),
    -limits::denorm_min(),
    0x1p-1030,
    limits::min(),
    limits::max(),
    limits::lowest(),
    // the thresholds of the library and their neighbours
    1e-13,
    -1e-13,
    0x1.c25c268497682p-44,
    0x1.c25c268497681p-44,
    1e-26,
    1e-16,
    1.0000000000000001e-16,
    1e-08,
    -1e-08,
    1e-06,
    1e-4,
    0.9999997258,
    0.996194698,
    0.08715574275,
    0.9999999999999,
    1e13,
    // squares that overflow or vanish, and those that just do not
    1e154,
    1.4e154,
    -1e154,
    1e-154,
    1e-162,
    1e300,
    1e-300,
    // neighbours of one
    1.0,
    -1.0,
    0x1.0000000000001p0,
    0x1.fffffffffffffp-1,
    limits::infinity(),
    -limits::infinity(),
    limits::quiet_NaN(),
};

} // namespace

double Inputs::uniform(double low, double high)
{
    double const unit = static_cast<double>(engine_() >> 11) * 0x1p-53;
    return low + (high - low) * unit;
}

double Inputs::spread(int low, int high)
{
    double const significand = uniform(1.0, 2.0);
    double const magnitude = significand * powerOfTwo(low + below(high - low));
    return oneIn(2) ? magnitude : -magnitude;
}

double Inputs::special()
{
    return kSpecial[below(static_cast<int>(std::size(kSpecial)))];
}

double Inputs::anyBits()
{
    std::uint64_t const word = bits();
    double value = 0;
    std::memcpy(&value, &word, sizeof value);
    return value;
}

double Inputs::tame()
{
    int const kind = below(4);
    if (kind == 0) return lattice();
    if (kind == 1) return spread(-4, 4);
    return uniform();
}

double Inputs::number()
{
    int const kind = below(16);
    if (kind < 2) return special();
    if (kind == 2) return anyBits();
    if (kind < 5) return spread(-60, 60);
    return tame();
}

double Inputs::angle()
{
    constexpr double kEighth = 0.7853981633974483;
    int const kind = below(16);
    if (kind == 0) return special();
    if (kind == 1) return spread(-300, 300);
    if (kind < 4) return kEighth * (below(33) - 16);
    return uniform(-12.0, 12.0);
}

Vector3 Inputs::latticePoint()
{
    return Vector3{lattice(), lattice(), lattice()};
}

// The same point, or a point on a line or in a plane with earlier ones.
Vector3 Inputs::relatedTo(Recent const& recent)
{
    int const kind = below(4);
    Vector3 const a = pick(recent);
    if (kind == 0) return a;
    if (kind == 1) return a * lattice();
    Vector3 const b = pick(recent);
    double const s = lattice();
    if (kind == 2) return a + s * (b - a);
    Vector3 const c = pick(recent);
    double const t = lattice();
    return a + s * (b - a) + t * (c - a);
}

Vector3 Inputs::next(Recent& recent, bool hostile)
{
    int const kind = below(16);
    Vector3 p;
    if (kind < 4) {
        p = relatedTo(recent);
    } else if (kind < 8) {
        p = latticePoint();
    } else if (hostile && kind < 10) {
        p = Vector3{number(), number(), number()};
    } else {
        p = Vector3{uniform(), uniform(), uniform()};
        if (kind == 15) p *= hostile ? spread(-60, 60) : spread(-4, 4);
    }
    // A chain of multiples could leave the tame range.
    constexpr double kTame = 100;
    bool const keeps = hostile || p.lengthSq() < kTame * kTame;
    if (!keeps) p = latticePoint();
    recent[below(kRecent)] = p;
    return p;
}

tzNM::vect2<double> Inputs::tamePoint2()
{
    Vector3 const p = tamePoint();
    return {p.x, p.y};
}

tzNM::vect2<double> Inputs::point2()
{
    Vector3 const p = point();
    return {p.x, p.y};
}

std::vector<Vector3> Inputs::tamePoints(int count)
{
    std::vector<Vector3> points;
    for (int i = 0; i < count; ++i) points.push_back(tamePoint());
    return points;
}

Matrix3 Inputs::matrix()
{
    return Matrix3{point(), point(), point()};
}

Matrix3 Inputs::tameMatrix()
{
    return Matrix3{tamePoint(), tamePoint(), tamePoint()};
}

// From a quaternion with small whole components, or with a large real part. Source: K. Shoemake, Animating rotation
// with quaternion curves, SIGGRAPH 1985.
Matrix3 Inputs::rotation()
{
    double q[4];
    for (double& component : q) component = oneIn(3) ? uniform() : below(7) - 3;
    if (oneIn(4)) q[0] = spread(0, 40);
    double const sum = q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3];
    if (sum == 0.0) return Matrix3();
    double const s = 2.0 / sum;
    double const x = q[1];
    double const y = q[2];
    double const z = q[3];
    double const w = q[0];
    return Matrix3(Vector3(1.0 - s * (y * y + z * z), s * (x * y + w * z), s * (x * z - w * y)),
                   Vector3(s * (x * y - w * z), 1.0 - s * (x * x + z * z), s * (y * z + w * x)),
                   Vector3(s * (x * z + w * y), s * (y * z - w * x), 1.0 - s * (x * x + y * y)));
}

} // namespace selftest
