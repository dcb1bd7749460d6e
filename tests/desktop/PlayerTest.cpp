#include <fcntl.h>
#include <gtest/gtest.h>
#include <MOXHandle.h>
#include <TIUserDataManager.h>
#include <tv_player.h>
#include <tv_stream.h>
#include <TVPlayerDataUtil.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <condition_variable>
#include <cstdarg>
#include <filesystem>
#include <fstream>
#include <future>
#include <limits>
#include <thread>

#include "player/PlaybackEngine.h"
#include "TemporaryFolder.h"
#include "TsBuilder.h"

namespace {

using namespace tvdesktop;

constexpr int kFrameMs = 40;
constexpr int kBorder = 499 * kFrameMs;  // another PCR PID goes on from where the last one stood
constexpr int kEnd = 2 * kBorder;
constexpr int kPmtPid = 0x30;

TvChannelInfo Channel(int videoPid) {
    TvChannelInfo info{};
    info.videoPid = info.pcrPid = static_cast<std::uint16_t>(videoPid);
    info.audioPid = videoPid + 1;
    info.programNum = static_cast<std::uint16_t>(videoPid >> 8);
    return info;
}

/// 500 pictures of a channel, each with its PCR, an audio unit and the tables.
std::string Stretch(int videoPid) {
    TsBuilder stream;
    for (int picture = 0; picture < 500; ++picture) {
        stream.Pcr(videoPid, picture * kFrameMs * 27000LL, true).Media(videoPid + 1, 1, true);
        stream.data[stream.data.size() - 188 + 7] = 0xC0;  // stream_id: audio
        stream.Pat({{1, kPmtPid}}).Pmt(kPmtPid, 1, videoPid, {{0x1B, videoPid}});
    }
    return {stream.data.begin(), stream.data.end()};
}

/// A recording in which channel 0x100 is followed by channel 0x200.
class PlayerTest : public testing::Test {
  protected:
    PlayerTest() {
        std::filesystem::create_directories(m_folder);
        Write(m_first + m_second);
        Log({{0, 0, Channel(0x100)}, {kBorder, m_first.size(), Channel(0x200)}});
    }
    ~PlayerTest() override { std::filesystem::remove_all(m_folder); }

    void Write(const std::string &bytes, std::ios::openmode mode = std::ios::trunc) {
        std::ofstream(m_path, std::ios::binary | mode) << bytes;
    }
    void Log(const std::vector<ts::ChannelStretch> &stretches) {
        ASSERT_TRUE(ts::WriteChannelLog(m_path, stretches));
    }
    int Set(int id, ...) {
        std::va_list values;
        va_start(values, id);
        PropertyArguments arguments(id, values);
        va_end(values);
        return m_engine.SetProperties(&arguments);
    }
    void Program(int videoPid) {
        Set(109, videoPid, 104, videoPid, 0);
        Set(103, videoPid + 1, 307, 1, 0);
    }
    void Start(int fromMs, int videoPid) {
        Set(801, m_path.c_str(), 806, fromMs, 0);
        Program(videoPid);
        ASSERT_EQ(m_engine.Start(), kPlayerOk);
    }
    void Play(int milliseconds) {
        for (int played = 0; played < milliseconds; played += 100)
            m_engine.Advance(std::chrono::milliseconds(100));
    }
    std::int64_t Position() { return m_engine.State().positionMs; }

    /// What the playback reported since the last question, such as "16" or "30/3@19960".
    std::string Heard() { return std::exchange(m_heard, {}); }

    void Hear(TVCallbackType type, const PlayerMessage &message) {
        const std::string details[] = {
            '/' + std::to_string(message.subEventType) + '@' + std::to_string(message.timeCode),
            '/' + std::to_string(message.errCode)};
        m_heard += (m_heard.empty() ? "" : " ") + std::to_string(type);
        if (type >= TV_PLAYER_CALLBACK_PVR_PLAYER_APPLICATION)
            m_heard += details[type - TV_PLAYER_CALLBACK_PVR_PLAYER_APPLICATION];
        if (m_answers && message.subEventType == kPlayerChannelChanged)
            AnswerCrossing(message.timeCode);
        else if (type == TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE && std::exchange(m_isChanging, false))
            m_engine.Seek(m_recoverTime, m_rate);
        if (m_then)
            m_then();
    }

    /// The way the PVR library answers a border; the next unmute brings it back to there.
    void AnswerCrossing(int border) {
        EXPECT_EQ(Position(), border);
        m_isChanging = m_rate != 1.0;
        m_recoverTime = border;
        const int target = m_rate < 0 ? std::max(0, border - 10000) : border;
        TvChannelInfo *info = nullptr;
        ASSERT_EQ(m_engine.ChannelInfoAt(target, &info), kPlayerOk);
        Program(info->videoPid);
        m_engine.Seek(target, 1.0);
    }

