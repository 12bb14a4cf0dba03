add_library(nlohmann_json::nlohmann_json INTERFACE IMPORTED)
target_include_directories(nlohmann_json::nlohmann_json INTERFACE ${QUARN_MACOS_DEPENDENCIES}/include)
set(nlohmann_json_FOUND TRUE)
