// Mesh functions: building, queries, locations, rasters, diagnosis, documents; masks of textures.

#include <selftest/group.h>
#include <selftest/meshes.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <sstream>
#include <string>

#include <sinew/meshfunc/extrapolate_anywhere.h>
#include <sinew/meshfunc/location.h>
#include <sinew/meshfunc/mesh_diagnosis.h>
#include <sinew/meshfunc/mesh_function_2d.h>
#include <sinew/meshfunc/raster.h>
#include <sinew/meshfunc/save_exact.h>
#include <sinew/meshfunc/texture_compaction.h>

namespace selftest {

namespace {

using Point = tzNM::vect2<double>;

MeshFunction2D functionOf(Mesh const& mesh)
{
    return MeshFunction2D(mesh.params, mesh.values, mesh.facets, mesh.scalars);
}

void addMembers(MeshFunction2D const& f, Record& out)
{
    out.add(f.params);
    out.add(f.values);
    out.add(f.normaldots);
    out.add(f.facets);
    out.add(f.gridCells);
    for (int k = 0; k < 2; ++k) {
        out.add(f.gridScale[k]);
        out.add(f.gridSize[k]);
    }
    if (f.gridSize[0] > 0) {
        out.add(f.domainMin);
        out.add(f.domainMax);
    }
    out.add(f.boundaryFacets);
    for (auto const& loop : f.boundaryProjectors) out.add(loop->points);
    out.add(f.extrapolateFlag);
}

std::int64_t triangleCount(Mesh const& mesh)
{
    return static_cast<std::int64_t>(mesh.facets.size() / 3);
}

void building(Inputs& in, Record& out)
{
    while (out.count() < kInputs) {
        Mesh const mesh = anyMesh(in);
        MeshFunction2D function = functionOf(mesh);
        addMembers(function, out);
        Point anywhere;
        out.add(function.getAnyPointInDomain(anywhere));
        out.add(anywhere);
        std::unique_ptr<MeshFunction2D> const copy(function.copy());
        copy->extrapolateFlag = false;
        copy->initEvaluatorHelper();
        out.add(copy->boundaryFacets.size());
        out.countInputs(triangleCount(mesh));
    }
}

using QueryMany = std::size_t (*)(MeshFunction2D const&, Point const*, std::size_t, Point*, float*, bool*);
using Query = bool (MeshFunction2D::*)(Point const&, Point*, float*) const;

void addResult(bool found, Point const& value, float scalar, Record& out)
{
    out.add(found);
    out.add(value);
    out.add(static_cast<double>(scalar));
}

// Half of the queries one by one, the other half together.
void queries(Inputs& in, Record& out, Query query, QueryMany queryMany)
{
    constexpr std::size_t kQueries = 500; // of a mesh
    while (out.count() < kInputs) {
        Mesh const mesh = anyMesh(in);
        MeshFunction2D function = functionOf(mesh);
        function.extrapolateFlag = !in.oneIn(8);
        std::vector<Point> points;
        for (std::size_t i = 0; i < kQueries; ++i) points.push_back(pointNear(in, mesh));
        for (std::size_t i = 0; i < kQueries / 2; ++i) {
            Point value(7.0, 8.0);
            float scalar = 9.0F;
            bool const found = (function.*query)(points[i], &value, &scalar);
            addResult(found, value, scalar, out);
        }
        std::vector<Point> values(kQueries);
        std::vector<float> scalars(kQueries);
        bool found[kQueries];
        out.add(queryMany(function, points.data(), kQueries, values.data(), scalars.data(), found));
        for (std::size_t i = 0; i < kQueries; ++i) addResult(found[i], values[i], scalars[i], out);
        out.countInputs(kQueries);
    }
}

void evaluation(Inputs& in, Record& out)
{
    queries(in, out, &MeshFunction2D::evaluate, sinew::evaluateMany);
}

void extrapolation(Inputs& in, Record& out)
{
    queries(in, out, &MeshFunction2D::extrapolate, sinew::extrapolateMany);
}

void addLocation(sinew::Location const& location, Record& out)
{
    out.add(location.rule);
    out.add(location.triangle);
    for (int const corner : location.corners) out.add(corner);
    out.add(location.loop);
    out.add(location.segment);
    for (double const weight : location.weights) out.add(weight);
    out.add(location.distSq);
}

sinew::Outside anyOutside(Inputs& in)
{
    return in.oneIn(2) ? sinew::Outside::extrapolated : sinew::Outside::excluded;
}

// Locations, and three attributes interpolated at them.
void locations(Inputs& in, Record& out)
{
    constexpr int kQueries = 500; // of a mesh
    while (out.count() < kInputs) {
        Mesh const mesh = anyMesh(in);
        MeshFunction2D function = functionOf(mesh);
        function.extrapolateFlag = !in.oneIn(8);
        std::vector<double> doubles(4 * mesh.params.size());
        for (double& number : doubles) number = in.tame();
        std::vector<float> const floats(doubles.begin(), doubles.end());
        for (int i = 0; i < kQueries; ++i) {
            Point const p = pointNear(in, mesh);
            sinew::Location const location = sinew::locate(function, p, anyOutside(in));
            addLocation(location, out);
            double ofDoubles[3] = {7, 8, 9};
            float ofFloats[3] = {7, 8, 9};
            out.add(sinew::blend(location, doubles.data(), 3, 4, ofDoubles));
            out.add(sinew::blend(location, floats.data(), 3, 4, ofFloats));
            for (double const number : ofDoubles) out.add(number);
            for (float const number : ofFloats) out.add(static_cast<double>(number));
        }
        out.countInputs(kQueries);
    }
}

// Extrapolation that always has a result, of meshes with degenerate triangles and at any scale.
void extrapolationAnywhere(Inputs& in, Record& out)
{
    constexpr int kQueries = 100; // of a mesh; those that search all triangles take long
    while (out.count() < kInputs) {
        Mesh mesh = in.oneIn(2) ? damagedMesh(in) : smallMesh(in);
        double const scale = in.oneIn(2) ? 1.0 : std::ldexp(1.0, in.below(600) - 300);
        for (Point& p : mesh.params) p = scale * p;
        MeshFunction2D function = functionOf(mesh);
        function.extrapolateFlag = !in.oneIn(4);
        for (int i = 0; i < kQueries; ++i) {
            Point const p = pointNear(in, mesh);
            Point value(7.0, 8.0);
            float scalar = 9.0F;
            bool const found = sinew::extrapolateAnywhere(function, p, &value, &scalar);
            addResult(found, value, scalar, out);
            addLocation(sinew::locateAnywhere(function, p), out);
        }
        out.countInputs(kQueries);
    }
}

// The corner of a raster is a point near the mesh, and its steps are ordinary or special.
sinew::Raster anyRaster(Inputs& in, Mesh const& mesh)
{
    sinew::Raster raster;
    raster.width = 1 + in.below(40);
    raster.height = 1 + in.below(40);
    raster.origin = pointNear(in, mesh);
    Point const far = pointNear(in, mesh);
    raster.step = {(far.x - raster.origin.x) / raster.width, (far.y - raster.origin.y) / raster.height};
    if (in.oneIn(8)) raster.step.x = in.number();
    if (in.oneIn(8)) raster.step.y = in.number();
    return raster;
}

void rasters(Inputs& in, Record& out)
{
    constexpr int kRasters = 8; // of a mesh
    while (out.count() < kInputs) {
        Mesh const mesh = anyMesh(in);
        MeshFunction2D const function = functionOf(mesh);
        for (int i = 0; i < kRasters; ++i) {
            sinew::Raster const raster = anyRaster(in, mesh);
            std::size_t const pixels = static_cast<std::size_t>(raster.width) * static_cast<std::size_t>(raster.height);
            std::vector<Point> values(pixels, Point(7.0, 8.0));
            std::vector<float> scalars(pixels, 9.0F);
            std::unique_ptr<bool[]> const found(new bool[pixels]);
            std::vector<sinew::Location> locations(pixels);
            sinew::Outside const outside = anyOutside(in);
            std::size_t (*query)(MeshFunction2D const&, sinew::Raster const&, Point*, float*, bool*) =
                sinew::evaluateRaster;
            if (outside == sinew::Outside::extrapolated) query = sinew::extrapolateRaster;
            out.add(query(function, raster, values.data(), scalars.data(), found.get()));
            out.add(sinew::locateRaster(function, raster, locations.data(), outside));
            for (std::size_t k = 0; k < pixels; ++k) {
                addResult(found[k], values[k], scalars[k], out);
                addLocation(locations[k], out);
            }
            out.countInputs(static_cast<std::int64_t>(pixels));
        }
    }
}

void oldExtrapolation(Inputs& in, Record& out)
{
    constexpr int kQueries = 500; // of a mesh
    while (out.count() < kInputs) {
        Mesh const mesh = anyMesh(in);
        MeshFunction2D const function = functionOf(mesh);
        for (int i = 0; i < kQueries; ++i) {
            Point value(7.0, 8.0);
            float scalar = 9.0F;
            bool const found = function.extrapolateOld(pointNear(in, mesh), &value, &scalar);
            addResult(found, value, scalar, out);
        }
        out.countInputs(kQueries);
    }
}

void singleTriangles(Inputs& in, Record& out)
{
    constexpr int kQueries = 500; // of a mesh
    while (out.count() < kInputs) {
        Mesh const mesh = anyMesh(in);
        MeshFunction2D const function = functionOf(mesh);
        int const vertices = static_cast<int>(mesh.params.size());
        for (int i = 0; i < kQueries; ++i) {
            int corners[3]; // rarely not a vertex
            for (int& corner : corners) corner = in.below(vertices + 1) - (in.oneIn(16) ? 1 : 0);
            Point const p = pointNear(in, mesh);
            bool const checksInside = in.oneIn(2);
            Point value(7.0, 8.0);
            float scalar = 9.0F;
            bool const found =
                function.iEvalInFacet(corners[0], corners[1], corners[2], p, &value, &scalar, checksInside);
            addResult(found, value, scalar, out);
            bool onSegment = false;
            out.add(function.iDistToEdge(corners[0], corners[1], p, &onSegment, checksInside));
            out.add(onSegment);
        }
        out.countInputs(kQueries);
    }
}

void diagnosis(Inputs& in, Record& out)
{
    while (out.count() < kInputs) {
        Mesh const mesh = damagedMesh(in);
        MeshFunction2D const function = functionOf(mesh);
        out.add(sinew::diagnose(function));
        out.add(function.gridCells);
        out.add(function.boundaryFacets);
        out.countInputs(triangleCount(mesh) + static_cast<std::int64_t>(mesh.params.size()));
    }
}

// The packed text, and what is read from it.
void documents(Inputs& in, Record& out)
{
    while (out.count() < kInputs) {
        Mesh const mesh = in.oneIn(4) ? damagedMesh(in) : anyMesh(in);
        MeshFunction2D function = functionOf(mesh);
        std::ostringstream text;
        sinew::writeDocument(text, function, "MeshFunction2D");
        out.add(std::string_view(text.str()));
        std::istringstream again(text.str());
        std::unique_ptr<Serializable> const loaded = sinew::createFromDocument(again);
        addMembers(dynamic_cast<MeshFunction2D const&>(*loaded), out);
        out.countInputs(static_cast<std::int64_t>(mesh.params.size() + mesh.facets.size()));
    }
}

// The text without loss, and what is read from it.
void exactDocuments(Inputs& in, Record& out)
{
    while (out.count() < kInputs) {
        Mesh const mesh = in.oneIn(4) ? damagedMesh(in) : anyMesh(in);
        MeshFunction2D function = functionOf(mesh);
        if (in.oneIn(2)) {
            for (Point& value : function.values) value = Point(in.anyBits(), value.y);
        }
        std::ostringstream text;
        bool const isSaved = sinew::saveExact(function, text);
        out.add(isSaved);
        out.add(std::string_view(text.str()));
        out.countInputs(static_cast<std::int64_t>(mesh.params.size() + mesh.facets.size()));
        if (!isSaved) continue;
        std::istringstream again(text.str());
        std::unique_ptr<Serializable> const loaded = sinew::createFromDocument(again);
        addMembers(dynamic_cast<MeshFunction2D const&>(*loaded), out);
    }
}

// Documents whose packed text is cut, extended or changed in one place.
void damagedDocuments(Inputs& in, Record& out)
{
    std::string const head = "<MeshFunction2D><saveString>";
    std::string const tail = "</saveString></MeshFunction2D>";
    while (out.count() < kInputs) {
        MeshFunction2D function = functionOf(smallMesh(in));
        std::ostringstream text;
        sinew::writeDocument(text, function, "MeshFunction2D");
        std::string packed = text.str();
        std::size_t const begin = packed.find("<saveString>") + 12;
        packed = packed.substr(begin, packed.find("</saveString>") - begin);
        for (int i = 0; i < 50; ++i) {
            std::string changed = packed;
            std::size_t const at = static_cast<std::size_t>(in.below(static_cast<int>(packed.size())));
            int const kind = in.below(4);
            if (kind == 0) changed.resize(at);
            if (kind == 1) changed.insert(at, 1, '~');
            if (kind == 2) changed[at] = static_cast<char>('?' + in.below(64));
            if (kind == 3) changed.erase(at / 2, 1 + at % 5);
            std::istringstream document(head + changed + tail);
            MeshFunction2D loaded(true);
            try {
                sinew::readDocument(document, loaded);
                addMembers(loaded, out);
            } catch (Serializable::LoadFail const& failure) {
                out.add(std::string_view(failure.what()));
            }
            out.countInputs(static_cast<std::int64_t>(changed.size()));
        }
    }
}

// ---- textures ----

// Mostly blocks of used texels, also none, all, or single ones.
std::vector<bool> mask(Inputs& in, int width, int height)
{
    std::vector<bool> used(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), in.oneIn(16));
    for (int blocks = in.below(4); blocks > 0 && !used.empty(); --blocks) {
        int const x0 = in.below(width);
        int const y0 = in.below(height);
        int const w = 1 + in.below(8);
        int const h = 1 + in.below(8);
        for (int y = y0; y < std::min(y0 + h, height); ++y) {
            for (int x = x0; x < std::min(x0 + w, width); ++x) used[static_cast<std::size_t>(x + width * y)] = true;
        }
    }
    if (in.oneIn(16)) used.push_back(true); // of another size
    return used;
}

// A normalised coordinate: inside, at the border of a texel, outside, or any number.
double coordinate(Inputs& in, int size)
{
    int const kind = in.below(8);
    if (kind == 0) return in.number();
    if (kind < 4) return static_cast<double>(in.below(size + 2) - 1) / std::max(size, 1);
    return in.uniform(-0.1, 1.1);
}

void emptyRectangles(Inputs& in, Record& out)
{
    constexpr int kQueries = 100; // of a mask
    while (out.count() < kInputs) {
        int const width = in.below(in.oneIn(2) ? 12 : 200);
        int const height = in.below(20);
        EmptyRectTester const tester(mask(in, width, height), width, height);
        out.add(tester.emptyTexels);
        for (int i = 0; i < kQueries; ++i) {
            double const low[2] = {coordinate(in, width), coordinate(in, height)};
            double const high[2] = {coordinate(in, width), coordinate(in, height)};
            out.add(tester.isRectEmpty(low[0], low[1], high[0], high[1]));
        }
        out.countInputs(kQueries);
    }
}

void optimizers(Inputs& in, Record& out)
{
    constexpr int kQueries = 100; // of a mask
    while (out.count() < kInputs) {
        int const width = in.below(in.oneIn(2) ? 12 : 200);
        int const height = in.below(20);
        TextureOptimizer optimizer(mask(in, width, height), width, height);
        out.add(optimizer.newWidth);
        out.add(optimizer.newHeight);
        for (TextureOptimizer::RectMotion const& m : optimizer.motions) {
            for (int const number : {m.x, m.y, m.w, m.h, m.dx, m.dy}) out.add(number);
        }
        // A host may add motions; the nearest one counts, of equally near ones the first.
        for (int i = in.below(3); i > 0; --i) {
            optimizer.motions.push_back(
                {in.below(12), in.below(12), 1 + in.below(6), 1 + in.below(6), in.below(9) - 4, in.below(9) - 4});
        }
        for (int i = 0; i < kQueries; ++i) {
            double const u = coordinate(in, width);
            double const v = coordinate(in, height);
            double newU = -7.0;
            double newV = -7.0;
            optimizer.mapCoord(u, v, newU, newV);
            out.add(newU);
            out.add(newV);
            out.add(clip(in.below(9), 2, 5));
        }
        out.countInputs(kQueries);
    }
}

void compaction(Inputs& in, Record& out)
{
    constexpr int kSide = 16;
    while (out.count() < kInputs) {
        Mesh const mesh = in.oneIn(4) ? damagedMesh(in) : anyMesh(in);
        MeshFunction2D function = functionOf(mesh);
        for (Point& value : function.values) value = Point(0.5, 0.5) + 0.1 * value;
        std::vector<bool> const used = mask(in, kSide, kSide);
        function.eraseExtraTriangles(EmptyRectTester(used, kSide, kSide));
        function.remapToOptimized(TextureOptimizer(used, kSide, kSide));
        addMembers(function, out);
        out.countInputs(triangleCount(mesh));
    }
}

} // namespace

