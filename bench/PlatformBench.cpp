// What a log line and an event cost on the desktop platform: of the library's own work they are the
// larger part on a TV whose log is not silent.
#include <benchmark/benchmark.h>
#include <dlog.h>
#include <MOXHandle.h>
#include <MoxPvrProtocol.h>
#include <TIEventManager.h>
#include <TvDesktop.h>

namespace {

void WriteLine() {
    __dlog_print(DLOG_ID_MAIN, 4, "PVR_SVC_MOX", "%s: %s(%d) > [PVR][MOX]Start | result [%d]\n",
                 "MoxPvrRecord.cpp", "Start", 188, 0);
}

/// A line that the minimum priority leaves out.
void LogLineLeftOut(benchmark::State &state) {
    tvdesktop::SetLogMinimumPriority(17);
    while (state.KeepRunning())
        WriteLine();
    tvdesktop::SetLogMinimumPriority(0);
}
BENCHMARK(LogLineLeftOut);

/// One that is written, to a file that takes everything.
void LogLineWritten(benchmark::State &state) {
    tvdesktop::SetLogFile("/dev/null");
    while (state.KeepRunning())
        WriteLine();
    tvdesktop::SetLogFile("");
}
BENCHMARK(LogLineWritten);

/// An event to so many subscribers.
void SendEvent(benchmark::State &state) {
    std::vector<int> subscriptions;
    for (std::int64_t i = 0; i < state.range(0); ++i)
        subscriptions.push_back(tvdesktop::Subscribe(
            [](const tvdesktop::Event &event) { benchmark::DoNotOptimize(event.record.data()); }));
    unsigned char record[moxpvr::kEventSize] = {};
    const MOXHandle handle{PROFILE_TYPE_RECORD, 0};
    while (state.KeepRunning())
        TIEventManager::Instance()->Send(moxpvr::SIGNAL_PVR_RECORDER_STARTED, &handle, record, 0);
    for (const int subscription : subscriptions)
        tvdesktop::Unsubscribe(subscription);
}
BENCHMARK(SendEvent)->Arg(0)->Arg(1)->Arg(4);

}  // namespace
