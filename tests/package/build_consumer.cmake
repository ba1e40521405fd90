# Builds and runs one small host against the installed package. Called with -D CASE, STAGE, WORK, ROOT, CXX, LIBDIR, and
#   FLAGS                the flags with which all sources of the host are compiled
#   FASTEST              options for a host that uses all instructions of the processor
#   TOOLCHAIN, EMULATOR  for another system than the one that compiles: the toolchain file, the command that runs a program
#   PROGRAM_SUFFIX       the ending of programs
cmake_minimum_required(VERSION 3.22)
set(here "${CMAKE_CURRENT_LIST_DIR}")
file(REMOVE_RECURSE "${WORK}")
file(MAKE_DIRECTORY "${WORK}")

function(run)
  execute_process(COMMAND ${ARGV} WORKING_DIRECTORY "${WORK}" RESULT_VARIABLE status
                  OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT status EQUAL 0)
    string(JOIN " " command ${ARGV})
    message(FATAL_ERROR "${CASE}: '${command}' failed (${status}):\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

# readme_block(<language> <marker> <out>): the first fenced block of the language in the README that contains the marker.
function(readme_block language marker out)
  file(READ "${ROOT}/README.md" text)
  string(REPLACE ";" "\\;" text "${text}")
  string(REGEX MATCHALL "```${language}\n[^`]*```" blocks "${text}")
  foreach(block IN LISTS blocks)
    string(FIND "${block}" "${marker}" at)
    if(NOT at EQUAL -1)
      string(REGEX REPLACE "^```${language}\n" "" block "${block}")
      string(REGEX REPLACE "```$" "" block "${block}")
      set(${out} "${block}" PARENT_SCOPE)
      return()
    endif()
  endforeach()
  message(FATAL_ERROR "README.md contains no ${language} block with '${marker}'")
endfunction()

set(compiler "-DCMAKE_CXX_COMPILER=${CXX}")
if(TOOLCHAIN)
  set(compiler "-DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}")
endif()
separate_arguments(flags UNIX_COMMAND "${FLAGS}")
separate_arguments(fastest UNIX_COMMAND "${FASTEST}")

# Windows looks for a program's DLLs in these folders, and Wine in those of WINEPATH.
if(PROGRAM_SUFFIX STREQUAL ".exe")
  set(variable WINEPATH)
  if(CMAKE_HOST_WIN32)
    set(variable PATH)
  endif()
  set(ENV{${variable}} "${STAGE}/bin;${WORK}/build/_deps/sinew-build/sinew;$ENV{${variable}}")
endif()

# run_program(<path without ending>): sets `output`.
function(run_program path)
  run(${EMULATOR} "${path}${PROGRAM_SUFFIX}")
  set(output "${output}" PARENT_SCOPE)
endfunction()

# configure_build_run(<source folder> <program> <option>...): sets `output`.
function(configure_build_run source_dir program)
  # CMake looks in a toolchain's own folders only, unless the package's folder is given by name.
  run(${CMAKE_COMMAND} -S "${source_dir}" -B "${WORK}/build" -G Ninja "-Dsinew_DIR=${STAGE}/${LIBDIR}/cmake/sinew"
      ${compiler} "-DCMAKE_CXX_FLAGS=${FLAGS}" -DCMAKE_BUILD_TYPE=Release ${ARGN})
  run(${CMAKE_COMMAND} --build "${WORK}/build")
  run_program("${WORK}/build/${program}")
  set(output "${output}" PARENT_SCOPE)
endfunction()

# expect_inline_bits(): the host with the processor's fastest instructions gets the same bits from inline
# functions.
function(expect_inline_bits)
  run_program("${WORK}/build/inline_bits")
  expect("inline functions keep their bits")
endfunction()

# pkg_config_hosts(<folder of the package> <name of the pkg-config file>): builds and runs two hosts.
find_program(pkg_config pkg-config)
function(pkg_config_hosts folder name)
  set(ENV{PKG_CONFIG_PATH} "${folder}/${LIBDIR}/pkgconfig")
  if(NOT EXISTS "$ENV{PKG_CONFIG_PATH}/${name}.pc")
    return() # the static library is not part of every package
  endif()
  run("${pkg_config}" --cflags --libs ${name})
  # pkg-config escapes blanks in the flags by backslashes, for a shell.
  string(STRIP "${output}" package)
  set(rpath "-Wl,-rpath,${folder}/${LIBDIR}")
  if(PROGRAM_SUFFIX) # Windows and wasm have no such paths
    set(rpath "")
  endif()
  separate_arguments(package UNIX_COMMAND "${package}")
  foreach(program main inline_bits)
    run("${CXX}" ${flags} -std=c++17 ${fastest} "${here}/consumer/${program}.cpp" -o ${program}${PROGRAM_SUFFIX}
        ${package} ${rpath})
  endforeach()
  run_program("${WORK}/main")
  expect("sinew works")
  run_program("${WORK}/inline_bits")
  expect("inline functions keep their bits")
endfunction()

# compile_host(<source> <options>): with all warnings as errors. Older compilers do not know every standard.
function(compile_host source options)
  if("-std=c++23" IN_LIST options)
    execute_process(COMMAND "${CXX}" ${flags} -std=c++23 -fsyntax-only -x c++ - INPUT_FILE "${here}/hosts/nothing.cpp"
                    RESULT_VARIABLE status OUTPUT_QUIET ERROR_QUIET)
    if(NOT status EQUAL 0)
      list(REMOVE_ITEM options "-std=c++23")
      list(APPEND options "-std=c++2b")
    endif()
  endif()
  run("${CXX}" ${flags} ${options} ${warnings} -fsyntax-only "-I${STAGE}/include" "${here}/hosts/${source}.cpp")
endfunction()

function(expect text)
  string(FIND "${output}" "${text}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "${CASE}: expected '${text}' in the output:\n${output}")
  endif()
endfunction()

# expect_only_the_library(): the build of a host that embeds sinew contains one library and no program of sinew, installs
# nothing of it, and its own options are as they were.
function(expect_only_the_library)
  file(GLOB_RECURSE built RELATIVE "${WORK}/build" "${WORK}/build/*")
  list(FILTER built INCLUDE REGEX "(sinew\\.(a|so|dll|lib|dylib)[.0-9]*|sinew_selftest[^/]*|sinew_tests[^/]*|/tool/.*)$")
  list(LENGTH built count)
  if(NOT count EQUAL 1 OR NOT built MATCHES "sinew\\.(a|lib)$")
    message(FATAL_ERROR "${CASE}: a host without BUILD_SHARED_LIBS gets one static library, not: ${built}")
  endif()
  run(${CMAKE_COMMAND} --install "${WORK}/build" --prefix "${WORK}/installed")
  if(EXISTS "${WORK}/installed")
    message(FATAL_ERROR "${CASE}: the host installs files of sinew")
  endif()
  file(STRINGS "${WORK}/build/CMakeCache.txt" changed REGEX "^(BUILD_SHARED_LIBS|BUILD_TESTING|CMAKE_RUNTIME_OUTPUT_DIRECTORY)")
  if(changed)
    message(FATAL_ERROR "${CASE}: the host's options were changed: ${changed}")
  endif()
endfunction()

if(CASE STREQUAL "cmake_shared")
  configure_build_run("${here}/consumer" consumer -DLIBRARY=sinew::sinew "-DFASTEST=${FASTEST}")
  expect("sinew works")
  expect_inline_bits()
elseif(CASE STREQUAL "cmake_static")
  configure_build_run("${here}/consumer" consumer -DLIBRARY=sinew::sinew_static "-DFASTEST=${FASTEST}")
  expect("sinew works")
  expect_inline_bits()
elseif(CASE STREQUAL "contraction_allowed")
  # The switch leaves the option out. Without it bits change on a processor with fused operations, which shows that
  # the other cases can fail.
  configure_build_run("${here}/consumer" inline_bits -DLIBRARY=sinew::sinew "-DFASTEST=${FASTEST}"
                      -DSINEW_ALLOW_CONTRACTION=ON)
  if(output MATCHES "fused operations: possible")
    expect("inline functions differ")
  else()
    message(STATUS "This processor, or this compiler without further options, fuses no operations: nothing to compare")
  endif()
elseif(CASE STREQUAL "embedded")
  # As the README prints it. Without optimisation, to save time: the whole library is built again, and the test only checks
  # that it can be embedded.
  readme_block(cmake FetchContent embed)
  file(WRITE "${WORK}/embed.cmake" "${embed}")
  file(COPY "${here}/consumer" DESTINATION "${WORK}")
  file(CREATE_LINK "${ROOT}" "${WORK}/consumer/sinew" SYMBOLIC)
  configure_build_run("${WORK}/consumer" consumer -DLIBRARY=sinew::sinew "-DEMBED=${WORK}/embed.cmake"
                      -DCMAKE_BUILD_TYPE=Debug "-DFASTEST=${FASTEST}")
  expect("sinew works")
  expect_inline_bits()
  expect_only_the_library()
elseif(CASE STREQUAL "pkg_config")
  pkg_config_hosts("${STAGE}" sinew)
  pkg_config_hosts("${STAGE}" sinew-static)

  # The switch leaves the option out.
  run("${pkg_config}" "--define-variable=contraction_option=" --cflags sinew)
  if(output MATCHES "contract")
    message(FATAL_ERROR "pkg-config still gives '${output}'")
  endif()
elseif(CASE STREQUAL "moved")
  # An installed package may be moved, also to a folder whose name has a blank.
  set(moved "${WORK}/another folder/sinew")
  file(COPY "${STAGE}/" DESTINATION "${moved}")
  set(STAGE "${moved}")
  configure_build_run("${here}/consumer" consumer -DLIBRARY=sinew::sinew "-DFASTEST=${FASTEST}")
  expect("sinew works")
  pkg_config_hosts("${moved}" sinew)
elseif(CASE STREQUAL "components")
  file(WRITE "${WORK}/CMakeLists.txt" "cmake_minimum_required(VERSION 3.22)
project(components CXX)
find_package(sinew 0.3 REQUIRED)
find_package(sinew REQUIRED OPTIONAL_COMPONENTS shared static)
foreach(kind shared static)
  if(NOT sinew_\${kind}_FOUND STREQUAL \"\${EXPECTED_\${kind}}\")
    message(FATAL_ERROR \"\${kind}: \${sinew_\${kind}_FOUND}\")
  endif()
endforeach()
find_package(sinew QUIET COMPONENTS bones)
if(sinew_FOUND OR NOT sinew_NOT_FOUND_MESSAGE MATCHES \"has no component 'bones'.*shared static\")
  message(FATAL_ERROR \"'bones': \${sinew_FOUND}, \${sinew_NOT_FOUND_MESSAGE}\")
endif()
find_package(sinew 99 QUIET)
if(sinew_FOUND)
  message(FATAL_ERROR \"version 99 was found\")
endif()
")
  run(${CMAKE_COMMAND} -S "${WORK}" -B "${WORK}/build" -G Ninja "-Dsinew_DIR=${STAGE}/${LIBDIR}/cmake/sinew" ${compiler}
      -DEXPECTED_shared=${SHARED} -DEXPECTED_static=${STATIC})
elseif(CASE STREQUAL "hosts")
  # Hosts with other options and other names around them. The first two options keep a part of the language away.
  set(warnings -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
  foreach(standard 17 20 23)
    foreach(options "" "-fno-rtti" "-fno-exceptions" "-fno-rtti;-fno-exceptions")
      compile_host(plain "-std=c++${standard};${options}")
    endforeach()
    foreach(host after_using_filesystem beside_another_vector3)
      compile_host(${host} "-std=c++${standard}")
    endforeach()
  endforeach()
  set(others "")
  foreach(folder IN LISTS OTHERS)
    list(APPEND others -isystem "${folder}")
  endforeach()
  foreach(host beside_eigen beside_ublas)
    if(host IN_LIST HOSTS)
      compile_host(${host} "-std=c++17;${others}")
    endif()
  endforeach()
elseif(CASE STREQUAL "readme")
  readme_block(cpp "int main" program)
  readme_block(cmake "find_package(sinew" project)
  file(WRITE "${WORK}/main.cpp" "${program}")
  file(WRITE "${WORK}/CMakeLists.txt" "${project}")
  configure_build_run("${WORK}" host)
  readme_block(text "" printed)
  string(STRIP "${printed}" printed)
  expect("${printed}")
elseif(CASE STREQUAL "template")
  file(COPY "${ROOT}/template" DESTINATION "${WORK}")
  configure_build_run("${WORK}/template" host)
  expect("segment 0, point (1, 0, 0)")
elseif(CASE STREQUAL "headers_alone")
  # Every installed header compiles alone, and includes only installed headers. All of them compile after the macros that
  # <windows.h> defines; the headers of the standard library come before, since they do not have to.
  file(GLOB_RECURSE headers RELATIVE "${STAGE}/include" "${STAGE}/include/sinew/*.h")
  foreach(header IN LISTS headers)
    string(MAKE_C_IDENTIFIER "${header}" stem)
    file(WRITE "${WORK}/${stem}.cpp" "#include <${header}>\n#include <${header}>\n")
    run("${CXX}" ${flags} -std=c++17 -Wall -Wextra -Wpedantic -Werror -fsyntax-only "-I${STAGE}/include" "${WORK}/${stem}.cpp")
    file(STRINGS "${STAGE}/include/${header}" lines REGEX "^#include <[a-z_]+>$")
    list(APPEND standard ${lines})
  endforeach()
  list(REMOVE_DUPLICATES standard)
  list(JOIN standard "\n" source)
  string(APPEND source "
#define min(a, b) ((a) < (b) ? (a) : (b))
#define max(a, b) ((a) > (b) ? (a) : (b))
#define near
#define far
#define small char
#define interface struct
#define IN
#define OUT
#define ERROR 0
#define DELETE 0x00010000L
#define TRANSPARENT 1
#include <sinew/sinew.h>
")
  file(WRITE "${WORK}/host_macros.cpp" "${source}")
  run("${CXX}" ${flags} -std=c++17 -Wall -Wextra -Wpedantic -Werror -fsyntax-only "-I${STAGE}/include"
      "${WORK}/host_macros.cpp")
else()
  message(FATAL_ERROR "there is no case '${CASE}'")
endif()
