// How many recorders one machine carries: more and more of them in one process, each paced at
// 20 Mbit/s, until packets come late. Prints what each round costs.
#include <fcntl.h>
#include <MoxPvrAPI.h>
#include <MoxPvrProtocol.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <TvDesktop.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <CLI/CLI.hpp>
#include <cstdio>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "system/FileDescriptor.h"
#include "TsBuilder.h"

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;
namespace recorder = moxpvr::recorder;

constexpr int kVideoPid = 0x100;
constexpr int kAudioPid = 0x101;
constexpr int kClockMs = 40;           // between two PCRs
constexpr int kPacketsPerClock = 532;  // 20.0 Mbit/s
constexpr double kBytesPerSecond = kPacketsPerClock * 188 * 1000.0 / kClockMs;

/// A recorder writes what half a second has brought, at the next PCR: a packet that is not in the
/// file by then is late. The last hundredth is for the sampling.
constexpr double kLongestUnwritten = 0.5 + kClockMs / 1000.0 + 0.01;

constexpr int kStartSeconds = 20;  // by which the source is longer than a round
constexpr std::chrono::milliseconds kBetweenSamples{50};

struct Options {
    std::string folder = "/dev/shm";
    int seconds = 5;
    int most = 512;
};

void MakeSource(const std::string &path, int seconds) {
    TsBuilder stream;
    for (int ms = 0; ms < 1000 * seconds; ms += kClockMs)
        stream.Pcr(kVideoPid, ms * kMs)
            .Media(kVideoPid, kPacketsPerClock - 32)
            .Media(kAudioPid, 31);
    stream.WriteTo(path);
}

double CpuSeconds() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval &time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double ResidentKiB() {
    long total = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return static_cast<double>(resident) * static_cast<double>(::sysconf(_SC_PAGESIZE)) / 1024;
}

/// One recorder of the library on one of the stand-in, with a sink that is emptied as it grows.
class Recording {
  public:
    Recording(unsigned short number, const std::string &source, const std::string &sink)
        : m_handle{PROFILE_TYPE_RECORD, number},
          m_platform(tvdesktop::CreateRecorder({source, 1.0})),
          m_path(sink) {
        if (MoxPvrAPI::SetRecorderHandle(m_handle, m_platform, 0) != 0)
            throw std::runtime_error("no memory for a recorder");
        recorder::SetDemuxProperty pids;
        pids.pcrPid = pids.videoPid = kVideoPid;
        pids.audioPid = kAudioPid;
        recorder::SetSinkProperty file;
        file.sink.path.Set(sink);
        Send(pids);
        Send(file);
        Send(recorder::Start{});
        m_start = Clock::now();
        m_sink = tvdesktop::FileDescriptor(::open(sink.c_str(), O_WRONLY | O_CLOEXEC));
    }
    ~Recording() {
        MoxPvrAPI::DestroyRecorder(m_handle);
        tvdesktop::DestroyRecorder(m_platform);
        ::unlink(m_path.c_str());
    }
    Recording(const Recording &) = delete;
    Recording &operator=(const Recording &) = delete;

    void Sample(double wholeSize) {
        if (m_isStopped)
            return;
        const double unwritten = (Promised(wholeSize) - Size()) / kBytesPerSecond;
        m_longestUnwritten = std::max(m_longestUnwritten, unwritten);
        ::fallocate(m_sink.Get(), FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, 0,
                    static_cast<off_t>(Size()));
    }

    /// @return bytes that were promised and are not in the file
    double Stop(double wholeSize) {
        // Those of the last clock reference may be due.
        const double promised = Promised(wholeSize) - kPacketsPerClock * 188;
        Send(recorder::Stop{});
        m_isStopped = true;
        return std::max(0.0, promised - Size());
    }
    double Size() const {
        struct stat status {};
        return ::fstat(m_sink.Get(), &status) == 0 ? static_cast<double>(status.st_size) : 0;
    }
    double LongestUnwritten() const { return m_longestUnwritten; }

  private:
    double Promised(double wholeSize) const {
        return std::min(Seconds(Clock::now() - m_start).count() * kBytesPerSecond, wholeSize);
    }

    template <typename Request>
    void Send(const Request &request) {
        moxpvr::RequestText text(request);
        unsigned int replyLength = 0;
        if (MoxPvrAPI::GetRecorderInstance(m_handle)->CtrlRecorder(text.size(), text.data(),
                                                                   replyLength, nullptr) != 0)
            throw std::runtime_error(std::string(Request::Name()) + " of " + m_path + ": " +
                                     tvdesktop::RecorderFailure(m_platform));
    }

    MOXHandle m_handle;
    void *m_platform;
    std::string m_path;
    tvdesktop::FileDescriptor m_sink;
    Clock::time_point m_start;
    double m_longestUnwritten = 0;
    bool m_isStopped = false;
};

