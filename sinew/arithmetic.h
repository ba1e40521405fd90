#pragma once

/// Refuses compilers and options that do not round every operation to a double. All other headers include this one.
///
/// sinew's results have the same bits everywhere, and a part of its arithmetic is inline: the host's compiler
/// translates it. Two kinds of options change the values of correct expressions:
/// - Wider intermediate results (x87, where FLT_EVAL_METHOD is 2, or -1 for "not known") round some results twice.
///   FLT_EVAL_METHOD 1 widens only `float`; it is refused too, because textures and their interpolation use `float`.
/// - "Fast math" reorders sums, replaces divisions by products, and assumes that NaN, infinity and -0 do not occur.
///
/// A host that accepts other results defines SINEW_ACCEPT_OTHER_ARITHMETIC before it includes sinew. The library does
/// not compensate for such options: results, comparisons and the detection of degenerate input may then be wrong.
///
/// The compiler announces no macro for the contraction of a product and a sum into one operation. The CMake targets and
/// the pkg-config file therefore carry the option that turns it off.

#include <cfloat>

#if !defined(SINEW_ACCEPT_OTHER_ARITHMETIC)

#if FLT_EVAL_METHOD != 0
#error                                                                                                                 \
    "sinew: this compiler evaluates doubles with other than double precision (FLT_EVAL_METHOD is not 0), which changes \
results. Compile for SSE2 (g++ and clang++: -msse2 -mfpmath=sse; Visual C++: /arch:SSE2), or define \
SINEW_ACCEPT_OTHER_ARITHMETIC to accept other results."
#endif

#if defined(__FAST_MATH__) || defined(_M_FP_FAST) || defined(__ASSOCIATIVE_MATH__) || defined(__RECIPROCAL_MATH__) ||  \
    defined(__NO_SIGNED_ZEROS__) || (defined(__FINITE_MATH_ONLY__) && __FINITE_MATH_ONLY__ > 0)
#error                                                                                                                 \
    "sinew: fast-math options (-ffast-math, -Ofast, -funsafe-math-optimizations, /fp:fast and the like) change results. \
Remove them from the sources that include sinew (Visual C++: /fp:precise), or define SINEW_ACCEPT_OTHER_ARITHMETIC to \
accept other results."
#endif

#endif
