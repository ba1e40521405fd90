// Implicit functions: the fit compared with the reference elimination and with Eigen's LU (as a solver and as an
// inverse), and evaluation compared with the reference loop.

#include <cmath>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#include "implicit_contenders.h"
#include "support/bits.h"
#include "support/random.h"

namespace {

using namespace bench::implicits;

Implicit const& field(int count)
{
    static std::map<int, Implicit> fields;
    return fields.try_emplace(count, input(count)).first->second;
}

// ---- the fit ----

void fitSinew(benchmark::State& state, int count)
{
    Implicit const ours(input(count));
    reference::Implicit const expected(input(count));
    if (!test::sameBits(ours.coefficients, expected.coefficients) ||
        !test::sameBits(ours.constantTerm, expected.constantTerm) ||
        !test::sameBits(ours.linearTerm, expected.linearTerm)) {
        state.SkipWithError("the fit differs from the reference elimination");
    }
    for (auto _ : state) benchmark::DoNotOptimize(Implicit(input(count)));
}

void fitReference(benchmark::State& state, int count)
{
    for (auto _ : state) benchmark::DoNotOptimize(reference::Implicit(input(count)));
}

#ifdef SINEW_BENCH_EIGEN
void fitEigen(benchmark::State& state, int count, EigenMethod method)
{
    Eigen::VectorXd const theirs = eigenFit(input(count), method);
    std::vector<double> const& ours = field(count).coefficients;
    for (std::size_t i = 0; i < ours.size(); ++i) {
        double const difference = theirs(static_cast<Eigen::Index>(i)) - ours[i];
        if (!(std::fabs(difference) <= 1e-6 * (1 + std::fabs(ours[i])))) state.SkipWithError("Eigen's fit differs");
    }
    for (auto _ : state) benchmark::DoNotOptimize(eigenFit(input(count), method));
}
#endif

// ---- evaluation ----

std::vector<Vector3> const& queries()
{
    static std::vector<Vector3> const points = test::Random(2).points(256);
    return points;
}

template <typename Evaluate>
void evaluation(benchmark::State& state, int count, Evaluate evaluate)
{
    Implicit const& f = field(count);
    std::vector<double> values(queries().size());
    evaluate(f, values);
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (!test::sameBits(values[i], reference::Implicit::evaluate(f, queries()[i])))
            state.SkipWithError("value differs");
    }
    for (auto _ : state) {
        evaluate(f, values);
        benchmark::DoNotOptimize(values.data());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(values.size()));
}

template <typename Gradient>
void gradients(benchmark::State& state, int count, Gradient gradient)
{
    Implicit const& f = field(count);
    std::vector<Vector3> values(queries().size());
    gradient(f, values);
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (!test::sameBits(values[i], reference::Implicit::getGradient(f, queries()[i]))) {
            state.SkipWithError("gradient differs");
        }
    }
    for (auto _ : state) {
        gradient(f, values);
        benchmark::DoNotOptimize(values.data());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(values.size()));
}

void registerFit(int count)
{
    std::string const name = "fit " + std::to_string(count) + " points/";
    benchmark::RegisterBenchmark((name + "sinew").c_str(), fitSinew, count);
    benchmark::RegisterBenchmark((name + "reference").c_str(), fitReference, count);
#ifdef SINEW_BENCH_EIGEN
    benchmark::RegisterBenchmark((name + "Eigen LU solve").c_str(), fitEigen, count, EigenMethod::solve);
    benchmark::RegisterBenchmark((name + "Eigen LU inverse").c_str(), fitEigen, count, EigenMethod::inverse);
#endif
}

void registerEvaluation(int count)
{
    auto const one = [](Implicit const& f, std::vector<double>& values) {
        for (std::size_t i = 0; i < values.size(); ++i) values[i] = f.evaluate(queries()[i]);
    };
    auto const many = [](Implicit const& f, std::vector<double>& values) {
        sinew::evaluateMany(f, queries().data(), values.size(), values.data());
    };
    auto const referenceOne = [](Implicit const& f, std::vector<double>& values) {
        for (std::size_t i = 0; i < values.size(); ++i) values[i] = reference::Implicit::evaluate(f, queries()[i]);
    };
    auto const oneGradient = [](Implicit const& f, std::vector<Vector3>& values) {
        for (std::size_t i = 0; i < values.size(); ++i) values[i] = f.getGradient(queries()[i]);
    };
    auto const manyGradients = [](Implicit const& f, std::vector<Vector3>& values) {
        sinew::gradientMany(f, queries().data(), values.size(), values.data());
    };
    auto const referenceGradient = [](Implicit const& f, std::vector<Vector3>& values) {
        for (std::size_t i = 0; i < values.size(); ++i) values[i] = reference::Implicit::getGradient(f, queries()[i]);
    };
    std::string const centres = std::to_string(count) + " centres";
    auto const add = [&](std::string const& name, auto run, auto function) {
        benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) { run(state, count, function); });
    };
    auto const values = [](benchmark::State& s, int n, auto f) { evaluation(s, n, f); };
    auto const vectors = [](benchmark::State& s, int n, auto f) { gradients(s, n, f); };
    add("evaluate, " + centres + "/sinew", values, one);
    add("evaluate, " + centres + "/reference", values, referenceOne);
    add("evaluateMany, " + centres + "/sinew", values, many);
    add("evaluateMany, " + centres + "/reference", values, referenceOne);
    add("getGradient, " + centres + "/sinew", vectors, oneGradient);
    add("getGradient, " + centres + "/reference", vectors, referenceGradient);
    add("gradientMany, " + centres + "/sinew", vectors, manyGradients);
    add("gradientMany, " + centres + "/reference", vectors, referenceGradient);
}

bool const kRegistered = [] {
    for (int count : {20, 100, 500, 1500}) registerFit(count);
    for (int count : {20, 100, 1000}) registerEvaluation(count);
    return true;
}();

} // namespace
