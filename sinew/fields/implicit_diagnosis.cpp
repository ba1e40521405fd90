#include <algorithm>
#include <array>
#include <cmath>

#include <sinew/fields/detail/gauss_jordan.h>
#include <sinew/fields/detail/implicit_system.h>
#include <sinew/fields/implicit.h>

using namespace sinew::detail;

namespace sinew {

namespace {

using Kind = ImplicitProblem::Kind;

// How far from a plane points must lie to span space, relative to their extent. Well above the rounding of
// coordinates, well below what makes the linear part as good as undetermined.
constexpr double kFlat = 1e-12;

bool isFinite(Vector3 const& p)
{
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

std::string pointName(int index)
{
    return "Point " + std::to_string(index);
}

bool isBefore(Vector3 const& a, Vector3 const& b)
{
    if (a.x != b.x) return a.x < b.x;
    if (a.y != b.y) return a.y < b.y;
    return a.z < b.z;
}

void findRepeated(std::vector<Vector3> const& points, std::vector<int> indices, std::vector<ImplicitProblem>& problems)
{
    auto const at = [&points](int i) { return points[static_cast<std::size_t>(i)]; };
    std::stable_sort(indices.begin(), indices.end(), [&at](int a, int b) { return isBefore(at(a), at(b)); });
    std::vector<std::array<int, 2>> repeated;
    int first = -1;
    for (int i : indices) {
        if (first >= 0 && at(first) == at(i)) {
            repeated.push_back({first, i});
        } else {
            first = i;
        }
    }
    std::sort(repeated.begin(), repeated.end());
    for (auto const& [original, copy] : repeated) {
        problems.push_back({Kind::repeatedCentre, original, copy,
                            pointName(copy) + " is equal to point " + std::to_string(original) +
                                ", so the system has no unique solution."});
    }
}

// The vector that `measure` finds longest.
template <typename Measure>
Vector3 longest(std::vector<Vector3> const& vectors, Measure measure)
{
    return *std::max_element(vectors.begin(), vectors.end(),
                             [&measure](Vector3 const& a, Vector3 const& b) { return measure(a) < measure(b); });
}

// Whether the points, at least one, have no volume to their extent.
bool areCoplanar(std::vector<Vector3> const& points)
{
    // Halves first: the difference of two finite numbers may overflow, that of their halves not.
    std::vector<Vector3> offsets;
    offsets.reserve(points.size());
    double extent = 0;
    for (Vector3 const& p : points) {
        Vector3 const d = p * 0.5 - points[0] * 0.5;
        offsets.push_back(d);
        extent = std::max({extent, std::fabs(d.x), std::fabs(d.y), std::fabs(d.z)});
    }
    if (!(extent > 0)) return true;
    for (Vector3& d : offsets) d = {d.x / extent, d.y / extent, d.z / extent};

    // Distances from the first point, from the line to the farthest, from the plane through these and the next.
    Vector3 const along = longest(offsets, [](Vector3 const& d) { return d.lengthSq(); });
    Vector3 const normal = cross(along, longest(offsets, [&](Vector3 const& d) { return cross(along, d).lengthSq(); }));
    double const area = normal.length();
    if (area <= kFlat * along.length()) return true;
    Vector3 const highest = longest(offsets, [&](Vector3 const& d) { return std::fabs(normal * d); });
    return std::fabs(normal * highest) <= kFlat * area;
}

void tryElimination(std::vector<Vector3> const& points, std::vector<ImplicitProblem>& problems)
{
    GaussJordan system(static_cast<int>(points.size()) + kLinearTerms);
    fillImplicitSystem(points, system);
    switch (system.invert()) {
    case GaussJordan::Outcome::inverted:
        break;
    case GaussJordan::Outcome::vanishedPivot: {
        int const column = system.vanishedColumn();
        problems.push_back({Kind::vanishedPivot, column, -1,
                            "The elimination met a pivot of zero in column " + std::to_string(column) +
                                ": in double precision the system is singular."});
        break;
    }
    case GaussJordan::Outcome::notFinite:
        problems.push_back(
            {Kind::outOfRange, -1, -1,
             "The elimination left the range of double precision: bring the points to an extent near 1."});
        break;
    }
}

} // namespace

std::vector<ImplicitProblem> diagnose(std::vector<std::pair<Vector3, double>> const& pointsWithValues)
{
    std::vector<ImplicitProblem> problems;
    std::vector<Vector3> all;
    std::vector<Vector3> finite;
    std::vector<int> finiteIndices;
    for (auto const& [point, value] : pointsWithValues) {
        int const index = static_cast<int>(all.size());
        all.push_back(point);
        if (!isFinite(point)) {
            problems.push_back(
                {Kind::notFinite, index, -1, pointName(index) + " has a coordinate that is not finite."});
        } else {
            finite.push_back(point);
            finiteIndices.push_back(index);
            if (!std::isfinite(value)) {
                problems.push_back({Kind::notFinite, index, -1, pointName(index) + " has a value that is not finite."});
            }
        }
    }
    findRepeated(all, finiteIndices, problems);
    if (finite.size() < 4) {
        int const count = static_cast<int>(finite.size());
        problems.push_back({Kind::tooFewPoints, count, -1,
                            "There are " + std::to_string(count) + " usable points; a linear part needs at least 4."});
    } else if (areCoplanar(finite)) {
        problems.push_back(
            {Kind::coplanar, -1, -1, "All points lie in one plane, so the linear part is undetermined across it."});
    }
    if (problems.empty()) tryElimination(all, problems);
    return problems;
}

ImplicitCost estimateCost(std::size_t count)
{
    double const rows = static_cast<double>(count) + kLinearTerms;
    double const columns = std::ceil(rows / RowPiece::kColumns) * RowPiece::kColumns;
    // The matrix, the factors of one block of pivots, and what is kept of each row.
    double const bytesPerRow = (columns + RowPiece::kColumns) * sizeof(double) + 4 * sizeof(double);
    return {2 * rows * rows * columns, rows * bytesPerRow};
}

} // namespace sinew
