/// @file
/// What a fuzz target demands beyond what the sanitizers watch.
#ifndef FUZZ_REQUIRE_H
#define FUZZ_REQUIRE_H

#include <cstdio>
#include <cstdlib>

/// Ends the process, which the fuzzer counts as a finding, when a promise is broken.
inline void Require(bool holds, const char *promise) {
    if (holds)
        return;
    std::fprintf(stderr, "Broken promise: %s\n", promise);
    std::abort();
}

#endif
