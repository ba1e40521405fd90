#include "machine_limits.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#include <sinew/detail/vectors.h>

#include "least_time.h"
#include "support/random.h"

namespace bench {

namespace {

using sinew::detail::Vector;
using sinew::detail::VectorWidth;

constexpr double kBudget = 0.15; // seconds for each number: long enough for a run without interruption
constexpr std::size_t kLine = 64;
constexpr std::size_t kBytesOfOneRun = std::size_t{1} << 24; // at least so many are read or written in a timed run

// The operand of all operations. Products and quotients with it stay normal numbers for many millions of operations.
// Compilers do not know its value.
double operand()
{
    static double const volatile number = 1.0 + 0x1p-50;
    return number;
}

enum class Operation
{
    add,
    multiply,
    either,
    divide,
    root
};

// Keeps a number in its register: neither can the operations on it be left out, nor can compilers make vectors of them.
inline void keep(double& number)
{
#if defined(__GNUC__) && defined(__SSE2__)
    asm volatile("" : "+x"(number));
#else
    benchmark::DoNotOptimize(number);
#endif
}

template <typename Number>
SINEW_KERNEL void setRoot(Number* number)
{
    double* const parts = reinterpret_cast<double*>(number);
    for (std::size_t k = 0; k < sizeof(Number) / sizeof(double); ++k) parts[k] = std::sqrt(parts[k]);
}

template <Operation operation, typename Number>
SINEW_KERNEL void apply(Number* number, Number const& other, bool isOdd)
{
    if (operation == Operation::add || (operation == Operation::either && isOdd)) *number = *number + other;
    if (operation == Operation::multiply || (operation == Operation::either && !isOdd)) *number = *number * other;
    if (operation == Operation::divide) *number = *number / other;
    if (operation == Operation::root) setRoot(number);
}

// Enough numbers that an operation on each of them ends before the next one on it begins; not more than there are
// registers.
constexpr int kNumbers = 12;
constexpr int kSteps = 100000;
constexpr int kMostLanes = 8;

// Where the numbers start and end. They start from values that compilers do not know, and that differ: equal ones would
// be computed once.
struct Numbers
{
    double first[kNumbers];
    double last[kNumbers][kMostLanes];

    Numbers()
    {
        for (int k = 0; k < kNumbers; ++k) first[k] = 1.0 + k * 0x1p-40;
        benchmark::DoNotOptimize(first);
    }
};

template <Operation operation>
struct IndependentVectors
{
    Numbers* ends;

    template <VectorWidth width>
    SINEW_KERNEL void run() const
    {
        Vector<width> const other = Vector<width>{} + operand();
        Vector<width> numbers[kNumbers];
        for (int k = 0; k < kNumbers; ++k) numbers[k] = Vector<width>{} + ends->first[k];
        for (int step = 0; step < kSteps; ++step) {
            for (int k = 0; k < kNumbers; ++k) apply<operation>(&numbers[k], other, k % 2 == 1);
        }
        for (int k = 0; k < kNumbers; ++k) { // all of them: the compiler removes the computation of unused numbers
            for (int l = 0; l < sinew::detail::kVectorSize<width>; ++l)
                ends->last[k][l] = sinew::detail::elements<width>(&numbers[k])[l];
        }
    }
};

template <Operation operation>
double vectorTime(VectorWidth width)
{
    std::size_t const lanes = width == VectorWidth::avx512 ? 8
                              : width == VectorWidth::avx2 ? 4
                                                           : sinew::detail::kVectorSize<VectorWidth::baseline>;
    Numbers ends;
    double const seconds = leastSeconds(kBudget, [&] {
        sinew::detail::dispatch(width, IndependentVectors<operation>{&ends});
        benchmark::DoNotOptimize(ends.last);
    });
    return seconds / (static_cast<double>(kSteps) * kNumbers * static_cast<double>(lanes));
}

// The numbers are arguments, so that each has its register: compilers keep an array in memory here.
template <Operation operation, typename... Double>
void applyToEach(double other, Double... numbers)
{
    for (int step = 0; step < kSteps; ++step) {
        int k = sizeof...(numbers) == 1 ? step : 0;
        (..., (apply<operation>(&numbers, other, k++ % 2 == 1), keep(numbers)));
    }
}

template <Operation operation, std::size_t... indices>
double scalarTime(std::index_sequence<indices...>)
{
    Numbers const ends;
    double const seconds =
        leastSeconds(kBudget, [&ends, other = operand()] { applyToEach<operation>(other, ends.first[indices]...); });
    return seconds / (static_cast<double>(kSteps) * sizeof...(indices));
}

template <std::size_t count>
ArithmeticTimes scalarTimesOf()
{
    constexpr auto all = std::make_index_sequence<count>();
    return {scalarTime<Operation::add>(all), scalarTime<Operation::multiply>(all), scalarTime<Operation::either>(all),
            scalarTime<Operation::divide>(all), scalarTime<Operation::root>(all)};
}

std::size_t linesOf(std::size_t bytes)
{
    return std::max<std::size_t>(bytes / kLine, 2);
}

// Numbers of doubles in whole lines, aligned to them.
class Lines
{
public:
    explicit Lines(std::size_t count) : memory_(count * kLine / sizeof(double) + kLine / sizeof(double), 1.0)
    {
        std::size_t const over = reinterpret_cast<std::uintptr_t>(memory_.data()) % kLine;
        first_ = memory_.data() + (over ? (kLine - over) / sizeof(double) : 0);
        count_ = count * (kLine / sizeof(double));
    }
    double* data() { return first_; }
    std::size_t count() const { return count_; }

private:
    std::vector<double> memory_;
    double* first_;
    std::size_t count_;
};

// Sums doubles in vectors, with several sums that do not wait for each other.
struct Sum
{
    double const* numbers;
    std::size_t count; // a multiple of 64
    double* result;

