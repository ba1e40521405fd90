// Best-fit planes against the plain transcription (a centred copy, nine sums) and against Eigen's symmetric solver on a
// covariance of Eigen's own.

#include <sinew/queries/best_fit.h>

#include "peers.h"
#include "queries/reference_best_fit.h"
#include "support/random.h"

#ifdef SINEW_BENCH_EIGEN
#include <Eigen/Dense>
#endif

namespace {

SINEW_BENCH_CALL bool plainFit(std::vector<Vector3> const& points, Vector3* center, UVector3* normal)
{
    return reference::getCenterAndEigv(points, center, normal, false);
}

// A slab: twelve wide, three high, one thick, so that the normal is well determined. |normal.z| tells it.
std::vector<std::vector<Vector3>> slabs(int sets, int count)
{
    test::Random random(20250421);
    std::vector<std::vector<Vector3>> result;
    for (int set = 0; set < sets; ++set) {
        UVector3 const tilt(random.point());
        std::vector<Vector3> points = random.points(count);
        for (Vector3& p : points) p = Vector3(12 * p.x, 3 * p.y, p.z) + tilt * p.x;
        result.push_back(std::move(points));
    }
    return result;
}

void add(int sets, int count)
{
    std::string const name = "plane of " + std::to_string(count) + " points";
    auto const input = slabs(sets, count);
    auto const fit = [=](auto function) {
        return [=](std::size_t i) {
            Vector3 center;
            UVector3 normal;
            return function(input[i], &center, &normal) ? std::fabs(normal.z) + center.x : 0.0;
        };
    };
    auto const ours = fit(bestFitPlane);
    auto const expected = bench::answers(input.size(), ours);
    bench::contend(name + "/sinew", expected, 0.0, ours);
    bench::contend(name + "/plain", expected, 0.0, fit(plainFit));
#ifdef SINEW_BENCH_EIGEN
    using Points = Eigen::Matrix<double, 3, Eigen::Dynamic>;
    std::vector<Points> eigenInput;
    for (auto const& points : input) {
        Points columns(3, count);
        for (int i = 0; i < count; ++i) {
            Vector3 const& p = points[static_cast<std::size_t>(i)];
            columns.col(i) = Eigen::Vector3d(p.x, p.y, p.z);
        }
        eigenInput.push_back(std::move(columns));
    }
    double const rounding = 1e-7; // two eigen-solvers, ours stopping at 1e-8 beside the diagonal
    bench::contend(name + "/Eigen", expected, rounding, [=](std::size_t i) {
        Eigen::Vector3d const center = eigenInput[i].rowwise().mean();
        Points const centred = eigenInput[i].colwise() - center;
        Eigen::Matrix3d const covariance = centred * centred.transpose() / count;
        Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> const solver(covariance);
        return std::fabs(solver.eigenvectors()(2, 0)) + center.x();
    });
#endif
}

int const registered = [] {
    add(500, 4);
    add(200, 30);
    add(20, 1000);
    add(2, 100000);
    return 0;
}();

} // namespace
