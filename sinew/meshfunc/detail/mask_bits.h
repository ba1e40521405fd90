#pragma once

/// A mask of texels, read in words of 64 texels.

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace sinew::detail {

/// Bits of a word; word i of a row of bits holds the bits from kWordBits * i.
inline constexpr std::size_t kWordBits = 64;

/// Number of the lowest set bit of a word that is not zero.
inline unsigned lowestBit(std::uint64_t word)
{
    assert(word != 0);
#if defined(__GNUC__)
    return static_cast<unsigned>(__builtin_ctzll(word));
#else
    unsigned bit = 0;
    for (; !(word & 1); word >>= 1) ++bit;
    return bit;
#endif
}

/// Number of the highest set bit of a word that is not zero.
inline unsigned highestBit(std::uint64_t word)
{
    assert(word != 0);
#if defined(__GNUC__)
    return static_cast<unsigned>(kWordBits) - 1U - static_cast<unsigned>(__builtin_clzll(word));
#else
    unsigned bit = 0;
    for (; word >>= 1;) ++bit;
    return bit;
#endif
}

/// The word whose lowest `count` bits are set, count in [0, 64].
inline std::uint64_t lowBits(std::size_t count)
{
    assert(count <= kWordBits);
    return count >= kWordBits ? ~std::uint64_t{0} : (std::uint64_t{1} << count) - 1;
}

// The standard gives no access to the words of a std::vector<bool>. The iterators of libstdc++ hold the address of
// their word. With other libraries, and in the checking mode of libstdc++, the bits are gathered one by one.
#if defined(__GLIBCXX__) && !defined(_GLIBCXX_DEBUG) && defined(__LP64__)
#define SINEW_MASK_HAS_WORDS 1
#else
#define SINEW_MASK_HAS_WORDS 0
#endif

/// A view of a mask, valid until the mask is changed or destroyed. All ranges must lie inside the mask.
class MaskBits
{
public:
#if SINEW_MASK_HAS_WORDS
    explicit MaskBits(std::vector<bool> const& mask) : words_(mask.begin()._M_p) {}
#else
    explicit MaskBits(std::vector<bool> const& mask) : mask_(mask) {}
#endif

    /// Bits first .. first + count - 1 of the mask as the lowest bits of a word; count in [1, 64].
    std::uint64_t read(std::size_t first, std::size_t count) const
    {
        assert(count >= 1 && count <= kWordBits);
        std::size_t const shift = first % kWordBits;
        std::uint64_t bits = word(first / kWordBits) >> shift;
        if (shift + count > kWordBits) bits |= word(first / kWordBits + 1) << (kWordBits - shift);
        return bits & lowBits(count);
    }

    /// Index of the first set bit in [begin, end). `end` if there is none or the range is empty.
    std::size_t firstSet(std::size_t begin, std::size_t end) const
    {
        if (begin >= end) return end;
        std::size_t const last = (end - 1) / kWordBits;
        std::size_t w = begin / kWordBits;
        std::uint64_t bits = word(w) & ~lowBits(begin % kWordBits);
        while (!bits && w < last) bits = word(++w);
        return bits ? std::min(kWordBits * w + lowestBit(bits), end) : end;
    }

    /// One more than the index of the last set bit in [begin, end). `begin` if there is none or the range is empty.
    std::size_t lastSetEnd(std::size_t begin, std::size_t end) const
    {
        if (begin >= end) return begin;
        std::size_t const first = begin / kWordBits;
        std::size_t w = (end - 1) / kWordBits;
        std::uint64_t bits = word(w) & lowBits(end - kWordBits * w);
        while (!bits && w > first) bits = word(--w);
        return bits ? std::max(kWordBits * w + highestBit(bits) + 1, begin) : begin;
    }

private:
    // Bits kWordBits * w and the following ones. Bits beyond the mask may have any value; every caller masks them out.
    std::uint64_t word(std::size_t w) const
    {
#if SINEW_MASK_HAS_WORDS
        return words_[w];
#else
        std::uint64_t bits = 0;
        std::size_t const count = std::min(kWordBits, mask_.size() - kWordBits * w);
        for (std::size_t i = 0; i < count; ++i) bits |= static_cast<std::uint64_t>(mask_[kWordBits * w + i]) << i;
        return bits;
#endif
    }

#if SINEW_MASK_HAS_WORDS
    unsigned long const* words_;
#else
    std::vector<bool> const& mask_;
#endif
};

#undef SINEW_MASK_HAS_WORDS

} // namespace sinew::detail
