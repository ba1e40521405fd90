// Another library has a global Vector3 too. Its name is changed while its header is read, which a C library does not
// notice.
#define Vector3 other_Vector3
struct Vector3 // the header of the other library
{
    float x, y, z;
};
inline float firstOf(Vector3 v)
{
    return v.x;
}
#undef Vector3

#include <sinew/sinew.h>

float both(Vector3 const& v)
{
    other_Vector3 const other = {static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z)};
    return firstOf(other);
}
