#pragma once

/// Conversions to and from the vector and matrix types of other libraries. Types are recognised by their shape, so
/// that this header includes no header of another library:
///
///     Vector3 v = sinew::toVector3(theirs);           // members x, y, z, or [0], [1], [2]
///     auto theirs = sinew::to<TheirVector>(v);
///     Matrix m = sinew::toMatrix(theirs);             // m(row, column), vectors are columns
///     auto theirs = sinew::to<TheirMatrix>(m);
///     Matrix m = sinew::toMatrixFromAxes(theirs);     // m[j][i]: component i of the image of axis j
///     auto theirs = sinew::toAxes<TheirMatrix>(m);
///
/// Access by (row, column) and access by two brackets have separate functions, because the order of two brackets is
/// not the same in every library. In most libraries m[j][i] is component i of the image of axis j and m[3] is the
/// translation. This holds for libraries of column vectors that store matrices column by column and for libraries of
/// row vectors that store them row by row. For both, the functions for axes give the matrix of the same map.
///
/// Numbers are converted with static_cast: float to double exactly, double to float with rounding to nearest, double
/// to an integer with truncation.

#include <cassert>
#include <type_traits>
#include <utility>

#include <sinew/core/matrix.h>
#include <sinew/core/matrix3.h>
#include <sinew/core/vector3.h>

