// Point location in nested uniform grids.
//
// Sources: M. Edahiro, I. Kokubo, T. Asano, A new point-location algorithm and its practical efficiency, ACM
// Transactions on Graphics 3(2), 1984 (cells with lists); D. Jevans, B. Wyvill, Adaptive voxel subdivision for ray
// tracing, Graphics Interface 1989 (a grid inside a crowded cell); D. E. Knuth, The Art of Computer Programming,
// volume 3, 2nd edition 1998, section 6.4 (overflow buckets).

#include <sinew/meshfunc/detail/cell_triangles.h>

#include <utility>

namespace sinew::detail {

CellTriangles::CellTriangles(FinerGrids finer, std::vector<PreparedTriangle> own, PreparedTriangle const* shared,
                             bool refuses)
    : finer_(std::move(finer)), own_(std::move(own)), refuses_(refuses)
{
    triangles_ = shared ? shared : own_.data();
}

// Tests the triangles of one bucket. Returns whether one of them accepts `p`; if not, `last` is the link that says
// where the search continues.
//
// The processor cannot predict which of a few candidates accepts the point, and a wrongly predicted branch costs more
// than testing another triangle. So the candidates are tested in pairs, and the first one to accept is selected without
// a branch.
inline bool CellTriangles::findInBucket(CellBucket const& bucket, tzNM::vect2<double> const& p, CellLink* last,
                                        TriangleHit* hit) const
{
    static_assert(CellBucket::kLinks % 2 == 0);
    for (std::size_t k = 0; k < CellBucket::kLinks; k += 2) {
        CellLink const first = bucket.links[k];
        CellLink const second = bucket.links[k + 1];
        if (!first.isTriangle()) {
            *last = first;
            return false;
        }
        // A link that is no triangle is replaced by the first triangle, so that two triangles are tested in any case.
        CellLink::Number const numbers[2] = {first.triangle(), (second.isTriangle() ? second : first).triangle()};
        Weights const weights[2] = {weightsOf(triangles_[numbers[0]], p), weightsOf(triangles_[numbers[1]], p)};
        bool const firstAccepts = weights[0].accepted();
        if (static_cast<int>(firstAccepts) | static_cast<int>(weights[1].accepted())) {
            auto const chosen = static_cast<std::size_t>(!firstAccepts);
            *hit = {&triangles_[numbers[chosen]], weights[chosen]};
            return true;
        }
        if (!second.isTriangle()) {
            *last = second;
            return false;
        }
    }
    *last = CellLink(); // four triangles: the list ends with the bucket
    return false;
}

bool CellTriangles::find(tzNM::vect2<double> const& p, TriangleHit* hit) const
{
    CellBucket const* bucket = &firstBucket(p);
    for (;;) {
        CellLink last;
        if (findInBucket(*bucket, p, &last, hit)) return true;
        if (last.isEnd()) return false;
        std::size_t const next = last.isGrid() ? finer_.inner[last.number()].indexOf(p) : last.number();
        bucket = &finer_.buckets[next];
    }
}

std::size_t CellTriangles::memory() const
{
    return sizeof *this + own_.capacity() * sizeof(PreparedTriangle) + finer_.buckets.capacity() * sizeof(CellBucket) +
           finer_.inner.capacity() * sizeof(FinerGrid);
}

} // namespace sinew::detail
