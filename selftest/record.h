#pragma once

/// A hash over the bits of results, and the number of inputs that they came from.

#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include <sinew/core/bbox.h>
#include <sinew/core/matrix.h>
#include <sinew/core/matrix3.h>
#include <sinew/core/transform.h>
#include <sinew/core/vector3.h>
#include <sinew/framework/findings.h>
#include <sinew/framework/vect2.h>
#include <sinew/skinning/bone_transform.h>

namespace selftest {

/// The results of one group.
///
/// The hash takes 64-bit words, so it depends neither on the order of bytes in memory nor on the sizes of int and
/// std::size_t. 0.0 and -0.0 differ. All NaNs are the same word, because IEEE 754 fixes neither the sign nor the
/// payload of a NaN that an operation makes. A word changes the hash by an operation that can be undone; so if exactly
/// one word of two records differs, their hashes differ for certain. Source: G. Fowler, L. C. Noll, K.-P. Vo, The FNV
/// Non-Cryptographic Hash Algorithm, 1991; here with 64-bit words instead of bytes, and with the high half folded into
/// the low half after each product.
class Record
{
public:
    std::uint64_t hash() const { return hash_; }

    /// Number of inputs so far.
    std::int64_t count() const { return count_; }

    /// Counts inputs.
    void countInputs(std::int64_t howMany) { count_ += howMany; }

    /// Adds a result: a number, a truth value or an enumerator.
    template <typename T>
    std::enable_if_t<std::is_integral_v<T> || std::is_enum_v<T>> add(T value)
    {
        // A negative number is extended by its sign, whatever its size is.
        addWord(static_cast<std::uint64_t>(value));
    }
    /// A float is added as the double of equal value.
    void add(double value)
    {
        std::uint64_t word = kNaN;
        if (value == value) std::memcpy(&word, &value, sizeof word);
        addWord(word);
    }

    /// Adds the numbers of a value in the order of storage.
    void add(Vector3 const& v)
    {
        for (int i = 0; i < 3; ++i) add(v[i]);
    }
    void add(Matrix3 const& m) { addMatrix<3>(m); }
    void add(Matrix const& m) { addMatrix<4>(m); }
    void add(Transform const& t)
    {
        add(t.linear);
        add(t.translation);
        add(t.scale);
    }
    void add(BoneTransform const& t)
    {
        add(t.linear);
        add(t.translation);
    }
    void add(Bbox const& box)
    {
        add(box.min);
        add(box.max);
    }
    template <typename T>
    void add(tzNM::vect2<T> const& v)
    {
        add(v.x);
        add(v.y);
    }

    /// Adds the length and the bytes.
    void add(std::string_view text)
    {
        add(text.size());
        std::uint64_t word = 0;
        for (std::size_t i = 0; i < text.size(); ++i) {
            word = word << kByteBits | static_cast<unsigned char>(text[i]);
            if (i % sizeof word == sizeof word - 1) addWord(std::exchange(word, 0));
        }
        addWord(word);
    }

    /// Adds the parts.
    template <typename A, typename B>
    void add(std::pair<A, B> const& pair)
    {
        add(pair.first);
        add(pair.second);
    }
    /// Adds the size and the elements.
    template <typename T>
    void add(std::vector<T> const& list)
    {
        add(list.size());
        for (T const& element : list) add(element);
    }
    void add(std::vector<bool> const& list)
    {
        add(list.size());
        for (bool const element : list) add(element);
    }

    /// Adds all findings with their sentences.
    template <typename Kind>
    void add(sinew::Diagnosis<Kind> const& diagnosis)
    {
        add(diagnosis.findings.size());
        for (auto const& finding : diagnosis.findings) {
            add(finding.kind);
            add(finding.indices);
            add(finding.value);
            add(std::string_view(finding.sentence));
        }
    }

private:
    template <int size, typename SquareMatrix>
    void addMatrix(SquareMatrix const& m)
    {
        for (int i = 0; i < size; ++i) {
            for (int j = 0; j < size; ++j) add(m(i, j));
        }
    }

    void addWord(std::uint64_t word)
    {
        hash_ = (hash_ ^ word) * kPrime;
        hash_ ^= hash_ >> 32;
    }

    static constexpr std::uint64_t kPrime = 0x100000001b3u;
    static constexpr std::uint64_t kNaN = 0x7ff8000000000000u;
    static constexpr int kByteBits = 8;

    std::uint64_t hash_ = 0xcbf29ce484222325u;
    std::int64_t count_ = 0;
};

} // namespace selftest
