# Runs `sinew solve` on a matrix whose path contains blanks and letters beyond ASCII, and on one that does not exist. Called
# with -D PROGRAM, EMULATOR, WORK, PICTURES.
set(folder "${WORK}/Mätrix 例")
file(REMOVE_RECURSE "${WORK}")
file(MAKE_DIRECTORY "${folder}")

# run(<argument>...): sets `status` and `output`.
function(run)
  execute_process(COMMAND ${EMULATOR} "${PROGRAM}" ${ARGV} WORKING_DIRECTORY "${WORK}" RESULT_VARIABLE status
                  OUTPUT_VARIABLE output ERROR_VARIABLE output)
  set(status "${status}" PARENT_SCOPE)
  set(output "${output}" PARENT_SCOPE)
endfunction()

function(expect expected_status text)
  string(FIND "${output}" "${text}" at)
  if(NOT status EQUAL expected_status OR at EQUAL -1)
    message(FATAL_ERROR "expected status ${expected_status} and '${text}'; the status is ${status}:\n${output}")
  endif()
endfunction()

file(WRITE "${folder}/small.mtx"
     "%%MatrixMarket matrix coordinate real symmetric\n3 3 5\n1 1 4\n2 1 -1\n2 2 4\n3 2 -1\n3 3 4\n")
set(picture "")
if(PICTURES)
  set(picture --picture "${folder}/pïcture.png")
endif()
run(solve "${folder}/small.mtx" ${picture})
expect(0 "residual")
if(PICTURES AND NOT EXISTS "${folder}/pïcture.png")
  message(FATAL_ERROR "there is no picture:\n${output}")
endif()

run(solve "${folder}/none.mtx")
expect(1 "Mätrix 例/none.mtx: no such file")
