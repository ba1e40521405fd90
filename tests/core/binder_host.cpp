// A small library of a host that draws through `vxFuncBinder`. It is built several times under different names
// (BINDER_HOST), some with the shared and some with the static sinew library. The tests check that all of them
// use one instance.

#include <sinew/core/func_binder.h>

#if defined(_WIN32)
#define HOST_API __declspec(dllexport)
#else
#define HOST_API __attribute__((visibility("default")))
#endif

#define JOIN_NAMES(a, b) a##b
#define HOST_FUNCTION_OF(host, name) JOIN_NAMES(host, name)
#define HOST_FUNCTION(name) HOST_FUNCTION_OF(BINDER_HOST, name)

namespace {

int clears = 0;

#ifdef REGISTERS_AT_LOAD
struct Registration
{
    Registration()
    {
        vxFuncBinder::registerClear([] { ++clears; });
    }
} const registration;
#endif

} // namespace

extern "C" {

HOST_API vxFuncBinder* HOST_FUNCTION(Instance)()
{
    return vxFuncBinder::iGet();
}

HOST_API void HOST_FUNCTION(Register)()
{
    vxFuncBinder::registerClear([] { ++clears; });
}

HOST_API void HOST_FUNCTION(Clear)()
{
    cl();
}

HOST_API int HOST_FUNCTION(Clears)()
{
    return clears;
}
}
