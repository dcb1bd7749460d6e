# The warnings that every target of the project is built with.
add_library(moxpvr_warnings INTERFACE)
target_compile_options(moxpvr_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow
  $<$<BOOL:${MOXPVR_WERROR}>:-Werror>)
