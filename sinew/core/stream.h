#pragma once

/// Stream output of the value types, for logs and test messages. That of `Vector3` is declared in vector3.h.
///
/// Numbers have the format and the locale of the stream, so their digits are those of the standard library. Matrices
/// are written row by row. No newline is written.

#include <ostream>

#include <sinew/core/bbox.h>
#include <sinew/core/matrix.h>
#include <sinew/core/matrix3.h>
#include <sinew/core/transform.h>
#include <sinew/framework/vect2.h>

/// Writes "((1, 0, 0), (0, 1, 0), (0, 0, 1))", one inner pair of parentheses for each row.
SINEW_API std::ostream& operator<<(std::ostream& out, ::Matrix3 const& m);

/// Writes four rows of four elements in the form of `Matrix3`.
SINEW_API std::ostream& operator<<(std::ostream& out, Matrixf const& m);

/// Writes four rows of four elements in the form of `Matrix3`.
SINEW_API std::ostream& operator<<(std::ostream& out, ::Matrix const& m);

/// Writes "{linear ((1, 0, 0), (0, 1, 0), (0, 0, 1)), translation (0, 0, 0), scale 1}".
SINEW_API std::ostream& operator<<(std::ostream& out, ::Transform const& t);

/// Writes "{min (0, 0, 0), max (1, 1, 1)}", for a valid and for an invalid box.
SINEW_API std::ostream& operator<<(std::ostream& out, Bbox const& box);

namespace tzNM {

/// Writes "(x, y)".
template <typename T>
std::ostream& operator<<(std::ostream& out, vect2<T> const& v)
{
    return out << "(" << v.x << ", " << v.y << ")";
}

} // namespace tzNM
