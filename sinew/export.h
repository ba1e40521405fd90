#pragma once

#include <sinew/arithmetic.h>

/// SINEW_RTTI is 1 where the compiler has run-time type information. Without it (-fno-rtti, /GR-) the registries and
/// the description of fields cannot be used; everything else can.
#if defined(__cpp_rtti) || defined(__GXX_RTTI) || defined(_CPPRTTI)
#define SINEW_RTTI 1
#else
#define SINEW_RTTI 0
#endif

/// SINEW_API marks what the shared library exports. All other symbols are hidden.
///
/// Windows distinguishes three cases. The build of the shared library defines SINEW_BUILDING. A host of the shared
/// library defines SINEW_DLL; the CMake target and the pkg-config file do this for it. Everything else, the static
/// library and its hosts, defines neither, and nothing is marked.
#if !defined(_WIN32)
#define SINEW_API __attribute__((visibility("default")))
#elif defined(SINEW_BUILDING)
#define SINEW_API __declspec(dllexport)
#elif defined(SINEW_DLL)
#define SINEW_API __declspec(dllimport)
#else
#define SINEW_API
#endif
