// Cost against size, for every method with an index or an analysis, for the reference implementations and for the
// peers. Cases are named "method size"; docs/figures/growth_figures.cpp draws what ./dev bench growth --update writes.
//
// The other benches compare the results before they time them. Here only the sizes differ.
//
//   evaluate         one random point; size = triangles
//   project          one point around a noisy curve; size = vertices
//   proximity test   one point near a sphere; size = points on it
//   order, factor, solve   a square grid, the analysis done before for factor and solve; size = unknowns
//   implicit fit     size = points
//   implicit evaluate   one point; size = centres
//   save             the whole function; size = vertices

#include <cmath>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#include <sinew/sparse/symbolic_factor.h>

#include "fields/implicit_contenders.h"
#include "fields/polyline_contenders.h"
#include "fields/proximity_contenders.h"
#include "meshfunc/contenders.h"
#include "meshfunc/documents.h"
#include "sparse/cases.h"
#include "sparse/peers.h"
#include "sparse/reference_sparse.h"

namespace {

// An operation, ready to be timed: what it needs is made before and kept by the function.
using Operation = std::function<void()>;
using Prepare = std::function<Operation(int size)>;

// The sizes: three for each power of ten.
std::vector<int> sizes(int smallest, int largest)
{
    std::vector<int> result;
    for (double size = smallest; size <= largest * 1.01; size *= std::cbrt(10.0))
        result.push_back(static_cast<int>(std::lround(size)));
    return result;
}

// Made when it is first called, and kept: the repetitions of all sizes are interleaved.
Operation const& prepared(std::string const& name, Prepare const& prepare, int size)
{
    static std::map<std::string, Operation> kept;
    auto const found = kept.find(name);
    return found != kept.end() ? found->second : kept.emplace(name, prepare(size)).first->second;
}

// `items` operations in one call, of which the time of one is reported. `actual` is the size that is reported.
void add(std::string const& method, std::string const& contender, std::vector<int> const& of, Prepare const& prepare,
         int items = 1, int (*actual)(int) = nullptr)
{
    for (int const size : of) {
        std::string const name = method + " " + std::to_string(actual ? actual(size) : size) + "/" + contender;
        benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
            Operation const& operation = prepared(name, prepare, size);
            for (auto _ : state) operation();
            state.SetItemsProcessed(state.iterations() * items);
        });
    }
}

constexpr int kQueries = 1024;

// ---- mesh functions ----

int sideOf(int triangles)
{
    return static_cast<int>(std::lround(std::sqrt(triangles / 2.0)));
}
int trianglesOf(int size)
{
    return 2 * sideOf(size) * sideOf(size);
}

bench::meshes::Mesh const& mesh(int side)
{
    static std::map<int, bench::meshes::Mesh> made;
    auto const found = made.find(side);
    return found != made.end() ? found->second : made.emplace(side, bench::meshes::evenMesh(side)).first->second;
}

template <typename Contender>
Operation evaluation(int size)
{
    auto const contender = std::make_shared<Contender>(mesh(sideOf(size)));
    // Many points, so that the caches do not hold all that they need of a large mesh.
    auto const points = std::make_shared<std::vector<test::Point>>();
    test::Random random(2);
    for (int i = 0; i < 64 * kQueries; ++i) points->push_back(random.point2(0.001, 0.999));
    // The first queries of a large mesh build its finer grids.
    test::Point ignored;
    for (test::Point const& p : *points) contender->evaluate(p, &ignored);
    return [contender, points, next = std::size_t{0}]() mutable {
        for (int i = 0; i < kQueries; ++i) {
            test::Point value;
            benchmark::DoNotOptimize(contender->evaluate((*points)[next], &value));
            benchmark::DoNotOptimize(value);
            next = (next + 1) % points->size();
        }
    };
}

void addEvaluations()
{
    auto const all = sizes(100, 1000000);
    add("evaluate", "sinew", all, evaluation<bench::meshes::Sinew>, kQueries, trianglesOf);
    add("evaluate", "reference", all, evaluation<bench::meshes::Reference>, kQueries, trianglesOf);
#ifdef SINEW_BENCH_CGAL
    add("evaluate", "CGAL", all, evaluation<bench::meshes::CgalHierarchy>, kQueries, trianglesOf);
#endif
#ifdef SINEW_BENCH_EMBREE
    add("evaluate", "Embree", all, evaluation<bench::meshes::EmbreeRay>, kQueries, trianglesOf);
#endif
}

// ---- polylines ----

template <typename Contender, int queries>
Operation projection(int vertices)
{
    test::Random random(20250320);
    // The noise is a fraction of the distance between vertices, so that all sizes look alike.
    std::vector<Vector3> const points = test::noisyCurve(vertices, random, 20.0 / vertices, 8.0);
    auto const contender = std::make_shared<Contender>(points);
    auto const at = std::make_shared<std::vector<Vector3>>(bench::polylines::around(points, queries, random));
    return [contender, at] {
        Vector3 sum;
        for (Vector3 const& q : *at) sum += (*contender)(q);
        benchmark::DoNotOptimize(sum);
    };
}

