// Where the player finds stream time: in the index, in a scan, in samples; whether it is the same.
#include "player/Recording.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <sstream>

#include "BrokenDisk.h"
#include "TemporaryFolder.h"
#include "TsBuilder.h"

namespace {

using namespace tvdesktop;
using Lines = std::vector<std::string>;

constexpr int kStep = 40;
constexpr std::int64_t kWrap = (std::int64_t{1} << 33) * 300;

/// Times of units as a reader of every packet has them.
class Reference {
  public:
    Reference(const Bytes &data, const std::vector<ts::ChannelStretch> &stretches) {
        ts::StreamClock clock;
        std::size_t next = 0;
        for (std::size_t at = 0; at < data.size(); at += ts::kPacketSize) {
            for (; next < stretches.size() && stretches[next].offset <= at; ++next) {
                clock.FollowPid(stretches[next].info.pcrPid);
                begins.push_back(double(clock.Milliseconds()));
            }
            if (!ts::TransportError(&data[at]) && clock.Count(&data[at]))
                Reach(double(clock.Ticks()) * 1000.0 / double(ts::kPcrHz), at);
            for (const UnitKind kind : {UnitKind::Video, UnitKind::Audio})
                if (BeginsUnit(&data[at], kind))
                    m_waiting.push_back({at, 0, next - 1, kind, ts::Pid(&data[at])});
        }
        duration = m_time;
        Reach(m_time, data.size());
    }

    std::optional<double> Find(UnitKind kind, int pid, std::size_t stretch, double from,
                               double to) const {
        for (const Unit &unit : m_units)
            if (unit.kind == kind && unit.pid == pid && unit.stretch == stretch &&
                unit.time >= from)
                return unit.time <= to ? std::optional<double>(unit.time) : std::nullopt;
        return std::nullopt;
    }

    double duration = 0;
    std::vector<double> begins;

  private:
    struct Unit {
        std::size_t offset;
        double time;
        std::size_t stretch;
        UnitKind kind;
        int pid;
    };

    void Reach(double time, std::size_t offset) {
        for (Unit &unit : m_waiting) {
            unit.time = m_time + double(unit.offset - m_offset) / double(offset - m_offset) *
                                     (time - m_time);
            m_units.push_back(unit);
        }
        m_waiting.clear();
        m_time = time;
        m_offset = offset;
    }

    double m_time = 0;
    std::size_t m_offset = 0;
    std::vector<Unit> m_units, m_waiting;
};

class RecordingTest : public testing::Test {
  protected:
    RecordingTest() { std::filesystem::create_directories(m_folder); }
    ~RecordingTest() override { std::filesystem::remove_all(m_folder); }

    /// A minute of two channels, whose PCR wraps, jumps both ways, and is damaged here and there.
    void MakeMinute() {
        std::int64_t pcr = kWrap - 5000 * kMs;
        for (int i = 0; i < 1500; ++i, pcr += kStep * kMs) {
            if (i == 700)
                NextStretch(0x200);
            if (i == 300 || i == 1100)
                pcr += 3600'000 * kMs;
            if (i == 500)
                pcr -= 2000 * kMs;
            const int pid = i < 700 ? 0x100 : 0x200;
            if (i % 25 == 0)
                m_stream.Pat({{1, 0x31}, {2, 0x32}})
                    .Pmt(0x30 + pid / 0x100, pid / 0x100, pid, {{0x1B, pid}, {0x03, pid + 1}});
            m_stream.Pcr(pid, pcr, i % 3 == 0).Media(pid, i % 7);
            m_stream.Media(pid + 1, 1, true).data[m_stream.data.size() - 188 + 7] = 0xC0;
            m_stream.Pcr(pid, pcr * 3).data[m_stream.data.size() - 187] |= 0x80;
            m_stream.Pcr(pid + 1, pcr * 5);
        }
        m_stream.WriteTo(m_path);
    }

    void NextStretch(int pid) {
        TvChannelInfo info{};
        info.programNum = static_cast<std::uint16_t>(pid >> 8);
        info.pcrPid = info.videoPid = static_cast<std::uint16_t>(pid);
        info.audioPid = pid + 1;
        m_stretches.push_back({0, m_stream.data.size(), info});
    }

    /// @return the lines of a side file that has an index
    Lines MakeIndex() {
        std::filesystem::remove(m_sideFile);
        EXPECT_EQ(RepairChannelLog(m_path).outcome, RepairResult::Outcome::Rebuilt);
        std::ifstream file(m_sideFile);
        Lines lines;
        for (std::string line; std::getline(file, line);)
            lines.push_back(line + '\n');
        return lines;
    }

    void WriteSideFile(const Lines &lines) {
        std::ofstream file(m_sideFile, std::ios::trunc);
        for (const std::string &line : lines)
            file << line;
    }

