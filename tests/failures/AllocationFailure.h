/// @file
/// Memory that runs out on request, by an operator new that the program is given with it.
#ifndef TESTS_FAILURES_ALLOCATIONFAILURE_H
#define TESTS_FAILURES_ALLOCATIONFAILURE_H

/// Which allocations fail, each thread by itself. What the fake platform allocates neither counts
/// nor fails.
struct AllocationFailure {
    int first = 0;  ///< the first one to fail, 1 the next one; 0: none
    int last = 0;   ///< the last one
    int seen = 0;
    int injected = 0;  ///< number that failed
    /// Blocks allocated while some were to fail, as long as they are not freed; null where none is.
    void *live[64] = {};
};
extern thread_local AllocationFailure t_allocationFailure;

#endif
