# What a 32-bit machine needs that a 64-bit one has by itself.

# Files over 2 GB: an hour of a broadcast.
add_compile_definitions(_FILE_OFFSET_BITS=64)

# Atomic 64-bit values: instructions on ARMv7, calls into libatomic on older ARM.
include(CheckCXXSourceCompiles)
set(atomic_use "#include <atomic>
  std::atomic<double> rate{1.0};
  std::atomic<long long> position{0};
  int main() { rate = 2.0; return static_cast<int>(position.load() + static_cast<long long>(rate.load())); }")
check_cxx_source_compiles("${atomic_use}" MOXPVR_ATOMICS_BUILT_IN)
if(NOT MOXPVR_ATOMICS_BUILT_IN)
  link_libraries(atomic)
endif()
