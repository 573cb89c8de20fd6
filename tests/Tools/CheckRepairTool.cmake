# Records the demo, cuts the last 7 bytes off its data file as a power loss
# might, and checks what krd-repair reports and does, by exit status and
# output: --check finds the torn tail and changes nothing, repair moves the
# tail aside and replaces the index, and afterwards both find the pair clean.
#   cmake -DREPAIR= -DDEMO= -DSCRATCH= [-DLAUNCHER=emulator] -P CheckRepairTool.cmake

set(types --data-type 1:2 --data-type 2:4 --data-type 3:8)

# expect(<status> <output regex> <arguments>...): runs krd-repair.
function(expect status pattern)
  execute_process(COMMAND ${LAUNCHER} ${REPAIR} ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output
                  ERROR_VARIABLE output)
  if(NOT result EQUAL status OR NOT output MATCHES "${pattern}")
    string(REPLACE ";" " " arguments "${ARGN}")
    message(FATAL_ERROR "krd-repair ${arguments}: status ${result}, expected ${status}:\n${output}")
  endif()
endfunction()

file(REMOVE_RECURSE ${SCRATCH})
execute_process(COMMAND ${LAUNCHER} ${DEMO} ${SCRATCH} OUTPUT_QUIET RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "the demo failed (${result})")
endif()
set(krd ${SCRATCH}/demo.krd)
file(SIZE ${krd} whole)
math(EXPR cut "${whole} - 7")
execute_process(COMMAND truncate -s ${cut} ${krd} RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "could not cut the data file")
endif()

expect(2 "--data-type ID:BYTES" --check ${krd})
expect(2 "usage" --check)
expect(1 "torn tail at [0-9]+ to ${cut}" --check ${types} ${krd})
file(SIZE ${krd} checked)
if(NOT checked EQUAL cut)
  message(FATAL_ERROR "--check changed the data file")
endif()
expect(0 "repaired: moved the torn tail.*kept aside: ${krd}\\.torn-" ${types} ${krd})
expect(0 "^clean" --check ${types} ${krd} ${SCRATCH}/demo.krq)
expect(0 "^clean" ${types} ${krd})
