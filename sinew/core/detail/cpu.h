#pragma once

/// The choice of wide-vector kernels at run time. People install a plain x86-64 build; the few heavy kernels are
/// compiled for wider vectors beside it and picked here.
///
/// A kernel is written once, as an always-inlined function (SINEW_KERNEL), and wrapped in one function per target:
///
///     SINEW_KERNEL void scaleBody(double* x, int n, double s) { for (int i = 0; i < n; ++i) x[i] *= s; }
///     void scaleBaseline(double* x, int n, double s) { scaleBody(x, n, s); }
///     #if SINEW_WIDE_KERNELS
///     SINEW_AVX2 void scaleAvx2(double* x, int n, double s) { scaleBody(x, n, s); }
///     SINEW_AVX512 void scaleAvx512(double* x, int n, double s) { scaleBody(x, n, s); }
///     #endif
///
/// All give the same bits: without fused multiply-add every product and sum is rounded by itself, whatever the width.
/// Compilers and processors other than gcc on x86-64 take the baseline.

#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && !defined(SINEW_NO_DISPATCH)
#define SINEW_WIDE_KERNELS 1
#define SINEW_AVX2 __attribute__((target("avx2")))
#define SINEW_AVX512 __attribute__((target("avx512f,avx512dq,avx512vl,avx512bw,prefer-vector-width=512")))
#else
#define SINEW_WIDE_KERNELS 0
#endif

#if defined(__GNUC__)
#define SINEW_KERNEL inline __attribute__((always_inline))
#else
#define SINEW_KERNEL inline
#endif

namespace sinew::detail {

enum class VectorWidth
{
    baseline,
    avx2,
    avx512
};

/// The widest kernels that this processor runs.
inline VectorWidth widestVectors()
{
#if SINEW_WIDE_KERNELS
    static VectorWidth const widest = [] {
        if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
            __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512bw")) {
            return VectorWidth::avx512;
        }
        return __builtin_cpu_supports("avx2") ? VectorWidth::avx2 : VectorWidth::baseline;
    }();
    return widest;
#else
    return VectorWidth::baseline;
#endif
}

} // namespace sinew::detail
