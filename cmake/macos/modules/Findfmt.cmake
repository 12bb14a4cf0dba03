add_library(fmt::fmt INTERFACE IMPORTED)
target_include_directories(fmt::fmt INTERFACE ${QUARN_MACOS_DEPENDENCIES}/include)
target_compile_definitions(fmt::fmt INTERFACE FMT_HEADER_ONLY=1)
set(fmt_FOUND TRUE)
