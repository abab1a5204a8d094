# An area is one folder of sources compiled once, used by the shared library and by the unit tests (which need
# the symbols that the library hides).
#
#   welk_area(NAME [DEPS target...])   the *.cpp files of the current folder and, for those listed, its subfolders
function(welk_area name folder)
  cmake_parse_arguments(A "" "" "DEPS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp)
  if(NOT sources)
    add_library(${name} INTERFACE)
    return()
  endif()
  add_library(${name} OBJECT ${sources})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
  target_link_libraries(${name} PUBLIC ${A_DEPS} welk_instrument PRIVATE welk_warnings welk_whole)
endfunction()

# Where this tree lies, for tests that read files of it. One object alone knows the path, so that a compiler cache
# serves the same objects to every working tree.
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/SourceDirectory.cpp CONTENT [[
#include "tests/tables/SourceDirectory.h"
const char* sourceDirectory() { return "@PROJECT_SOURCE_DIR@"; }
]] @ONLY)
add_library(test_source_directory OBJECT EXCLUDE_FROM_ALL ${PROJECT_BINARY_DIR}/SourceDirectory.cpp)
target_include_directories(test_source_directory PRIVATE ${PROJECT_SOURCE_DIR})

# welk_test(NAME LABELS label... DEPS target... SOURCES file...)   one GoogleTest program, its cases known to ctest
function(welk_test name)
  cmake_parse_arguments(T "" "" "LABELS;DEPS;SOURCES" ${ARGN})
  add_executable(${name} ${T_SOURCES})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
  target_link_libraries(${name} PRIVATE ${T_DEPS} test_source_directory GTest::gmock GTest::gtest_main welk_instrument welk_warnings)
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES LABELS "${T_LABELS}" TIMEOUT 600)
endfunction()

# welk_fuzz(NAME TARGET file REPLAY file... [CORPUS folder] DEPS target... INCLUDES folder...)
# The fuzz target as a test NAME_replay_test that needs no fuzzer, with WELK_FUZZ also as the fuzzer NAME_fuzz.
# CORPUS is the folder of tests/fuzz/corpus whose inputs the test replays.
function(welk_fuzz name)
  cmake_parse_arguments(F "" "TARGET;CORPUS" "REPLAY;DEPS;INCLUDES" ${ARGN})
  set(replay ${F_TARGET} ${F_REPLAY})
  if(F_CORPUS)
    list(APPEND replay CorpusReplay.cpp)
  endif()
  welk_test(${name}_replay_test LABELS core DEPS ${F_DEPS} SOURCES ${replay})
  target_include_directories(${name}_replay_test PRIVATE ${F_INCLUDES})
  if(F_CORPUS)
    target_compile_definitions(${name}_replay_test PRIVATE WELK_CORPUS="${F_CORPUS}")
  endif()
  if(WELK_FUZZ)
    add_executable(${name}_fuzz ${F_TARGET})
    target_include_directories(${name}_fuzz PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include ${F_INCLUDES})
    target_link_options(${name}_fuzz PRIVATE -fsanitize=fuzzer)
    target_link_libraries(${name}_fuzz PRIVATE ${F_DEPS} welk_instrument welk_warnings)
  endif()
endfunction()
