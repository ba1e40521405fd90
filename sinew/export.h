#pragma once

#include <sinew/arithmetic.h>

/// SINEW_API marks what the shared library exports. All other symbols are hidden.
#if defined(_WIN32)
#if defined(SINEW_BUILDING)
#define SINEW_API __declspec(dllexport)
#else
#define SINEW_API
#endif
#else
#define SINEW_API __attribute__((visibility("default")))
#endif
