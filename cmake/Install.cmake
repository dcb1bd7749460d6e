# What a service needs to build against the library and to load it. The public headers name types of
# the TV platform, so the platform's declarations come along; a TV's own headers are there already.
set(moxpvr_libraries moxpvr)
if(MOXPVR_DESKTOP)
  list(APPEND moxpvr_libraries tvplatform)
  install(FILES platform/desktop/include/TvDesktop.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tvplatform)
  set_target_properties(mox-pvr PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
endif()

# The libraries find one another wherever they are installed.
set_target_properties(${moxpvr_libraries} PROPERTIES INSTALL_RPATH "$ORIGIN")
install(TARGETS ${moxpvr_libraries})
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/moxpvr)
if(MOXPVR_PLATFORM_INCLUDE_DIR STREQUAL "${PROJECT_SOURCE_DIR}/platform/include")
  install(DIRECTORY platform/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tvplatform)
endif()

# The prefix is written relative to the file's own place, so that it holds wherever it is installed.
file(RELATIVE_PATH moxpvr_prefix_from_pc
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/moxpvr.pc.in ${PROJECT_BINARY_DIR}/moxpvr.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/moxpvr.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
