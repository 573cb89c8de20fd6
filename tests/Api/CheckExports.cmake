# Checks that the shared library's dynamic symbol table defines exactly the
# functions of the C interface.
#   cmake -DNM=nm -DLIBRARY=<.so> -DEXPECTED=<ExpectedExports program> -P CheckExports.cmake
execute_process(COMMAND ${NM} -D --defined-only ${LIBRARY}
                OUTPUT_VARIABLE symbols RESULT_VARIABLE nm_result)
if(NOT nm_result EQUAL 0)
  message(FATAL_ERROR "${NM} failed on ${LIBRARY}")
endif()
execute_process(COMMAND ${EXPECTED} OUTPUT_VARIABLE expected)

string(REGEX MATCHALL "[^\n]+" symbol_lines "${symbols}")
set(exported)
foreach(line IN LISTS symbol_lines)
  string(REGEX REPLACE "^.* ([^ ]+)$" "\\1" name "${line}")
  list(APPEND exported "${name}")
endforeach()
string(REGEX MATCHALL "[^\n]+" expected "${expected}")

list(SORT exported)
list(SORT expected)
if(NOT exported STREQUAL expected)
  set(unexpected ${exported})
  list(REMOVE_ITEM unexpected ${expected})
  set(missing ${expected})
  list(REMOVE_ITEM missing ${exported})
  message(FATAL_ERROR "Exported symbols differ.\n  not meant to be exported: ${unexpected}\n"
                      "  missing: ${missing}")
endif()
list(LENGTH exported count)
message(STATUS "${count} functions exported, as intended")
