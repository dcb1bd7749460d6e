# Compiles by way of ccache where it is installed; CMAKE_CXX_COMPILER_LAUNCHER names another, or none.
find_program(ccache ccache NO_CACHE)
if(ccache AND NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${ccache})
endif()
