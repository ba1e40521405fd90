// The program of the guide, and then the same system assembled and solved by Eigen.
#include <Eigen/Dense>
#include <Eigen/Sparse>

#define main printedMain
// THE BLOCK
#undef main

// Linear elements from the gradients of their basis functions: another way to the same matrix.
Eigen::VectorXd solveWithEigen(Mesh const& mesh, std::vector<double> const& f, std::vector<double> const& g)
{
    Eigen::Index const n = static_cast<Eigen::Index>(mesh.points.size());
    std::vector<Eigen::Triplet<double>> entries;
    Eigen::VectorXd right = Eigen::VectorXd::Zero(n);
    for (std::size_t t = 0; t < mesh.corners.size(); t += 3) {
        int const* const corners = &mesh.corners[t];
        Eigen::Matrix2d edges;
        for (int k = 0; k < 2; ++k) {
            Vector3 const edge = mesh.points[corners[k + 1]] - mesh.points[corners[0]];
            edges.row(k) << edge.x, edge.y;
        }
        Eigen::Matrix<double, 2, 3> reference;
        reference << -1, 1, 0, -1, 0, 1;
        Eigen::Matrix<double, 2, 3> const gradients = edges.inverse() * reference;
        double const area = edges.determinant() / 2;
        for (int i = 0; i < 3; ++i) {
            right[corners[i]] += area / 3 * f[corners[i]];
            for (int j = 0; j < 3; ++j) {
                entries.emplace_back(corners[i], corners[j], area * gradients.col(i).dot(gradients.col(j)));
            }
        }
    }
    Eigen::SparseMatrix<double> matrix(n, n);
    matrix.setFromTriplets(entries.begin(), entries.end());
    Eigen::VectorXd const given = Eigen::Map<Eigen::VectorXd const>(g.data(), n);
    Eigen::VectorXd boundary = Eigen::VectorXd::Zero(n);
    for (Eigen::Index i = 0; i < n; ++i) boundary[i] = mesh.isBoundary[i] ? given[i] : 0;
    right -= matrix * boundary;
    matrix.prune([&](Eigen::Index i, Eigen::Index j, double) { return !mesh.isBoundary[i] && !mesh.isBoundary[j]; });
    for (Eigen::Index i = 0; i < n; ++i) {
        if (!mesh.isBoundary[i]) continue;
        matrix.coeffRef(i, i) = 1;
        right[i] = given[i];
    }
    return Eigen::SimplicialLDLT<Eigen::SparseMatrix<double>>(matrix).solve(right);
}

int main()
{
    Mesh const mesh = square(40);
    std::vector<double> f, g;
    for (Vector3 const& p : mesh.points) {
        f.push_back(1 + p.x * p.y);
        g.push_back(std::sin(3 * p.x) - p.y * p.y);
    }
    std::vector<double> const ours = solvePoisson(mesh, f, g);
    Eigen::VectorXd const theirs = solveWithEigen(mesh, f, g);
    double worst = ours.empty() ? 1 : 0;
    for (std::size_t i = 0; i < ours.size(); ++i) worst = std::max(worst, std::fabs(ours[i] - theirs[i]));
    std::printf("largest difference to Eigen: %.1e\n", worst);
    return worst < 1e-12 ? printedMain() : 1;
}
