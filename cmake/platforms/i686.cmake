# 32-bit x86, run by the same processor. Its loader must be told where the 32-bit libraries are.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_COMPILER i686-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER i686-linux-gnu-g++)
# x87 arithmetic, the compiler's default, rounds twice; sinew's headers refuse it.
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse")
set(CMAKE_FIND_ROOT_PATH /usr/i686-linux-gnu)
include("${CMAKE_CURRENT_LIST_DIR}/own_folders_only.cmake")