    template <VectorWidth width>
    SINEW_KERNEL void run() const
    {
        constexpr std::size_t kSums = 8;
        Vector<width> sums[kSums] = {};
        auto const* const vectors = sinew::detail::vectors<width>(numbers);
        std::size_t const all = count / static_cast<std::size_t>(sinew::detail::kVectorSize<width>);
        for (std::size_t i = 0; i + kSums <= all; i += kSums) {
            for (std::size_t k = 0; k < kSums; ++k) sums[k] = sums[k] + vectors[i + k];
        }
        *result = 0;
        for (auto& sum : sums) *result += sinew::detail::elements<width>(&sum)[0];
    }
};

int repetitionsOf(std::size_t bytes)
{
    return static_cast<int>(std::max<std::size_t>(kBytesOfOneRun / std::max<std::size_t>(bytes, 1), 1));
}

} // namespace

ArithmeticTimes vectorTimes(VectorWidth width)
{
    return {vectorTime<Operation::add>(width), vectorTime<Operation::multiply>(width),
            vectorTime<Operation::either>(width), vectorTime<Operation::divide>(width),
            vectorTime<Operation::root>(width)};
}

ArithmeticTimes scalarTimes()
{
    return scalarTimesOf<kNumbers>();
}

ArithmeticTimes dependentTimes()
{
    return scalarTimesOf<1>();
}

double loadLatency(std::size_t bytes)
{
    // One cycle through all lines (S. Sattolo, 1986), so that the walk visits each of them.
    std::size_t const count = linesOf(bytes);
    struct alignas(kLine) Node
    {
        std::uint32_t next;
    };
    std::vector<Node> nodes(count);
    for (std::size_t i = 0; i < count; ++i) nodes[i].next = static_cast<std::uint32_t>(i);
    test::Random random(1);
    for (std::size_t i = count - 1; i > 0; --i) {
        std::swap(nodes[i].next, nodes[static_cast<std::size_t>(random.bits() % i)].next);
    }
    constexpr int kLoads = 100000;
    std::uint32_t at = 0;
    double const seconds = leastSeconds(kBudget, [&] {
        for (int i = 0; i < kLoads; ++i) at = nodes[at].next;
        benchmark::DoNotOptimize(at);
    });
    return seconds / kLoads;
}

double randomLoad(std::size_t bytes)
{
    constexpr std::size_t kLoads = 1 << 20; // of large memory, they reach more than the caches hold
    std::size_t const count = linesOf(bytes);
    Lines lines(count);
    test::Random random(2);
    std::vector<std::uint32_t> places(kLoads);
    for (auto& place : places) place = static_cast<std::uint32_t>(random.bits() % count);
    double const* const data = lines.data();
    double const seconds = leastSeconds(kBudget, [&] {
        std::uint64_t sum = 0;
        for (std::uint32_t const place : places) {
            std::uint64_t bits = 0;
            std::memcpy(&bits, data + place * (kLine / sizeof(double)), sizeof bits);
            sum += bits;
        }
        benchmark::DoNotOptimize(sum);
    });
    return seconds / kLoads;
}

double readByte(std::size_t bytes)
{
    Lines lines(linesOf(bytes) / 8 * 8 + 8);
    int const repetitions = repetitionsOf(bytes);
    double result = 0;
    double const seconds = leastSeconds(kBudget, [&] {
        for (int i = 0; i < repetitions; ++i) {
            sinew::detail::dispatch(sinew::detail::widestVectors(), Sum{lines.data(), lines.count(), &result});
            benchmark::DoNotOptimize(result);
        }
    });
    return seconds / (static_cast<double>(repetitions) * static_cast<double>(lines.count() * sizeof(double)));
}

double writeByte(std::size_t bytes)
{
    Lines lines(linesOf(bytes));
    std::size_t const size = lines.count() * sizeof(double);
    int const repetitions = repetitionsOf(size);
    double const seconds = leastSeconds(kBudget, [&] {
        for (int i = 0; i < repetitions; ++i) {
            std::memset(lines.data(), i & 1, size);
            benchmark::ClobberMemory();
        }
    });
    return seconds / (static_cast<double>(repetitions) * static_cast<double>(size));
}

double copyByte(std::size_t bytes)
{
    Lines source(linesOf(bytes / 2)), target(linesOf(bytes / 2));
    std::size_t const size = source.count() * sizeof(double);
    int const repetitions = repetitionsOf(size);
    double const seconds = leastSeconds(kBudget, [&] {
        for (int i = 0; i < repetitions; ++i) {
            std::memcpy(target.data(), source.data(), size);
            benchmark::ClobberMemory();
        }
    });
    return seconds / (static_cast<double>(repetitions) * static_cast<double>(size));
}

} // namespace bench
