// Ends the process that loads it.
#include <cstdlib>

__attribute__((constructor)) static void EndTheProcess() {
    std::abort();
}
