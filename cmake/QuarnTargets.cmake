# A room is one folder, one library and one include prefix. `quarn_room(NAME FOLDER DEPENDS...)` adds the library of the room
# in FOLDER from all sources below it. Files that end in _linux or _darwin are for that system only, so a port adds files
# and changes none.

add_library(quarn_settings INTERFACE)
target_compile_features(quarn_settings INTERFACE cxx_std_20)
target_include_directories(quarn_settings INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>)

add_library(quarn_warnings INTERFACE)
target_compile_options(quarn_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
# Apple's compiler and the newer libraries of a Mac may warn of what was never seen here; that stops no build.
target_compile_options(quarn_warnings INTERFACE $<$<NOT:$<CXX_COMPILER_ID:AppleClang>>:-Werror>)
# In optimised builds GCC 12 reports false overlapping copies for "literal" + std::string (GCC bug 105651) and false
# uninitialised members when a std::optional moves.
target_compile_options(quarn_warnings INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<NOT:$<CONFIG:Debug>>>:-Wno-maybe-uninitialized>)
# With a sanitizer it also reports false uninitialised values in std::regex (GCC bug 105616), and false out-of-bounds
# accesses for "literal" + std::string.
if(CMAKE_CXX_FLAGS MATCHES "-fsanitize=")
  set(false_alarms -Wno-maybe-uninitialized -Wno-array-bounds -Wno-stringop-overread -Wno-stringop-overflow)
  target_compile_options(quarn_warnings INTERFACE "$<$<CXX_COMPILER_ID:GNU>:${false_alarms}>")
endif()

if(CMAKE_SYSTEM_NAME STREQUAL "Darwin")
  set(QUARN_FOREIGN_SOURCES "_linux\\.cpp$")
else()
  set(QUARN_FOREIGN_SOURCES "_darwin\\.cpp$")
endif()

function(quarn_sources RESULT FOLDER)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/${FOLDER}/*.cpp")
  list(FILTER sources EXCLUDE REGEX "${QUARN_FOREIGN_SOURCES}")
  # Files of one system stay objects of their own: tests/macos replaces those of Linux with those of macOS.
  set(system_sources ${sources})
  list(FILTER system_sources INCLUDE REGEX "_(linux|darwin)\\.cpp$")
  if(system_sources)
    set_source_files_properties(${system_sources} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
  endif()
  set(${RESULT} ${sources} PARENT_SCOPE)
endfunction()

# Nearly every file includes these headers, and parsing them takes longer than the file itself. With GCC in unoptimised builds
# only: GCC 12 warns about system code that it inlines from a precompiled header.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
  set(CMAKE_DISABLE_PRECOMPILE_HEADERS ON)
endif()
set(QUARN_STANDARD_HEADERS <algorithm> <functional> <map> <memory> <optional> <string> <string_view> <unordered_map> <vector>)

# Compiles several sources of a library or test program at once: a clean build takes less time, one edit takes more. Sources of one
# library must not use one name for different things in their unnamed namespaces. Test sources have a namespace each for that reason.
option(QUARN_UNITY "Compile libraries and tests in batches of sources (faster clean builds, slower edits)" OFF)
function(quarn_unity NAME)
  set_target_properties(${NAME} PROPERTIES UNITY_BUILD ${QUARN_UNITY} UNITY_BUILD_BATCH_SIZE 8)
  if(QUARN_UNITY)
    # In a batch GCC takes every source for a header, and warns about its unnamed namespace.
    target_compile_options(${NAME} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
  endif()
endfunction()

function(quarn_room NAME FOLDER)
  quarn_sources(sources ${FOLDER})
  add_library(${NAME} STATIC ${sources})
  add_library(QuarnCore::${NAME} ALIAS ${NAME})
  target_link_libraries(${NAME} PUBLIC quarn_settings ${ARGN} PRIVATE $<BUILD_INTERFACE:quarn_warnings>)
  # The room may become part of a shared library. By default, GCC assumes that every function of such code can be replaced, and does
  # not inline it.
  set_target_properties(${NAME} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  target_compile_options(${NAME} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-semantic-interposition>)
  target_precompile_headers(${NAME} PRIVATE ${QUARN_STANDARD_HEADERS})
  quarn_unity(${NAME})
endfunction()

# `quarn_tests(NAME FOLDER DEPENDS...)` adds a test program from tests/FOLDER. Each suite is a ctest test with the suite's name and
# runs in one process. Suites named "…InBrowser" run chromium and have the label "browser". ctest gets the list of suites from the
# program when it runs.
function(quarn_tests NAME FOLDER)
  quarn_sources(sources tests/${FOLDER})
  # Tests of macOS's own files set what no program may set on a Mac; they need the emulation of its calls.
  if(CMAKE_SYSTEM_NAME STREQUAL "Darwin" AND NOT CMAKE_CROSSCOMPILING)
    list(FILTER sources EXCLUDE REGEX "_darwin\\.cpp$")
  endif()
  if(NOT sources)
    return()
  endif()
  # What serves other sources has no namespace of its own, so it stays out of batches.
  set(helpers ${sources})
  list(FILTER helpers EXCLUDE REGEX "Tests(_linux|_darwin)?\\.cpp$")
  set_source_files_properties(${helpers} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
  add_executable(${NAME} ${sources})
  target_link_libraries(${NAME} PRIVATE quarn_test_support quarn_warnings GTest::gmock_main ${ARGN})
  set(properties TIMEOUT 1200)
  if(ARGN MATCHES "quarn_command")
    target_precompile_headers(${NAME} PRIVATE <gmock/gmock.h> <gtest/gtest.h> "${PROJECT_SOURCE_DIR}/QuarnPlatform/json/JSONLibrary.h")
    list(APPEND properties FIXTURES_REQUIRED sample_volume ENVIRONMENT "QUARN_TEST_SAMPLE=${PROJECT_BINARY_DIR}/test-sample")
  else()
    target_precompile_headers(${NAME} REUSE_FROM quarn_test_support)
  endif()
  quarn_unity(${NAME})
  quarn_suites(${NAME} "" "${properties}")
endfunction()

# Adds the suites of the test program NAME to ctest, their names after PREFIX, with PROPERTIES.
function(quarn_suites NAME PREFIX PROPERTIES)
  file(GENERATE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/${NAME}.cmake CONTENT
"set(program [==[$<TARGET_FILE:${NAME}>]==])
set(prefix [==[${PREFIX}]==])
set(properties [==[${PROPERTIES}]==])
include([==[${PROJECT_SOURCE_DIR}/cmake/TestSuites.cmake]==])
")
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${CMAKE_CURRENT_BINARY_DIR}/${NAME}.cmake)
endfunction()
