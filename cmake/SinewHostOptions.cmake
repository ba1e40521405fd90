# The compiler options that sinew's targets hand to the programs and libraries that link them. Used for the targets of
# this build and, installed, for those of the package.
#
# A part of sinew's arithmetic is inline, so the host's compiler translates it. g++ by default fuses a product and a sum
# into one operation with one rounding where the processor has it (aarch64, or x86-64 with -march=native), and that
# changes bits. Even calls inside a static library may then use the host's copy of an inline function.
#
# SINEW_ALLOW_CONTRACTION: set this variable to ON before find_package(sinew) or add_subdirectory(sinew) to leave the
# option out. The bits of inline functions then depend on the processor and on the compiler.

# sinew_add_host_options(<target> [BUILD_INTERFACE])
function(sinew_add_host_options target)
  if(SINEW_ALLOW_CONTRACTION)
    return()
  endif()
  # Visual C++ 2022 contracts only if /fp:contract asks for it.
  set(option -ffp-contract=off)
  if(CMAKE_CXX_COMPILER_FRONTEND_VARIANT STREQUAL "MSVC")
    set(option /clang:-ffp-contract=off)
  endif()
  set(option "$<$<COMPILE_LANG_AND_ID:CXX,GNU,Clang,AppleClang,IntelLLVM>:${option}>")
  if(ARGN)
    set(option "$<${ARGN}:${option}>")
  endif()
  # The package file may be read more than once.
  get_target_property(present ${target} INTERFACE_COMPILE_OPTIONS)
  if(NOT option IN_LIST present)
    target_compile_options(${target} INTERFACE "${option}")
  endif()
endfunction()
