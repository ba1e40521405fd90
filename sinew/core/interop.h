#pragma once

/// Conversions to and from the vector and matrix types of other libraries, recognised by their shape, so that no header
/// but the user's own is needed:
///
///     Vector3 v = sinew::toVector3(theirs);           // members x, y, z, or [0], [1], [2]
///     auto theirs = sinew::to<TheirVector>(v);
///     Matrix m = sinew::toMatrix(theirs);             // m(row, column), vectors as columns
///     auto theirs = sinew::to<TheirMatrix>(m);
///     Matrix m = sinew::toMatrixFromAxes(theirs);     // m[j][i]: component i of what axis j becomes
///     auto theirs = sinew::toAxes<TheirMatrix>(m);
///
/// Types with (row, column) access and types with two brackets are kept apart on purpose: the order of brackets is not
/// the same everywhere. What two brackets mean nearly always is "component i of the image of axis j", be it a library
/// of column vectors that stores column by column or a library of row vectors that stores row by row; in both m[3] is
/// the translation, and the map stays the same map.
///
/// Numbers are converted by static_cast: from float exactly, to float rounded to nearest, to an integer truncated.

#include <cassert>
#include <type_traits>
#include <utility>

#include <sinew/core/matrix.h>
#include <sinew/core/matrix3.h>
#include <sinew/core/vector3.h>

