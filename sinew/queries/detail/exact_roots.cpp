// Sources: C. Sturm, Mémoire sur la résolution des équations numériques, 1835, for the number of roots below a point;
// D. E. Knuth, The Art of Computer Programming, volume 2, third edition, 1997, section 4.6.1, for remainders of
// polynomials without division.

#include <sinew/queries/detail/exact_roots.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include <sinew/core/detail/power_scale.h>
#include <sinew/queries/detail/wide_integer.h>

namespace sinew::detail {

namespace {

// Words of a coefficient. The exponents of doubles span 2098 powers of two, and a significand has 53 bits.
constexpr std::size_t kCoefficient = 34;
// Of the polynomial and its derivative, whose coefficients are up to 4 times as large.
constexpr std::size_t kFirst = kCoefficient + 1;
// Of the remainder of the two: two factors of leading coefficients, and sums of two terms.
constexpr std::size_t kSecond = 3 * kFirst + 1;
// Of the next remainder: two such factors, or three where the remainder before it is linear.
constexpr std::size_t kThird = 3 * (kSecond + 1) + kFirst + 1;
// Of the last one. The third remainder has three factors only where it is constant and no other follows.
constexpr std::size_t kLast = 2 * (2 * (kSecond + 1) + kFirst + 1) + kSecond + 2;
// Of a value: a coefficient, four factors of one word, and the exponents of x, up to 4 * 1600.
constexpr std::size_t kValue = kThird + 4 + 100 + 1;

// Coefficients of x^0, x^1 and so on. A degree of -1 means zero.
template <std::size_t kWords, std::size_t kTerms>
struct IntegerPolynomial
{
    int degree = -1;
    std::array<WideInteger<kWords>, kTerms> terms;

    WideInteger<kWords> const& operator[](int i) const { return terms[static_cast<std::size_t>(i)]; }
    WideInteger<kWords>& operator[](int i) { return terms[static_cast<std::size_t>(i)]; }
    WideInteger<kWords> const& leading() const { return (*this)[degree]; }

