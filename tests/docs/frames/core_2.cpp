#include <sinew/core/interop.h>
#include <sinew/core/transform.h>

// Enough of OpenGL for the call.
enum
{
    GL_TRUE = 1
};
static int numbers = 0;
static void glUniformMatrix4fv(int, int, int, float const* matrix)
{
    for (int i = 0; i < 16; ++i) numbers += matrix[i] != 0;
}

int main()
{
    Transform const placement(Vector3(0, 0, 1), 0.5);
    int const location = 0;
    // THE BLOCK
    return numbers == 6 ? 0 : 1;
}
