#include <sinew/meshfunc/detail/cell_triangles.h>

#include <sinew/meshfunc/detail/mesh_cells.h>

namespace sinew::detail {

namespace {

/// The weights of a point in a triangle.
struct Weights
{
    double u, v, w;

    Weights(LocatedTriangle const& triangle, tzNM::vect2<double> const& p)
    {
        tzNM::vect2<double> const d = p - triangle.origin;
        u = triangle.inverse[0] * d.x + triangle.inverse[1] * d.y;
        v = triangle.inverse[2] * d.x + triangle.inverse[3] * d.y;
        w = 1 - u - v;
    }
    /// A NaN weight is not below the tolerance and accepts, as it does everywhere.
    bool accept() const
    {
        return !(static_cast<int>(u < -kInsideTolerance) | static_cast<int>(v < -kInsideTolerance) |
                 static_cast<int>(w < -kInsideTolerance));
    }
};

} // namespace

// Which of a few candidates holds the point is as good as random, and a wrongly foreseen branch costs more than testing
// another triangle. So two are tested at a time, and the first to accept is selected without a branch.
bool CellTriangles::find(tzNM::vect2<double> const& p, Located* located) const
{
    Bucket const* bucket = &buckets_[root_.index(root_.cell(p.x, 0), root_.cell(p.y, 1))];
    for (;;) {
        Reference const* references = bucket->references;
        Reference link = references[0];
        for (int k = 0; k < 4; k += 2) {
            link = references[k];
            if (link >= kBucket) break;
            link = references[k + 1];
            Reference const pair[2] = {references[k], link < kBucket ? link : references[k]};
            Weights const first(triangles_[pair[0]], p), second(triangles_[pair[1]], p);
            bool const firstAccepts = first.accept();
            if (firstAccepts | second.accept()) {
                Weights const candidates[2] = {first, second};
                Weights const& chosen = candidates[!firstAccepts];
                *located = {triangles_[pair[!firstAccepts]].corners, chosen.u, chosen.v, chosen.w};
                return true;
            }
            if (link >= kBucket) break;
        }
        if (link < kBucket || link == kNothing) return false; // a full bucket without a link ends the list
        if (link & kGrid) {
            FinerGrid const& grid = grids_[link & ~kGrid];
            bucket = &buckets_[grid.index(grid.cell(p.x, 0), grid.cell(p.y, 1))];
        } else {
            bucket = &buckets_[link & ~kBucket];
        }
    }
}

std::size_t CellTriangles::memory() const
{
    return sizeof *this + own_.capacity() * sizeof(LocatedTriangle) + buckets_.capacity() * sizeof(Bucket) +
           grids_.capacity() * sizeof(FinerGrid);
}

} // namespace sinew::detail
