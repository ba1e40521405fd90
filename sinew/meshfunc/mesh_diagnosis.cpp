#include <sinew/meshfunc/mesh_diagnosis.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include <sinew/meshfunc/detail/mesh_cells.h>

namespace sinew {

namespace {

using Point = tzNM::vect2<double>;
using Corners = std::array<int, 3>;

class Diagnosis
{
public:
    explicit Diagnosis(MeshFunction2D const& f) : f_(f), vertexCount_(std::min(f.params.size(), f.values.size())) {}

    std::vector<MeshProblem> run()
    {
        std::size_t const whole = f_.facets.size() / 3 * 3;
        if (whole != f_.facets.size()) {
            add(MeshFault::incompleteFacets, whole,
                "The list of facets ends within a triangle, so the function has no boundary.");
        }
        checkCorners();
        checkShapes();
        checkRepetition();
        checkEdges();
        checkVertices();
        checkPacking();
        std::stable_sort(problems_.begin(), problems_.end(), [](MeshProblem const& a, MeshProblem const& b) {
            return a.fault != b.fault ? a.fault < b.fault : a.index < b.index;
        });
        return std::move(problems_);
    }

private:
    void add(MeshFault fault, std::size_t index, std::string sentence)
    {
        problems_.push_back({fault, index, std::move(sentence)});
    }

    static std::string triangle(std::size_t t) { return "Triangle " + std::to_string(t); }
    static std::string vertex(std::size_t i) { return "Vertex " + std::to_string(i); }

    Point const& at(int i) const { return f_.params[static_cast<std::size_t>(i)]; }

    /// Keeps the triangles whose vertices are all there; the other checks look at those alone.
    void checkCorners()
    {
        used_.assign(f_.params.size(), false);
        for (std::size_t t = 0; t < f_.facets.size() / 3; ++t) {
            Corners corners;
            if (detail::triangleCorners(f_.facets, t, vertexCount_, corners.data())) {
                triangles_.push_back({t, corners});
                for (int corner : corners) used_[static_cast<std::size_t>(corner)] = true;
            } else {
                add(MeshFault::missingVertex, t,
                    triangle(t) + " names a vertex that has no position or no value; it is as if it were not there.");
            }
        }
    }

    double determinant(Corners const& corners) const
    {
        Point const e1 = at(corners[1]) - at(corners[0]);
        Point const e2 = at(corners[2]) - at(corners[0]);
        return e1.x * e2.y - e2.x * e1.y;
    }

    void checkShapes()
    {
        std::vector<std::size_t> oriented[2]; // against the clock, with it
        for (auto const& [t, corners] : triangles_) {
            double const det = determinant(corners);
            if (!std::isfinite(det)) {
                add(MeshFault::degenerateTriangle, t,
                    triangle(t) + " has no finite determinant; it can accept points and give NaN.");
            } else if (std::fabs(det) < detail::kDegenerate) {
                add(MeshFault::degenerateTriangle, t,
                    triangle(t) + " has no area; no point evaluates in it, and a continuation from it fails.");
            } else {
                oriented[det > 0 ? 0 : 1].push_back(t);
            }
        }
        auto const& minority = oriented[oriented[1].size() > oriented[0].size() ? 0 : 1];
        for (std::size_t t : minority) {
            add(MeshFault::invertedTriangle, t,
                triangle(t) + " is oriented against most others; the edges it shares with them stay boundaries.");
        }
    }

    void checkRepetition()
    {
        std::vector<std::pair<Corners, std::size_t>> sorted;
        for (auto [t, corners] : triangles_) {
            std::sort(corners.begin(), corners.end());
            sorted.emplace_back(corners, t);
        }
        std::sort(sorted.begin(), sorted.end());
        for (std::size_t i = 1, first = 0; i < sorted.size(); ++i) {
            if (sorted[i].first != sorted[first].first) {
                first = i;
                continue;
            }
            std::size_t const t = sorted[i].second;
            add(MeshFault::repeatedTriangle, t,
                triangle(t) + " has the vertices of triangle " + std::to_string(sorted[first].second) +
                    ", which answers in its place.");
        }
    }

    void checkEdges()
    {
        std::vector<std::pair<std::pair<int, int>, std::size_t>> edges;
        for (auto const& [t, corners] : triangles_) {
            for (int k = 0; k < 3; ++k) {
                auto const [a, b] = std::minmax(corners[k], corners[k == 2 ? 0 : k + 1]);
                if (a != b) edges.push_back({{a, b}, t}); // a triangle with equal corners is degenerate, not crowded
            }
        }
        std::sort(edges.begin(), edges.end());
        std::vector<std::size_t> crowding;
        for (std::size_t i = 2; i < edges.size(); ++i) {
            if (edges[i].first == edges[i - 2].first) crowding.push_back(edges[i].second);
        }
        std::sort(crowding.begin(), crowding.end());
        crowding.erase(std::unique(crowding.begin(), crowding.end()), crowding.end());
        for (std::size_t t : crowding) {
            add(MeshFault::nonManifoldEdge, t,
                triangle(t) +
                    " is the third or a later one at one of its edges; where the boundary runs is by chance.");
        }
    }

    void checkVertices()
    {
        for (std::size_t i = 0; i < f_.params.size(); ++i) {
            if (!used_[i]) {
                add(MeshFault::unusedVertex, i, vertex(i) + " belongs to no triangle; it only widens the grid.");
            }
            if (i >= f_.values.size()) {
                add(MeshFault::missingValue, i, vertex(i) + " has no value; triangles at it are not there.");
            }
        }
    }

    static bool fits(double x) { return x >= kLeastPackable && x < kPackableEnd - 0x1p-21; } // half a step is added

    void checkPacking()
    {
        for (std::size_t i = 0; i < f_.params.size(); ++i) {
            Point const value = i < f_.values.size() ? f_.values[i] : Point();
            if (!(fits(f_.params[i].x) && fits(f_.params[i].y) && fits(value.x) && fits(value.y))) {
                add(MeshFault::unpackableNumber, i,
                    vertex(i) + " has a position or value outside [-2, 14), which the packed text would change.");
            }
        }
        for (std::size_t i = 0; i < f_.normaldots.size(); ++i) {
            if (!fits(f_.normaldots[i])) {
                add(MeshFault::unpackableScalar, i,
                    "Scalar " + std::to_string(i) + " lies outside [-2, 14), so the packed text would change it.");
            }
        }
        std::pair<char const*, std::size_t> const counts[] = {
            {"vertices", f_.params.size()}, {"scalars", f_.normaldots.size()}, {"facet entries", f_.facets.size()}};
        for (auto const& [what, count] : counts) {
            if (count <= kMostPackable) continue;
            add(MeshFault::unpackableCount, count,
                std::to_string(count) + " " + what + " are more than the 262143 that the packed text can count.");
        }
    }

    MeshFunction2D const& f_;
    std::size_t vertexCount_;
    std::vector<std::pair<std::size_t, Corners>> triangles_; // those that are there, with their indices
    std::vector<bool> used_;
    std::vector<MeshProblem> problems_;
};

} // namespace

std::vector<MeshProblem> diagnose(MeshFunction2D const& function)
{
    return Diagnosis(function).run();
}

} // namespace sinew