void addProjections()
{
    add("project", "sinew", sizes(100, 1000000), projection<bench::polylines::Sinew, kQueries>, kQueries);
    add("project", "reference", sizes(100, 100000), projection<bench::polylines::Reference, 8>, 8);
#ifdef SINEW_BENCH_CGAL
    add("project", "CGAL", sizes(100, 1000000), projection<bench::polylines::Cgal, kQueries>, kQueries);
#endif
}

// ---- proximity ----

// The points lie on a sphere, so that larger sets do not fill the space. Queries are near it.
std::vector<Vector3> const& shell(int count)
{
    static std::map<int, std::vector<Vector3>> made;
    std::vector<Vector3>& points = made[count];
    test::Random random(3);
    while (points.size() < static_cast<std::size_t>(count)) points.push_back(UVector3(random.point()));
    return points;
}

template <typename Tester>
Operation proximity(int count)
{
    auto const tester = std::make_shared<Tester>(shell(count), 0.1);
    auto const points = std::make_shared<std::vector<Vector3>>();
    test::Random random(4);
    for (int i = 0; i < 4 * kQueries; ++i) {
        Vector3 const direction = UVector3(random.point());
        points->push_back(direction * random.uniform(0.7, 1.3));
    }
    return [tester, points, next = std::size_t{0}]() mutable {
        int near = 0;
        for (int i = 0; i < kQueries; ++i) near += static_cast<int>(tester->test((*points)[next + i]));
        next = (next + kQueries) % points->size();
        benchmark::DoNotOptimize(near);
    };
}

void addProximity()
{
    auto const all = sizes(100, 1000000);
    add("proximity test", "sinew", all, proximity<ProximityTester>, kQueries);
    add("proximity test", "hash of cells", all, proximity<bench::proximity::MarkHash>, kQueries);
#ifdef SINEW_BENCH_NANOFLANN
    add("proximity test", "nanoflann", all, proximity<bench::proximity::KdTree>, kQueries);
#endif
}

// ---- sparse systems ----

int gridSide(int unknowns)
{
    return static_cast<int>(std::lround(std::sqrt(unknowns)));
}
int gridUnknowns(int size)
{
    return gridSide(size) * gridSide(size);
}
SPDMatrix const& grid(int size)
{
    return bench::matrixNamed("2D " + std::to_string(gridSide(size)));
}
std::shared_ptr<std::vector<double>> ones(int size)
{
    return std::make_shared<std::vector<double>>(grid(size).rows.size(), 1.0);
}

void addSinewSparse()
{
    auto const most = sizes(100, 400000);
    auto const few = sizes(100, 5000); // the reference takes seconds for more
    add(
        "order", "sinew", most,
        [](int size) -> Operation {
            return [&matrix = grid(size)] { benchmark::DoNotOptimize(matrix.computePerm()); };
        },
        1, gridUnknowns);
    add(
        "order", "reference", few,
        [](int size) -> Operation {
            return [&matrix = grid(size)] { benchmark::DoNotOptimize(reference::computePerm(matrix)); };
        },
        1, gridUnknowns);
    add(
        "factor", "sinew", most,
        [](int size) -> Operation {
            auto const symbolic = std::make_shared<sinew::SymbolicFactor>(grid(size));
            return [symbolic, &matrix = grid(size)] { benchmark::DoNotOptimize(symbolic->factor(matrix).diag); };
        },
        1, gridUnknowns);
    add(
        "factor", "reference", sizes(100, 50000),
        [](int size) -> Operation {
            auto const perm = std::make_shared<std::vector<int>>(grid(size).computePerm());
            return [perm, &matrix = grid(size)] { benchmark::DoNotOptimize(reference::factor(matrix, *perm).diag); };
        },
        1, gridUnknowns);
    auto const substitution = [](auto solve) {
        return [solve](int size) -> Operation {
            auto const factor = std::make_shared<LLTMatrix>(grid(size).factor());
            return [solve, factor, b = ones(size), x = std::vector<double>()]() mutable {
                x = *b;
                solve(*factor, x);
                benchmark::DoNotOptimize(x.data());
            };
        };
    };
    add("solve", "sinew", most, substitution([](LLTMatrix const& f, std::vector<double>& x) { f.solve(x); }), 1,
        gridUnknowns);
    add("solve", "reference", most,
        substitution([](LLTMatrix const& f, std::vector<double>& x) { reference::solve(f, x); }), 1, gridUnknowns);
}

