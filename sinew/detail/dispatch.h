#pragma once

/// Run-time choice of the vector width. Users install a plain x86-64 build; the few heavy kernels are also compiled for
/// AVX2 and AVX-512, and the processor decides which version runs. Not installed.
///
/// A kernel is a small struct: its members are the arguments, its function template `run` is the body, written once for
/// all widths:
///
///     struct Scale
///     {
///         double* x;
///         int n;
///         double factor;
///
///         template <VectorWidth width>
///         SINEW_KERNEL void run() const
///         {
///             for (int i = 0; i < n; ++i) x[i] *= factor;
///         }
///     };
///
///     dispatch(widestVectors(), Scale{x, n, 2.0});
///
/// `dispatch` compiles the body once for each width and calls the version that is asked for. All functions that the
/// body calls in its loops must be SINEW_KERNEL too: a function that is not inlined is compiled for the baseline.
///
/// All versions give the same bits: without fused multiply-add, every product and every sum is rounded separately, in
/// vectors of any width. Processors other than x86-64 take the baseline.

#if defined(__GNUC__)
#define SINEW_KERNEL inline __attribute__((always_inline))
#else
#define SINEW_KERNEL inline
#endif

// The build option SINEW_VECTOR_WIDTH sets SINEW_WIDEST: 0 builds the baseline only, 1 also AVX2, 2 also AVX-512.
#if !defined(SINEW_WIDEST)
#define SINEW_WIDEST 2
#endif
// On Windows, g++ aligns the stack to 16 bytes only, and spilled wide vectors crash there (GCC bug 54412).
#if SINEW_WIDEST > 0 && defined(__x86_64__) && defined(__GNUC__) && !defined(_WIN32)
#define SINEW_WIDE_KERNELS 1
#define SINEW_AVX2 __attribute__((target("avx2")))
#if defined(__clang__)
#define SINEW_AVX512 __attribute__((target("avx512f,avx512dq,avx512vl,avx512bw")))
#else
#define SINEW_AVX512 __attribute__((target("avx512f,avx512dq,avx512vl,avx512bw,prefer-vector-width=512")))
#endif
#else
#define SINEW_WIDE_KERNELS 0
#define SINEW_AVX2
#define SINEW_AVX512
#endif

namespace sinew::detail {

/// In ascending order: a processor that runs one width runs all before it.
enum class VectorWidth
{
    baseline, ///< what every processor of the architecture runs: two doubles on x86-64
    avx2,     ///< four doubles
    avx512    ///< eight doubles
};

/// The widest vectors that both this processor and this build support.
inline VectorWidth widestVectors()
{
#if SINEW_WIDE_KERNELS
    static VectorWidth const widest = [] {
        bool const hasAvx512 = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
                               __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512bw");
        if (SINEW_WIDEST > 1 && hasAvx512) return VectorWidth::avx512;
        return __builtin_cpu_supports("avx2") ? VectorWidth::avx2 : VectorWidth::baseline;
    }();
    return widest;
#else
    return VectorWidth::baseline;
#endif
}

template <typename Kernel>
auto runBaseline(Kernel const& kernel)
{
    return kernel.template run<VectorWidth::baseline>();
}

#if SINEW_WIDE_KERNELS
template <typename Kernel>
SINEW_AVX2 auto runAvx2(Kernel const& kernel)
{
    return kernel.template run<VectorWidth::avx2>();
}

template <typename Kernel>
SINEW_AVX512 auto runAvx512(Kernel const& kernel)
{
    return kernel.template run<VectorWidth::avx512>();
}
#endif

/// Runs the version of the kernel for `width`, which must not exceed `widestVectors()`, and returns its result.
template <typename Kernel>
auto dispatch([[maybe_unused]] VectorWidth width, Kernel const& kernel)
{
#if SINEW_WIDE_KERNELS
    if (width == VectorWidth::avx512) return runAvx512(kernel);
    if (width == VectorWidth::avx2) return runAvx2(kernel);
#endif
    return runBaseline(kernel);
}

} // namespace sinew::detail
