# Checks that the shared library's dynamic symbol table defines exactly the
# functions the public header declares, each prototype a line that starts
# with its result type and name.
#   cmake -DNM=nm -DLIBRARY=<.so> -DHEADER=<KrdFileLibApi.h> -P CheckExports.cmake
execute_process(COMMAND ${NM} -D --defined-only ${LIBRARY}
                OUTPUT_VARIABLE symbols RESULT_VARIABLE nm_result)
if(NOT nm_result EQUAL 0)
  message(FATAL_ERROR "${NM} failed on ${LIBRARY}")
endif()

string(REGEX MATCHALL "[^\n]+" symbol_lines "${symbols}")
set(exported)
foreach(line IN LISTS symbol_lines)
  string(REGEX REPLACE "^.* ([^ ]+)$" "\\1" name "${line}")
  list(APPEND exported "${name}")
endforeach()

file(STRINGS ${HEADER} prototypes REGEX "^(int32_t|void) [A-Za-z0-9_]+\\(")
set(declared)
foreach(line IN LISTS prototypes)
  string(REGEX REPLACE "^[a-z0-9_]+ ([A-Za-z0-9_]+)\\(.*$" "\\1" name "${line}")
  list(APPEND declared "${name}")
endforeach()

list(SORT exported)
list(SORT declared)
if(NOT exported STREQUAL declared)
  set(unexpected ${exported})
  list(REMOVE_ITEM unexpected ${declared})
  set(missing ${declared})
  list(REMOVE_ITEM missing ${exported})
  message(FATAL_ERROR "Exported symbols differ from the header's prototypes.\n"
                      "  not declared: ${unexpected}\n  not exported: ${missing}")
endif()
list(LENGTH exported count)
message(STATUS "${count} functions exported, as the header declares")
