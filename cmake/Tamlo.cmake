# Helpers shared by all rooms.
if(CMAKE_LIBRARY_ARCHITECTURE AND EXISTS /etc/debian_version AND (NOT DEFINED CACHE{CMAKE_INSTALL_LIBDIR} OR "$CACHE{CMAKE_INSTALL_LIBDIR}" STREQUAL "lib"))
  # Where this system's own packages put them, under whatever prefix.
  set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE})
endif()
include(GNUInstallDirs)

add_library(tamlo_options INTERFACE)
target_compile_features(tamlo_options INTERFACE cxx_std_20)
if(NOT MSVC)
  target_compile_options(tamlo_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wconversion -Wno-sign-conversion)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # Wrong alarms of this compiler about std::string when it optimises.
  target_compile_options(tamlo_options INTERFACE -Wno-restrict)
endif()
if(TAMLO_SANITIZE)
  target_compile_options(tamlo_options INTERFACE -fsanitize=${TAMLO_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(tamlo_options INTERFACE -fsanitize=${TAMLO_SANITIZE})
  if(UNIX)
    # libodbcinst keeps what it has read of its files: unloaded together with a driver, this would be told as leaked.
    target_link_options(tamlo_options INTERFACE -Wl,--no-as-needed -lodbcinst -Wl,--as-needed)
  endif()
endif()

# tamlo_library(name [STATIC] SOURCES a.cpp ... DEPENDS lib ... [PRIVATE_DEPENDS lib ...])
# A library whose headers are reached from the repository root. Static, or shared as BUILD_SHARED_LIBS says: STATIC is for what no other
# program links to, and Windows programs hold everything themselves.
function(tamlo_library name)
  cmake_parse_arguments(arg "STATIC" "" "SOURCES;DEPENDS;PRIVATE_DEPENDS" ${ARGN})
  set(kind STATIC)
  if(BUILD_SHARED_LIBS AND NOT arg_STATIC AND NOT WIN32)
    set(kind SHARED)
  endif()
  add_library(${name} ${kind} ${arg_SOURCES})
  # Which number is raised when: CONTRIBUTING.md.
  set_target_properties(${name} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} DEFINE_SYMBOL "")
  target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>)
  target_compile_features(${name} PUBLIC cxx_std_20)
  target_link_libraries(${name} PUBLIC ${arg_DEPENDS} PRIVATE $<BUILD_INTERFACE:tamlo_options> ${arg_PRIVATE_DEPENDS})
  if(TARGET tamlo_precompiled)
    target_precompile_headers(${name} REUSE_FROM tamlo_precompiled)
    target_compile_options(${name} PRIVATE $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-fpch-preprocess>)
  endif()
endfunction()

# tamlo_public_headers(name a.h folder/b.h ...)
# The headers of a library that are for other programs. They are installed with it, under include/tamlo as they lie in the repository, and
# each of them is compiled alone there by a test: what it includes has to be public too.
function(tamlo_public_headers name)
  target_sources(${name} PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${ARGN})
endfunction()

# A faster linker where the machine has one (scripts/setup installs it): the programs with debug information are many and large.
find_program(TAMLO_MOLD mold)
if(TAMLO_TESTS AND TAMLO_MOLD AND UNIX AND CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 12)
  add_link_options($<$<CONFIG:Debug>:-fuse-ld=mold>)
endif()

# Windows programs are tested as they are shipped, optimised; what tests them is compiled without, in half of the time.
function(tamlo_quick_to_compile target)
  if(MINGW)
    target_compile_options(${target} PRIVATE -O0)
  endif()
endfunction()

# Compiles once what all test programs read first: GoogleTest and the standard headers. Sources include what they use all the same:
# -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON builds them without.
function(tamlo_test_precompiled)
  add_library(tamlo_test_precompiled OBJECT ${PROJECT_SOURCE_DIR}/cmake/Precompiled.cpp)
  target_link_libraries(tamlo_test_precompiled PRIVATE tamlo_options GTest::gmock GTest::gtest)
  tamlo_quick_to_compile(tamlo_test_precompiled)
  target_precompile_headers(tamlo_test_precompiled PRIVATE
    <gmock/gmock.h> <gtest/gtest.h> <algorithm> <array> <chrono> <cstdint> <cstring> <filesystem> <fstream> <functional> <map> <memory>
    <optional> <random> <set> <sstream> <stdexcept> <string> <string_view> <variant> <vector>)
endfunction()

# tamlo_test(name LABEL quick|full|long SOURCES a.cpp ... LIBS lib ... [TIMEOUT seconds] [SERIAL] [OWN_FLAGS])
# A GoogleTest program, run by CTest as one test with the label. OWN_FLAGS: compiled with other flags than the other tests (optimised, or
# those of Qt), and so without their precompiled header.
function(tamlo_test name)
  cmake_parse_arguments(arg "SERIAL;OWN_FLAGS" "LABEL;TIMEOUT" "SOURCES;LIBS" ${ARGN})
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 300)
  endif()
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE tamlo_options ${arg_LIBS} tamlo_test_support GTest::gmock GTest::gtest_main)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
  if(NOT arg_OWN_FLAGS)
    target_precompile_headers(${name} REUSE_FROM tamlo_test_precompiled)
    # For ccache, which has to see in the preprocessed text which header was compiled before.
    target_compile_options(${name} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>)
  endif()
  tamlo_quick_to_compile(${name})
  # One process per program: starting a process per case would cost more than most of the cases.
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES LABELS ${arg_LABEL} TIMEOUT ${arg_TIMEOUT})
  if(arg_SERIAL)
    set_tests_properties(${name} PROPERTIES RUN_SERIAL TRUE)
  endif()
endfunction()
