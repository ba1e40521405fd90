// Queries where the finer grids decide: at the borders of cells and of finer cells. A triangle accepts points slightly
// outside itself, so it must be listed in cells that it does not touch. And counts of the structures, because results
// do not show whether there are any.

#include <cmath>
#include <limits>
#include <memory>

#include <gtest/gtest.h>

#include "meshfunc/mesh_samples.h"
#include "sinew/meshfunc/detail/grid_layout.h"
#include "sinew/meshfunc/detail/loop_boxes.h"
#include "sinew/meshfunc/detail/triangle_cover.h"
#include "sinew/meshfunc/detail/triangle_locator.h"
#include "support/bits.h"

namespace {

using sinew::detail::Box;
using sinew::detail::CellTriangles;
using sinew::detail::FinerGrid;
using sinew::detail::PreparedTriangle;
using sinew::detail::TriangleLocator;
using test::Mesh;
using test::Point;
using test::Random;

constexpr int kGridCells = sinew::detail::kGridCells;

// The search structures of one mesh function.
class Structures
{
public:
    explicit Structures(MeshFunction2D const& f) : f_(f), locator_(TriangleLocator::build(sinew::detail::viewOf(f))) {}

    // Null if the public list is searched.
    CellTriangles const* of(std::size_t cell) const
    {
        return locator_->triangles(cell, [this] { return sinew::detail::viewOf(f_); });
    }

private:
    MeshFunction2D const& f_;
    std::unique_ptr<TriangleLocator> locator_;
};

// The walk that defines the result: the triangles of the public cell in their order.
bool walk(MeshFunction2D const& f, Point const& p, Point* value, float* scalar)
{
    int cell[2];
    for (int k = 0; k < 2; ++k) {
        double const s = (p[k] - f.domainMin[k]) * f.gridScale[k];
        if (!(s >= -1e-8 && s <= kGridCells + 1e-8)) return false;
        cell[k] = sinew::detail::cellOfCoordinate(s, kGridCells);
    }
    for (int const t : f.gridCells[sinew::detail::cellIndex(cell[0], cell[1], kGridCells)]) {
        int const* const corner = &f.facets[3 * static_cast<std::size_t>(t)];
        if (f.iEvalInFacet(corner[0], corner[1], corner[2], p, value, scalar, true)) return true;
    }
    return false;
}

void expectWalk(MeshFunction2D const& f, Point const& p)
{
    Point value(7, 7), expected(7, 7);
    float scalar = 7, expectedScalar = 7;
    bool const found = f.evaluate(p, &value, &scalar);
    ASSERT_EQ(found, walk(f, p, &expected, &expectedScalar)) << p.x << ' ' << p.y;
    ASSERT_TRUE(test::sameBits(value, expected) && test::sameBits(scalar, expectedScalar)) << p.x << ' ' << p.y;
}

// A coordinate at, or very near, a border between two columns (axis 0) or rows (axis 1) of the grid.
double nearBorder(Random& random, FinerGrid const& grid, int axis)
{
    double const width = grid.scale[axis] > 0 ? 1 / grid.scale[axis] : 1;
    double const border = grid.low[axis] + random.below(grid.size[axis] + 1) * width;
    switch (random.below(4)) {
    case 0:
        return border;
    case 1:
        return std::nextafter(border, random.oneIn(2) ? -1e300 : 1e300);
    case 2:
        return border + random.uniform(-1e-8, 1e-8) * width;
    default:
        return border + random.uniform(-1e-15, 1e-15) * (std::fabs(grid.low[axis]) + width);
    }
}

// A point at a border of the grid. Its other coordinate is that of a border too, or lies anywhere in the grid.
Point atBorder(Random& random, FinerGrid const& grid)
{
    double c[2];
    int const axis = random.below(2);
    for (int k = 0; k < 2; ++k) {
        double const extent = grid.scale[k] > 0 ? grid.size[k] / grid.scale[k] : 0;
        c[k] = k == axis || random.oneIn(3) ? nearBorder(random, grid, k)
                                            : grid.low[k] + random.uniform(-0.01, 1.01) * extent;
    }
    return {c[0], c[1]};
}

FinerGrid publicGrid(MeshFunction2D const& f)
{
    FinerGrid grid;
    grid.low = f.domainMin;
    grid.scale = {f.gridScale[0], f.gridScale[1]};
    grid.size[0] = grid.size[1] = kGridCells;
    return grid;
}

// Queries at the borders of the public cells, of the grids inside them, and of the grids inside those.
void expectWalkAtBorders(Random& random, MeshFunction2D const& f, int queries)
{
    Structures const structures(f);
    FinerGrid const outer = publicGrid(f);
    for (int i = 0; i < queries; ++i) {
        auto const cell = static_cast<std::size_t>(random.below(kGridCells * kGridCells));
        CellTriangles const* const triangles = structures.of(cell);
        if (i % 4 == 0 || !triangles) {
            ASSERT_NO_FATAL_FAILURE(expectWalk(f, atBorder(random, outer)));
            continue;
        }
        auto const& grids = triangles->grids();
        bool const nested = !grids.inner.empty() && random.oneIn(2);
        FinerGrid const& grid =
            nested ? grids.inner[static_cast<std::size_t>(random.below(static_cast<int>(grids.inner.size())))]
                   : grids.root;
        ASSERT_NO_FATAL_FAILURE(expectWalk(f, atBorder(random, grid)));
    }
}

// Squares cut into triangles, of which most are crowded into one corner, down to a thousandth of the extent.
Mesh crowded(Random& random)
{
    Mesh mesh = test::gridMesh(random, 12, 12, 0.3);
    for (int t = 0; t < 9000; ++t) {
        double const size = random.oneIn(2) ? 1e-3 : 1e-5;
        double const x = 0.31 + random.uniform(0, 4e-3), y = 0.52 + random.uniform(0, 4e-3);
        int corner[3];
        for (int& c : corner) c = mesh.addVertex(x + random.uniform(0, size), y + random.uniform(0, size));
        mesh.addTriangle(corner[0], corner[1], corner[2]);
    }
    return mesh;
}

// Long and thin triangles in all directions.
Mesh needles(Random& random, int count)
{
    Mesh mesh;
    for (int t = 0; t < count; ++t) {
        Point const a = random.point2(0, 1);
        Point const along = 0.3 * random.point2();
        Point const across = 1e-4 * random.uniform(0.01, 1) * Point(-along.y, along.x);
        int const first = mesh.addVertex(a.x, a.y);
        mesh.addVertex(a.x + along.x, a.y + along.y);
        mesh.addVertex(a.x + across.x, a.y + across.y);
        mesh.addTriangle(first, first + 1, first + 2);
    }
    return mesh;
}

// The finer cells of all public cells, the nested grids, and the triangles of the longest list that one query walks
// (an upper bound of it: buckets that overflow are counted for each public cell).
struct Counts
{
    std::size_t structures = 0;
    std::size_t rootCells = 0;
    std::size_t innerGrids = 0;
    std::size_t overflowBuckets = 0;
};

Counts countsOf(MeshFunction2D const& f)
{
    Structures const structures(f);
    Counts counts;
    for (std::size_t cell = 0; cell < f.gridCells.size(); ++cell) {
        CellTriangles const* const triangles = structures.of(cell);
        if (!triangles) continue;
        auto const& grids = triangles->grids();
        ++counts.structures;
        counts.rootCells += grids.root.cellCount();
        counts.innerGrids += grids.inner.size();
        std::size_t cells = grids.root.cellCount();
        for (FinerGrid const& grid : grids.inner) cells += grid.cellCount();
        counts.overflowBuckets += grids.buckets.size() - cells;
    }
    return counts;
}

} // namespace

