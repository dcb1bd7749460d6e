// Does one piece of work, named on the command line, inside MeasuredWork: tests/perf/check-figures
// counts the instructions spent there. The platform is silent: its log and its properties return at
// once, so that the figures are the library's own.
#include <dlog.h>
#include <tv_stream.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <new>
#include <string>
#include <vector>

#include "MoxPvr.h"
#include "MoxPvrProtocol.h"

int __dlog_print(int /*log_id*/, int /*prio*/, const char * /*tag*/, const char * /*fmt*/, ...) {
    return 0;
}
int tv_stream_set_property(void * /*stream*/, int /*id*/, ...) {
    return 0;
}
int tv_recorder_set_property(void * /*recorder*/, int /*id*/, ...) {
    return 0;
}

namespace {

unsigned long g_allocations = 0;

}  // namespace

void *operator new(std::size_t size) {
    ++g_allocations;
    if (void *memory = std::malloc(size == 0 ? 1 : size))
        return memory;
    throw std::bad_alloc();
}
void operator delete(void *memory) noexcept {
    std::free(memory);
}
void operator delete(void *memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

extern "C" __attribute__((noinline)) void MeasuredWork(const std::function<void()> &work) {
    work();
    asm volatile("" ::: "memory");
}

namespace {

/// A request text of a command, longer than its record needs.
std::string Padded(const moxpvr::RequestText &text, std::size_t length) {
    std::string padded = text.text();
    padded.resize(length, '0');
    return padded;
}

std::function<void()> Decode(std::size_t length) {
    return [text = std::string(length, '7'), bytes = std::vector<char>(length / 2)]() mutable {
        int decoded = 0;
        parse_string_to_buf(text.data(), static_cast<int>(text.size()), bytes.data(), &decoded);
    };
}

std::function<void()> Encode(unsigned int count) {
    return
        [bytes = std::vector<char>(count, '7'), text = std::vector<char>(2 * count + 1)]() mutable {
            unsigned int length = 0;
            build_buf_to_string(bytes.data(), static_cast<unsigned int>(bytes.size()), text.data(),
                                &length);
        };
}

std::function<void()> RunCommand(std::string text) {
    return [text = std::move(text), reply = std::string(64, '\0')]() mutable {
        unsigned int length = 0;
        mox_pvr_control_recording(static_cast<unsigned int>(text.size()),
                                  reinterpret_cast<unsigned char *>(text.data()), length,
                                  reinterpret_cast<unsigned char *>(reply.data()));
    };
}

}  // namespace

int main(int argc, char **argv) {
    namespace recorder = moxpvr::recorder;
    static char platformRecorder;
    mox_pvr_set_recorder_handle(&platformRecorder);
    const recorder::SetDuration duration{60000};
    const std::map<std::string, std::function<void()>> works = {
        {"decode-8", Decode(8)},
        {"decode-32", Decode(32)},
        {"decode-544", Decode(544)},
        {"decode-16384", Decode(16384)},
        {"encode-4", Encode(4)},
        {"encode-12", Encode(12)},
        {"command-16", RunCommand(Padded(moxpvr::RequestText(duration), 16))},
        {"command-32", RunCommand(Padded(moxpvr::RequestText(duration), 32))},
        {"command-544", RunCommand(Padded(moxpvr::RequestText(duration), 544))},
        {"command-16384", RunCommand(Padded(moxpvr::RequestText(duration), 16384))},
        {"reply", RunCommand(moxpvr::RequestText(recorder::GetTunerIndex{}).text())},
    };
    const auto work = works.find(argc == 2 ? argv[1] : "");
    if (work == works.end()) {
        for (const auto &known : works)
            std::puts(known.first.c_str());
        return argc == 1 ? 0 : 2;
    }
    work->second();  // once before, so that symbols are bound
    const unsigned long before = g_allocations;
    MeasuredWork(work->second);
    std::printf("allocations %lu\n", g_allocations - before);
    return 0;
}
