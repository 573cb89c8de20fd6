# Cross-compiling for Windows with Debian's MinGW-w64 toolchains. The
# toolchain files set KRD_MINGW_TRIPLET (x86_64-w64-mingw32 or
# i686-w64-mingw32) and include this file.
#
# The -posix compilers are used because the default thread variant has no
# std::recursive_mutex. The C++ run-time, libgcc and winpthread are linked
# statically (KrdFileLibApi/CMakeLists.txt), so the DLL imports only
# Windows' own DLLs.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR ${KRD_MINGW_PROCESSOR})

set(CMAKE_C_COMPILER ${KRD_MINGW_TRIPLET}-gcc-posix)
set(CMAKE_CXX_COMPILER ${KRD_MINGW_TRIPLET}-g++-posix)
set(CMAKE_RC_COMPILER ${KRD_MINGW_TRIPLET}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${KRD_MINGW_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
