# How the cross compiler makes and reads precompiled headers; CMake includes this after its own rules for clang.
set(CMAKE_CXX_COMPILE_OPTIONS_CREATE_PCH -Xclang -include -Xclang <PCH_HEADER> -x c++-header)
set(CMAKE_CXX_COMPILE_OPTIONS_USE_PCH -Xclang -include-pch -Xclang <PCH_FILE> -Xclang -include -Xclang <PCH_HEADER>)
