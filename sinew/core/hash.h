#pragma once

/// `std::hash` for the value types, so that they can be keys of unordered containers.
///
/// Equal values have equal hash values; 0.0 and -0.0 are equal. Containers compare keys exactly, without tolerance. A
/// NaN equals nothing, so a key that contains a NaN is never found. The hash value of a key is the same in every run
/// and on every machine with the same size of `std::size_t`.
/// Source: D. E. Knuth, The Art of Computer Programming, volume 3, section 6.4 (multiplicative hashing).

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>

#include <sinew/core/bbox.h>
#include <sinew/core/matrix.h>
#include <sinew/core/matrix3.h>
#include <sinew/core/transform.h>
#include <sinew/core/vector3.h>
#include <sinew/framework/vect2.h>

namespace sinew {

/// Combines a sequence of numbers into one hash value.
class Hasher
{
public:
    /// Adds one number. -0.0 counts as 0.0.
    void add(double value)
    {
        std::uint64_t bits = 0;
        if (value != 0.0) std::memcpy(&bits, &value, sizeof bits);
        // A product carries only towards higher bits, and round numbers differ only in high bits. The high half is
        // therefore folded into the low half before and after the product.
        bits ^= bits >> 32;
        state_ = (state_ ^ bits) * kMultiplier;
        state_ ^= state_ >> 32;
    }

    /// Adds the components or elements of a value in the order of storage.
    void add(::Vector3 const& v)
    {
        for (int i = 0; i < 3; ++i) add(v[i]);
    }
    void add(::Matrix3 const& m) { addMatrix<3>(m); }
    void add(::Matrix const& m) { addMatrix<4>(m); }
    void add(::Transform const& t)
    {
        add(t.linear);
        add(t.translation);
        add(t.scale);
    }
    void add(Bbox const& box)
    {
        add(box.min);
        add(box.max);
    }
    template <typename T>
    void add(tzNM::vect2<T> const& v)
    {
        add(static_cast<double>(v.x));
        add(static_cast<double>(v.y));
    }

    /// The hash value of the numbers so far.
    std::size_t value() const { return static_cast<std::size_t>(state_); }

private:
    template <int size, typename SquareMatrix>
    void addMatrix(SquareMatrix const& m)
    {
        for (int i = 0; i < size; ++i) {
            for (int j = 0; j < size; ++j) add(m(i, j));
        }
    }

    static constexpr std::uint64_t kMultiplier = 0x9e3779b97f4a7c15u; // 2^64 divided by the golden ratio; odd
    std::uint64_t state_ = 0x2545f4914f6cdd1du;                       // not 0, so that leading zeros change the result
};

/// The function object that `std::hash` of each value type is.
template <typename T>
struct ValueHash
{
    std::size_t operator()(T const& value) const noexcept
    {
        Hasher hasher;
        hasher.add(value);
        return hasher.value();
    }
};

} // namespace sinew

template <>
struct std::hash<::Vector3> : sinew::ValueHash<::Vector3>
{
};

template <>
struct std::hash<UVector3> : sinew::ValueHash<::Vector3>
{
};

template <>
struct std::hash<::Matrix3> : sinew::ValueHash<::Matrix3>
{
};

template <>
struct std::hash<::Matrix> : sinew::ValueHash<::Matrix>
{
};

template <>
struct std::hash<::Transform> : sinew::ValueHash<::Transform>
{
};

template <>
struct std::hash<Bbox> : sinew::ValueHash<Bbox>
{
};

/// For a floating-point type T whose values a double represents exactly.
template <typename T>
struct std::hash<tzNM::vect2<T>> : sinew::ValueHash<tzNM::vect2<T>>
{
};
