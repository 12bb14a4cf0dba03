# Puts the resources where they are after installation, relative to the programs: bin/quarn and share/quarn.
set(QUARN_RESOURCES ${PROJECT_BINARY_DIR}/share/quarn)
file(GLOB vendor_files CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/QuarnCore/vendors/resources/vendors/*.json")
set(resource_files
    ${PROJECT_SOURCE_DIR}/QuarnCore/storage/resources/storage-signatures.json
    ${PROJECT_SOURCE_DIR}/QuarnCore/resources/Localizable.xcstrings)
add_custom_command(
  OUTPUT ${QUARN_RESOURCES}/.stamp
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${QUARN_RESOURCES}
  COMMAND ${CMAKE_COMMAND} -E make_directory ${QUARN_RESOURCES}/vendors
  COMMAND ${CMAKE_COMMAND} -E copy ${vendor_files} ${QUARN_RESOURCES}/vendors
  COMMAND ${CMAKE_COMMAND} -DVENDORS=${QUARN_RESOURCES}/vendors -P ${PROJECT_SOURCE_DIR}/cmake/VendorIndex.cmake
  COMMAND ${CMAKE_COMMAND} -E copy ${resource_files} ${QUARN_RESOURCES}
  COMMAND ${CMAKE_COMMAND} -E touch ${QUARN_RESOURCES}/.stamp
  DEPENDS ${vendor_files} ${resource_files} ${PROJECT_SOURCE_DIR}/cmake/VendorIndex.cmake
  COMMENT "Copying resources")
add_custom_target(quarn_resources ALL DEPENDS ${QUARN_RESOURCES}/.stamp)
