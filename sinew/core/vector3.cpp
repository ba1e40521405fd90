#include <sinew/core/vector3.h>

#include <ostream>

std::ostream& operator<<(std::ostream& out, Vector3 const& v)
{
    return out << "(" << v.x << ", " << v.y << ", " << v.z << ")";
}