TEST(TriangleCover, HoldsEveryPointThatTheTriangleAccepts)
{
    Random random(61);
    int outside = 0;
    for (int trial = 0; trial < 200000; ++trial) {
        double const size = std::ldexp(1.0, random.below(20) - 10);
        Point const at = random.point2(-4, 4);
        std::vector<Point> params;
        for (int k = 0; k < 3; ++k) params.push_back(at + size * random.point2());
        int const corners[3] = {0, 1, 2};
        PreparedTriangle triangle;
        if (!sinew::detail::prepareTriangle(params, corners, &triangle)) continue;
        Box const cover = sinew::detail::coverOf(triangle, params);
        // Weights down to the tolerance: on the triangle's border and up to 1e-8 of its height outside.
        double const u = random.oneIn(2) ? random.uniform(-1.2e-8, 0) : random.uniform(0, 1);
        double const v = random.oneIn(2) ? random.uniform(-1.2e-8, 0) : random.uniform(0, 1 - u);
        Point const p = params[0] + u * (params[1] - params[0]) + v * (params[2] - params[0]);
        if (!sinew::detail::weightsOf(triangle, p).accepted()) continue;
        outside += u < 0 || v < 0 ? 1 : 0;
        ASSERT_TRUE(p.x >= cover.low.x && p.x <= cover.high.x && p.y >= cover.low.y && p.y <= cover.high.y) << trial;
        Box at1; // a cell that holds nothing else
        at1.include(p);
        ASSERT_TRUE(sinew::detail::mayAcceptIn(triangle, at1)) << trial;
    }
    EXPECT_GT(outside, 10000) << "the trials must reach the tolerance";
}

