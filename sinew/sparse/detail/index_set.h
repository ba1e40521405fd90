#pragma once

/// A set of indices that gives up its smallest member quickly.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace sinew::detail {

/// Indices in [0, size) as a tree of 64-bit words: a bit says whether the word below it, or the index, is in.
/// One bit an index and a sixty-third more; insertion and removal touch one word a level.
class IndexSet
{
public:
    explicit IndexSet(int size)
    {
        std::size_t words = static_cast<std::size_t>(size);
        do {
            words = (words + 63) / 64;
            levels_.emplace_back(words, 0);
        } while (words > 1);
    }

    bool empty() const { return levels_.back()[0] == 0; }

    void insert(int index)
    {
        std::size_t at = static_cast<std::size_t>(index);
        for (std::vector<std::uint64_t>& level : levels_) {
            std::uint64_t& word = level[at / 64];
            bool const wasEmpty = word == 0;
            word |= std::uint64_t(1) << (at % 64);
            if (!wasEmpty) return;
            at /= 64;
        }
    }

    /// The set must not be empty.
    int removeSmallest()
    {
        std::size_t at = 0;
        for (std::size_t level = levels_.size(); level-- > 0;) at = at * 64 + lowestBit(levels_[level][at]);
        int const index = static_cast<int>(at);
        for (std::vector<std::uint64_t>& level : levels_) {
            std::uint64_t& word = level[at / 64];
            word &= word - 1;
            if (word != 0) break;
            at /= 64;
        }
        return index;
    }

private:
    static std::size_t lowestBit(std::uint64_t word)
    {
#if defined(__GNUC__)
        return static_cast<std::size_t>(__builtin_ctzll(word));
#else
        std::size_t bit = 0;
        for (; !(word & 1); word >>= 1) ++bit;
        return bit;
#endif
    }

    std::vector<std::vector<std::uint64_t>> levels_; // the bits of the indices first, a single word last
};

} // namespace sinew::detail
