// What a service pays for talking to the library: the codec, and a whole request and its reply.
#include <benchmark/benchmark.h>
#include <MoxPvr.h>
#include <TvDesktop.h>

#include <string>
#include <vector>

namespace {

void Decode(benchmark::State &state) {
    std::string text(static_cast<std::size_t>(state.range(0)), '7');
    std::vector<unsigned char> record(text.size() / 2);
    while (state.KeepRunning()) {
        int length = 0;
        parse_string_to_buf(text.data(), static_cast<int>(text.size()), record.data(), &length);
        benchmark::DoNotOptimize(record.data());
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(Decode)->Arg(8)->Arg(536)->Arg(16384);

void Encode(benchmark::State &state) {
    std::vector<unsigned char> record(static_cast<std::size_t>(state.range(0)), 0x7F);
    std::vector<char> text(2 * record.size() + 1);
    while (state.KeepRunning()) {
        unsigned int length = 0;
        build_buf_to_string(record.data(), static_cast<unsigned int>(record.size()), text.data(),
                            &length);
        benchmark::DoNotOptimize(text.data());
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(Encode)->Arg(4)->Arg(12);

// Recorder command 16, GetTunerIndex, with the log switched off.
void RequestAndReply(benchmark::State &state) {
    tvdesktop::SetLogMinimumPriority(17);
    void *recorder = tvdesktop::CreateRecorder({"/dev/null", 0});
    mox_pvr_set_recorder_handle(recorder);
    unsigned char request[] = "10000000";
    unsigned char reply[16];
    unsigned int replySize = 0;
    while (state.KeepRunning())
        benchmark::DoNotOptimize(mox_pvr_control_recording(8, request, replySize, reply));
    tvdesktop::DestroyRecorder(recorder);
}
BENCHMARK(RequestAndReply);

}  // namespace
