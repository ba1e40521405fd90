#include <sinew/fields/implicit.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string>

#include <sinew/core/detail/progress_meter.h>
#include <sinew/detail/as_index.h>
#include <sinew/fields/detail/gauss_jordan.h>
#include <sinew/fields/detail/implicit_system.h>

using namespace sinew::detail;

namespace sinew {

namespace {

using Samples = std::vector<std::pair<Vector3, double>>;
using Findings = std::vector<Finding<ImplicitFault>>;

// Thickness up to which a set of points counts as coplanar, relative to its extent. It is far above the rounding of
// coordinates, and far below a thickness at which the linear part is determined with useful accuracy.
constexpr double kCoplanarThickness = 1e-12;

// The fraction at which the system is filled; the elimination takes nearly all of the time.
constexpr double kFilled = 0.02;

// A linear part has four terms, so it takes four points to determine it.
constexpr std::size_t kLeastPoints = kLinearTerms;

bool isFinite(Vector3 const& p)
{
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

void findNotFinite(Samples const& samples, Findings& findings)
{
    for (std::size_t i = 0; i < samples.size(); ++i) {
        auto const& [point, value] = samples[i];
        std::int64_t const index = static_cast<std::int64_t>(i);
        std::string const name = "Point " + std::to_string(i);
        if (!isFinite(point)) {
            double const coordinate = !std::isfinite(point.x) ? point.x : !std::isfinite(point.y) ? point.y : point.z;
            findings.push_back(
                {ImplicitFault::notFinite, {index}, coordinate, name + " has a coordinate that is not finite."});
        } else if (!std::isfinite(value)) {
            findings.push_back({ImplicitFault::notFinite, {index}, value, name + " has a value that is not finite."});
        }
    }
}

// The indices of the points with finite coordinates, in ascending order.
std::vector<std::int64_t> finitePoints(Samples const& samples)
{
    std::vector<std::int64_t> indices;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (isFinite(samples[i].first)) indices.push_back(static_cast<std::int64_t>(i));
    }
    return indices;
}

bool isBefore(Vector3 const& a, Vector3 const& b)
{
    if (a.x != b.x) return a.x < b.x;
    if (a.y != b.y) return a.y < b.y;
    return a.z < b.z;
}

void findRepeated(Samples const& samples, std::vector<std::int64_t> indices, Findings& findings)
{
    auto const at = [&samples](std::int64_t i) { return samples[asIndex(i)].first; };
    std::stable_sort(indices.begin(), indices.end(),
                     [&at](std::int64_t a, std::int64_t b) { return isBefore(at(a), at(b)); });
    std::vector<std::array<std::int64_t, 2>> repeated;
    std::int64_t first = -1;
    for (std::int64_t i : indices) {
        if (first >= 0 && at(first) == at(i)) {
            repeated.push_back({first, i});
        } else {
            first = i;
        }
    }
    std::sort(repeated.begin(), repeated.end());
    for (auto const& [original, copy] : repeated) {
        findings.push_back({ImplicitFault::repeatedCentre,
                            {original, copy},
                            0.0,
                            "Points " + std::to_string(original) + " and " + std::to_string(copy) +
                                " are equal, so the system has no unique solution."});
    }
}

// The vector with the largest `measure`, the first of equal ones.
template <typename Measure>
Vector3 longest(std::vector<Vector3> const& vectors, Measure measure)
{
    return *std::max_element(vectors.begin(), vectors.end(),
                             [&measure](Vector3 const& a, Vector3 const& b) { return measure(a) < measure(b); });
}

// The differences of the points from the first of them, divided by their largest coordinate. Empty if all are zero.
std::vector<Vector3> normalisedOffsets(Samples const& samples, std::vector<std::int64_t> const& indices)
{
    std::vector<Vector3> offsets;
    offsets.reserve(indices.size());
    double extent = 0;
    Vector3 const& origin = samples[asIndex(indices[0])].first;
    for (std::int64_t i : indices) {
        // Halves, since the difference of two finite numbers can overflow, and that of their halves cannot.
        Vector3 const d = samples[asIndex(i)].first * 0.5 - origin * 0.5;
        offsets.push_back(d);
        extent = std::max({extent, std::fabs(d.x), std::fabs(d.y), std::fabs(d.z)});
    }
    if (!(extent > 0)) return {};
    for (Vector3& d : offsets) d = {d.x / extent, d.y / extent, d.z / extent};
    return offsets;
}

// Whether finite points, at least one, lie in one plane. Three distances decide: from the first point to the farthest
// one, from the line through both to the point farthest from it, and from the plane through all three to the point
// farthest from it.
bool areCoplanar(Samples const& samples, std::vector<std::int64_t> const& indices)
{
    std::vector<Vector3> const offsets = normalisedOffsets(samples, indices);
    if (offsets.empty()) return true;
    Vector3 const along = longest(offsets, [](Vector3 const& d) { return d.lengthSq(); });
    Vector3 const normal = cross(along, longest(offsets, [&](Vector3 const& d) { return cross(along, d).lengthSq(); }));
    double const area = normal.length();
    if (area <= kCoplanarThickness * along.length()) return true;
    Vector3 const highest = longest(offsets, [&](Vector3 const& d) { return std::fabs(normal * d); });
    return std::fabs(normal * highest) <= kCoplanarThickness * area;
}

void findDegenerate(Samples const& samples, std::vector<std::int64_t> const& indices, Findings& findings)
{
    if (indices.size() < kLeastPoints) {
        findings.push_back({ImplicitFault::tooFewPoints,
                            {},
                            static_cast<double>(indices.size()),
                            "The number of points with finite coordinates is " + std::to_string(indices.size()) +
                                ", but the linear part needs at least " + std::to_string(kLeastPoints) + "."});
    } else if (areCoplanar(samples, indices)) {
        findings.push_back({ImplicitFault::coplanar,
                            {},
                            0.0,
                            "All points lie in one plane, so the linear part is undetermined across this plane."});
    }
}

void tryElimination(Samples const& samples, Findings& findings, ProgressMeter* meter)
{
    std::vector<Vector3> centres;
    centres.reserve(samples.size());
    for (auto const& sample : samples) centres.push_back(sample.first);
    GaussJordan system(static_cast<int>(centres.size()) + kLinearTerms);
    beginPhase(meter, 0.0, kFilled);
    fillImplicitSystem(centres, system, meter);
    beginPhase(meter, kFilled, 1.0);
    switch (system.invert(widestVectors(), meter)) {
    case GaussJordan::Outcome::inverted:
        break;
    case GaussJordan::Outcome::zeroPivot:
        findings.push_back({ImplicitFault::zeroPivot,
                            {system.zeroPivotColumn()},
                            0.0,
                            "The elimination found a pivot of zero in column " +
                                std::to_string(system.zeroPivotColumn()) +
                                ", so the system is singular in double precision."});
        break;
    case GaussJordan::Outcome::notFinite:
        findings.push_back({ImplicitFault::outOfRange,
                            {},
                            0.0,
                            "The elimination exceeded the range of double precision; scale the points to an extent "
                            "near 1."});
        break;
    }
}

ImplicitDiagnosis examine(Samples const& pointsWithValues, ProgressMeter* meter)
{
    ImplicitDiagnosis diagnosis;
    std::vector<std::int64_t> const finite = finitePoints(pointsWithValues);
    findNotFinite(pointsWithValues, diagnosis.findings);
    findRepeated(pointsWithValues, finite, diagnosis.findings);
    findDegenerate(pointsWithValues, finite, diagnosis.findings);
    if (diagnosis.findings.empty()) tryElimination(pointsWithValues, diagnosis.findings, meter);
    return diagnosis;
}

} // namespace

ImplicitDiagnosis diagnose(std::vector<std::pair<Vector3, double>> const& pointsWithValues)
{
    return examine(pointsWithValues, nullptr);
}

std::optional<ImplicitDiagnosis> diagnose(std::vector<std::pair<Vector3, double>> const& pointsWithValues,
                                          Progress const& progress)
{
    return withProgress(progress, [&](ProgressMeter& meter) {
        ImplicitDiagnosis diagnosis = examine(pointsWithValues, &meter);
        meter.finish();
        return diagnosis;
    });
}

ImplicitCost estimateCost(std::size_t count)
{
    double const rows = static_cast<double>(count) + kLinearTerms;
    double const columns = std::ceil(rows / RowPiece::kColumns) * RowPiece::kColumns;
    // For each row: the matrix, the factors of one block of pivots, and four numbers (the zero, the flag and the index
    // of the elimination, and the right side).
    double const bytesPerRow = (columns + RowPiece::kColumns) * sizeof(double) + 4 * sizeof(double);
    return {2 * rows * rows * columns, rows * bytesPerRow};
}

} // namespace sinew
