# What is installed, by component:
#
#   library      libmoxpvr.so.0
#   platform     the desktop stand-in libtvplatform.so.0; a TV has its own
#   development  headers, CMake package, pkg-config files, documentation, examples
#   tool         mox-pvr with its sample stream, and mox-pvr-doctor
#
# Nothing that is installed holds the prefix, so a whole installation can be moved.
include(CMakePackageConfigHelpers)

set(moxpvr_header_folder ${CMAKE_INSTALL_INCLUDEDIR}/moxpvr)
set(platform_header_folder ${CMAKE_INSTALL_INCLUDEDIR}/tvplatform)
set(cmake_package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/moxpvr)

install(TARGETS moxpvr EXPORT moxpvrTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development)
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT library)

# moxpvr::platform is what a service reaches the platform by: the stand-in, or on a TV the headers.
if(MOXPVR_DESKTOP)
  set_target_properties(tvplatform PROPERTIES EXPORT_NAME platform)
  set_target_properties(tvplatform_headers PROPERTIES EXPORT_NAME platform_headers)
  install(TARGETS tvplatform EXPORT moxpvrTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT platform NAMELINK_COMPONENT development)
  install(FILES platform/desktop/include/TvDesktop.h
    DESTINATION ${platform_header_folder} COMPONENT development)
else()
  set_target_properties(tvplatform_headers PROPERTIES EXPORT_NAME platform)
endif()
install(TARGETS tvplatform_headers EXPORT moxpvrTargets COMPONENT development)

# --- Development ---------------------------------------------------------------------------------

install(DIRECTORY include/ DESTINATION ${moxpvr_header_folder} COMPONENT development)
# The public headers name types of the TV platform, so the platform's declarations come along; a TV's
# own headers exist there.
if(MOXPVR_OWN_PLATFORM_HEADERS)
  install(DIRECTORY platform/include/ DESTINATION ${platform_header_folder} COMPONENT development)
endif()

install(EXPORT moxpvrTargets
  NAMESPACE moxpvr:: DESTINATION ${cmake_package_folder} COMPONENT development)
configure_package_config_file(cmake/moxpvrConfig.cmake.in ${PROJECT_BINARY_DIR}/moxpvrConfig.cmake
  INSTALL_DESTINATION ${cmake_package_folder})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/moxpvrConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(
  FILES ${PROJECT_BINARY_DIR}/moxpvrConfig.cmake ${PROJECT_BINARY_DIR}/moxpvrConfigVersion.cmake
  DESTINATION ${cmake_package_folder} COMPONENT development)

# seen_from_file(RESULT FOLDER): the way from the pkg-config files to a folder, as they spell it.
macro(seen_from_file result folder)
  file(RELATIVE_PATH ${result} "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${folder}")
  string(REGEX REPLACE "/$" "" ${result} "${${result}}")
  string(REPLACE " " "\\ " ${result} "${${result}}")
endmacro()

# install_pkg_config(NAME DESCRIPTION)
function(install_pkg_config name description)
  seen_from_file(prefix "${CMAKE_INSTALL_PREFIX}")
  seen_from_file(libdir "${CMAKE_INSTALL_FULL_LIBDIR}")
  seen_from_file(includedir "${CMAKE_INSTALL_FULL_INCLUDEDIR}")
  configure_file(cmake/library.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endfunction()

install_pkg_config(moxpvr "${PROJECT_DESCRIPTION}")
if(MOXPVR_DESKTOP)
  install_pkg_config(tvplatform "desktop stand-in for a television's media platform")
endif()

install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development
  FILES_MATCHING PATTERN "*.md" PATTERN "*.svg" PATTERN "*.png")
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)

# --- Tool ----------------------------------------------------------------------------------------

if(MOXPVR_DESKTOP)
  file(RELATIVE_PATH library_folder_from_program
    ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(mox-pvr PROPERTIES
    INSTALL_RPATH "$ORIGIN/${library_folder_from_program}")
  install(TARGETS mox-pvr COMPONENT tool)
  install(FILES samples/services.ts DESTINATION ${CMAKE_INSTALL_DATADIR}/mox-pvr COMPONENT tool)
  install(TARGETS mox-pvr-doctor COMPONENT tool)
  install(FILES ${PROJECT_BINARY_DIR}/tools/doctor/mox-pvr-doctor.1
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool)
else()
  # No part of a TV's image, but there for who asks for it: cmake --install FOLDER --component tool
  install(TARGETS mox-pvr-doctor COMPONENT tool EXCLUDE_FROM_ALL)
endif()