    void dropZeroTerms()
    {
        while (degree >= 0 && (*this)[degree].sign() == 0) --degree;
    }
};

// An exact point: significand * 2^exponent.
struct Point
{
    std::int64_t significand;
    int exponent;
};

// All doubles in their order as integers: the bits of those that are not negative, and the negative numbers of these
// for the others. Both zeros have the number 0, and infinities stand beyond the largest double.
double doubleAt(std::int64_t order)
{
    std::int64_t const bits = order >= 0 ? order : -order;
    double x = 0.0;
    std::memcpy(&x, &bits, sizeof x);
    return order >= 0 ? x : -x;
}

constexpr std::int64_t kInfinityOrder = INT64_C(0x7ff0000000000000);

// The double of this order; an infinity counts as 2^1024.
Point pointAt(std::int64_t order)
{
    std::int64_t const bits = order >= 0 ? order : -order;
    std::int64_t const fraction = bits & INT64_C(0xfffffffffffff);
    int const field = static_cast<int>(bits >> 52);
    std::int64_t const significand = field == 0 ? fraction : fraction | INT64_C(1) << 52;
    return {order >= 0 ? significand : -significand, std::max(field, 1) - 1075};
}

// The middle between the doubles of `order` and `order + 1`.
Point middleAfter(std::int64_t order)
{
    Point a = pointAt(order);
    Point b = pointAt(order + 1);
    while (a.exponent > b.exponent) {
        a.significand *= 2;
        --a.exponent;
    }
    while (b.exponent > a.exponent) {
        b.significand *= 2;
        --b.exponent;
    }
    return {a.significand + b.significand, a.exponent - 1};
}

// i (i - 1) ... (i - k + 1) / k!
std::uint64_t binomial(int i, int k)
{
    int result = 1;
    for (int j = 0; j < k; ++j) result = result * (i - j) / (j + 1);
    return static_cast<std::uint64_t>(result);
}

// The sign of the k-th derivative of f at x = p 2^-scale.
template <std::size_t kWords, std::size_t kTerms>
int signOfDerivative(IntegerPolynomial<kWords, kTerms> const& f, int k, Point p, int scale)
{
    int const exponent = p.exponent - scale;
    std::uint64_t const magnitude = static_cast<std::uint64_t>(p.significand < 0 ? -p.significand : p.significand);
    WideInteger<kValue> value;
    for (int i = f.degree; i >= k; --i) {
        value.multiply(magnitude);
        if (p.significand < 0) value.negate();
        if (exponent > 0) value.shiftUp(exponent);
        WideInteger<kValue> term(f[i]);
        term.multiply(binomial(i, k));
        if (exponent < 0) term.shiftUp(-exponent * (f.degree - i));
        value.add(term);
    }
    return value.sign();
}

// The sign of f immediately to the right of a point.
template <std::size_t kWords, std::size_t kTerms>
int signAfter(IntegerPolynomial<kWords, kTerms> const& f, Point p, int scale)
{
    for (int k = 0; k <= f.degree; ++k) {
        int const sign = signOfDerivative(f, k, p, scale);
        if (sign != 0) return sign;
    }
    return 0;
}

// The sign of f towards minus infinity.
template <std::size_t kWords, std::size_t kTerms>
int signFarLeft(IntegerPolynomial<kWords, kTerms> const& f)
{
    return f.degree % 2 == 0 ? f.leading().sign() : -f.leading().sign();
}

// A positive multiple of minus the remainder of a divided by b. The degree of b is not 0.
template <std::size_t kResult, std::size_t kTerms, std::size_t kA, std::size_t kB, std::size_t kTermsA,
          std::size_t kTermsB>
IntegerPolynomial<kResult, kTerms> negativeRemainder(IntegerPolynomial<kA, kTermsA> const& a,
                                                     IntegerPolynomial<kB, kTermsB> const& b)
{
    using Wide = WideInteger<kResult>;
    IntegerPolynomial<kResult, kTermsA> rest;
    rest.degree = a.degree;
    for (int i = 0; i <= a.degree; ++i) rest[i] = Wide(a[i]);
    for (int top = a.degree; top >= b.degree; --top) { // multiplies by the leading coefficient of b, and divides
        Wide const quotient = rest[top];
        for (int i = 0; i < top; ++i) {
            rest[i] = Wide::product(rest[i], b.leading());
            int const j = i - (top - b.degree);
            if (j >= 0) rest[i].add(Wide::product(quotient, b[j]), true);
        }
    }
    IntegerPolynomial<kResult, kTerms> result;
    result.degree = b.degree - 1;
    bool const oddPower = (a.degree - b.degree) % 2 == 0;
    bool const negate = !(oddPower && b.leading().sign() < 0);
    for (int i = 0; i <= result.degree; ++i) {
        result[i] = rest[i];
        if (negate) result[i].negate();
    }
    result.dropZeroTerms();
    return result;
}

template <std::size_t kWords, std::size_t kTerms>
int signOfConstant(IntegerPolynomial<kWords, kTerms> const& f)
{
    assert(f.degree <= 0);
    return f.degree == 0 ? f[0].sign() : 0;
}

// Sturm's sequence of a polynomial f of degree 2 to 4: f, its derivative and negative remainders.
class SturmSequence
{
public:
    // f(x) = coefficients of y = x 2^-scale.
    SturmSequence(double const* coefficients, int degree)
    {
        setCoefficients(coefficients, degree);
        derivative_.degree = degree - 1;
        for (int i = 0; i < degree; ++i) {
            derivative_[i] = f_[i + 1];
            derivative_[i].multiply(static_cast<std::uint64_t>(i) + 1);
        }
        second_ = negativeRemainder<kSecond, 3>(f_, derivative_);
        if (second_.degree > 0) third_ = negativeRemainder<kThird, 2>(derivative_, second_);
        if (third_.degree > 0) lastSign_ = signOfConstant(negativeRemainder<kLast, 2>(second_, third_));
    }

    // The number of distinct real roots.
    int roots() const
    {
        auto const farRight = [](auto const& f) { return f.leading().sign(); };
        return changes([](auto const& f) { return signFarLeft(f); }) - changes(farRight);
    }