    void Append(const Bytes &bytes) {
        std::ofstream file(m_path, std::ios::binary | std::ios::app);
        file.write(reinterpret_cast<const char *>(bytes.data()), std::streamsize(bytes.size()));
    }

    static void ExpectSame(Recording &recording, const Reference &reference) {
        std::mt19937 random(11);
        for (int i = 0; i < 150; ++i) {
            const double from = i < 90 ? i * 700.0 - 700 : double(random() % 60'000);
            const double to = from + double(random() % 1200);
            for (const std::size_t stretch : {0U, 1U})
                for (const int pid : {0x100, 0x101, 0x200, 0x201}) {
                    const UnitKind kind = pid % 2 == 0 ? UnitKind::Video : UnitKind::Audio;
                    ASSERT_EQ(recording.FindUnit(kind, pid, stretch, from, to),
                              reference.Find(kind, pid, stretch, from, to))
                        << pid << " in " << stretch << " from " << from << " to " << to;
                }
        }
        EXPECT_EQ(recording.Duration(), reference.duration);
        for (std::size_t stretch = 0; stretch < reference.begins.size(); ++stretch)
            EXPECT_EQ(recording.StretchBegin(stretch), reference.begins[stretch]);
    }

    const std::filesystem::path m_folder =
        std::filesystem::path(TemporaryFolder()) /
        testing::UnitTest::GetInstance()->current_test_info()->name();
    const std::string m_path = (m_folder / "recording.ts").string();
    const std::string m_sideFile = ts::ChannelLogPath(m_path);
    TsBuilder m_stream;
    std::vector<ts::ChannelStretch> m_stretches;
};

/// Puts something in place of a part of a line.
std::string With(const std::string &line, int field, const std::string &text) {
    std::istringstream words(line);
    std::string changed;
    int number = 0;
    for (std::string word; words >> word; ++number)
        changed += (number == 0 ? "" : " ") + (number == field ? text : word);
    return changed + '\n';
}

TEST_F(RecordingTest, HasTheTimesOfEveryPacketWhateverTheIndexIs) {
    NextStretch(0x100);
    MakeMinute();
    const Lines made = MakeIndex();
    const Reference reference(m_stream.data, m_stretches);
    constexpr std::size_t kFirst = 3;  // after the version and two stretches
    ASSERT_GT(made.size(), 60U);
    ASSERT_LT(made.size(), 90U);
    const struct {
        const char *what;
        std::function<void(Lines &)> damage;
        TimeSource atOpen, afterSearches;
    } rows[] = {
        {"as made", [](Lines &) {}, TimeSource::Index, TimeSource::Index},
        {"torn", [](Lines &all) { all.back().pop_back(); }, TimeSource::Index, TimeSource::Index},
        {"recorder killed", [](Lines &all) { all.resize(20); }, TimeSource::Index,
         TimeSource::Index},
        {"none", [](Lines &all) { all.resize(kFirst); }, TimeSource::Scan, TimeSource::Scan},
        {"first lost", [](Lines &all) { all.erase(all.begin() + kFirst); }, TimeSource::Scan,
         TimeSource::Scan},
        {"first PCR wrong", [](Lines &all) { all[kFirst] = With(all[kFirst], 3, "1"); },
         TimeSource::Scan, TimeSource::Scan},
        {"another PID", [](Lines &all) { all[kFirst] = With(all[kFirst], 2, "513"); },
         TimeSource::Scan, TimeSource::Scan},
        {"last wrong", [](Lines &all) { all.back() = With(all.back(), 3, "1"); }, TimeSource::Index,
         TimeSource::Index},
        {"past the end",
         [](Lines &all) { all.push_back("pcr 18446744073709551615 512 9223372036854775807\n"); },
         TimeSource::Index, TimeSource::Index},
        {"no numbers",
         [](Lines &all) {
             all.insert(all.begin() + kFirst,
                        {"pcr\n", "pcr -1 256 0\n", "pcr 0 256 -1\n", "pcr 0 65792 0\n",
                         "pcr 0 256 0 0\n", "pcr 99999999999999999999 256 0\n"});
         },
         TimeSource::Index, TimeSource::Index},
        {"out of order", [](Lines &all) { all.push_back(all[kFirst]); }, TimeSource::Index,
         TimeSource::Index},
        {"PCR wrong", [](Lines &all) { all[30] = With(all[30], 3, "1"); }, TimeSource::Index,
         TimeSource::Scan},
        {"offset wrong", [](Lines &all) { all[30] = With(all[31], 3, "0"); }, TimeSource::Index,
         TimeSource::Scan},
        {"a jump left out", [](Lines &all) { all.erase(all.begin() + 10, all.begin() + 20); },
         TimeSource::Index, TimeSource::Scan},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        Lines lines = made;
        row.damage(lines);
        WriteSideFile(lines);
        Recording recording;
        ASSERT_TRUE(recording.Open(m_path) && recording.Follow());
        EXPECT_EQ(recording.TimesFrom(), row.atOpen);
        EXPECT_EQ(recording.StretchCount(), 2U);
        ExpectSame(recording, reference);
        EXPECT_EQ(recording.TimesFrom(), row.afterSearches);
    }
}

TEST_F(RecordingTest, ReadsOfAGrowingFileWhatGrew) {
    NextStretch(0x100);
    MakeMinute();
    WriteSideFile(MakeIndex());
    Recording recording;
    ASSERT_TRUE(recording.Open(m_path) && recording.Follow());
    const std::size_t end = m_stream.data.size();
    for (int i = 0; i < 200; ++i) {
        TsBuilder more;
        more.Pcr(0x200, i * kStep * kMs, true).Media(0x200, 100);
        const DiskUse before = UsedDisk();
        Append(more.data);
        ASSERT_TRUE(recording.Follow());
        EXPECT_LE(UsedDisk().reads - before.reads, 3U);
        EXPECT_LE(UsedDisk().bytes - before.bytes, more.data.size() + 2 * ts::kPacketSize);
    }
    EXPECT_EQ(recording.TimesFrom(), TimeSource::Index);
    EXPECT_GT(std::filesystem::file_size(m_path), end);
    EXPECT_NEAR(recording.Duration(), Reference(m_stream.data, m_stretches).duration + 199 * kStep,
                kStep);
}

TEST_F(RecordingTest, LeavesOutAWrongIndexOfWhatGrew) {
    NextStretch(0x100);
    MakeMinute();
    Lines lines = MakeIndex();
    WriteSideFile(Lines(lines.begin(), lines.begin() + 3));
    std::filesystem::resize_file(m_path, 100 * ts::kPacketSize);
    Recording recording;
    ASSERT_TRUE(recording.Open(m_path) && recording.Follow());
    EXPECT_EQ(recording.TimesFrom(), TimeSource::Scan);
    lines[30] = With(lines[30], 3, "1");
    WriteSideFile(lines);
    m_stream.WriteTo(m_path);
    ASSERT_TRUE(recording.Follow());
    ExpectSame(recording, Reference(m_stream.data, m_stretches));
}

TEST_F(RecordingTest, OpensALargeOneWithFewReadsAndSaysWhenItOnlySamples) {
    // 1,000 steps of 40 ms and 94 kB, on the way to another PID; the PCR jumps back once.
    NextStretch(0x100);
    TsBuilder media;
    const Bytes filler = media.Media(0x155, 500).data;
    std::int64_t pcr = 0;
    for (int i = 0; i < 1000; ++i, pcr += kStep * kMs) {
        if (i == 600)
            NextStretch(0x200);
        if (i == 333)
            pcr -= 3600'000 * kMs;
        const int pid = i < 600 ? 0x100 : 0x200;
        if (i % 25 == 0)
            m_stream.Pat({{1, 0x31}, {2, 0x32}})
                .Pmt(0x30 + pid / 0x100, pid / 0x100, pid, {{0x1B, pid}});
        m_stream.Pcr(pid, pcr, true).data.insert(m_stream.data.end(), filler.begin(), filler.end());
    }
    m_stream.WriteTo(m_path);
    const Reference reference(m_stream.data, m_stretches);
    const Lines made = MakeIndex();
    const struct {
        const char *what;
        std::size_t lines;
        TimeSource from;
        std::size_t openReads, seekReads;
        double error;  // milliseconds
    } rows[] = {{"index", made.size(), TimeSource::Index, 6, 10, 0},
                {"none", 3, TimeSource::Samples, 150, 25, 500}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        WriteSideFile(Lines(made.begin(), made.begin() + std::ptrdiff_t(row.lines)));
        Recording recording;
        const std::uint64_t atStart = UsedDisk().reads;
        ASSERT_TRUE(recording.Open(m_path) && recording.Follow());
        EXPECT_LE(UsedDisk().reads - atStart, row.openReads);
        EXPECT_EQ(recording.TimesFrom(), row.from);
        EXPECT_NEAR(recording.Duration(), reference.duration, row.error);
        EXPECT_NEAR(recording.StretchBegin(1), reference.begins[1], row.error);
        for (const double position : {38'000.0, 0.0, 13'300.0, 30'000.0, 20'000.0, 7'777.0}) {
            const std::size_t stretch = recording.StretchAt(position, true);
            const std::uint64_t before = UsedDisk().reads;
            const auto found = recording.FindUnit(UnitKind::Video, stretch == 0 ? 0x100 : 0x200,
                                                  stretch, position, position + 2000);
            EXPECT_LE(UsedDisk().reads - before, row.seekReads) << position;
            ASSERT_TRUE(found) << position;
            EXPECT_NEAR(*found, position, kStep + row.error);
        }
    }
}

}  // namespace
