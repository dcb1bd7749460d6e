// A service that loads the library at run time and finds its entry points by name.
#include <dlfcn.h>
#include <MoxPvrProtocol.h>

#include <cstdio>

namespace {

using ControlRecording = unsigned int(unsigned int, unsigned char *, unsigned int &,
                                      unsigned char *);

}  // namespace

int main(int argc, char **argv) {
    void *library = argc == 2 ? dlopen(argv[1], RTLD_NOW) : nullptr;
    if (library == nullptr) {
        std::fprintf(stderr, "%s\n", argc == 2 ? dlerror() : "usage: example_loaded libmoxpvr.so");
        return 2;
    }

    // The names carry the parameter types: these are C++ functions in the global namespace.
    auto *const control = reinterpret_cast<ControlRecording *>(
        dlsym(library, "_Z25mox_pvr_control_recordingjPhRjS_"));
    if (control == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 1;
    }

    // Start, before any recorder was registered.
    moxpvr::RequestText request(moxpvr::recorder::Start{});
    unsigned int replySize = 0;
    const unsigned int result = control(request.size(), request.data(), replySize, nullptr);
    std::printf("mox_pvr_control_recording answered %u\n", result);
    return result == moxpvr::kNoInstance ? 0 : 1;
}
