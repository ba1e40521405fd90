#pragma once

/// Real numbers of 320 bits, through MPFR, and eigenvalues computed with them: an oracle for results in double
/// precision.

#include <algorithm>
#include <utility>

#include <mpfr.h>

namespace test {

/// A number of 320 bits with a wide exponent. Every operation is correctly rounded to these bits.
class WideReal
{
public:
    WideReal(double value = 0.0)
    {
        initialise();
        mpfr_set_d(value_, value, MPFR_RNDN);
    }
    WideReal(WideReal const& other)
    {
        initialise();
        mpfr_set(value_, other.value_, MPFR_RNDN);
    }
    WideReal& operator=(WideReal const& other)
    {
        mpfr_set(value_, other.value_, MPFR_RNDN);
        return *this;
    }

    /// The nearest double.
    double toDouble() const { return mpfr_get_d(value_, MPFR_RNDN); }
    bool isZero() const { return mpfr_zero_p(value_) != 0; }

    WideReal& operator+=(WideReal const& b)
    {
        mpfr_add(value_, value_, b.value_, MPFR_RNDN);
        return *this;
    }
    WideReal& operator-=(WideReal const& b)
    {
        mpfr_sub(value_, value_, b.value_, MPFR_RNDN);
        return *this;
    }
    WideReal& operator*=(WideReal const& b)
    {
        mpfr_mul(value_, value_, b.value_, MPFR_RNDN);
        return *this;
    }
    WideReal& operator/=(WideReal const& b)
    {
        mpfr_div(value_, value_, b.value_, MPFR_RNDN);
        return *this;
    }

    friend WideReal operator+(WideReal a, WideReal const& b) { return std::move(a += b); }
    friend WideReal operator-(WideReal a, WideReal const& b) { return std::move(a -= b); }
    friend WideReal operator*(WideReal a, WideReal const& b) { return std::move(a *= b); }
    friend WideReal operator/(WideReal a, WideReal const& b) { return std::move(a /= b); }
    friend bool operator<(WideReal const& a, WideReal const& b) { return mpfr_less_p(a.value_, b.value_) != 0; }

    friend WideReal sqrt(WideReal a)
    {
        mpfr_sqrt(a.value_, a.value_, MPFR_RNDN);
        return a;
    }
    friend WideReal abs(WideReal a)
    {
        mpfr_abs(a.value_, a.value_, MPFR_RNDN);
        return a;
    }

private:
    static constexpr mpfr_prec_t kBits = 320;

    // The digits live in the object, so that a temporary number costs no allocation.
    void initialise()
    {
        mpfr_custom_init(digits_, kBits);
        mpfr_custom_init_set(value_, MPFR_ZERO_KIND, 0, kBits, digits_);
    }

    mp_limb_t digits_[kBits / 32];
    mpfr_t value_;
};

/// Eigenvalues in ascending order with unit eigenvectors: row k of `vectors` belongs to value k.
struct WideEigensystem
{
    WideReal values[3];
    WideReal vectors[3][3];
};

inline WideReal largestOf(WideReal const (&m)[3][3])
{
    WideReal largest;
    for (auto const& row : m) {
        for (WideReal const& element : row) largest = largest < abs(element) ? abs(element) : largest;
    }
    return largest;
}

/// Cyclic Jacobi on the lower triangle, a fixed number of sweeps: far more than the convergence, which is quadratic,
/// needs for 320 bits.
inline WideEigensystem wideEigensystem(WideReal (&m)[3][3])
{
    constexpr int kTurns = 60;
    WideEigensystem e;
    WideReal const negligible = largestOf(m) * 0x1p-800;
    for (int k = 0; k < 3; ++k) e.vectors[k][k] = 1;
    for (int turn = 0; turn < kTurns; ++turn) {
        int const r = turn % 3, p = (r + 1) % 3, q = (r + 2) % 3;
        WideReal const off = m[std::max(p, q)][std::min(p, q)];
        if (!(negligible < abs(off))) continue;
        WideReal const half = (m[q][q] - m[p][p]) / 2;
        WideReal const root = sqrt(half * half + off * off);
        WideReal const t = half < 0 ? off / (half - root) : off / (half + root);
        WideReal const c = 1 / sqrt(1 + t * t), s = t * c;
        m[p][p] -= t * off;
        m[q][q] += t * off;
        m[std::max(p, q)][std::min(p, q)] = 0;
        WideReal& rp = m[std::max(r, p)][std::min(r, p)];
        WideReal& rq = m[std::max(r, q)][std::min(r, q)];
        WideReal const x = rp;
        rp = c * x - s * rq;
        rq = s * x + c * rq;
        for (int i = 0; i < 3; ++i) {
            WideReal const v = e.vectors[p][i];
            e.vectors[p][i] = c * v - s * e.vectors[q][i];
            e.vectors[q][i] = s * v + c * e.vectors[q][i];
        }
    }
    for (int k = 0; k < 3; ++k) e.values[k] = m[k][k];
    for (int k : {0, 1, 0}) {
        if (!(e.values[k + 1] < e.values[k])) continue;
        std::swap(e.values[k], e.values[k + 1]);
        for (int i = 0; i < 3; ++i) std::swap(e.vectors[k][i], e.vectors[k + 1][i]);
    }
    return e;
}

} // namespace test
