# The shared library contains no instruction that multiplies and adds with one rounding. `-ffp-contract=off` is not enough
# for that: where the processor has such instructions, g++ 12 makes one of them from a product-sum and a
# product-difference that it computes side by side.
#
#   -DLIBRARY=...    the shared library
#   -DOBJDUMP=...    the disassembler
execute_process(COMMAND "${OBJDUMP}" --disassemble --no-show-raw-insn "${LIBRARY}"
                OUTPUT_VARIABLE code RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "${OBJDUMP} cannot read ${LIBRARY}")
endif()
if(NOT code MATCHES "[ \t]v?mulsd[ \t]") # every x86-64 build multiplies doubles: the text of the disassembler is as expected
  message(FATAL_ERROR "No multiplication was found in ${LIBRARY}")
endif()
string(REGEX MATCHALL "[ \t]vfn?m(add|sub)[^\n]*" fused "${code}")
if(fused)
  list(LENGTH fused count)
  list(GET fused 0 first)
  message(FATAL_ERROR "${LIBRARY} has ${count} fused operations; the first one is: ${first}")
endif()
