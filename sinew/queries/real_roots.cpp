// Sources: S. Graillat, P. Langlois, N. Louvet, Compensated Horner Scheme, 2005, for values with a bound of their
// error; W. Kahan, On the Cost of Floating-Point Computation Without Extra-Precise Arithmetic, 2004, for quadratics; R.
// Descartes, La Géométrie, 1637, for a bound of the number of positive roots; M. Fujiwara, Über die obere Schranke des
// absoluten Betrages der Wurzeln einer algebraischen Gleichung, 1916, for a bound of their size; E. L. Rees, Graphical
// Discussion of the Roots of a Quartic Equation, 1922, for the number of roots by signs of invariants.
//
// Rounded arithmetic with bounds of its error finds the roots and proves their number. Where a bound does not decide,
// exactRealRoots does everything anew.

#include <sinew/queries/real_roots.h>

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdint>
#include <cstring>

#include <sinew/core/detail/double_double.h>
#include <sinew/core/detail/power_scale.h>
#include <sinew/queries/detail/exact_roots.h>

namespace sinew {

namespace {

using detail::TwoPart;
using detail::twoProduct;

// After scaling, coefficients lie in [2^-100, 2). No value of the rounded method then overflows or loses digits to
// underflow: roots lie between 2^-104 and 2^104, and the fourth power of these is far from both ends.
constexpr int kMostSpread = 100;

// Of the value of a compensated Horner scheme of degree 4, relative to the sum of the magnitudes of the terms: the
// bound of the source, gamma(8)^2 < 2^-99, and the rounding of the sum itself.
constexpr double kValueError = 0x1p-98;

// Of a plain value, relative to the same sum. A value below it says nothing.
constexpr double kPlainError = 0x1p-50;

// Of the invariants in double-double arithmetic, which are up to ten operations deep, relative to the sum of the
// magnitudes of their terms.
constexpr double kInvariantError = 0x1p-94;

// Searches by Newton's method end much earlier. Beyond this many steps exactRealRoots takes over.
constexpr int kMostSteps = 100;

// Steps of the last search, which begins next to the root.
constexpr int kMostCorrections = 8;

// c[i] belongs to x^i.
struct Polynomial
{
    int degree = 0;
    double c[5] = {0.0, 0.0, 0.0, 0.0, 0.0};
};

int signOf(double x)
{
    return x > 0 ? 1 : (x < 0 ? -1 : 0);
}

std::int64_t bitsOf(double x)
{
    std::int64_t bits = 0;
    std::memcpy(&bits, &x, sizeof bits);
    return bits;
}

double fromBits(std::int64_t bits)
{
    double x = 0.0;
    std::memcpy(&x, &bits, sizeof x);
    return x;
}

// The double in the middle of those between two positive numbers: near the mean of close numbers, and near the
// geometric mean of numbers of different magnitude.
double middleDouble(double low, double high)
{
    return fromBits(bitsOf(low) + (bitsOf(high) - bitsOf(low)) / 2);
}

double next(double positive)
{
    return fromBits(bitsOf(positive) + 1);
}

double previous(double positive)
{
    return fromBits(bitsOf(positive) - 1);
}

Polynomial derivativeOf(Polynomial const& p)
{
    Polynomial result;
    result.degree = p.degree - 1;
    for (int i = 1; i <= p.degree; ++i) result.c[i - 1] = i * p.c[i];
    return result;
}

// Values at a positive x.
struct Values
{
    double value = 0.0;
    double slope = 0.0;
    double magnitude = 0.0; // the sum of the magnitudes of the terms
};

Values plainValues(Polynomial const& p, double x)
{
    Values at;
    for (int i = p.degree; i >= 0; --i) {
        at.slope = at.slope * x + at.value;
        at.value = at.value * x + p.c[i];
        at.magnitude = at.magnitude * x + std::fabs(p.c[i]);
    }
    return at;
}

// The value by the compensated Horner scheme. A value of at most kValueError times the magnitude has an unknown sign.
Values compensatedValues(Polynomial const& p, double x)
{
    Values at;
    double correction = 0.0;
    for (int i = p.degree; i >= 0; --i) {
        TwoPart const product = twoProduct(at.value, x);
        TwoPart const sum = detail::twoSum(product.high, p.c[i]);
        correction = correction * x + (product.low + sum.low);
        at.slope = at.slope * x + at.value;
        at.magnitude = at.magnitude * x + std::fabs(p.c[i]);
        at.value = sum.high;
    }
    at.value += correction;
    return at;
}

// -1 or 1, or 0 if the bound of the error does not decide.
int certainSign(Values const& at)
{
    return std::fabs(at.value) > kValueError * at.magnitude ? signOf(at.value) : 0;
}

int certainSignAt(Polynomial const& p, double x)
{
    return certainSign(compensatedValues(p, x));
}

// The signs of p differ at the two ends, both positive.
struct Bracket
{
    double low;
    double high;
    int signAtLow;
};

// A root to the rounding of plain values: Newton's method, and halving where it leaves the bracket or converges slowly.
double plainRoot(Polynomial const& p, Bracket bracket)
{
    double x = middleDouble(bracket.low, bracket.high);
    double lastStep = bracket.high;
    for (int step = 0; step < kMostSteps; ++step) {
        Values const at = plainValues(p, x);
        if (std::fabs(at.value) <= kPlainError * at.magnitude) return x;
        (signOf(at.value) == bracket.signAtLow ? bracket.low : bracket.high) = x;
        double const newton = x - at.value / at.slope;
        double const length = std::fabs(newton - x);
        bool const good = newton > bracket.low && newton < bracket.high && length <= 0.5 * lastStep;
        lastStep = good ? length : bracket.high - bracket.low;
        double const before = x;
        x = good ? newton : middleDouble(bracket.low, bracket.high);
        if (x == before) return x;
    }
    return x;
}

// A root to less than one unit in its last place, proven by different signs at neighbouring doubles, or next to x if
// the sign at x is unknown. False if the bounds of the errors do not prove it.
bool certainRoot(Polynomial const& p, Bracket const& bracket, double* root)
{
    double x = plainRoot(p, bracket);
    Values at = compensatedValues(p, x);
    for (int step = 0; step < kMostCorrections; ++step) {
        double const newton = x - at.value / at.slope;
        if (!(newton > bracket.low && newton < bracket.high) || newton == x) break;
        x = newton;
        at = compensatedValues(p, x);
    }
    for (int step = 0; step < kMostCorrections; ++step) {
        int const sign = certainSign(at);
        *root = x;
        double const below = previous(x);
        double const above = next(x);
        if (sign == bracket.signAtLow) {
            at = compensatedValues(p, above);
            if (certainSign(at) == -sign) return true;
            x = above;
        } else if (sign == -bracket.signAtLow) {
            at = compensatedValues(p, below);
            if (certainSign(at) == -sign) return true;
            x = below;
        } else {
            return certainSignAt(p, below) == bracket.signAtLow && certainSignAt(p, above) == -bracket.signAtLow;
        }
    }
    return false;
}

// Positive numbers in ascending order. Four roots, and the two ends of an interval.
struct Numbers
{
    int count = 0;
    double values[6] = {};

