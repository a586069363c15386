# Runs PROGRAM and fails unless it exits with 0 and writes exactly what the file EXPECTED holds.
execute_process(
  COMMAND "${PROGRAM}"
  OUTPUT_VARIABLE output
  RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${PROGRAM} ended with ${result} after writing:\n${output}")
endif()
file(READ "${EXPECTED}" expected)
if(NOT output STREQUAL expected)
  message(FATAL_ERROR "${PROGRAM} wrote:\n${output}\nbut ${EXPECTED} holds:\n${expected}")
endif()
