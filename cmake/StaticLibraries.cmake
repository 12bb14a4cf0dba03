# With QUARN_STATIC_LIBRARIES the programs of this build contain the libraries that Debian has as archives, and fmt and spdlog in
# their header-only forms, because loading shared libraries takes most of the time in which the command starts. libplist stays
# shared (its licence wants it replaceable), and so does the C library. Installed CMake and pkg-config files name the shared
# libraries in any case. docs/dependencies.md says what is linked how, and docs/decisions.md why.
option(QUARN_STATIC_LIBRARIES "Link the libraries that Debian has as archives into the programs" OFF)

# Sets RESULT to the archives of these names.
function(quarn_archives RESULT)
  set(archives "")
  foreach(name ${ARGN})
    find_library(QUARN_ARCHIVE_${name} NAMES lib${name}.a REQUIRED)
    mark_as_advanced(QUARN_ARCHIVE_${name})
    list(APPEND archives ${QUARN_ARCHIVE_${name}})
  endforeach()
  set(${RESULT} ${archives} PARENT_SCOPE)
endfunction()

# The imported TARGET becomes the archive NAME, which needs the libraries that follow.
function(quarn_use_archive TARGET NAME)
  quarn_archives(archive ${NAME})
  set_target_properties(${TARGET} PROPERTIES IMPORTED_LOCATION ${archive} IMPORTED_LOCATION_RELEASE ${archive}
                                             INTERFACE_LINK_LIBRARIES "${ARGN}")
endfunction()

if(QUARN_STATIC_LIBRARIES)
  quarn_archives(icudata icudata)
  quarn_use_archive(ICU::uc icuuc ${icudata} ${CMAKE_DL_LIBS} Threads::Threads)
  quarn_use_archive(ICU::i18n icui18n ICU::uc)
  quarn_use_archive(SQLite::SQLite3 sqlite3 m ${CMAKE_DL_LIBS} Threads::Threads)
  # Nothing refers to the shared forms of these two then, and the linker leaves them out.
  set_target_properties(fmt::fmt PROPERTIES INTERFACE_COMPILE_DEFINITIONS FMT_HEADER_ONLY=1)
  set_target_properties(spdlog::spdlog PROPERTIES INTERFACE_COMPILE_DEFINITIONS SPDLOG_FMT_EXTERNAL)
  string(APPEND CMAKE_EXE_LINKER_FLAGS " -static-libstdc++ -static-libgcc -Wl,--as-needed,--gc-sections")
endif()
