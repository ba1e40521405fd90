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
    std::size_t const rowCount = 2;
    std::vector<double> x(rowCount, 1.0);
    std::vector<double> columns(12 * rowCount, 1.0);
    int const steps = 3;
    // THE BLOCK
    return factor.hasNumbers() ? 0 : 1;
}
