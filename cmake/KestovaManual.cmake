# SPDX-License-Identifier: Apache-2.0
# The tool's manual page and completions, written from its own description of its arguments.
include_guard(GLOBAL)

file(GLOB manual_sources CONFIGURE_DEPENDS tools/manual/*.cpp)
add_executable(kestova-manual ${manual_sources})
kestova_own_target(kestova-manual)
target_link_libraries(kestova-manual PRIVATE kestova_tool_objects)

set(KESTOVA_MANUAL_DIR "${PROJECT_BINARY_DIR}/manual")

# kestova_explain_tool(form file folder): makes the file and installs it into the folder.
function(kestova_explain_tool form file folder)
  set(output "${KESTOVA_MANUAL_DIR}/${form}/${file}")
  add_custom_command(
    OUTPUT "${output}"
    COMMAND "${CMAKE_COMMAND}" -E make_directory "${KESTOVA_MANUAL_DIR}/${form}"
    COMMAND kestova-manual ${form} > "${output}"
    DEPENDS kestova-manual
    VERBATIM)
  set_property(GLOBAL APPEND PROPERTY KESTOVA_MANUAL_FILES "${output}")
  if(KESTOVA_INSTALL)
    install(FILES "${output}" DESTINATION "${folder}")
  endif()
endfunction()

kestova_explain_tool(man kestova.1 "${CMAKE_INSTALL_MANDIR}/man1")
kestova_explain_tool(bash kestova "${CMAKE_INSTALL_DATADIR}/bash-completion/completions")
kestova_explain_tool(zsh _kestova "${CMAKE_INSTALL_DATADIR}/zsh/site-functions")
kestova_explain_tool(fish kestova.fish "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d")

get_property(manual_files GLOBAL PROPERTY KESTOVA_MANUAL_FILES)
add_custom_target(manual ALL DEPENDS ${manual_files})
