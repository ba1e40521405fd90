#pragma once

/// Arrays as hosts hold them: numbers at equal distances in memory, such as the positions in an interleaved vertex
/// buffer. Functions that take a `sinew::Strided` need no copy of such a buffer.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

#include <sinew/core/vector3.h>

namespace sinew {

/// A view of `count` elements in memory that the host owns. Element i begins `i * stride` bytes after `data`.
///
/// An element is one or more consecutive numbers of type T. The function that takes the view tells how many it uses: a
/// position has three, a weight has one. T is `float` or `double`, or an integer type where the function says so; it is
/// const if the function only reads. A float stands for the double of equal value.
///
/// Alignment: any. The numbers are read and written byte by byte, so `data` and `stride` need not be multiples of the
/// size of a number. The pointer must then come from a cast, and only the members below may use it.
///
/// Stride: it may be negative, and for an array that is only read it may be 0; all elements are then the same. If an
/// array is written, its elements must not overlap each other.
///
/// Overlap: an array that a function writes must not overlap any other array of the same call, except that their
/// elements may alternate, as those of the attributes of one vertex buffer do. Otherwise the results are arbitrary
/// numbers.
///
/// `data` may be null if `count` is 0. The view is a plain value and does not keep the memory alive.
///
/// @code
/// struct Vertex { float position[3]; float uv[2]; };
/// std::vector<Vertex> const buffer(4, Vertex{{1, 2, 3}, {0, 0}});
/// sinew::Strided<float const> const positions(buffer[0].position, buffer.size(), sizeof(Vertex));
/// std::printf("%g\n", positions.get(3, 2)); // 3
/// @endcode
template <typename T>
struct Strided
{
    using Number = std::remove_const_t<T>; ///< the type of the numbers
    static_assert(std::is_arithmetic_v<Number>, "the elements of an array consist of numbers");

    T* data = nullptr;         ///< the first number of element 0
    std::size_t count = 0;     ///< number of elements
    std::ptrdiff_t stride = 0; ///< bytes from the start of an element to the start of the next one

    /// No elements.
    constexpr Strided() = default;

    /// `stride` is in bytes, for instance the size of a vertex. It may have any integer type.
    template <typename Integer, typename = std::enable_if_t<std::is_integral_v<Integer>>>
    constexpr Strided(T* data_, std::size_t count_, Integer stride_)
        : data(data_), count(count_), stride(static_cast<std::ptrdiff_t>(stride_))
    {
    }

    /// The same elements, only for reading.
    template <typename Other, typename = std::enable_if_t<std::is_same_v<Other const, T>>>
    constexpr Strided(Strided<Other> const& other) : data(other.data), count(other.count), stride(other.stride)
    {
    }

    /// Number `component` of element `i`. Neither is checked.
    Number get(std::size_t i, std::size_t component = 0) const
    {
        Number number;
        std::memcpy(&number, address(i, component), sizeof number);
        return number;
    }

    /// Changes number `component` of element `i`. Neither is checked.
    void set(std::size_t i, std::size_t component, Number number) const
    {
        static_assert(!std::is_const_v<T>, "this array is only read");
        std::memcpy(address(i, component), &number, sizeof number);
    }

private:
    using Byte = std::conditional_t<std::is_const_v<T>, char const, char>;

    // On numbers, because arithmetic on a pointer to a member may not leave that member.
    Byte* address(std::size_t i, std::size_t component) const
    {
        auto const bytes = i * static_cast<std::size_t>(stride) + component * sizeof(Number); // modulo 2^n, as intended
        return reinterpret_cast<Byte*>(reinterpret_cast<std::uintptr_t>(data) + bytes);
    }
};

/// The `count` elements of an array without gaps, each of `components` numbers. `data` may be null if `count` is 0.
template <typename T>
constexpr Strided<T> packed(T* data, std::size_t count, std::size_t components = 1)
{
    return {data, count, components * sizeof(T)};
}

/// The elements of a vector for reading, each of `components` numbers: 3 for positions, 2 for points of a plane.
/// Numbers after the last whole element are left out. For writing use `packed(v.data(), ...)`. The view is valid as
/// long as pointers into the vector are.
template <typename T, typename Allocator>
Strided<T const> packed(std::vector<T, Allocator> const& numbers, std::size_t components = 1)
{
    return packed(numbers.data(), numbers.size() / components, components);
}

/// The coordinates of `count` vectors, three numbers an element. `vectors` may be null if `count` is 0.
inline Strided<double const> coordinatesOf(::Vector3 const* vectors, std::size_t count)
{
    return {reinterpret_cast<double const*>(vectors), count, sizeof(::Vector3)};
}
inline Strided<double> coordinatesOf(::Vector3* vectors, std::size_t count)
{
    return {reinterpret_cast<double*>(vectors), count, sizeof(::Vector3)};
}
inline Strided<double const> coordinatesOf(std::nullptr_t, std::size_t count)
{
    return {static_cast<double const*>(nullptr), count, sizeof(::Vector3)};
}

/// A view of `float` or `double` numbers for reading, whose type is known at run time: any `Strided<float>` or
/// `Strided<double>` converts to it. Functions that accept both types take it.
struct RealArray
{
    void const* data = nullptr; ///< see `Strided`
    std::size_t count = 0;      ///< number of elements
    std::ptrdiff_t stride = 0;  ///< in bytes
    bool isDouble = false;      ///< otherwise the numbers are floats

    /// No elements.
    constexpr RealArray() = default;

    template <typename T, typename = std::enable_if_t<std::is_same_v<std::remove_const_t<T>, float> ||
                                                      std::is_same_v<std::remove_const_t<T>, double>>>
    constexpr RealArray(Strided<T> const& array)
        : data(array.data), count(array.count), stride(array.stride), isDouble(sizeof(T) == sizeof(double))
    {
    }
};

/// As `RealArray`, for writing. A double that is stored as a float is rounded to the nearest one, ties to even; beyond
/// the range of floats it becomes infinite.
struct RealOutput
{
    void* data = nullptr;      ///< see `Strided`
    std::size_t count = 0;     ///< number of elements
    std::ptrdiff_t stride = 0; ///< in bytes
    bool isDouble = false;     ///< otherwise the numbers are floats

    /// No elements.
    constexpr RealOutput() = default;

    template <typename T, typename = std::enable_if_t<std::is_same_v<T, float> || std::is_same_v<T, double>>>
    constexpr RealOutput(Strided<T> const& array)
        : data(array.data), count(array.count), stride(array.stride), isDouble(sizeof(T) == sizeof(double))
    {
    }
};

/// A view of integers for reading, whose type is known at run time: of 1, 2, 4 or 8 bytes, signed or not.
struct IntegerArray
{
    void const* data = nullptr; ///< see `Strided`
    std::size_t count = 0;      ///< number of elements
    std::ptrdiff_t stride = 0;  ///< in bytes
    std::size_t size = 1;       ///< bytes of a number: 1, 2, 4 or 8
    bool isSigned = false;      ///< whether the numbers may be negative

    /// No elements.
    constexpr IntegerArray() = default;

    template <typename T, typename = std::enable_if_t<std::is_integral_v<T> && !std::is_same_v<T const, bool const>>>
    constexpr IntegerArray(Strided<T> const& array)
        : data(array.data), count(array.count), stride(array.stride), size(sizeof(T)), isSigned(std::is_signed_v<T>)
    {
        static_assert(sizeof(T) <= 8, "integers have up to 8 bytes");
    }
};

} // namespace sinew
