#include <sinew/meshfunc/mesh_diagnosis.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <sinew/core/tolerances.h>
#include <sinew/detail/as_index.h>
#include <sinew/meshfunc/detail/mesh_cells.h>
#include <sinew/meshfunc/detail/packed_text.h>
#include <sinew/meshfunc/detail/prepared_triangle.h>

namespace sinew {

static_assert(kLeastPackable == -detail::kPackedOrigin);
static_assert(kPackableEnd == kLeastPackable + (1 << detail::kRealBits) * detail::kStep);
static_assert(kMostPackable == detail::kLargestPackedInteger);

namespace {

using detail::kCorners;
using Point = tzNM::vect2<double>;
using Corners = std::array<int, kCorners>;
using Indices = std::vector<std::int64_t>;

struct Triangle
{
    std::size_t number;
    Corners corners;
};

// Runs the checks on one function and collects their findings.
class MeshChecks
{
public:
    explicit MeshChecks(MeshFunction2D const& f) : f_(f), vertexCount_(std::min(f.params.size(), f.values.size())) {}

    MeshDiagnosis run()
    {
        checkFacets();
        checkShapes();
        checkRepetition();
        checkEdges();
        checkVertices();
        checkPacking();
        std::stable_sort(found_.findings.begin(), found_.findings.end(),
                         [](Finding<MeshFault> const& a, Finding<MeshFault> const& b) {
                             return std::tie(a.kind, a.indices) < std::tie(b.kind, b.indices);
                         });
        return std::move(found_);
    }

private:
    void add(MeshFault kind, Indices indices, double value, std::string sentence)
    {
        found_.findings.push_back({kind, std::move(indices), value, std::move(sentence)});
    }

    static Indices indicesOf(std::size_t t, Corners const& corners)
    {
        return {static_cast<std::int64_t>(t), corners[0], corners[1], corners[2]};
    }
    static Indices indicesOf(std::size_t place) { return {static_cast<std::int64_t>(place)}; }

    static std::string triangle(std::size_t t) { return "Triangle " + std::to_string(t); }
    static std::string vertex(std::size_t i) { return "Vertex " + std::to_string(i); }

    // Collects the triangles whose vertices exist. The other checks examine only these.
    void checkFacets()
    {
        std::size_t const leftOver = f_.facets.size() % kCorners;
        std::size_t const whole = f_.facets.size() - leftOver;
        if (leftOver != 0) {
            add(MeshFault::incompleteFacets, indicesOf(whole), static_cast<double>(leftOver),
                "The list of facets ends within a triangle, so the function has no boundary.");
        }
        used_.assign(f_.params.size(), false);
        for (std::size_t t = 0; t < whole / kCorners; ++t) {
            Corners corners;
            if (detail::triangleCorners(f_.facets, t, vertexCount_, corners.data())) {
                triangles_.push_back({t, corners});
                for (int const corner : corners) used_[detail::asIndex(corner)] = true;
            } else {
                addMissingVertex(t);
            }
        }
    }

    void addMissingVertex(std::size_t t)
    {
        Corners corners;
        std::copy_n(&f_.facets[kCorners * t], kCorners, corners.begin());
        auto const missing = std::find_if(corners.begin(), corners.end(), [&](int corner) {
            return corner < 0 || detail::asIndex(corner) >= vertexCount_;
        });
        add(MeshFault::missingVertex, indicesOf(t, corners), *missing,
            triangle(t) + " names vertex " + std::to_string(*missing) +
                ", which has no position or no value, so the triangle is ignored.");
    }

    double determinant(Corners const& corners) const
    {
        return detail::TriangleEdges(f_.params, corners.data()).determinant();
    }

    void checkShapes()
    {
        std::vector<Triangle> clockwise, counterClockwise;
        for (Triangle const& t : triangles_) {
            double const det = determinant(t.corners);
            if (!std::isfinite(det)) {
                add(MeshFault::degenerateTriangle, indicesOf(t.number, t.corners), det,
                    triangle(t.number) + " has no finite determinant, so it may accept points and give NaN.");
            } else if (std::fabs(det) < kGramZero) {
                add(MeshFault::degenerateTriangle, indicesOf(t.number, t.corners), det,
                    triangle(t.number) +
                        " has a determinant below 1e-16, so it accepts no point and extrapolation from it fails; "
                        "sinew::extrapolateAnywhere uses the triangle if it is small but well-shaped, "
                        "and another one if it is flat.");
            } else {
                (det > 0 ? counterClockwise : clockwise).push_back(t);
            }
        }
        for (Triangle const& t : clockwise.size() > counterClockwise.size() ? counterClockwise : clockwise) {
            add(MeshFault::invertedTriangle, indicesOf(t.number, t.corners), determinant(t.corners),
                triangle(t.number) +
                    " has the opposite orientation of most triangles, so the edges that it shares with them stay "
                    "boundaries.");
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
            std::size_t const earlier = sorted[first].second;
            add(MeshFault::repeatedTriangle, {static_cast<std::int64_t>(t), static_cast<std::int64_t>(earlier)}, 0,
                triangle(t) + " has the same vertices as triangle " + std::to_string(earlier) +
                    ", which is used in its place.");
        }
    }

