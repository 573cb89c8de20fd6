# Static checks of a Windows DLL, for both targets (the 32-bit one cannot be
# run here): its export table names exactly the functions the public
# header declares, its machine type is the target's, and it imports only
# Windows' own DLLs, none of the MinGW run-time's.
#   cmake -DOBJDUMP=<objdump> -DLIBRARY=<dll> -DHEADER=<KrdFileLibApi.h>
#         -DMACHINE=<AMD64|X86> -P CheckDll.cmake
execute_process(COMMAND ${OBJDUMP} -p ${LIBRARY} OUTPUT_VARIABLE dump RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${OBJDUMP} failed on ${LIBRARY}")
endif()

set(errors "")

# Machine type.
if(MACHINE STREQUAL "AMD64")
  set(format "pei-x86-64")
else()
  set(format "pei-i386")
endif()
if(NOT dump MATCHES "file format ${format}")
  string(APPEND errors "  not a ${format} image\n")
endif()

# Exports: the name table after "[Ordinal/Name Pointer] Table".
string(REGEX MATCH "\\[Ordinal/Name Pointer\\] Table\n(\t\\[ *[0-9]+\\] [^\n]+\n)+" table "${dump}")
string(REGEX MATCHALL "\t\\[ *[0-9]+\\] [A-Za-z0-9_@]+" names "${table}")
list(TRANSFORM names REPLACE "^.* " "")
include(${CMAKE_CURRENT_LIST_DIR}/../DeclaredFunctions.cmake)
krd_declared_functions(${HEADER} declared)
krd_compare_exports("${names}" "${declared}" difference)
string(APPEND errors "${difference}")

# Imports: Windows' own DLLs only.
string(REGEX MATCHALL "DLL Name: [^\n]+" imports "${dump}")
list(TRANSFORM imports REPLACE "DLL Name: " "")
foreach(import IN LISTS imports)
  string(TOLOWER "${import}" lower)
  if(NOT lower MATCHES "^(kernel32|msvcrt|advapi32|user32|ntdll)\\.dll$")
    string(APPEND errors "  imports ${import}\n")
  endif()
endforeach()

if(errors)
  message(FATAL_ERROR "${LIBRARY}:\n${errors}")
endif()
list(LENGTH names count)
message(STATUS "${format}, ${count} exports as the header declares, imports: ${imports}")
