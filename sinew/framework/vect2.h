#pragma once

/// `tzNM::vect2`, the 2D vector in which mesh functions have their domain positions and values.

#include <cmath>

#include <sinew/arithmetic.h>

namespace tzNM {

/// A vector with the components x and y. `T` is a floating-point type; the library uses `vect2<double>`.
///
/// The operations follow IEEE arithmetic: NaN and infinity propagate, and overflow gives infinity. All have constant
/// cost and do not allocate.
template <typename T>
class vect2
{
public:
    T x{};
    T y{};

    /// (0, 0).
    constexpr vect2() = default;
    constexpr vect2(T x_, T y_) : x(x_), y(y_) {}

    /// The component x for index 0. Every other index gives y.
    constexpr T& operator[](int i) { return i == 0 ? x : y; }
    constexpr T const& operator[](int i) const { return i == 0 ? x : y; }

    /// Squared Euclidean length, x*x + y*y. In double, components beyond about 1e154 overflow.
    constexpr T lengthSq() const { return x * x + y * y; }
    /// Euclidean length, the square root of `lengthSq()`.
    T length() const { return std::sqrt(lengthSq()); }

    /// Sums, differences and multiples of the components.
    constexpr vect2& operator+=(vect2 const& b) { return *this = *this + b; }
    constexpr vect2& operator-=(vect2 const& b) { return *this = *this - b; }
    constexpr vect2& operator*=(T s) { return *this = *this * s; }

    /// Sums, differences and multiples of the components.
    friend constexpr vect2 operator+(vect2 const& a, vect2 const& b) { return {a.x + b.x, a.y + b.y}; }
    friend constexpr vect2 operator-(vect2 const& a, vect2 const& b) { return {a.x - b.x, a.y - b.y}; }
    friend constexpr vect2 operator-(vect2 const& a) { return {-a.x, -a.y}; }
    friend constexpr vect2 operator*(vect2 const& a, T s) { return {a.x * s, a.y * s}; }
    friend constexpr vect2 operator*(T s, vect2 const& a) { return a * s; }
    /// Multiplies each component by 1/s, as `Vector3` does. The result may differ from a division in the last bit.
    friend constexpr vect2 operator/(vect2 const& a, T s) { return a * (T(1) / s); }
    /// Dot product, a.x*b.x + a.y*b.y.
    friend constexpr T operator*(vect2 const& a, vect2 const& b) { return a.x * b.x + a.y * b.y; }
    /// Whether both components are equal: 0 equals -0, and NaN equals nothing.
    friend constexpr bool operator==(vect2 const& a, vect2 const& b) { return a.x == b.x && a.y == b.y; }
    friend constexpr bool operator!=(vect2 const& a, vect2 const& b) { return !(a == b); }
};

} // namespace tzNM
