#include <selftest/report.h>

#include <sinew/detail/dispatch.h>

namespace selftest {

namespace {

std::string compiler()
{
#if defined(__clang__)
    return "clang++ " __clang_version__;
#elif defined(__GNUC__)
    return "g++ " __VERSION__;
#elif defined(_MSC_VER)
    return "Visual C++ " + std::to_string(_MSC_VER);
#else
    return "an unknown compiler";
#endif
}

char const* standardLibrary()
{
#if defined(_LIBCPP_VERSION)
    return "libc++";
#elif defined(__GLIBCXX__)
    return "libstdc++";
#elif defined(_MSC_VER)
    return "the Microsoft library";
#else
    return "an unknown standard library";
#endif
}

char const* operatingSystem()
{
#if defined(__EMSCRIPTEN__)
    return "WebAssembly";
#elif defined(_WIN32)
    return "Windows";
#elif defined(__APPLE__)
    return "macOS";
#elif defined(__linux__)
    return "Linux";
#else
    return "an unknown system";
#endif
}

std::string byteOrder()
{
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    return "big-endian";
#else
    return "little-endian";
#endif
}

char const* vectors()
{
    switch (sinew::detail::widestVectors()) {
    case sinew::detail::VectorWidth::avx512:
        return "AVX-512";
    case sinew::detail::VectorWidth::avx2:
        return "AVX2";
    case sinew::detail::VectorWidth::baseline:
        break;
    }
    return "baseline";
}

} // namespace

MathBuild mathBuild()
{
#if defined(SINEW_PORTABLE_MATH)
    return MathBuild::portable;
#else
    return MathBuild::system;
#endif
}

std::string buildFacts()
{
    constexpr int kBits = 8;
    return std::string(operatingSystem()) + ", " + std::to_string(kBits * sizeof(void*)) + " bits, " + byteOrder() +
           "; " + compiler() + " with " + standardLibrary() + "; vectors: " + vectors() +
           "; math library: " + (mathBuild() == MathBuild::portable ? "portable" : "system");
}

} // namespace selftest
