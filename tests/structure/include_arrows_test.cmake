# Checks that include_arrows.cmake refuses what it must: cmake -DWORK=<empty folder> -P include_arrows_test.cmake
cmake_minimum_required(VERSION 3.22)

# A tree of two modules that is in order; each case then adds what is wrong.
function(make_tree)
  file(REMOVE_RECURSE "${WORK}")
  file(WRITE "${WORK}/docs/index.md" "| `low` | the lower module | nothing |\n| `high` | the upper one | `low` |\n")
  file(WRITE "${WORK}/sinew/export.h" "#include <vector>\n")
  file(WRITE "${WORK}/sinew/low/a.h" "#include <sinew/export.h>\n")
  file(WRITE "${WORK}/sinew/low/b.h" "#include <sinew/low/a.h>\n")
  file(WRITE "${WORK}/sinew/low/a.cpp" "#include <sinew/low/a.h>\n")
  file(WRITE "${WORK}/sinew/high/c.h" "#include <sinew/low/b.h>\n")
endfunction()

# expect(<text> | NOTHING): what the check must report.
function(expect text)
  execute_process(COMMAND ${CMAKE_COMMAND} "-DROOT=${WORK}" -P "${CMAKE_CURRENT_LIST_DIR}/include_arrows.cmake"
                  RESULT_VARIABLE status OUTPUT_QUIET ERROR_VARIABLE output)
  string(REGEX REPLACE "[ \n]+" " " output "${output}") # message() breaks lines
  if(text STREQUAL "NOTHING")
    if(NOT status EQUAL 0)
      message(FATAL_ERROR "a tree in order was refused:\n${output}")
    endif()
    return()
  endif()
  string(FIND "${output}" "${text}" at)
  if(status EQUAL 0 OR at EQUAL -1)
    message(FATAL_ERROR "expected the report '${text}', status ${status}:\n${output}")
  endif()
endfunction()

make_tree()
expect(NOTHING)

make_tree()
file(APPEND "${WORK}/sinew/low/a.cpp" "#include <sinew/high/c.h>\n")
expect("low/a.cpp: 'low' does not stand on 'high'")

make_tree()
file(APPEND "${WORK}/sinew/low/a.cpp" "  #  include <sinew/low/b.h>\n")
expect("in a circle: low/a, low/b")

make_tree()
file(APPEND "${WORK}/sinew/export.h" "#include <sinew/low/a.h>\n")
expect("export.h: the ground floor includes <sinew/low/a.h>")

make_tree()
file(WRITE "${WORK}/sinew/high/c.h" "#include <vector>\n")
expect("'high' stands on 'low', but includes nothing of it")

make_tree()
file(WRITE "${WORK}/docs/index.md" "| `high` | the upper one | `low` |\n| `low` | the lower module | nothing |\n")
expect("'high' stands on 'low', which is not in a row before it")

make_tree()
file(WRITE "${WORK}/sinew/third/d.h" "")
expect("third/d.h: the module 'third' is not in the table")

make_tree()
file(WRITE "${WORK}/sinew/high/c.h" "#include \"b.h\"\n#include <sinew/low/b.h>\n")
expect("high/c.h: library headers are included as <sinew/...>")
