// Runs player.txt, and what needs threads or the platform's own calls.
//
// A scenario begins with "== Name" and the recording of PlayerTest. Each line has commands, then
// how the playback is after them:
//
//   seek 38920 4, tick -> 202 playing 39920 x4 #2 waits idle unmuted | 16 30/0@39920
//
// that is: every answer of a command that is not 0; the state; the position in milliseconds; the
// rate; the program; "waits" for a unit, "idle" when it needs no time, "unmuted" by property 807;
// and the callbacks since the line before, with sub-event and time code or with the error.
//
// Commands are the words of PlayerScenario::m_commands; a tick is 100 ms of playing.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <MOXHandle.h>
#include <TIUserDataManager.h>
#include <tv_player.h>
#include <tv_stream.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <condition_variable>
#include <cstdarg>
#include <filesystem>
#include <fstream>
#include <future>
#include <limits>
#include <sstream>
#include <thread>

#include "player/PlaybackEngine.h"
#include "Scenarios.h"
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
        Write(m_whole);
        Log({{0, 0, Channel(0x100)}, {kBorder, m_first.size(), Channel(0x200)}});
    }
    ~PlayerTest() override { std::filesystem::remove_all(m_folder); }

    int Write(const std::string &bytes) {
        std::ofstream(m_path, std::ios::binary | std::ios::trunc) << bytes;
        return kPlayerOk;
    }
    int Log(const std::vector<ts::ChannelStretch> &stretches) {
        EXPECT_TRUE(ts::WriteChannelLog(m_path, {stretches, {}}));
        return kPlayerOk;
    }
    int Set(int id, ...) {
        std::va_list values;
        va_start(values, id);
        PropertyArguments arguments(id, values);
        va_end(values);
        return m_engine.SetProperties(&arguments);
    }
    int Program(int videoPid) {
        return Set(109, videoPid, 104, videoPid, 103, videoPid + 1, 307, 1, 0);
    }
    int Play(int milliseconds) {
        for (int played = 0; played < milliseconds; played += 100)
            m_engine.Advance(std::chrono::milliseconds(100));
        return kPlayerOk;
    }

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
        EXPECT_EQ(m_engine.State().positionMs, border);
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
    const std::string m_whole = m_first + Stretch(0x200);
    PlaybackEngine m_engine{[this](auto type, const auto &message) { Hear(type, message); }};
    std::string m_heard;
    bool m_answers = false;
    bool m_isChanging = false;
    double m_rate = 1.0;
    int m_recoverTime = 0;
    std::function<void()> m_then;  ///< what a callback does besides
};

class PlayerScenario : public PlayerTest, public testing::WithParamInterface<Scenario> {
  protected:
    /// @return what the commands answered, and how the playback is after them
    std::string Do(const std::string &commands) {
        std::string left;
        std::istringstream input(commands);
        for (std::string command; std::getline(input >> std::ws, command, ',');) {
            std::istringstream words(command);
            std::string name;
            words >> name;
            Numbers numbers;
            for (std::string word; words >> word;)
                numbers.push_back(std::stod(word));
            if (const auto answer = m_commands.at(name)(numbers); answer != 0)
                left += std::to_string(answer) + ' ';
        }
        return left + Playback();
    }

  private:
    using Numbers = std::vector<double>;

    std::string Playback() {
        constexpr const char *kRuns[] = {"stopped", "ready", "playing", "paused"};
        const PlayerState state = m_engine.State();
        std::ostringstream text;
        text << kRuns[static_cast<int>(state.run)] << ' ' << state.positionMs << " x" << state.rate
             << " #" << state.program << (state.waitingForUnmute ? " waits" : "")
             << (m_engine.NeedsTime() ? "" : " idle") << (state.sourceMuted ? "" : " unmuted");
        if (const std::string heard = Heard(); !heard.empty())
            text << " | " << heard;
        return text.str();
    }
    int SetAll(Numbers list) {
        list.resize(6);
        const std::vector<int> all(list.begin(), list.end());
        return Set(all[0], all[1], all[2], all[3], all[4], all[5], 0);
    }
    /// @return the program at a time, or the refusal
    int ChannelAt(double time) {
        TvChannelInfo none{};
        TvChannelInfo *info = &none;
        const int result = m_engine.ChannelInfoAt(static_cast<int>(time), &info);
        EXPECT_EQ(info == nullptr, result != kPlayerOk);
        return info == nullptr ? result : info->programNum;
    }
    long long AskForDuration() {
        long long position = 0, duration = 0;
        const int result = m_engine.GetPosition(&position, &duration);
        return result == kPlayerOk ? duration : result;
    }
    /// @param list  where each channel begins in the file, and its video PID
    std::vector<ts::ChannelStretch> Channels(const Numbers &list) {
        std::vector<ts::ChannelStretch> log;
        for (std::size_t i = 0; i < list.size(); i += 2)
            log.push_back({list[i] < double(m_first.size()) ? 0 : kBorder, std::uint64_t(list[i]),
                           Channel(int(list.at(i + 1)))});
        return log;
    }
    int LogMore(const Numbers &list) {
        ts::ChannelLogWriter log;
        EXPECT_TRUE(log.Open(m_path) && log.Append(Channels(list).front()));
        return kPlayerOk;
    }
    std::string WithoutPmt() {
        std::string bare;
        for (std::size_t at = 0; at < m_first.size() / 2; at += 2 * 188)
            bare += m_first.substr(at, 188);
        return bare;
    }
    /// A second with pictures, three without, a second with. Another PID and damaged packets tell
    /// other times.
    static std::string WithAGap() {
        TsBuilder stream;
        for (int ms = 0; ms <= 5000; ms += kFrameMs) {
            stream.Pcr(0x100, ms * 27000LL, ms <= 1000 || ms >= 4000).Pcr(0x155, ms * 81000LL);
            stream.Pcr(0x100, ms * 54000LL).data[stream.data.size() - 187] |= 0x80;
        }
        return {stream.data.begin(), stream.data.end()};
    }

