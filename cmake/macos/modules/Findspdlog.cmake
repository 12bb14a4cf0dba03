add_library(spdlog::spdlog INTERFACE IMPORTED)
target_include_directories(spdlog::spdlog INTERFACE ${QUARN_MACOS_DEPENDENCIES}/include)
target_compile_definitions(spdlog::spdlog INTERFACE SPDLOG_FMT_EXTERNAL FMT_HEADER_ONLY=1)
set(spdlog_FOUND TRUE)
