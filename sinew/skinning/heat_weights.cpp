#include <sinew/skinning/heat_weights.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>

#include <sinew/core/detail/power_scale.h>
#include <sinew/core/detail/progress_meter.h>
#include <sinew/core/detail/real_array.h>
#include <sinew/detail/as_index.h>
#include <sinew/detail/element_count.h>
#include <sinew/framework/detail/first_findings.h>
#include <sinew/framework/detail/number_text.h>
#include <sinew/skinning/detail/heat_sources.h>
#include <sinew/skinning/detail/heat_surface.h>
#include <sinew/sparse/builders.h>
#include <sinew/sparse/compact_factor.h>

namespace sinew {

using namespace detail;

namespace {

constexpr int kDigits = 6; // significant digits of a number in a sentence

// The fractions of the work at which the sources and the factor are known.
constexpr double kHeated = 0.35;
constexpr double kFactored = 0.8;

constexpr std::size_t kGroup = 8; // bones that are solved together

// The factor by which the least heat is raised at a time, and a raise with which every matrix has a factor: the heat of
// a place then exceeds its conductance.
constexpr double kHeatRaise = 0x1p8;
constexpr double kMostRaise = 0x1p48;

using Corners = std::array<int, 3>;

// The sentence without its end.
std::string statement(Finding<HeatFault> const& finding)
{
    std::vector<std::int64_t> const& at = finding.indices;
    switch (finding.kind) {
    case HeatFault::tooLarge:
        return "There are " + std::to_string(at[0]) + " vertices, " + std::to_string(at[1]) + " triangles and " +
               std::to_string(at[2]) + " bones, which is more than an int can count";
    case HeatFault::noBones:
        return "The skeleton has no bones";
    case HeatFault::vertexNotFinite:
        return "Vertex " + std::to_string(at[0]) + " has the coordinate " + numberText(finding.value, kDigits) +
               ", which is not finite";
    case HeatFault::boneNotFinite:
        return "Bone " + std::to_string(at[0]) + " has the coordinate " + numberText(finding.value, kDigits) +
               ", which is not finite";
    case HeatFault::cornerOutOfRange:
        break;
    }
    return "Triangle " + std::to_string(at[0]) + " has the corner " + std::to_string(at[1]) + ", which is no vertex";
}

bool isFinite(Vector3 const& v)
{
    return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

double firstNotFinite(Vector3 const& v)
{
    return !std::isfinite(v.x) ? v.x : (!std::isfinite(v.y) ? v.y : v.z);
}

// The input as vectors, or the faults for which it is refused.
class Input
{
public:
    Input(HeatMesh const& mesh, std::vector<BoneSegment> const& skeleton)
    {
        if (checkSizes(mesh, skeleton.size())) {
            takePositions(mesh.positions);
            takeBones(skeleton);
            takeTriangles(mesh.triangles);
        }
        findings_ = refusal_.take(statement);
        if (findings_.empty()) scale();
    }

    std::vector<Finding<HeatFault>>& findings() { return findings_; }
    std::vector<Vector3> const& positions() const { return positions_; }
    std::vector<Corners> const& triangles() const { return triangles_; }
    std::vector<HeatBone> const& skeleton() const { return skeleton_; }

private:
    bool checkSizes(HeatMesh const& mesh, std::size_t bones)
    {
        std::uint64_t const counts[] = {elementsOf(mesh.positions), elementsOf(mesh.triangles), bones};
        if (*std::max_element(counts, counts + 3) > std::numeric_limits<int>::max()) {
            refusal_.add(HeatFault::tooLarge, {shownCount(counts[0]), shownCount(counts[1]), shownCount(counts[2])});
            return false;
        }
        if (bones == 0) refusal_.add(HeatFault::noBones, {});
        return true;
    }

    void takePositions(RealArray const& positions)
    {
        positions_.resize(elementCount<Vector3>(elementsOf(positions)));
        for (std::size_t v = 0; v < positions_.size(); ++v) {
            positions_[v] = vectorAt(positions, v);
            if (isFinite(positions_[v])) continue;
            refusal_.add(HeatFault::vertexNotFinite, {static_cast<std::int64_t>(v)}, firstNotFinite(positions_[v]));
        }
    }

    void takeBones(std::vector<BoneSegment> const& skeleton)
    {
        for (std::size_t b = 0; b < skeleton.size(); ++b) {
            Vector3 const& start = skeleton[b].start;
            Vector3 const& end = skeleton[b].end;
            skeleton_.push_back({start, end});
            if (isFinite(start) && isFinite(end)) continue;
            double const value = firstNotFinite(isFinite(start) ? end : start);
            refusal_.add(HeatFault::boneNotFinite, {static_cast<std::int64_t>(b)}, value);
        }
    }

    void takeTriangles(IntegerArray const& triangles)
    {
        triangles_.resize(elementCount<Corners>(elementsOf(triangles)));
        auto const vertices = static_cast<std::int64_t>(positions_.size());
        for (std::size_t t = 0; t < triangles_.size(); ++t) {
            for (std::size_t k = 0; k < 3; ++k) {
                std::int64_t const corner = integerAt(triangles, t, k);
                bool const isVertex = corner >= 0 && corner < vertices;
                if (!isVertex) refusal_.add(HeatFault::cornerOutOfRange, {static_cast<std::int64_t>(t), corner});
                triangles_[t][k] = isVertex ? static_cast<int>(corner) : 0;
            }
        }
    }

    // Multiplies all coordinates by one power of two, so that the largest one is between 2 and 4.
    void scale()
    {
        std::uint64_t largest = 0;
        auto const include = [&](Vector3 const& v) {
            largest = std::max({largest, magnitudeBits(v.x), magnitudeBits(v.y), magnitudeBits(v.z)});
        };
        for (Vector3 const& p : positions_) include(p);
        for (HeatBone const& bone : skeleton_) {
            include(bone.start);
            include(bone.end);
        }
        double const to = powerScale(largest).to;
        for (Vector3& p : positions_) p *= to;
        for (HeatBone& bone : skeleton_) {
            bone.start *= to;
            bone.end *= to;
        }
    }

    std::vector<Vector3> positions_;
    std::vector<Corners> triangles_;
    std::vector<HeatBone> skeleton_;
    FirstFindings<HeatFault> refusal_;
    std::vector<Finding<HeatFault>> findings_;
};

// L + A H, as the entries of its lower triangle.
SPDMatrix balanceOf(HeatSurface const& surface, std::vector<double> const& heat)
{
    std::vector<Triplet> triplets;
    triplets.reserve(elementCount<Triplet>(std::uint64_t{surface.edges.size()} + heat.size()));
    for (HeatEdge const& edge : surface.edges) triplets.push_back({edge.high, edge.low, -edge.conductance});
    for (std::size_t i = 0; i < heat.size(); ++i) {
        int const row = static_cast<int>(i);
        triplets.push_back({row, row, surface.conductances[i] + heat[i]});
    }
    return fromTriplets(static_cast<std::int64_t>(heat.size()), triplets).matrix;
}

CompactFactor factorOf(SPDMatrix const& matrix, ProgressMeter* meter)
{
    if (!meter) return CompactFactor(matrix);
    meter->beginPhase(kHeated, kFactored);
    auto const tell = [meter](double fraction) {
        meter->reached(fraction);
        return true;
    };
    std::optional<CompactFactor> factor = makeCompactFactor(matrix, Progress(tell, 0.0));
    if (!factor) throw Cancelled(); // as `reached` has thrown
    return std::move(*factor);
}

// A factor with numbers, of the matrix with the least heat that has one. In a mesh of millions of triangles around one
// vertex, rounding errors can exceed the heat of a place; it is then raised.
CompactFactor heatedFactor(HeatSurface const& surface, HeatSources& sources, ProgressMeter* meter)
{
    for (double raise = kHeatRaise;; raise *= kHeatRaise) {
        CompactFactor factor = factorOf(balanceOf(surface, sources.heat), meter);
        if (factor.hasNumbers() || surface.places.empty() || raise > kMostRaise) return factor;
        for (std::size_t i = 0; i < sources.heat.size(); ++i) {
            sources.heat[i] = std::max(sources.heat[i], raise * sources.leastHeat[i]);
        }
    }
}

// The solutions for all bones, vertex by vertex.
std::vector<double> temperatures(HeatSurface const& surface, HeatSources const& sources, std::size_t bones,
                                 CompactFactor const& factor, ProgressMeter* meter)
{
    std::size_t const places = surface.places.size();
    std::size_t const vertices = surface.placeOf.size();
    std::vector<double> result(elementCount<double>(std::uint64_t{vertices} * bones));
    std::vector<double> group(elementCount<double>(std::uint64_t{places} * std::min(bones, kGroup)));
    std::vector<std::size_t> next = sources.firstBone; // of each place, its first bone that is not in an earlier group
    beginPhase(meter, kFactored, 1.0);
    for (std::size_t first = 0; first < bones; first += kGroup) {
        if (meter) meter->reached(fractionOf(first, bones));
        std::size_t const count = std::min(kGroup, bones - first);
        std::fill(group.begin(), group.end(), 0.0);
        for (std::size_t i = 0; i < places; ++i) {
            std::size_t const end = sources.firstBone[i + 1];
            double const share = sources.heat[i] / static_cast<double>(end - sources.firstBone[i]);
            for (; next[i] < end && asIndex(sources.bones[next[i]]) < first + count; ++next[i]) {
                group[(asIndex(sources.bones[next[i]]) - first) * places + i] = share;
            }
        }
        bool const isSolved = factor.solveMany(group.data(), count, places);
        assert(isSolved); // the factor has numbers
        static_cast<void>(isSolved);
        for (std::size_t v = 0; v < vertices; ++v) {
            double const* const own = group.data() + surface.placeOf[v];
            for (std::size_t k = 0; k < count; ++k) result[v * bones + first + k] = own[k * places];
        }
    }
    return result;
}

// Removes the rounding errors of the solutions: weights below 0, and sums other than 1.
void normalize(HeatWeights& result)
{
    for (std::size_t first = 0; first < result.weights.size(); first += result.boneCount) {
        double* const row = result.weights.data() + first;
        double sum = 0.0;
        for (std::size_t b = 0; b < result.boneCount; ++b) sum += row[b] = std::max(row[b], 0.0);
        for (std::size_t b = 0; b < result.boneCount; ++b) row[b] /= sum;
        result.largestCorrection = std::max(result.largestCorrection, std::fabs(sum - 1.0));
    }
}

void count(HeatSurface const& surface, HeatSources const& sources, HeatWeights& result)
{
    result.unknowns = surface.places.size();
    result.joined = surface.placeOf.size() - surface.places.size();
    result.raisedEdges = surface.raisedEdges;
    result.shadedPieces = sources.shadedPieces;
    result.pieces = surface.pieceCount;
    for (double const conductance : surface.conductances) {
        if (!(conductance > 0.0)) --result.pieces;
    }
    for (int const place : surface.placeOf) {
        std::size_t const i = asIndex(place);
        if (!(surface.conductances[i] > 0.0)) ++result.isolated;
        if (sources.sight[i] == Sight::shaded) ++result.shaded;
        if (sources.sight[i] == Sight::sightless) ++result.sightless;
    }
}

HeatWeights balance(HeatMesh const& mesh, std::vector<BoneSegment> const& skeleton, BoneVisibility visibility,
                    ProgressMeter* meter)
{
    HeatWeights result;
    Input input(mesh, skeleton);
    result.findings = std::move(input.findings());
    if (!result.findings.empty()) return result;
    result.boneCount = skeleton.size();

    HeatSurface const surface = heatSurface(input.positions(), input.triangles());
    beginPhase(meter, 0.0, kHeated);
    HeatSources sources = heatSources(surface, input.skeleton(), visibility == BoneVisibility::respected, meter);
    count(surface, sources, result);
    result.matrixEntries = surface.edges.size() + surface.places.size();
    CompactFactor const factor = heatedFactor(surface, sources, meter);
    result.factorEntries = static_cast<std::size_t>(factor.entryCount());
    result.weights = temperatures(surface, sources, result.boneCount, factor, meter);
    normalize(result);
    return result;
}

} // namespace

HeatWeights heatWeights(HeatMesh const& mesh, std::vector<BoneSegment> const& skeleton, BoneVisibility visibility)
{
    return balance(mesh, skeleton, visibility, nullptr);
}

std::optional<HeatWeights> heatWeights(HeatMesh const& mesh, std::vector<BoneSegment> const& skeleton,
                                       BoneVisibility visibility, Progress const& progress)
{
    return withProgress(progress, [&](ProgressMeter& meter) {
        HeatWeights result = balance(mesh, skeleton, visibility, &meter);
        meter.finish();
        return result;
    });
}

} // namespace sinew
