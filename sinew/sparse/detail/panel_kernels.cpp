#include <sinew/sparse/detail/panel_kernels.h>

#include <cassert>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include <sinew/detail/as_index.h>

// The same source for each vector width. The scheme of dispatch.h, one template for all widths, does not work for code
// that names its vectors: gcc splits a wide vector type in a function that is not itself compiled for this width, and
// only then inlines the function. The kernels name their vectors because compilers do not vectorise the loops over a
// tile: its sums would be written to memory at every step.
#define SINEW_PANEL_VARIANT baseline
#define SINEW_PANEL_TARGET
#if defined(__GNUC__)
#define SINEW_PANEL_LANES 2
#else
#define SINEW_PANEL_LANES 1
#endif
#include <sinew/sparse/detail/panel_kernels.inl>

#if SINEW_WIDE_KERNELS
#define SINEW_PANEL_VARIANT avx2
#define SINEW_PANEL_TARGET SINEW_AVX2
#define SINEW_PANEL_LANES 4
#include <sinew/sparse/detail/panel_kernels.inl>

#define SINEW_PANEL_VARIANT avx512
#define SINEW_PANEL_TARGET SINEW_AVX512
#define SINEW_PANEL_LANES 8
#include <sinew/sparse/detail/panel_kernels.inl>
#endif

namespace sinew::detail {

PanelKernel panelKernel(VectorWidth width)
{
    assert(width <= widestVectors());
    switch (width) {
#if SINEW_WIDE_KERNELS
    case VectorWidth::avx512:
        return avx512::factorPanel;
    case VectorWidth::avx2:
        return avx2::factorPanel;
#endif
    default:
        return baseline::factorPanel;
    }
}

} // namespace sinew::detail
