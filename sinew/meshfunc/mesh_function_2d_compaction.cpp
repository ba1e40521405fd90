// The operations of mesh functions on textures: removing triangles and remapping values.

#include <sinew/meshfunc/mesh_function_2d.h>

#include <algorithm>

#include <sinew/detail/as_index.h>
#include <sinew/meshfunc/detail/mesh_cells.h>
#include <sinew/meshfunc/texture_compaction.h>

using Point = tzNM::vect2<double>;
using sinew::detail::asIndex;
using sinew::detail::kCorners;
using sinew::detail::triangleCorners;

namespace {

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
                    std::vector<int>* facets)
{
    std::size_t n = facets->size();
    for (std::size_t i = 0; i < n;) {
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
    if (facets.size() % kCorners != 0) return;
    std::size_t const vertexCount = std::min(params.size(), values.size());
    eraseTriangles(tester, values, vertexCount, &facets);

    std::vector<int> const indices = newIndices(facets, vertexCount);
    if (normaldots.size() == params.size()) compact(normaldots, indices);
    compact(params, indices);
    compact(values, indices);
    for (int& vertex : facets) vertex = indices[asIndex(vertex)];
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