namespace sinew {

namespace detail {

// Whether the expression that `Shape` describes compiles for the type T.
template <typename T, template <typename> class Shape, typename = void>
inline constexpr bool kHas = false;
template <typename T, template <typename> class Shape>
inline constexpr bool kHas<T, Shape, std::void_t<Shape<T>>> = true;

// Members x, y and z that are numbers. Member functions of these names do not have this shape.
template <typename T>
using Xyz = std::void_t<decltype(static_cast<double>(std::declval<T const&>().x)),
                        decltype(static_cast<double>(std::declval<T const&>().y)),
                        decltype(static_cast<double>(std::declval<T const&>().z))>;
template <typename T>
using OneIndex = decltype(static_cast<double>(std::declval<T const&>()[0]));
template <typename T>
using RowColumn = decltype(static_cast<double>(std::declval<T const&>()(0, 0)));
template <typename T>
using TwoIndices = decltype(static_cast<double>(std::declval<T const&>()[0][0]));

// A vector or a matrix of variable size.
template <typename T>
using ResizableVector = decltype(std::declval<T&>().resize(3));
template <typename T>
using ResizableMatrix = decltype(std::declval<T&>().resize(3, 3));

template <typename T>
using RowsAndColumns = decltype(std::declval<T const&>().rows() == 3 && std::declval<T const&>().cols() == 3);

template <typename Number>
void assign(Number& target, double value)
{
    target = static_cast<Number>(value);
}

// The two ways to access the elements of a matrix of another library. `element` is the element in row i and column j;
// `make` gives a matrix that has at least `size` rows and columns.
struct ByRowColumn
{
    template <typename Theirs>
    static decltype(auto) element(Theirs& m, int i, int j)
    {
        static_assert(kHas<Theirs, RowColumn>, "no (row, column) access; for m[j][i] see toMatrixFromAxes and toAxes");
        return m(i, j);
    }
    template <typename Theirs>
    static bool hasSize([[maybe_unused]] Theirs const& m, [[maybe_unused]] int size)
    {
        if constexpr (kHas<Theirs, RowsAndColumns>) {
            return m.rows() == size && m.cols() == size;
        } else {
            return true;
        }
    }
    template <typename Theirs>
    static Theirs make([[maybe_unused]] int size)
    {
        Theirs theirs{};
        if constexpr (kHas<Theirs, ResizableMatrix>) theirs.resize(size, size);
        return theirs;
    }
};

struct ByAxes
{
    template <typename Theirs>
    static decltype(auto) element(Theirs& m, int i, int j)
    {
        static_assert(kHas<Theirs, TwoIndices>, "no access by two brackets");
        return m[j][i];
    }
    template <typename Theirs>
    static bool hasSize(Theirs const&, int)
    {
        return true;
    }
    template <typename Theirs>
    static Theirs make(int)
    {
        return Theirs{};
    }
};

template <typename Ours>
inline constexpr int kSize = std::is_same_v<Ours, ::Matrix3> ? 3 : 4;

template <typename Ours, typename Access, typename Theirs>
Ours fromTheirs(Theirs const& theirs)
{
    assert(Access::hasSize(theirs, kSize<Ours>));
    Ours ours;
    for (int i = 0; i < kSize<Ours>; ++i) {
        for (int j = 0; j < kSize<Ours>; ++j) ours(i, j) = static_cast<double>(Access::element(theirs, i, j));
    }
    return ours;
}

template <typename Theirs, typename Access, typename Ours>
Theirs toTheirs(Ours const& ours)
{
    Theirs theirs = Access::template make<Theirs>(kSize<Ours>);
    for (int i = 0; i < kSize<Ours>; ++i) {
        for (int j = 0; j < kSize<Ours>; ++j) assign(Access::element(theirs, i, j), ours(i, j));
    }
    return theirs;
}

} // namespace detail

/// The vector of another library, read from its members x, y, z if it has them, otherwise from [0], [1], [2].
template <typename Theirs>
::Vector3 toVector3(Theirs const& theirs)
{
    static_assert(detail::kHas<Theirs, detail::Xyz> || detail::kHas<Theirs, detail::OneIndex>,
                  "neither members x, y, z nor [0], [1], [2]");
    if constexpr (detail::kHas<Theirs, detail::Xyz>) {
        return {static_cast<double>(theirs.x), static_cast<double>(theirs.y), static_cast<double>(theirs.z)};
    } else {
        return {static_cast<double>(theirs[0]), static_cast<double>(theirs[1]), static_cast<double>(theirs[2])};
    }
}

/// The same vector in the type of another library. A type with `resize` gets three components. Components beyond the
/// third keep the values that `Theirs{}` gives them.
template <typename Theirs>
Theirs to(::Vector3 const& v)
{
    static_assert(detail::kHas<Theirs, detail::Xyz> || detail::kHas<Theirs, detail::OneIndex>,
                  "neither members x, y, z nor [0], [1], [2]");
    Theirs theirs{};
    if constexpr (detail::kHas<Theirs, detail::Xyz>) {
        detail::assign(theirs.x, v.x);
        detail::assign(theirs.y, v.y);
        detail::assign(theirs.z, v.z);
    } else {
        if constexpr (detail::kHas<Theirs, detail::ResizableVector>) theirs.resize(3);
        for (int i = 0; i < 3; ++i) detail::assign(theirs[i], v[i]);
    }
    return theirs;
}

/// A matrix of another library with (row, column) access, whose vectors are columns. A matrix that has `rows()`
/// and `cols()` must be 3x3 for `toMatrix3` and 4x4 for `toMatrix`. Of a matrix without them, the upper-left
/// block is read.
template <typename Theirs>
::Matrix3 toMatrix3(Theirs const& theirs)
{
    return detail::fromTheirs<::Matrix3, detail::ByRowColumn>(theirs);
}
template <typename Theirs>
::Matrix toMatrix(Theirs const& theirs)
{
    return detail::fromTheirs<::Matrix, detail::ByRowColumn>(theirs);
}

/// The same matrix in the type of another library with (row, column) access, whose vectors are columns. A type with
/// `resize` gets the size of the matrix.
template <typename Theirs>
Theirs to(::Matrix3 const& m)
{
    return detail::toTheirs<Theirs, detail::ByRowColumn>(m);
}
template <typename Theirs>
Theirs to(::Matrix const& m)
{
    return detail::toTheirs<Theirs, detail::ByRowColumn>(m);
}

/// The matrix of the map that a matrix of another library describes, where [j] is the image of axis j and [3]
/// is the translation.
template <typename Theirs>
::Matrix3 toMatrix3FromAxes(Theirs const& theirs)
{
    return detail::fromTheirs<::Matrix3, detail::ByAxes>(theirs);
}
template <typename Theirs>
::Matrix toMatrixFromAxes(Theirs const& theirs)
{
    return detail::fromTheirs<::Matrix, detail::ByAxes>(theirs);
}

/// The same map in the matrix type of another library, where [j] is the image of axis j and [3] is the translation.
template <typename Theirs>
Theirs toAxes(::Matrix3 const& m)
{
    return detail::toTheirs<Theirs, detail::ByAxes>(m);
}
template <typename Theirs>
Theirs toAxes(::Matrix const& m)
{
    return detail::toTheirs<Theirs, detail::ByAxes>(m);
}

} // namespace sinew
