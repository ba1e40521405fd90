# The compile settings that sinew's targets share, as interface targets:
#   sinew_numerics  flags that fix the bits of results, and the widest vectors: for the library and for all code that is
#                   compared with it bit for bit
#   sinew_warnings  warnings; with SINEW_WERROR they are errors
#   sinew_checks    sanitizers and coverage, if enabled
include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)

add_library(sinew_numerics INTERFACE)
# Contraction would fuse a product and a sum into one rounding; every compiler must round both.
# The library reads neither errno nor floating-point exception flags. Without them the values are the same, and loops
# with square roots can be vectorised. Each flag is tested, because not every compiler supports it.
foreach(flag -ffp-contract=off -fno-math-errno -fno-trapping-math)
  string(MAKE_C_IDENTIFIER "SINEW_HAS${flag}" known)
  check_cxx_compiler_flag(${flag} ${known})
  if(${known})
    target_compile_options(sinew_numerics INTERFACE ${flag})
  endif()
endforeach()

# Flags such as -march=native can name a processor with fused operations. There, g++ 12 with -O3 makes one fused operation
# from a product-sum and a product-difference that stand side by side, in spite of -ffp-contract=off. Without the
# vectorisation of straight-line code it does not. sinew_no_fused_pairs does this for code that is compiled for such a
# processor; loops are vectorised as before.
add_library(sinew_no_fused_pairs INTERFACE)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(sinew_no_fused_pairs INTERFACE -fno-tree-slp-vectorize)
endif()
check_cxx_source_compiles("
#if !defined(__FMA__) && !defined(__FMA4__) && !defined(__AVX512F__)
#error
#endif
int main() {}" SINEW_PROCESSOR_FUSES)
if(SINEW_PROCESSOR_FUSES)
  target_link_libraries(sinew_numerics INTERFACE sinew_no_fused_pairs)
endif()

# The sources get the width as a number, because the preprocessor can only compare numbers.
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
  target_compile_options(sinew_checks INTERFACE -fsanitize=fuzzer-no-link) # reports the taken branches to the fuzzer
endif()
if(SINEW_COVERAGE)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "SINEW_COVERAGE needs clang: cmake --preset coverage, or ./dev coverage")
  endif()
  target_compile_options(sinew_checks INTERFACE -fprofile-instr-generate -fcoverage-mapping)
  target_link_options(sinew_checks INTERFACE -fprofile-instr-generate)
endif()
