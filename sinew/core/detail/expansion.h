#pragma once

/// Exact sums and products of doubles, as sums of doubles that do not overlap.
///
/// Source: J. R. Shewchuk, Adaptive Precision Floating-Point Arithmetic and Fast Robust Geometric Predicates, Discrete
/// & Computational Geometry 18, 1997, sections 2.2 to 2.6; the splitting of a double after T. J. Dekker, 1971.
///
/// All operations are exact as long as none overflows and no product falls below the smallest subnormal number. The
/// callers ensure it; see `exact_value.h`.

#include <cassert>
#include <cmath>
#include <cstddef>

namespace sinew::detail {

/// A rounded result, and the rounding error that it leaves: their sum is exact.
struct TwoPart
{
    double high;
    double low;
};

inline TwoPart twoSum(double a, double b)
{
    double const sum = a + b;
    double const ofB = sum - a;
    double const ofA = sum - ofB;
    return {sum, (a - ofA) + (b - ofB)};
}

/// `twoSum` for |a| >= |b|.
inline TwoPart fastTwoSum(double a, double b)
{
    double const sum = a + b;
    return {sum, b - (sum - a)};
}

/// a as the sum of two numbers of at most 26 bits, so that their products are exact. Overflows beyond 2^996.
inline TwoPart split(double a)
{
    constexpr double kSplitter = 134217729.0; // 2^27 + 1
    double const big = kSplitter * a;
    double const high = big - (big - a);
    return {high, a - high};
}

inline TwoPart twoProduct(double a, TwoPart const& aSplit, double b, TwoPart const& bSplit)
{
    double const product = a * b;
    double const rest = ((aSplit.high * bSplit.high - product) + aSplit.high * bSplit.low) + aSplit.low * bSplit.high;
    return {product, aSplit.low * bSplit.low + rest};
}

inline TwoPart twoProduct(double a, double b)
{
    return twoProduct(a, split(a), b, split(b));
}

/// Writes the exact sum of two expansions to `h`, which holds m + n numbers and overlaps neither.
/// @return the number of parts written; zeros are left out.
inline std::size_t sumOfExpansions(double const* e, std::size_t m, double const* f, std::size_t n, double* h)
{
    std::size_t i = 0;
    std::size_t j = 0;
    auto const smallest = [&] { return j == n || (i < m && std::fabs(e[i]) < std::fabs(f[j])) ? e[i++] : f[j++]; };
    if (m + n == 0) return 0;
    std::size_t size = 0;
    double sum = smallest();
    while (i + j < m + n) {
        TwoPart const next = twoSum(sum, smallest());
        sum = next.high;
        if (next.low != 0.0) h[size++] = next.low;
    }
    if (sum != 0.0) h[size++] = sum;
    return size;
}

/// Writes the exact product of an expansion and a number to `h`, which holds 2 m numbers and does not overlap `e`.
/// @return the number of parts written; zeros are left out.
inline std::size_t scaledExpansion(double const* e, std::size_t m, double factor, double* h)
{
    std::size_t size = 0;
    auto const append = [&](double part) {
        if (part != 0.0) h[size++] = part;
    };
    TwoPart const factorSplit = split(factor);
    double sum = 0.0;
    for (std::size_t i = 0; i < m; ++i) {
        TwoPart const product = twoProduct(e[i], split(e[i]), factor, factorSplit);
        TwoPart const lower = twoSum(sum, product.low);
        TwoPart const upper = fastTwoSum(product.high, lower.high);
        append(lower.low);
        append(upper.low);
        sum = upper.high;
    }
    append(sum);
    return size;
}

/// A number as the exact sum of at most `kCapacity` doubles that do not overlap, in the order of increasing magnitude
/// and without zeros. The last part has the sign of the number.
template <std::size_t kCapacity>
class Expansion
{
public:
    Expansion() = default;
    explicit Expansion(double value)
    {
        static_assert(kCapacity >= 1);
        if (value != 0.0) parts_[size_++] = value;
    }
    explicit Expansion(TwoPart const& value)
    {
        static_assert(kCapacity >= 2);
        if (value.low != 0.0) parts_[size_++] = value.low;
        if (value.high != 0.0) parts_[size_++] = value.high;
    }
    /// Copies only the parts in use, because the capacity can be more than a thousand.
    Expansion(Expansion const& other) : size_(other.size_)
    {
        for (std::size_t i = 0; i < size_; ++i) parts_[i] = other.parts_[i];
    }
    Expansion& operator=(Expansion const&) = delete;

    /// The number to about 2 units in the last place; its sign is exact.
    double rounded() const
    {
        double sum = 0.0;
        for (std::size_t i = 0; i < size_; ++i) sum += parts_[i];
        assert(size_ == 0 || (sum > 0.0) == (parts_[size_ - 1] > 0.0));
        return sum;
    }

    Expansion operator-() const
    {
        Expansion result;
        for (std::size_t i = 0; i < size_; ++i) result.parts_[i] = -parts_[i];
        result.size_ = size_;
        return result;
    }

    template <std::size_t kOther>
    Expansion<kCapacity + kOther> operator+(Expansion<kOther> const& other) const
    {
        Expansion<kCapacity + kOther> result;
        result.size_ = sumOfExpansions(parts_, size_, other.parts_, other.size_, result.parts_);
        return result;
    }
    template <std::size_t kOther>
    Expansion<kCapacity + kOther> operator-(Expansion<kOther> const& other) const
    {
        return *this + (-other);
    }

    /// The sum of the products of this number with the parts of `other`.
    template <std::size_t kOther>
    Expansion<2 * kCapacity * kOther> operator*(Expansion<kOther> const& other) const
    {
        if constexpr (kOther > kCapacity) {
            return other * *this;
        } else {
            Expansion<2 * kCapacity * kOther> result;
            double product[2 * kCapacity];
            double sum[2 * kCapacity * kOther];
            if (other.size_ == 0) return result;
            result.size_ = scaledExpansion(parts_, size_, other.parts_[0], result.parts_);
            for (std::size_t i = 1; i < kOther && i < other.size_; ++i) {
                std::size_t const n = scaledExpansion(parts_, size_, other.parts_[i], product);
                std::size_t const m = sumOfExpansions(result.parts_, result.size_, product, n, sum);
                for (std::size_t k = 0; k < m; ++k) result.parts_[k] = sum[k];
                result.size_ = m;
            }
            return result;
        }
    }

private:
    template <std::size_t kOther>
    friend class Expansion;

    double parts_[kCapacity];
    std::size_t size_ = 0;
};

} // namespace sinew::detail