std::vector<Group> meshfuncGroups()
{
    constexpr MathLibrary kUnused = MathLibrary::unused;
    return {
        {"meshfunc.build", "triangles", kUnused, building},
        {"meshfunc.evaluate", "queries", kUnused, evaluation},
        {"meshfunc.extrapolate", "queries", kUnused, extrapolation},
        {"meshfunc.extrapolateAnywhere", "queries", kUnused, extrapolationAnywhere},
        {"meshfunc.extrapolateOld", "queries", kUnused, oldExtrapolation},
        {"meshfunc.locate", "queries", kUnused, locations},
        {"meshfunc.rasters", "pixels", kUnused, rasters},
        {"meshfunc.singleTriangles", "triangles and points", kUnused, singleTriangles},
        {"meshfunc.diagnose", "triangles and vertices", kUnused, diagnosis},
        {"meshfunc.documents", "vertices and corners", kUnused, documents},
        {"meshfunc.saveExact", "vertices and corners", kUnused, exactDocuments},
        {"meshfunc.damagedDocuments", "characters", kUnused, damagedDocuments},
        {"meshfunc.EmptyRectTester", "rectangles", kUnused, emptyRectangles},
        {"meshfunc.TextureOptimizer", "points", kUnused, optimizers},
        {"meshfunc.eraseExtraTriangles", "triangles", kUnused, compaction},
    };
}

} // namespace selftest
