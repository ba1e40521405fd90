#pragma once

/// A mask of texels read whole words at a time.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace sinew::detail {

/// Number of the lowest set bit of a word that is not zero.
inline unsigned lowestBit(std::uint64_t word)
{
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
#if defined(__GNUC__)
    return 63U - static_cast<unsigned>(__builtin_clzll(word));
#else
    unsigned bit = 0;
    for (; word >>= 1;) ++bit;
    return bit;
#endif
}

/// The word whose lowest `count` bits are set, count in 0..64.
inline std::uint64_t lowBits(std::size_t count)
{
    return count >= 64 ? ~std::uint64_t(0) : (std::uint64_t(1) << count) - 1;
}

// The standard gives no access to the words of a std::vector<bool>. One implementation's iterators show where they lie;
// everywhere else, and in its checking mode, the bits are gathered one by one.
#if defined(__GLIBCXX__) && !defined(_GLIBCXX_DEBUG) && defined(__LP64__)
#define SINEW_MASK_HAS_WORDS 1
#else
#define SINEW_MASK_HAS_WORDS 0
#endif

/// A view of a mask; valid while the mask is neither changed nor destroyed. Ranges lie inside the mask.
class MaskBits
{
public:
#if SINEW_MASK_HAS_WORDS
    explicit MaskBits(std::vector<bool> const& mask) : words_(mask.begin()._M_p) {}
#else
    explicit MaskBits(std::vector<bool> const& mask) : mask_(mask) {}
#endif

    /// Bits first .. first + count - 1 of the mask as the lowest bits of a word; count in 1..64.
    std::uint64_t read(std::size_t first, std::size_t count) const
    {
        std::size_t const shift = first % 64;
        std::uint64_t bits = word(first / 64) >> shift;
        if (shift + count > 64) bits |= word(first / 64 + 1) << (64 - shift);
        return bits & lowBits(count);
    }

    /// Index of the first set bit in [begin, end), or `end`.
    std::size_t firstSet(std::size_t begin, std::size_t end) const
    {
        if (begin >= end) return end;
        std::size_t const last = (end - 1) / 64;
        std::size_t w = begin / 64;
        std::uint64_t bits = word(w) & ~lowBits(begin % 64);
        while (!bits && w < last) bits = word(++w);
        return bits ? std::min(64 * w + lowestBit(bits), end) : end;
    }

    /// One beyond the last set bit in [begin, end), or `begin`.
    std::size_t lastSetEnd(std::size_t begin, std::size_t end) const
    {
        if (begin >= end) return begin;
        std::size_t const first = begin / 64;
        std::size_t w = (end - 1) / 64;
        std::uint64_t bits = word(w) & lowBits(end - 64 * w);
        while (!bits && w > first) bits = word(--w);
        return bits ? std::max(64 * w + highestBit(bits) + 1, begin) : begin;
    }

private:
    // Bits 64 w .. 64 w + 63. Those beyond the mask may hold anything; every reader cuts them off.
    std::uint64_t word(std::size_t w) const
    {
#if SINEW_MASK_HAS_WORDS
        return words_[w];
#else
        std::uint64_t bits = 0;
        std::size_t const count = std::min<std::size_t>(64, mask_.size() - 64 * w);
        for (std::size_t i = 0; i < count; ++i) bits |= static_cast<std::uint64_t>(mask_[64 * w + i]) << i;
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