    const std::filesystem::path m_folder =
        std::filesystem::path(TemporaryFolder()) /
        testing::UnitTest::GetInstance()->current_test_info()->name();
    const std::string m_path = (m_folder / "recording.ts").string();
    const std::string m_first = Stretch(0x100);
    const std::string m_second = Stretch(0x200);
    PlaybackEngine m_engine{[this](auto type, const auto &message) { Hear(type, message); }};
    std::string m_heard;
    bool m_answers = false;
    bool m_isChanging = false;
    double m_rate = 1.0;
    int m_recoverTime = 0;
    std::function<void()> m_then;  ///< what a callback does besides
};

TEST_F(PlayerTest, EveryRateCrossesABorderOnceAndComesBackToIt) {
    const struct {
        double rate;
        int from, pidBefore, to, pidAfter;
        const char *heard;
    } cases[] = {{1.0, 18000, 0x100, kBorder + 10 * 100, 0x200, "16 30/3@19960 16"},
                 {4.0, 15000, 0x100, kBorder + 16 * 400, 0x200, "16 30/3@19960 16 16"},
                 {0.5, 19000, 0x100, kBorder + 9 * 50, 0x200, "16 30/3@19960 16 16"},
                 {-4.0, 25000, 0x200, kBorder - 16 * 400, 0x100, "16 30/3@19960 16 16"}};
    m_answers = true;
    for (const auto &[rate, from, pidBefore, to, pidAfter, heard] : cases) {
        SCOPED_TRACE(rate);
        m_rate = rate;
        Start(from, pidBefore);
        m_engine.SetSpeed(rate);
        Play(3000);
        EXPECT_EQ(Heard(), heard);
        EXPECT_EQ(m_engine.State().videoPid, pidAfter);
        EXPECT_EQ(m_engine.State().rate, rate);
        EXPECT_EQ(Position(), to) << "in whole ticks, after those of the change";
        m_engine.Stop();
    }
}

TEST_F(PlayerTest, TheDirectionDecidesToWhichStretchABorderBelongs) {
    Start(0, 0x100);
    Play(100);
    EXPECT_EQ(m_engine.State().program, 1);
    m_engine.Seek(kBorder, 1.0);  // the later stretch, for which the PIDs are wrong; no crossing
    EXPECT_EQ(m_engine.State().program, 2);
    Play(1000);
    EXPECT_EQ(Heard(), "16");
    EXPECT_EQ(Position(), kBorder + 1000);
    m_engine.Seek(kBorder, -1.0);
    EXPECT_EQ(m_engine.State().program, 1);
    Play(1000);
    EXPECT_EQ(Heard(), "16");
    m_engine.SetSpeed(1.5);  // turns round in the earlier one; the clock runs on without an answer
    Play(2000);
    EXPECT_EQ(Heard(), "16 30/3@19960");
    EXPECT_EQ(Position(), kBorder + 2000) << "also after a border inside a tick";
}

TEST_F(PlayerTest, TheEndsAreReportedOncePerArrival) {
    const struct {
        std::int64_t seek;
        double rate;
        const char *heard;
        int position;
    } cases[] = {{kEnd - 1000, 1.0, "30/0@39920", kEnd},
                 {kEnd - 1000, 4.0, "30/0@39920", kEnd},
                 {1000, -4.0, "30/1@0", 0},
                 {2000, -1.0, "30/1@0", 0},  // to the tick
                 {kEnd - 2000, 1.0, "30/0@39920", kEnd},
                 {0xFFFFFFFF, 1.0, "30/0@39920", kEnd},
                 {-5, 1.0, "30/1@0", 2000},
                 {0, 1.0, "", 2000}};
    Start(0, 0x1AB);  // no unmutes here
    for (const auto &[seek, rate, heard, position] : cases) {
        SCOPED_TRACE(seek);
        m_engine.Seek(seek, rate);
        Play(2000);
        EXPECT_EQ(Heard(), heard);
        EXPECT_EQ(Position(), position);
    }
}

TEST_F(PlayerTest, OnlyTheRightPidUnmutes) {
    const struct {
        int videoPid, audioPid, hasVideo;
        const char *heard;
    } cases[] = {{0x100, 0x101, 1, "16"}, {0xFFFF, 0x101, 0, "23"},  // radio
                 {0, 0x101, 1, "23"},     {0x100, 0x101, 0, "23"},  {0x1FFF, 0x101, 1, "23"},
                 {0x1FFF, -1, 1, ""},     {0x1AB, 0x101, 1, ""},    {0x101, 0x101, 1, ""},
                 {0x1AB, 0x100, 0, ""},  // the other kind
                 {0x200, 0x201, 1, ""},  // another stretch's
                 {kPmtPid, 0x101, 1, ""}};
    for (const auto &[videoPid, audioPid, hasVideo, heard] : cases) {
        SCOPED_TRACE(testing::Message() << videoPid << ' ' << audioPid << ' ' << hasVideo);
        Set(801, m_path.c_str(), 104, videoPid, 103, audioPid, 307, hasVideo, 0);
        ASSERT_EQ(m_engine.Start(), kPlayerOk);
        Play(18500);
        EXPECT_EQ(Heard(), heard);
        EXPECT_EQ(m_engine.State().waitingForUnmute, *heard == '\0');
    }
}

TEST_F(PlayerTest, DamagedAndScrambledPacketsBeginNoUnit) {
    const struct {
        const char *what;
        std::size_t at;
        int value;
        bool video, audio;
    } cases[] = {
        {"transport error", 1, 0xC1, false, false},
        {"no unit start", 1, 0x01, false, false},
        {"scrambled", 3, 0xB0, false, false},
        {"no payload", 3, 0x20, false, false},
        {"adaptation field longer than the packet", 4, 0xFF, false, false},
        {"!start code in the last four bytes", 4, 179, true, false},
        {"!start code cut off", 4, 180, false, false},
        {"no start code", 14, 2, false, false},
        {"first video", 15, 0xE0, true, false},
        {"last video", 15, 0xEF, true, false},
        {"ECM", 15, 0xF0, false, false},
        {"extended", 15, 0xFD, true, true},
        {"first audio", 15, 0xC0, false, true},
        {"last audio", 15, 0xDF, false, true},
        {"AC-3", 15, 0xBD, false, true},
        {"private stream 2", 15, 0xBF, false, false},
    };
    for (const auto &[what, at, value, video, audio] : cases) {
        SCOPED_TRACE(what);
        TsBuilder stream;
        Bytes &packet = stream.Pcr(0x100, 0, true).data;
        packet[at] = static_cast<std::uint8_t>(value);
        if (what[0] == '!')  // the payload is at the packet's end
            std::copy_n(&packet[12], 4, &packet[184]);
        EXPECT_EQ(BeginsUnit(packet.data(), UnitKind::Video), video);
        EXPECT_EQ(BeginsUnit(packet.data(), UnitKind::Audio), audio);
    }
}

TEST_F(PlayerTest, LooksForUnitsAheadAndShowsOnesNotTooOld) {
    TsBuilder stream;  // a second with pictures, three without, a second with
    for (int ms = 0; ms <= 5000; ms += kFrameMs)
        stream.Pcr(0x100, ms * 27000LL, ms <= 1000 || ms >= 4000);
    Write({stream.data.begin(), stream.data.end()});
    Log({{0, 0, Channel(0x100)}});
    const struct {
        int from;
        double rate;
        int unmutedAfter;
    } cases[] = {{1400, 1.0, 100},  {1600, 1.0, 500},  {1600, 4.0, 200},
                 {3600, -1.0, 100}, {3400, -1.0, 500}, {3400, -4.0, 200}};
    for (const auto &[from, rate, unmutedAfter] : cases) {
        SCOPED_TRACE(testing::Message() << from << " at " << rate);
        Start(0, 0x100);
        m_engine.Seek(from, rate);
        Play(unmutedAfter - 100);
        EXPECT_EQ(Heard(), "");
        Play(100);
        EXPECT_EQ(Heard(), "16");
        m_engine.Stop();
    }
}

/// One command after another, and 100 ms after each; `run` is R(eady), S(topped), P(laying) or
/// p(aused).
TEST_F(PlayerTest, EveryStateTakesTheCommandsThatFitIt) {
    std::map<std::string, std::function<int()>> commands = {
        {"ready", [this] { return m_engine.Ready(); }},
        {"start", [this] { return m_engine.Start(); }},
        {"stop", [this] { return m_engine.Stop(); }},
        {"pause", [this] { return m_engine.Pause(); }},
        {"resume", [this] { return m_engine.Resume(); }},
        {"step", [this] { return m_engine.Step(); }},
        {"twice the speed", [this] { return m_engine.SetSpeed(2); }},
        {"seek to 5000", [this] { return m_engine.Seek(5000, 1); }},
        {"seek to -5", [this] { return m_engine.Seek(-5, 1); }},
        {"source", [this] { return Set(801, m_path.c_str(), 806, 2000, 0); }},
        {"source from its end", [this] { return Set(801, m_path.c_str(), 806, 99999, 0); }},
        {"from 3000", [this] { return Set(806, 3000, 104, 0x100, 307, 1, 0); }},
        {"wrong picture", [this] { return Set(104, 0x1AB, 0); }},
        {"picture", [this] { return Set(104, 0x100, 0); }},
        {"picture as sound", [this] { return Set(103, 0x100, 307, 0, 0); }},
        {"no PID", [this] { return Set(103, 0, 0); }},
        {"sound", [this] { return Set(103, 0x101, 807, 0, 0); }},
    };
    const struct {
        const char *command;
        int result;
        char run;
        int position;
        bool needsTime;
        double rate;
        const char *heard;
    } steps[] = {
        {"source", 0, 'S', 2000, false, 1, ""},
        {"pause", 202, 'S', 2000, false, 1, ""},
        {"resume", 202, 'S', 2000, false, 1, ""},
        {"step", 202, 'S', 2000, false, 1, ""},
        {"twice the speed", 202, 'S', 2000, false, 1, ""},
        {"from 3000", 0, 'S', 2000, false, 1, ""},
        {"ready", 0, 'R', 3000, false, 1, ""},
        {"start", 0, 'P', 3100, true, 1, "16"},
        {"start", 202, 'P', 3200, true, 1, ""},
        {"pause", 0, 'p', 3200, false, 1, ""},
        {"start", 202, 'p', 3200, false, 1, ""},
        {"twice the speed", 0, 'P', 3400, true, 2, "16"},
        {"ready", 0, 'R', 3400, false, 2, ""},
        {"start", 0, 'P', 3600, true, 2, "16"},
        {"stop", 0, 'S', 3600, false, 1, ""},
        {"start", 0, 'P', 3100, true, 1, "16"},
        {"pause", 0, 'p', 3100, false, 1, ""},
        {"resume", 0, 'P', 3200, true, 1, ""},
        {"pause", 0, 'p', 3200, false, 1, ""},
        {"wrong picture", 0, 'p', 3200, true, 1, ""},
        {"picture", 0, 'p', 3200, false, 1, "16"},
        {"picture as sound", 0, 'p', 3200, true, 1, ""},
        {"step", 206, 'p', 3200, true, 1, ""},
        {"no PID", 0, 'p', 3200, true, 1, ""},
        {"step", 206, 'p', 3200, true, 1, ""},
        {"stop", 0, 'S', 3200, false, 1, ""},
        {"seek to 5000", 202, 'S', 3200, false, 1, ""},
        {"sound", 0, 'S', 3200, false, 1, ""},
        {"start", 0, 'P', 3100, true, 1, "23"},
        {"step", 0, 'p', 3130, false, 1, ""},
        {"seek to -5, stop", 0, 'S', 0, false, 1, ""},
        {"start", 0, 'P', 3100, true, 1, "23"},
        {"seek to -5, seek to 5000", 0, 'P', 5100, true, 1, "23"},
        {"twice the speed, source from its end", 0, 'S', kEnd, false, 1, ""},
    };
    for (const auto &step : steps) {
        SCOPED_TRACE(testing::Message() << step.command << " (" << &step - steps << ')');
        const std::string names = step.command;
        const std::size_t comma = names.find(", ");
        if (comma != std::string::npos)
            commands.at(names.substr(0, comma))();
        EXPECT_EQ(commands.at(comma == std::string::npos ? names : names.substr(comma + 2))(),
                  step.result);
        Play(100);
        const PlayerState state = m_engine.State();
        EXPECT_EQ("SRPp"[static_cast<int>(state.run)], step.run);
        EXPECT_EQ(state.positionMs, step.position);
        EXPECT_FALSE(step.run == 'S' && state.waitingForUnmute);
        EXPECT_EQ(m_engine.NeedsTime(), step.needsTime);
        EXPECT_EQ(state.rate, step.rate);
        EXPECT_EQ(Heard(), step.heard);
    }
    EXPECT_TRUE(m_engine.State().sourceMuted) << "lifted for the source before";
}

TEST_F(PlayerTest, EveryCauseGivesOneUnmuteAndOthersNone) {
    Start(1000, 0x100);
    m_engine.SetSpeed(2.0);
    m_engine.Seek(2000, 1.0);
    EXPECT_EQ(m_heard, "") << "sent from inside a call";
    Play(500);
    m_engine.Pause();
    m_engine.Resume();
    Set(103, 0x1AB, 406, 1, 0);
    Play(500);
    EXPECT_EQ(Heard(), "16");
    for (const double rate : {1.0, -1.0}) {
        m_engine.SetSpeed(rate);
        Play(500);
        EXPECT_EQ(Heard(), "16");
    }
    m_engine.Seek(kEnd, 1.0);
    Program(0x200);
    Play(500);
    EXPECT_EQ(Heard(), "16 30/0@39920") << "the last picture is still shown at the end";
}

TEST_F(PlayerTest, StepsGoFromPictureToPictureAndOverTheBorder) {
    Start(19850, 0x100);
    for (const int expected : {19880, 19920, 19960, 19960}) {
        ASSERT_EQ(m_engine.Step(), kPlayerOk);
        EXPECT_EQ(Position(), expected);
    }
    Program(0x200);
    Play(1000);
    EXPECT_EQ(Heard(), "30/3@19960 16");
    EXPECT_EQ(m_engine.Step(), kPlayerOk);
    Program(0x100);
    EXPECT_EQ(m_engine.Step(), kPlayerNoStream);
    EXPECT_EQ(Position(), kBorder + kFrameMs);
    Program(0x200);
    m_engine.Seek(kEnd - 60, -1.0);
    Heard();
    for (int i = 0; i < 4; ++i)
        m_engine.Step();
    Play(100);
    EXPECT_EQ(Heard(), "30/0@39920 16");
    m_engine.Resume();  // back from the end, and a few steps to it
    Play(100);
    for (int i = 0; i < 4; ++i)
        m_engine.Step();
    Play(100);
    EXPECT_EQ(Heard(), "30/0@39920");
    m_engine.SetSpeed(1.0);
    Play(100);
    EXPECT_EQ(Heard(), "16 30/0@39920") << "a command that leads nowhere else";
    Set(104, 0, 103, 0, 0);
    EXPECT_EQ(m_engine.Step(), kPlayerNoStream) << "without a PID the end is not reached";
    Program(0x100);
    m_engine.Seek(60, -1.0);
    Play(200);
    m_engine.Pause();
    m_engine.Step();
    m_engine.Resume();
    Play(200);
    EXPECT_EQ(Heard(), "16 30/1@0 30/1@0") << "the beginning was left by a step";
}

TEST_F(PlayerTest, FollowsAFileThatGrowsAndNoticesOneThatShrinks) {
    const std::size_t part = m_first.size() / 4 + 100;  // inside a packet behind 5000 ms
    Write(m_first.substr(0, part));
    Start(4000, 0x100);
    Play(3000);
    EXPECT_EQ(Heard(), "16 30/0@4960");
    Write(m_first.substr(part, 2000), std::ios::app);
    Play(200);
    EXPECT_EQ(Position(), 5080) << "the new end, which is no new arrival";
    Write(m_first.substr(part + 2000) + m_second, std::ios::app);
    Play(1000);
    EXPECT_EQ(Position(), 6080);
    EXPECT_EQ(m_engine.State().durationMs, kEnd);
    Play(34000);
    EXPECT_EQ(Heard(), "30/3@19960 30/0@39920") << "the old end was left behind";
    Write(m_first);
    Play(1000);
    EXPECT_EQ(Heard(), "31/1");
    EXPECT_EQ(m_engine.State().run, PlayerState::Run::Stopped);
    EXPECT_EQ(m_engine.Start(), kPlayerNoSource);
    m_engine.Stop();
    long long position = 0;
    EXPECT_EQ(m_engine.GetPosition(&position, &position), kPlayerOk);
    Play(100);
    EXPECT_EQ(Heard(), "") << "nothing plays that could fail";
    Start(0, 0x100);
    Write("");
    EXPECT_EQ(m_engine.Seek(0, 1.0), kPlayerNoSource);
}

TEST_F(PlayerTest, FollowsATimeshiftBufferFromItsBeginning) {
    TvChannelInfo *info = nullptr;
    long long position = 0, duration = 0;
    const auto border = static_cast<int>(m_first.size());
    Write("");
    std::filesystem::remove(ts::ChannelLogPath(m_path));
    Set(801, m_path.c_str(), 805, 1, 104, 0x100, 307, 1, 0);
    EXPECT_EQ(m_engine.Start(), kPlayerOk) << "its recorder has just begun";
    Play(500);
    EXPECT_EQ(Heard(), "") << "the end of an empty buffer";

    // What comes before the tables counts from the beginning once the side file is there.
    std::string bare;
    for (std::size_t at = 0; at < m_first.size() / 2; at += 2 * 188)
        bare += m_first.substr(at, 188);
    Write(bare);
    Play(100);
    EXPECT_EQ(m_engine.ChannelInfoAt(0, &info), kPlayerNoChannelInfo);
    Write(m_first);
    Log({{0, 188, Channel(0x100)}, {kBorder, static_cast<std::uint64_t>(border), Channel(0x300)}});
    EXPECT_EQ(m_engine.ChannelInfoAt(kEnd, &info), kPlayerOk);
    EXPECT_EQ(info->videoPid, 0x100) << "the next stretch has no packet yet";
    Log({{0, 188, Channel(0x100)}, {kBorder, static_cast<std::uint64_t>(border), Channel(0x200)}});
    Write(m_second, std::ios::app);
    m_engine.Pause();
    EXPECT_EQ(m_engine.GetPosition(&position, &duration), kPlayerOk);
    EXPECT_EQ(duration, kEnd) << "a paused player learns of growth when it is asked";
    EXPECT_EQ(position, 0);
    EXPECT_EQ(m_engine.ChannelInfoAt(kEnd, &info), kPlayerOk);
    EXPECT_EQ(info->videoPid, 0x200) << "it took another's place";

    // A recorder is known by its lock, which asking neither takes nor is misled about.
    const FileDescriptor file(::open(m_path.c_str(), O_RDWR | O_CLOEXEC));
    for (const auto &[type, isWritten] : std::map<short, bool>{{F_WRLCK, true}, {F_RDLCK, false}}) {
        EXPECT_FALSE(m_engine.IsSourceBeingWritten());
        struct flock lock {};
        lock.l_type = type;
        ASSERT_EQ(::fcntl(file.Get(), F_OFD_SETLK, &lock), 0);
        EXPECT_EQ(m_engine.IsSourceBeingWritten(), isWritten);
        lock.l_type = F_UNLCK;
        ASSERT_EQ(::fcntl(file.Get(), F_OFD_SETLK, &lock), 0);
    }
}

TEST_F(PlayerTest, TimeIsThatOfGoodPacketsOnThePcrPid) {
    TsBuilder stream;
    for (int ms = 0; ms <= 4000; ms += kFrameMs) {
        stream.Pcr(0x100, ms * 27000LL, true).Pcr(0x155, ms * 27000LL * 3);
        stream.Pcr(0x100, ms * 54000LL).data[stream.data.size() - 187] |= 0x80;
    }
    Write({stream.data.begin(), stream.data.end()});
    Log({{0, stream.data.size() / 2, Channel(0x100)}});  // the first stretch has what comes before
    Set(801, m_path.c_str(), 0);
    EXPECT_EQ(m_engine.State().durationMs, 4000);
}

TEST_F(PlayerTest, ChannelInfoComesFromTheSideFileElseFromThePmt) {
    const auto videoPidAt = [this](int time) {
        TvChannelInfo *info = nullptr;
        EXPECT_EQ(m_engine.ChannelInfoAt(time, &info), kPlayerOk);
        return info == nullptr ? -1 : info->videoPid;
    };
    Set(801, m_path.c_str(), 0);
    for (const auto &[time, pid] :
         std::map<int, int>{{-1, 0x100}, {kBorder - 1, 0x100}, {kBorder, 0x200}, {kEnd * 2, 0x200}})
        EXPECT_EQ(videoPidAt(time), pid) << time;
    std::filesystem::remove(ts::ChannelLogPath(m_path));
    Start(0, 0x100);
    EXPECT_EQ(videoPidAt(kEnd), 0x100);
    Play(100);
    EXPECT_EQ(Heard(), "16");
    Log({{0, 0, Channel(0x300)}, {kBorder, m_first.size(), Channel(0x200)}});
    Write(m_first, std::ios::app);
    EXPECT_EQ(videoPidAt(0), 0x100) << "the first stretch was found before the side file was there";
    EXPECT_EQ(videoPidAt(kEnd), 0x200);
    EXPECT_EQ(m_engine.Stretches().size(), 2U);
}

TEST_F(PlayerTest, UnusableSourcesAndCallsAreRefused) {
    TvChannelInfo *info = nullptr;
    EXPECT_EQ(m_engine.Ready(), kPlayerNoSource);
    TvChannelInfo old{};
    for (const std::string &path : {m_folder.string(), std::string("/dev/zero"), m_path + "x"}) {
        EXPECT_EQ(Set(801, path.c_str(), 0), kPlayerOk);
        info = &old;
        EXPECT_EQ(m_engine.ChannelInfoAt(0, &info), kPlayerNoSource) << path;
        EXPECT_EQ(info, nullptr);
    }
    Write("no transport stream");
    Log({});
    Set(801, m_path.c_str(), 0);
    EXPECT_EQ(m_engine.ChannelInfoAt(0, &info), kPlayerNoChannelInfo);
    EXPECT_EQ(m_engine.Start(), kPlayerNoStream);
    EXPECT_EQ(m_engine.Seek(0, 1.0), kPlayerWrongState);
    Play(100);
    EXPECT_EQ(Heard(), "31/3");
    Write(m_first);
    Start(0, 0x100);
    EXPECT_EQ(m_engine.Start(), kPlayerWrongState);
    EXPECT_EQ(m_engine.SetSpeed(0), kPlayerBadArgument);
    EXPECT_EQ(m_engine.Seek(0, NAN), kPlayerBadArgument);
}

TEST_F(PlayerTest, TheStateIsToldWhileARecordingIsOpened) {
    std::filesystem::resize_file(m_path,
                                 std::uintmax_t{1} << 26);  // a hole that takes time to read
    std::atomic<bool> isOpen = false;
    std::thread opening([&] {
        Set(104, 0x111, 801, m_path.c_str(), 0);
        isOpen = true;
    });
    while (m_engine.State().videoPid != 0x111 && !isOpen)
        std::this_thread::yield();
    long long position = 0;
    EXPECT_EQ(m_engine.GetPosition(&position, &position), kPlayerNoSource);
    EXPECT_FALSE(m_engine.NeedsTime());
    EXPECT_FALSE(isOpen) << "the state came when the recording was open";
    opening.join();
    EXPECT_EQ(m_engine.State().durationMs, kEnd);
}

// --- Through the platform's own calls ------------------------------------------------------------

using PlayerHandle = std::unique_ptr<void, decltype(&DestroyPlayer)>;

/// Sets a property as often as the sequence has numbers, to its own number.
template <std::size_t... numbers>
int SetMany(void *stream, std::index_sequence<numbers...> /*count*/) {
    return tv_stream_set_property(stream, (static_cast<void>(numbers), 104)...,
                                  (static_cast<void>(numbers), 104)..., 0);
}

TEST(StreamPropertyTest, ListsAreKeptOrRefusedAsAWhole) {
    const PlayerHandle player(CreatePlayer({}), DestroyPlayer);
    void *stream = StreamOf(player.get());
    const char *noText = nullptr;
    EXPECT_EQ(tv_stream_set_property(stream, 104, 1, 9999, 2, 0), kPlayerBadProperty);
    EXPECT_EQ(tv_stream_set_property(stream, 104, 1, 1413, 2, 0), kPlayerBadProperty);
    EXPECT_EQ(tv_stream_set_property(stream, 104, 1, 801, noText, 0), kPlayerBadProperty);
    EXPECT_EQ(GetPlayerState(player.get()).videoPid, -1);
    for (void *object : {static_cast<void *>(nullptr), player.get()})
        EXPECT_EQ(tv_stream_set_property(object, 1413, 60, 0), kPlayerNoObject);
    EXPECT_EQ(tv_player_pause(stream), kPlayerNoObject);
    const std::unique_ptr<void, decltype(&DestroyRecorder)> recorder(CreateRecorder({}),
                                                                     DestroyRecorder);
    EXPECT_EQ(tv_stream_set_property(recorder.get(), 1413, 60, 0), kPlayerOk);
    EXPECT_EQ(tv_stream_set_property(recorder.get(), 104, 1, 0), kPlayerBadProperty);
    EXPECT_EQ(tv_stream_set_property(recorder.get(), 1413, 60, 104, 1, 0), kPlayerBadProperty);

    ASSERT_EQ(tv_stream_set_property(stream, 103, 1, 104, 2, 109, 3, 134, 4, 302, 1, 307, 5, 314, 6,
                                     320, 7, 406, 2, 509, 8, 602, 1, 603, 1, 801, "/none", 805, 1,
                                     806, 9, 807, 0, 1214, 10, 0),
              kPlayerOk);
    tv_stream_set_kr3d_mode_format(stream, 1, 6);
    tv_stream_set_3d_mode(stream, 1, 11);
    const PlayerState kept = GetPlayerState(player.get());
    EXPECT_EQ(
        (std::vector<int>{kept.audioPid, kept.videoPid, kept.pcrPid, kept.adPid, kept.hasVideo,
                          kept.audioCodec, kept.stereoMode, kept.videoCodec, kept.adCodec,
                          kept.threeDMode, kept.threeDFormat, kept.subVideoPid}),
        (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 10, 1, 6, 11}));
    EXPECT_TRUE(kept.held && kept.audioMuted && kept.videoMuted && kept.still);
    tv_stream_enable_audio_description(stream, 0x123);
    EXPECT_NE(tv_stream_is_audio_description_enabled(stream), 0);
    tv_stream_disable_audio_description(stream);
    EXPECT_EQ(tv_stream_is_audio_description_enabled(stream), 0);
    EXPECT_EQ(GetPlayerState(player.get()).adPid, 0x123);
    EXPECT_EQ(SetMany(stream, std::make_index_sequence<64>()), kPlayerOk);
    EXPECT_EQ(SetMany(stream, std::make_index_sequence<65>()), kPlayerBadProperty);
}

