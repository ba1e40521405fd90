#include <sinew/detail/exact_comparison.h>

#include <algorithm>

#include <sinew/detail/uint128.h>

namespace sinew::detail {

void BigInteger::multiplyAdd(std::uint64_t factor, std::uint64_t summand)
{
    std::uint64_t carry = summand;
    for (std::size_t i = 0; i < size_; ++i) {
        portable::UInt128 const product = portable::multiply(words_[i], factor) + portable::UInt128{0, carry};
        words_[i] = product.low;
        carry = product.high;
    }
    if (carry == 0) return;
    assert(size_ < words_.size());
    words_[size_++] = carry;
}

void BigInteger::multiplyByPowerOfFive(int exponent)
{
    constexpr std::uint64_t kStep = 7450580596923828125; // 5^27, the greatest power below 2^64
    for (; exponent >= 27; exponent -= 27) multiplyAdd(kStep, 0);
    for (; exponent > 0; --exponent) multiplyAdd(5, 0);
}

void BigInteger::multiplyByPowerOfTwo(int exponent)
{
    assert(exponent >= 0);
    multiplyAdd(std::uint64_t{1} << exponent % 64, 0);
    std::size_t const words = static_cast<std::size_t>(exponent / 64);
    if (words == 0 || size_ == 0) return;
    assert(size_ + words <= words_.size());
    auto const first = words_.begin();
    auto const last = first + static_cast<std::ptrdiff_t>(size_);
    std::copy_backward(first, last, last + static_cast<std::ptrdiff_t>(words));
    std::fill_n(first, words, 0);
    size_ += words;
}

int compare(BigInteger const& a, BigInteger const& b)
{
    if (a.size_ != b.size_) return a.size_ < b.size_ ? -1 : 1;
    for (std::size_t i = a.size_; i-- > 0;) {
        if (a.words_[i] != b.words_[i]) return a.words_[i] < b.words_[i] ? -1 : 1;
    }
    return 0;
}

int compareExactly(BigInteger digits, int exponent, Magnitude m)
{
    BigInteger binary(m.mantissa);
    (exponent > 0 ? digits : binary).multiplyByPowerOfFive(exponent > 0 ? exponent : -exponent);
    int const twos = exponent - m.exponent; // of the decimal number, more than of the binary one
    (twos > 0 ? digits : binary).multiplyByPowerOfTwo(twos > 0 ? twos : -twos);
    return compare(digits, binary);
}

} // namespace sinew::detail
