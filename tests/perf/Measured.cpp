// Does one piece of work, named on the command line, inside Measure: tests/perf/check-figures
// counts what is spent there. The platform is silent, so that the figures of the library are its
// own; the recording is the stand-in's.
#include <tv_recorder.h>
#include <valgrind/callgrind.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "MoxPvr.h"
#include "MoxPvrProtocol.h"
#include "recorder/RecordingSession.h"
#include "TsBuilder.h"

namespace {
unsigned long g_allocations = 0;
}

// Whatever allocates ends here: operator new, GLib, stdio.
extern "C" {
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *memory, std::size_t size);

void *malloc(std::size_t size) {
    ++g_allocations;
    return __libc_malloc(size);
}
void *calloc(std::size_t count, std::size_t size) {
    ++g_allocations;
    return __libc_calloc(count, size);
}
void *realloc(void *memory, std::size_t size) {
    ++g_allocations;
    return __libc_realloc(memory, size);
}
}

namespace {

using Work = std::function<void()>;

/// Prints the allocations of a piece of work; instructions and system calls are valgrind's to
/// count.
void Measure(const Work &work) {
    VALGRIND_PRINTF("measured from here\n");
    const unsigned long before = g_allocations;
    CALLGRIND_TOGGLE_COLLECT;
    work();
    CALLGRIND_TOGGLE_COLLECT;
    const unsigned long allocations = g_allocations - before;
    VALGRIND_PRINTF("measured to here\n");
    std::printf("allocations %lu\n", allocations);
}

Work Decode(std::size_t length) {
    return [text = std::string(length, '7'), bytes = std::vector<char>(length / 2)]() mutable {
        int decoded = 0;
        parse_string_to_buf(text.data(), static_cast<int>(text.size()), bytes.data(), &decoded);
    };
}

Work Encode(unsigned int count) {
    return
        [bytes = std::vector<char>(count, '7'), text = std::vector<char>(2 * count + 1)]() mutable {
            unsigned int length = 0;
            build_buf_to_string(bytes.data(), static_cast<unsigned int>(bytes.size()), text.data(),
                                &length);
        };
}

template <typename Control>
void Send(Control control, std::string &text) {
    unsigned char reply[64];
    unsigned int length = 0;
    control(static_cast<unsigned int>(text.size()), reinterpret_cast<unsigned char *>(text.data()),
            length, reply);
}

/// A request in a text that is longer than its record needs.
template <typename Request>
Work Command(const Request &request, std::size_t length) {
    std::string text = moxpvr::RequestText(request).text();
    text.resize(length, '0');
    return [text]() mutable { Send(mox_pvr_control_recording, text); };
}

/// Every request to both instances, one after the other.
Work EveryCommand() {
    std::vector<std::string> toRecorder;
    std::vector<std::string> toPlayback;
    moxpvr::recorder::ForEachRequest(
        [&](const auto &request) { toRecorder.push_back(moxpvr::RequestText(request).text()); });
    moxpvr::playback::ForEachRequest(
        [&](const auto &request) { toPlayback.push_back(moxpvr::RequestText(request).text()); });
    return [toRecorder, toPlayback]() mutable {
        for (std::string &text : toRecorder)
            Send(mox_pvr_control_recording, text);
        for (std::string &text : toPlayback)
            Send(mox_pvr_control_playback, text);
    };
}

/// A recording of half of 8 MiB, with what the session needs from its start to its end.
Work Record() {
    constexpr int kRounds = 8 * 1024 * 1024 / (100 * 188);
    TsBuilder stream;
    for (int i = 0; i < kRounds; ++i)
        stream.Pcr(0x100, i * 40 * kMs).Media(0x100, 49).Media(0x200, 50);
    const std::string folder = std::getenv("MEASURED_FOLDER");
    stream.WriteTo(folder + "/source.ts");
    return [folder] {
        using tvdesktop::RecordingSession;
        tvdesktop::StreamSelection selection;
        selection.Apply({{TV_RECORDER_PROPERTY_PCR_PID, 0x100}});
        RecordingSession session(0, nullptr);
        session.Open(folder + "/source.ts", folder + "/sink.ts");
        session.Select(selection);
        while (session.Advance({}) == RecordingSession::Next::More) {
        }
        session.Finish();
    };
}

}  // namespace

int main(int argc, char **argv) {
    namespace recorder = moxpvr::recorder;
    static char platformObject;
    mox_pvr_set_recorder_handle(&platformObject);
    mox_pvr_set_tv_player(&platformObject);
    mox_pvr_set_tv_stream(&platformObject);
    const recorder::SetDuration duration{60000};
    const std::map<std::string, std::function<Work()>> works = {
        {"decode-8", [] { return Decode(8); }},
        {"decode-32", [] { return Decode(32); }},
        {"decode-544", [] { return Decode(544); }},
        {"decode-16384", [] { return Decode(16384); }},
        {"encode-4", [] { return Encode(4); }},
        {"encode-12", [] { return Encode(12); }},
        {"command-16", [&] { return Command(duration, 16); }},
        {"command-32", [&] { return Command(duration, 32); }},
        {"command-544", [&] { return Command(duration, 544); }},
        {"command-16384", [&] { return Command(duration, 16384); }},
        {"reply", [] { return Command(recorder::GetTunerIndex{}, 8); }},
        {"every-command", EveryCommand},
        {"record-8MiB", Record},
    };
    const auto found = works.find(argc == 2 ? argv[1] : "");
    if (found == works.end()) {
        for (const auto &known : works)
            std::puts(known.first.c_str());
        return argc == 1 ? 0 : 2;
    }
    const Work work = found->second();
    work();  // once before, so that symbols are bound
    Measure(work);
    return 0;
}
