# Prints values in gdb and compares what it shows. Called with -D GDB, PROGRAM, PRINTERS.
set(expected
    "point|(1, 2.5, -3)"
    "direction|(0, 0, 1)"
    "uv|(0.5, 0.25)"
    "box|min (-1, -1, -1), max (1, 2, 3)"
    "turn|3 x 3 = {[0] = (0, -1, 0), [1] = (1, 0, 0), [2] = (0, 0, 1)}"
    "shift|4 x 4 = {[0] = (1, 0, 0, 0), [1] = (0, 1, 0, 0), [2] = (0, 0, 1, 0), [3] = (0, 0, 0, 1)}"
    "placement|linear * (scale * p) + translation = {linear = 3 x 3 = {[0] = (1, 0, 0), [1] = (0, 1, 0), [2] = (0, 0, 1)}, translation = (7, 8, 9), scale = 2}"
    "table|2 x 3 = {[0] = (0, 0, 0), [1] = (0, 0, 6)}"
    "damaged|5 x 2, but another number of entries"
    "again|count 2 = {object = "
    "nothing|empty"
    "square|4 vertices, 2 triangles, 1 boundaries"
    "system|2 rows, 3 entries"
    "factor|2 rows, 1 entries below the diagonal")
set(commands -ex "source ${PRINTERS}" -ex "set print pretty off" -ex "break stop" -ex "run" -ex "up")
foreach(line IN LISTS expected)
  string(REGEX REPLACE "[|].*" "" name "${line}")
  list(APPEND commands -ex "print ${name}")
endforeach()
execute_process(COMMAND "${GDB}" -nx -batch ${commands} "${PROGRAM}" OUTPUT_VARIABLE output ERROR_VARIABLE errors)
set(number 0)
foreach(line IN LISTS expected)
  math(EXPR number "${number} + 1")
  string(REGEX REPLACE "^[^|]*[|]" "$${number} = " text "${line}")
  string(FIND "${output}" "${text}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "gdb does not show '${text}':\n${output}\n${errors}")
  endif()
endforeach()
