// Recordings that are cut off at any moment, and the repair of their side files.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <tv_stream.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <thread>

#include "desktop/TsBuilder.h"
#include "service/Input.h"
#include "service/RecordingControl.h"
#include "TemporaryFolder.h"
#include "ts/ChannelLog.h"
#include "ts/PacketFilter.h"
#include "ts/TsPacket.h"

namespace tool {
namespace {

namespace fs = std::filesystem;
using namespace tvdesktop::ts;
using Log = std::vector<ChannelStretch>;
using Outcome = tvdesktop::RepairResult::Outcome;

constexpr std::size_t kRounds = 10;  ///< of the sample, one after the other

class CrashTest : public testing::Test {
  protected:
    void SetUp() override {
        m_directory = TemporaryFolder() + "crash";
        fs::create_directory(m_directory);
        m_path = m_directory + "/a.srf";
        std::ofstream source(m_directory + "/source.ts", std::ios::binary);
        for (std::size_t i = 0; i < kRounds; ++i)
            source << std::string(m_source.begin(), m_source.end());
    }
    void TearDown() override { fs::remove_all(m_directory); }

    static void WaitForProgress(RecordingControl &recording, PvrService &pvr,
                                std::int64_t milliseconds) {
        const std::int64_t begin = recording.GetProgress().positionMs;
        while (recording.GetProgress().positionMs < begin + milliseconds)
            pvr.Take(std::chrono::milliseconds(1));
    }

    /// Records one service after the other, for three seconds each.
    void Record(double speed, std::size_t changes, int started) const {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);  // should the test end first
        tvdesktop::SetLogMinimumPriority(17);
        PvrService pvr;
        RecordingControl recording(pvr, {m_directory + "/source.ts", speed});
        recording.Start(m_services[0], {m_path, false});
        EXPECT_EQ(::write(started, "", 1), 1);
        for (std::size_t next = 1;; ++next) {
            // The first news may still be of packets of the service before.
            WaitForProgress(recording, pvr, 1);
            WaitForProgress(recording, pvr, 3000);
            if (next > changes)
                return recording.Stop();
            recording.ChangeTo(m_services[next % m_services.size()]);
        }
    }

    void RecordAndKill(double speed, std::chrono::microseconds after) const {
        int started[2];
        ASSERT_EQ(::pipe(started), 0);
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0)
            [&]() noexcept { Record(speed, SIZE_MAX, started[1]); }();
        ::close(started[1]);
        char byte = 0;
        EXPECT_EQ(::read(started[0], &byte, 1), 1);
        std::this_thread::sleep_for(after);  // nothing depends on what happens meanwhile
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        ::close(started[0]);
    }

    /// Whole packets of the source in its order, each of the service that the side file names. PIDs
    /// are programmed and removed one by one, so a stretch may begin and end with some of them; of
    /// each PID no packet is missing between those that are recorded. Tables and parts of frames
    /// repeat to the byte: the place in the source is sure only from a unit's first packet on,
    /// which has its time stamp.
    void ExpectPackets(const Bytes &recorded, const Log &log) const {
        std::size_t stretch = 0, source = 0;
        PidTable seen, skipped;
        bool isSure = false;
        for (std::size_t at = 0; at + kPacketSize <= recorded.size(); at += kPacketSize) {
            while (stretch + 1 < log.size() && log[stretch + 1].offset <= at) {
                ASSERT_EQ(log[++stretch].offset % kPacketSize, 0U);
                isSure = false;
            }
            const auto &service = m_services[log[stretch].info.programNum - 1U];
            const auto pid = Pid(&recorded[at]);
            const bool isTable = pid == service.pmtPid || pid == kPatPid;
            ASSERT_TRUE(isTable || std::any_of(service.streams.begin(), service.streams.end(),
                                               [pid](const auto &one) { return one.pid == pid; }));
            PidTable passed;
            const std::uint8_t *original = &m_source[source % m_source.size()];
            while (!std::equal(original, original + kPacketSize, &recorded[at])) {
                passed.set(Pid(original));
                source += kPacketSize;
                ASSERT_LT(source, kRounds * m_source.size()) << "not of the source, in its order";
                original = &m_source[source % m_source.size()];
            }
            source += kPacketSize;
            if (isSure) {
                skipped |= passed & seen;
            } else {
                isSure = !isTable && UnitStart(original);
                seen.reset();
                skipped.reset();
            }
            ASSERT_FALSE(skipped[pid]) << "a packet of PID " << pid << " is missing before " << at;
            seen.set(pid);
        }
        ASSERT_LE(log.back().offset, recorded.size());
    }

    void ExpectPlayable(const Log &log) const {
        void *player = tvdesktop::CreatePlayer({});
        EXPECT_EQ(tv_stream_set_property(tvdesktop::StreamOf(player), 801, m_path.c_str(), 0), 0);
        const auto played = tvdesktop::GetChannelStretches(player);
        tvdesktop::DestroyPlayer(player);
        EXPECT_GE(played.size() + 1, log.size());  // the last may have no packet yet
        for (std::size_t i = 0; i < std::min(played.size(), log.size()); ++i)
            EXPECT_EQ(played[i].timeMs, log[i].timeMs);
    }

