#include <sinew/meshfunc/detail/raster_job.h>

#include <cmath>

namespace sinew::detail {

void collectTriangles(MeshFunction2D const& f, std::vector<int> const& list, RasterAxis const& columns,
                      RasterAxis const& rows, PixelBox const& pixels, DrawnTriangles* out)
{
    std::size_t const vertexCount = vertexCountOf(f);
    for (int const t : list) {
        int corners[kCorners];
        // A negative number becomes a large one, which is no triangle either.
        if (!triangleCorners(f.facets, static_cast<std::size_t>(t), vertexCount, corners)) continue;
        TriangleEdges const edges(f.params, corners);
        double const det = edges.determinant();
        if (std::fabs(det) < kGramZero) continue;
        Box const cover =
            coverOf(f.params[asIndex(corners[0])], f.params[asIndex(corners[1])], f.params[asIndex(corners[2])], det);
        PixelBox const box = {columns.within(pixels.columns, cover.low.x, cover.high.x),
                              rows.within(pixels.rows, cover.low.y, cover.high.y)};
        if (box.isEmpty()) continue;
        out->records.push_back(preparedTriangle(f.params, corners, edges, det, t));
        out->boxes.push_back(box);
    }
}

} // namespace sinew::detail
