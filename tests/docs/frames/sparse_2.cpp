#include <cstdio>
#include <string>
#include <vector>

#include <sinew/sinew.h>

struct Triangle
{
    int vertex[3];
};

struct Mesh
{
    int vertexCount = 4;
    std::vector<Triangle> triangles = {{{0, 1, 2}}, {{2, 1, 3}}};
};

static double stiffness(Triangle const&, int i, int j)
{
    return i == j ? 2.0 : -0.5;
}

static int fail(std::string const& text)
{
    std::printf("%s", text.c_str());
    return 1;
}

int main()
{
    Mesh const mesh;
    // THE BLOCK
    return factor.rows.size() == 4 ? 0 : 1;
}
