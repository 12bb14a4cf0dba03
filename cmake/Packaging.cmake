# Debian packages with CPack: `quarn`, the command, and `libquarncore-dev`, the library. `make deb` builds them with the
# preset that has the distribution's prefix and flags.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quarn)
set(CPACK_PACKAGE_VENDOR "QuarnCore")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(QUARN_PACKAGE_CONTACT "QuarnCore developers <developers@quarncore.invalid>" CACHE STRING "Maintainer of the packages")
set(CPACK_PACKAGE_CONTACT ${QUARN_PACKAGE_CONTACT})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# Modes that the Debian policy requires; they must not depend on the umask of the build.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME quarn)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "find what an app left on a Mac disk and where the space goes
Lists the applications of a mounted Mac volume, finds and explains what
belongs to each, previews a removal, attributes the disk's space to
categories and lists the largest items. It deletes nothing.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libquarncore-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "quarn (= ${PROJECT_VERSION}), libicu-dev, libplist-dev, libspdlog-dev, libfmt-dev, libsqlite3-dev, pkg-config")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "quarn library (development files)
Headers, static libraries, a CMake package and a pkg-config file for
programs that inspect Mac volumes.")

# The Debian policy requires a copyright file and a changelog.
string(TIMESTAMP QUARN_PACKAGE_DATE "%a, %d %b %Y 00:00:00 +0000" UTC)
set(debian_folder ${PROJECT_BINARY_DIR}/package/debian)
configure_file(cmake/debian/changelog.in ${debian_folder}/changelog @ONLY)
execute_process(COMMAND ${QUARN_GZIP} -9nkf ${debian_folder}/changelog COMMAND_ERROR_IS_FATAL ANY)
foreach(package_of IN ITEMS "runtime quarn" "development libquarncore-dev")
  separate_arguments(package_of)
  list(GET package_of 0 component)
  list(GET package_of 1 package)
  install(FILES cmake/debian/copyright ${debian_folder}/changelog.gz
          DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()

include(CPack)
