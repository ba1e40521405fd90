// Eigen has names that sinew has too. The headers of sinew compile after `using namespace Eigen`; in the host's own
// sources the names that both have then need `::`.
#include <Eigen/Dense>
#include <Eigen/Sparse>

using namespace Eigen;

#include <sinew/sinew.h>

double both()
{
    Eigen::Matrix<double, 3, 1> const theirs(1, 2, 3);
    ::Matrix const ours;
    return theirs.cwiseAbs().sum() + ours(0, 0) + absolute(-1.0) + ::Vector3(1, 2, 3).length();
}
