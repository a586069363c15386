# Compiles sources with a compiler and flags of their own, whatever the build itself uses, for tests of
# what another compiler or optimiser makes of them. The objects link with everything else, because GCC and
# Clang share one binary interface and one standard library here.
include_guard(GLOBAL)

#   vak_compile_with(objects NAME deletion_gcc_O3 COMPILER /usr/bin/g++ FLAGS -O3 SOURCES a_test.cpp ...)
#
# The warnings are those of the project. Each compiler passes over what only the other one knows.
#
# Sets `objects` in the caller to the object files. Sources are named relative to the current folder.
function(vak_compile_with result)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "NAME;COMPILER" "FLAGS;SOURCES")
  if(NOT arg_NAME OR NOT arg_COMPILER OR NOT arg_SOURCES OR arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "vak_compile_with needs NAME, COMPILER and SOURCES, and knows FLAGS")
  endif()
  # Searched last, since a folder of the system itself must keep its place.
  set(includes "$<TARGET_PROPERTY:GTest::gmock,INTERFACE_INCLUDE_DIRECTORIES>")
  set(objects "")
  foreach(source IN LISTS arg_SOURCES)
    get_filename_component(path "${source}" ABSOLUTE)
    file(RELATIVE_PATH name "${PROJECT_SOURCE_DIR}" "${path}")
    string(REPLACE "/" "_" name "${name}")
    set(object "${CMAKE_CURRENT_BINARY_DIR}/${arg_NAME}/${name}.o")
    file(MAKE_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}/${arg_NAME}")
    add_custom_command(
      OUTPUT "${object}"
      COMMAND
        ${CMAKE_CXX_COMPILER_LAUNCHER} "${arg_COMPILER}" -std=c++20 "-I${PROJECT_SOURCE_DIR}"
        "$<$<BOOL:${includes}>:-idirafter$<JOIN:${includes},;-idirafter>>" ${VAK_WARNINGS} -Werror
        -Wno-unknown-warning-option ${VAK_GCC_FALSE_ALARMS} ${arg_FLAGS} -MD -MF "${object}.d" -c "${path}" -o "${object}"
      DEPENDS "${path}"
      DEPFILE "${object}.d"
      COMMENT "Compiling ${name} for ${arg_NAME}"
      COMMAND_EXPAND_LISTS VERBATIM)
    list(APPEND objects "${object}")
  endforeach()
  set(${result} "${objects}" PARENT_SCOPE)
endfunction()
