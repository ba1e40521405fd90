#pragma once

/// The real roots of polynomials with rational coefficients, by exact arithmetic: the oracle of realRoots.
///
/// It divides out the greatest common divisor with the derivative first, unlike the library, whose sequence keeps it.

#include <cmath>
#include <vector>

#include <gmpxx.h>

namespace test {

/// Coefficients of x^0, x^1 and so on; no terms for zero. The leading one is not zero.
using Terms = std::vector<mpz_class>;

inline int degreeOf(Terms const& p)
{
    return static_cast<int>(p.size()) - 1;
}

/// Removes leading zeros and the common factor of all coefficients, which is positive.
inline void reduce(Terms& p)
{
    while (!p.empty() && p.back() == 0) p.pop_back();
    mpz_class factor = 0;
    for (mpz_class const& c : p) factor = gcd(factor, c);
    if (factor > 1) {
        for (mpz_class& c : p) mpz_divexact(c.get_mpz_t(), c.get_mpz_t(), factor.get_mpz_t());
    }
}

inline Terms derivative(Terms const& p)
{
    Terms result;
    for (std::size_t i = 1; i < p.size(); ++i) result.push_back(p[i] * static_cast<long>(i));
    reduce(result);
    return result;
}

/// A positive multiple of the remainder of a / b, and one of the quotient.
inline Terms divide(Terms a, Terms const& b, Terms* quotient = nullptr)
{
    mpz_class const scale = abs(b.back());
    Terms q(a.size() < b.size() ? 0 : a.size() - b.size() + 1, mpz_class(0));
    while (a.size() >= b.size()) {
        std::size_t const shift = a.size() - b.size();
        mpz_class const factor = b.back() > 0 ? a.back() : mpz_class(-a.back());
        for (mpz_class& c : q) c *= scale;
        q[shift] += factor;
        for (mpz_class& c : a) c *= scale;
        for (std::size_t i = 0; i < b.size(); ++i) a[i + shift] -= factor * b[i];
        a.pop_back(); // exactly zero
        while (!a.empty() && a.back() == 0) a.pop_back();
    }
    reduce(a);
    if (quotient) {
        reduce(q);
        *quotient = q;
    }
    return a;
}

inline Terms commonDivisor(Terms a, Terms b)
{
    while (!b.empty()) {
        Terms const rest = divide(a, b);
        a = b;
        b = rest;
    }
    return a;
}

/// Sturm's sequence of the polynomial of the same roots without multiplicity.
class RootCounter
{
public:
    explicit RootCounter(Terms const& p)
    {
        Terms simple;
        divide(p, commonDivisor(p, derivative(p)), &simple);
        sequence_.push_back(simple);
        if (simple.size() < 2) return;
        sequence_.push_back(derivative(simple));
        while (sequence_.back().size() > 1) {
            Terms rest = divide(sequence_[sequence_.size() - 2], sequence_.back());
            for (mpz_class& c : rest) c = -c;
            sequence_.push_back(rest);
        }
    }

    /// The number of distinct roots of at most m 2^e.
    int upTo(mpz_class const& m, int e) const { return changes(-1) - changesAt(m, e); }

    int all() const { return changes(-1) - changes(1); }

private:
    static int count(std::vector<int> const& signs)
    {
        int last = 0;
        int changes = 0;
        for (int const sign : signs) {
            if (sign == 0) continue;
            if (last != 0 && sign != last) ++changes;
            last = sign;
        }
        return changes;
    }

    // Far to the left or to the right.
    int changes(int side) const
    {
        std::vector<int> signs;
        for (Terms const& f : sequence_) {
            signs.push_back(sgn(f.back()) * (side < 0 && degreeOf(f) % 2 != 0 ? -1 : 1));
        }
        return count(signs);
    }

    int changesAt(mpz_class const& m, int e) const
    {
        std::vector<int> signs;
        for (Terms const& f : sequence_) {
            mpz_class value = 0;
            for (std::size_t i = f.size(); i-- > 0;) {
                value *= m;
                if (e > 0) value <<= static_cast<unsigned>(e);
                mpz_class term = f[i];
                if (e < 0) term <<= static_cast<unsigned>(-e) * static_cast<unsigned>(f.size() - 1 - i);
                value += term;
            }
            signs.push_back(sgn(value));
        }
        return count(signs);
    }

    std::vector<Terms> sequence_;
};

/// The exact roots of a polynomial with doubles as coefficients.
class ExactPolynomial
{
public:
    /// `coefficients` of the highest power first, finite, and not all zero.
    explicit ExactPolynomial(std::vector<double> const& coefficients)
    {
        Terms p;
        for (std::size_t i = coefficients.size(); i-- > 0;) {
            mpz_class term(std::ldexp(std::frexp(coefficients[i], &exponent_), 53));
            if (term != 0) term <<= static_cast<unsigned>(exponent_ - 53 + 1200);
            p.push_back(term);
        }
        reduce(p);
        while (p.size() > 1) {
            counters_.emplace_back(p);
            p = commonDivisor(p, derivative(p));
        }
    }

    /// The number of distinct roots.
    int count() const { return counters_.empty() ? 0 : counters_[0].all(); }

    /// The number of distinct roots of at most m 2^e.
    int upTo(mpz_class const& m, int e) const { return counters_.empty() ? 0 : counters_[0].upTo(m, e); }

    /// The multiplicity of the only root above low 2^e and of at most high 2^e.
    int multiplicity(mpz_class const& low, mpz_class const& high, int e) const
    {
        int result = 0;
        for (RootCounter const& counter : counters_) {
            if (counter.upTo(high, e) > counter.upTo(low, e)) ++result;
        }
        return result;
    }

private:
    int exponent_ = 0;
    std::vector<RootCounter> counters_; // of p, of its common divisor with its derivative, and so on
};

} // namespace test
