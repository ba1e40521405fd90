# The compile settings that sinew's own targets share, as interface targets:
#   sinew_numerics  flags that fix the bits: the library and all that is compared with it bit for bit
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
