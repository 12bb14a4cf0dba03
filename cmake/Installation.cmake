# The installed files. They do not contain the prefix: the program, the CMake package and the pkg-config file locate the
# resources relative to themselves, so a prefix can be moved as a whole.
# Components: "runtime" for users of the command, "development" for users of the library.
include(CMakePackageConfigHelpers)

file(RELATIVE_PATH data_from_program ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_DATADIR})
if(NOT data_from_program STREQUAL "../share")
  message(FATAL_ERROR "The program looks for its resources in ../share/quarn, relative to its folder. CMAKE_INSTALL_BINDIR and "
                      "CMAKE_INSTALL_DATADIR put them in ${data_from_program}/quarn.")
endif()
set(QUARN_INCLUDE_DIR ${CMAKE_INSTALL_INCLUDEDIR}/quarncore)
set(QUARN_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/QuarnCore)
set(QUARN_RESOURCES_DIR ${CMAKE_INSTALL_DATADIR}/quarn)
set(QUARN_DOCUMENTATION_DIR ${CMAKE_INSTALL_DATADIR}/doc/quarn)
set(QUARN_ZSH_COMPLETIONS_DIR ${CMAKE_INSTALL_DATADIR}/zsh/site-functions CACHE STRING "Folder of zsh completions")

# The public headers of each room. Headers that they include are public too; all others are private.
function(quarn_public_headers ROOM)
  list(TRANSFORM ARGN PREPEND "${PROJECT_SOURCE_DIR}/${ROOM}/")
  target_sources(${ROOM} PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${ARGN})
endfunction()

quarn_public_headers(
  QuarnPlatform
  base/ByteCounts.h base/Cancellable.h base/Cancellation.h base/FileDescriptor.h base/FileError.h base/RecordHash.h base/Required.h
  files/AccessTimes.h files/FileManager.h files/ItemFacts.h files/ProcessPolicies.h
  files/ReadReport.h files/VolumeSpace.h paths/FileURL.h paths/Path.h paths/PathTrie.h resources/Localization.h
  resources/ResourceBundle.h text/Text.h)
quarn_public_headers(
  QuarnModels
  AppEntity.h AppInspection.h Artifact.h Date.h RawValue.h RemovalPlan.h SizeInfo.h Storage.h SystemRecords.h)
quarn_public_headers(
  QuarnSystem
  AppDiscoveryClient.h DiagnosticsLogger.h EntitlementsReader.h FileSizeCalculator.h KernelExtensionService.h LaunchdScanner.h
  ReceiptScanner.h ReceiptSnapshot.h VolumeClients.h)
quarn_public_headers(
  QuarnCore
  discovery/ArtifactScanner.h discovery/ExtensionEvidence.h discovery/KernelExtensionAssociationService.h folders/TopItemsService.h
  inspection/AppInspectionService.h inspection/AppsService.h ownership/Leftovers.h ownership/Ownership.h ownership/OwnershipMap.h
  ownership/OwnershipService.h ownership/UsersMap.h planning/AppRemovalPlanner.h scans/Scan.h scans/ScanContent.h scans/ScanError.h scans/ScanStore.h
  storage/HomeFolders.h storage/RootScope.h storage/StorageDashboardService.h
  storage/StorageSignature.h storage/StorageSignatureRegistry.h storage/VendorPathHintIndex.h vendors/DeepInspectorService.h
  vendors/UninstallerDiscoveryService.h vendors/VendorArtifactDeduplicator.h vendors/VendorPathResolver.h vendors/VendorProfile.h
  vendors/VendorProfileFiles.h vendors/VendorProfileIndex.h vendors/VendorProfileRegistry.h)

# The library.
set_target_properties(quarn_settings PROPERTIES EXPORT_NAME settings)
install(
  TARGETS quarn_settings QuarnPlatform QuarnModels QuarnSystem QuarnCore
  EXPORT QuarnCoreTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  FILE_SET HEADERS DESTINATION ${QUARN_INCLUDE_DIR} COMPONENT development)
install(
  EXPORT QuarnCoreTargets
  NAMESPACE QuarnCore::
  DESTINATION ${QUARN_PACKAGE_DIR}
  COMPONENT development)
configure_package_config_file(
  cmake/QuarnCoreConfig.cmake.in ${PROJECT_BINARY_DIR}/package/QuarnCoreConfig.cmake
  INSTALL_DESTINATION ${QUARN_PACKAGE_DIR}
  PATH_VARS QUARN_RESOURCES_DIR)
if(QUARN_MACOS_ARCHITECTURE)
  set(dependencies cmake/macos/QuarnCoreDependencies.cmake)
else()
  set(dependencies cmake/QuarnCoreDependencies.cmake)
