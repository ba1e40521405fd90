#include <tool/figure/bone_heat.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>

#include <sinew/sparse/builders.h>
#include <sinew/sparse/compact_factor.h>
#include <sinew/sparse/spd_matrix.h>

#include <tool/figure/mesh_pieces.h>
#include <tool/support/as_index.h>
#include <tool/support/bounds.h>
#include <tool/support/stopwatch.h>

namespace tool {
namespace {

constexpr double kEquallyNear = 1e-4; // relative difference of distances up to which bones count as equally near
constexpr double kClosest = 1e-3;     // relative to the surface's size: smaller distances to a bone are raised to it
constexpr double kFactoring = 0.7;    // of the work that `show` receives; the solutions are the rest
constexpr double kSmallestClosest = 1e-300; // for a surface without extent: no division by zero

class HeatProblem
{
public:
    HeatProblem(std::vector<Vector3> const& positions, std::vector<Triangle> const& triangles, Skeleton const& skeleton)
        : positions_(positions), skeleton_(skeleton)
    {
        joinVertices();
        addTriangles(triangles);
        findNearestBones();
    }

    BoneHeat solve(sinew::Progress const& progress)
    {
        sinew::MatrixBuild const build = sinew::fromTriplets(static_cast<std::int64_t>(places_.size()), assemble());
        result_.fault = build.text(); // coordinates of 1e100 have areas that are infinite
        if (!build.succeeded()) return std::move(result_);
        for (auto const& row : build.matrix.rows) result_.matrixEntries += row.size();
        Stopwatch const factoring;
        sinew::CompactFactor const factor =
            sinew::makeCompactFactor(build.matrix, progress.part(0, kFactoring)).value(); // never cancelled
        result_.factorSeconds = factoring.seconds();
        result_.factorEntries = static_cast<std::size_t>(factor.entryCount());
        if (asIndex(factor.size()) == places_.size()) {
            solveBones(build.matrix, factor, progress.part(kFactoring, 1));
        } else {
            result_.fault = "The matrix of the heat balance is not positive definite.\n";
        }
        return std::move(result_);
    }

private:
    void joinVertices()
    {
        std::map<std::array<double, 3>, int> at;
        for (Vector3 const& p : positions_) {
            auto const [found, isNew] =
                at.emplace(std::array<double, 3>{p.x, p.y, p.z}, static_cast<int>(places_.size()));
            if (isNew) places_.push_back(p);
            placeOf_.push_back(found->second);
        }
        result_.joined = positions_.size() - places_.size();
        result_.unknowns = places_.size();
        areas_.assign(places_.size(), 0);
    }

    void addTriangles(std::vector<Triangle> const& triangles)
    {
        std::vector<int> facets;
        for (Triangle const& t : triangles) {
            int corner[3];
            for (std::size_t k = 0; k < 3; ++k) corner[k] = placeOf_[asIndex(t[k])];
            facets.insert(facets.end(), corner, corner + 3);
            addTriangle(corner);
        }
        pieceOfTriangle(facets, places_.size(), result_.pieces);
        for (auto& [edge, weight] : edges_) {
            if (weight < 0) ++result_.raisedEdges;
            weight = std::max(weight, 0.0);
        }
    }

    void addTriangle(int const (&corner)[3])
    {
        Vector3 const p[3] = {place(corner[0]), place(corner[1]), place(corner[2])};
        double const twiceArea = cross(p[1] - p[0], p[2] - p[0]).length();
        if (!(twiceArea > 0)) return; // a triangle without area conducts nothing
        for (int k = 0; k < 3; ++k) {
            int const i = corner[(k + 1) % 3], j = corner[(k + 2) % 3];
            Vector3 const a = p[(k + 1) % 3] - p[k], b = p[(k + 2) % 3] - p[k];
            edges_[{std::max(i, j), std::min(i, j)}] += 0.5 * (a * b) / twiceArea; // half the cotangent at corner k
            areas_[asIndex(corner[k])] += twiceArea / 6;
        }
    }

    Vector3 const& place(int i) const { return places_[asIndex(i)]; }

    void findNearestBones()
    {
        Vector3 low, high;
        boundsOf(places_, low, high);
        double const closest = std::max(kClosest * dist(low, high), kSmallestClosest);
        for (Vector3 const& p : places_) {
            std::vector<double> distances;
            for (std::size_t b = 0; b < skeleton_.bones.size(); ++b) {
                distances.push_back(distanceToBone(skeleton_, b, p));
            }
            double const least = *std::min_element(distances.begin(), distances.end());
            nearest_.emplace_back();
            for (std::size_t b = 0; b < distances.size(); ++b) {
                if (distances[b] <= least * (1 + kEquallyNear)) nearest_.back().push_back(static_cast<int>(b));
            }
            double const d = std::max(least, closest);
            heat_.push_back(1 / (d * d));
        }
    }

