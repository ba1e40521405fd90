// Builds, edits, queries, copies, saves and loads mesh functions. The members and all results are compared with the
// reference implementation, except between an edit and the rebuild: there the queries only must not read out of bounds.

#include <algorithm>
#include <array>
#include <memory>
#include <sstream>
#include <string>
#include <utility>

#include <sinew/meshfunc/extrapolate_anywhere.h>
#include <sinew/meshfunc/location.h>
#include <sinew/meshfunc/mesh_diagnosis.h>
#include <sinew/meshfunc/mesh_function_2d.h>
#include <sinew/meshfunc/raster.h>

#include "fuzz/input.h"
#include "meshfunc/reference_anywhere.h"
#include "meshfunc/reference_mesh_function.h"
#include "meshfunc/reference_persistence.h"
#include "support/bits.h"

using fuzz::Input;
using fuzz::require;
using test::sameBits;

namespace {

using Point = tzNM::vect2<double>;

constexpr int kMostVertices = 48;
constexpr int kMostTriangles = 96;
constexpr int kMostPixels = 24; // along each side of a raster
constexpr int kMostOperations = 20;
constexpr int kMostRebuilds = 3; // also of copies; they are the slowest operation
constexpr int kMostFiner = 10;   // squares along each side of a regular mesh

// An index that names a vertex, or with a small probability none.
int vertexIndex(Input& input, std::size_t vertices)
{
    int const kind = input.byte();
    if (kind >= 248 || vertices == 0) return input.anyInt();
    return kind % static_cast<int>(vertices);
}

void addSoup(Input& input, MeshFunction2D& f)
{
    int const vertices = input.below(kMostVertices);
    for (int i = 0; i < vertices; ++i) {
        f.params.push_back(input.point2());
        f.values.push_back(input.point2());
        f.normaldots.push_back(static_cast<float>(input.tame()));
    }
    int const indices = input.below(3 * kMostTriangles);
    for (int i = 0; i < indices; ++i) f.facets.push_back(vertexIndex(input, f.params.size()));
}

// A regular mesh, which has more triangles than the bytes could name one by one.
void addGrid(Input& input, MeshFunction2D& f)
{
    int const nx = 1 + input.below(kMostFiner);
    int const ny = 1 + input.below(kMostFiner);
    double const power = 1 + input.below(4);
    int const first = static_cast<int>(f.params.size());
    for (int i = 0; i <= nx; ++i) {
        for (int j = 0; j <= ny; ++j) {
            double const x = std::pow(double(i) / nx, power);
            double const y = double(j) / ny;
            f.params.push_back({x, y});
            f.values.push_back({y, x * y});
            f.normaldots.push_back(static_cast<float>(x - y));
        }
    }
    auto const at = [=](int i, int j) { return first + i * (ny + 1) + j; };
    for (int i = 0; i < nx; ++i) {
        for (int j = 0; j < ny; ++j) {
            f.facets.insert(f.facets.end(), {at(i, j), at(i + 1, j), at(i + 1, j + 1)});
            f.facets.insert(f.facets.end(), {at(i, j), at(i + 1, j + 1), at(i, j + 1)});
        }
    }
}

// A class of the same shape as the library's, filled from it.
reference::MeshFunction2D referenceOf(MeshFunction2D const& f)
{
    return {f.params, f.values, f.facets, f.normaldots, f.extrapolateFlag};
}

void compareMembers(MeshFunction2D const& f, reference::MeshFunction2D const& expected)
{
    require(f.gridSize[0] == expected.gridSize[0] && f.gridSize[1] == expected.gridSize[1], "same grid");
    require(sameBits(f.gridScale[0], expected.gridScale[0]), "same scale along x");
    require(sameBits(f.gridScale[1], expected.gridScale[1]), "same scale along y");
    require(f.gridCells == expected.gridCells, "same triangles in the cells");
    if (f.gridSize[0] == 0) return;
    require(sameBits(f.domainMin, expected.domainMin) && sameBits(f.domainMax, expected.domainMax), "same domain");
    if (!f.extrapolateFlag) return;
    require(f.boundaryFacets == expected.boundaryFacets, "same triangles along the boundaries");
    require(f.boundaryProjectors.size() == expected.boundaryProjectors.size(), "same number of boundaries");
    for (std::size_t k = 0; k < expected.boundaryProjectors.size(); ++k) {
        require(sameBits(f.boundaryProjectors[k]->points, expected.boundaryProjectors[k].points), "same boundary");
    }
}

struct Answer
{
    bool found;
    Point value{7, 7};
    float scalar = 7;
};

template <typename F>
Answer answer(F const& f, int query, Point const& p)
{
    Answer a;
    if (query == 0) {
        a.found = f.evaluate(p, &a.value, &a.scalar);
    } else if (query == 1) {
        a.found = f.extrapolate(p, &a.value, &a.scalar);
    } else {
        a.found = f.extrapolateOld(p, &a.value, &a.scalar);
    }
    return a;
}

bool same(Answer const& a, Answer const& b)
{
    return a.found == b.found && sameBits(a.value, b.value) && sameBits(a.scalar, b.scalar);
}

// On or near a vertex, in a triangle, or anywhere.
Point queryPoint(Input& input, MeshFunction2D const& f)
{
    int const kind = input.byte();
    if (kind < 64 || f.params.empty()) return input.point2();
    auto const vertex = [&] { return f.params[static_cast<std::size_t>(input.below(65536)) % f.params.size()]; };
    Point const a = vertex();
    if (kind < 96) return a;
    Point const b = vertex();
    double const s = input.tame();
    if (kind < 160) return a + s * (b - a);
    return a + s * (b - a) + input.tame() * (vertex() - a) + 1e-8 * Point(input.tame(), input.tame());
}

// The values at a location have the bits of the query.
void compareLocation(MeshFunction2D const& f, sinew::Location const& location, Answer const& expected)
{
    require((location.rule != sinew::LocationRule::none) == expected.found, "a location where there is a value");
    double value[2] = {7, 7};
    double const* const values = f.values.empty() ? nullptr : &f.values[0].x;
    require(sinew::blend(location, values, 2, 2, value) == expected.found, "blended where there is a value");
    require(sameBits(Point(value[0], value[1]), expected.value), "blended value");
    // The distance to an edge is a difference, which rounding may make negative.
    bool const isSquare = location.rule != sinew::LocationRule::nearestEdge;
    require(!isSquare || !(location.distSq < 0), "a squared distance");
}

// Whether a triangle is good beyond doubt; so no rounding of the reference matters.
bool hasGoodTriangle(MeshFunction2D const& f)
{
    for (std::size_t t = 0; t < f.facets.size() / 3; ++t) {
        reference::Corners const c = reference::cornersOf(f, t);
        double const longest = std::max((c.at[1] - c.at[0]).lengthSq(), (c.at[2] - c.at[0]).lengthSq());
        bool const isOrdinary = longest > 1e-280 && longest < 1e300;
        if (c.exist && isOrdinary && std::fabs(reference::determinantOf(c)) > 1e-10 * longest) return true;
    }
    return false;
}

// Extrapolation that always has a result: the bits of `extrapolate` where that has one, but for small triangles that
// contain the point and domains whose squares overflow, and a good triangle elsewhere.
void queryAnywhere(MeshFunction2D const& f, Point const& p)
{
    Answer const defined = answer(f, 1, p);
    Answer found;
    found.found = sinew::extrapolateAnywhere(f, p, &found.value, &found.scalar);
    sinew::Location const location = sinew::locateAnywhere(f, p);
    compareLocation(f, location, found);
    bool const mayDiffer = reference::mayDiffer(f, p, location);
    require(!defined.found || mayDiffer || same(found, defined), "the bits of extrapolate");
    if (defined.found && !mayDiffer) return;
    require(!found.found || (std::isfinite(p.x) && std::isfinite(p.y)), "refused points are finite");
    bool const mustBeFound = std::isfinite(p.x) && std::isfinite(p.y) && hasGoodTriangle(f);
    require(found.found || !mustBeFound, "a result with one good triangle");
    if (!found.found) return;
    require(location.distSq >= 0, "a distance");
    int const t = location.triangle;
    require(std::equal(location.corners, location.corners + 3, &f.facets[static_cast<std::size_t>(3 * t)]), "corners");
}

void query(Input& input, MeshFunction2D const& f, reference::MeshFunction2D const* expected)
{
    std::array<Point, 3> points;
    for (Point& p : points) p = queryPoint(input, f);
    for (Point const& p : points) queryAnywhere(f, p);
    for (int kind = 0; kind < 3; ++kind) {
        for (Point const& p : points) {
            Answer const found = answer(f, kind, p);
            if (expected) require(same(found, answer(*expected, kind, p)), "query as the reference implementation");
            if (!expected || kind == 2) continue;
            auto const outside = kind == 0 ? sinew::Outside::excluded : sinew::Outside::extrapolated;
            compareLocation(f, sinew::locate(f, p, outside), found);
        }
    }
    std::array<Point, 3> values;
    std::array<float, 3> scalars{};
    std::array<bool, 3> found{};
    using Many = std::size_t (*)(MeshFunction2D const&, Point const*, std::size_t, Point*, float*, bool*);
    Many const functions[] = {sinew::evaluateMany, sinew::extrapolateMany};
    for (int kind = 0; kind < 2; ++kind) {
        values.fill({7, 7});
        scalars.fill(7);
        functions[kind](f, points.data(), points.size(), values.data(), scalars.data(), found.data());
        for (std::size_t i = 0; i < points.size(); ++i) {
            Answer many{found[i], values[i], scalars[i]};
            require(same(many, answer(f, kind, points[i])), "many queries as single ones");
        }
    }
}

sinew::Raster rasterOf(Input& input, MeshFunction2D const& f)
{
    sinew::Raster raster;
    raster.origin = queryPoint(input, f);
    raster.step = input.below(8) == 7 ? input.point2() : 0.125 * Point(input.tame(), input.tame());
    raster.width = input.below(kMostPixels);
    raster.height = input.below(kMostPixels);
    raster.rowStride = input.flag() ? 0 : static_cast<std::size_t>(raster.width + input.below(3));
    return raster;
}

// Pixels as single queries. A function that has been edited since its members were built may give anything.
void queryRaster(Input& input, MeshFunction2D const& f, bool isStale)
{
    sinew::Raster const raster = rasterOf(input, f);
    std::size_t const stride = raster.rowStride > 0 ? raster.rowStride : static_cast<std::size_t>(raster.width);
    std::size_t const size = stride * static_cast<std::size_t>(raster.height);
    for (sinew::Outside const outside : {sinew::Outside::excluded, sinew::Outside::extrapolated}) {
        int const kind = outside == sinew::Outside::excluded ? 0 : 1;
        std::vector<Point> values(size, Point(7, 7));
        std::vector<float> scalars(size, 7);
        std::vector<sinew::Location> locations(size);
        std::unique_ptr<bool[]> const found(new bool[size + 1]());
        std::size_t (*function)(MeshFunction2D const&, sinew::Raster const&, Point*, float*, bool*) =
            sinew::evaluateRaster;
        if (kind == 1) function = sinew::extrapolateRaster;
        function(f, raster, values.data(), scalars.data(), found.get());
        sinew::locateRaster(f, raster, locations.data(), outside);
        for (int row = 0; row < raster.height && !isStale; ++row) {
            for (int column = 0; column < raster.width; ++column) {
                std::size_t const i = static_cast<std::size_t>(column) + stride * static_cast<std::size_t>(row);
                Point const p = sinew::pixelPoint(raster, column, row);
                Answer const expected = answer(f, kind, p);
                require(same({found[i], values[i], scalars[i]}, expected), "pixel as a single query");
                compareLocation(f, locations[i], expected);
            }
        }
    }
}

// The functions that take indices from the caller accept all of them.
void queryIndices(Input& input, MeshFunction2D const& f)
{
    int const i = vertexIndex(input, f.params.size());
    int const j = vertexIndex(input, f.params.size());
    int const k = vertexIndex(input, f.params.size());
    Point const p = queryPoint(input, f);
    Answer a;
    bool const known = f.iEvalInFacet(i, j, k, p, &a.value, &a.scalar, input.flag());
    bool onSegment = false;
    double const d = f.iDistToEdge(i, j, p, &onSegment, input.flag());
    long const n = static_cast<long>(std::min(f.params.size(), f.values.size()));
    auto const exists = [n](int index) { return index >= 0 && index < n; };
    require(!known || (exists(i) && exists(j) && exists(k)), "no value without vertices");
    require((exists(i) && exists(j)) || std::isnan(d), "no distance without vertices");
    Point any;
    f.getAnyPointInDomain(any);
}

void edit(Input& input, MeshFunction2D& f)
{
    switch (input.below(8)) {
    case 0:
        if (!f.params.empty())
            f.params[static_cast<std::size_t>(input.below(65536)) % f.params.size()] = input.point2();
        break;
    case 1:
        if (!f.facets.empty())
            f.facets[static_cast<std::size_t>(input.below(65536)) % f.facets.size()] = input.anyInt();
        break;
    case 2:
        f.values.resize(static_cast<std::size_t>(input.below(kMostVertices)));
        break;
    case 3:
        f.params.resize(static_cast<std::size_t>(input.below(kMostVertices)));
        break;
    case 4:
        f.facets.resize(static_cast<std::size_t>(input.below(3 * kMostTriangles)), -1);
        break;
    case 5:
        f.normaldots.resize(static_cast<std::size_t>(input.below(kMostVertices)));
        break;
    case 6:
        f.extrapolateFlag = !f.extrapolateFlag;
        break;
    default:
        f.params.push_back(input.point2());
        f.values.push_back(input.point2());
        f.facets.insert(f.facets.end(), {0, 1, static_cast<int>(f.params.size()) - 1});
        break;
    }
}

void copy(Input& input, MeshFunction2D& f)
{
    MeshFunction2D other(f);
    if (input.flag()) {
        f = other;
    } else {
        MeshFunction2D empty(true);
        f = std::move(other);
        other = empty;
    }
    std::unique_ptr<MeshFunction2D> const owned(f.copy());
    require(owned->facets == f.facets && owned->gridCells == f.gridCells, "a copy has the same members");
}

std::string written(MeshFunction2D& f)
{
    std::ostringstream out;
    sinew::writeDocument(out, f, "MeshFunction2D");
    return out.str();
}

// Loading what was saved gives the vectors that the reference implementation packs and unpacks.
void saveAndLoad(MeshFunction2D const& original)
{
    MeshFunction2D f(original);
    f.values.resize(f.params.size());
    std::string const packed = reference::pack(f);
    MeshFunction2D loaded(!f.extrapolateFlag);
    std::istringstream in(written(f));
    sinew::readDocument(in, loaded);
    MeshFunction2D expected(f.extrapolateFlag);
    require(reference::Unpacker(packed).unpack(expected).empty(), "the reference reads its own text");
    require(sameBits(loaded.params, expected.params) && sameBits(loaded.values, expected.values), "vertices loaded");
    require(sameBits(loaded.normaldots, expected.normaldots), "scalars loaded");
    require(loaded.facets == expected.facets, "triangles loaded");
    require(loaded.extrapolateFlag == f.extrapolateFlag, "flag loaded");
    expected.initEvaluatorHelper();
    compareMembers(loaded, referenceOf(loaded));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    Input input(data, size);
    MeshFunction2D f(input.flag());
    int const parts = input.below(4);
    if ((parts & 1) != 0) addGrid(input, f);
    if (parts != 1) addSoup(input, f);
    bool stale = true; // whether the members must be rebuilt
    int rebuilds = 0;
    std::unique_ptr<reference::MeshFunction2D> expected;
    for (int i = 0; i < kMostOperations && (i == 0 || input.more()); ++i) {
        if (stale && rebuilds < kMostRebuilds && input.below(4) != 0) {
            ++rebuilds;
            f.initEvaluatorHelper();
            expected = std::make_unique<reference::MeshFunction2D>(referenceOf(f));
            compareMembers(f, *expected);
            stale = false;
        }
        int const kind = input.below(16);
        if (kind < 2) {
            queryRaster(input, f, stale);
        } else if (kind < 9) {
            query(input, f, stale ? nullptr : expected.get());
        } else if (kind < 11) {
            queryIndices(input, f);
        } else if (kind < 13) {
            edit(input, f);
            stale = true;
        } else if (kind < 14) {
            sinew::diagnose(f);
        } else if (rebuilds < kMostRebuilds) {
            ++rebuilds;
            if (kind < 15) {
                copy(input, f);
            } else {
                saveAndLoad(f);
            }
        }
    }
    return 0;
}
