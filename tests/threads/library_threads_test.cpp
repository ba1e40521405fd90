// What several threads may do at once, for every module: the rows of the table in docs/reliability.md. Each test
// compares the results with those of one thread; the thread sanitizer finds data races in them.

#include <sinew/sinew.h>

#include <sstream>

#include <gtest/gtest.h>

#include "meshfunc/mesh_samples.h"
#include "skinning/skinning_scene.h"
#include "sparse/matrices.h"
#include "support/bits.h"
#include "support/random.h"
#include "support/threads.h"

using test::Point;
using test::Random;
using test::sameBits;

namespace {

constexpr int kThreads = 8;

// The results of a piece of work, one number after the other.
class Results
{
public:
    void add(double x) { numbers_.push_back(x); }
    void add(Vector3 const& v)
    {
        for (double const x : {v.x, v.y, v.z}) add(x);
    }
    void append(std::vector<double> const& values)
    {
        for (double const x : values) add(x);
    }
    bool operator==(Results const& other) const { return sameBits(numbers_, other.numbers_); }

private:
    std::vector<double> numbers_;
};

// Calls `work(object, results)` once on one thread and then at the same time on eight, all with one object that `make`
// has made and no query has changed before.
template <typename Make, typename Work>
void expectSameResultsOfOneObject(Make const& make, Work const& work)
{
    auto const alone = make();
    Results expected;
    work(*alone, expected);
    auto const shared = make();
    std::vector<Results> results(kThreads);
    test::runTogether(kThreads, [&](int i) { work(*shared, results[i]); });
    for (Results const& r : results) EXPECT_TRUE(r == expected);
}

// Calls `work(random, results)`, which makes its own objects, with a seed for each thread; first one seed after the
// other, then all at the same time.
template <typename Work>
void expectSameResultsOfOwnObjects(Work const& work)
{
    std::vector<Results> expected(kThreads);
    std::vector<Results> results(kThreads);
    for (int i = 0; i < kThreads; ++i) {
        Random random(i);
        work(random, expected[i]);
    }
    test::runTogether(kThreads, [&](int i) {
        Random random(i);
        work(random, results[i]);
    });
    for (int i = 0; i < kThreads; ++i) EXPECT_TRUE(results[i] == expected[i]);
}

void query(MeshFunction2D const& function, Results& results)
{
    Random random(1);
    for (int i = 0; i < 200; ++i) {
        Point const p = random.point2(-0.3, 1.3);
        Point value;
        float scalar = 0;
        results.add(function.evaluate(p, &value, &scalar));
        results.add(function.extrapolate(p, &value, &scalar));
        results.append({value.x, value.y, scalar});
    }
    Point inside;
    results.add(function.getAnyPointInDomain(inside));
    results.append({inside.x, inside.y});
}

void query(PolylineProjector const& polyline, Results& results)
{
    Random random(2);
    for (int i = 0; i < 200; ++i) {
        Vector3 const q = random.point(-2, 2);
        sinew::PolylineHit const hit = sinew::closestPoint(polyline, q);
        results.add(hit.segment);
        results.add(hit.point);
    }
}

// Solves twice: with the lists of the factor, and for several right-hand sides.
void query(LLTMatrix const& factor, Results& results)
{
    Random random(3);
    std::vector<std::vector<double>> many(3, std::vector<double>(factor.diag.size()));
    for (auto& b : many) {
        for (double& x : b) x = random.uniform();
    }
    std::vector<double> one = many.front();
    results.add(factor.solve(one));
    results.add(sinew::solveMany(factor, many));
    results.append(one);
    for (auto const& b : many) results.append(b);
}

std::vector<bool> randomMask(Random& random, int width, int height)
{
    std::vector<bool> used(static_cast<std::size_t>(width) * height);
    for (std::size_t i = 0; i < used.size(); ++i) used[i] = random.oneIn(20);
    return used;
}

std::vector<std::pair<Vector3, double>> pointsWithValues(Random& random, int count)
{
    std::vector<std::pair<Vector3, double>> result;
    for (Vector3 const& p : random.points(count)) result.emplace_back(p, random.uniform());
    return result;
}

SPDMatrix gridMatrix(Random& random)
{
    return test::matrixOf(test::grid2D(20, 20), 400, random);
}

} // namespace

// Const queries of one object ---------------------------------------------------------------------------------------

TEST(ConstQueriesOfOneObject, MeshFunctionWithPartsThatTheFirstQueriesBuild)
{
    auto const make = [] {
        Random random(10);
        return std::make_unique<MeshFunction2D>(test::gridMesh(random, 200, 200).function());
    };
    expectSameResultsOfOneObject(make, [](MeshFunction2D const& f, Results& r) { query(f, r); });
}

TEST(ConstQueriesOfOneObject, PolylineWithAnIndexThatTheFirstQueriesBuild)
{
    auto const make = [] { return std::make_unique<PolylineProjector>(Random(11).points(2000)); };
    expectSameResultsOfOneObject(make, [](PolylineProjector const& p, Results& r) { query(p, r); });
}

TEST(ConstQueriesOfOneObject, SmoothDistancesToOnePolyline)
{
    auto const make = [] { return std::make_unique<std::vector<Vector3>>(Random(12).points(300)); };
    expectSameResultsOfOneObject(make, [](std::vector<Vector3> const& polyline, Results& results) {
        Random random(13);
        std::vector<Vector3> const queries = random.points(20);
        std::vector<double> dists(queries.size());
        std::vector<Vector3> grads(queries.size());
        sinew::smoothDistMany(polyline, queries.data(), queries.size(), 0.1, dists.data(), grads.data(), nullptr);
        results.append(dists);
        for (Vector3 const& g : grads) results.add(g);
        double dist = 0;
        smoothDistToPolyline(polyline, queries[0], 0.1, &dist, nullptr, nullptr);
        results.add(dist);
    });
}

