#include <iostream>

#include <sinew/sinew.h>

static int marked = 0;
static void markRow(std::vector<std::int64_t> const&)
{
    ++marked;
}

int main()
{
    SPDMatrix matrix;
    matrix.rows = {{{0, 1.0}}, {}};
    // THE BLOCK
    return marked == 1 ? 0 : 1;
}
