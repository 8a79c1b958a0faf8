# Compares the dynamic symbols the library defines with the export list.
# Arguments: NM, LIBRARY, LIST.
execute_process(COMMAND ${NM} -D --defined-only ${LIBRARY}
                OUTPUT_VARIABLE nm_out RESULT_VARIABLE nm_result)
if(NOT nm_result EQUAL 0)
  message(FATAL_ERROR "nm failed on ${LIBRARY}")
endif()
string(REPLACE "\n" ";" nm_lines "${nm_out}")
set(defined "")
foreach(line ${nm_lines})
  # "<address> <type> <name>[@@version]"; the version node itself is type A.
  if(line MATCHES "^[0-9a-fA-F]+ ([A-Za-z]) ([^@ ]+)")
    if(NOT CMAKE_MATCH_1 STREQUAL "A")
      list(APPEND defined "${CMAKE_MATCH_2}")
    endif()
  endif()
endforeach()
list(SORT defined)
list(REMOVE_DUPLICATES defined)
file(STRINGS ${LIST} expected)
list(SORT expected)

set(missing ${expected})
list(REMOVE_ITEM missing ${defined})
set(extra ${defined})
list(REMOVE_ITEM extra ${expected})
list(LENGTH expected n_expected)
if(missing OR extra)
  string(REPLACE ";" " " missing "${missing}")
  string(REPLACE ";" " " extra "${extra}")
  message(FATAL_ERROR "export list and library differ\n  listed but not defined: ${missing}\n"
                      "  defined but not listed: ${extra}")
endif()
message(STATUS "${n_expected} exported symbols match the list")