TEST(ConstQueriesOfOneObject, ImplicitFunctionAndProximity)
{
    struct Fields
    {
        Implicit field;
        ProximityTester tester;
    };
    auto const make = [] {
        Random random(14);
        std::vector<Vector3> const points = random.points(500);
        return std::unique_ptr<Fields>(
            new Fields{Implicit(pointsWithValues(random, 60)), ProximityTester(points, 0.05)});
    };
    expectSameResultsOfOneObject(make, [](Fields const& fields, Results& results) {
        for (Vector3 const& p : Random(15).points(300)) {
            results.add(fields.field.evaluate(p));
            results.add(fields.field.getGradient(p));
            results.add(fields.tester.test(p));
        }
    });
}

TEST(ConstQueriesOfOneObject, TextureCompaction)
{
    struct Texture
    {
        EmptyRectTester tester;
        TextureOptimizer optimizer;
    };
    auto const make = [] {
        Random random(16);
        std::vector<bool> const used = randomMask(random, 200, 150);
        return std::unique_ptr<Texture>(new Texture{{used, 200, 150}, {used, 200, 150}});
    };
    expectSameResultsOfOneObject(make, [](Texture const& texture, Results& results) {
        Random random(17);
        for (int i = 0; i < 500; ++i) {
            double const x = random.uniform(0, 200), y = random.uniform(0, 150), w = random.uniform(0, 9);
            results.add(texture.tester.isRectEmpty(x, y, x + w, y + w));
            double u = 0, v = 0;
            texture.optimizer.mapCoord(x, y, u, v);
            results.append({u, v});
        }
    });
}

TEST(ConstQueriesOfOneObject, SparseMatrixAnalysisAndFactor)
{
    struct System
    {
        SPDMatrix matrix;
        sinew::SymbolicFactor analysis;
        LLTMatrix factor;
    };
    auto const make = [] {
        Random random(18);
        SPDMatrix const matrix = gridMatrix(random);
        auto system = std::unique_ptr<System>(new System{matrix, sinew::SymbolicFactor(matrix), matrix.factor()});
        system->factor.initMt();
        return system;
    };
    expectSameResultsOfOneObject(make, [](System const& system, Results& results) {
        query(system.factor, results);
        results.append(system.matrix.factor().diag);
        results.append(system.analysis.factor(system.matrix).diag);
        results.add(sinew::diagnose(system.matrix).smallestPivot);
    });
}

// Objects that no other thread uses ---------------------------------------------------------------------------------

TEST(IndependentObjects, MeshFunctionsMadeSavedReadAndCompacted)
{
    expectSameResultsOfOwnObjects([](Random& random, Results& results) {
        MeshFunction2D function = test::gridMesh(random, 12, 9).function();
        query(function, results);
        std::stringstream document;
        sinew::writeDocument(document, function, "MeshFunction2D");
        std::unique_ptr<Serializable> const loaded = sinew::createFromDocument(document);
        query(dynamic_cast<MeshFunction2D const&>(*loaded), results);
        std::vector<bool> const used = randomMask(random, 64, 64);
        function.eraseExtraTriangles(EmptyRectTester(used, 64, 64));
        function.initEvaluatorHelper();
        query(function, results);
    });
}

TEST(IndependentObjects, PolylinesImplicitFunctionsAndFactors)
{
    expectSameResultsOfOwnObjects([](Random& random, Results& results) {
        query(PolylineProjector(random.points(300)), results);
        results.append(Implicit(pointsWithValues(random, 20)).coefficients);
        results.add(ProximityTester(random.points(50), 0.1).test(random.point()));
        query(gridMatrix(random).factor(), results);
    });
}

TEST(IndependentObjects, PosedSurfacesAndSubstitutedGeometry)
{
    expectSameResultsOfOwnObjects([](Random& random, Results& results) {
        smart_ptr<BoneTransformVector> const bones = test::randomBones(random, 5);
        smart_ptr<DisplayData> const display = test::randomDisplay(random, 60, 5);
        smart_ptr<SurfaceGeometryData> const posed = BoneTransformModifyer(bones)(display);
        for (Vector3 const& p : posed->positions) results.add(p);
        SubstituteGeometryData const guard(display, bones);
        for (Vector3 const& p : display->surface->positions) results.add(p);
    });
}

// Registries --------------------------------------------------------------------------------------------------------

TEST(Registries, NamesMayBeFoundByManyThreads)
{
    test::runTogether(kThreads, [](int) {
        for (int i = 0; i < 200; ++i) {
            FactoryByName const* const factory = FactoryByName::find("MeshFunction2D");
            ASSERT_NE(factory, nullptr);
            std::unique_ptr<Serializable> const made(factory->createObject());
            Serializable const& object = *made;
            ASSERT_NE(FactoryByTypeID::find(typeid(object).name()), nullptr);
            ASSERT_EQ(FactoryByName::find("not registered"), nullptr);
        }
    });
}

TEST(Registries, OneThreadMayRegisterWhileOthersComputeWithoutThem)
{
    class Plain : public Serializable
    {
    };
    Random random(20);
    MeshFunction2D const function = test::gridMesh(random, 30, 30).function();
    Results expected;
    query(function, expected);
    std::vector<Results> results(kThreads);
    test::runTogether(kThreads, [&](int i) {
        if (i > 0) return query(function, results[i]);
        for (int k = 0; k < 200; ++k) SerializableFactory<Plain> const factory("Plain" + std::to_string(k % 7));
    });
    for (int i = 1; i < kThreads; ++i) EXPECT_TRUE(results[i] == expected);
}