TEST(TriangleCover, PartsOfCellsHoldTheirPoints)
{
    Random random(62);
    for (int trial = 0; trial < 200000; ++trial) {
        FinerGrid grid;
        double const scale = std::ldexp(1.0, random.below(40) - 20);
        double const away = std::ldexp(scale, random.below(21)); // far from the origin, borders are rounded more
        grid.low = away * random.point2(-1000, 1000);
        for (int k = 0; k < 2; ++k) {
            grid.size[k] = 1 + random.below(512);
            grid.scale[k] = grid.size[k] / (scale * random.uniform(0.1, 3));
        }
        Point const p = atBorder(random, grid);
        int const cx = grid.cell(p.x, 0), cy = grid.cell(p.y, 1);
        Box const part = sinew::detail::partOfCell(grid, cx, cy, sinew::detail::borderSlack(grid));
        ASSERT_TRUE(p.x >= part.low.x && p.x <= part.high.x && p.y >= part.low.y && p.y <= part.high.y) << trial;
    }
}

TEST(MeshFunctionBorders, QueriesEqualTheWalkInEvenMeshes)
{
    Random random(63);
    expectWalkAtBorders(random, test::gridMesh(random, 80, 80, 0).function(), 400000);
    expectWalkAtBorders(random, test::gridMesh(random, 90, 60).function(), 400000);
}

TEST(MeshFunctionBorders, QueriesEqualTheWalkInLargeMeshes)
{
    Random random(64);
    expectWalkAtBorders(random, test::gridMesh(random, 300, 300).function(), 300000);
    expectWalkAtBorders(random, test::unevenMesh(random, 200, 200, 3).function(), 300000);
}

TEST(MeshFunctionBorders, QueriesEqualTheWalkInCrowdedMeshes)
{
    Random random(65);
    expectWalkAtBorders(random, crowded(random).function(), 300000);
    expectWalkAtBorders(random, test::soup(random, 8000, 0.02).function(), 200000);
    expectWalkAtBorders(random, needles(random, 2000).function(), 100000);
}

// A triangle whose corner lies just right of a border accepts points left of it.
TEST(MeshFunctionBorders, ATriangleIsListedWhereOnlyItsToleranceReaches)
{
    Random random(66);
    int reached = 0;
    for (int trial = 0; trial < 40; ++trial) {
        Mesh mesh = test::soup(random, 4000, 0.03);
        MeshFunction2D const first = mesh.function();
        Structures const structures(first);
        CellTriangles const* const triangles = structures.of(static_cast<std::size_t>(random.below(400)));
        if (!triangles || triangles->grids().root.cellCount() < 4) continue;
        FinerGrid const& grid = triangles->grids().root;
        // Moves the leftmost corner of a few triangles of this part of the plane to a border.
        double const left = grid.low.x, right = left + grid.size[0] / grid.scale.x;
        for (int t = 0; t < 4000; ++t) {
            std::size_t corner = 3 * static_cast<std::size_t>(t);
            for (std::size_t k = 1; k < 3; ++k) {
                if (mesh.params[corner + k].x < mesh.params[corner].x)
                    std::swap(mesh.params[corner + k], mesh.params[corner]);
            }
            Point& p = mesh.params[corner];
            if (p.x <= left || p.x >= right || !random.oneIn(4)) continue;
            double const border = left + std::ceil((p.x - left) * grid.scale.x) / grid.scale.x;
            if (border < std::min(mesh.params[corner + 1].x, mesh.params[corner + 2].x)) p.x = border;
        }
        MeshFunction2D const f = mesh.function();
        for (std::size_t t = 0; t < 4000; ++t) {
            Point const* const c = &f.params[3 * t];
            if (c[0].x <= left || c[0].x >= right) continue;
            Point const middle = 0.5 * (c[1] + c[2]);
            double const beyond = random.uniform(0, 1e-8);
            Point const p = c[0] - beyond * (middle - c[0]);
            reached += p.x < c[0].x ? 1 : 0;
            ASSERT_NO_FATAL_FAILURE(expectWalk(f, p));
        }
    }
    EXPECT_GT(reached, 200);
}

TEST(MeshFunctionStructures, EvenMeshesHaveSeveralCellsForEachTriangle)
{
    Random random(67);
    Counts const small = countsOf(test::gridMesh(random, 80, 80).function()); // 12,800 triangles
    EXPECT_EQ(small.structures, 400u);
    EXPECT_GT(small.rootCells, 2u * 12800);
    EXPECT_LT(small.overflowBuckets, small.rootCells / 5) << "most lists fit into one bucket";
    Counts const large = countsOf(test::gridMesh(random, 300, 300).function()); // 180,000 triangles
    EXPECT_EQ(large.structures, 400u);
    EXPECT_GT(large.rootCells, 180000u / 2);
}

