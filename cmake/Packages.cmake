# cpack: a Debian package for each component of Install.cmake. The stand-in has a package of its own,
# as the library needs it and the tool needs both.
set(MOXPVR_MAINTAINER "moxpvr maintainers <maintainers@moxpvr.example>" CACHE STRING
  "Whom a Debian package names")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "${MOXPVR_MAINTAINER}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has one of its own
set(CPACK_OUTPUT_FILE_PREFIX ${PROJECT_SOURCE_DIR}/build/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL library platform development tool)
if(NOT MOXPVR_DESKTOP)
  set(CPACK_COMPONENTS_ALL library development)
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# The packages name one another by version. The rest is found out from the programs.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# The loader's cache is renewed by dpkg; cpack would have scripts do it.
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_DEBIAN_PLATFORM_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
# What only a Debian package has: copyright, changelog, compressed man pages.
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/debian/Complete.cmake)
set(CPACK_MOXPVR_DEBIAN_FOLDER ${PROJECT_SOURCE_DIR}/cmake/debian)

# debian_package(COMPONENT NAME SECTION DEPENDS DESCRIPTION)
macro(debian_package component name section depends description)
  string(TOUPPER ${component} key)
  set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${key}_PACKAGE_DEPENDS "${depends}")
  set(CPACK_DEBIAN_${key}_DESCRIPTION "${description}")
endmacro()

set(same_version "(= ${PROJECT_VERSION})")
if(MOXPVR_DESKTOP)
  set(platform_dependency "libtvplatform0 ${same_version}")
  set(platform_dependency_too ", ${platform_dependency}")
endif()

debian_package(library libmoxpvr${PROJECT_VERSION_MAJOR} libs "${platform_dependency}"
"PVR plug-in library of a television
It is the part of a television between its PVR service and its media
platform: it programs recorder, player and stream, keeps track of what is
recorded and played, and reports what happens as events.")
debian_package(platform libtvplatform${PROJECT_VERSION_MAJOR} libs ""
"desktop stand-in for a television's media platform
It records MPEG transport streams and plays the recordings on a clock, with
the calls of a television's platform, so that libmoxpvr runs on a PC.")
debian_package(development libmoxpvr-dev libdevel
  "libmoxpvr${PROJECT_VERSION_MAJOR} ${same_version}${platform_dependency_too}"
"PVR plug-in library of a television - development files
Headers, among them the protocol of the library's requests, replies and
events, a CMake package, pkg-config files, documentation and examples.")
debian_package(tool mox-pvr video
  "libmoxpvr${PROJECT_VERSION_MAJOR} ${same_version}${platform_dependency_too}"
"PVR service for one person at a desk
It lists, records and plays the services of a transport stream by way of
libmoxpvr, shows every request and event, and examines builds of the library.
A sample stream comes along: try 'mox-pvr demo'.")

include(CPack)
