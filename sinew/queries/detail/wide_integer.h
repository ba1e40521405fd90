#pragma once

/// Integers of a fixed number of words, for exact decisions about polynomials. Not installed.

#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>

#include <sinew/detail/uint128.h>

namespace sinew::detail {

/// An integer with sign, below 2^(64 kWords) in magnitude. No operation may exceed this limit: callers choose `kWords`
/// from the sizes of the operands. Only the words in use are copied and computed.
template <std::size_t kWords>
class WideInteger
{
public:
    WideInteger() {} // NOLINT: the words beyond size_ stay unwritten

    /// magnitude * 2^shift with a sign; shift >= 0.
    WideInteger(std::uint64_t magnitude, bool negative, int shift = 0)
    {
        if (magnitude == 0) return;
        words_[0] = magnitude;
        size_ = 1;
        negative_ = negative;
        shiftUp(shift);
    }

    WideInteger(WideInteger const& other) { assign(other); } // NOLINT: as above

    template <std::size_t kOther>
    explicit WideInteger(WideInteger<kOther> const& other) // NOLINT: as above
    {
        assign(other);
    }

    WideInteger& operator=(WideInteger const& other)
    {
        assign(other);
        return *this;
    }

    /// -1, 0 or 1.
    int sign() const { return size_ == 0 ? 0 : (negative_ ? -1 : 1); }

    void negate() { negative_ = !negative_; }

    /// Multiplies by 2^n, n >= 0.
    void shiftUp(int n)
    {
        if (size_ == 0 || n == 0) return;
        std::size_t const whole = static_cast<std::size_t>(n) / 64;
        int const bits = n % 64;
        std::uint64_t const top = bits == 0 ? 0 : words_[size_ - 1] >> (64 - bits);
        assert(size_ + whole + (top != 0) <= kWords);
        for (std::size_t i = size_; i-- > 0;) {
            std::uint64_t const below = bits == 0 || i == 0 ? 0 : words_[i - 1] >> (64 - bits);
            words_[i + whole] = words_[i] << bits | below;
        }
        for (std::size_t i = 0; i < whole; ++i) words_[i] = 0;
        size_ += whole;
        if (top != 0) words_[size_++] = top;
    }

    /// Multiplies by a number of one word.
    void multiply(std::uint64_t factor)
    {
        if (factor == 0) size_ = 0;
        std::uint64_t carry = 0;
        for (std::size_t i = 0; i < size_; ++i) {
            portable::UInt128 const sum = portable::multiply(words_[i], factor) + portable::UInt128{0, carry};
            words_[i] = sum.low;
            carry = sum.high;
        }
        if (carry == 0) return;
        assert(size_ < kWords);
        words_[size_++] = carry;
    }

    /// Adds `other`, or subtracts it.
    template <std::size_t kOther>
    void add(WideInteger<kOther> const& other, bool subtract = false)
    {
        if (other.size_ == 0) return;
        bool const otherNegative = other.negative_ != subtract;
        if (size_ == 0) {
            assign(other);
            negative_ = otherNegative;
        } else if (negative_ == otherNegative) {
            addMagnitude(other);
        } else if (isSmallerThan(other)) {
            subtractMagnitude(other.words_.data(), other.size_, words_.data(), size_);
            negative_ = otherNegative;
        } else {
            subtractMagnitude(words_.data(), size_, other.words_.data(), other.size_);
        }
    }

    /// a * b.
    template <std::size_t kA, std::size_t kB>
    static WideInteger product(WideInteger<kA> const& a, WideInteger<kB> const& b)
    {
        WideInteger result;
        if (a.size_ == 0 || b.size_ == 0) return result;
        assert(a.size_ + b.size_ <= kWords);
        result.size_ = a.size_ + b.size_;
        for (std::size_t i = 0; i < result.size_; ++i) result.words_[i] = 0;
        for (std::size_t i = 0; i < a.size_; ++i) {
            std::uint64_t carry = 0;
            for (std::size_t j = 0; j < b.size_; ++j) {
                portable::UInt128 const sum = portable::multiply(a.words_[i], b.words_[j]) +
                                              portable::UInt128{0, result.words_[i + j]} + portable::UInt128{0, carry};
                result.words_[i + j] = sum.low;
                carry = sum.high;
            }
            result.words_[i + b.size_] = carry;
        }
        result.negative_ = a.negative_ != b.negative_;
        result.dropZeroWords();
        return result;
    }

private:
    template <std::size_t kOther>
    friend class WideInteger;

    template <std::size_t kOther>
    void assign(WideInteger<kOther> const& other)
    {
        assert(other.size_ <= kWords);
        size_ = other.size_;
        negative_ = other.negative_;
        for (std::size_t i = 0; i < size_; ++i) words_[i] = other.words_[i];
    }

    void dropZeroWords()
    {
        while (size_ > 0 && words_[size_ - 1] == 0) --size_;
    }

    template <std::size_t kOther>
    bool isSmallerThan(WideInteger<kOther> const& other) const
    {
        if (size_ != other.size_) return size_ < other.size_;
        for (std::size_t i = size_; i-- > 0;) {
            if (words_[i] != other.words_[i]) return words_[i] < other.words_[i];
        }
        return false;
    }

    template <std::size_t kOther>
    void addMagnitude(WideInteger<kOther> const& other)
    {
        assert(other.size_ <= kWords);
        while (size_ < other.size_) words_[size_++] = 0;
        std::uint64_t carry = 0;
        for (std::size_t i = 0; i < size_ && (i < other.size_ || carry != 0); ++i) {
            std::uint64_t const addend = i < other.size_ ? other.words_[i] : 0;
            portable::UInt128 sum{0, words_[i]};
            sum = sum + portable::UInt128{0, addend};
            sum = sum + portable::UInt128{0, carry};
            words_[i] = sum.low;
            carry = sum.high;
        }
        if (carry == 0) return;
        assert(size_ < kWords);
        words_[size_++] = carry;
    }

    // Writes large - small, which may share memory with this number; large >= small.
    void subtractMagnitude(std::uint64_t const* large, std::size_t largeSize, std::uint64_t const* small,
                           std::size_t smallSize)
    {
        assert(largeSize <= kWords);
        std::uint64_t borrow = 0;
        for (std::size_t i = 0; i < largeSize; ++i) {
            std::uint64_t const minuend = large[i];
            std::uint64_t const subtrahend = i < smallSize ? small[i] : 0;
            std::uint64_t const difference = minuend - subtrahend;
            words_[i] = difference - borrow;
            borrow = minuend < subtrahend || difference < borrow ? 1 : 0;
        }
        size_ = largeSize;
        dropZeroWords();
    }

    std::size_t size_ = 0; // words in use; the last of them is not zero
    bool negative_ = false;
    std::array<std::uint64_t, kWords> words_; // the lowest first
};

} // namespace sinew::detail
