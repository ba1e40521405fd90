# The compile settings that sinew's own targets share, as interface targets:
#   sinew_numerics  flags that fix the bits and the widest vectors: the library and all that is compared with it bit for bit
#   sinew_warnings  warnings, errors only if SINEW_WERROR
#   sinew_checks    sanitizers and coverage, when asked for
include(CheckCXXCompilerFlag)

add_library(sinew_numerics INTERFACE)
# Contraction would fuse a product and a sum into one rounding; every compiler must round both.
# Error numbers and trap flags are read by nobody here, and their absence changes no value, but it
# lets square roots vectorise. Asked of the compiler, since what counts is whether it knows the flag.
foreach(flag -ffp-contract=off -fno-math-errno -fno-trapping-math)
  string(MAKE_C_IDENTIFIER "SINEW_HAS${flag}" known)
  check_cxx_compiler_flag(${flag} ${known})
  if(${known})
    target_compile_options(sinew_numerics INTERFACE ${flag})
  endif()
endforeach()

# The sources know the width as a number, since the preprocessor compares numbers only.
if(SINEW_VECTOR_WIDTH STREQUAL "avx512")
  target_compile_definitions(sinew_numerics INTERFACE SINEW_WIDEST=2)
elseif(SINEW_VECTOR_WIDTH STREQUAL "avx2")
  target_compile_definitions(sinew_numerics INTERFACE SINEW_WIDEST=1)
elseif(SINEW_VECTOR_WIDTH STREQUAL "baseline")
  target_compile_definitions(sinew_numerics INTERFACE SINEW_WIDEST=0)
else()
  message(FATAL_ERROR "SINEW_VECTOR_WIDTH is '${SINEW_VECTOR_WIDTH}'; it must be avx512, avx2 or baseline")
endif()

add_library(sinew_warnings INTERFACE)
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
  target_compile_options(sinew_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow)
  if(SINEW_WERROR)
    target_compile_options(sinew_warnings INTERFACE -Werror)
  endif()
endif()

add_library(sinew_checks INTERFACE)
if(SINEW_SANITIZE)
  target_compile_options(sinew_checks INTERFACE -fsanitize=${SINEW_SANITIZE} -fno-sanitize-recover=all
                                                -fno-omit-frame-pointer -g)
  target_link_options(sinew_checks INTERFACE -fsanitize=${SINEW_SANITIZE})
endif()
if(SINEW_FUZZ)
  target_compile_options(sinew_checks INTERFACE -fsanitize=fuzzer-no-link) # the fuzzer sees which branches were taken
endif()
if(SINEW_COVERAGE)
  target_compile_options(sinew_checks INTERFACE --coverage -O0 -g)
  target_link_options(sinew_checks INTERFACE --coverage)
endif()
