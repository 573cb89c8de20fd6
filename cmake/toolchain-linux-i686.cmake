# 32-bit Linux (i686) with Debian's cross compilers, so that the library's
# 32-bit code runs its tests here: pointers and size_t of 4 bytes, and an
# address space of 4 GiB shared with the host's data. The programs are
# linked statically (the machine has no 32-bit shared libraries) and run
# under qemu-i386-static, CTest's emulator; a test that starts a program of
# the build starts it through the emulator too (KRD_PROGRAM_LAUNCHER).
# SQLite comes from the amalgamation the Windows DLLs use, GoogleTest from
# the sources of Debian's googletest package.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)

set(CMAKE_C_COMPILER i686-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER i686-linux-gnu-g++)

set(CMAKE_FIND_ROOT_PATH /usr/i686-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

find_program(KRD_QEMU_I386 qemu-i386-static REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR ${KRD_QEMU_I386})

set(KRD_STATIC_PROGRAMS ON CACHE BOOL "Statically linked programs; no shared library" FORCE)