    // The number of distinct roots up to p, included. The signs are those immediately to the right of p: at a multiple
    // root all signs of the sequence are zero.
    int rootsUpTo(Point p) const
    {
        auto const after = [this, p](auto const& f) { return signAfter(f, p, scale_); };
        return changes([](auto const& f) { return signFarLeft(f); }) - changes(after);
    }

    // The multiplicity of the root number `which`, counted from 0, which lies in (low, high]. Other roots may lie
    // there, too.
    int multiplicity(Point low, Point high, int which) const
    {
        if (lastSign_ != 0) return 1; // the greatest common divisor of f and its derivative is constant
        int const before = rootsUpTo(low);
        Interval const interval = {low, high, rootsUpTo(high) - before};
        int const index = which - before;
        if (third_.degree >= 0) return third_.degree == 1 ? multiplicityOfOne(third_, interval, index) : 1;
        if (second_.degree == 0) return 1;
        if (second_.degree == 1) return multiplicityOfOne(second_, interval, index);
        if (second_.degree == 2) return multiplicityOfTwo(interval, index);
        return f_.degree; // the derivative divides f
    }

private:
    struct Interval
    {
        Point low;
        Point high;
        int roots; // distinct ones in (low, high]
    };

    // The number of changes of sign in the sequence. `signOf` gives the sign of a polynomial that is not zero.
    template <typename SignOf>
    int changes(SignOf const& signOf) const
    {
        int sign = signOf(f_);
        int count = 0;
        auto const add = [&](auto const& f) {
            if (f.degree < 0) return;
            int const next = signOf(f);
            count += next != 0 && next != sign ? 1 : 0;
            if (next != 0) sign = next;
        };
        add(derivative_);
        add(second_);
        add(third_);
        return count + (lastSign_ != 0 && lastSign_ != sign ? 1 : 0);
    }

    void setCoefficients(double const* coefficients, int degree);

    template <std::size_t kWords, std::size_t kTerms>
    bool changesSign(IntegerPolynomial<kWords, kTerms> const& f, Interval const& interval) const
    {
        return signAfter(f, interval.low, scale_) != signAfter(f, interval.high, scale_);
    }

    // The sign of the k-th derivative of f, where k is 2 or 3, at the root of a linear divisor.
    template <std::size_t kWords, std::size_t kTerms>
    int signAtRoot(int k, IntegerPolynomial<kWords, kTerms> const& divisor) const
    {
        IntegerPolynomial<kFirst + 1, 3> higher;
        higher.degree = f_.degree - k;
        for (int i = 0; i <= higher.degree; ++i) {
            higher[i] = WideInteger<kFirst + 1>(f_[i + k]);
            higher[i].multiply(binomial(i + k, k)); // the derivative divided by k!
        }
        if (higher.degree < 1) return signOfConstant(higher);
        return -signOfConstant(negativeRemainder<kLast, 2>(higher, divisor));
    }

    // If the common divisor is linear, f = (x - r)^2 h, where r is its root and no root of h.
    template <std::size_t kWords, std::size_t kTerms>
    int multiplicityOfOne(IntegerPolynomial<kWords, kTerms> const& divisor, Interval const& interval, int index) const
    {
        if (!changesSign(divisor, interval)) return 1;
        return index == interval.roots - 1 - rootsAfterDouble(divisor, interval) ? 2 : 1;
    }

    // How many of the roots in the interval, which contains r, are greater than r. These are roots of h.
    template <std::size_t kWords, std::size_t kTerms>
    int rootsAfterDouble(IntegerPolynomial<kWords, kTerms> const& divisor, Interval const& interval) const
    {
        if (interval.roots == 1) return 0;
        // h(r) = f''(r) / 2, and after the interval h has the sign of f.
        if (signAtRoot(2, divisor) != signAfter(f_, interval.high, scale_)) return 1;
        if (interval.roots == 2) return 0;
        // Both roots of h lie on one side of r, and h'(r) = f'''(r) / 6.
        return signAtRoot(3, divisor) != f_.leading().sign() ? 2 : 0;
    }