    // An edge as its smaller and its larger vertex, and a triangle at it.
    struct Edge
    {
        int low;
        int high;
        std::size_t triangle;

        std::pair<int, int> vertices() const { return {low, high}; }
    };

    // The edges of all triangles, sorted by their vertices, then by their triangle.
    std::vector<Edge> sortedEdges() const
    {
        std::vector<Edge> edges;
        for (auto const& [t, corners] : triangles_) {
            for (std::size_t k = 0; k < kCorners; ++k) {
                auto const [low, high] = std::minmax(corners[k], corners[(k + 1) % kCorners]);
                // A triangle with equal corners is reported as degenerate; its edge without length is not an edge.
                if (low != high) edges.push_back({low, high, t});
            }
        }
        std::sort(edges.begin(), edges.end(), [](Edge const& a, Edge const& b) {
            return std::tie(a.low, a.high, a.triangle) < std::tie(b.low, b.high, b.triangle);
        });
        return edges;
    }

    void checkEdges()
    {
        constexpr std::size_t kOfAManifold = 2; // triangles at an edge
        std::vector<Edge> const edges = sortedEdges();
        std::vector<bool> reported(f_.facets.size() / kCorners);
        for (std::size_t begin = 0, end = 0; begin < edges.size(); begin = end) {
            while (end < edges.size() && edges[end].vertices() == edges[begin].vertices()) ++end;
            for (std::size_t i = begin + kOfAManifold; i < end; ++i) {
                Edge const& edge = edges[i];
                if (reported[edge.triangle]) continue;
                reported[edge.triangle] = true;
                add(MeshFault::nonManifoldEdge, {static_cast<std::int64_t>(edge.triangle), edge.low, edge.high},
                    static_cast<double>(end - begin),
                    triangle(edge.triangle) + " is the third or a later triangle at the edge of vertices " +
                        std::to_string(edge.low) + " and " + std::to_string(edge.high) +
                        ", so the order of the triangles decides where the boundary runs.");
            }
        }
    }

    void checkVertices()
    {
        for (std::size_t i = 0; i < f_.params.size(); ++i) {
            if (!used_[i]) {
                add(MeshFault::unusedVertex, indicesOf(i), 0,
                    vertex(i) + " belongs to no triangle, so it can only make the grid larger.");
            }
            if (i >= f_.values.size()) {
                add(MeshFault::missingValue, indicesOf(i), 0,
                    vertex(i) + " has no value, so triangles that name it are ignored.");
            }
        }
    }

    // Whether packing keeps the number, up to rounding. Packing adds half a step and truncates, so the last half step
    // of the range would wrap. False for NaN.
    static bool fits(double x) { return x >= kLeastPackable && x < kPackableEnd - detail::kStep / 2; }

    void checkPacking()
    {
        for (std::size_t i = 0; i < f_.params.size(); ++i) {
            Point const value = i < f_.values.size() ? f_.values[i] : Point();
            double const numbers[] = {f_.params[i].x, f_.params[i].y, value.x, value.y};
            auto const* const odd = std::find_if_not(std::begin(numbers), std::end(numbers), fits);
            if (odd == std::end(numbers)) continue;
            add(MeshFault::unpackableNumber, indicesOf(i), *odd,
                vertex(i) +
                    " has a position or value outside [-2, 14), so the packed text changes it; sinew::saveExact keeps "
                    "it.");
        }
        for (std::size_t i = 0; i < f_.normaldots.size(); ++i) {
            double const scalar = static_cast<double>(f_.normaldots[i]);
            if (fits(scalar)) continue;
            add(MeshFault::unpackableScalar, indicesOf(i), scalar,
                "Scalar " + std::to_string(i) +
                    " lies outside [-2, 14), so the packed text changes it; sinew::saveExact keeps it.");
        }
        std::pair<char const*, std::size_t> const counts[] = {
            {"vertices", f_.params.size()}, {"scalars", f_.normaldots.size()}, {"facet entries", f_.facets.size()}};
        for (auto const& [what, count] : counts) {
            if (count <= kMostPackable) continue;
            add(MeshFault::unpackableCount, {}, static_cast<double>(count),
                std::to_string(count) + " " + what + " are more than the " + std::to_string(kMostPackable) +
                    " that the packed text can count; sinew::saveExact has no such limit.");
        }
    }

    MeshFunction2D const& f_;
    std::size_t vertexCount_;
    std::vector<Triangle> triangles_; // those whose vertices exist
    std::vector<bool> used_;          // of each vertex, whether one of these triangles names it
    MeshDiagnosis found_;
};

} // namespace

MeshDiagnosis diagnose(MeshFunction2D const& function)
{
    return MeshChecks(function).run();
}

} // namespace sinew
