# Compares the shared library, built with debug information, with the committed description of its functions and types. Called
# with -D ABIDW, ABIDIFF, LIBRARY, WORK (a folder for the new description); with -D UPDATE=ON it writes the description.
cmake_minimum_required(VERSION 3.22)
set(here "${CMAKE_CURRENT_LIST_DIR}")
set(committed "${here}/sinew.abi")
set(text "${WORK}/sinew.abi")
file(MAKE_DIRECTORY "${WORK}")
# Types of the standard library are left out: they are not ours.
set(options --suppressions "${here}/suppressions.ini" --headers-dir "${here}/../../sinew")
execute_process(COMMAND "${ABIDW}" ${options} --exported-interfaces-only --drop-private-types --no-corpus-path
                        --no-comp-dir-path --no-show-locs --out-file "${text}" "${LIBRARY}"
                COMMAND_ERROR_IS_FATAL ANY)
if(UPDATE)
  # Without the folder of this machine.
  get_filename_component(root "${here}/../.." ABSOLUTE)
  file(READ "${text}" description)
  string(REPLACE "path='${root}/" "path='" description "${description}")
  file(WRITE "${committed}" "${description}")
  return()
endif()
execute_process(COMMAND "${ABIDIFF}" --no-show-locs "${committed}" "${text}" RESULT_VARIABLE status OUTPUT_VARIABLE output)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "The binary interface has changed (see docs/versions.md; ./dev abi --update writes it anew):\n${output}")
endif()