    std::map<std::string, std::function<long long(const Numbers &)>> m_commands = {
        {"ready", [this](auto &) { return m_engine.Ready(); }},
        {"start", [this](auto &) { return m_engine.Start(); }},
        {"stop", [this](auto &) { return m_engine.Stop(); }},
        {"pause", [this](auto &) { return m_engine.Pause(); }},
        {"resume", [this](auto &) { return m_engine.Resume(); }},
        {"step", [this](auto &) { return m_engine.Step(); }},
        {"speed", [this](auto &rate) { return m_engine.SetSpeed(m_rate = rate.at(0)); }},
        {"seek", [this](auto &to) { return m_engine.Seek(std::int64_t(to.at(0)), to.at(1)); }},
        {"set", [this](auto &properties) { return SetAll(properties); }},
        {"source", [this](auto &ms) { return Set(801, m_path.c_str(), 806, int(ms.at(0)), 0); }},
        {"program", [this](auto &videoPid) { return Program(int(videoPid.at(0))); }},
        {"play", [this](auto &milliseconds) { return Play(int(milliseconds.at(0))); }},
        {"tick", [this](auto &) { return Play(100); }},
        {"answer", [this](auto &) { return m_answers = true, kPlayerOk; }},
        {"ask", [this](auto &) { return AskForDuration(); }},
        {"channel", [this](auto &time) { return ChannelAt(time.at(0)); }},
        {"stretches", [this](auto &) { return int(m_engine.Stretches().size()); }},
        {"file", [this](auto &size) { return Write(m_whole.substr(0, std::size_t(size.at(0)))); }},
        {"file-without-pmt", [this](auto &) { return Write(WithoutPmt()); }},
        {"file-without-packets", [this](auto &) { return Write("no transport stream"); }},
        {"file-with-a-gap", [this](auto &) { return Write(WithAGap()); }},
        {"log", [this](auto &list) { return Log(Channels(list)); }},
        {"log-more", [this](auto &list) { return LogMore(list); }},
        {"no-log", [this](auto &) { return !std::filesystem::remove(ts::ChannelLogPath(m_path)); }},
    };
};

TEST_P(PlayerScenario, Plays) {
    for (const std::string &line : GetParam().lines) {
        if (line.empty() || line[0] == '#')
            continue;
        const std::size_t arrow = line.find(" -> ");
        ASSERT_NE(arrow, std::string::npos) << line;
        EXPECT_EQ(Do(line.substr(0, arrow)), line.substr(arrow + 4)) << line;
    }
}

INSTANTIATE_TEST_SUITE_P(Player, PlayerScenario, testing::ValuesIn(LoadScenarios(PLAYER_SCENARIOS)),
                         ScenarioName);

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

TEST_F(PlayerTest, ARecorderIsKnownByItsLockWhichAskingNeitherTakesNorIsMisledAbout) {
    Set(801, m_path.c_str(), 0);
    const FileDescriptor file(::open(m_path.c_str(), O_RDWR | O_CLOEXEC));
    for (const auto &[type, isWritten] :
         {std::pair{F_UNLCK, false}, {F_WRLCK, true}, {F_RDLCK, false}}) {
        struct flock lock {};
        lock.l_type = static_cast<short>(type);
        ASSERT_EQ(::fcntl(file.Get(), F_OFD_SETLK, &lock), 0);
        EXPECT_EQ(m_engine.IsSourceBeingWritten(), isWritten) << type;
    }
}

TEST_F(PlayerTest, OnlyARegularFileIsASource) {
    for (const std::string &path : {m_folder.string(), std::string("/dev/zero"), m_path + "x"}) {
        TvChannelInfo old{};
        TvChannelInfo *info = &old;
        EXPECT_EQ(Set(801, path.c_str(), 0), kPlayerOk);
        EXPECT_EQ(m_engine.ChannelInfoAt(0, &info), kPlayerNoSource) << path;
        EXPECT_EQ(info, nullptr);
    }
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
    const auto after = [&](int result) { return std::pair(result, state().run); };
    ASSERT_EQ(tv_stream_set_property(stream, 801, m_path.c_str(), 104, 0x100, 806, 10000, 0), 0);
    EXPECT_EQ(after(tv_player_ready(player)), std::pair(0, Run::Ready));
    EXPECT_EQ(after(tv_stream_start(stream)), std::pair(0, Run::Playing));
    EXPECT_EQ(after(tv_player_pause(player)), std::pair(0, Run::Paused));
    const std::int64_t before = state().positionMs;
    EXPECT_EQ(tv_player_step_play(player), kPlayerOk);
    EXPECT_GT(state().positionMs, before);
    EXPECT_EQ(after(tv_player_resume(player)), std::pair(0, Run::Playing));
    EXPECT_EQ(tv_player_set_play_speed(player, 0, 0.5), kPlayerOk);
    EXPECT_EQ(state().rate, 0.5);
    EXPECT_GT(state().positionMs, before) << "the position that is passed along moves nothing";
    EXPECT_EQ(tv_player_set_position(player, 1000, 1.0), kPlayerOk);
    EXPECT_LT(state().positionMs, before);
    EXPECT_FALSE(IsSourceBeingWritten(player));
    EXPECT_EQ(after(tv_stream_stop(stream)), std::pair(0, Run::Stopped));
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
    Set(801, m_path.c_str(), 806, kEnd - 40, 104, 0x200, 307, 1, 0);
    m_engine.Start();
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

TEST(PlaybackServicesTest, UserDataIsFollowedPerHandle) {
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