    void add(double x) { values[count++] = x; }
};

// The points between low and high where p changes its sign, to plain rounding; by the points of its derivative.
Numbers plainRoots(Polynomial const& p, double low, double high)
{
    Numbers ends;
    ends.add(low);
    if (p.degree > 1) {
        Numbers const critical = plainRoots(derivativeOf(p), low, high);
        for (int i = 0; i < critical.count; ++i) ends.add(critical.values[i]);
    }
    ends.add(high);
    Numbers roots;
    double from = low;
    int sign = signOf(plainValues(p, low).value);
    for (int i = 1; i < ends.count; ++i) {
        double const to = ends.values[i];
        int const signAtEnd = signOf(plainValues(p, to).value);
        if (sign * signAtEnd < 0) roots.add(plainRoot(p, {from, to, sign}));
        if (signAtEnd != 0) sign = signAtEnd;
        from = to;
    }
    return roots;
}

// The changes of sign of the coefficients: the number of positive roots, or more than it by an even number.
int changesOfSign(Polynomial const& p)
{
    int changes = 0;
    int last = signOf(p.c[0]);
    for (int i = 1; i <= p.degree; ++i) {
        int const sign = signOf(p.c[i]);
        if (sign == 0) continue;
        changes += sign != last ? 1 : 0;
        last = sign;
    }
    return changes;
}

// floor(a / b), b > 0.
int floorDivided(int a, int b)
{
    return a >= 0 ? a / b : -((b - 1 - a) / b);
}

// A power of two that is greater than every root.
double upperBound(Polynomial const& p)
{
    int exponent = -4 * kMostSpread;
    for (int i = 0; i < p.degree; ++i) {
        if (p.c[i] == 0) continue;
        int const difference = std::ilogb(p.c[i]) + 1 - std::ilogb(p.c[p.degree]);
        exponent = std::max(exponent, 1 - floorDivided(-difference, p.degree - i));
    }
    return detail::timesPowerOfTwo(1.0, exponent);
}

Polynomial reversed(Polynomial p)
{
    std::reverse(p.c, p.c + p.degree + 1);
    return p;
}

// Adds the simple positive roots that the bounds of the errors prove to `roots`. False if a search has failed.
// `most` is changesOfSign(p).
bool addPositiveRoots(Polynomial const& p, int most, Numbers* roots)
{
    if (most == 0) return true;
    double const high = upperBound(p);
    double const low = 1.0 / upperBound(reversed(p));
    Numbers ends;
    if (most > 1) ends = plainRoots(derivativeOf(p), low, high);
    ends.add(high);
    Bracket bracket{low, low, signOf(p.c[0])};
    for (int i = 0; i < ends.count; ++i) {
        bracket.high = ends.values[i];
        bool const isLast = i == ends.count - 1;
        int const sign = isLast ? signOf(p.c[p.degree]) : certainSignAt(p, bracket.high);
        if (sign == 0) continue; // nearly a double root: the number of roots will decide
        if (sign != bracket.signAtLow) {
            double root = 0.0;
            if (!certainRoot(p, bracket, &root)) return false;
            roots->add(root);
        }
        bracket = {bracket.high, bracket.high, sign};
    }
    return true;
}

Polynomial mirrored(Polynomial p)
{
    for (int i = 1; i <= p.degree; i += 2) p.c[i] = -p.c[i];
    return p;
}

// The sign of the discriminant of a x^4 + b x^3 + c x^2 + d x + e, or for a = 0 of the cubic, or 0 if the bound of the
// error does not decide.
int certainDiscriminant(double a, double b, double c, double d, double e)
{
    TwoPart const ae = twoProduct(a, e);
    TwoPart const bd = twoProduct(b, d);
    TwoPart const cc = twoProduct(c, c);
    TwoPart const i = 12.0 * ae - 3.0 * bd + cc;
    TwoPart const dd = twoProduct(d, d);
    TwoPart const bb = twoProduct(b, b);
    TwoPart const j = c * (72.0 * ae + 9.0 * bd - 2.0 * cc) - 27.0 * (a * dd + e * bb);
    TwoPart const discriminant = 4.0 * (i * i * i) - j * j;

    double const sizeI = 12 * std::fabs(ae.high) + 3 * std::fabs(bd.high) + cc.high;
    double const sizeJ = std::fabs(c) * (72 * std::fabs(ae.high) + 9 * std::fabs(bd.high) + 2 * cc.high) +
                         27 * (std::fabs(a) * dd.high + std::fabs(e) * bb.high);
    double const size = 4 * sizeI * sizeI * sizeI + sizeJ * sizeJ;
    return std::fabs(discriminant.high) > kInvariantError * size ? signOf(discriminant.high) : 0;
}

// Whether x^4 a + ... of positive discriminant certainly has no real roots, and not four.
bool certainlyNoneOfFour(double a, double b, double c, double d, double e)
{
    constexpr double kError = 0x1p-48;
    double const p = 8 * (a * c) - 3 * (b * b);
    if (p > kError * (8 * std::fabs(a * c) + 3 * (b * b))) return true;
    double const aa = a * a;
    double const bb = b * b;
    double const q1 = 64 * (aa * a * e);
    double const q2 = 16 * (aa * c * c);
    double const q3 = 16 * (a * bb * c);
    double const q4 = 16 * (aa * b * d);
    double const q5 = 3 * (bb * bb);
    double const r = q1 - q2 + q3 - q4 - q5;
    return r > kError * (std::fabs(q1) + q2 + std::fabs(q3) + std::fabs(q4) + q5);
}

// Whether p has certainly no more than `found` distinct roots, all of them simple. p.degree is 3 or 4.
bool isNumberOfRoots(Polynomial const& p, int found)
{
    int const sign = certainDiscriminant(p.c[4], p.c[3], p.c[2], p.c[1], p.c[0]);
    if (p.degree == 3) return found == (sign > 0 ? 3 : 1) && sign != 0;
    if (sign < 0) return found == 2;
    return sign > 0 && found == 0 && certainlyNoneOfFour(p.c[4], p.c[3], p.c[2], p.c[1], p.c[0]);
}

// The roots of a cubic or quartic with scaled coefficients, all simple. False if the bounds do not prove them.
bool separatedRoots(Polynomial const& p, RealRoots* result)
{
    Polynomial const left = mirrored(p);
    int const mostNegative = changesOfSign(left);
    int const mostPositive = changesOfSign(p);
    Numbers negative;
    Numbers positive;
    if (!addPositiveRoots(left, mostNegative, &negative)) return false;
    if (!addPositiveRoots(p, mostPositive, &positive)) return false;
    bool const all = negative.count == mostNegative && positive.count == mostPositive;
    if (!all && !isNumberOfRoots(p, negative.count + positive.count)) return false;
    for (int i = negative.count; i-- > 0;) result->roots[result->count++] = -negative.values[i];
    for (int i = 0; i < positive.count; ++i) result->roots[result->count++] = positive.values[i];
    std::fill(result->multiplicities, result->multiplicities + result->count, 1);
    return true;
}

// Corrects an approximate simple root of either sign to less than one unit in its last place.
bool corrected(Polynomial const& p, double approximate, int signBelow, double* root)
{
    bool const isNegative = approximate < 0;
    double const x = std::fabs(approximate);
    double const margin = 0x1p-40 * x;
    Bracket const bracket{x - margin, x + margin, isNegative ? -signBelow : signBelow};
    if (!certainRoot(isNegative ? mirrored(p) : p, bracket, root)) return false;
    if (isNegative) *root = -*root;
    return true;
}

// The roots of a x^2 + b x + c with scaled coefficients. The sign of the discriminant is exact: of two sums of this
// kind the one with the greater first part is greater.
bool quadraticRoots(Polynomial const& p, RealRoots* result)
{
    double const a = p.c[2];
    double const b = p.c[1];
    double const c = p.c[0];
    TwoPart const bb = twoProduct(b, b);
    TwoPart const ac = twoProduct(4 * a, c);
    double const discriminant = (bb.high - ac.high) + (bb.low - ac.low);
    int const sign = bb.high != ac.high ? signOf(bb.high - ac.high) : signOf(bb.low - ac.low);
    if (sign < 0) return true;
    if (sign == 0) {
        result->count = 1;
        result->roots[0] = -b / (2 * a);
        result->multiplicities[0] = 2;
        return true;
    }
    double const s = std::sqrt(discriminant);
    double const q = b < 0 ? s - b : -s - b; // no cancellation
    double const first = q / (2 * a);
    double const second = 2 * c / q;
    int const signOutside = signOf(a);
    if (!corrected(p, std::min(first, second), signOutside, &result->roots[0])) return false;
    if (!corrected(p, std::max(first, second), -signOutside, &result->roots[1])) return false;
    result->count = 2;
    result->multiplicities[0] = result->multiplicities[1] = 1;
    return true;
}

// Sets q(y) = p(2^scale y) 2^k with coefficients in [2^-100, 2). False if there are no such numbers.
bool scaledPolynomial(Polynomial const& p, Polynomial* q, int* scale)
{
    *scale = (std::ilogb(p.c[0]) - std::ilogb(p.c[p.degree])) / p.degree;
    int exponents[5] = {};
    int most = INT32_MIN;
    for (int i = 0; i <= p.degree; ++i) {
        if (p.c[i] == 0) continue;
        exponents[i] = std::ilogb(p.c[i]) + i * *scale;
        most = std::max(most, exponents[i]);
    }
    q->degree = p.degree;
    for (int i = 0; i <= p.degree; ++i) {
        if (p.c[i] == 0) continue;
        if (exponents[i] < most - kMostSpread) return false;
        q->c[i] = detail::timesPowerOfTwo(p.c[i], i * *scale - most);
    }
    return true;
}

// The roots of a polynomial whose first and last coefficients are not zero.
void findRoots(Polynomial const& p, RealRoots* result)
{
    if (p.degree == 0) return;
    if (p.degree == 1) {
        result->count = 1;
        result->roots[0] = -p.c[0] / p.c[1];
        result->multiplicities[0] = 1;
        return;
    }
    Polynomial scaled;
    int scale = 0;
    if (scaledPolynomial(p, &scaled, &scale)) {
        bool const done = p.degree == 2 ? quadraticRoots(scaled, result) : separatedRoots(scaled, result);
        if (done) {
            for (int i = 0; i < result->count; ++i) result->roots[i] = detail::timesPowerOfTwo(result->roots[i], scale);
            return;
        }
    }
    result->count = detail::exactRealRoots(p.c, p.degree, result->roots, result->multiplicities);
}

// Adds the root 0, `multiplicity` times, and removes the signs of other zeros: these stand for roots too small for a
// double, and their signs tell on which side of 0 they are.
void addZero(int multiplicity, RealRoots* result)
{
    int place = result->count;
    while (place > 0 && !std::signbit(result->roots[place - 1])) --place;
    for (int i = 0; i < result->count; ++i) {
        if (result->roots[i] == 0) result->roots[i] = 0.0;
    }
    if (multiplicity == 0) return;
    for (int i = result->count; i > place; --i) {
        result->roots[i] = result->roots[i - 1];
        result->multiplicities[i] = result->multiplicities[i - 1];
    }
    result->roots[place] = 0.0;
    result->multiplicities[place] = multiplicity;
    ++result->count;
}

} // namespace

RealRoots realRoots(double const* coefficients, int degree)
{
    RealRoots result;
    if (degree < 0 || degree > 4) {
        result.outcome = RootsOutcome::badDegree;
        return result;
    }
    assert(coefficients);
    int first = degree + 1; // of the coefficients that are not zero
    int last = -1;
    for (int i = 0; i <= degree; ++i) {
        if (!std::isfinite(coefficients[i])) {
            result.outcome = RootsOutcome::notFinite;
            return result;
        }
        if (coefficients[i] == 0) continue;
        first = std::min(first, i);
        last = i;
    }
    if (last < 0) {
        result.outcome = RootsOutcome::everyNumber;
        return result;
    }
    Polynomial p;
    p.degree = last - first;
    for (int i = first; i <= last; ++i) p.c[last - i] = coefficients[i];
    findRoots(p, &result);
    addZero(degree - last, &result);
    return result;
}

} // namespace sinew
