// A small library of a host that draws through the switchboard. It is built several times under different names
// (BINDER_HOST), with the shared sinew library or with the static one inside, to see that all of them meet at one
// instance.

#include <sinew/core/func_binder.h>

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

SINEW_API vxFuncBinder* HOST_FUNCTION(Instance)()
{
    return vxFuncBinder::iGet();
}

SINEW_API void HOST_FUNCTION(Register)()
{
    vxFuncBinder::registerClear([] { ++clears; });
}

SINEW_API void HOST_FUNCTION(Clear)()
{
    cl();
}

SINEW_API int HOST_FUNCTION(Clears)()
{
    return clears;
}
}