TEST_F(PlayerTest, EveryCallReachesItsOperation) {
    using Run = PlayerState::Run;
    const PlayerHandle handle(CreatePlayer({}), DestroyPlayer);
    void *player = handle.get();
    void *stream = StreamOf(player);
    const auto state = [player] { return GetPlayerState(player); };
    ASSERT_EQ(tv_stream_set_property(stream, 801, m_path.c_str(), 104, 0x100, 806, 10000, 0), 0);
    EXPECT_EQ(tv_player_ready(player), kPlayerOk);
    EXPECT_EQ(state().run, Run::Ready);
    EXPECT_EQ(tv_stream_start(stream), kPlayerOk);
    EXPECT_EQ(state().run, Run::Playing);
    EXPECT_EQ(tv_player_pause(player), kPlayerOk);
    EXPECT_EQ(state().run, Run::Paused);
    const std::int64_t before = state().positionMs;
    EXPECT_EQ(tv_player_step_play(player), kPlayerOk);
    EXPECT_GT(state().positionMs, before);
    EXPECT_EQ(tv_player_resume(player), kPlayerOk);
    EXPECT_EQ(state().run, Run::Playing);
    EXPECT_EQ(tv_player_set_play_speed(player, 0, 0.5), kPlayerOk);
    EXPECT_EQ(state().rate, 0.5);
    EXPECT_GT(state().positionMs, before) << "the position that is passed along moves nothing";
    EXPECT_EQ(tv_player_set_position(player, 1000, 1.0), kPlayerOk);
    EXPECT_LT(state().positionMs, before);
    EXPECT_FALSE(IsSourceBeingWritten(player));
    EXPECT_EQ(tv_stream_stop(stream), kPlayerOk);
    EXPECT_EQ(state().run, Run::Stopped);
}

