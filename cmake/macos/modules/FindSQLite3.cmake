# The system's own SQLite, /usr/lib/libsqlite3.dylib. Its interface is the same on all systems.
add_library(SQLite::SQLite3 INTERFACE IMPORTED)
target_include_directories(SQLite::SQLite3 INTERFACE ${QUARN_MACOS_DEPENDENCIES}/include)
target_link_libraries(SQLite::SQLite3 INTERFACE ${CMAKE_CURRENT_LIST_DIR}/../libsqlite3.tbd)
set(SQLite3_FOUND TRUE)
