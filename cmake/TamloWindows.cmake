# What a Windows build has of its own: everything is linked in, SQLite is compiled from its source.

# Windows 10, wide characters throughout; no library of the compiler is left outside of the program.
add_compile_definitions(_WIN32_WINNT=0x0A00 UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN)
add_link_options(-static)
# As deep a nesting of parentheses in a statement as elsewhere.
add_link_options(-Wl,--stack,8388608)
# The program is read from a disk before it does anything: what -O3 unrolls and copies, and the empty room before each place that is only
# jumped to (a thirtieth of the code), cost more there than they give.
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG -falign-jumps=1")
set(CMAKE_C_FLAGS_RELEASE "-O2 -DNDEBUG -falign-jumps=1")
# What no one calls is left out of the programs.
add_compile_options(-ffunction-sections -fdata-sections)
add_link_options(-Wl,--gc-sections)

# The package is a folder with the program in it.
set(CMAKE_INSTALL_BINDIR .)

set(TAMLO_SQLITE_SOURCE ${CMAKE_SOURCE_DIR}/build/sqlite CACHE PATH "Folder of sqlite3.c and sqlite3.h; filled when it is not there")
if(NOT EXISTS ${TAMLO_SQLITE_SOURCE}/sqlite3.c)
  execute_process(COMMAND ${CMAKE_SOURCE_DIR}/scripts/lib/sqlite-source.sh ${TAMLO_SQLITE_SOURCE} COMMAND_ERROR_IS_FATAL ANY)
endif()
add_library(tamlo_sqlite STATIC ${TAMLO_SQLITE_SOURCE}/sqlite3.c)
target_include_directories(tamlo_sqlite SYSTEM PUBLIC ${TAMLO_SQLITE_SOURCE})
target_compile_definitions(tamlo_sqlite PRIVATE SQLITE_OMIT_LOAD_EXTENSION SQLITE_THREADSAFE=1 SQLITE_DQS=0)
# It only ever runs statements over tables of ours, in memory: what is for files of its own, and functions that ours stand for, is left off
# (a seventh of its code).
foreach(part AUTOVACUUM COMPILEOPTION_DIAGS COMPLETE DATETIME_FUNCS DECLTYPE DEPRECATED DESERIALIZE GET_TABLE INCRBLOB INTEGRITY_CHECK
    INTROSPECTION_PRAGMAS JSON SHARED_CACHE TCL_VARIABLE TRACE WAL)
  target_compile_definitions(tamlo_sqlite PRIVATE SQLITE_OMIT_${part})
endforeach()
add_library(SQLite::SQLite3 ALIAS tamlo_sqlite)
# find_package(SQLite3) is content with these and takes the target above.
set(SQLite3_INCLUDE_DIR ${TAMLO_SQLITE_SOURCE} CACHE PATH "" FORCE)
set(SQLite3_LIBRARY tamlo_sqlite CACHE STRING "" FORCE)

# The standard headers, compiled once for all libraries. Builds for this machine do without, and so tell of a source that does not include
# what it uses.
add_library(tamlo_precompiled OBJECT ${CMAKE_CURRENT_LIST_DIR}/Precompiled.cpp)
target_link_libraries(tamlo_precompiled PRIVATE tamlo_options)
target_precompile_headers(tamlo_precompiled PRIVATE
  <algorithm> <array> <cmath> <cstdint> <cstring> <functional> <map> <memory> <optional> <set> <stdexcept> <string> <string_view>
  <unordered_map> <utility> <variant> <vector>)

