# WebAssembly with 32-bit addresses by emscripten, run by node.
include(/usr/share/emscripten/cmake/Modules/Platform/Emscripten.cmake)
# Exceptions are off by default; memory does not grow by default; a program's exit code reaches node only with EXIT_RUNTIME.
set(CMAKE_CXX_FLAGS_INIT "-fexceptions")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-fexceptions -sALLOW_MEMORY_GROWTH=1 -sEXIT_RUNTIME=1 -sNODERAWFS=1 -sTOTAL_STACK=1048576")