struct Round {
    double cpu = 0;  ///< of one processor
    double kibEach = 0;
    double longestUnwritten = 0;  ///< seconds
    double late = 0;              ///< packets
    double lost = 0;              ///< packets
};

Round Run(int count, const Options &options, const std::string &folder) {
    const std::string source = folder + "/source.ts";
    struct stat status {};
    if (::stat(source.c_str(), &status) != 0)
        throw std::runtime_error("cannot read " + source);
    const auto wholeSize = static_cast<double>(status.st_size);

    const double memoryBefore = ResidentKiB();
    Round round;
    std::vector<std::unique_ptr<Recording>> recordings;
    recordings.reserve(static_cast<std::size_t>(count));
    const auto sample = [&] {
        for (const auto &recording : recordings)
            recording->Sample(wholeSize);
        round.kibEach = std::max(round.kibEach, (ResidentKiB() - memoryBefore) / count);
        return Clock::now() + kBetweenSamples;
    };

    const Clock::time_point begin = Clock::now();
    Clock::time_point nextSample = begin;
    for (int i = 0; i < count; ++i) {
        recordings.push_back(std::make_unique<Recording>(
            static_cast<unsigned short>(i), source, folder + "/sink" + std::to_string(i) + ".ts"));
        if (Clock::now() >= nextSample)
            nextSample = sample();
    }
    const Clock::time_point started = Clock::now();
    if (started - begin > std::chrono::seconds(kStartSeconds))
        throw std::runtime_error(std::to_string(count) + " recorders take too long to start");

    const double cpuBefore = CpuSeconds();
    while (Clock::now() < started + std::chrono::seconds(options.seconds)) {
        std::this_thread::sleep_until(nextSample);
        nextSample = sample();
    }
    round.cpu = (CpuSeconds() - cpuBefore) / Seconds(Clock::now() - started).count();
    for (const auto &recording : recordings) {
        if (Clock::now() >= nextSample)
            nextSample = sample();  // the others continue meanwhile
        round.lost += recording->Stop(wholeSize) / 188;
        round.longestUnwritten = std::max(round.longestUnwritten, recording->LongestUnwritten());
        round.late += std::max(0.0, recording->LongestUnwritten() - kLongestUnwritten) *
                      kBytesPerSecond / 188;
    }
    return round;
}

bool HasRoom(const std::string &folder, int recorders) {
    struct statvfs status {};
    return ::statvfs(folder.c_str(), &status) == 0 &&
           static_cast<double>(status.f_bavail) * static_cast<double>(status.f_frsize) >
               4 * kBytesPerSecond * recorders;
}

/// Every recorder has four files open.
void RaiseFileLimit() {
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

void Measure(const Options &options, const std::string &folder) {
    MakeSource(folder + "/source.ts", options.seconds + kStartSeconds);
    std::puts(
        "recorders  Mbit/s  CPU %  CPU % each  KiB each  longest unwritten ms  late packets"
        "  lost packets");
    for (int count = 1; count <= options.most; count *= count < 64 ? 4 : 2) {
        if (!HasRoom(folder, count)) {
            std::printf("%d recorders: the folder has no room\n", count);
            return;
        }
        const Round round = Run(count, options, folder);
        std::printf("%9d  %6.0f  %5.1f  %10.3f  %8.0f  %20.0f  %12.0f  %12.0f\n", count,
                    count * kBytesPerSecond * 8 / 1e6, 100 * round.cpu, 100 * round.cpu / count,
                    round.kibEach, 1000 * round.longestUnwritten, round.late, round.lost);
        std::fflush(stdout);
        if (round.late > 0 || round.lost > 0)
            return;
    }
}

}  // namespace

int main(int argc, char **argv) try {
    CLI::App app("Rounds of 1, 4, 16, 64, 128, ... recorders, each paced at 20 Mbit/s");
    Options options;
    app.add_option("--folder", options.folder, "Where the recordings are written");
    app.add_option("--seconds", options.seconds, "Length of a round")->check(CLI::Range(2, 3600));
    app.add_option("--most", options.most, "Most recorders at once")->check(CLI::Range(1, 32768));
    CLI11_PARSE(app, argc, argv);
    std::string folder = options.folder + "/many-recorders-XXXXXX";
    if (::mkdtemp(folder.data()) == nullptr) {
        std::fprintf(stderr, "many_recorders: cannot make a folder in %s\n",
                     options.folder.c_str());
        return 1;
    }
    tvdesktop::SetLogMinimumPriority(17);
    RaiseFileLimit();
    const auto remove = [&] {
        ::unlink((folder + "/source.ts").c_str());
        ::rmdir(folder.c_str());
    };
    try {
        Measure(options, folder);
    } catch (...) {
        remove();
        throw;
    }
    remove();
    return 0;
} catch (const std::exception &error) {
    std::fprintf(stderr, "many_recorders: %s\n", error.what());
    return 1;
}
