# 32-bit x86. The processor runs it; its loader finds the 32-bit libraries only if it is told where they are.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_COMPILER i686-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER i686-linux-gnu-g++)
# x87 arithmetic, the compiler's default, rounds twice; sinew's headers refuse it.
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse")
set(CMAKE_CROSSCOMPILING_EMULATOR "/usr/i686-linux-gnu/lib/ld-linux.so.2;--library-path;/usr/i686-linux-gnu/lib")
set(CMAKE_FIND_ROOT_PATH /usr/i686-linux-gnu)
include("${CMAKE_CURRENT_LIST_DIR}/own_folders_only.cmake")
