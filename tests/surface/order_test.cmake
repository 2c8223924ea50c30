# Runs PROGRAM with PRELOAD, if any, loaded ahead of all other libraries, and compares its output with
# EXPECTED.

# A sanitizer's runtime refuses to be loaded second, unless told that it may.
set(ENV{ASAN_OPTIONS} "verify_asan_link_order=0")
set(ENV{LD_PRELOAD} "${PRELOAD}")
execute_process(COMMAND ${PROGRAM}
  OUTPUT_VARIABLE order ERROR_VARIABLE errors RESULT_VARIABLE status)
string(REPLACE "\r\n" "\n" order "${order}")
file(READ "${EXPECTED}" expected)
if(NOT status EQUAL 0 OR NOT order STREQUAL expected)
  message(FATAL_ERROR "The files register in another order than in ${EXPECTED}.\n"
    "status ${status}\n--- expected\n${expected}--- found\n${order}${errors}")
endif()
