#pragma once

#include <sinew/arithmetic.h>

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
