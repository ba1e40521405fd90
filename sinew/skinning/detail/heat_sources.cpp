#include <sinew/skinning/detail/heat_sources.h>

#include <algorithm>
#include <array>
#include <cmath>

#include <sinew/detail/as_index.h>
#include <sinew/skinning/detail/triangle_tree.h>

namespace sinew::detail {

namespace {

constexpr double kEquallyNear = 1e-4; // relative difference of distances up to which bones count as equally near
constexpr double kClosest = 1e-3;     // relative to the size of the piece; smaller distances count as this one

// The least heat, relative to the conductance of the place. It keeps the matrix positive definite in doubles, and warms
// places that no bone heats by so little that it cannot be noticed. The pivot of a place with n edges has rounding
// errors up to some n units in the last place of the conductance, so the heat grows with n if that is large.
constexpr double kLeastHeat = 0x1p-34;
constexpr double kLeastHeatOfEdge = 0x1p-44;
constexpr double kMostHeat = 0x1p400; // its sums and products with others are finite

constexpr std::size_t kSegmentsBetweenReports = 4096;

// The point of a bone nearest to p; exactly an end of the bone if that is nearest.
Vector3 nearestOn(HeatBone const& bone, Vector3 const& p)
{
    Vector3 const e = bone.end - bone.start;
    double const along = (p - bone.start) * e;
    double const lengthSq = e.lengthSq();
    if (!(along > 0.0)) return bone.start; // also for a bone without length
    return along < lengthSq ? bone.start + e * (along / lengthSq) : bone.end;
}

// The bones as one place sees them.
class View
{
public:
    View(std::vector<HeatBone> const& skeleton, TriangleTree const& tree)
        : skeleton_(skeleton), tree_(tree), nearest_(skeleton.size()), distances_(skeleton.size())
    {
    }

    void moveTo(Vector3 const& place)
    {
        place_ = place;
        for (std::size_t b = 0; b < skeleton_.size(); ++b) {
            nearest_[b] = nearestOn(skeleton_[b], place);
            distances_[b] = dist(nearest_[b], place);
        }
        least_ = *std::min_element(distances_.begin(), distances_.end());
    }

    /// The distance to the nearest bone.
    double least() const { return least_; }

    /// Appends the bones that heat this place: of the nearest ones those that are visible, or all of them if none is.
    Sight addBones(std::vector<int>& bones) const
    {
        std::size_t const before = bones.size();
        for (std::size_t b = 0; b < distances_.size(); ++b) {
            if (isNearest(b) && sees(b)) bones.push_back(static_cast<int>(b));
        }
        if (bones.size() > before) return Sight::lit;
        bool seesAnother = false;
        for (std::size_t b = 0; b < distances_.size(); ++b) {
            if (isNearest(b)) {
                bones.push_back(static_cast<int>(b));
            } else {
                seesAnother = seesAnother || sees(b);
            }
        }
        return seesAnother ? Sight::shaded : Sight::sightless;
    }

private:
    bool isNearest(std::size_t b) const { return distances_[b] <= least_ * (1.0 + kEquallyNear); }
    bool sees(std::size_t b) const { return !tree_.isCrossed(place_, nearest_[b]); }

    std::vector<HeatBone> const& skeleton_;
    TriangleTree const& tree_;
    Vector3 place_;
    std::vector<Vector3> nearest_; // the nearest point of each bone
    std::vector<double> distances_;
    double least_ = 0.0;
};

// The diagonal of the box of each piece.
std::vector<double> sizesOfPieces(HeatSurface const& surface)
{
    constexpr double kBeyond = TriangleTree::kLargest;
    Vector3 const beyond(kBeyond, kBeyond, kBeyond);
    std::vector<Vector3> low(surface.pieceCount, beyond), high(surface.pieceCount, -beyond);
    for (std::size_t i = 0; i < surface.places.size(); ++i) {
        Vector3 const& p = surface.places[i];
        Vector3& a = low[asIndex(surface.pieceOf[i])];
        Vector3& b = high[asIndex(surface.pieceOf[i])];
        a = {std::min(a.x, p.x), std::min(a.y, p.y), std::min(a.z, p.z)};
        b = {std::max(b.x, p.x), std::max(b.y, p.y), std::max(b.z, p.z)};
    }
    std::vector<double> sizes(surface.pieceCount);
    for (std::size_t k = 0; k < sizes.size(); ++k) sizes[k] = dist(low[k], high[k]);
    return sizes;
}

// For each piece whether all of its places are shaded.
std::vector<bool> findShadedPieces(HeatSurface const& surface, std::vector<Sight> const& sight)
{
    std::vector<bool> isShaded(surface.pieceCount, true);
    for (std::size_t i = 0; i < sight.size(); ++i) {
        if (sight[i] != Sight::shaded) isShaded[asIndex(surface.pieceOf[i])] = false;
    }
    return isShaded;
}

// The number of edges of each place.
std::vector<int> edgesOfPlaces(HeatSurface const& surface)
{
    std::vector<int> counts(surface.places.size(), 0);
    for (HeatEdge const& edge : surface.edges) {
        ++counts[asIndex(edge.high)];
        ++counts[asIndex(edge.low)];
    }
    return counts;
}

} // namespace

HeatSources heatSources(HeatSurface const& surface, std::vector<HeatBone> const& skeleton, bool hidesBones,
                        ProgressMeter* meter)
{
    std::size_t const count = surface.places.size();
    TriangleTree const tree(surface.places, hidesBones ? surface.triangles : std::vector<TriangleTree::Corners>());
    HeatSources sources;
    View view(skeleton, tree);
    std::vector<double> distances(count);
    std::size_t const placesBetweenReports = kSegmentsBetweenReports / skeleton.size() + 1;
    for (std::size_t i = 0; i < count; ++i) {
        if (meter && i % placesBetweenReports == 0) meter->reached(fractionOf(i, count));
        view.moveTo(surface.places[i]);
        distances[i] = view.least();
        sources.firstBone.push_back(sources.bones.size());
        sources.sight.push_back(view.addBones(sources.bones));
    }
    sources.firstBone.push_back(sources.bones.size());

    std::vector<double> const sizes = sizesOfPieces(surface);
    std::vector<bool> const isShaded = findShadedPieces(surface, sources.sight);
    sources.shadedPieces = static_cast<std::size_t>(std::count(isShaded.begin(), isShaded.end(), true));
    std::vector<int> const edges = edgesOfPlaces(surface);
    for (std::size_t i = 0; i < count; ++i) {
        double const conductance = surface.conductances[i];
        if (!(conductance > 0.0)) { // a row of its own, whose solution does not depend on the heat
            sources.heat.push_back(1.0);
            sources.leastHeat.push_back(1.0);
            continue;
        }
        std::size_t const piece = asIndex(surface.pieceOf[i]);
        double const least = std::max(kLeastHeat, kLeastHeatOfEdge * edges[i]) * conductance;
        double const d = std::max(distances[i], kClosest * sizes[piece]);
        bool const isHeated = sources.sight[i] != Sight::shaded || isShaded[piece];
        sources.heat.push_back(isHeated && d > 0.0 ? std::clamp(surface.areas[i] / d / d, least, kMostHeat) : least);
        sources.leastHeat.push_back(least);
    }
    return sources;
}

} // namespace sinew::detail