    // L + A H, as contributions to its lower triangle. A vertex without area has no neighbours either. The diagonal 1
    // gives it its nearest bones.
    std::vector<sinew::Triplet> assemble()
    {
        std::vector<sinew::Triplet> triplets;
        for (auto const& [edge, weight] : edges_) {
            if (weight == 0) continue;
            auto const [i, j] = edge;
            triplets.push_back({i, j, -weight});
            triplets.push_back({i, i, weight});
            triplets.push_back({j, j, weight});
        }
        for (std::size_t i = 0; i < places_.size(); ++i) {
            bool const hasArea = areas_[i] > 0;
            source_.push_back(hasArea ? areas_[i] * heat_[i] : 1);
            if (!hasArea) ++result_.withoutArea;
            triplets.push_back({static_cast<int>(i), static_cast<int>(i), source_[i]});
        }
        return triplets;
    }

    void solveBones(SPDMatrix const& matrix, sinew::CompactFactor const& factor, sinew::Progress const& progress)
    {
        std::size_t const bones = skeleton_.bones.size();
        std::vector<std::vector<double>> right;
        for (std::size_t b = 0; b < bones; ++b) right.push_back(rightSide(static_cast<int>(b)));
        std::vector<std::vector<double>> solutions = right;
        Stopwatch const solving;
        factor.solveMany(solutions, progress);
        result_.solveSeconds = solving.seconds();
        BoneWeights raw(places_.size(), std::vector<double>(bones, 0));
        for (std::size_t b = 0; b < bones; ++b) {
            measureResidual(matrix, solutions[b], right[b]);
            for (std::size_t i = 0; i < raw.size(); ++i) raw[i][b] = solutions[b][i];
        }
        measureWeights(raw);
        for (auto& row : raw) {
            double sum = 0;
            for (double& w : row) sum += w = std::clamp(w, 0.0, 1.0);
            for (double& w : row) w /= sum;
        }
        for (int const i : placeOf_) result_.weights.push_back(raw[asIndex(i)]);
    }

    std::vector<double> rightSide(int bone) const
    {
        std::vector<double> right(places_.size(), 0);
        for (std::size_t i = 0; i < right.size(); ++i) {
            auto const& near = nearest_[i];
            if (std::find(near.begin(), near.end(), bone) != near.end()) {
                right[i] = source_[i] / static_cast<double>(near.size());
            }
        }
        return right;
    }

    void measureResidual(SPDMatrix const& matrix, std::vector<double> const& x, std::vector<double> const& right)
    {
        std::vector<double> difference = right;
        double scale = 0;
        for (std::size_t i = 0; i < x.size(); ++i) {
            scale = std::max(scale, std::fabs(right[i]));
            for (auto const& [column, value] : matrix.rows[i]) {
                std::size_t const j = asIndex(column);
                difference[i] -= value * x[j];
                if (j != i) difference[j] -= value * x[i];
            }
        }
        if (scale == 0) return; // a bone that is nearest to no vertex heats none
        for (double const d : difference)
            result_.largestResidual = std::max(result_.largestResidual, std::fabs(d) / scale);
    }

    void measureWeights(BoneWeights const& raw)
    {
        result_.lowest = std::numeric_limits<double>::infinity();
        result_.highest = -result_.lowest;
        for (auto const& row : raw) {
            double sum = 0;
            for (double const w : row) {
                sum += w;
                result_.lowest = std::min(result_.lowest, w);
                result_.highest = std::max(result_.highest, w);
            }
            result_.largestSumError = std::max(result_.largestSumError, std::fabs(sum - 1));
        }
    }

    std::vector<Vector3> const& positions_;
    Skeleton const& skeleton_;
    std::vector<Vector3> places_;                 // the distinct positions: the unknowns
    std::vector<int> placeOf_;                    // for each vertex, the index of its position in places_
    std::vector<double> areas_;                   // for each place, a third of the area of the triangles around it
    std::map<std::pair<int, int>, double> edges_; // cotangent weight by (larger, smaller) place
    std::vector<std::vector<int>> nearest_;       // for each place, the nearest bones
    std::vector<double> heat_;                    // for each place, one over the squared distance to them
    std::vector<double> source_;                  // for each place, area times heat
    BoneHeat result_;
};

} // namespace

BoneHeat boneHeat(std::vector<Vector3> const& positions, std::vector<Triangle> const& triangles,
                  Skeleton const& skeleton, std::function<void(double)> const& show)
{
    auto const goOn = [&show](double fraction) {
        if (show) show(fraction);
        return true;
    };
    return HeatProblem(positions, triangles, skeleton).solve(goOn);
}

} // namespace tool
