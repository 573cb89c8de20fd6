# 32-bit Windows: KrdFileLibApi.dll for the classic 32-bit hosts. It cannot
# run on these machines, so it is checked statically only (exports, machine
# type, imports, the host structs' layout).
set(KRD_MINGW_TRIPLET i686-w64-mingw32)
set(KRD_MINGW_PROCESSOR X86)
include(${CMAKE_CURRENT_LIST_DIR}/MinGW.cmake)
