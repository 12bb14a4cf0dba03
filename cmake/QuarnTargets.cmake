# One folder is one library, one include prefix. `quarn_room(NAME FOLDER DEPENDS...)` makes the library of the room in FOLDER
# from every source below it; a file that ends in _linux or _darwin belongs to that system only, so a port adds files and
# changes none.

add_library(quarn_settings INTERFACE)
target_compile_features(quarn_settings INTERFACE cxx_std_20)
target_include_directories(quarn_settings INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>)

add_library(quarn_warnings INTERFACE)
# Fields that a designated initialiser leaves out have their defaults in the record: that is the style here, not an oversight.
target_compile_options(quarn_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
                                                -Wno-missing-field-initializers)
# GCC 12 takes the joining of a literal and a std::string for an overlapping copy when it optimises (its bug 105651).
target_compile_options(quarn_warnings INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
# With a sanitizer it takes the states of its own std::regex for uninitialised (its bug 105616), and the same joining for one
# beyond the ends of both.
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
  set(${RESULT} ${sources} PARENT_SCOPE)
endfunction()

# Read once a library: nearly every file includes them, and they take longer to read than the files.
# Only where nothing is optimised: GCC 12 forgets that what it inlines from a precompiled header is the system's, and warns of it.
if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
  set(CMAKE_DISABLE_PRECOMPILE_HEADERS ON)
endif()
set(QUARN_STANDARD_HEADERS <algorithm> <functional> <map> <memory> <optional> <string> <string_view> <unordered_map> <vector>)

function(quarn_room NAME FOLDER)
  quarn_sources(sources ${FOLDER})
  add_library(${NAME} STATIC ${sources})
  add_library(QuarnCore::${NAME} ALIAS ${NAME})
  target_link_libraries(${NAME} PUBLIC quarn_settings ${ARGN} PRIVATE $<BUILD_INTERFACE:quarn_warnings>)
  set_target_properties(${NAME} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  target_precompile_headers(${NAME} PRIVATE ${QUARN_STANDARD_HEADERS})
endfunction()

# `quarn_tests(NAME FOLDER DEPENDS...)`: one test program from tests/FOLDER, every test known to ctest by its own name. Suites
# called "…InBrowser" look at pages in chromium and carry the label "browser".
function(quarn_tests NAME FOLDER)
  quarn_sources(sources tests/${FOLDER})
  if(NOT sources)
    return()
  endif()
  add_executable(${NAME} ${sources})
  target_link_libraries(${NAME} PRIVATE quarn_test_support quarn_warnings GTest::gmock_main ${ARGN})
  if(ARGN MATCHES "quarn_command")
    target_precompile_headers(${NAME} PRIVATE <gmock/gmock.h> <gtest/gtest.h> "${PROJECT_SOURCE_DIR}/QuarnPlatform/json/JSONLibrary.h")
  else()
    target_precompile_headers(${NAME} REUSE_FROM quarn_test_support)
  endif()
  gtest_discover_tests(${NAME} TEST_FILTER "-*InBrowser.*" DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 120)
  if(IS_DIRECTORY "${PROJECT_SOURCE_DIR}/tests/${FOLDER}/browser")
    gtest_discover_tests(${NAME} TEST_FILTER "*InBrowser.*" DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 300 LABELS browser)
  endif()
endfunction()
