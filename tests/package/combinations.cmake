# Configures every combination of the libraries and parts: each must be accepted, or refused with one sentence. Called with
# -D ROOT, WORK, CXX.
file(REMOVE_RECURSE "${WORK}") # options of an earlier run
set(number 0)
foreach(shared ON OFF)
  foreach(static ON OFF)
    foreach(tests ON OFF)
      foreach(tool ON OFF)
        foreach(examples ON OFF)
          set(options -DSINEW_SHARED=${shared} -DSINEW_STATIC=${static} -DSINEW_TESTS=${tests} -DSINEW_TOOL=${tool}
                      -DSINEW_EXAMPLES=${examples})
          execute_process(COMMAND ${CMAKE_COMMAND} -S "${ROOT}" -B "${WORK}" -G Ninja "-DCMAKE_CXX_COMPILER=${CXX}" ${options}
                          RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
          math(EXPR number "${number} + 1")
          if(NOT shared AND NOT static)
            if(status EQUAL 0 OR NOT output MATCHES "there is no library to build")
              message(FATAL_ERROR "without a library (${options}): ${status}\n${output}")
            endif()
          elseif(NOT status EQUAL 0)
            message(FATAL_ERROR "${options}:\n${output}")
          endif()
        endforeach()
      endforeach()
    endforeach()
  endforeach()
endforeach()

# expect(<what> <a part of the output> <option>...): one configuration.
function(expect what part)
  file(REMOVE_RECURSE "${WORK}")
  execute_process(COMMAND ${CMAKE_COMMAND} -S "${ROOT}" -B "${WORK}" -G Ninja "-DCMAKE_CXX_COMPILER=${CXX}" ${ARGN}
                  OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT output MATCHES "${part}")
    message(FATAL_ERROR "${what} (${ARGN}): expected '${part}' in\n${output}")
  endif()
endfunction()

# A package that is missing is named; the part is left out, or refused where it was asked for.
expect("tests without GoogleTest" "Not built: the tests. Not found: GoogleTest" -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON)
expect("tests by demand" "SINEW_TESTS is ON, but what it needs was not found: GoogleTest" -DSINEW_TESTS=ON
       -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON)
expect("pictures without zlib" "Not built: the pictures of the program 'sinew', and 'sinew tour'. Not found: zlib"
       -DSINEW_TESTS=OFF -DCMAKE_DISABLE_FIND_PACKAGE_ZLIB=ON)
expect("figures without the tool" "SINEW_FIGURES needs SINEW_TOOL" -DSINEW_FIGURES=ON -DSINEW_TOOL=OFF)

# Folders of the installation that are absolute, and a prefix with a blank.
expect("an absolute library folder" "" -DSINEW_TESTS=OFF -DSINEW_TOOL=OFF "-DCMAKE_INSTALL_PREFIX=/a folder"
       -DCMAKE_INSTALL_LIBDIR=/another/lib)
file(READ "${WORK}/sinew/sinew.pc" file)
if(NOT file MATCHES "prefix=/a\\\\ folder\n" OR NOT file MATCHES "libdir=/another/lib\n"
   OR NOT file MATCHES "includedir=\\\${prefix}/include\n")
  message(FATAL_ERROR "sinew.pc for an absolute library folder:\n${file}")
endif()
message(STATUS "${number} combinations")
