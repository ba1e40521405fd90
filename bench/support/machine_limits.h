#pragma once

/// The limits of the machine that a program runs on, measured: the rates of arithmetic, and the latency and bandwidth
/// of memory for any size of data. `bench/limits_bench.cpp` compares the times of the library with them.
///
/// All results are seconds, and the least of several runs.

#include <cstddef>

#include <sinew/detail/dispatch.h>

namespace bench {

/// Seconds for one operation on one double.
struct ArithmeticTimes
{
    double add;
    double multiply;
    double either; ///< one operation of a mixture of as many sums as products
    double divide;
    double root; ///< a square root
};

/// Of vectors, with operations that do not wait for each other.
ArithmeticTimes vectorTimes(sinew::detail::VectorWidth width);
/// Of single doubles, with operations that do not wait for each other.
ArithmeticTimes scalarTimes();
/// Of single doubles, where each operation waits for the one before. `either` is a product and then a sum, halved.
ArithmeticTimes dependentTimes();

/// One load from a random cache line of `bytes` of memory, where each load waits for the one before.
double loadLatency(std::size_t bytes);
/// One load from a random cache line of `bytes` of memory, where many loads are under way.
double randomLoad(std::size_t bytes);

/// One byte of `bytes` of memory that are read in order, again and again.
double readByte(std::size_t bytes);
/// One byte of `bytes` of memory that are written in order, again and again.
double writeByte(std::size_t bytes);
/// One byte that is read and written elsewhere; source and target have `bytes` together.
double copyByte(std::size_t bytes);

} // namespace bench
