# Benchmarks: programs that time the library beside what a user would take instead. They are run by hand
# (scripts/bench.sh), because a time means something only on a quiet machine; the tests run one iteration of
# each, so that none rots.
include_guard(GLOBAL)

find_package(benchmark REQUIRED)
add_custom_target(benchmarks)

#   vak_benchmark(NAME arrays SOURCES arrays_benchmark.cpp [LIBRARIES ...] [TEST_FILTER ...])
#
# The target `benchmarks` builds all of them. A source defines VakRegisterBenchmarks() (benchmarks/support/registration.h). TEST_FILTER is a regular
# expression of rows that are too large for the tests.
function(vak_benchmark)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "NAME;TEST_FILTER" "SOURCES;LIBRARIES")
  if(NOT arg_NAME OR NOT arg_SOURCES OR arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "vak_benchmark needs NAME and SOURCES, and knows LIBRARIES and TEST_FILTER")
  endif()
  set(target benchmark_${arg_NAME})
  add_dependencies(benchmarks ${target})
  add_executable(${target} ${arg_SOURCES})
  vak_set_compiler(${target})
  target_link_libraries(${target} PRIVATE Vak::vak vak_benchmark_support ${arg_LIBRARIES})
  if(NOT VAK_BUILD_TESTS)
    return()
  endif()
  # The shortest time that there is ends every row after its first iteration.
  set(filter "")
  if(arg_TEST_FILTER)
    set(filter "--benchmark_filter=-${arg_TEST_FILTER}")
  endif()
  add_test(NAME benchmarks/${arg_NAME} COMMAND ${target} --benchmark_min_time=1e-9 ${filter})
  set_tests_properties(
    benchmarks/${arg_NAME}
    PROPERTIES LABELS benchmarks
               FAIL_REGULAR_EXPRESSION "ERROR OCCURRED"
               # Room for the thread-local memory of a heap that is loaded while the program runs.
               ENVIRONMENT "GLIBC_TUNABLES=glibc.rtld.optional_static_tls=16384")
endfunction()
