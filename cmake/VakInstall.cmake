# What `cmake --install` puts in place, in components that are packages of their own:
#
#   dev         the library, its headers under include/vak, and what find_package(Vak) and pkg-config read
#   solver_dev  the same of the optional solver module
#   solver      programs (installed by the folders in apps/)
#   debug       the printers for GDB
#   doc         the licence (no Debian package, which needs none)
#
# The installed tree may be moved: every path in the package files is relative to the file itself.
include_guard(GLOBAL)

include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(VAK_INSTALL_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}/vak")
set(VAK_INSTALL_CMAKEDIR "${CMAKE_INSTALL_LIBDIR}/cmake/Vak")
set(VAK_INSTALL_PKGCONFIGDIR "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

# The paths of the pkg-config files, relative to the file unless the caller gave absolute folders.
set(VAK_PC_LIBDIR "${CMAKE_INSTALL_FULL_LIBDIR}")
set(VAK_PC_INCLUDEDIR "${CMAKE_INSTALL_FULL_INCLUDEDIR}/vak")
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}" OR IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
  set(VAK_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
else()
  file(RELATIVE_PATH VAK_PC_PREFIX "/${VAK_INSTALL_PKGCONFIGDIR}" "/")
  string(REGEX REPLACE "/$" "" VAK_PC_PREFIX "${VAK_PC_PREFIX}")
  set(VAK_PC_PREFIX "\${pcfiledir}/${VAK_PC_PREFIX}")
  set(VAK_PC_LIBDIR "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
  set(VAK_PC_INCLUDEDIR "\${prefix}/${VAK_INSTALL_INCLUDEDIR}")
endif()

# Installs a static library with its headers of the application and extension tiers, its exported target
# and its pkg-config file, of which packaging/pkg-config/ holds the pattern.
#
#   vak_install_library(vak COMPONENT dev EXPORT VakTargets PKG_CONFIG vak)
function(vak_install_library target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "COMPONENT;EXPORT;PKG_CONFIG" "")
  string(TOUPPER ${target} property)
  get_property(headers GLOBAL PROPERTY ${property}_HEADERS)
  get_property(extension_headers GLOBAL PROPERTY ${property}_EXTENSION_HEADERS)
  target_sources(
    ${target}
    PUBLIC FILE_SET HEADERS
           BASE_DIRS "${PROJECT_SOURCE_DIR}"
           FILES ${headers} ${extension_headers})
  install(
    TARGETS ${target}
    EXPORT ${arg_EXPORT}
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT ${arg_COMPONENT}
    FILE_SET HEADERS DESTINATION "${VAK_INSTALL_INCLUDEDIR}" COMPONENT ${arg_COMPONENT})
  install(
    EXPORT ${arg_EXPORT}
    NAMESPACE Vak::
    DESTINATION "${VAK_INSTALL_CMAKEDIR}"
    COMPONENT ${arg_COMPONENT})

  # Definitions that callers have to share, which only the generator knows.
  set(definitions "$<TARGET_PROPERTY:${target},INTERFACE_COMPILE_DEFINITIONS>")
  set(VAK_PC_DEFINITIONS "$<$<BOOL:${definitions}>: -D$<JOIN:${definitions}, -D>>")
  set(pattern "${PROJECT_BINARY_DIR}/packaging/${arg_PKG_CONFIG}.pc.in")
  set(pc "${PROJECT_BINARY_DIR}/packaging/${arg_PKG_CONFIG}.pc")
  configure_file("${PROJECT_SOURCE_DIR}/packaging/pkg-config/${arg_PKG_CONFIG}.pc.in" "${pattern}"
                 @ONLY)
  file(GENERATE OUTPUT "${pc}" INPUT "${pattern}")
  install(FILES "${pc}" DESTINATION "${VAK_INSTALL_PKGCONFIGDIR}" COMPONENT ${arg_COMPONENT})
endfunction()

vak_install_library(vak COMPONENT dev EXPORT VakTargets PKG_CONFIG vak)
if(TARGET vak_solver)
  get_target_property(VAK_SOLVER_PKG_CONFIG_MODULES vak_solver VAK_PKG_CONFIG_MODULES)
  string(REPLACE ";" " " VAK_SOLVER_PKG_CONFIG_MODULES "${VAK_SOLVER_PKG_CONFIG_MODULES}")
  vak_install_library(vak_solver COMPONENT solver_dev EXPORT VakSolverTargets PKG_CONFIG vak-solver)
  configure_file("${PROJECT_SOURCE_DIR}/packaging/VakSolverConfig.cmake.in"
                 "${PROJECT_BINARY_DIR}/packaging/VakSolverConfig.cmake" @ONLY)
  install(
    FILES "${PROJECT_BINARY_DIR}/packaging/VakSolverConfig.cmake"
    DESTINATION "${VAK_INSTALL_CMAKEDIR}"
    COMPONENT solver_dev)
endif()

configure_package_config_file(
  "${PROJECT_SOURCE_DIR}/packaging/VakConfig.cmake.in" "${PROJECT_BINARY_DIR}/packaging/VakConfig.cmake"
  INSTALL_DESTINATION "${VAK_INSTALL_CMAKEDIR}"
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/packaging/VakConfigVersion.cmake"
                                 COMPATIBILITY SameMajorVersion)
install(
  FILES "${PROJECT_BINARY_DIR}/packaging/VakConfig.cmake"
        "${PROJECT_BINARY_DIR}/packaging/VakConfigVersion.cmake"
  DESTINATION "${VAK_INSTALL_CMAKEDIR}"
  COMPONENT dev)

install(
  FILES "${PROJECT_SOURCE_DIR}/debug/gdb/vak_printers.py"
  DESTINATION "${CMAKE_INSTALL_DATADIR}/vak/gdb"
  COMPONENT debug)

# For those who install by hand: Debian's packages name the licence that the system has.
install(
  FILES "${PROJECT_SOURCE_DIR}/LICENSE"
  DESTINATION "${CMAKE_INSTALL_DOCDIR}"
  COMPONENT doc)

find_program(VAK_GZIP gzip)
mark_as_advanced(VAK_GZIP)

# Compresses a file while configuring, as Debian wants it: as well as possible, without name and time.
function(vak_compress file result)
  execute_process(
    COMMAND "${VAK_GZIP}" --best --no-name --stdout "${file}"
    OUTPUT_FILE "${result}"
    COMMAND_ERROR_IS_FATAL ANY)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${file}")
endfunction()
