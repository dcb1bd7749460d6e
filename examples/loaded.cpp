// A service that loads the library at run time, finds its entry points by name and asks for its
// version.
#include <dlfcn.h>
#include <MoxPvrProtocol.h>
#include <MoxPvrVersion.h>

#include <cstdio>

namespace {

using Version = const char *();
using ControlRecording = unsigned int(unsigned int, unsigned char *, unsigned int &,
                                      unsigned char *);

}  // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s libmoxpvr.so\n", argv[0]);
        return 2;
    }
    void *library = dlopen(argv[1], RTLD_NOW);
    if (library == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 1;
    }

    // The names carry the parameter types: these are C++ functions in the global namespace.
    auto *const version = reinterpret_cast<Version *>(dlsym(library, "_Z15mox_pvr_versionv"));
    auto *const control = reinterpret_cast<ControlRecording *>(
        dlsym(library, "_Z25mox_pvr_control_recordingjPhRjS_"));
    if (version == nullptr || control == nullptr) {
        std::fprintf(stderr, "%s has not all entry points\n", argv[1]);
        return 1;
    }
    std::printf("compiled for version %s, loaded %s\n", MOXPVR_VERSION, version());

    // A request that is refused, as no recorder was registered: a real service registers one first.
    moxpvr::RequestText request(moxpvr::recorder::Start{});
    unsigned int replySize = 0;
    const unsigned int result = control(request.size(), request.data(), replySize, nullptr);
    std::printf("mox_pvr_control_recording answered %u\n", result);
    return result == moxpvr::kNoInstance ? 0 : 1;
}
