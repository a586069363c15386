# Examples: small programs that are built as a user would build them and run as tests.
include_guard(GLOBAL)

#   vak_example(NAME first_steps SOURCES first_steps.cpp [LIBRARIES ...] [EXPECTED first_steps.txt]
#               [PROGRAM_ONLY])
#
# The test fails when the program does not exit with 0 or, with EXPECTED, when what it writes to standard
# output is not exactly what that file holds. A PROGRAM_ONLY needs arguments, and has tests elsewhere.
function(vak_example)
  cmake_parse_arguments(PARSE_ARGV 0 arg "PROGRAM_ONLY" "NAME;EXPECTED" "SOURCES;LIBRARIES")
  if(NOT arg_NAME OR NOT arg_SOURCES OR arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "vak_example needs NAME and SOURCES, and knows LIBRARIES, EXPECTED and PROGRAM_ONLY")
  endif()
  set(target example_${arg_NAME})
  add_executable(${target} ${arg_SOURCES})
  vak_set_compiler(${target})
  set_target_properties(${target} PROPERTIES OUTPUT_NAME ${arg_NAME})
  target_link_libraries(${target} PRIVATE Vak::vak ${arg_LIBRARIES})
  if(arg_PROGRAM_ONLY OR NOT VAK_BUILD_TESTS)
    return()
  endif()
  if(arg_EXPECTED)
    add_test(
      NAME examples/${arg_NAME}
      COMMAND
        ${CMAKE_COMMAND} "-DPROGRAM=$<TARGET_FILE:${target}>"
        "-DEXPECTED=${CMAKE_CURRENT_SOURCE_DIR}/${arg_EXPECTED}" -P
        "${PROJECT_SOURCE_DIR}/cmake/VakCompareOutput.cmake")
  else()
    add_test(NAME examples/${arg_NAME} COMMAND ${target})
  endif()
  set_tests_properties(examples/${arg_NAME} PROPERTIES LABELS examples)
endfunction()
