#pragma once

/// Comparison of results bit for bit, for methods of sinew that must agree exactly.

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <sinew/core/matrix.h>
#include <sinew/core/matrix3.h>
#include <sinew/core/transform.h>
#include <sinew/core/vector3.h>
#include <sinew/framework/vect2.h>

namespace test {

/// Whether both have the same bits. Any NaN equals any other NaN, because IEEE does not fix the sign and the payload.
inline bool sameBits(double a, double b)
{
    return (a != a && b != b) || std::memcmp(&a, &b, sizeof a) == 0;
}
inline bool sameBits(float a, float b)
{
    return (a != a && b != b) || std::memcmp(&a, &b, sizeof a) == 0;
}
inline bool sameBits(int a, int b)
{
    return a == b;
}
inline bool sameBits(Vector3 const& a, Vector3 const& b)
{
    return sameBits(a.x, b.x) && sameBits(a.y, b.y) && sameBits(a.z, b.z);
}
template <typename T>
bool sameBits(tzNM::vect2<T> const& a, tzNM::vect2<T> const& b)
{
    return sameBits(a.x, b.x) && sameBits(a.y, b.y);
}
inline bool sameBits(Matrix3 const& a, Matrix3 const& b)
{
    return sameBits(a.column(0), b.column(0)) && sameBits(a.column(1), b.column(1)) &&
           sameBits(a.column(2), b.column(2));
}
inline bool sameBits(Matrix const& a, Matrix const& b)
{
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) {
            if (!sameBits(a(i, j), b(i, j))) return false;
        }
    }
    return true;
}
inline bool sameBits(Transform const& a, Transform const& b)
{
    return sameBits(a.linear, b.linear) && sameBits(a.translation, b.translation) && sameBits(a.scale, b.scale);
}
template <typename A, typename B>
bool sameBits(std::pair<A, B> const& a, std::pair<A, B> const& b)
{
    return sameBits(a.first, b.first) && sameBits(a.second, b.second);
}
template <typename T>
bool sameBits(std::vector<T> const& a, std::vector<T> const& b)
{
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (!sameBits(a[i], b[i])) return false;
    }
    return true;
}

} // namespace test
