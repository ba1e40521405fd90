// The operations of mesh functions on textures: removing triangles and remapping values.

#include <sinew/meshfunc/mesh_function_2d.h>

#include <algorithm>

#include <sinew/core/detail/progress_meter.h>
#include <sinew/detail/as_index.h>
#include <sinew/meshfunc/detail/mesh_cells.h>
#include <sinew/meshfunc/detail/mesh_search.h>
#include <sinew/meshfunc/texture_compaction.h>

using Point = tzNM::vect2<double>;
using sinew::detail::asIndex;
using sinew::detail::kCorners;
using sinew::detail::MeshFunctionAccess;
using sinew::detail::ProgressMeter;
using sinew::detail::triangleCorners;

namespace {

// The fraction at which the triangles are tested; the rest is the rebuild.
constexpr double kTested = 0.5;

// Number of triangles that are tested between two looks at the meter.
constexpr std::size_t kTrianglesPerLook = 256;

// Whether the axis-aligned box of the corners' values contains no used texel.
bool isEmpty(EmptyRectTester const& tester, std::vector<Point> const& values, int const corners[kCorners])
{
    Point low = values[asIndex(corners[0])];
    Point high = low;
    for (std::size_t i = 1; i < kCorners; ++i) {
        Point const& v = values[asIndex(corners[i])];
        low = {std::min(low.x, v.x), std::min(low.y, v.y)};
        high = {std::max(high.x, v.x), std::max(high.y, v.y)};
    }
    return tester.isRectEmpty(low.x, low.y, high.x, high.y);
}

// Removes the triangles that cover no used texel or name a missing vertex.
void eraseTriangles(EmptyRectTester const& tester, std::vector<Point> const& values, std::size_t vertexCount,
                    std::vector<int>* facets, ProgressMeter* meter)
{
    std::size_t const before = facets->size();
    std::size_t n = before;
    std::size_t looks = 0;
    for (std::size_t i = 0; i < n;) {
        if (meter && ++looks % kTrianglesPerLook == 0)
            meter->reached(sinew::detail::fractionOf(before - n + i, before));
        int corners[kCorners];
        if (triangleCorners(*facets, i / kCorners, vertexCount, corners) && !isEmpty(tester, values, corners)) {
            i += kCorners;
            continue;
        }
        // The last triangle takes this place and is tested there. If this is the last triangle, the copy changes
        // nothing.
        for (std::size_t k = 0; k < kCorners; ++k) (*facets)[i + k] = (*facets)[n - kCorners + k];
        n -= kCorners;
    }
    facets->resize(n);
}

constexpr int kUnused = -1;

// For each vertex its new index when only the vertices of triangles are kept; kUnused for the others.
std::vector<int> newIndices(std::vector<int> const& facets, std::size_t vertexCount)
{
    std::vector<int> indices(vertexCount, kUnused);
    for (int const vertex : facets) indices[asIndex(vertex)] = 0;
    int count = 0;
    for (int& index : indices) {
        if (index != kUnused) index = count++;
    }
    return indices;
}

// Keeps the entries that have a new index, at that index.
template <typename T>
void compact(std::vector<T>& entries, std::vector<int> const& indices)
{
    std::size_t count = 0;
    for (std::size_t i = 0; i < indices.size(); ++i) {
        if (indices[i] != kUnused) entries[count++] = entries[i];
    }
    entries.resize(count);
}

} // namespace

void MeshFunction2D::eraseExtraTriangles(EmptyRectTester const& tester)
{
    MeshFunctionAccess::eraseExtraTriangles(this, tester, nullptr);
}

void MeshFunctionAccess::eraseExtraTriangles(MeshFunction2D* f, EmptyRectTester const& tester, ProgressMeter* meter)
{
    if (f->facets.size() % kCorners != 0) return;
    if (meter) meter->beginStep(0.0, kTested);
    std::size_t const vertexCount = std::min(f->params.size(), f->values.size());
    eraseTriangles(tester, f->values, vertexCount, &f->facets, meter);

    std::vector<int> const indices = newIndices(f->facets, vertexCount);
    if (f->normaldots.size() == f->params.size()) compact(f->normaldots, indices);
    compact(f->params, indices);
    compact(f->values, indices);
    for (int& vertex : f->facets) vertex = indices[asIndex(vertex)];
    if (meter) meter->beginStep(kTested, 1.0);
    initEvaluatorHelper(f, meter);
}

void MeshFunction2D::remapToOptimized(TextureOptimizer const& optimizer)
{
    for (Point& value : values) {
        Point mapped;
        optimizer.mapCoord(value.x, value.y, mapped.x, mapped.y);
        value = mapped;
    }
}
