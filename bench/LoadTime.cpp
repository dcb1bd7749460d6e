// Prints how many microseconds dlopen takes for a library: the whole, with all that it needs, and
// the library's own share.
// usage: load_time PLATFORM LIBRARY
#include <dlfcn.h>

#include <chrono>
#include <cstdio>

namespace {

/// @return microseconds, or a negative number after telling why
double Load(const char *path) {
    const auto begin = std::chrono::steady_clock::now();
    if (::dlopen(path, RTLD_LAZY | RTLD_GLOBAL) == nullptr) {
        std::fprintf(stderr, "load_time: %s\n", ::dlerror());
        return -1;
    }
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin)
        .count();
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 3)
        return 2;
    const double platform = Load(argv[1]);
    const double own = Load(argv[2]);
    if (platform < 0 || own < 0)
        return 1;
    std::printf("%.0f %.0f\n", platform + own, own);
    return 0;
}
