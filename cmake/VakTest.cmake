# Tests: one executable holds the tests of a folder or of one subject, and CTest runs every test of it in
# a process of its own, because counters, the mutex pointer and the environment variable are
# process-wide.
include_guard(GLOBAL)

include(GoogleTest)
find_package(GTest REQUIRED)

# Builds one test program and hands each of its tests to CTest.
#
#   vak_test(NAME exception SOURCES exception_test.cpp [LIBRARIES ...] [VARIANT ...])
#
# A test is called by its folder below tests/ and its name: unit/vakbase/Subject.SentenceOfBehaviour, so
# that `ctest -R ^unit/vakbase/` runs a folder. Its label is the kind of test, the first folder below
# tests/. The target tests_<kind> builds the tests of a kind; the kind thread is what runs under the
# thread sanitizer. With VARIANT, sources that are also built otherwise get names of their own: the variant
# follows the folder.
function(vak_test)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "NAME;VARIANT" "SOURCES;LIBRARIES")
  if(NOT arg_NAME OR NOT arg_SOURCES OR arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "vak_test needs NAME and SOURCES, and knows LIBRARIES and VARIANT")
  endif()
  file(RELATIVE_PATH folder "${PROJECT_SOURCE_DIR}/tests" "${CMAKE_CURRENT_SOURCE_DIR}")
  string(REGEX REPLACE "/.*" "" kind "${folder}")
  string(REPLACE "/" "_" target "test_${folder}_${arg_NAME}")
  set(prefix "${folder}/")
  if(arg_VARIANT)
    string(APPEND target "_${arg_VARIANT}")
    string(APPEND prefix "${arg_VARIANT}/")
  endif()

  add_executable(${target} ${arg_SOURCES})
  set_target_properties(${target} PROPERTIES LINKER_LANGUAGE CXX)
  vak_set_compiler(${target})
  # Test code gains nothing from the last optimisations and takes half as long again to compile; with
  # sanitizers any optimisation of it doubles that time.
  target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-O1> $<$<CONFIG:Debug>:-O0>)
  target_link_libraries(${target} PRIVATE Vak::vak ${arg_LIBRARIES} GTest::gmock GTest::gtest_main)
  if(NOT TARGET tests_${kind})
    add_custom_target(tests_${kind})
  endif()
  add_dependencies(tests_${kind} ${target})
  gtest_discover_tests(
    ${target}
    TEST_PREFIX "${prefix}"
    NO_PRETTY_TYPES NO_PRETTY_VALUES
    DISCOVERY_TIMEOUT 120
    PROPERTIES LABELS ${kind})
endfunction()
