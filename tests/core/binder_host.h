#pragma once

/// The functions that each build of binder_host.cpp exports.

#include <sinew/core/func_binder.h>

#define DECLARE_BINDER_HOST(host)                                                                                      \
    extern "C" vxFuncBinder* host##Instance();                                                                         \
    extern "C" void host##Register();                                                                                  \
    extern "C" void host##Clear();                                                                                     \
    extern "C" int host##Clears()
