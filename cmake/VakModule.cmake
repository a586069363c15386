# What a source folder says about itself. A folder's CMakeLists.txt is one call:
#
#   vak_module(
#     SOURCES exception.cpp globals.cpp
#     HEADERS environment.h             # application tier: what users of the library include
#     EXTENSION_HEADERS numbers.h       # what authors of algorithms and plug-ins include; installed too
#     PRIVATE_HEADERS free_list.h)      # used inside the library only; not installed
#
# TARGET names the library when it is another one than vak. The headers of the target vak_solver are in the
# global properties VAK_SOLVER_HEADERS, VAK_SOLVER_EXTENSION_HEADERS and VAK_SOLVER_PRIVATE_HEADERS.
include_guard(GLOBAL)

# Adds a folder if it has a CMakeLists.txt.
macro(vak_add_folder folder)
  if(EXISTS "${CMAKE_CURRENT_SOURCE_DIR}/${folder}/CMakeLists.txt")
    add_subdirectory(${folder})
  endif()
endmacro()

# Adds the sources and headers of the current folder to the library. Every source and header of the
# folder has to be named, so that none stays unbuilt, unchecked or left out of the package by oversight.
function(vak_module)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "TARGET" "SOURCES;HEADERS;EXTENSION_HEADERS;PRIVATE_HEADERS")
  if(arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "vak_module: unknown arguments ${arg_UNPARSED_ARGUMENTS}")
  endif()

  set(named ${arg_SOURCES} ${arg_HEADERS} ${arg_EXTENSION_HEADERS} ${arg_PRIVATE_HEADERS})
  file(GLOB present CONFIGURE_DEPENDS RELATIVE "${CMAKE_CURRENT_SOURCE_DIR}" *.h *.cpp)
  list(REMOVE_ITEM present ${named} "")
  if(present)
    message(FATAL_ERROR "${CMAKE_CURRENT_SOURCE_DIR}/CMakeLists.txt does not name ${present}")
  endif()

  list(TRANSFORM arg_SOURCES PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/")
  if(NOT arg_TARGET)
    set(arg_TARGET vak)
  endif()
  string(TOUPPER ${arg_TARGET} property)
  target_sources(${arg_TARGET} PRIVATE ${arg_SOURCES})
  foreach(tier IN ITEMS HEADERS EXTENSION_HEADERS PRIVATE_HEADERS)
    list(TRANSFORM arg_${tier} PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/")
    set_property(GLOBAL APPEND PROPERTY ${property}_${tier} ${arg_${tier}})
  endforeach()
endfunction()

# Compiles a source of the library with descriptions for debuggers of all classes that it refers to, whole and
# in every build; see vakenv/core/debugger.h. Compilers would otherwise leave a class to the object that has
# its virtual table. No folder of the build is named. The source is one of TARGET, which is vak if not given.
function(vak_describe_types source)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "TARGET" "")
  if(NOT arg_TARGET)
    set(arg_TARGET vak)
  endif()
  set_source_files_properties(
    ${source}
    TARGET_DIRECTORY ${arg_TARGET}
    PROPERTIES
      COMPILE_OPTIONS
      "-g;-gz;$<$<CXX_COMPILER_ID:GNU>:-femit-class-debug-always>;$<$<CXX_COMPILER_ID:Clang>:-fstandalone-debug>;-ffile-prefix-map=${PROJECT_BINARY_DIR}=.;-ffile-prefix-map=${PROJECT_SOURCE_DIR}=."
  )
endfunction()