    /// From packets alone the last service may be unknown. A PAT between two services may belong to
    /// either.
    static void ExpectSame(const Log &rebuilt, const Log &log, const Bytes &recorded) {
        ASSERT_TRUE(rebuilt.size() == log.size() || rebuilt.size() + 1 == log.size());
        for (std::size_t i = 0; i < rebuilt.size(); ++i) {
            EXPECT_EQ(rebuilt[i].timeMs, log[i].timeMs);
            EXPECT_EQ(rebuilt[i].info.programNum, log[i].info.programNum);
            auto at = static_cast<std::size_t>(log[i].offset);
            for (; at != rebuilt[i].offset; at += kPacketSize)
                ASSERT_TRUE(at < recorded.size() && Pid(&recorded[at]) == kPatPid);
        }
    }

    Log Repair(Outcome outcome) const {
        const tvdesktop::RepairResult result = tvdesktop::RepairChannelLog(m_path);
        Log log = ReadChannelLog(m_path);
        EXPECT_EQ(result.error, "");
        EXPECT_EQ(result.outcome, outcome);
        EXPECT_EQ(result.stretches, log.size());
        return log;
    }

    std::string m_directory;
    std::string m_path;
    Bytes m_source = ReadFile(MOXPVR_SAMPLE);
    std::vector<tvdesktop::Service> m_services = ServicesOf(MOXPVR_SAMPLE);
};

/// @return how often to kill; MOXPVR_KILLS sets it where every step takes its time
unsigned long KillCount() {
    const char *kills = std::getenv("MOXPVR_KILLS");
    return kills != nullptr ? std::stoul(kills) : 50;
}

TEST_F(CrashTest, LeavesWholePacketsAndASideFileThatAgrees) {
    constexpr unsigned int kSeed = 20;
    const unsigned long killCount = KillCount();
    std::mt19937 random(kSeed);
    std::size_t bytes = 0, torn = 0, stretches = 0;
    for (unsigned long i = 0; i < killCount && !HasFailure(); ++i) {
        const bool isPaced = i % 2 == 0;
        const std::chrono::microseconds after(random() % (isPaced ? 300'000 : 30'000));
        SCOPED_TRACE("kill " + std::to_string(i) + ", " + std::to_string(after.count()) + " us");
        RecordAndKill(isPaced ? 60 : 0, after);
        const Bytes recorded = ReadFile(m_path);
        const Log log = Repair(Outcome::Kept);
        ASSERT_FALSE(log.empty());
        ExpectPackets(recorded, log);
        ExpectPlayable(log);
        fs::remove(ChannelLogPath(m_path));
        const bool hasTables = tvdesktop::ScanServices(m_path).error.empty();
        ExpectSame(Repair(hasTables ? Outcome::Rebuilt : Outcome::Nothing), log, recorded);
        bytes += recorded.size();
        torn += recorded.size() % kPacketSize != 0 ? 1U : 0U;
        stretches += log.size();
    }
    EXPECT_GT(stretches, killCount) << "no recording got as far as a change of service";
    std::cout << killCount << " kills with seed " << kSeed << ": " << bytes / 1024 << " KiB in "
              << stretches << " stretches, " << torn << " torn last packets\n";
}

TEST_F(CrashTest, RepairKeepsWhatAgreesAndAddsWhatIsMissing) {
    Record(60, 2, ::open("/dev/null", O_WRONLY | O_CLOEXEC));
    const Bytes recorded = ReadFile(m_path);
    Log good = ReadChannelLog(m_path);
    for (ChannelStretch &stretch : good)
        stretch.info.major = 7;  // cannot be known from packets
    const struct {
        const char *what;
        std::function<void(Log &)> damage;
        std::ptrdiff_t kept;
    } rows[] = {
        {"as recorded", [](Log &) {}, 3},
        {"no side file", [](Log &log) { log.clear(); }, 0},
        {"second lost", [](Log &log) { log.erase(log.begin() + 1); }, 2},
        {"last lost", [](Log &log) { log.pop_back(); }, 2},
        {"wrong time", [](Log &log) { ++log[1].timeMs; }, 2},
        {"inside a packet", [](Log &log) { ++log[1].offset; }, 2},
        {"past the end", [](Log &log) { log[2].offset *= 2; }, 2},
        {"other service", [](Log &log) { log[1].info = log[0].info; }, 2},
        {"unknown PID", [](Log &log) { log[1].info.audioPid = 0x777; }, 2},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        Log log = good;
        row.damage(log);
        ASSERT_TRUE(WriteChannelLog(m_path, {log, {}}));
        log = Repair(row.kept == 3 ? Outcome::Kept : Outcome::Rebuilt);
        EXPECT_EQ(std::count_if(log.begin(), log.end(),
                                [](const auto &stretch) { return stretch.info.major == 7; }),
                  row.kept);
        EXPECT_EQ(log.size(), good.size());
        ExpectSame(log, good, recorded);
        Repair(Outcome::Kept);
    }
}

TEST_F(CrashTest, RepairClaimsNoMoreThanPacketsTell) {
    fs::copy_file(MOXPVR_SAMPLE, m_path);
    EXPECT_EQ(Repair(Outcome::Rebuilt).size(), 1U) << "services in turn are no changes";
    std::ofstream(m_path) << "no packet";
    fs::remove(ChannelLogPath(m_path));
    Repair(Outcome::Nothing);
    EXPECT_NE(tvdesktop::RepairChannelLog(m_directory).error, "");
}

}  // namespace
}  // namespace tool