endif()
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/QuarnCoreConfigVersion.cmake COMPATIBILITY SameMinorVersion)
file(RELATIVE_PATH QUARN_PREFIX_FROM_PKGCONFIG ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" QUARN_PREFIX_FROM_PKGCONFIG ${QUARN_PREFIX_FROM_PKGCONFIG})
configure_file(cmake/quarncore.pc.in ${PROJECT_BINARY_DIR}/package/quarncore.pc @ONLY)
install(
  FILES ${PROJECT_BINARY_DIR}/package/QuarnCoreConfig.cmake ${PROJECT_BINARY_DIR}/package/QuarnCoreConfigVersion.cmake
        ${dependencies}
  DESTINATION ${QUARN_PACKAGE_DIR}
  COMPONENT development)
# Its package for macOS is for CMake: the system's ICU has no pkg-config file.
if(NOT QUARN_MACOS_ARCHITECTURE)
  install(
    FILES ${PROJECT_BINARY_DIR}/package/quarncore.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
    COMPONENT development)
endif()

# The command, its resources, and the files that are generated from its table of commands.
install(TARGETS quarn RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
install(DIRECTORY ${QUARN_RESOURCES}/vendors DESTINATION ${QUARN_RESOURCES_DIR} COMPONENT runtime)
install(FILES ${resource_files} DESTINATION ${QUARN_RESOURCES_DIR} COMPONENT runtime)

# Cross-compiled for macOS: libplist beside the command, where whoever wants another one replaces it.
if(QUARN_MACOS_ARCHITECTURE)
  set(libplist ${QUARN_MACOS_DEPENDENCIES}/${QUARN_MACOS_ARCHITECTURE}/lib/libplist-2.0.3.dylib)
  file(COPY ${libplist} DESTINATION ${PROJECT_BINARY_DIR}/lib)
  install(FILES ${libplist} DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime)
  install(FILES LICENSE DESTINATION ${QUARN_DOCUMENTATION_DIR} COMPONENT runtime)
  set(licences ${QUARN_MACOS_DEPENDENCIES}/${QUARN_MACOS_ARCHITECTURE}/share/doc)
  install(DIRECTORY ${licences}/libplist ${licences}/ncurses DESTINATION ${CMAKE_INSTALL_DATADIR}/doc COMPONENT runtime)
endif()

find_program(QUARN_GZIP gzip REQUIRED)
# A program for another system that nothing here can run writes nothing; another build's manual page serves for its package.
if(CMAKE_CROSSCOMPILING AND NOT CMAKE_CROSSCOMPILING_EMULATOR)
  return()
endif()
set(manual ${PROJECT_BINARY_DIR}/share/man/man1/quarn.1.gz)
set(completions ${PROJECT_BINARY_DIR}/completions)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/share/man/man1 ${completions})
add_custom_command(
  OUTPUT ${manual} ${completions}/quarn ${completions}/_quarn ${completions}/quarn.fish
  COMMAND quarn manual > quarn.1
  COMMAND ${QUARN_GZIP} -9nc quarn.1 > ${manual}
  COMMAND quarn completions bash > quarn
  COMMAND quarn completions zsh > _quarn
  COMMAND quarn completions fish > quarn.fish
  DEPENDS quarn
  WORKING_DIRECTORY ${completions}
  COMMENT "Writing the manual page and the completions")
set(types ${PROJECT_BINARY_DIR}/rpc)
file(MAKE_DIRECTORY ${types})
add_custom_command(
  OUTPUT ${types}/quarn.d.ts ${types}/quarn_rpc.py
  COMMAND quarn rpc --types typescript > quarn.d.ts
  COMMAND quarn rpc --types python > quarn_rpc.py
  DEPENDS quarn
  WORKING_DIRECTORY ${types}
  COMMENT "Writing the types of the interface")
add_custom_target(quarn_manual ALL DEPENDS ${manual} ${types}/quarn.d.ts)
install(FILES ${types}/quarn.d.ts ${types}/quarn_rpc.py DESTINATION ${QUARN_RESOURCES_DIR}/rpc COMPONENT runtime)
install(FILES ${manual} DESTINATION ${CMAKE_INSTALL_DATADIR}/man/man1 COMPONENT runtime)
install(FILES ${completions}/quarn DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT runtime)
install(FILES ${completions}/_quarn DESTINATION ${QUARN_ZSH_COMPLETIONS_DIR} COMPONENT runtime)
install(FILES ${completions}/quarn.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT runtime)

# The pages for users and the examples keep their relative paths, so that the links between them work.
install(FILES docs/tutorial.md docs/embedding.md docs/rpc.md docs/scans.md docs/fleet.md DESTINATION ${QUARN_DOCUMENTATION_DIR}/docs COMPONENT runtime)
install(DIRECTORY docs/commands DESTINATION ${QUARN_DOCUMENTATION_DIR}/docs COMPONENT runtime)
install(DIRECTORY examples DESTINATION ${QUARN_DOCUMENTATION_DIR} COMPONENT runtime PATTERN "__pycache__" EXCLUDE)
