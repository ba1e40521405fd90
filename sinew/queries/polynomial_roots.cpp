// Sources: R. P. Brent, Algorithms for Minimization without Derivatives, 1973, chapter 4, for a search that combines
// interpolation with bisection; W. H. Press et al., Numerical Recipes in C, second edition, 1992, sections 9.1, 9.2 and
// 9.5 for bracketing, false position and deflation.

#include <sinew/queries/polynomial_roots.h>

#include <algorithm>
#include <cassert>
#include <cmath>
#include <utility>

#include <sinew/core/tolerances.h>

using sinew::kGeometricZero;

namespace {

// The search starts with the bracket [-kFirstEnd, kFirstEnd] and multiplies both ends by kGrowth until the values there
// differ in sign.
constexpr double kFirstEnd = 1.0;
constexpr double kGrowth = 3.0;

// At least every second iteration bisects. 50 bisections narrow the first bracket, of width 2, to 2e-15.
constexpr int kMaxIterations = 101;

// In a bracket of at least kWideBracket, a false-position step keeps the distance kStandOff from both ends. Without
// this distance the steps would approach one end ever more closely where the curve is flat, and the other end would not
// move. Both are absolute lengths on the x axis. kWideBracket is three times kStandOff, so that the range between the
// two distances is not empty.
constexpr double kStandOff = 1e-10;
constexpr double kWideBracket = 3e-10;

// The polynomial a x^3 + b x^2 + c x + d, evaluated by Horner's rule.
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

// An interval of the search, and the values of the cubic at its ends.
struct Bracket
{
    double lo = 0.0;
    double hi = 0.0;
    double atLo = 0.0;
    double atHi = 0.0;

    bool isNarrow() const { return hi - lo <= kGeometricZero && std::fabs(atHi) + std::fabs(atLo) <= kGeometricZero; }

    double middle() const { return (hi + lo) * 0.5; }

    // The root of the line through both ends, moved inside the bracket. `rise` is atHi - atLo.
    double falsePosition(double rise) const
    {
        assert(rise > 0);
        double const x = (atHi * lo - atLo * hi) / rise;
        double const margin = hi - lo < kWideBracket ? 0.0 : kStandOff;
        // The lower limit is applied last: if x is NaN after an overflow, std::max returns this limit.
        return std::max(lo + margin, std::min(x, hi - margin));
    }

    // Replaces one end by x, so that the ends still differ in sign.
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

    // Whether no further iteration can change this bracket. `middleOfEnds` is middle(). The search of a large root ends
    // here, long before kMaxIterations: neighbouring doubles near the root have values that differ by more than the
    // threshold of isNarrow.
    //
    // The middle equals an end only if the ends are neighbouring doubles. Then a false-position step gives an end as
    // well: if the bracket counts as wide, kStandOff is less than half its width; and NaN gives lo. A step to an end
    // changes nothing if narrow(hi, atHi) replaces hi and narrow(lo, atLo) replaces lo; the last two conditions below
    // ensure this. Ends of zero are excluded, because -0.0 and 0.0 are equal but have different bits.
    bool isSettled(double middleOfEnds) const
    {
        if (middleOfEnds != lo && middleOfEnds != hi) return false;
        return lo != 0 && hi != 0 && atHi * atHi > 0 && !(atHi * atLo > 0);
    }
};

// The body of solveQuadratic. solveCubic calls this function, because a compiler need not inline an exported one.
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

// Finds a double or triple root. The sign does not change at a double root, so no bracket contains it, but every
// multiple root is a critical point.
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

// A bracket whose ends differ in sign. The loop ends without a limit on its steps: at infinite ends, the values are
// infinities of different sign or NaN. In other rounding modes than to the nearest, an end stays at the largest double
// instead of becoming infinite; the loop then ends when the bracket no longer grows.
Bracket signChange(Cubic const& f)
{
    Bracket bracket{-kFirstEnd, kFirstEnd, f(-kFirstEnd), f(kFirstEnd)};
    while (bracket.atHi * bracket.atLo > 0) {
        double const lo = bracket.lo * kGrowth;
        double const hi = bracket.hi * kGrowth;
        if (lo == bracket.lo && hi == bracket.hi) break;
        bracket.lo = lo;
        bracket.hi = hi;
        bracket.atLo = f(bracket.lo);
        bracket.atHi = f(bracket.hi);
    }
    return bracket;
}

// A root at a change of sign.
double bracketedRoot(Cubic const& f)
{
    Bracket bracket = signChange(f);
    for (int iteration = 1; iteration <= kMaxIterations && !bracket.isNarrow(); ++iteration) {
        // The difference keeps its sign: if the values fall from lo to hi, every step is a bisection.
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

// Sorts in ascending order. Equal values and NaN are not swapped; std::sort must not be called with NaN.
void sortThree(double* values)
{
    auto const swapIfLess = [values](int i, int j) {
        if (values[j] < values[i]) std::swap(values[i], values[j]);
    };
    swapIfLess(0, 1);
    swapIfLess(1, 2);
    swapIfLess(0, 1);
}

} // namespace

int solveQuadratic(double a, double b, double c, double* roots)
{
    assert(roots);
    return quadraticRoots(a, b, c, roots);
}

int solveCubic(double a, double b, double c, double d, double* roots)
{
    assert(roots);
    if (std::fabs(a) < kGeometricZero) return quadraticRoots(b, c, d, roots);

    Cubic const f(a, b, c, d);
    double root = 0.0;
    if (!rootAtCriticalPoint(f, a, b, c, &root)) root = bracketedRoot(f);
    roots[0] = root;

    // Division by (x - root): the quotient is a x^2 + deflatedB x + deflatedC.
    double const deflatedB = a * root + b;
    double const deflatedC = root * deflatedB + c;
    int const others = quadraticRoots(a, deflatedB, deflatedC, roots + 1);
    if (others > 0) sortThree(roots);
    return others + 1;
}