#ifdef SINEW_BENCH_EIGEN
void addEigenSparse()
{
    auto const most = sizes(100, 400000);
    add(
        "order", "Eigen", most,
        [](int size) -> Operation {
            auto const full = std::make_shared<bench::EigenMatrix>();
            *full = bench::upperForEigen(grid(size)).selfadjointView<Eigen::Upper>();
            return [full] {
                Eigen::PermutationMatrix<Eigen::Dynamic, Eigen::Dynamic, int> permutation;
                Eigen::AMDOrdering<int>()(*full, permutation);
                benchmark::DoNotOptimize(permutation.indices().data());
            };
        },
        1, gridUnknowns);
    add(
        "factor", "Eigen", most,
        [](int size) -> Operation {
            auto const matrix = std::make_shared<bench::EigenMatrix>(bench::upperForEigen(grid(size)));
            auto const solver = std::make_shared<bench::EigenSolver>();
            solver->analyzePattern(*matrix);
            return [matrix, solver] { solver->factorize(*matrix); };
        },
        1, gridUnknowns);
    add(
        "solve", "Eigen", most,
        [](int size) -> Operation {
            auto const solver = std::make_shared<bench::EigenSolver>(bench::upperForEigen(grid(size)));
            Eigen::VectorXd const b = Eigen::VectorXd::Ones(gridUnknowns(size));
            return [solver, b, x = Eigen::VectorXd()]() mutable {
                x = solver->solve(b);
                benchmark::DoNotOptimize(x.data());
            };
        },
        1, gridUnknowns);
}
#endif

#ifdef SINEW_BENCH_SUITESPARSE
void addSuiteSparse()
{
    auto const most = sizes(100, 400000);
    add(
        "order", "CXSparse", most,
        [](int size) -> Operation {
            auto const matrix = std::make_shared<bench::CxMatrix>(grid(size));
            return [matrix] { cs_di_free(cs_di_amd(1, matrix->get())); };
        },
        1, gridUnknowns);
    auto const analysed = [](int size) { return std::make_shared<bench::Cholmod>(grid(size), true); };
    add(
        "factor", "CHOLMOD", most,
        [analysed](int size) -> Operation { return [cholmod = analysed(size)] { cholmod->factorize(); }; }, 1,
        gridUnknowns);
    add(
        "solve", "CHOLMOD", most,
        [analysed](int size) -> Operation {
            auto const cholmod = analysed(size);
            cholmod->factorize();
            return [cholmod, b = ones(size)] { benchmark::DoNotOptimize(cholmod->solve(*b)); };
        },
        1, gridUnknowns);
}
#endif

// ---- implicit functions ----

template <typename Function>
Operation implicitFit(int count)
{
    bench::implicits::input(count);
    return [count] { benchmark::DoNotOptimize(Function(bench::implicits::input(count))); };
}

void addImplicits()
{
    add("implicit fit", "sinew", sizes(20, 2000), implicitFit<Implicit>);
    add("implicit fit", "reference", sizes(20, 1000), implicitFit<reference::Implicit>);
#ifdef SINEW_BENCH_EIGEN
    add("implicit fit", "Eigen", sizes(20, 2000), [](int count) -> Operation {
        bench::implicits::input(count);
        return [count] {
            using namespace bench::implicits;
            benchmark::DoNotOptimize(eigenFit(input(count), EigenMethod::solve));
        };
    });
#endif
    auto const evaluation = [](auto evaluate) {
        return [evaluate](int count) -> Operation {
            auto const f = std::make_shared<Implicit>(bench::implicits::input(count));
            return [evaluate, f, points = test::Random(2).points(64)] {
                for (Vector3 const& p : points) benchmark::DoNotOptimize(evaluate(*f, p));
            };
        };
    };
    add("implicit evaluate", "sinew", sizes(20, 2000),
        evaluation([](Implicit const& f, Vector3 const& p) { return f.evaluate(p); }), 64);
    add("implicit evaluate", "reference", sizes(20, 2000),
        evaluation([](Implicit const& f, Vector3 const& p) { return reference::Implicit::evaluate(f, p); }), 64);
}

// ---- persistence ----

template <typename Contender>
Operation saving(int vertices)
{
    auto const f = std::make_shared<MeshFunction2D>(bench::documents::sample(vertices, false));
    return [f, text = std::string()]() mutable {
        Contender::save(*f, text);
        benchmark::DoNotOptimize(text.data());
    };
}

void addSaving()
{
    constexpr int kMost = 262143; // vertices that the packed text can name
    add("save", "sinew", sizes(100, kMost), saving<bench::documents::Sinew>);
    add("save", "reference", sizes(100, kMost), saving<bench::documents::Reference>);
    add("save", "base64", sizes(100, kMost), saving<bench::documents::Base64>);
#ifdef SINEW_BENCH_PUGIXML
    add("save", "pugixml", sizes(100, kMost), saving<bench::documents::Attributes>);
#endif
}

bool const kRegistered = [] {
    addEvaluations();
    addProjections();
    addProximity();
    addSinewSparse();
#ifdef SINEW_BENCH_EIGEN
    addEigenSparse();
#endif
#ifdef SINEW_BENCH_SUITESPARSE
    addSuiteSparse();
#endif
    addImplicits();
    addSaving();
    return true;
}();

} // namespace