namespace sinew {

namespace detail {

template <typename T>
using Plain = std::remove_cv_t<std::remove_reference_t<T>>;

// Members x, y, z that hold numbers; member functions of those names do not count.
template <typename T, typename = void>
struct HasXyz : std::false_type
{
};
template <typename T>
struct HasXyz<T, std::void_t<decltype(static_cast<double>(std::declval<T const&>().x)),
                             decltype(static_cast<double>(std::declval<T const&>().y)),
                             decltype(static_cast<double>(std::declval<T const&>().z))>> : std::true_type
{
};

template <typename T, typename = void>
struct HasIndex : std::false_type
{
};
template <typename T>
struct HasIndex<T, std::void_t<decltype(static_cast<double>(std::declval<T const&>()[0]))>> : std::true_type
{
};

template <typename T, typename = void>
struct HasRowColumn : std::false_type
{
};
template <typename T>
struct HasRowColumn<T, std::void_t<decltype(static_cast<double>(std::declval<T const&>()(0, 0)))>> : std::true_type
{
};

template <typename T, typename = void>
struct HasTwoIndices : std::false_type
{
};
template <typename T>
struct HasTwoIndices<T, std::void_t<decltype(static_cast<double>(std::declval<T const&>()[0][0]))>> : std::true_type{};

// Types of variable size are made large enough first; the others have no such member, or one that only checks.
template <typename T>
auto resizeTo(T& v, int size, int) -> decltype(static_cast<void>(v.resize(size)))
{
    v.resize(size);
}
template <typename T>
void resizeTo(T&, int, long)
{
}
template <typename T>
auto resizeTo(T& m, int rows, int columns, int) -> decltype(static_cast<void>(m.resize(rows, columns)))
{
    m.resize(rows, columns);
}
template <typename T>
void resizeTo(T&, int, int, long)
{
}

template <typename T>
auto hasSize(T const& m, int size, int) -> decltype(static_cast<bool>(m.rows() == size && m.cols() == size))
{
    return m.rows() == size && m.cols() == size;
}
template <typename T>
bool hasSize(T const&, int, long)
{
    return true;
}

template <typename Number>
void assign(Number& target, double value)
{
    target = static_cast<Number>(value);
}

template <int size, typename Ours, typename Theirs>
Ours fromRowColumn(Theirs const& theirs)
{
    static_assert(HasRowColumn<Theirs>::value, "no (row, column) access; for m[j][i] see toMatrixFromAxes");
    assert(hasSize(theirs, size, 0));
    Ours ours;
    for (int i = 0; i < size; ++i) {
        for (int j = 0; j < size; ++j) ours(i, j) = static_cast<double>(theirs(i, j));
    }
    return ours;
}

template <int size, typename Theirs, typename Ours>
Theirs toRowColumn(Ours const& ours)
{
    static_assert(HasRowColumn<Theirs>::value, "no (row, column) access; for m[j][i] see toAxes");
    Theirs theirs{};
    resizeTo(theirs, size, size, 0);
    for (int i = 0; i < size; ++i) {
        for (int j = 0; j < size; ++j) assign(theirs(i, j), ours(i, j));
    }
    return theirs;
}

template <int size, typename Ours, typename Theirs>
Ours fromAxes(Theirs const& theirs)
{
    static_assert(HasTwoIndices<Theirs>::value, "no access by two brackets");
    Ours ours;
    for (int i = 0; i < size; ++i) {
        for (int j = 0; j < size; ++j) ours(i, j) = static_cast<double>(theirs[j][i]);
    }
    return ours;
}

template <int size, typename Theirs, typename Ours>
Theirs toAxes(Ours const& ours)
{
    static_assert(HasTwoIndices<Theirs>::value, "no access by two brackets");
    Theirs theirs{};
    for (int i = 0; i < size; ++i) {
        for (int j = 0; j < size; ++j) assign(theirs[j][i], ours(i, j));
    }
    return theirs;
}

} // namespace detail

/// The vector of another library: by its members x, y, z where it has them, otherwise by [0], [1], [2].
template <typename Theirs>
Vector3 toVector3(Theirs const& theirs)
{
    static_assert(detail::HasXyz<Theirs>::value || detail::HasIndex<Theirs>::value,
                  "neither members x, y, z nor [0], [1], [2]");
    if constexpr (detail::HasXyz<Theirs>::value) {
        return {static_cast<double>(theirs.x), static_cast<double>(theirs.y), static_cast<double>(theirs.z)};
    } else {
        return {static_cast<double>(theirs[0]), static_cast<double>(theirs[1]), static_cast<double>(theirs[2])};
    }
}

/// The same vector in the type of another library. Members beyond the third keep what `Theirs{}` gives them.
template <typename Theirs>
Theirs to(Vector3 const& v)
{
    static_assert(detail::HasXyz<Theirs>::value || detail::HasIndex<Theirs>::value,
                  "neither members x, y, z nor [0], [1], [2]");
    Theirs theirs{};
    if constexpr (detail::HasXyz<Theirs>::value) {
        detail::assign(theirs.x, v.x);
        detail::assign(theirs.y, v.y);
        detail::assign(theirs.z, v.z);
    } else {
        detail::resizeTo(theirs, 3, 0);
        for (int i = 0; i < 3; ++i) detail::assign(theirs[i], v[i]);
    }
    return theirs;
}

/// A 3x3 or 4x4 matrix of another library with (row, column) access and vectors as columns. A matrix that tells its
/// size must have the right one.
template <typename Theirs>
Matrix3 toMatrix3(Theirs const& theirs)
{
    return detail::fromRowColumn<3, Matrix3>(theirs);
}
template <typename Theirs>
Matrix toMatrix(Theirs const& theirs)
{
    return detail::fromRowColumn<4, Matrix>(theirs);
}

/// The same matrix in the type of another library with (row, column) access and vectors as columns.
template <typename Theirs>
Theirs to(Matrix3 const& m)
{
    return detail::toRowColumn<3, Theirs>(m);
}
template <typename Theirs>
Theirs to(Matrix const& m)
{
    return detail::toRowColumn<4, Theirs>(m);
}

/// The same map from a matrix of another library in which [j] is the image of axis j, and [3] the translation.
template <typename Theirs>
Matrix3 toMatrix3FromAxes(Theirs const& theirs)
{
    return detail::fromAxes<3, Matrix3>(theirs);
}
template <typename Theirs>
Matrix toMatrixFromAxes(Theirs const& theirs)
{
    return detail::fromAxes<4, Matrix>(theirs);
}

/// The same map in the matrix type of another library in which [j] is the image of axis j, and [3] the translation.
template <typename Theirs>
Theirs toAxes(Matrix3 const& m)
{
    return detail::toAxes<3, Theirs>(m);
}
template <typename Theirs>
Theirs toAxes(Matrix const& m)
{
    return detail::toAxes<4, Theirs>(m);
}

} // namespace sinew
