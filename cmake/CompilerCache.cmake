# Compiles by way of ccache where it is installed; CMAKE_CXX_COMPILER_LAUNCHER names another, or none.
find_program(MOXPVR_CCACHE ccache)
mark_as_advanced(MOXPVR_CCACHE)
if(MOXPVR_CCACHE AND NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${MOXPVR_CCACHE})
endif()
