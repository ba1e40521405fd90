// Work that grows too fast is a way to attack a host: a document or a model that is twice as large must not take four
// times as long. This program does one piece of work of one size, in the function `measuredWork`; work_bounds.py counts
// the instructions of that function for growing sizes.
//
//     work_bounds                  lists the pieces of work, with the factor that doubling the size may cost
//     work_bounds <work> <size>    does one of them

#include <sinew/sinew.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <utility>

#include "meshfunc/mesh_samples.h"
#include "skinning/skinning_scene.h"
#include "sparse/matrices.h"
#include "support/random.h"

using test::Mesh;
using test::Point;
using test::Random;

extern "C" {
#if defined(__GNUC__)
__attribute__((noinline))
#endif
void measuredWork(std::function<void()> const& work)
{
    work();
}
}

namespace {

// Makes the input of a size, and returns the work on it. The work is done once.
using Prepare = std::function<std::function<void()>(int size)>;

struct Work
{
    double limit; ///< the largest factor of instructions when the size doubles
    int size;     ///< the smallest size that is measured
    Prepare prepare;
};

constexpr double kLinear = 2.2;
constexpr int kQueries = 300;

// A number that the compiler cannot drop.
double volatile sink;

// Mesh functions ------------------------------------------------------------------------------------------------------

Mesh grid(int triangles)
{
    Random random(1);
    int const side = std::max(1, static_cast<int>(std::sqrt(triangles / 2.0)));
    return test::gridMesh(random, side, std::max(1, triangles / 2 / side));
}

// Triangles across the whole domain, each thinner than the distance to the next.
Mesh slivers(int triangles)
{
    Mesh mesh;
    for (int i = 0; i < triangles; ++i) {
        double const y = static_cast<double>(i) / triangles;
        int const a = mesh.addVertex(0, y);
        mesh.addVertex(1, y + 0.4 / triangles);
        mesh.addVertex(0.5, y + 0.5 / triangles);
        mesh.addTriangle(a, a + 1, a + 2);
    }
    return mesh;
}

// A fine grid in one cell of the domain, which one far triangle makes large.
Mesh oneCell(int triangles)
{
    Mesh mesh = grid(triangles);
    int const a = mesh.addVertex(1000, 1000);
    mesh.addVertex(1001, 1000);
    mesh.addVertex(1000, 1001);
    mesh.addTriangle(a, a + 1, a + 2);
    return mesh;
}

// One triangle that covers the domain of a fine grid.
Mesh hugeTriangle(int triangles)
{
    Mesh mesh = grid(triangles);
    int const a = mesh.addVertex(-1, -1);
    mesh.addVertex(3, -1);
    mesh.addVertex(-1, 3);
    mesh.facets.insert(mesh.facets.begin(), {a, a + 1, a + 2});
    return mesh;
}

// Triangles that all contain the same points.
Mesh nested(int triangles)
{
    Mesh mesh;
    for (int i = 0; i < triangles; ++i) {
        double const s = 1 + static_cast<double>(i) / triangles;
        int const a = mesh.addVertex(-s, -s);
        mesh.addVertex(3 * s, -s);
        mesh.addVertex(-s, 3 * s);
        mesh.addTriangle(a, a + 1, a + 2);
    }
    return mesh;
}

Mesh separateTriangles(int triangles)
{
    return test::islands(std::max(1, static_cast<int>(std::sqrt(triangles / 2.0))));
}

using MakeMesh = Mesh (*)(int);

// The construction and a fixed number of queries, half of them outside. Together, because large meshes build parts of
// their structures during the first queries.
Prepare query(MakeMesh make)
{
    return [make](int n) {
        auto mesh = std::make_shared<Mesh>(make(n));
        return [mesh] {
            MeshFunction2D const function = mesh->function();
            Random random(2);
            for (int i = 0; i < kQueries; ++i) {
                Point const p = random.point2(-0.5, 1.5);
                Point value;
                sink = function.extrapolate(p, &value, nullptr) + value.x;
            }
        };
    };
}

Prepare saveAndLoad(MakeMesh make)
{
    return [make](int n) {
        auto function = std::make_shared<MeshFunction2D>(make(n).function());
        return [function] {
            std::stringstream document;
            sinew::writeDocument(document, *function, "MeshFunction2D");
            MeshFunction2D loaded(true);
            sinew::readDocument(document, loaded);
            sink = loaded.domainMax.x;
        };
    };
}

// Points outside, where every boundary triangle may be flat and is then passed over.
Prepare queryAnywhere(MakeMesh make)
{
    return [make](int n) {
        auto mesh = std::make_shared<Mesh>(make(n));
        return [mesh] {
            MeshFunction2D const function = mesh->function();
            Random random(10);
            for (int i = 0; i < kQueries; ++i) {
                Point value;
                sink = sinew::extrapolateAnywhere(function, random.point2(-0.5, 1.5), &value, nullptr) + value.x;
            }
        };
    };
}
// Triangles without area beside each other, and one good triangle far away.
Mesh flat(int triangles)
{
    Mesh mesh;
    for (int i = 0; i < triangles; ++i) {
        double const x = static_cast<double>(i) / triangles;
        int const a = mesh.addVertex(x, 0.5);
        mesh.addVertex(x, 0.6);
        mesh.addVertex(x, 0.7);
        mesh.addTriangle(a, a + 1, a + 2);
    }
    int const a = mesh.addVertex(3, 3);
    mesh.addVertex(4, 3);
    mesh.addVertex(3, 4);
    mesh.addTriangle(a, a + 1, a + 2);
    return mesh;
}

Prepare saveExactly(MakeMesh make)
{
    return [make](int n) {
        auto function = std::make_shared<MeshFunction2D>(make(n).function());
        return [function] {
            std::stringstream document;
            sinew::saveExact(*function, document);
            MeshFunction2D loaded(true);
            sinew::readDocument(document, loaded);
            sink = loaded.domainMax.x;
        };
    };
}

Prepare diagnoseMesh(MakeMesh make)
{
    return [make](int n) {
        auto mesh = std::make_shared<Mesh>(make(n));
        return [mesh] { sink = static_cast<double>(sinew::diagnose(mesh->function()).findings.size()); };
    };
}

// Polylines -----------------------------------------------------------------------------------------------------------

std::vector<Vector3> curve(int n, std::function<Vector3(double)> const& at)
{
    std::vector<Vector3> points;
    for (int i = 0; i < n; ++i) points.push_back(at(static_cast<double>(i) / n));
    return points;
}
std::vector<Vector3> spiral(int n)
{
    return curve(n, [n](double s) { return Vector3(s * std::cos(0.1 * s * n), s * std::sin(0.1 * s * n), 0); });
}
std::vector<Vector3> circle(int n)
{
    return curve(n, [](double s) { return Vector3(std::cos(6.28 * s), std::sin(6.28 * s), 0); });
}
std::vector<Vector3> onePlace(int n)
{
    return std::vector<Vector3>(static_cast<std::size_t>(n), Vector3(0.5, 0.5, 0.5));
}
std::vector<Vector3> threePlaces(int n)
{
    Vector3 const places[] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    return curve(n, [&](double s) { return places[static_cast<int>(std::lround(s * 1e6)) % 3]; });
}
std::vector<Vector3> noise(int n)
{
    return Random(3).points(n);
}

using MakePoints = std::vector<Vector3> (*)(int);

// The construction, the index of the first projection, and a fixed number of projections, some from the centre.
Prepare project(MakePoints make)
{
    return [make](int n) {
        auto points = std::make_shared<std::vector<Vector3>>(make(n));
        return [points] {
            PolylineProjector polyline(*points);
            Random random(4);
            for (int i = 0; i < kQueries; ++i) {
                polyline.project(i % 10 == 0 ? Vector3() : random.point());
                sink = polyline.t;
            }
        };
    };
}

Prepare smoothDistances(MakePoints make)
{
    return [make](int n) {
        auto points = std::make_shared<std::vector<Vector3>>(make(n));
        return [points] {
            std::vector<Vector3> const queries = Random(5).points(30);
            std::vector<double> dists(queries.size());
            sinew::smoothDistMany(*points, queries.data(), queries.size(), 0.05, dists.data(), nullptr, nullptr);
            sink = dists[0];
        };
    };
}

Prepare symmetricSmoothDistances(MakePoints make)
{
    return [make](int n) {
        auto points = std::make_shared<std::vector<Vector3>>(make(n));
        return [points] {
            std::vector<Vector3> const queries = Random(5).points(30);
            std::vector<double> dists(queries.size());
            sinew::smoothDistanceMany(*points, sinew::coordinatesOf(queries.data(), queries.size()), 0.05, dists.data(),
                                      nullptr, nullptr);
            sink = dists[0];
        };
    };
}

// Points and textures -------------------------------------------------------------------------------------------------

Prepare proximity(MakePoints make)
{
    return [make](int n) {
        auto points = std::make_shared<std::vector<Vector3>>(make(n));
        return [points] { sink = ProximityTester(*points, 0.01).test(Vector3()); };
    };
}

Prepare bestFit(MakePoints make)
{
    return [make](int n) {
        auto points = std::make_shared<std::vector<Vector3>>(make(n));
        return [points] {
            Vector3 place;
            UVector3 direction;
            bestFitPlane(*points, &place, &direction);
            sink = direction.x;
        };
    };
}

Prepare fit(MakePoints make)
{
    return [make](int n) {
        auto points = std::make_shared<std::vector<Vector3>>(make(n));
        return [points] {
            std::vector<Vector3> const& all = *points;
            sink = sinew::fitPlane(sinew::coordinatesOf(all.data(), all.size())).residual;
            sink = static_cast<double>(sinew::diagnose(all).findings.size());
        };
    };
}

std::vector<bool> mask(int texels, int usedOneIn)
{
    Random random(6);
    std::vector<bool> used(static_cast<std::size_t>(texels));
    for (std::size_t i = 0; i < used.size(); ++i) used[i] = random.oneIn(usedOneIn);
    return used;
}

Prepare compactTexture(int usedOneIn)
{
    return [usedOneIn](int n) {
        auto used = std::make_shared<std::vector<bool>>(mask(n / 64 * 64, usedOneIn));
        return [used] {
            int const height = static_cast<int>(used->size()) / 64;
            sink = EmptyRectTester(*used, 64, height).isRectEmpty(0, 0, 64, height);
            sink = TextureOptimizer(*used, 64, height).newWidth;
        };
    };
}

// Sparse matrices -----------------------------------------------------------------------------------------------------

using MakeEdges = test::Edges (*)(int);

std::shared_ptr<SPDMatrix> matrix(MakeEdges make, int n)
{
    Random random(7);
    test::Edges const edges = make(n);
    int rows = 0;
    for (auto const& [a, b] : edges) rows = std::max({rows, a + 1, b + 1});
    return std::make_shared<SPDMatrix>(test::matrixOf(edges, rows, random));
}
test::Edges star(int n)
{
    return test::hubs(n, 1);
}
test::Edges path(int n)
{
    test::Edges edges;
    for (int i = 1; i < n; ++i) edges.push_back({i, i - 1});
    return edges;
}
// The size is the number of edges.
test::Edges clique(int n)
{
    int const rows = static_cast<int>(std::sqrt(2.0 * n));
    return test::hubs(rows, rows);
}
test::Edges cliquesOf8(int n)
{
    test::Edges edges;
    for (int i = 0; i < n; ++i) {
        for (int j = i / 8 * 8; j < i; ++j) edges.push_back({i, j});
    }
    return edges;
}
test::Edges twoHubs(int n)
{
    return test::hubs(n, 2);
}
test::Edges wheel(int n)
{
    return test::wheel(n);
}
test::Edges square(int n)
{
    int const side = static_cast<int>(std::sqrt(n));
    return test::grid2D(side, n / side);
}
test::Edges tree(int n)
{
    Random random(8);
    return test::randomTree(n, random);
}

Prepare order(MakeEdges make)
{
    return [make](int n) {
        auto const m = matrix(make, n);
        return [m] { sink = m->computePerm().front(); };
    };
}

Prepare factorAndSolve(MakeEdges make)
{
    return [make](int n) {
        auto const m = matrix(make, n);
        return [m] {
            LLTMatrix const factor = m->factor();
            std::vector<double> b(m->rows.size(), 1.0);
            sink = factor.solve(b) + b.front();
        };
    };
}

// Documents and display data ------------------------------------------------------------------------------------------

// Reads a document that `MeshFunction2D` must skip or refuse.
Prepare readDocument(std::function<std::string(int)> make)
{
    return [make = std::move(make)](int n) {
        auto text = std::make_shared<std::string>(make(n));
        return [text] {
            std::istringstream in(*text);
            MeshFunction2D function(true);
            try {
                sinew::readDocument(in, function);
            } catch (Serializable::LoadFail const&) {
                sink = 1;
            }
        };
    };
}

std::string repeated(std::string const& part, int count)
{
    std::string result;
    for (int i = 0; i < count; ++i) result += part;
    return result;
}
std::string inRoot(std::string const& content)
{
    return "<MeshFunction2D>" + content + "</MeshFunction2D>";
}
std::string attributes(int count)
{
    std::string result = "<x";
    for (int i = 0; i < count; ++i) result += " a" + std::to_string(i) + "=\"1\"";
    return result + "/>";
}

Prepare pose(int influences)
{
    return [influences](int n) {
        Random random(9);
        smart_ptr<BoneTransformVector> const bones = test::randomBones(random, 20);
        smart_ptr<DisplayData> const display = test::randomDisplay(random, n, 20, influences);
        return [bones, display] { sink = BoneTransformModifyer(bones)(display)->positions[0].x; };
    };
}

Prepare skinByDualQuaternions(std::size_t influences)
{
    return [influences](int n) {
        Random random(11);
        std::size_t const count = static_cast<std::size_t>(n);
        smart_ptr<BoneTransformVector> const bones = test::randomBones(random, 20);
        auto rest = std::make_shared<std::vector<Vector3>>(random.points(n));
        auto indices = std::make_shared<std::vector<int>>(count * influences);
        for (int& index : *indices) index = random.below(20);
        auto weights = std::make_shared<std::vector<double>>(indices->size(), 0.5);
        return [=] {
            std::vector<Vector3> posed(count);
            sinew::SkinInput input;
            input.positions = sinew::coordinatesOf(std::as_const(*rest).data(), count);
            input.influences = {influences, sinew::packed(indices->data(), count, influences),
                                sinew::packed(weights->data(), count, influences)};
            input.bones = bones->bones.data();
            input.boneCount = bones->bones.size();
            input.method = sinew::SkinMethod::dualQuaternion;
            sinew::skin(input, {sinew::coordinatesOf(posed.data(), count), {}});
            sink = posed[0].x;
        };
    };
}

std::map<std::string, Work> const& works()
{
    static std::map<std::string, Work> const all = {
        // From 65,536 triangles or entries on, the parts of a mesh function are built by the first queries.
        {"mesh.query.grid", {kLinear, 70000, query(grid)}},
        {"mesh.query.slivers", {kLinear, 4000, query(slivers)}},
        {"mesh.query.one-cell", {kLinear, 8000, query(oneCell)}},
        {"mesh.query.huge-triangle", {kLinear, 70000, query(hugeTriangle)}},
        {"mesh.query.nested", {kLinear, 4000, query(nested)}},
        {"mesh.query.islands", {kLinear, 4000, query(separateTriangles)}},
        {"mesh.anywhere.grid", {kLinear, 4000, queryAnywhere(grid)}},
        {"mesh.anywhere.flat", {kLinear, 2000, queryAnywhere(flat)}},
        {"mesh.exact-document.grid", {kLinear, 4000, saveExactly(grid)}},
        {"mesh.document.grid", {kLinear, 4000, saveAndLoad(grid)}},
        {"mesh.document.nested", {kLinear, 2000, saveAndLoad(nested)}},
        {"mesh.diagnose.grid", {kLinear, 4000, diagnoseMesh(grid)}},
        {"mesh.diagnose.islands", {kLinear, 4000, diagnoseMesh(separateTriangles)}},
        {"polyline.project.spiral", {kLinear, 8000, project(spiral)}},
        {"polyline.project.circle", {kLinear, 8000, project(circle)}},
        {"polyline.project.one-place", {kLinear, 8000, project(onePlace)}},
        {"polyline.project.three-places", {kLinear, 8000, project(threePlaces)}},
        {"polyline.project.noise", {kLinear, 8000, project(noise)}},
        {"polyline.smooth.spiral", {kLinear, 4000, smoothDistances(spiral)}},
        {"polyline.smooth.one-place", {kLinear, 4000, smoothDistances(onePlace)}},
        {"polyline.smooth.noise", {kLinear, 4000, smoothDistances(noise)}},
        {"polyline.symmetric-smooth.spiral", {kLinear, 4000, symmetricSmoothDistances(spiral)}},
        {"polyline.symmetric-smooth.one-place", {kLinear, 4000, symmetricSmoothDistances(onePlace)}},
        {"polyline.symmetric-smooth.noise", {kLinear, 4000, symmetricSmoothDistances(noise)}},
        {"points.fit.noise", {kLinear, 8000, fit(noise)}},
        {"points.fit.one-place", {kLinear, 8000, fit(onePlace)}},
        {"points.proximity.noise", {kLinear, 4000, proximity(noise)}},
        {"points.proximity.one-place", {kLinear, 4000, proximity(onePlace)}},
        {"points.best-fit.noise", {kLinear, 8000, bestFit(noise)}},
        {"texture.compact.sparse", {kLinear, 64 * 256, compactTexture(500)}},
        {"texture.compact.dense", {kLinear, 64 * 256, compactTexture(2)}},
        {"sparse.order.star", {kLinear, 8000, order(star)}},
        {"sparse.order.path", {kLinear, 8000, order(path)}},
        {"sparse.order.clique", {kLinear, 8000, order(clique)}},
        {"sparse.order.cliques-of-8", {kLinear, 4000, order(cliquesOf8)}},
        {"sparse.order.two-hubs", {kLinear, 4000, order(twoHubs)}},
        {"sparse.order.wheel", {kLinear, 4000, order(wheel)}},
        {"sparse.order.tree", {kLinear, 4000, order(tree)}},
        {"sparse.order.grid", {kLinear, 2500, order(square)}},
        {"sparse.solve.path", {kLinear, 4000, factorAndSolve(path)}},
        {"sparse.solve.star", {kLinear, 4000, factorAndSolve(star)}},
        {"sparse.solve.tree", {kLinear, 4000, factorAndSolve(tree)}},
        {"document.skipped-elements", {kLinear, 2000, readDocument([](int n) { return inRoot(repeated("<x/>", n)); })}},
        {"document.nested-elements", {kLinear, 2000, readDocument([](int n) { return repeated("<x>", n); })}},
        {"document.attributes", {kLinear, 2000, readDocument([](int n) { return inRoot(attributes(n)); })}},
        {"document.equal-attributes",
         {kLinear, 2000, readDocument([](int n) { return inRoot("<x" + repeated(" a=\"1\"", n) + "/>"); })}},
        {"document.comments", {kLinear, 2000, readDocument([](int n) { return inRoot(repeated("<!-- - -->", n)); })}},
        {"document.references",
         {kLinear, 2000, readDocument([](int n) { return inRoot("<x>" + repeated("&#65;", n) + "</x>"); })}},
        {"document.long-name", {kLinear, 20000, readDocument([](int n) { return "<" + repeated("x", n); })}},
        {"document.blanks", {kLinear, 20000, readDocument([](int n) { return inRoot(repeated(" \n", n)); })}},
        {"skinning.pose.4", {kLinear, 2000, pose(4)}},
        {"skinning.pose.40", {kLinear, 500, pose(40)}},
        {"skinning.dual-quaternions.4", {kLinear, 2000, skinByDualQuaternions(4)}},
        {"skinning.dual-quaternions.40", {kLinear, 500, skinByDualQuaternions(40)}},
    };
    return all;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc == 1) {
        for (auto const& [name, work] : works()) std::printf("%s %g %d\n", name.c_str(), work.limit, work.size);
        return 0;
    }
    auto const found = argc == 3 ? works().find(argv[1]) : works().end();
    int const size = argc == 3 ? std::atoi(argv[2]) : 0;
    if (found == works().end() || size < 1) {
        std::fprintf(stderr, "usage: work_bounds [<work> <size>]\n");
        return 2;
    }
    measuredWork(found->second.prepare(size));
    return 0;
}
