#include <cstdio>

#include <sinew/sinew.h>

static void updateValues(SPDMatrix& matrix, int step)
{
    matrix.rows[0][0].second = 2.0 + step;
}

int main()
{
    SPDMatrix matrix;
    matrix.rows = {{{0, 2.0}}, {{0, -1.0}, {1, 2.0}}};
    std::vector<std::vector<double>> rightHandSides = {{1, 0}, {0, 1}};
    int const steps = 3;
    // THE BLOCK
}
