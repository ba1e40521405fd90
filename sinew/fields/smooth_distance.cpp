#include <sinew/fields/smooth_distance.h>

#include <algorithm>
#include <cmath>

#include <sinew/fields/detail/smallest_blend.h>

namespace {

// Absolute. The weight of a radius up to this one is a box, because the square of the reciprocal would exceed 1e16.
constexpr double kLargestBoxRadius = 1e-8;
// Relative to the radius. Points at a distance of exactly the radius are outside whatever their rounding errors.
constexpr double kRelativeMargin = 1e-8;

// The blend width of a fold equals one of the two numbers, so the derivatives by the width are added to those by this
// number. The first ones follow the chain rule. The second ones follow a fixed rule that is only part of it.
void addDerivativesByWidth(bool widthIsSecond, double* g, double* H)
{
    if (widthIsSecond) {
        g[1] -= g[2];
        H[1] += H[3] - H[5];
        H[2] -= H[4];
    } else {
        g[0] -= g[2];
        H[0] += H[3] - H[4];
        H[2] -= H[5];
    }
}

// The Hessian after a fold, from the Hessian and the gradient `old` before it. `e` is the gradient of the new distance;
// g and H are the derivatives of the blend. All nine entries are computed: mirrored entries round differently.
void foldHessian(Matrix3& hess, Vector3 const& old, Vector3 const& e, double const* g, double const* H)
{
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            double& entry = hess(i, j);
            entry =
                -H[0] * old[i] * old[j] - H[1] * (old[i] * e[j] + old[j] * e[i]) - H[2] * e[i] * e[j] + g[0] * entry;
            if (i == j) entry += 2 * g[1];
        }
    }
}

} // namespace

SmoothWeight::SmoothWeight(double center_, double radius_)
    : center(center_), radius(radius_), invRadius(0.0), margin(0.0)
{
    if (radius > kLargestBoxRadius) {
        invRadius = 1 / radius;
        margin = kRelativeMargin * radius;
    }
}

bool SmoothWeight::evaluate(double x, double* w, double* dw, double* d2w) const
{
    if (std::fabs(x - center) > radius - margin) {
        if (w) *w = 0.0;
        if (dw) *dw = 0.0;
        if (d2w) *d2w = 0.0;
        return true;
    }
    double const u = (x - center) * invRadius;
    double const s = 1 - u * u;
    if (w) *w = s * s * s;
    if (dw) *dw = -6 * invRadius * u * (s * s);
    if (d2w) *d2w = invRadius * 6 * invRadius * s * (5 * (u * u) - 1);
    return true;
}

double smoothMax(double a, double b, double h, double* grad, double* hess)
{
    // Each comparison is written so that NaN counts as inside the blend.
    if (a > b + h || b - h > a || h < sinew::detail::kSmallestBlend) {
        if (grad) {
            grad[0] = a > b ? 1.0 : 0.0;
            grad[1] = b > a ? 1.0 : 0.0;
            grad[2] = 0.0;
        }
        if (hess) std::fill_n(hess, 6, 0.0);
        return b > a ? b : a;
    }
    // The maximum is (a + b + |b - a|) / 2 = (a + b + h |x|) / 2. The blend replaces |x| by a polynomial q with q(1) =
    // 1, q'(1) = 1 and q''(1) = 0, so that two derivatives are continuous at its ends.
    double const x = (b - a) / h;
    double const x2 = x * x;
    double const q = (6 * x2 + 3 - x2 * x2) * 0.125;
    if (grad) {
        double const g = (-4 * x2 + 12) * 0.125 * x;
        grad[0] = (1 - g) * 0.5;
        grad[1] = (1 + g) * 0.5;
        grad[2] = (q - g * x) * 0.5;
    }
    if (hess) {
        double const k = ((1 - x2) * 1.5) * 0.5 / h;
        hess[0] = k;
        hess[1] = -k;
        hess[2] = k;
        hess[3] = x2 * k;
        hess[4] = k * x / h; // divided by h once more: the documented rule
        hess[5] = -k * x / h;
    }
    return (h * q + a + b) * 0.5;
}

void updateSmoothDist(double d, Vector3 const& x, Vector3 const& y, double& acc, double h, Vector3* grad, Matrix3* hess)
{
    bool const wantsFirst = grad || hess;
    bool const narrowed = acc < h || d < h;
    double const width = !narrowed ? h : (acc <= d ? acc : d);
    double g[3] = {};
    double H[6] = {};
    double const m = smoothMax(-acc, -d, width, wantsFirst ? g : nullptr, hess ? H : nullptr);
    if (narrowed) addDerivativesByWidth(d <= acc, g, H);
    acc = -m;
    if (!wantsFirst) return;

    Vector3 const e = 2 * (x - y);
    if (hess) foldHessian(*hess, grad ? *grad : Vector3(), e, g, H); // before the gradient that it reads is replaced
    if (grad) *grad = g[1] * e + g[0] * *grad;
}
