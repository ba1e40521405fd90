#pragma once

/// Registration of a bench case: several functions on the same inputs. The results of each are checked before
/// it is timed.

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#include <sinew/core/interop.h>

#include "support/bits.h"
#include "support/random.h"

namespace bench {

// Small enough for the first-level cache, so that the time is that of the arithmetic.
constexpr std::size_t kInputs = 512;

/// kInputs results of make(random), where `random` starts from `seed`.
template <typename Make>
auto inputs(std::uint64_t seed, Make make)
{
    test::Random random(seed);
    std::vector<decltype(make(random))> result;
    for (std::size_t i = 0; i < kInputs; ++i) result.push_back(make(random));
    return result;
}

/// convert(value) for each of `values`.
template <typename Function, typename In>
auto converted(std::vector<In> const& values, Function convert)
{
    std::vector<decltype(convert(values[0]))> result;
    for (In const& value : values) result.push_back(convert(value));
    return result;
}

/// Registers the benchmark "name": `f` on all inputs. It fails if agrees(result, i) is false for the result of
/// an input i.
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

/// Registers a function of the library and its reference implementation, which must give the same bits.
template <typename In, typename Ours, typename Reference>
void againstReference(std::string const& name, std::vector<In> const& in, Ours ours, Reference reference)
{
    auto const sameAsReference = [in, reference](auto const& result, std::size_t i) {
        return test::sameBits(result, reference(in[i]));
    };
    contender(name + "/sinew", in, ours, sameAsReference);
    contender(name + "/reference", in, reference, sameAsReference);
}

/// Relative difference up to which a peer's result, which is rounded differently, agrees with that of the library.
constexpr double kPeerTolerance = 1e-9;

/// Whether a and b agree to kPeerTolerance, relative to the size of b and at least absolutely.
inline bool nearly(Vector3 const& a, Vector3 const& b)
{
    return dist(a, b) <= kPeerTolerance * (1 + b.length());
}
inline bool nearly(Matrix const& a, Matrix const& b)
{
    return a.distTo(b) <= kPeerTolerance * (1 + b.distTo(Matrix() * 0.0));
}
inline bool nearly(Matrix3 const& a, Matrix3 const& b)
{
    for (int j = 0; j < 3; ++j) {
        if (!nearly(a.column(j), b.column(j))) return false;
    }
    return true;
}

} // namespace bench
