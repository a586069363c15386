# Tests: one executable holds the tests of a folder or of one subject, and CTest runs every test of it in
# a process of its own, because counters, the mutex pointer and the environment variable are
# process-wide.
include_guard(GLOBAL)

include(GoogleTest)
find_package(GTest REQUIRED)

# Names the current folder as CTest shows it: tests/unit/vakbase is unit/vakbase.
function(vak_test_folder result)
  file(RELATIVE_PATH folder "${PROJECT_SOURCE_DIR}/tests" "${CMAKE_CURRENT_SOURCE_DIR}")
  set(${result} "${folder}" PARENT_SCOPE)
endfunction()

# Builds one test program and hands each of its tests to CTest.
#
#   vak_test(NAME exception SOURCES exception_test.cpp [LIBRARIES ...] [LABELS ...])
#
# A test is called folder/Subject.Sentence. Its labels are the kind of test (the first folder below
# tests/: unit, contract, fault, thread), the folder, and whatever LABELS adds. Tests that start threads
# carry the label thread, which is what runs under the thread sanitizer.
function(vak_test)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "NAME" "SOURCES;LIBRARIES;LABELS")
  if(NOT arg_NAME OR NOT arg_SOURCES OR arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "vak_test needs NAME and SOURCES, and knows LIBRARIES and LABELS")
  endif()
  vak_test_folder(folder)
  string(REGEX REPLACE "/.*" "" kind "${folder}")
  string(REPLACE "/" "_" target "test_${folder}_${arg_NAME}")

  add_executable(${target} ${arg_SOURCES})
  vak_set_compiler(${target})
  target_link_libraries(${target} PRIVATE Vak::vak GTest::gmock ${arg_LIBRARIES} GTest::gtest_main)
  set(labels ${kind} ${folder} ${arg_LABELS})
  list(REMOVE_DUPLICATES labels)
  string(REPLACE ";" "\\;" labels "${labels}")
  gtest_discover_tests(
    ${target}
    TEST_PREFIX "${folder}/"
    DISCOVERY_TIMEOUT 120
    PROPERTIES LABELS "${labels}")
endfunction()
