#pragma once

/// The 2D vector that mesh functions use for domain positions and values.

#include <cmath>

namespace tzNM {

template <typename T>
class vect2
{
public:
    T x{};
    T y{};

    constexpr vect2() = default;
    constexpr vect2(T x_, T y_) : x(x_), y(y_) {}

    /// Component 0 or 1. Any other index gives y.
    constexpr T& operator[](int i) { return i == 0 ? x : y; }
    constexpr T const& operator[](int i) const { return i == 0 ? x : y; }

    /// Squared Euclidean length, x*x + y*y.
    constexpr T lengthSq() const { return x * x + y * y; }
    T length() const { return std::sqrt(lengthSq()); }

    constexpr vect2& operator+=(vect2 const& b) { return *this = *this + b; }
    constexpr vect2& operator-=(vect2 const& b) { return *this = *this - b; }
    constexpr vect2& operator*=(T s) { return *this = *this * s; }

    friend constexpr vect2 operator+(vect2 const& a, vect2 const& b) { return {a.x + b.x, a.y + b.y}; }
    friend constexpr vect2 operator-(vect2 const& a, vect2 const& b) { return {a.x - b.x, a.y - b.y}; }
    friend constexpr vect2 operator-(vect2 const& a) { return {-a.x, -a.y}; }
    friend constexpr vect2 operator*(vect2 const& a, T s) { return {a.x * s, a.y * s}; }
    friend constexpr vect2 operator*(T s, vect2 const& a) { return a * s; }
    /// Each component times the one reciprocal of s, as for `Vector3`.
    friend constexpr vect2 operator/(vect2 const& a, T s) { return a * (T(1) / s); }
    /// Dot product.
    friend constexpr T operator*(vect2 const& a, vect2 const& b) { return a.x * b.x + a.y * b.y; }
    friend constexpr bool operator==(vect2 const& a, vect2 const& b) { return a.x == b.x && a.y == b.y; }
    friend constexpr bool operator!=(vect2 const& a, vect2 const& b) { return !(a == b); }
};

} // namespace tzNM
