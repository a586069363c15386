# What `cpack` makes in build/<preset>/packages: Debian packages, one for each component, and a tarball of
# everything. To be included after every install rule.
include_guard(GLOBAL)

set(VAK_PACKAGE_MAINTAINER
    "Vak developers <vak@localhost>"
    CACHE STRING "Who answers for the packages, as in Name <address>")

set(CPACK_PACKAGE_NAME vak)
set(CPACK_PACKAGE_VENDOR "Vak developers")
set(CPACK_PACKAGE_CONTACT "${VAK_PACKAGE_MAINTAINER}")
set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
# CPack puts a summary of its own making aside, so that each package begins with its own.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_NAME} built using CMake")
set(CPACK_GENERATOR TGZ DEB)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ
                                                GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS OFF)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SOURCE vak)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_COMPONENTS_ALL "")

# The day of the build, or that of SOURCE_DATE_EPOCH for packages that can be made again bit by bit.
string(TIMESTAMP VAK_PACKAGE_DATE "%a, %d %b %Y 00:00:00 +0000" UTC)
configure_file("${PROJECT_SOURCE_DIR}/packaging/debian/changelog.in"
               "${PROJECT_BINARY_DIR}/packaging/changelog" @ONLY)

if(VAK_GZIP)
  vak_compress("${PROJECT_BINARY_DIR}/packaging/changelog"
               "${PROJECT_BINARY_DIR}/packaging/changelog.Debian.gz")
  vak_compress("${PROJECT_SOURCE_DIR}/CHANGELOG.md" "${PROJECT_BINARY_DIR}/packaging/changelog.gz")
endif()

# Makes a Debian package of a component, with the files that every such package has.
#
#   vak_debian_package(dev NAME libvak-dev SECTION libdevel DEPENDS ... DESCRIPTION text)
macro(vak_debian_package component)
  cmake_parse_arguments(arg "SHLIBDEPS;ALL" "NAME;SECTION;DEPENDS;SUGGESTS;SUMMARY;DESCRIPTION" "" ${ARGN})
  string(TOUPPER "${component}" upper)
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  set(CPACK_COMPONENT_${upper}_DESCRIPTION "${arg_SUMMARY}\n${arg_DESCRIPTION}")
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${arg_NAME})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${arg_SECTION})
  set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${arg_DEPENDS}")
  set(CPACK_DEBIAN_${upper}_PACKAGE_SUGGESTS "${arg_SUGGESTS}")
  set(CPACK_DEBIAN_${upper}_PACKAGE_SHLIBDEPS ${arg_SHLIBDEPS})
  if(arg_ALL)
    set(CPACK_DEBIAN_${upper}_PACKAGE_ARCHITECTURE all)
  endif()
  install(
    FILES "${PROJECT_SOURCE_DIR}/packaging/debian/copyright"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${arg_NAME}"
    COMPONENT ${component})
  if(VAK_GZIP)
    install(
      FILES "${PROJECT_BINARY_DIR}/packaging/changelog.Debian.gz"
            "${PROJECT_BINARY_DIR}/packaging/changelog.gz"
      DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${arg_NAME}"
      COMPONENT ${component})
  endif()
endmacro()

set(revision "${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")
vak_debian_package(
  dev
  NAME libvak-dev
  SECTION libdevel
  SUGGESTS "g++ (>= 4:12), cmake, pkg-config, vak-gdb"
  SUMMARY "modelling library for mathematical optimisation"
  DESCRIPTION
    "Vak builds optimisation models out of variables, expressions and constraints\nthat live in an environment, and tells attached algorithms of every change.\nThis package holds the static library, its headers and what CMake and\npkg-config need to find them."
)
if(TARGET vak_solver)
  vak_debian_package(
    solver_dev
    NAME libvak-solver-dev
    SECTION libdevel
    DEPENDS "libvak-dev (= ${revision}), coinor-libcbc-dev, zlib1g-dev, pkg-config"
    SUMMARY "solver module of the modelling library Vak"
    DESCRIPTION
      "Vak builds optimisation models out of variables, expressions and constraints.\nThis package holds the static library that solves linear and mixed-integer\nmodels of Vak with the open solvers Clp and Cbc, and reads and writes them as\nfiles."
  )
endif()
if(TARGET vak-solve)
  vak_debian_package(
    solver
    NAME vak-solve
    SECTION math
    SHLIBDEPS
    SUMMARY "solve, change and solve again linear and mixed-integer programs"
    DESCRIPTION
      "vak-solve reads an optimisation model in MPS or LP form, solves it with the\nopen solvers Clp and Cbc, applies changes given on the command line and solves\nagain from where it stood."
  )
endif()
vak_debian_package(
  debug
  NAME vak-gdb
  SECTION debug
  ALL
  DEPENDS "gdb"
  SUMMARY "GDB printers for the modelling library Vak"
  DESCRIPTION
    "With these printers GDB shows the handles, arrays, properties, hash tables,\nmodels and environments of programs that use Vak by what they hold."
)

include(CPack)
