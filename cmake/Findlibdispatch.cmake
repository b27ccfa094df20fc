# SPDX-License-Identifier: Apache-2.0
#[[
Finds libdispatch and makes the imported target libdispatch::libdispatch.

Looked for, in this order: the prefix KESTOVA_DISPATCH_ROOT (variable or environment), the system's
own folders, a toolchain in PATH that carries it, the folder that scripts/setup builds it into.

Sets libdispatch_FOUND, libdispatch_INCLUDE_DIR, libdispatch_LIBRARY and libdispatch_IS_PRIVATE: true
when it is the one of scripts/setup, which an installation has to take along.
]]

set(KESTOVA_DISPATCH_ROOT
    "$ENV{KESTOVA_DISPATCH_ROOT}"
    CACHE PATH "Prefix that holds libdispatch")
get_filename_component(libdispatch_private_root "${CMAKE_CURRENT_LIST_DIR}/../build/deps/libdispatch"
                       ABSOLUTE)

find_program(libdispatch_TOOLCHAIN swiftc)
mark_as_advanced(libdispatch_TOOLCHAIN)
if(libdispatch_TOOLCHAIN)
  file(REAL_PATH "${libdispatch_TOOLCHAIN}" libdispatch_toolchain_root)
  get_filename_component(libdispatch_toolchain_root "${libdispatch_toolchain_root}/../.." ABSOLUTE)
endif()

set(libdispatch_include_suffixes include lib/swift)
set(libdispatch_library_suffixes lib lib/swift/linux)
if(KESTOVA_DISPATCH_ROOT)
  find_path(
    libdispatch_INCLUDE_DIR dispatch/dispatch.h
    PATHS "${KESTOVA_DISPATCH_ROOT}"
    PATH_SUFFIXES ${libdispatch_include_suffixes}
    NO_DEFAULT_PATH)
  find_library(
    libdispatch_LIBRARY dispatch
    PATHS "${KESTOVA_DISPATCH_ROOT}"
    PATH_SUFFIXES ${libdispatch_library_suffixes}
    NO_DEFAULT_PATH)
endif()
find_path(
  libdispatch_INCLUDE_DIR dispatch/dispatch.h
  PATHS "${libdispatch_toolchain_root}" "${libdispatch_private_root}"
  PATH_SUFFIXES ${libdispatch_include_suffixes})
find_library(
  libdispatch_LIBRARY dispatch
  PATHS "${libdispatch_toolchain_root}" "${libdispatch_private_root}"
  PATH_SUFFIXES ${libdispatch_library_suffixes})
mark_as_advanced(libdispatch_INCLUDE_DIR libdispatch_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(
  libdispatch
  REQUIRED_VARS libdispatch_LIBRARY libdispatch_INCLUDE_DIR
  REASON_FAILURE_MESSAGE "scripts/setup builds it, KESTOVA_DISPATCH_ROOT names another prefix")

cmake_path(IS_PREFIX libdispatch_private_root "${libdispatch_LIBRARY}" libdispatch_IS_PRIVATE)
if(libdispatch_FOUND AND NOT TARGET libdispatch::libdispatch)
  add_library(libdispatch::libdispatch UNKNOWN IMPORTED)
  set_target_properties(
    libdispatch::libdispatch
    PROPERTIES IMPORTED_LOCATION "${libdispatch_LIBRARY}"
               INTERFACE_INCLUDE_DIRECTORIES "${libdispatch_INCLUDE_DIR}")
endif()
