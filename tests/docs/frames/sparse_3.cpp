#include <Eigen/Sparse>

#include <sinew/sinew.h>

static Eigen::SparseMatrix<double> assemble()
{
    Eigen::SparseMatrix<double> result(2, 2);
    result.insert(0, 0) = 2.0;
    result.insert(1, 0) = result.insert(0, 1) = -1.0;
    result.insert(1, 1) = 2.0;
    return result;
}

int main()
{
    // THE BLOCK
    return matrix.rows.size() == 2 && matrix.rows[1][0].second == -1.0 ? 0 : 1;
}
