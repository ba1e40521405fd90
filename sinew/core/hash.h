#pragma once

/// `std::hash` for the value types, so that they can be keys of unordered containers.
///
/// Equal values hash equally, zeros of either sign among them. Keys are compared exactly, without tolerance; a NaN is
/// equal to nothing, so a key that holds one is never found again. The same on every run and machine of one word size.

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

/// Mixes numbers, one after another, into one hash value.
class Hasher
{
public:
    /// Mixes in one number; -0.0 counts as 0.0.
    void add(double value)
    {
        std::uint64_t bits = 0;
        if (value != 0.0) std::memcpy(&bits, &value, sizeof bits);
        // A product only carries upwards, and round numbers have their bits at the top: fold them down before and
        // after.
        bits ^= bits >> 32;
        state_ = (state_ ^ bits) * 0x9e3779b97f4a7c15u; // the golden ratio in 64 bits, odd
        state_ ^= state_ >> 32;
    }
    void add(Vector3 const& v)
    {
        for (int i = 0; i < 3; ++i) add(v[i]);
    }
    template <int size, typename SquareMatrix>
    void addMatrix(SquareMatrix const& m)
    {
        for (int i = 0; i < size; ++i) {
            for (int j = 0; j < size; ++j) add(m(i, j));
        }
    }
    std::size_t value() const { return static_cast<std::size_t>(state_); }

private:
    std::uint64_t state_ = 0x2545f4914f6cdd1du; // not zero: leading zeros must count
};

} // namespace sinew

template <>
struct std::hash<Vector3>
{
    std::size_t operator()(Vector3 const& v) const noexcept
    {
        sinew::Hasher hasher;
        hasher.add(v);
        return hasher.value();
    }
};

template <>
struct std::hash<UVector3> : std::hash<Vector3>
{
};

template <>
struct std::hash<Matrix3>
{
    std::size_t operator()(Matrix3 const& m) const noexcept
    {
        sinew::Hasher hasher;
        hasher.addMatrix<3>(m);
        return hasher.value();
    }
};

template <>
struct std::hash<Matrix>
{
    std::size_t operator()(Matrix const& m) const noexcept
    {
        sinew::Hasher hasher;
        hasher.addMatrix<4>(m);
        return hasher.value();
    }
};

template <>
struct std::hash<Transform>
{
    std::size_t operator()(Transform const& t) const noexcept
    {
        sinew::Hasher hasher;
        hasher.addMatrix<3>(t.linear);
        hasher.add(t.translation);
        hasher.add(t.scale);
        return hasher.value();
    }
};

template <>
struct std::hash<Bbox>
{
    std::size_t operator()(Bbox const& box) const noexcept
    {
        sinew::Hasher hasher;
        hasher.add(box.min);
        hasher.add(box.max);
        return hasher.value();
    }
};

/// For floating-point T; a double holds every value of those exactly.
template <typename T>
struct std::hash<tzNM::vect2<T>>
{
    std::size_t operator()(tzNM::vect2<T> const& v) const noexcept
    {
        sinew::Hasher hasher;
        hasher.add(static_cast<double>(v.x));
        hasher.add(static_cast<double>(v.y));
        return hasher.value();
    }
};