/// On the real clock thread. Callback 30 is written down as its negative sub-event.
TEST_F(PlayerTest, CallbacksMayCallEverything) {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<int> heard;
    const PlayerHandle player(CreatePlayer({/*clockFactor=*/200.0}), DestroyPlayer);
    void *stream = StreamOf(player.get());
    SetPlayerCallback(player.get(), [&](TVCallbackType type, const PlayerMessage &message) {
        if (message.subEventType == kPlayerChannelChanged) {
            TvChannelInfo *info = nullptr;
            EXPECT_EQ(tv_stream_get_channel_info(stream, message.timeCode, &info), kPlayerOk);
            tv_stream_set_property(stream, 109, info->pcrPid, 104, info->videoPid, 0);
            tv_player_set_position(player.get(), message.timeCode, 1.0);
        }
        const std::lock_guard<std::mutex> lock(mutex);
        heard.push_back(type == 30 ? -message.subEventType : static_cast<int>(type));
        changed.notify_all();
        throw std::runtime_error("what a service throws ends nothing");
    });
    const auto waitFor = [&](int last) {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, std::chrono::seconds(20),
                                [&] { return !heard.empty() && heard.back() == last; });
    };
    EXPECT_EQ(tv_stream_start(stream), kPlayerNoSource);
    ASSERT_TRUE(waitFor(31));
    tv_stream_set_property(stream, 801, m_path.c_str(), 104, 0x100, 0);
    ASSERT_EQ(tv_stream_start(stream), kPlayerOk);
    ASSERT_TRUE(waitFor(0));
    EXPECT_EQ(heard, (std::vector<int>{31, 16, -3, 16, 0}));
    EXPECT_EQ(tv_player_set_position(player.get(), kEnd - 1000, -1.0), kPlayerOk);
}

