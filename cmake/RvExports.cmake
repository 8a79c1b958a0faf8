# The exported interface is the checked-in list under exports/: one symbol per
# line, '#' starts a comment, one file per subsystem. A version script is made
# from it at configure time, so nothing outside the list is ever exported.
file(GLOB RV_EXPORT_LISTS CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/exports/*.txt)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${RV_EXPORT_LISTS})
set(RV_EXPORT_LIST ${PROJECT_BINARY_DIR}/rvkrn.exports)
set(RV_VERSION_SCRIPT ${PROJECT_BINARY_DIR}/rvkrn.map)

function(rv_apply_export_list target)
  set(symbols "")
  foreach(list ${RV_EXPORT_LISTS})
    file(STRINGS ${list} lines)
    foreach(line ${lines})
      string(REGEX REPLACE "#.*$" "" line "${line}")
      string(STRIP "${line}" line)
      if(NOT line STREQUAL "")
        list(APPEND symbols "${line}")
      endif()
    endforeach()
  endforeach()
  list(SORT symbols)
  list(REMOVE_DUPLICATES symbols)
  string(REPLACE ";" "\n" flat "${symbols}")
  file(WRITE ${RV_EXPORT_LIST}.tmp "${flat}\n")
  configure_file(${RV_EXPORT_LIST}.tmp ${RV_EXPORT_LIST} COPYONLY)
  set(map "RVKRN_1 {\n  global:\n")
  foreach(sym ${symbols})
    string(APPEND map "    ${sym};\n")
  endforeach()
  string(APPEND map "  local:\n    *;\n};\n")
  file(WRITE ${RV_VERSION_SCRIPT}.tmp "${map}")
  configure_file(${RV_VERSION_SCRIPT}.tmp ${RV_VERSION_SCRIPT} COPYONLY)
  target_link_options(${target} PRIVATE
    -Wl,--version-script=${RV_VERSION_SCRIPT} -Wl,-Bsymbolic-functions)
  # The sanitizer runtimes are linked into executables only, which leaves a
  # sanitized shared library with undefined references by design; the other
  # builds prove that nothing else is left undefined.
  if(NOT RV_SANITIZE)
    target_link_options(${target} PRIVATE -Wl,--no-undefined)
  endif()
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${RV_VERSION_SCRIPT})
endfunction()
