#include <sinew/sparse/detail/panel_kernels.h>

#include <cmath>

// The same text for each width of vectors. Templates and inlined wrappers cannot do this: gcc splits wide vectors of a
// function that is not itself compiled for them before it inlines it.
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
    if (width > widestVectors()) return nullptr;
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
