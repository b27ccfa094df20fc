# SPDX-License-Identifier: Apache-2.0
# What an installation holds: both libraries, their headers, the tool, the CMake package.
include_guard(GLOBAL)
include(CMakePackageConfigHelpers)

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/KestovaFoundation")

install(TARGETS KestovaPlatform KestovaFoundation EXPORT KestovaTargets FILE_SET HEADERS)
if(TARGET kestova)
  install(TARGETS kestova)
endif()

# gdb looks for the printers of a library under the library's own path, which is known for sure only
# when it is installed.
install(
  FILES "${PROJECT_SOURCE_DIR}/packaging/gdb/kestova.py"
  DESTINATION "${CMAKE_INSTALL_DATADIR}/gdb/auto-load/\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}"
  RENAME "$<TARGET_FILE_NAME:KestovaPlatform>-gdb.py")

# What polkit asks the person before tools run with an administrator's rights. It reads the system's
# own folder only, so that an installation elsewhere needs the file put there.
install(FILES "${PROJECT_SOURCE_DIR}/packaging/polkit/org.kestova.foundation.policy"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/polkit-1/actions")

# A libdispatch that no package provides travels with the libraries, as a prefix of its own.
if(libdispatch_IS_PRIVATE)
  install(DIRECTORY "${libdispatch_private_root}/include" "${libdispatch_private_root}/lib"
          DESTINATION "${KESTOVA_INSTALL_DISPATCHDIR}")
  install(FILES "${libdispatch_private_root}/LICENSE" DESTINATION "${KESTOVA_INSTALL_DISPATCHDIR}")
endif()

install(
  EXPORT KestovaTargets
  NAMESPACE Kestova::
  DESTINATION "${package_dir}")
configure_package_config_file(
  "${PROJECT_SOURCE_DIR}/cmake/KestovaFoundationConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/KestovaFoundationConfig.cmake"
  INSTALL_DESTINATION "${package_dir}"
  PATH_VARS KESTOVA_INSTALL_DISPATCHDIR
  NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/KestovaFoundationConfigVersion.cmake"
                                 COMPATIBILITY SameMajorVersion)
install(
  FILES "${PROJECT_BINARY_DIR}/KestovaFoundationConfig.cmake"
        "${PROJECT_BINARY_DIR}/KestovaFoundationConfigVersion.cmake"
        "${PROJECT_SOURCE_DIR}/cmake/Findlibdispatch.cmake"
  DESTINATION "${package_dir}")

# The same for builds that ask pkg-config. All paths are told from the file's own place, so that the
# prefix can be moved.
set(pc_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
file(RELATIVE_PATH prefix_from_pc "/${pc_dir}" "/")
string(REGEX REPLACE "/$" "" prefix_from_pc "${prefix_from_pc}")
if(libdispatch_IS_PRIVATE)
  set(dispatch_libdir "\${prefix}/${KESTOVA_INSTALL_DISPATCHDIR}/lib")
  set(dispatch_includedir "\${prefix}/${KESTOVA_INSTALL_DISPATCHDIR}/include")
else()
  cmake_path(GET libdispatch_LIBRARY PARENT_PATH dispatch_libdir)
  set(dispatch_includedir "${libdispatch_INCLUDE_DIR}")
endif()
configure_file("${PROJECT_SOURCE_DIR}/packaging/KestovaFoundation.pc.in"
               "${PROJECT_BINARY_DIR}/KestovaFoundation.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/KestovaFoundation.pc" DESTINATION "${pc_dir}")
