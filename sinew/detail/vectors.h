#pragma once

/// The vectors of doubles that kernels (dispatch.h) compute with. Not installed.
///
/// Most kernels need none: compilers vectorise simple loops. A kernel uses `Vector<width>` where compilers do not
/// vectorise its loops reliably, or where its intermediate results must stay in registers.

#include <sinew/detail/dispatch.h>

// 1 if the compiler has __builtin_shufflevector, which exchanges the elements of vectors: clang++, and g++ from 12 on.
#define SINEW_VECTOR_SHUFFLES 0
#if defined(__GNUC__) && defined(__has_builtin)
#if __has_builtin(__builtin_shufflevector)
#undef SINEW_VECTOR_SHUFFLES
#define SINEW_VECTOR_SHUFFLES 1
#endif
#endif

namespace sinew::detail {

template <VectorWidth width>
struct VectorOf;

#if defined(__GNUC__)
template <>
struct VectorOf<VectorWidth::baseline>
{
    typedef double Type __attribute__((vector_size(16), may_alias));
};

template <>
struct VectorOf<VectorWidth::avx2>
{
    typedef double Type __attribute__((vector_size(32), may_alias));
};

template <>
struct VectorOf<VectorWidth::avx512>
{
    typedef double Type __attribute__((vector_size(64), may_alias));
};
#else
template <>
struct VectorOf<VectorWidth::baseline>
{
    using Type = double;
};
#endif

/// As many doubles as one instruction of that width processes, or a single double where the compiler has no vectors.
///
/// Arithmetic is element by element. Each element is rounded as a single double is, so the width changes no result. One
/// operand may be a double; it then stands for a vector with that double in each element.
///
/// Vectors are passed by pointer or reference. How a vector is passed by value depends on the width that the function
/// is compiled for, which differs between callers.
template <VectorWidth width>
using Vector = typename VectorOf<width>::Type;

/// Number of doubles in a `Vector<width>`.
template <VectorWidth width>
constexpr int kVectorSize = static_cast<int>(sizeof(Vector<width>) / sizeof(double));

/// The elements of a vector as an array of `kVectorSize<width>` doubles.
template <VectorWidth width>
SINEW_KERNEL double* elements(Vector<width>* vector)
{
    return reinterpret_cast<double*>(vector);
}

/// An array of doubles as vectors. The array must be aligned to the size of a vector.
template <VectorWidth width>
SINEW_KERNEL Vector<width>* vectors(double* numbers)
{
    return reinterpret_cast<Vector<width>*>(numbers);
}
template <VectorWidth width>
SINEW_KERNEL Vector<width> const* vectors(double const* numbers)
{
    return reinterpret_cast<Vector<width> const*>(numbers);
}

} // namespace sinew::detail
