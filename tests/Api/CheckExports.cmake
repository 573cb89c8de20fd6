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

include(${CMAKE_CURRENT_LIST_DIR}/../DeclaredFunctions.cmake)
krd_declared_functions(${HEADER} declared)
krd_compare_exports("${exported}" "${declared}" difference)
if(difference)
  message(FATAL_ERROR "Exported symbols differ from the header's prototypes.\n${difference}")
endif()
list(LENGTH exported count)
message(STATUS "${count} functions exported, as the header declares")
