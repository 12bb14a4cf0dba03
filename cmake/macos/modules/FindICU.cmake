# The system's own ICU, /usr/lib/libicucore.A.dylib: the names of its functions carry no version.
foreach(part uc i18n)
  add_library(ICU::${part} INTERFACE IMPORTED)
  target_include_directories(ICU::${part} INTERFACE ${QUARN_MACOS_DEPENDENCIES}/include)
  target_compile_definitions(ICU::${part} INTERFACE U_DISABLE_RENAMING=1)
  target_link_libraries(ICU::${part} INTERFACE ${CMAKE_CURRENT_LIST_DIR}/../libicucore.tbd)
endforeach()
set(ICU_FOUND TRUE)