TEST_F(PlayerTest, AFactorThatIsNoneLetsTheClockRunAsItIs) {
    for (const double factor : {-5.0, 0.0, double(NAN), std::numeric_limits<double>::infinity()}) {
        std::promise<int> end;
        const PlayerHandle player(CreatePlayer({factor}), DestroyPlayer);
        SetPlayerCallback(player.get(), [&](TVCallbackType type, const PlayerMessage &message) {
            if (type == TV_PLAYER_CALLBACK_PVR_PLAYER_APPLICATION)
                end.set_value(message.timeCode);
        });
        tv_stream_set_property(StreamOf(player.get()), 801, m_path.c_str(), 806, kEnd - 50, 0);
        ASSERT_EQ(tv_stream_start(StreamOf(player.get())), kPlayerOk);
        std::future<int> reached = end.get_future();
        ASSERT_EQ(reached.wait_for(std::chrono::seconds(20)), std::future_status::ready) << factor;
        EXPECT_EQ(reached.get(), kEnd);
    }
}

TEST_F(PlayerTest, WhatCallbacksCauseHoldsNobodyUp) {
    int retries = 0;
    m_then = [&] {
        if (++retries < 1000)
            m_engine.Ready();
    };
    m_engine.Ready();
    Play(100);
    EXPECT_EQ(Heard(), "31/1") << "the answer to a retry inside a callback waits for the next tick";
    Play(100);
    EXPECT_EQ(Heard(), "31/1");
    m_then = nullptr;
    Start(kEnd - 40, 0x200);
    m_engine.Seek(kEnd + 1, 1.0);
    m_then = [&] {
        m_then = nullptr;
        m_engine.Seek(-5, 1.0);  // forgets the unmute that is pending
    };
    Play(100);
    EXPECT_EQ(Heard(), "30/0@39920");
    Play(100);
    EXPECT_EQ(Heard(), "30/1@0");
    m_engine.Seek(-5, 1.0);
    m_engine.Close();
    m_engine.Seek(kEnd + 1, 1.0);
    Play(100);
    EXPECT_EQ(Heard(), "") << "reported after the end was asked for";

    std::atomic<int> heard = 0;
    void *player = CreatePlayer({});
    SetPlayerCallback(player, [&](TVCallbackType, const PlayerMessage &) {
        ++heard;
        DestroyPlayer(player);  // refused here
        EXPECT_EQ(tv_player_ready(player), kPlayerNoSource);
    });
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(tv_player_ready(player), kPlayerNoSource);
    DestroyPlayer(player);
    EXPECT_GE(heard, 3) << "pending when the end was asked for";
}

