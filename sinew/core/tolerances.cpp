#include <sinew/core/tolerances.h>

gConst_c::gConst_c() = default;
