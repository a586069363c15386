# Benchmarks: programs that time the library beside what a user would take instead. They are run by hand,
# because a time means something only on a quiet machine.
include_guard(GLOBAL)

find_package(benchmark REQUIRED)

#   vak_benchmark(NAME arrays SOURCES arrays_benchmark.cpp [LIBRARIES ...])
function(vak_benchmark)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "NAME" "SOURCES;LIBRARIES")
  if(NOT arg_NAME OR NOT arg_SOURCES OR arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "vak_benchmark needs NAME and SOURCES, and knows LIBRARIES")
  endif()
  set(target benchmark_${arg_NAME})
  add_executable(${target} ${arg_SOURCES})
  vak_set_compiler(${target})
  target_link_libraries(${target} PRIVATE Vak::vak ${arg_LIBRARIES} benchmark::benchmark_main)
endfunction()
