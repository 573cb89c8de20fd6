# The installed package around libKrdFileLibApi: a CMake package
# configuration (find_package(KrdFileLib) gives the imported target
# KrdFileLib::KrdFileLibApi) with its version file, and a pkg-config file.
# Every path in them is relative to where they are installed, so that an
# installed copy may be moved or packaged elsewhere.
include(CMakePackageConfigHelpers)

set(KRD_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/KrdFileLib)

install(EXPORT KrdFileLibTargets NAMESPACE KrdFileLib:: DESTINATION ${KRD_PACKAGE_DIR})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/KrdFileLibConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/KrdFileLibConfig.cmake
                              INSTALL_DESTINATION ${KRD_PACKAGE_DIR})
# As the library's SONAME: versions of one major version are compatible.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KrdFileLibConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KrdFileLibConfig.cmake
              ${PROJECT_BINARY_DIR}/KrdFileLibConfigVersion.cmake
        DESTINATION ${KRD_PACKAGE_DIR})

# pkg-config finds the prefix from the folder the .pc file is in.
file(RELATIVE_PATH KRD_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" KRD_PC_TO_PREFIX "${KRD_PC_TO_PREFIX}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/KrdFileLib.pc.in ${PROJECT_BINARY_DIR}/KrdFileLib.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/KrdFileLib.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
