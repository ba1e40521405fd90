#include <cstdio>

#include <sinew/sinew.h>

int main()
{
    SPDMatrix matrix;
    matrix.rows = {{{0, 2.0}}, {{0, -3.0}, {1, 2.0}}};
    // THE BLOCK
}
