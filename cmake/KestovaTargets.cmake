# SPDX-License-Identifier: Apache-2.0
# What the project's own targets have in common.
include_guard(GLOBAL)

if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  find_program(KESTOVA_CCACHE ccache)
  if(KESTOVA_CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${KESTOVA_CCACHE}")
  endif()
endif()

# Language level and warnings, for the project's own targets alone: nothing of it is exported.
function(kestova_own_target target)
  target_compile_features(${target} PRIVATE cxx_std_20)
  # g++ 12 sees overlapping copies in std::string where there are none (mended in 13).
  set(is_gcc_12 "$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>")
  target_compile_options(
    ${target} PRIVATE -Wall -Wextra -Wpedantic $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>
                      $<${is_gcc_12}:-Wno-restrict>)
  set_target_properties(
    ${target}
    PROPERTIES CXX_EXTENSIONS OFF
               CXX_VISIBILITY_PRESET hidden
               VISIBILITY_INLINES_HIDDEN ON
               COMPILE_WARNING_AS_ERROR ${KESTOVA_WERROR})
endfunction()

# Objects that go into a shared library or, as they are, into the tests of its private classes.
function(kestova_add_objects target)
  add_library(${target} OBJECT ${ARGN})
  kestova_own_target(${target})
  set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
endfunction()

# A shared library of the project: kestova_add_shared_library(target name base_dir header...)
# Users link it as Kestova::<name>; its public headers are one file set below base_dir.
function(kestova_add_shared_library target name base_dir)
  add_library(${target} SHARED)
  add_library(Kestova::${name} ALIAS ${target})
  kestova_own_target(${target})
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_sources(
    ${target}
    PUBLIC FILE_SET HEADERS
           BASE_DIRS ${base_dir}
           FILES ${ARGN})
  set_target_properties(
    ${target}
    PROPERTIES EXPORT_NAME ${name}
               LINKER_LANGUAGE CXX
               VERSION ${PROJECT_VERSION}
               SOVERSION ${PROJECT_VERSION_MAJOR})
  kestova_set_install_rpath(${target} ${CMAKE_INSTALL_LIBDIR})
endfunction()

# Where the libdispatch that scripts/setup built goes in an installed tree, seen from its prefix.
set(KESTOVA_INSTALL_DISPATCHDIR "${CMAKE_INSTALL_LIBDIR}/kestova/libdispatch")

# Lets what is installed in `dir` find the libraries beside it, wherever the prefix is moved.
function(kestova_set_install_rpath target dir)
  file(RELATIVE_PATH to_libraries "/${dir}" "/${CMAKE_INSTALL_LIBDIR}")
  file(RELATIVE_PATH to_dispatch "/${dir}" "/${KESTOVA_INSTALL_DISPATCHDIR}/lib")
  set(rpath "$ORIGIN/${to_libraries}")
  if(libdispatch_IS_PRIVATE)
    list(APPEND rpath "$ORIGIN/${to_dispatch}")
  endif()
  set_target_properties(${target} PROPERTIES INSTALL_RPATH "${rpath}")
endfunction()