TEST(MeshFunctionStructures, CrowdedCellsAreDividedAgain)
{
    Random random(68);
    Counts const counts = countsOf(crowded(random).function());
    EXPECT_EQ(counts.structures, 400u);
    EXPECT_GT(counts.innerGrids, 10u);
}

// Above 65,536 triangles the first query of a cell builds its structure.
TEST(MeshFunctionStructures, MemoryCountsOnlyTheCellsThatWereBuilt)
{
    Random random(69);
    MeshFunction2D const f = test::gridMesh(random, 300, 300).function();
    auto const view = [&f] { return sinew::detail::viewOf(f); };
    auto const locator = sinew::detail::TriangleLocator::build(view());
    std::size_t const before = locator->memory();
    locator->triangles(0, view);
    std::size_t const one = locator->memory();
    EXPECT_GT(one, before);
    locator->triangles(0, view);
    EXPECT_EQ(locator->memory(), one);
    for (std::size_t cell = 0; cell < f.gridCells.size(); ++cell) locator->triangles(cell, view);
    EXPECT_GT(locator->memory(), 100 * (one - before));
}

// Two triangles that are listed in cells of a space with other proportions than those of their boxes.
TEST(MeshFunctionStructures, OnlyAFiniteSpaceWithAnAreaOrALengthHasAGrid)
{
    using sinew::detail::Box;
    double const inf = std::numeric_limits<double>::infinity();
    double const nan = std::numeric_limits<double>::quiet_NaN();
    std::vector<Point> const params = {{0, 0}, {0.01, 0}, {0, 0.01}, {0.9, 0.9}, {0.91, 0.9}, {0.9, 0.91}};
    int const corners[2][3] = {{0, 1, 2}, {3, 4, 5}};
    sinew::detail::PreparedTriangle prepared[2];
    sinew::detail::TriangleNumber const numbers[2] = {0, 1};
    std::vector<Box> boxes(2);
    for (std::size_t i = 0; i < 2; ++i) {
        ASSERT_TRUE(sinew::detail::prepareTriangle(params, corners[i], &prepared[i]));
        for (int k : corners[i]) boxes[i].include(params[static_cast<std::size_t>(k)]);
    }
    sinew::detail::CoveredTriangles const triangles = {prepared, {numbers, numbers + 2}, boxes};
    auto const taken = [&](Point const& low, Point const& high) {
        Box space;
        space.low = low;
        space.high = high;
        return sinew::detail::GridLayout().layOut(triangles, space, 1000);
    };
    EXPECT_GT(taken({0, 0}, {1, 1}), 0u);
    for (double size : {inf, nan, -1.0}) {
        EXPECT_EQ(taken({0, 0}, {size, 1}), 0u) << size;
        EXPECT_EQ(taken({0, 0}, {1, size}), 0u) << size;
    }
    EXPECT_EQ(taken({0.5, 0.5}, {0.5, 0.5}), 0u) << "a point";
    EXPECT_GT(taken({0, 0}, {1, 0}), 0u) << "a line: only columns";
    EXPECT_GT(taken({0, 0}, {0, 1}), 0u) << "a line: only rows";
}

TEST(MeshFunctionStructures, ALoopWithAnInfiniteCoordinateIsVisitedForEveryPoint)
{
    using sinew::detail::LoopBoxes;
    double const inf = std::numeric_limits<double>::infinity();
    for (Vector3 const& far : {Vector3(inf, 0, 0), Vector3(0, inf, 0)}) {
        MeshFunction2D many = test::islands(20).function();
        many.boundaryProjectors[7] = std::make_unique<PolylineProjector>(std::vector<Vector3>{Vector3(), far});
        auto const boxes = LoopBoxes::build(many.boundaryProjectors);
        ASSERT_NE(boxes, nullptr);
        bool isVisited = false;
        double best = 0;
        boxes->visitNearest({1e6, 1e6}, &best, [&](std::size_t k) { isVisited = isVisited || k == 7; });
        EXPECT_TRUE(isVisited);
    }
}

TEST(MeshFunctionStructures, ManyLoopsHaveBoxes)
{
    using sinew::detail::LoopBoxes;
    MeshFunction2D const many = test::islands(20).function();
    auto const boxes = LoopBoxes::build(many.boundaryProjectors);
    ASSERT_NE(boxes, nullptr);
    EXPECT_EQ(boxes->loopCount(), 400u);
    double best = 1e300;
    int visited = 0;
    boxes->visitNearest({0.5, 0.5}, &best, [&](std::size_t k) {
        ++visited;
        Vector3 const q(0.5, 0.5, 0);
        best = std::min(best, distSq(q, sinew::closestPoint(*many.boundaryProjectors[k], q).point));
    });
    EXPECT_LT(visited, 60) << "of 400 loops";
    EXPECT_GE(visited, 1);
}
