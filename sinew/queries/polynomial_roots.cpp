#include <sinew/queries/polynomial_roots.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include <sinew/core/tolerances.h>

using sinew::kGeometricZero;

namespace {

constexpr int kMaxIterations = 101;

// In a wide bracket a false-position step keeps this distance from both ends, so that the far end is moved soon even
// where the curve hugs the axis. Three of them fit into the narrowest bracket that still counts as wide.
constexpr double kStandOff = 1e-10;
constexpr double kWideBracket = 3e-10;

class Cubic
{
public:
    constexpr Cubic(double a, double b, double c, double d) : a_(a), b_(b), c_(c), d_(d) {}

    constexpr double operator()(double x) const { return ((a_ * x + b_) * x + c_) * x + d_; }

private:
    double a_;
    double b_;
    double c_;
    double d_;
};

// An interval and the values of the cubic at its ends.
struct Bracket
{
    double lo = 0.0;
    double hi = 0.0;
    double atLo = 0.0;
    double atHi = 0.0;

    bool isNarrow() const { return hi - lo <= kGeometricZero && std::fabs(atHi) + std::fabs(atLo) <= kGeometricZero; }

    double middle() const { return (hi + lo) * 0.5; }

    double falsePosition(double rise) const
    {
        double const x = (atHi * lo - atLo * hi) / rise;
        double const margin = hi - lo < kWideBracket ? 0.0 : kStandOff;
        // The lower limit has the last word, also over a NaN from an overflow.
        return std::max(lo + margin, std::min(x, hi - margin));
    }

    void narrow(double x, double atX)
    {
        if (atHi * atX > 0) {
            hi = x;
            atHi = atX;
        } else {
            lo = x;
            atLo = atX;
        }
    }

    // Whether no further iteration can change this bracket, given its middle(). Large roots end here, long before the
    // iterations run out: one unit in the last place of the root already changes the value by more than the tolerance.
    //
    // The middle meets an end only if the ends are neighbouring doubles. Then the other kind of step lands on an end as
    // well: the stand-off is less than half the gap if the bracket counts as wide, and a NaN ends up at lo. Landing on
    // an end changes nothing if hi stays where it is for x = hi, and lo for x = lo, which are the two signs asked for
    // below. Ends of zero are left out, for they come with two signs.
    bool isSettled(double middleOfEnds) const
    {
        if (middleOfEnds != lo && middleOfEnds != hi) return false;
        return lo != 0 && hi != 0 && atHi * atHi > 0 && !(atHi * atLo > 0);
    }
};

// solveQuadratic itself, which as an exported function cannot be inlined.
inline int quadraticRoots(double a, double b, double c, double* roots)
{
    if (std::fabs(a) < kGeometricZero) {
        if (std::fabs(b) < kGeometricZero) return 0;
        roots[0] = -c / b;
        return 1;
    }
    double const discriminant = b * b + a * -4 * c;
    if (discriminant < -kGeometricZero) return 0;
    if (discriminant < kGeometricZero) {
        roots[0] = roots[1] = b * -0.5 / a;
        return 2;
    }
    double const s = std::sqrt(discriminant);
    double const k = 0.5 / a;
    roots[0] = (-b - s) * k;
    roots[1] = (s - b) * k;
    return 2;
}

// Double roots do not change sign, so no bracket finds them; they are critical points.
bool rootAtCriticalPoint(Cubic const& f, double a, double b, double c, double* root)
{
    double critical[2];
    if (quadraticRoots(3 * a, 2 * b, c, critical) != 2) return false;
    for (double const x : critical) {
        if (std::fabs(f(x)) <= kGeometricZero) {
            *root = x;
            return true;
        }
    }
    return false;
}

// Grows until the ends differ in sign. No cap is needed: at the latest when the ends are infinite, the values there are
// infinities of different sign, or NaN.
Bracket signChange(Cubic const& f)
{
    Bracket bracket{-1.0, 1.0, f(-1.0), f(1.0)};
    while (bracket.atHi * bracket.atLo > 0) {
        bracket.lo *= 3;
        bracket.hi *= 3;
        bracket.atLo = f(bracket.lo);
        bracket.atHi = f(bracket.hi);
    }
    return bracket;
}

double bracketedRoot(Cubic const& f)
{
    Bracket bracket = signChange(f);
    for (int iteration = 1; iteration <= kMaxIterations && !bracket.isNarrow(); ++iteration) {
        // The signed rise: where the values fall from lo to hi, every step bisects.
        double const rise = bracket.atHi - bracket.atLo;
        double x = 0.0;
        if (iteration % 2 != 0 && rise > kGeometricZero) {
            x = bracket.falsePosition(rise);
        } else {
            x = bracket.middle();
            if (bracket.isSettled(x)) break;
        }
        bracket.narrow(x, f(x));
    }
    return std::fabs(bracket.atLo) > std::fabs(bracket.atHi) ? bracket.hi : bracket.lo;
}

// Stable, and NaN stays where it is: std::sort asks for an order that NaN does not have.
void sortThree(double* values)
{
    auto const order = [values](int i, int j) {
        if (values[j] < values[i]) std::swap(values[i], values[j]);
    };
    order(0, 1);
    order(1, 2);
    order(0, 1);
}

} // namespace

int solveQuadratic(double a, double b, double c, double* roots)
{
    return quadraticRoots(a, b, c, roots);
}

int solveCubic(double a, double b, double c, double d, double* roots)
{
    if (std::fabs(a) < kGeometricZero) return quadraticRoots(b, c, d, roots);

    Cubic const f(a, b, c, d);
    double root = 0.0;
    if (!rootAtCriticalPoint(f, a, b, c, &root)) root = bracketedRoot(f);
    roots[0] = root;

    double const deflatedB = a * root + b;
    double const deflatedC = root * deflatedB + c;
    int const others = quadraticRoots(a, deflatedB, deflatedC, roots + 1);
    if (others > 0) sortThree(roots);
    return others + 1;
}
