# Three Debian packages from the three components of an installation. scripts/package makes them in
# a build of their own, with the distribution's folders and compiler flags, and runs lintian.
if(NOT TARGET zevka_cli)
  return()
endif()

set(ZEVKA_PACKAGE_RELEASE "1" CACHE STRING "Release of the Debian packages of this version")
set(ZEVKA_PACKAGE_MAINTAINER "libzevka authors <maintainers@example.org>" CACHE STRING
  "Name and mail address of who makes the Debian packages")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zevka)
# Each package has a summary of its own: the first line of its description.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGE_VENDOR "libzevka authors")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}")
set(CPACK_PACKAGING_INSTALL_PREFIX "/usr")
set(CPACK_COMPONENTS_ALL runtime development command)
set(CPACK_STRIP_FILES ON)
# Folders get this mode whatever the umask says.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_DEBIAN_PACKAGE_RELEASE "${ZEVKA_PACKAGE_RELEASE}")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${ZEVKA_PACKAGE_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)

set(debian_version "${PROJECT_VERSION}-${ZEVKA_PACKAGE_RELEASE}")
set(debian_folder "${PROJECT_BINARY_DIR}/debian")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libzevka1)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
"library for hosts that scan Internet mail
Opens Internet mail messages from files or from memory as trees of parts,
lets a host read and change header fields, bodies and attachments, adds
footers, and writes the messages back.

This package has the library that hosts load while they run.")
# For dpkg-shlibdeps, and the trigger that has ldconfig run.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  "${debian_folder}/shlibs" "${debian_folder}/symbols" "${debian_folder}/triggers")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzevka-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libzevka1 (= ${debian_version})")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
"headers and host kit for hosts that scan Internet mail
Opens Internet mail messages from files or from memory as trees of parts,
lets a host read and change header fields, bodies and attachments, adds
footers, and writes the messages back.

This package has the headers, a static library that keeps in owners what
the library hands out and edits messages safely, and files for pkg-config
and CMake.")

set(CPACK_DEBIAN_COMMAND_PACKAGE_NAME zevka)
set(CPACK_DEBIAN_COMMAND_PACKAGE_SECTION mail)
set(CPACK_DEBIAN_COMMAND_PACKAGE_SHLIBDEPS ON)
# The command loads the library while it runs, which dpkg-shlibdeps cannot see.
set(CPACK_DEBIAN_COMMAND_PACKAGE_DEPENDS "libzevka1 (= ${debian_version})")
set(CPACK_DEBIAN_COMMAND_DESCRIPTION
"look at Internet mail messages and change them safely
Shows the parts and header fields of messages, extracts attachments, says
what is broken, adds footers, sets fields and removes parts.

Signed and encrypted messages are never changed, results are verified
before they replace the original in one step, and what need not change
stays as it is, byte for byte.")

# With SOURCE_DATE_EPOCH set, the same sources give the same changelog.
string(TIMESTAMP changelog_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
string(TIMESTAMP copyright_year "%Y" UTC)
foreach(name shlibs symbols triggers changelog copyright)
  configure_file("${PROJECT_SOURCE_DIR}/cmake/debian/${name}.in" "${debian_folder}/${name}" @ONLY)
endforeach()
foreach(name staging finish)
  configure_file("${PROJECT_SOURCE_DIR}/cmake/package_${name}.cmake.in" "${debian_folder}/${name}.cmake" @ONLY)
endforeach()
set(CPACK_PRE_BUILD_SCRIPTS "${debian_folder}/staging.cmake")
set(CPACK_POST_BUILD_SCRIPTS "${debian_folder}/finish.cmake")

include(CPack)
