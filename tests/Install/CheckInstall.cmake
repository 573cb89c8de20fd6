# Installs the build into a scratch prefix, moves the prefix (an installed copy
# must not depend on where it was installed), checks what was installed, and
# builds and runs the C demo against the moved copy alone: as a CMake project
# that uses find_package(KrdFileLib), and compiled by hand with the flags
# pkg-config gives.
#   cmake -DBUILD_DIR= -DCONFIG= -DSOURCE_DIR= -DSCRATCH= -DGENERATOR= -DCC= -DPKG_CONFIG=
#         -DVERSION= -DLIBDIR= -DINCLUDEDIR= -P CheckInstall.cmake

# run([OUTPUT <variable>] COMMAND <command>...): fails the test, with the
# command's output, when the command fails.
function(run)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "OUTPUT" "COMMAND")
  execute_process(COMMAND ${arg_COMMAND} RESULT_VARIABLE result OUTPUT_VARIABLE output
                  ERROR_VARIABLE output OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT result EQUAL 0)
    string(REPLACE ";" " " command "${arg_COMMAND}")
    message(FATAL_ERROR "${command}\nfailed (${result}):\n${output}")
  endif()
  if(arg_OUTPUT)
    set(${arg_OUTPUT} "${output}" PARENT_SCOPE)
  endif()
endfunction()

set(prefix ${SCRATCH}/prefix)
file(REMOVE_RECURSE ${SCRATCH})
set(install_config)
if(CONFIG)
  set(install_config --config ${CONFIG})
endif()
run(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} ${install_config} --prefix ${SCRATCH}/staged)
file(RENAME ${SCRATCH}/staged ${prefix})

# Only the shared library, its header, the package files and the repair
# tool, and none of the package files names the build or the source tree.
file(GLOB_RECURSE installed LIST_DIRECTORIES false RELATIVE ${prefix} ${prefix}/*)
foreach(path IN LISTS installed)
  if(NOT path MATCHES "^(bin/krd-repair|${INCLUDEDIR}/KrdFileLibApi\\.h|${LIBDIR}/libKrdFileLibApi\\.so[.0-9]*|${LIBDIR}/cmake/KrdFileLib/KrdFileLib[A-Za-z-]*\\.cmake|${LIBDIR}/pkgconfig/KrdFileLib\\.pc)$")
    message(FATAL_ERROR "Installed, but not part of the package: ${path}")
  endif()
  if(path MATCHES "\\.(cmake|pc)$")
    file(READ ${prefix}/${path} text)
    foreach(tree IN ITEMS ${BUILD_DIR} ${SOURCE_DIR})
      string(FIND "${text}" "${tree}" at)
      if(at GREATER_EQUAL 0)
        message(FATAL_ERROR "${path} names ${tree}")
      endif()
    endforeach()
  endif()
endforeach()

# find_package: the consumer project must find the package in the prefix.
set(consumer ${SCRATCH}/find-package)
run(COMMAND ${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR}/Consumer -B ${consumer} -G ${GENERATOR}
            -DCMAKE_C_COMPILER=${CC} -DCMAKE_PREFIX_PATH=${prefix}
            -DKRD_DEMO_DIR=${SOURCE_DIR}/demo -DKRD_VERSION=${VERSION})
file(STRINGS ${consumer}/CMakeCache.txt package_dir REGEX "^KrdFileLib_DIR:")
if(NOT package_dir STREQUAL "KrdFileLib_DIR:PATH=${prefix}/${LIBDIR}/cmake/KrdFileLib")
  message(FATAL_ERROR "find_package found another copy: ${package_dir}")
endif()
run(COMMAND ${CMAKE_COMMAND} --build ${consumer})
run(COMMAND ${consumer}/KrdDemo ${consumer}/recording)

# pkg-config: a plain compile and link with its flags; the rpath lets the
# program find the installed library.
set(pkg_config ${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${prefix}/${LIBDIR}/pkgconfig ${PKG_CONFIG})
run(OUTPUT flags COMMAND ${pkg_config} --cflags --libs KrdFileLib)
run(OUTPUT libdir COMMAND ${pkg_config} --variable=libdir KrdFileLib)
string(FIND "${libdir}" "${prefix}/" at)
if(NOT at EQUAL 0)
  message(FATAL_ERROR "pkg-config found another copy: ${libdir}")
endif()
separate_arguments(flags UNIX_COMMAND "${flags}")
file(GLOB demo_sources ${SOURCE_DIR}/demo/*.c)
file(MAKE_DIRECTORY ${SCRATCH}/pkg-config)
run(COMMAND ${CC} -std=c99 ${demo_sources} ${flags} -Wl,-rpath,${libdir}
            -o ${SCRATCH}/pkg-config/KrdDemo)
run(COMMAND ${SCRATCH}/pkg-config/KrdDemo ${SCRATCH}/pkg-config/recording)
