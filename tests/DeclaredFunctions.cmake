# What the export checks of the shared library and of the Windows DLLs share:
# the functions the public header declares, and the comparison of a
# library's exported names with them.

# The names of the functions HEADER declares, each prototype a line that
# starts with its result type and name.
function(krd_declared_functions header out_var)
  file(STRINGS ${header} prototypes REGEX "^(int32_t|void) [A-Za-z0-9_]+\\(")
  list(TRANSFORM prototypes REPLACE "^[a-z0-9_]+ ([A-Za-z0-9_]+)\\(.*$" "\\1")
  set(${out_var} ${prototypes} PARENT_SCOPE)
endfunction()

# Sets OUT_VAR to a description of how the exported names differ from the
# declared ones; empty when they are the same.
function(krd_compare_exports exported declared out_var)
  list(SORT exported)
  list(SORT declared)
  set(difference "")
  if(NOT exported STREQUAL declared)
    set(unexpected ${exported})
    list(REMOVE_ITEM unexpected ${declared})
    set(missing ${declared})
    list(REMOVE_ITEM missing ${exported})
    set(difference "  exported, not declared: ${unexpected}\n  declared, not exported: ${missing}\n")
  endif()
  set(${out_var} "${difference}" PARENT_SCOPE)
endfunction()