# tamlo_delayed_library(target dll): the functions of a DLL of the system, which is loaded when one of them is first called and not with
# the program. Made of the names in the compiler's own import library.
function(tamlo_delayed_library target dll)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=lib${dll}.a OUTPUT_VARIABLE import_library
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND ${CMAKE_NM} ${import_library} OUTPUT_VARIABLE symbols ERROR_QUIET COMMAND_ERROR_IS_FATAL ANY)
  # 32 bits: "_SQLFetch@4", whose number of bytes belongs to the name that callers use but not to the DLL's.
  string(REGEX MATCHALL " T _?[A-Za-z][^\n]*" names "${symbols}")
  list(TRANSFORM names REPLACE "^ T _?" "")
  list(SORT names)
  list(REMOVE_DUPLICATES names)
  list(JOIN names "\n" names)
  set(definition ${CMAKE_CURRENT_BINARY_DIR}/${dll}.def)
  file(CONFIGURE OUTPUT ${definition} CONTENT "EXPORTS\n@names@\n" @ONLY)
  set(library ${CMAKE_CURRENT_BINARY_DIR}/lib${dll}_delayed.a)
  execute_process(COMMAND ${CMAKE_DLLTOOL} --kill-at --input-def ${definition} --dllname ${dll}.dll --output-delaylib ${library}
    COMMAND_ERROR_IS_FATAL ANY)
  add_library(${target} INTERFACE)
  target_link_libraries(${target} INTERFACE ${library} delayimp)
endfunction()

# Makes GTest from Debian's source (package googletest), under the names that find_package gives.
function(tamlo_googletest)
  set(INSTALL_GTEST OFF)
  set(CMAKE_CXX_FLAGS_RELEASE "-O0 -DNDEBUG")
  add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
  if(NOT TARGET GTest::gmock)
    add_library(GTest::gmock ALIAS gmock)
    add_library(GTest::gtest_main ALIAS gtest_main)
  endif()
endfunction()

# Makes CLI11::CLI11 of the headers that Debian has for its own programs (package libcli11-dev). They are copied: the rest of the folder that
# they lie in is not for Windows programs.
function(tamlo_cli11)
  find_path(TAMLO_CLI11_HEADERS CLI/App.hpp PATHS /usr/include NO_CMAKE_FIND_ROOT_PATH NO_DEFAULT_PATH)
  if(NOT TAMLO_CLI11_HEADERS)
    return()
  endif()
  file(COPY ${TAMLO_CLI11_HEADERS}/CLI DESTINATION ${CMAKE_BINARY_DIR}/cli11)
  add_library(CLI11::CLI11 INTERFACE IMPORTED GLOBAL)
  target_include_directories(CLI11::CLI11 SYSTEM INTERFACE ${CMAKE_BINARY_DIR}/cli11)
endfunction()

# tamlo_windows_program(target folder): a program of windows, without a console. tamlo_windows_command: one for a console. Both have an icon,
# version and manifest of their own, which lie in the folder under the target's name, and nothing in them that only a debugger needs.
function(tamlo_windows_program target folder)
  set_target_properties(${target} PROPERTIES WIN32_EXECUTABLE TRUE)
  tamlo_windows_command(${target} ${folder})
endfunction()

function(tamlo_windows_command target folder)
  enable_language(RC)
  set(resources ${folder}/${target}.rc)
  target_sources(${target} PRIVATE ${resources})
  string(REPLACE "." "," numbers "${PROJECT_VERSION}.0")
  set_property(SOURCE ${resources} TARGET_DIRECTORY ${target} PROPERTY COMPILE_DEFINITIONS
    "TAMLO_VERSION_NUMBERS=${numbers}" "TAMLO_VERSION=${PROJECT_VERSION}")
  set_property(SOURCE ${resources} TARGET_DIRECTORY ${target} PROPERTY OBJECT_DEPENDS
    ${folder}/${target}.manifest ${PROJECT_SOURCE_DIR}/app/win32/tamlo.ico)
  # Sections that begin at a page in the file too can be mapped instead of being read.
  target_link_options(${target} PRIVATE -Wl,--file-alignment,4096)
  if(NOT CMAKE_BUILD_TYPE STREQUAL Debug)
    target_link_options(${target} PRIVATE -s)
  endif()
endfunction()