    // If the common divisor is quadratic, f has two double roots, or a triple and a simple one.
    int multiplicityOfTwo(Interval const& interval, int index) const
    {
        IntegerPolynomial<kSecond + 1, 2> slope;
        slope.degree = 1;
        slope[0] = WideInteger<kSecond + 1>(second_[1]);
        slope[1] = WideInteger<kSecond + 1>(second_[2]);
        slope[1].multiply(2);
        if (signOfConstant(negativeRemainder<kThird, 2>(second_, slope)) != 0) return 2;
        if (!changesSign(slope, interval)) return 1;
        if (interval.roots == 1) return 3;
        // f = a (x - r)^3 (x - s), so that f'''(r) / 6 = a (r - s).
        bool const tripleIsFirst = signAtRoot(3, slope) != f_.leading().sign();
        return tripleIsFirst == (index == 0) ? 3 : 1;
    }

    int scale_ = 0;
    IntegerPolynomial<kFirst, 5> f_;
    IntegerPolynomial<kFirst, 4> derivative_;
    IntegerPolynomial<kSecond, 3> second_;
    IntegerPolynomial<kThird, 2> third_;
    int lastSign_ = 0; // of the constant after the third one, or 0
};

// The exponents of the lowest bits of coefficients after x = y 2^scale: the least and the greatest of them.
struct Exponents
{
    int least = INT32_MAX;
    int greatest = INT32_MIN;
};

Exponents exponentsOf(double const* coefficients, int degree, int scale)
{
    Exponents result;
    for (int i = 0; i <= degree; ++i) {
        if (coefficients[i] == 0) continue;
        int const exponent = std::ilogb(coefficients[i]) - 52 + i * scale;
        result.least = std::min(result.least, exponent);
        result.greatest = std::max(result.greatest, exponent);
    }
    return result;
}

void SturmSequence::setCoefficients(double const* coefficients, int degree)
{
    // A variable of the size of the roots makes the integers short; where it does not, it stays.
    scale_ = (std::ilogb(coefficients[0]) - std::ilogb(coefficients[degree])) / degree;
    Exponents exponents = exponentsOf(coefficients, degree, scale_);
    Exponents const plain = exponentsOf(coefficients, degree, 0);
    if (exponents.greatest - exponents.least > plain.greatest - plain.least) {
        scale_ = 0;
        exponents = plain;
    }
    f_.degree = degree;
    for (int i = 0; i <= degree; ++i) {
        double const c = coefficients[i];
        if (c == 0) continue;
        int const exponent = std::ilogb(c) - 52;
        auto const significand = static_cast<std::uint64_t>(timesPowerOfTwo(std::fabs(c), -exponent));
        f_[i] = WideInteger<kFirst>(significand, c < 0, exponent + i * scale_ - exponents.least);
    }
}

// The greatest order of a double below the root number `which`, counted from 0.
std::int64_t orderBelowRoot(SturmSequence const& sequence, int which)
{
    std::int64_t low = -kInfinityOrder;
    std::int64_t high = kInfinityOrder;
    while (high != low + 1) {
        std::uint64_t const width = static_cast<std::uint64_t>(high) - static_cast<std::uint64_t>(low);
        std::int64_t const middle = low + static_cast<std::int64_t>(width / 2);
        (sequence.rootsUpTo(pointAt(middle)) > which ? high : low) = middle;
    }
    return low;
}

} // namespace

int exactRealRoots(double const* coefficients, int degree, double* roots, int* multiplicities)
{
    assert(degree >= 2 && degree <= 4 && coefficients[0] != 0 && coefficients[degree] != 0);
    SturmSequence const sequence(coefficients, degree);
    int const count = sequence.roots();
    for (int which = 0; which < count; ++which) {
        std::int64_t const low = orderBelowRoot(sequence, which);
        Point const middle = middleAfter(low);
        bool const lower = sequence.rootsUpTo(middle) > which;
        // Zero is no root, so that a root that rounds to it from below is negative: its sign stays.
        roots[which] = lower ? doubleAt(low) : (low == -1 ? -0.0 : doubleAt(low + 1));
        multiplicities[which] = sequence.multiplicity(pointAt(low), pointAt(low + 1), which);
    }
    return count;
}

} // namespace sinew::detail