TEST(PlaybackServicesTest, CodecsAreConvertedAndUserDataIsFollowedPerHandle) {
    std::vector<int> video, audio, sound;  // by the platform's numbers; the last one is unknown
    for (unsigned type = 0; type <= 7; ++type) {
        video.push_back(TVPlayerDataUtil::ConvertVideoEncodeType(EVideoEncodeType(type)));
        audio.push_back(TVPlayerDataUtil::ConvertAudioEncodeType(EAudioEncodeType(type)));
        sound.push_back(TVPlayerDataUtil::ConvertDigitalMTSModeType(EMultiSoundMode(type)));
    }
    EXPECT_EQ(video, (std::vector<int>{0, 0x01, 0x02, 0x10, 0x1B, 0x24, 0, 0}));
    EXPECT_EQ(audio, (std::vector<int>{0, 0x03, 0x04, 0x0F, 0x11, 0x81, 0x87, 0}));
    EXPECT_EQ(sound, (std::vector<int>{0, 0, 1, 2, 3, 0, 0, 0}));

    TIUserDataManager *manager = TIUserDataManager::Instance({PROFILE_TYPE_MAIN, 20});
    EXPECT_EQ(TIUserDataManager::Instance({PROFILE_TYPE_MAIN, 20}), manager);
    int stream = 0;
    EXPECT_EQ(manager->Start(&stream, 1), 1);
    EXPECT_EQ(manager->Start(&stream, 1), 0);
    EXPECT_EQ(TIUserDataManager::Instance({PROFILE_TYPE_PIP, 20})->Stop(), 0);
    EXPECT_EQ(manager->Start(nullptr, 1), 0);
    EXPECT_EQ(manager->Stop(), 1);
    EXPECT_EQ(manager->Start(nullptr, 1), 0);
    EXPECT_EQ(manager->Stop(), 0);
}

}  // namespace
