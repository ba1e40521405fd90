// Saving a mesh function into a string and loading it. Compared are sinew's packed text, the same text packed by the
// reference implementation, the raw arrays in base64, and an XML document with one attribute for each number.
//
// Loading fills the vectors. In "load" all points are equal, so that grid and boundaries are empty. In "load and
// rebuild" the time of building them is included for every contender.
//
// Then the text without loss against the packed text: size and time, of a small function, of the koi and of a large
// function. Loading includes the rebuild.

#include <cstddef>
#include <fstream>
#include <ostream>
#include <sstream>
#include <string>

#include <benchmark/benchmark.h>

#include <sinew/meshfunc/save_exact.h>

#include "documents.h"

namespace {

using namespace bench::documents;

// ---- the benches ----

// Saves and loads once. A contender that does not restore the function fails.
template <typename Contender>
void checkRoundTrip(benchmark::State& state, MeshFunction2D& f, std::string& text)
{
    MeshFunction2D loaded(true);
    Contender::save(f, text);
    Contender::load(text, loaded);
    if (!sameVectors(f, loaded)) state.SkipWithError("the loaded function differs");
}

template <typename Contender>
void save(benchmark::State& state)
{
    MeshFunction2D f = sample(static_cast<int>(state.range(0)), false);
    std::string text;
    checkRoundTrip<Contender>(state, f, text);
    for (auto _ : state) {
        Contender::save(f, text);
        benchmark::DoNotOptimize(text.data());
    }
}

template <typename Contender, bool rebuild>
void load(benchmark::State& state)
{
    MeshFunction2D f = sample(static_cast<int>(state.range(0)), rebuild);
    std::string text;
    checkRoundTrip<Contender>(state, f, text);
    for (auto _ : state) {
        MeshFunction2D loaded(true);
        Contender::load(text, loaded);
        benchmark::DoNotOptimize(loaded.params.data());
    }
}

template <typename Contender>
void addContender(std::string const& name)
{
    for (int const vertices : {1000, 262143}) {
        std::string const size = std::to_string(vertices) + " vertices/" + name;
        auto const add = [&](std::string const& what, void (*run)(benchmark::State&)) {
            benchmark::RegisterBenchmark((what + ", " + size).c_str(), run)
                ->Arg(vertices)
                ->Unit(benchmark::kMillisecond);
        };
        add("save", save<Contender>);
        add("load", load<Contender, false>);
        add("load and rebuild", load<Contender, true>);
    }
}

// ---- the text without loss ----

struct Exact
{
    static void save(MeshFunction2D& f, std::string& text)
    {
        Sink sink(text);
        std::ostream out(&sink);
        sinew::saveExact(f, out);
    }
    static void load(std::string const& text, MeshFunction2D& f) { read(text, f); }
};

// The function from the texture coordinates of the koi to the x and y of its surface, with z as the scalar.
MeshFunction2D koi()
{
    std::vector<tzNM::vect2<double>> positions;
    std::vector<float> heights;
    MeshFunction2D f(true);
    std::ifstream file(SINEW_BENCH_KOI);
    for (std::string line, kind; std::getline(file, line);) {
        std::istringstream in(line);
        double x = 0, y = 0, z = 0;
        in >> kind;
        if (kind == "v" && in >> x >> y >> z) {
            positions.emplace_back(x, y);
            heights.push_back(static_cast<float>(z));
        } else if (kind == "vt" && in >> x >> y) {
            f.params.emplace_back(x, y);
            f.values.emplace_back();
            f.normaldots.push_back(0);
        } else if (kind == "f") {
            char slash = 0;
            for (std::size_t v = 0, vt = 0; in >> v >> slash >> vt;) {
                f.facets.push_back(static_cast<int>(vt) - 1);
                f.values.at(vt - 1) = positions.at(v - 1);
                f.normaldots.at(vt - 1) = heights.at(v - 1);
            }
        }
    }
    f.initEvaluatorHelper();
    return f;
}

MeshFunction2D any(std::string const& name)
{
    if (name == "koi") return koi();
    return sample(name == "small" ? 100 : 262143, true);
}

// The exact text restores every bit; the packed text at least the numbers of vertices and facets.
template <typename Contender>
bool restores(MeshFunction2D& f, std::string& text)
{
    MeshFunction2D loaded(true);
    Contender::save(f, text);
    Contender::load(text, loaded);
    if (std::is_same_v<Contender, Exact>) return sameVectors(f, loaded);
    return f.params.size() == loaded.params.size() && f.facets == loaded.facets;
}

enum class Measured
{
    size,
    saving,
    loading
};

template <typename Contender>
void measure(benchmark::State& state, std::string const& name, Measured measured)
{
    MeshFunction2D f = any(name);
    std::string text;
    if (f.facets.empty() || !restores<Contender>(f, text)) state.SkipWithError("the loaded function differs");
    for (auto _ : state) {
        if (measured == Measured::saving) {
            Contender::save(f, text);
        } else if (measured == Measured::loading) {
            MeshFunction2D loaded(true);
            Contender::load(text, loaded);
            benchmark::DoNotOptimize(loaded.params.data());
        }
        benchmark::DoNotOptimize(text.data());
    }
    if (measured == Measured::size) state.counters["count"] = static_cast<double>(text.size());
}

template <typename Contender>
void addExactCases(std::string const& contender)
{
    for (std::string const name : {"small", "koi", "large"}) {
        auto const add = [&](std::string const& what, Measured measured) {
            benchmark::RegisterBenchmark(("exact, " + name + ", " + what + "/" + contender).c_str(),
                                         [=](benchmark::State& state) { measure<Contender>(state, name, measured); })
                ->Unit(benchmark::kMillisecond);
        };
        add("characters", Measured::size);
        add("save", Measured::saving);
        add("load", Measured::loading);
    }
}

bool const kRegistered = [] {
    addExactCases<Exact>("sinew");
    addExactCases<Sinew>("packed");
    addContender<Sinew>("sinew");
    addContender<Reference>("reference");
    addContender<Base64>("base64");
#if defined(SINEW_BENCH_PUGIXML)
    addContender<Attributes>("pugixml");
#endif
    return true;
}();

} // namespace
