# How everything in this project is compiled: the language, the warnings, the sanitizers and the
# compiler cache. What only this project's own targets need is set on targets, so that a project that
# takes the library in with add_subdirectory keeps its own flags.
include_guard(GLOBAL)

if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  find_program(VAK_CCACHE ccache)
  mark_as_advanced(VAK_CCACHE)
  if(VAK_CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${VAK_CCACHE}")
  endif()
endif()

set(VAK_WARNINGS
    -Wall
    -Wextra
    -Wpedantic
    -Wshadow
    -Wnon-virtual-dtor
    -Woverloaded-virtual)

# False alarms of GCC 12, which are off: it takes a destroying operator delete for one that gives back the
# address it is handed, and misjudges the lengths of std::string when a text is put before another.
set(VAK_GCC_FALSE_ALARMS -Wno-free-nonheap-object -Wno-mismatched-new-delete -Wno-restrict)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  list(APPEND VAK_WARNINGS ${VAK_GCC_FALSE_ALARMS})
endif()

# The library also refuses silent conversions of numbers; tests may write numbers freely.
set(VAK_LIBRARY_WARNINGS -Wconversion -Wsign-conversion -Wold-style-cast)

# Sets the language, the warnings and the sanitizers of one target. LIBRARY adds the warnings to which
# only library code is held.
function(vak_set_compiler target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "LIBRARY" "" "")
  set_target_properties(
    ${target}
    PROPERTIES CXX_STANDARD 20
               CXX_STANDARD_REQUIRED ON
               CXX_EXTENSIONS OFF)
  target_compile_options(${target} PRIVATE ${VAK_WARNINGS})
  if(arg_LIBRARY)
    target_compile_options(${target} PRIVATE ${VAK_LIBRARY_WARNINGS})
  endif()
  if(VAK_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(VAK_SANITIZE)
    set(flags -fsanitize=${VAK_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_compile_options(${target} PRIVATE ${flags})
    target_link_options(${target} PUBLIC ${flags})
  endif()
endfunction()
