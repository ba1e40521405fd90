#pragma once

/// Text of the value types, for logs and test messages. `Vector3` brings its own; here are the others.
///
/// Numbers take the stream's formatting; nothing ends in a newline. Matrices are written row by row.

#include <ostream>

#include <sinew/core/bbox.h>
#include <sinew/core/matrix.h>
#include <sinew/core/matrix3.h>
#include <sinew/core/transform.h>
#include <sinew/framework/vect2.h>

/// "((1, 0, 0), (0, 1, 0), (0, 0, 1))", a parenthesis a row.
SINEW_API std::ostream& operator<<(std::ostream& out, Matrix3 const& m);

/// As for `Matrix3`, four rows of four.
SINEW_API std::ostream& operator<<(std::ostream& out, Matrixf const& m);
SINEW_API std::ostream& operator<<(std::ostream& out, Matrix const& m);

/// "{linear ((1, 0, 0), (0, 1, 0), (0, 0, 1)), translation (0, 0, 0), scale 1}".
SINEW_API std::ostream& operator<<(std::ostream& out, Transform const& t);

/// "{min (0, 0, 0), max (1, 1, 1)}", whether the box is valid or not.
SINEW_API std::ostream& operator<<(std::ostream& out, Bbox const& box);

namespace tzNM {

/// "(x, y)".
template <typename T>
std::ostream& operator<<(std::ostream& out, vect2<T> const& v)
{
    return out << "(" << v.x << ", " << v.y << ")";
}

} // namespace tzNM
