#pragma once

/// The contenders of the benches of proximity tests: sinew and its reference implementation, hash tables of cells, and
/// a kd-tree.
///
/// Hash of cells: M. Teschner et al., Optimized Spatial Hashing for Collision Detection of Deformable Objects, 2003.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <unordered_map>
#include <vector>

#ifdef SINEW_BENCH_NANOFLANN
#include <nanoflann.hpp>
#endif

#include <sinew/fields/proximity_tester.h>

#include "fields/reference_proximity_tester.h"

namespace bench::proximity {

// A cubic cell of a grid without bounds, by its integer coordinates.
struct Cell
{
    std::int64_t x;
    std::int64_t y;
    std::int64_t z;

    Cell(Vector3 const& p, double size) : x(along(p.x, size)), y(along(p.y, size)), z(along(p.z, size)) {}

    // The key of the cell at an offset, with 21 bits for each coordinate.
    std::uint64_t key(int dx = 0, int dy = 0, int dz = 0) const
    {
        auto const bits = [](std::int64_t c) { return static_cast<std::uint64_t>(c) & 0x1fffff; };
        return bits(x + dx) | bits(y + dy) << 21 | bits(z + dz) << 42;
    }

    // Calls `visit` with the keys of the cell and its 26 neighbours until it returns true. False if it never does.
    template <typename Visit>
    bool anyNeighbour(Visit visit) const
    {
        for (int i = 0; i < 27; ++i) {
            if (visit(key(i % 3 - 1, i / 3 % 3 - 1, i / 9 - 1))) return true;
        }
        return false;
    }

private:
    static std::int64_t along(double c, double size) { return static_cast<std::int64_t>(std::floor(c / size)); }
};

/// A hash table of cells as large as the radius, each with its points. A query reads 27 cells.
class CellHash
{
public:
    CellHash(std::vector<Vector3> const& points, double radius) : radius_(radius)
    {
        for (Vector3 const& p : points) cells_[Cell(p, radius_).key()].push_back(p);
    }
    bool test(Vector3 const& p) const
    {
        return Cell(p, radius_).anyNeighbour([&](std::uint64_t key) {
            auto const found = cells_.find(key);
            if (found == cells_.end()) return false;
            for (Vector3 const& q : found->second) {
                if (distSq(p, q) <= radius_ * radius_) return true;
            }
            return false;
        });
    }

private:
    double radius_;
    std::unordered_map<std::uint64_t, std::vector<Vector3>> cells_;
};

/// A hash table of the cells that contain a point or have a neighbour that does. A query reads one cell.
class MarkHash
{
public:
    MarkHash(std::vector<Vector3> const& points, double radius) : radius_(radius)
    {
        for (Vector3 const& p : points) {
            Cell(p, radius_).anyNeighbour([&](std::uint64_t key) {
                marks_[key] = true;
                return false;
            });
        }
    }
    bool test(Vector3 const& p) const { return marks_.count(Cell(p, radius_).key()) != 0; }

private:
    double radius_;
    std::unordered_map<std::uint64_t, bool> marks_;
};

#ifdef SINEW_BENCH_NANOFLANN
struct Cloud
{
    std::vector<Vector3> const& points;
    std::size_t kdtree_get_point_count() const { return points.size(); }
    double kdtree_get_pt(std::size_t i, std::size_t axis) const { return points[i][static_cast<int>(axis)]; }
    template <typename Box>
    bool kdtree_get_bbox(Box&) const
    {
        return false;
    }
};

/// The result of a search that ends at the first point within a radius.
class AnyWithin
{
public:
    using DistanceType = double;

    explicit AnyWithin(double radius)
        : limit_(std::nextafter(radius * radius, std::numeric_limits<double>::infinity())) // the radius is within
    {
    }
    bool addPoint(double, std::size_t)
    {
        found_ = true;
        return false; // which ends the search
    }
    double worstDist() const { return limit_; }
    bool full() const { return found_; }

private:
    double limit_;
    bool found_ = false;
};

class KdTree
{
public:
    KdTree(std::vector<Vector3> const& points, double radius) : cloud_{points}, tree_(3, cloud_), radius_(radius) {}
    bool test(Vector3 const& p) const
    {
        double const query[3] = {p.x, p.y, p.z};
        AnyWithin result(radius_);
        return tree_.findNeighbors(result, query, nanoflann::SearchParams());
    }

private:
    Cloud cloud_;
    nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<double, Cloud>, Cloud, 3> tree_;
    double radius_;
};
#endif

} // namespace bench::proximity
