# Install rules that let a user write find_package(VxCameraUtils) or pkg-config --cflags VxCameraUtils.
include_guard(GLOBAL)
include(CMakePackageConfigHelpers)

set(VX_CMAKE_INSTALL_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/VxCameraUtils")

install(EXPORT VxCameraUtilsTargets
  NAMESPACE VxCameraUtils::
  DESTINATION ${VX_CMAKE_INSTALL_DIR})

configure_package_config_file(
  "${PROJECT_SOURCE_DIR}/cmake/VxCameraUtilsConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/VxCameraUtilsConfig.cmake"
  INSTALL_DESTINATION ${VX_CMAKE_INSTALL_DIR})
write_basic_package_version_file(
  "${PROJECT_BINARY_DIR}/VxCameraUtilsConfigVersion.cmake"
  COMPATIBILITY SameMinorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/VxCameraUtilsConfig.cmake"
  "${PROJECT_BINARY_DIR}/VxCameraUtilsConfigVersion.cmake"
  DESTINATION ${VX_CMAKE_INSTALL_DIR})

# The libraries a pkg-config user links, the system first and its host libraries after it.
get_property(VX_PC_LIBS GLOBAL PROPERTY VX_PKGCONFIG_LIBS)
list(REMOVE_DUPLICATES VX_PC_LIBS)
list(REVERSE VX_PC_LIBS)
list(TRANSFORM VX_PC_LIBS PREPEND "-l")
list(JOIN VX_PC_LIBS " " VX_PC_LIBS)
# The .pc file finds the prefix relative to itself, so an installed tree may be moved.
file(RELATIVE_PATH VX_PC_TO_PREFIX "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
configure_file("${PROJECT_SOURCE_DIR}/cmake/VxCameraUtils.pc.in"
  "${PROJECT_BINARY_DIR}/VxCameraUtils.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/VxCameraUtils.pc"
  DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

# The licence, the changelog and the README beside the installed files.
install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" "${PROJECT_SOURCE_DIR}/CHANGELOG.md"
  "${PROJECT_SOURCE_DIR}/README.md" DESTINATION "${CMAKE_INSTALL_DOCDIR}")
