# Cross-compiling for macOS 15 from Debian. dependencies.sh lays out what it takes in build/macos:
# the compiler, four programs that speak through it, the headers, and libplist for each processor.
#   cmake --toolchain cmake/macos/toolchain.cmake -DQUARN_MACOS_ARCHITECTURE=arm64|x86_64
set(QUARN_MACOS_ARCHITECTURE arm64 CACHE STRING "The processor to build for: arm64 or x86_64")
cmake_path(SET QUARN_MACOS_FOLDER NORMALIZE ${CMAKE_CURRENT_LIST_DIR}/../../build/macos)
set(QUARN_MACOS_DEPENDENCIES ${QUARN_MACOS_FOLDER}/dependencies)
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QUARN_MACOS_ARCHITECTURE)

set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_VERSION 24.0.0)
set(CMAKE_SYSTEM_PROCESSOR ${QUARN_MACOS_ARCHITECTURE})
if(QUARN_MACOS_ARCHITECTURE STREQUAL "arm64")
  set(target aarch64-macos.15.0)
else()
  set(target ${QUARN_MACOS_ARCHITECTURE}-macos.15.0)
endif()
set(CMAKE_C_COMPILER ${QUARN_MACOS_FOLDER}/tools/zig-clang)
set(CMAKE_CXX_COMPILER ${QUARN_MACOS_FOLDER}/tools/zig-clang++)
set(CMAKE_C_COMPILER_TARGET ${target})
set(CMAKE_CXX_COMPILER_TARGET ${target})
set(CMAKE_AR ${QUARN_MACOS_FOLDER}/tools/zig-ar)
set(CMAKE_RANLIB ${QUARN_MACOS_FOLDER}/tools/zig-ranlib)
# Nothing here edits a Mach-O after it is linked: paths are right from the start.
set(CMAKE_INSTALL_NAME_TOOL /usr/bin/true)
set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)
# What CMake tries out is compiled and not linked: linking would build the compiler's C++ library once more, for that mode.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
# The compiler knows the system by the target alone.
set(CMAKE_OSX_SYSROOT "")
set(CMAKE_OSX_DEPLOYMENT_TARGET "")
set(CMAKE_OSX_ARCHITECTURES "")

# The loader of tests/macos runs programs for x86_64 here; see `make macos-test`.
if(QUARN_MACOS_ARCHITECTURE STREQUAL "x86_64" AND QUARN_MACHO_RUN)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${QUARN_MACHO_RUN})
endif()

set(CMAKE_FIND_ROOT_PATH ${QUARN_MACOS_DEPENDENCIES})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
list(PREPEND CMAKE_MODULE_PATH ${CMAKE_CURRENT_LIST_DIR}/modules)
set(ENV{PKG_CONFIG_LIBDIR} ${QUARN_MACOS_DEPENDENCIES}/${QUARN_MACOS_ARCHITECTURE}/lib/pkgconfig)

# No debug information: it makes a build twelve times as large. The three headers that the compiler lacks; a real SDK has them.
set(CMAKE_C_FLAGS_INIT "-g0")
set(CMAKE_CXX_FLAGS_INIT "-g0 -isystem \"${CMAKE_CURRENT_LIST_DIR}/include\"")
# Stripping after linking would break the signature.
# libplist is beside the command, in a prefix or in the same folder. CMake adds no run paths for this compiler by itself.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-s -Wl,-headerpad,0x200 -Wl,-rpath,@loader_path/../lib -Wl,-rpath,@loader_path")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-s")
# The compiler takes what follows "-x c++-header" for a header to precompile, and clang's own option besides for too much.
set(CMAKE_USER_MAKE_RULES_OVERRIDE_CXX ${CMAKE_CURRENT_LIST_DIR}/precompiled-headers.cmake)
