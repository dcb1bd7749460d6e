// A whole request beside its floor, on a silent platform; and with how many instances its cost
// grows.
#include <benchmark/benchmark.h>
#include <dlog.h>
#include <MoxPvr.h>
#include <MoxPvrAPI.h>
#include <MoxPvrProtocol.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace {

char g_platformObject;

/// SetDuration in a text of some length, longer than its record needs.
std::string Request(std::int64_t length) {
    std::string text = moxpvr::RequestText(moxpvr::recorder::SetDuration{60000}).text();
    text.resize(static_cast<std::size_t>(length), '0');
    return text;
}

void RequestLengths(benchmark::internal::Benchmark *command) {
    command->Arg(16)->Arg(32)->Arg(544)->Arg(16384);
}

/// What no implementation can save: a zeroed record, the text moved into it, and the log calls of
/// the request.
void CommandFloor(benchmark::State &state) {
    constexpr int kLogCalls = 5;
    const std::string text = Request(state.range(0));
    alignas(8) char record[2 * moxpvr::kRecordSize];
    const volatile std::size_t length = text.size();  // so that no copy is made for it alone
    while (state.KeepRunning()) {
        std::memset(record, 0, moxpvr::kRecordSize);
        benchmark::DoNotOptimize(record);
        std::copy_n(text.data(), length, record);
        for (int call = 0; call < kLogCalls; ++call)
            __dlog_print(DLOG_ID_MAIN, 4, "PVR_SVC_MOX", "%s: %s(%d) > %d\n", __FILE__, __func__,
                         __LINE__, call);
        benchmark::DoNotOptimize(record);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(CommandFloor)->Apply(RequestLengths);

void Command(benchmark::State &state) {
    mox_pvr_set_recorder_handle(&g_platformObject);
    std::string text = Request(state.range(0));
    unsigned char reply[16];
    unsigned int replyLength = 0;
    while (state.KeepRunning())
        benchmark::DoNotOptimize(mox_pvr_control_recording(
            static_cast<unsigned int>(text.size()), reinterpret_cast<unsigned char *>(text.data()),
            replyLength, reply));
    MoxPvrAPI::DestroyRecorder({PROFILE_TYPE_RECORD, 0});
}
BENCHMARK(Command)->Apply(RequestLengths);

/// The same found by its handle among so many recorders, each in its turn.
void CommandAmongInstances(benchmark::State &state) {
    std::vector<MOXHandle> handles;
    for (std::int64_t i = 0; i < state.range(0); ++i) {
        // A stride without a common factor, so that neighbours in time are none in the registry.
        handles.push_back({PROFILE_TYPE_RECORD, static_cast<unsigned short>(i * 7919 % 10007)});
        MoxPvrAPI::SetRecorderHandle(handles.back(), &g_platformObject, 0);
    }
    std::string text = Request(32);
    unsigned char reply[16];
    unsigned int replyLength = 0;
    std::size_t next = 0;
    while (state.KeepRunning()) {
        IMOXPVRRecorder *recorder = MoxPvrAPI::GetRecorderInstance(handles[next]);
        benchmark::DoNotOptimize(recorder->CtrlRecorder(
            static_cast<unsigned int>(text.size()), reinterpret_cast<unsigned char *>(text.data()),
            replyLength, reply));
        next = next + 1 < handles.size() ? next + 1 : 0;
    }
    for (const MOXHandle &handle : handles)
        MoxPvrAPI::DestroyRecorder(handle);
}
BENCHMARK(CommandAmongInstances)->Arg(1)->Arg(100)->Arg(10000);

}  // namespace
