// Best-fit planes: `bestFitPlane`, its reference implementation (a centred copy, nine sums), `sinew::fitPlane`, Eigen's
// eigen-solver for symmetric matrices with the covariance also computed by Eigen, and CGAL.

#include <sinew/queries/best_fit.h>
#include <sinew/queries/fit.h>

#include "contenders.h"
#include "queries/reference_best_fit.h"
#include "support/random.h"

#ifdef SINEW_BENCH_EIGEN
#include <Eigen/Dense>
#endif
#ifdef SINEW_BENCH_CGAL
#include <CGAL/Simple_cartesian.h>
#include <CGAL/linear_least_squares_fitting_3.h>
#endif

namespace {

// Two eigen-solvers differ by this much: that of the library stops when the other elements sum to 1e-8.
[[maybe_unused]] constexpr double kPeerRounding = 1e-7;

bool referenceFit(std::vector<Vector3> const& points, Vector3* center, UVector3* normal)
{
    return bench::notInlined<reference::getCenterAndEigv>(points, center, normal, false);
}

// Slabs: twelve wide, three high and one thick, so that the normal is well determined.
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

void addPeers([[maybe_unused]] std::string const& name, [[maybe_unused]] int count,
              [[maybe_unused]] std::vector<std::vector<Vector3>> const& input,
              [[maybe_unused]] std::vector<double> const& expected)
{
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
    bench::contender(name + "/Eigen", expected, kPeerRounding, [=](std::size_t i) {
        Eigen::Vector3d const center = eigenInput[i].rowwise().mean();
        Points const centred = eigenInput[i].colwise() - center;
        Eigen::Matrix3d const covariance = centred * centred.transpose() / count;
        Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> const solver(covariance);
        return std::fabs(solver.eigenvectors()(2, 0)) + center.x();
    });
#endif
#ifdef SINEW_BENCH_CGAL
    using Kernel = CGAL::Simple_cartesian<double>;
    std::vector<std::vector<Kernel::Point_3>> cgalInput;
    for (auto const& points : input) {
        auto& converted = cgalInput.emplace_back();
        for (Vector3 const& p : points) converted.emplace_back(p.x, p.y, p.z);
    }
    bench::contender(name + "/CGAL", expected, kPeerRounding, [=](std::size_t i) {
        Kernel::Plane_3 plane;
        Kernel::Point_3 centroid;
        CGAL::linear_least_squares_fitting_3(cgalInput[i].begin(), cgalInput[i].end(), plane, centroid,
                                             CGAL::Dimension_tag<0>());
        Kernel::Vector_3 const normal = plane.orthogonal_vector();
        return std::fabs(normal.z()) / std::sqrt(normal.squared_length()) + centroid.x();
    });
#endif
}

void add(int sets, int count)
{
    std::string const name = "plane of " + std::to_string(count) + " points";
    auto const input = slabs(sets, count);
    auto const fit = [=](auto function) {
        return [=](std::size_t i) {
            Vector3 center;
            UVector3 normal;
            // The magnitude, because the sign of the normal is not determined.
            return function(input[i], &center, &normal) ? std::fabs(normal.z) + center.x : 0.0;
        };
    };
    auto const expected = bench::againstReference(name, input.size(), fit(bestFitPlane), fit(referenceFit));
    bench::contender(name + "/fitPlane", expected, kPeerRounding, [=](std::size_t i) {
        sinew::PlaneFit const found = sinew::fitPlane(sinew::coordinatesOf(input[i].data(), input[i].size()));
        return std::fabs(found.normal.z) + found.centroid.x;
    });
    addPeers(name, count, input, expected);
}

int const kRegistered = [] {
    add(500, 4);
    add(200, 30);
    add(20, 1000);
    add(2, 100000);
    return 0;
}();

} // namespace
