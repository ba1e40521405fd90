#pragma once

/// One case of a bench: the same input through several functions, each held against the first answer before it is
/// timed.

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#include <sinew/core/interop.h>

#include "support/bits.h"
#include "support/random.h"

namespace bench {

constexpr std::size_t kInputs = 512; // small enough for the first cache: what is measured is arithmetic

template <typename Make>
auto inputs(std::uint64_t seed, Make make)
{
    test::Random random(seed);
    std::vector<decltype(make(random))> result;
    for (std::size_t i = 0; i < kInputs; ++i) result.push_back(make(random));
    return result;
}

template <typename Function, typename In>
auto converted(std::vector<In> const& values, Function convert)
{
    std::vector<decltype(convert(values[0]))> result;
    for (In const& value : values) result.push_back(convert(value));
    return result;
}

/// Registers "name": `f` over all inputs. `agrees(result, i)` must hold for every one of them.
template <typename In, typename Function, typename Agrees>
void contender(std::string const& name, std::vector<In> in, Function f, Agrees agrees)
{
    auto const run = [in = std::move(in), f, agrees](benchmark::State& state) {
        std::vector<std::decay_t<decltype(f(in[0]))>> out;
        for (std::size_t i = 0; i < in.size(); ++i) {
            out.push_back(f(in[i]));
            if (!agrees(out.back(), i)) return state.SkipWithError("the results differ");
        }
        for (auto _ : state) {
            for (std::size_t i = 0; i < in.size(); ++i) out[i] = f(in[i]);
            benchmark::DoNotOptimize(out.data());
            benchmark::ClobberMemory();
        }
        state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(in.size()));
    };
    benchmark::RegisterBenchmark(name.c_str(), run);
}

/// Registers a case of ours with its plain form, which must give the same bits.
template <typename In, typename Ours, typename Plain>
void againstPlain(std::string const& name, std::vector<In> const& in, Ours ours, Plain plainForm)
{
    auto const sameAsPlain = [in, plainForm](auto const& result, std::size_t i) {
        return test::sameBits(result, plainForm(in[i]));
    };
    contender(name + "/sinew", in, ours, sameAsPlain);
    contender(name + "/plain", in, plainForm, sameAsPlain);
}

/// Largest difference of elements, in the answers' own unit; peers round differently.
inline bool nearly(Vector3 const& a, Vector3 const& b)
{
    return dist(a, b) <= 1e-9 * (1 + b.length());
}
inline bool nearly(Matrix const& a, Matrix const& b)
{
    return a.distTo(b) <= 1e-9 * (1 + b.distTo(Matrix() * 0.0));
}
inline bool nearly(Matrix3 const& a, Matrix3 const& b)
{
    for (int j = 0; j < 3; ++j) {
        if (!nearly(a.column(j), b.column(j))) return false;
    }
    return true;
}

} // namespace bench
