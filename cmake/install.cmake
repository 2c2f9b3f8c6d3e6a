# What `cmake --install` puts where, in three components:
#   runtime      libzevka.so.1, for hosts that load it
#   development  headers, the link for linkers, the host kit, and what pkg-config and CMake look for
#   command      zevka with its manual page and completions
# Nothing that is installed names the build tree or brings this project's warnings along: the
# installed targets carry what a host needs to compile and no more.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

add_library(zevka_headers INTERFACE)
target_compile_features(zevka_headers INTERFACE cxx_std_20)
target_include_directories(zevka_headers INTERFACE "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>")
target_link_libraries(zevka INTERFACE zevka_headers)

install(TARGETS zevka_headers zevka EXPORT zevka
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime NAMELINK_COMPONENT development
  INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/zevka" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}"
  COMPONENT development FILES_MATCHING PATTERN "*.h")

set_target_properties(zevka_headers PROPERTIES EXPORT_NAME headers)
if(ZEVKA_BUILD_HOST)
  set_target_properties(zevka_host PROPERTIES EXPORT_NAME host)
  install(TARGETS zevka_host EXPORT zevka
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT development
    INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
endif()
if(TARGET zevka_cli)
  install(TARGETS zevka_cli RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT command)
endif()

# CMake packages of other projects.
set(cmake_folder "${CMAKE_INSTALL_LIBDIR}/cmake/zevka")
set(plugin_file "${CMAKE_INSTALL_LIBDIR}/libzevka.so.1")
install(EXPORT zevka FILE zevkaTargets.cmake NAMESPACE zevka:: DESTINATION "${cmake_folder}"
  COMPONENT development)
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/zevkaConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/install/zevkaConfig.cmake"
  INSTALL_DESTINATION "${cmake_folder}" PATH_VARS plugin_file)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/install/zevkaConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/install/zevkaConfig.cmake"
  "${PROJECT_BINARY_DIR}/install/zevkaConfigVersion.cmake"
  DESTINATION "${cmake_folder}" COMPONENT development)

# pkg-config. The files find their prefix by where they lie, so that an installed tree may be moved.
file(RELATIVE_PATH up_to_prefix "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" up_to_prefix "${up_to_prefix}")
set(pkg_config_files zevka)
if(ZEVKA_BUILD_HOST)
  list(APPEND pkg_config_files zevka-host)
  list(TRANSFORM CMAKE_DL_LIBS PREPEND "-l" OUTPUT_VARIABLE host_libraries)
  list(JOIN host_libraries " " host_libraries)
endif()
foreach(name IN LISTS pkg_config_files)
  configure_file("${PROJECT_SOURCE_DIR}/cmake/${name}.pc.in" "${PROJECT_BINARY_DIR}/install/${name}.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/install/${name}.pc"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)
endforeach()

# The manual page and the completions of the command.
if(TARGET zevka_cli)
  find_program(ZEVKA_SCDOC scdoc DOC "Makes the manual page; without it there is none")
  if(ZEVKA_SCDOC)
    set(man_source "${PROJECT_SOURCE_DIR}/docs/man/zevka.1.scd")
    add_custom_command(OUTPUT zevka.1
      COMMAND "${ZEVKA_SCDOC}" < "${man_source}" > zevka.1
      DEPENDS "${man_source}" WORKING_DIRECTORY "${PROJECT_BINARY_DIR}" VERBATIM)
    add_custom_target(zevka_man ALL DEPENDS zevka.1)
    install(FILES "${PROJECT_BINARY_DIR}/zevka.1" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1"
      COMPONENT command)
  endif()
  set(completions "${PROJECT_SOURCE_DIR}/completions")
  install(FILES "${completions}/zevka.bash" RENAME zevka COMPONENT command
    DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions")
  install(FILES "${completions}/_zevka" COMPONENT command
    DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions")
  install(FILES "${completions}/zevka.fish" COMPONENT command
    DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d")
endif()
