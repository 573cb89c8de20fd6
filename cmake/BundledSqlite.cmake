# SQLite for the Windows DLLs and the statically linked 32-bit Linux build.
# There is no MinGW or 32-bit SQLite package here, so the amalgamation is
# built from Debian's own sqlite3 source package into the build folder at
# configure time (scripts/fetch-sqlite-amalgamation) and compiled in. Its
# symbols stay inside: the DLL exports only the functions marked for
# export. Provides the target SQLite::SQLite3, as find_package(SQLite3)
# does elsewhere.
set(KRD_SQLITE_DIR ${CMAKE_BINARY_DIR}/sqlite-amalgamation)
execute_process(COMMAND ${PROJECT_SOURCE_DIR}/scripts/fetch-sqlite-amalgamation ${KRD_SQLITE_DIR}
                RESULT_VARIABLE fetch_result)
if(NOT fetch_result EQUAL 0)
  message(FATAL_ERROR "Could not build SQLite's amalgamation; run scripts/install-source-deps")
endif()
file(READ ${KRD_SQLITE_DIR}/VERSION KRD_SQLITE_VERSION)
string(STRIP "${KRD_SQLITE_VERSION}" KRD_SQLITE_VERSION)
message(STATUS "SQLite from Debian's source package ${KRD_SQLITE_VERSION}")

add_library(KrdSqlite STATIC ${KRD_SQLITE_DIR}/sqlite3.c)
target_include_directories(KrdSqlite SYSTEM PUBLIC ${KRD_SQLITE_DIR})
target_compile_definitions(KrdSqlite PRIVATE SQLITE_THREADSAFE=1 SQLITE_OMIT_LOAD_EXTENSION
                                             SQLITE_WIN32_NO_ANSI=0)
# Third-party code: its warnings are not the project's to fix.
target_compile_options(KrdSqlite PRIVATE -w)
if(NOT WIN32)
  find_package(Threads REQUIRED)
  target_link_libraries(KrdSqlite PUBLIC Threads::Threads m)
endif()
add_library(SQLite::SQLite3 ALIAS KrdSqlite)
