#include <algorithm>

#include <sinew/meshfunc/detail/mesh_cells.h>
#include <sinew/meshfunc/mesh_function_2d.h>
#include <sinew/meshfunc/texture_compaction.h>

using Point = tzNM::vect2<double>;
using sinew::detail::triangleCorners;

namespace {

// Whether the rectangle around the corners' values shows no used texel.
bool isEmpty(EmptyRectTester const& tester, std::vector<Point> const& values, int const corners[3])
{
    Point low = values[static_cast<std::size_t>(corners[0])];
    Point high = low;
    for (int i = 1; i < 3; ++i) {
        Point const& v = values[static_cast<std::size_t>(corners[i])];
        low = {std::min(low.x, v.x), std::min(low.y, v.y)};
        high = {std::max(high.x, v.x), std::max(high.y, v.y)};
    }
    return tester.isRectEmpty(low.x, low.y, high.x, high.y);
}

// For every vertex its place among those that a triangle uses, or -1.
std::vector<int> placesAmongUsed(std::vector<int> const& facets, std::size_t vertexCount)
{
    std::vector<int> places(vertexCount, -1);
    for (int vertex : facets) places[static_cast<std::size_t>(vertex)] = 0;
    int count = 0;
    for (int& place : places) {
        if (place == 0) place = count++;
    }
    return places;
}

// Keeps the entries that have a place, each at that place.
template <typename T>
void compact(std::vector<T>& entries, std::vector<int> const& places)
{
    std::size_t count = 0;
    for (std::size_t i = 0; i < places.size(); ++i) {
        if (places[i] >= 0) entries[count++] = entries[i];
    }
    entries.resize(count);
}

} // namespace

void MeshFunction2D::eraseExtraTriangles(EmptyRectTester const& tester)
{
    if (facets.size() % 3 != 0) return;
    std::size_t const vertexCount = std::min(params.size(), values.size());
    std::size_t n = facets.size();
    for (std::size_t i = 0; i < n;) {
        int corners[3];
        bool const keep = triangleCorners(facets, i / 3, vertexCount, corners) && !isEmpty(tester, values, corners);
        if (keep) {
            i += 3;
            continue;
        }
        // The last triangle takes its place and is examined there; for the last one itself nothing changes.
        for (std::size_t k = 0; k < 3; ++k) facets[i + k] = facets[n - 3 + k];
        n -= 3;
    }
    facets.resize(n);

    std::vector<int> const places = placesAmongUsed(facets, vertexCount);
    if (normaldots.size() == params.size()) compact(normaldots, places);
    compact(params, places);
    compact(values, places);
    for (int& vertex : facets) vertex = places[static_cast<std::size_t>(vertex)];
    initEvaluatorHelper();
}

void MeshFunction2D::remapToOptimized(TextureOptimizer const& optimizer)
{
    for (Point& value : values) {
        Point mapped;
        optimizer.mapCoord(value.x, value.y, mapped.x, mapped.y);
        value = mapped;
    }
}
