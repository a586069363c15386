# What `cmake --install` puts in place: the library, the headers of the application and extension tiers
# under include/vak, and the package files that find_package(Vak) reads.
include_guard(GLOBAL)

include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

get_property(headers GLOBAL PROPERTY VAK_HEADERS)
get_property(extension_headers GLOBAL PROPERTY VAK_EXTENSION_HEADERS)
target_sources(
  vak
  PUBLIC FILE_SET HEADERS
         BASE_DIRS "${PROJECT_SOURCE_DIR}"
         FILES ${headers} ${extension_headers})

install(
  TARGETS vak
  EXPORT VakTargets
  FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/vak")
install(
  EXPORT VakTargets
  NAMESPACE Vak::
  FILE VakConfig.cmake
  DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/Vak")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/VakConfigVersion.cmake"
                                 COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/VakConfigVersion.cmake"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/Vak")
