# Checks that every public header refuses options that change results, accepts them with SINEW_ACCEPT_OTHER_ARITHMETIC, and
# compiles without them. Called with -D ROOT, WORK, CXX, FLAGS, COMPILER, PROCESSOR.
#
# The preprocessor is enough, since the refusal is an #error.
cmake_minimum_required(VERSION 3.22)

# preprocess(<source> <option>...): sets `status` and `output`.
function(preprocess source)
  execute_process(COMMAND "${CXX}" ${FLAGS} -std=c++17 "-I${ROOT}" ${ARGN} -E -o "${WORK}/preprocessed.txt" "${source}"
                  RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
  set(status "${status}" PARENT_SCOPE)
  set(output "${output}" PARENT_SCOPE)
endfunction()

# expect_refusal(<source> <text> <option>...)
function(expect_refusal source text)
  string(JOIN " " options ${ARGN})
  preprocess("${source}" ${ARGN})
  string(FIND "${output}" "${text}" at)
  if(status EQUAL 0 OR at EQUAL -1)
    message(FATAL_ERROR "${source} with ${options}: expected an error with '${text}', status ${status}:\n${output}")
  endif()
  preprocess("${source}" -DSINEW_ACCEPT_OTHER_ARITHMETIC ${ARGN})
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${source} with ${options} and SINEW_ACCEPT_OTHER_ARITHMETIC was refused:\n${output}")
  endif()
endfunction()

# The options that this compiler has for results wider than double, with what the preprocessor needs to accept them.
set(wide_intermediates "")
if(PROCESSOR MATCHES "^(x86_64|AMD64|i.86)$")
  if(COMPILER STREQUAL "GNU")
    set(wide_intermediates -mfpmath=387)
  else()
    set(wide_intermediates -mno-sse)
  endif()
endif()

file(GLOB_RECURSE headers RELATIVE "${ROOT}" "${ROOT}/sinew/*.h")
list(FILTER headers EXCLUDE REGEX "/detail/")
list(LENGTH headers count)
if(count LESS 30)
  message(FATAL_ERROR "only ${count} public headers were found in ${ROOT}/sinew")
endif()
set(source "${WORK}/refused_options.cpp")
foreach(header IN LISTS headers)
  file(WRITE "${source}" "#include <${header}>\n")
  expect_refusal("${source}" "sinew: fast-math options" -ffast-math)
endforeach()

file(WRITE "${source}" "#include <sinew/sinew.h>\n")
preprocess("${source}" -O2 -fno-math-errno -fno-trapping-math)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "the options that the library itself uses were refused:\n${output}")
endif()
if(COMPILER STREQUAL "GNU" OR COMPILER STREQUAL "Clang")
  expect_refusal("${source}" "sinew: fast-math options" -ffinite-math-only)
  if(NOT CXX MATCHES "em\\+\\+$") # which takes -O for its own option, with a number
    expect_refusal("${source}" "sinew: fast-math options" -Ofast)
  endif()
endif()
if(COMPILER STREQUAL "GNU")
  expect_refusal("${source}" "sinew: fast-math options" -fno-signed-zeros)
  expect_refusal("${source}" "sinew: fast-math options" -freciprocal-math)
endif()
if(wide_intermediates)
  expect_refusal("${source}" "sinew: this compiler evaluates doubles" ${wide_intermediates})
endif()
