#pragma once

/// A mask of texels read whole words at a time.

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

/// A view of a mask; valid while the mask is neither changed nor destroyed.
class MaskBits
{
public:
    explicit MaskBits(std::vector<bool> const& mask) : mask_(mask) {}

    /// Bits first .. first + count - 1 of the mask as the lowest bits of a word; count in 1..64, all inside the mask.
    std::uint64_t read(std::size_t first, std::size_t count) const
    {
#if SINEW_MASK_HAS_WORDS
        unsigned long const* const words = mask_.begin()._M_p + first / 64;
        std::size_t const shift = first % 64;
        std::uint64_t bits = words[0] >> shift;
        if (shift + count > 64) bits |= static_cast<std::uint64_t>(words[1]) << (64 - shift);
        return bits & lowBits(count);
#else
        std::uint64_t bits = 0;
        for (std::size_t i = 0; i < count; ++i) bits |= static_cast<std::uint64_t>(mask_[first + i]) << i;
        return bits;
#endif
    }

    /// Index of the first set bit in [begin, end), or `end`.
    std::size_t firstSet(std::size_t begin, std::size_t end) const
    {
        for (std::size_t i = begin; i < end;) {
            std::size_t const count = toBoundary(i, end);
            std::uint64_t const bits = read(i, count);
            if (bits) return i + lowestBit(bits);
            i += count;
        }
        return end;
    }

    /// One beyond the last set bit in [begin, end), or `begin`.
    std::size_t lastSetEnd(std::size_t begin, std::size_t end) const
    {
        for (std::size_t i = end; i > begin;) {
            std::size_t const wordBegin = (i - 1) / 64 * 64;
            std::size_t const first = wordBegin < begin ? begin : wordBegin;
            std::uint64_t const bits = read(first, i - first);
            if (bits) return first + highestBit(bits) + 1;
            i = first;
        }
        return begin;
    }

private:
    // Number of bits from i to the end of its word, or to `end`.
    static std::size_t toBoundary(std::size_t i, std::size_t end)
    {
        std::size_t const wordEnd = i / 64 * 64 + 64;
        return (wordEnd < end ? wordEnd : end) - i;
    }

    std::vector<bool> const& mask_;
};

#undef SINEW_MASK_HAS_WORDS

} // namespace sinew::detail
