#pragma once

/// A set of indices with fast access to its smallest member.

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <sinew/detail/as_index.h>

namespace sinew::detail {

/// A set of indices in [0, size), stored as a tree of 64-bit words.
///
/// In the lowest level, bit i of the tree says whether index i is a member. In every higher level, a bit says whether
/// the corresponding word of the level below is not zero. The tree takes about 64 / 63 bits an index. Insertion and
/// removal read and write at most one word of each level.
class IndexSet
{
public:
    explicit IndexSet(int size)
    {
        std::size_t words = asIndex(size);
        do {
            words = (words + kWordBits - 1) / kWordBits;
            levels_.emplace_back(words, 0);
        } while (words > 1);
    }

    bool empty() const { return levels_.back()[0] == 0; }

    /// Inserting a member again changes nothing.
    void insert(int index)
    {
        std::size_t at = asIndex(index);
        for (std::vector<std::uint64_t>& level : levels_) {
            assert(at / kWordBits < level.size());
            std::uint64_t& word = level[at / kWordBits];
            bool const wasEmpty = word == 0;
            word |= std::uint64_t{1} << (at % kWordBits);
            if (!wasEmpty) return;
            at /= kWordBits;
        }
    }

    /// Removes the smallest member and returns it. The set must not be empty.
    int removeSmallest()
    {
        assert(!empty());
        std::size_t at = 0;
        for (std::size_t level = levels_.size(); level-- > 0;) at = at * kWordBits + lowestBit(levels_[level][at]);
        int const index = static_cast<int>(at);
        for (std::vector<std::uint64_t>& level : levels_) {
            std::uint64_t& word = level[at / kWordBits];
            word &= word - 1;
            if (word != 0) break;
            at /= kWordBits;
        }
        return index;
    }

private:
    static constexpr std::size_t kWordBits = 64;

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

    std::vector<std::vector<std::uint64_t>> levels_; // the lowest level first; the last one is a single word
};

} // namespace sinew::detail
