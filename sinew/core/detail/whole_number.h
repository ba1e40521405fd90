#pragma once

/// Integers of up to 8704 bits: the exact values of polynomials of degree 4 in doubles of any magnitude.
///
/// A double is an integer times a power of two, between 2^-1074 and 2^1024, so the differences of doubles are integers
/// of at most 2099 bits in units of 2^-1074. The class is simple, not fast; only coordinates of extreme magnitude or
/// spread need it. Sums and products must fit: the callers state why they do.

#include <algorithm>
#include <array>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include <sinew/core/detail/power_scale.h>

namespace sinew::detail {

/// value * 2^exponent.
struct ScaledDouble
{
    double value = 0.0;
    int exponent = 0;

    /// The nearest double of the same sign: the smallest subnormal number if it would be zero, infinity if it is too
    /// large.
    double rounded() const
    {
        double const result = timesPowerOfTwo(value, exponent);
        return result == 0.0 && value != 0.0 ? std::copysign(4.9406564584124654e-324, value) : result;
    }
};

class WholeNumber
{
public:
    /// The largest power of two, at least 2^-1074, of which `x` is a multiple by 53 bits. For 0 a power above all
    /// others.
    static int unitExponent(double x)
    {
        if (x == 0.0) return kLargestExponent;
        int exponent = 0;
        (void)std::frexp(x, &exponent);
        return std::max(exponent - 53, -1074);
    }

    WholeNumber() = default;

    /// x / 2^exponent, for a finite x and an exponent of at most unitExponent(x).
    WholeNumber(double x, int exponent) : negative_(x < 0.0)
    {
        if (x == 0.0) return;
        int const unit = unitExponent(x);
        auto const mantissa = static_cast<std::uint64_t>(std::fabs(timesPowerOfTwo(x, -unit)));
        assert(unit >= exponent);
        auto const shift = static_cast<unsigned>(unit - exponent);
        size_ = shift / 32 + 3;
        assert(size_ <= kCapacity);
        std::fill_n(words_.begin(), size_ - 3, std::uint32_t{0});
        unsigned const bits = shift % 32;
        std::uint64_t const low = (mantissa & 0xffffffffU) << bits;
        std::uint64_t const high = ((mantissa >> 32) << bits) + (low >> 32);
        words_[size_ - 3] = static_cast<std::uint32_t>(low);
        words_[size_ - 2] = static_cast<std::uint32_t>(high);
        words_[size_ - 1] = static_cast<std::uint32_t>(high >> 32);
        trim();
    }

    /// The number to about 2 units in the last place; its sign is exact.
    ScaledDouble rounded() const
    {
        double value = 0.0;
        for (std::size_t i = 0; i < 3; ++i) {
            value = value * 4294967296.0 + (i < size_ ? static_cast<double>(words_[size_ - 1 - i]) : 0.0);
        }
        return {negative_ ? -value : value, 32 * (static_cast<int>(size_) - 3)};
    }

    WholeNumber operator-() const
    {
        WholeNumber result = *this;
        result.negative_ = !negative_;
        return result;
    }

    WholeNumber operator+(WholeNumber const& other) const
    {
        if (negative_ == other.negative_) return sumOfMagnitudes(*this, other);
        return isSmaller(*this, other) ? differenceOfMagnitudes(other, *this) : differenceOfMagnitudes(*this, other);
    }
    WholeNumber operator-(WholeNumber const& other) const { return *this + (-other); }

    WholeNumber operator*(WholeNumber const& other) const
    {
        WholeNumber result;
        if (size_ == 0 || other.size_ == 0) return result;
        result.negative_ = negative_ != other.negative_;
        result.size_ = size_ + other.size_;
        assert(result.size_ <= kCapacity);
        std::fill_n(result.words_.begin(), result.size_, std::uint32_t{0});
        for (std::size_t i = 0; i < size_; ++i) {
            std::uint64_t carry = 0;
            for (std::size_t j = 0; j < other.size_; ++j) {
                carry += std::uint64_t{words_[i]} * other.words_[j] + result.words_[i + j];
                result.words_[i + j] = static_cast<std::uint32_t>(carry);
                carry >>= 32;
            }
            result.words_[i + other.size_] = static_cast<std::uint32_t>(carry);
        }
        result.trim();
        return result;
    }

private:
    static constexpr std::size_t kCapacity = 272;
    static constexpr int kLargestExponent = 1024;

    void trim()
    {
        while (size_ > 0 && words_[size_ - 1] == 0) --size_;
    }

    std::uint64_t wordOrZero(std::size_t i) const { return i < size_ ? words_[i] : 0; }

    static bool isSmaller(WholeNumber const& a, WholeNumber const& b)
    {
        if (a.size_ != b.size_) return a.size_ < b.size_;
        for (std::size_t i = a.size_; i-- > 0;) {
            if (a.words_[i] != b.words_[i]) return a.words_[i] < b.words_[i];
        }
        return false;
    }

    static WholeNumber sumOfMagnitudes(WholeNumber const& a, WholeNumber const& b)
    {
        WholeNumber result;
        result.negative_ = a.negative_;
        result.size_ = std::max(a.size_, b.size_) + 1;
        assert(result.size_ <= kCapacity);
        std::uint64_t carry = 0;
        for (std::size_t i = 0; i < result.size_; ++i) {
            carry += a.wordOrZero(i) + b.wordOrZero(i);
            result.words_[i] = static_cast<std::uint32_t>(carry);
            carry >>= 32;
        }
        result.trim();
        return result;
    }

    // |a| - |b| with the sign of a, for |a| >= |b|.
    static WholeNumber differenceOfMagnitudes(WholeNumber const& a, WholeNumber const& b)
    {
        WholeNumber result;
        result.negative_ = a.negative_;
        result.size_ = a.size_;
        std::uint64_t borrow = 0;
        for (std::size_t i = 0; i < a.size_; ++i) {
            std::uint64_t const difference = std::uint64_t{a.words_[i]} - b.wordOrZero(i) - borrow;
            result.words_[i] = static_cast<std::uint32_t>(difference);
            borrow = difference >> 63;
        }
        result.trim();
        return result;
    }

    std::array<std::uint32_t, kCapacity> words_; // the least significant first; only the first size_ are set
    std::size_t size_ = 0;
    bool negative_ = false;
};

} // namespace sinew::detail
