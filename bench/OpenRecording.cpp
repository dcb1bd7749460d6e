// What it costs to open a recording and to seek in it: time, read calls and bytes, memory.
//
//   open_recording FILE [SEEKS]
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <map>
#include <random>
#include <string>

#include "player/Recording.h"

namespace {

using Clock = std::chrono::steady_clock;
using tvdesktop::Recording;

/// A number of the process from a file of the system, 0 without it.
long long NumberIn(const char *file, const std::string &name) {
    std::ifstream input(file);
    std::string word;
    long long number = 0;
    while (input >> word) {
        if (word == name && input >> number)
            return number;
    }
    return 0;
}

/// Time, reads and bytes since it was made.
class Cost {
  public:
    double Milliseconds() const {
        return std::chrono::duration<double, std::milli>(Clock::now() - m_start).count();
    }
    double CpuMilliseconds() const {
        return static_cast<double>(std::clock() - m_cpu) * 1e3 / CLOCKS_PER_SEC;
    }
    long long Reads() const { return NumberIn("/proc/self/io", "syscr:") - m_reads; }
    double Megabytes() const {
        return static_cast<double>(NumberIn("/proc/self/io", "rchar:") - m_bytes) / 1e6;
    }

  private:
    long long m_reads = NumberIn("/proc/self/io", "syscr:");
    long long m_bytes = NumberIn("/proc/self/io", "rchar:");
    std::clock_t m_cpu = std::clock();
    Clock::time_point m_start = Clock::now();
};

void Seek(Recording &recording, double to) {
    const std::size_t stretch = recording.StretchAt(to, true);
    recording.FindUnit(tvdesktop::UnitKind::Video, recording.InfoOf(stretch).videoPid, stretch, to,
                       to + 2000);
}

void MeasureSeeks(Recording &recording, int count) {
    std::mt19937 random(1);
    std::uniform_real_distribution<double> anywhere(0, recording.Duration());
    double time = 0, longest = 0, cpu = 0, megabytes = 0;
    long long reads = 0, most = 0;
    for (int i = 0; i < count; ++i) {
        const Cost cost;
        Seek(recording, anywhere(random));
        const double milliseconds = cost.Milliseconds();
        time += milliseconds;
        cpu += cost.CpuMilliseconds();
        longest = std::max(longest, milliseconds);
        megabytes += cost.Megabytes();
        reads += cost.Reads();
        most = std::max(most, cost.Reads());
    }
    std::printf(
        "seek: %.1f ms (CPU %.1f, longest %.1f), %.1f reads (most %lld), %.1f MB, mean of %d\n",
        time / count, cpu / count, longest, static_cast<double>(reads) / count, most,
        megabytes / count, count);
}

}  // namespace

int main(int argc, char **argv) {
    constexpr const char *kSources[] = {"nothing", "index", "scan", "samples"};
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s FILE [SEEKS]\n", argv[0]);
        return 2;
    }
    Recording recording;
    const Cost cost;
    if (!recording.Open(argv[1]) || !recording.Follow()) {
        std::fprintf(stderr, "cannot read %s\n", argv[1]);
        return 1;
    }
    const double milliseconds = cost.Milliseconds();
    const double cpu = cost.CpuMilliseconds();
    const double megabytes = cost.Megabytes();
    std::printf("open: %.1f ms (CPU %.1f), %lld reads, %.1f MB, from %s; %.3f s of stream time\n",
                milliseconds, cpu, cost.Reads(), megabytes,
                kSources[static_cast<int>(recording.TimesFrom())], recording.Duration() / 1000);
    if (argc > 2)
        MeasureSeeks(recording, std::atoi(argv[2]));
    std::printf("memory: %lld KiB at most\n", NumberIn("/proc/self/status", "VmHWM:"));
    return 0;
}
