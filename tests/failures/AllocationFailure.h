/// @file
/// Memory that runs out on request, by an operator new that the program is given with it.
#ifndef TESTS_FAILURES_ALLOCATIONFAILURE_H
#define TESTS_FAILURES_ALLOCATIONFAILURE_H

enum class Failing { Once, FromThenOn };

/// While it lives, an allocation of this thread fails (`first` is 1 for the next one), or all from
/// that one on. What the fake platform allocates neither counts nor fails.
struct AllocationFailure {
    AllocationFailure(int first, Failing mode);
    ~AllocationFailure();
    /// @return number of allocations that the latest one failed
    static int Injected();
    /// @return number of blocks that were allocated under one and are not freed yet
    static long LiveBlocks();
};

#endif
