#include <sinew/sinew.h>

static int flattened = 0;
static void flatten(std::vector<Vector3> const&, Vector3 const&, UVector3 const&)
{
    ++flattened;
}

int main()
{
    std::vector<Vector3> const points = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0.1}};
    // THE BLOCK
    return flattened == 1 ? 0 : 1;
}
