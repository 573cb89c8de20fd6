# 64-bit Windows: KrdFileLibApi.dll for current 64-bit hosts. Its tests run
# under Wine (wine64, with a prefix in the build folder).
set(KRD_MINGW_TRIPLET x86_64-w64-mingw32)
set(KRD_MINGW_PROCESSOR AMD64)
include(${CMAKE_CURRENT_LIST_DIR}/MinGW.cmake)

find_program(KRD_WINE64 NAMES wine64 PATHS /usr/lib/wine NO_CMAKE_FIND_ROOT_PATH)
if(KRD_WINE64)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/run-under-wine)
endif()
