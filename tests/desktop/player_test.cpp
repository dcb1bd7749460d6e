#include <gtest/gtest.h>
#include <MOXHandle.h>
#include <TIUserDataManager.h>
#include <tv_player.h>
#include <tv_stream.h>
#include <TVPlayerDataUtil.h>

#include <cmath>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <mutex>

#include "player/PlaybackEngine.h"

namespace {

using namespace tvdesktop;
using Run = PlayerState::Run;
using Bytes = std::string;

constexpr int kFrameMs = 40;
constexpr int kFrames = 500;       // of each of the two stretches
constexpr int kBorder = 499 * 40;  // another PCR PID goes on from where the last one stood
constexpr int kEnd = 2 * kBorder;
constexpr int kSectionPid = 0x30;

/// A packet that begins a unit; a PCR makes it one with an adaptation field.
Bytes Packet(int pid, const Bytes &payload, std::int64_t pcrMs = -1) {
    Bytes packet(188, '\xFF');
    packet[0] = 0x47;
    packet[1] = static_cast<char>(0x40 | pid >> 8);
    packet[2] = static_cast<char>(pid);
    packet[3] = pcrMs < 0 ? 0x10 : 0x30;
    if (pcrMs >= 0) {
        const std::int64_t base = pcrMs * 90;
        packet[4] = 7;
        packet[5] = 0x10;
        for (int i = 0; i < 4; ++i)
            packet[static_cast<std::size_t>(6 + i)] = static_cast<char>(base >> (25 - 8 * i));
        packet[10] = static_cast<char>((base & 1) << 7 | 0x7E);
        packet[11] = 0;
    }
    return packet.replace(pcrMs < 0 ? 4 : 12, payload.size(), payload);
}

const Bytes kVideoUnit("\0\0\1\xE0", 4);
const Bytes kAudioUnit("\0\0\1\xC0", 4);
const Bytes kSection("\0\2\xB0\x0D", 4);

TvChannelInfo Channel(int videoPid) {
    TvChannelInfo info{};
    info.videoPid = info.pcrPid = static_cast<std::uint16_t>(videoPid);
    info.audioPid = videoPid + 1;
    info.videoCodecType = VIDEO_ENCODE_H264;
    return info;
}

/// 20 seconds of a channel: a picture with its PCR, an audio unit and a section every 40 ms.
Bytes Stretch(int videoPid) {
    Bytes bytes;
    for (int frame = 0; frame < kFrames; ++frame)
        bytes += Packet(videoPid, kVideoUnit, frame * kFrameMs) + Packet(videoPid + 1, kAudioUnit) +
                 Packet(kSectionPid, kSection);
    return bytes;
}

/// A recording in which channel 0x100 is followed by channel 0x200.
class PlayerTest : public testing::Test {
  protected:
    PlayerTest() {
        std::filesystem::remove_all(m_folder);
        std::filesystem::create_directories(m_folder);
    }
    ~PlayerTest() override { std::filesystem::remove_all(m_folder); }

    void Write(const Bytes &bytes, std::ios::openmode mode = std::ios::trunc) {
        std::ofstream(m_path, std::ios::binary | mode) << bytes;
    }
    void Log(const std::vector<ts::ChannelStretch> &stretches) {
        ASSERT_TRUE(ts::WriteChannelLog(m_path, stretches));
    }
    void WriteBoth() {
        Write(m_first + m_second);
        Log({{0, 0, Channel(0x100)}, {kBorder, m_first.size(), Channel(0x200)}});
    }

    int Set(const StreamPropertyList &list) { return m_engine.SetProperties(list); }
    void Program(int videoPid) {
        Set({{TV_PROPERTY_PCR_PID, videoPid}, {TV_PROPERTY_VIDEO_PID, videoPid}});
        Set({{TV_PROPERTY_AUDIO_PID, videoPid + 1}, {TV_PROPERTY_HAS_VIDEO, 1}});
    }
    void Start(int fromMs, int videoPid) {
        Set({{TV_PROPERTY_PVRSRC_URI, m_path}, {TV_PROPERTY_PVRSRC_START_POSITION, fromMs}});
        Program(videoPid);
        ASSERT_EQ(m_engine.Start(), kPlayerOk);
    }
    void Play(int milliseconds) {
        for (int played = 0; played < milliseconds; played += 100)
            m_engine.Advance(std::chrono::milliseconds(100));
    }

    /// What the playback reported since the last question, such as "16" or "30/3@19960".
    std::string Heard() { return std::exchange(m_heard, {}); }

    void Hear(TVCallbackType type, const PlayerMessage &message) {
        m_heard += (m_heard.empty() ? "" : " ") + std::to_string(type);
        if (type == TV_PLAYER_CALLBACK_PVR_PLAYER_APPLICATION)
            m_heard +=
                '/' + std::to_string(message.subEventType) + '@' + std::to_string(message.timeCode);
        if (type == TV_PLAYER_CALLBACK_PVR_PLAYER_ERROR)
            m_heard += '/' + std::to_string(message.errCode);
        if (m_answers)
            Answer(type, message);
    }

    /// The way the PVR library answers a border and the unmute that follows.
    void Answer(TVCallbackType type, const PlayerMessage &message) {
        if (message.subEventType == 3) {
            EXPECT_EQ(m_engine.State().positionMs, message.timeCode);
            m_isChanging = m_rate != 1.0;
            m_recoverTime = message.timeCode;
            const int target =
                m_rate < 0 ? std::max(0, message.timeCode - 10000) : message.timeCode;
            TvChannelInfo *info = nullptr;
            ASSERT_EQ(m_engine.ChannelInfoAt(target, &info), kPlayerOk);
            Program(info->videoPid);
            m_engine.Seek(target, 1.0);
        } else if (type == TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE &&
                   std::exchange(m_isChanging, false)) {
            m_engine.Seek(m_recoverTime, m_rate);
        }
    }

    const std::filesystem::path m_folder =
        std::filesystem::path(testing::TempDir()) /
        testing::UnitTest::GetInstance()->current_test_info()->name();
    const std::string m_path = (m_folder / "recording.ts").string();
    const Bytes m_first = Stretch(0x100);
    const Bytes m_second = Stretch(0x200);
    PlaybackEngine m_engine{[this](auto type, const auto &message) { Hear(type, message); }};
    std::string m_heard;
    bool m_answers = false;
    bool m_isChanging = false;
    double m_rate = 1.0;
    std::int64_t m_recoverTime = 0;
};

TEST_F(PlayerTest, EveryRateCrossesABorderOnceAndComesBackToIt) {
    const struct {
        double rate;
        int from, pidBefore, pidAfter;
        const char *heard;
    } cases[] = {
        {1.0, 18000, 0x100, 0x200, "16 30/3@19960 16"},
        {4.0, 15000, 0x100, 0x200, "16 30/3@19960 16 16"},
        {0.5, 19000, 0x100, 0x200, "16 30/3@19960 16 16"},
        {-4.0, 25000, 0x200, 0x100, "16 30/3@19960 16 16"},
    };
    WriteBoth();
    m_answers = true;
    for (const auto &[rate, from, pidBefore, pidAfter, heard] : cases) {
        SCOPED_TRACE(rate);
        m_rate = rate;
        Start(from, pidBefore);
        m_engine.SetSpeed(rate);
        Play(3000);
        const PlayerState state = m_engine.State();
        EXPECT_EQ(Heard(), heard);
        EXPECT_EQ(state.videoPid, pidAfter);
        EXPECT_EQ(state.rate, rate);
        EXPECT_EQ(state.positionMs > kBorder, rate > 0) << state.positionMs;
        m_engine.Stop();
    }
}

TEST_F(PlayerTest, TheDirectionDecidesToWhichStretchABorderBelongs) {
    WriteBoth();
    Start(0, 0x100);
    Play(100);
    EXPECT_EQ(Heard(), "16");
    m_engine.Seek(kBorder, 1.0);  // the later stretch, for which the PIDs are wrong; not a crossing
    Play(1000);
    EXPECT_EQ(Heard(), "");
    EXPECT_EQ(m_engine.State().positionMs, kBorder + 1000);
    m_engine.Seek(kBorder, -1.0);
    Play(1000);
    EXPECT_EQ(Heard(), "16");
    m_engine.SetSpeed(
        1.0);  // turns round in the earlier stretch; nobody answers, the clock goes on
    Play(2000);
    EXPECT_EQ(Heard(), "16 30/3@19960");
    EXPECT_EQ(m_engine.State().positionMs, kBorder + 1000);
}

TEST_F(PlayerTest, TheEndsAreReportedOncePerArrival) {
    WriteBoth();
    Start(0, 0x100);
    const struct {
        std::int64_t seek;
        double rate;
        const char *heard;
        int position;
    } cases[] = {
        {kEnd - 1000, 1.0, "30/0@39920", kEnd},
        {kEnd - 1000, 4.0, "30/0@39920", kEnd},
        {1000, -4.0, "30/1@0", 0},
        {0xFFFFFFFF, 1.0, "30/0@39920", kEnd},
        {-5, 1.0, "30/1@0", 2000},
        {0, 1.0, "", 2000},
    };
    for (const auto &[seek, rate, heard, position] : cases) {
        SCOPED_TRACE(seek);
        Play(100);
        Set({{TV_PROPERTY_VIDEO_PID, 0x1AB}});  // no unmutes here
        Heard();
        m_engine.Seek(seek, rate);
        Play(2000);
        EXPECT_EQ(Heard(), heard);
        EXPECT_EQ(m_engine.State().positionMs, position);
    }
    m_engine.Seek(1000, -1.0);
    Play(2000);
    m_engine.SetSpeed(1.0);
    Play(500);
    m_engine.SetSpeed(-1.0);
    Play(1000);
    EXPECT_EQ(Heard(), "30/1@0 30/1@0");
}

TEST_F(PlayerTest, OnlyTheRightPidUnmutes) {
    WriteBoth();
    const struct {
        int videoPid, audioPid, hasVideo;
        const char *heard;
    } cases[] = {
        {0x100, 0x101, 1, "16"},      // television
        {0xFFFF, 0x101, 0, "23"},     // radio
        {0, 0x101, 1, "23"},          // no video PID is radio too
        {0x100, 0x101, 0, "23"},      // video switched off
        {0x1FFF, -1, 1, ""},          // nothing to decode
        {0x1AB, 0x101, 1, ""},        // a PID that is not there
        {0x101, 0x101, 1, ""},        // audio is no video
        {0x1AB, 0x100, 0, ""},        // video is no audio
        {0x200, 0x201, 1, ""},        // the PID of another stretch
        {kSectionPid, 0x101, 1, ""},  // units of a table
    };
    for (const auto &[videoPid, audioPid, hasVideo, heard] : cases) {
        SCOPED_TRACE(testing::Message() << videoPid << ' ' << audioPid << ' ' << hasVideo);
        Set({{TV_PROPERTY_PVRSRC_URI, m_path},
             {TV_PROPERTY_VIDEO_PID, videoPid},
             {TV_PROPERTY_AUDIO_PID, audioPid},
             {TV_PROPERTY_HAS_VIDEO, hasVideo}});
        ASSERT_EQ(m_engine.Start(), kPlayerOk);
        Play(18000);
        EXPECT_EQ(Heard(), heard);
        EXPECT_EQ(m_engine.State().waitingForUnmute, *heard == '\0');
        m_engine.Stop();
    }
}

TEST_F(PlayerTest, DamagedAndScrambledPacketsBeginNoUnit) {
    const auto begins = [](std::size_t at, int value, UnitKind kind = UnitKind::Video) {
        Bytes packet = Packet(0x100, kVideoUnit, 0);
        packet[at] = static_cast<char>(value);
        return BeginsUnit(reinterpret_cast<const std::uint8_t *>(packet.data()), kind);
    };
    EXPECT_TRUE(begins(0, 0x47));
    EXPECT_FALSE(begins(0, 0x47, UnitKind::Audio));
    EXPECT_TRUE(begins(15, 0xBD, UnitKind::Audio));  // AC-3
    EXPECT_FALSE(begins(1, 0xC1));                   // transport error
    EXPECT_FALSE(begins(1, 0x01));                   // no unit start
    EXPECT_FALSE(begins(3, 0xB0));                   // scrambled
    EXPECT_FALSE(begins(3, 0x20));                   // no payload
    EXPECT_FALSE(begins(4, 0xFF));                   // adaptation field longer than the packet
}

TEST_F(PlayerTest, EveryCauseGivesOneUnmuteAndOthersNone) {
    WriteBoth();
    Start(1000, 0x100);
    m_engine.SetSpeed(2.0);
    m_engine.Seek(2000, 1.0);
    EXPECT_EQ(m_heard, "") << "sent from inside a call";
    Play(500);
    EXPECT_EQ(Heard(), "16");
    m_engine.Pause();
    m_engine.Resume();
    Set({{TV_PROPERTY_AUDIO_PID, 0x101}, {TV_PROPERTY_AUDIO_SINK_MUTE, 1}});
    Program(0x100);
    Play(500);
    EXPECT_EQ(Heard(), "");
    for (const double rate : {1.0, -1.0}) {
        m_engine.SetSpeed(rate);
        Play(500);
        EXPECT_EQ(Heard(), "16");
    }
    m_engine.Seek(kEnd, 1.0);  // the picture that ends the recording is still shown
    Program(0x200);
    Play(500);
    EXPECT_EQ(Heard(), "16 30/0@39920");
}

TEST_F(PlayerTest, StepsGoFromPictureToPictureAndOverTheBorder) {
    WriteBoth();
    Start(19850, 0x100);
    Play(100);
    Heard();
    m_engine.Seek(19850, 1.0);
    for (const int expected : {19880, 19920, 19960, 19960}) {
        ASSERT_EQ(m_engine.Step(), kPlayerOk);
        EXPECT_EQ(m_engine.State().positionMs, expected);
        EXPECT_EQ(m_engine.State().run, Run::Paused);
    }
    Program(0x200);
    Play(1000);
    EXPECT_EQ(Heard(), "30/3@19960 16");
    m_engine.Step();
    EXPECT_EQ(m_engine.State().positionMs, kBorder + kFrameMs);
}

TEST_F(PlayerTest, FollowsAFileThatGrowsAndNoticesOneThatShrinks) {
    const std::size_t part = m_first.size() / 4 + 100;  // ends inside a packet, at 4960 ms
    Write(m_first.substr(0, part));
    Log({{0, 0, Channel(0x100)}});
    Start(4000, 0x100);
    Play(3000);
    EXPECT_EQ(Heard(), "16 30/0@4960");
    EXPECT_EQ(m_engine.State().run, Run::Playing);

    Write(m_first.substr(part), std::ios::app);
    Log({{0, 0, Channel(0x100)}, {kBorder, m_first.size(), Channel(0x200)}});
    Write(m_second, std::ios::app);
    Play(1000);
    EXPECT_EQ(m_engine.State().positionMs, 5960);
    EXPECT_EQ(m_engine.State().durationMs, kEnd);
    EXPECT_EQ(m_engine.Stretches().size(), 2U);
    m_engine.SetSpeed(4.0);
    Play(20000);
    EXPECT_EQ(Heard(), "16 30/3@19960 30/0@39920");

    Write(m_first);
    Play(1000);
    EXPECT_EQ(Heard(), "31/1");
    EXPECT_EQ(m_engine.State().run, Run::Stopped);
    EXPECT_EQ(m_engine.Start(), kPlayerNoSource);
}

TEST_F(PlayerTest, UnusableSourcesAreRefusedAndReported) {
    TvChannelInfo *info = nullptr;
    EXPECT_EQ(m_engine.Start(), kPlayerNoSource) << "no source";
    EXPECT_EQ(Set({{TV_PROPERTY_PVRSRC_URI, m_folder.string()}}), kPlayerOk);
    EXPECT_EQ(m_engine.ChannelInfoAt(0, &info), kPlayerNoSource) << "a folder";
    EXPECT_EQ(m_engine.Ready(), kPlayerNoSource);
    Play(100);
    Write("no transport stream");
    Set({{TV_PROPERTY_PVRSRC_URI, m_path}});
    EXPECT_EQ(m_engine.ChannelInfoAt(0, &info), kPlayerNoChannelInfo);
    EXPECT_EQ(m_engine.Start(), kPlayerNoStream);
    EXPECT_EQ(m_engine.Seek(0, 1.0), kPlayerWrongState);
    Play(100);
    EXPECT_EQ(Heard(), "31/1 31/3");

    WriteBoth();
    Start(0, 0x100);
    EXPECT_EQ(m_engine.Start(), kPlayerWrongState);
    EXPECT_EQ(m_engine.SetSpeed(0), kPlayerBadArgument);
    EXPECT_EQ(m_engine.Seek(0, NAN), kPlayerBadArgument);
    for (const auto &[time, pid] :
         {std::pair{-1, 0x100}, {kBorder - 1, 0x100}, {kBorder, 0x200}, {kEnd * 2, 0x200}}) {
        ASSERT_EQ(m_engine.ChannelInfoAt(time, &info), kPlayerOk);
        EXPECT_EQ(info->videoPid, pid) << time;
    }
}

// --- Through the platform's own calls ------------------------------------------------------------

struct PlayerDeleter {
    void operator()(void *player) const { DestroyPlayer(player); }
};
using PlayerHandle = std::unique_ptr<void, PlayerDeleter>;

TEST(StreamPropertyTest, ListsAreKeptOrRefusedAsAWhole) {
    const PlayerHandle player(CreatePlayer({}));
    void *stream = StreamOf(player.get());
    const char *noText = nullptr;
    EXPECT_EQ(tv_stream_set_property(stream, 104, 1, 9999, 2, 0), kPlayerUnknownProperty);
    EXPECT_EQ(tv_stream_set_property(stream, 104, 1, 1413, 2, 0), kPlayerUnknownProperty);
    EXPECT_EQ(tv_stream_set_property(stream, 104, 1, 801, noText, 0), kPlayerUnknownProperty);
    EXPECT_EQ(GetPlayerState(player.get()).videoPid, -1);
    for (void *object : {static_cast<void *>(nullptr), player.get()}) {
        EXPECT_EQ(tv_stream_set_property(object, 1413, 60, 0), kPlayerNoObject);
        EXPECT_EQ(tv_stream_start(object), kPlayerNoObject);
    }
    EXPECT_EQ(tv_player_pause(stream), kPlayerNoObject);

    EXPECT_TRUE(GetPlayerState(player.get()).sourceMuted);
    ASSERT_EQ(tv_stream_set_property(stream, 103, 1, 104, 2, 109, 3, 134, 4, 302, 1, 307, 5, 314, 6,
                                     320, 7, 406, 1, 509, 8, 602, 1, 603, 1, 801, "/none", 805, 1,
                                     806, 9, 807, 0, 1214, 10, 0),
              kPlayerOk);
    tv_stream_set_kr3d_mode_format(stream, 1, 6);
    tv_stream_set_3d_mode(stream, 1, 11);
    const PlayerState kept = GetPlayerState(player.get());
    const std::vector<int> numbers = {kept.audioPid,   kept.videoPid,     kept.pcrPid,
                                      kept.adPid,      kept.hasVideo,     kept.audioCodec,
                                      kept.stereoMode, kept.videoCodec,   kept.adCodec,
                                      kept.threeDMode, kept.threeDFormat, kept.subVideoPid};
    EXPECT_EQ(numbers, (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 10, 1, 6, 11}));
    EXPECT_TRUE(kept.held && kept.audioMuted && kept.videoMuted && kept.still);
    tv_stream_enable_audio_description(stream, 0x123);
    EXPECT_NE(tv_stream_is_audio_description_enabled(stream), 0);
    EXPECT_EQ(GetPlayerState(player.get()).adPid, 0x123);
    tv_stream_disable_audio_description(stream);
    EXPECT_EQ(tv_stream_is_audio_description_enabled(stream), 0);
}

/// The real clock thread: every kind of call from inside callbacks, and commands beside them.
TEST_F(PlayerTest, CallbacksMayCallEverything) {
    WriteBoth();
    PlayerHandle player(CreatePlayer({/*clockFactor=*/200.0}));
    void *stream = StreamOf(player.get());
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<int> heard;  // callback types; sub-events of callback 30 as negative numbers
    SetPlayerCallback(player.get(), [&](TVCallbackType type, const PlayerMessage &message) {
        long long position = 0, duration = 0;
        EXPECT_EQ(tv_player_get_position(player.get(), &position, &duration), kPlayerOk);
        if (message.subEventType == 3) {
            TvChannelInfo *info = nullptr;
            EXPECT_EQ(tv_stream_get_channel_info(stream, message.timeCode, &info), kPlayerOk);
            tv_stream_set_property(stream, 109, info->pcrPid, 104, info->videoPid, 0);
            tv_player_set_position(player.get(), message.timeCode, 1.0);
        }
        const std::lock_guard<std::mutex> lock(mutex);
        heard.push_back(type == TV_PLAYER_CALLBACK_PVR_PLAYER_APPLICATION ? -message.subEventType
                                                                          : type);
        changed.notify_all();
    });
    const auto waitFor = [&](int what) {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, std::chrono::minutes(1), [&] {
            return std::find(heard.begin(), heard.end(), what) != heard.end();
        });
    };
    tv_stream_set_property(stream, 801, m_path.c_str(), 104, 0x100, 0);
    ASSERT_EQ(tv_stream_start(stream), kPlayerOk);
    ASSERT_TRUE(waitFor(16));
    ASSERT_TRUE(waitFor(0));
    {
        const std::lock_guard<std::mutex> lock(mutex);
        EXPECT_EQ(heard, (std::vector<int>{16, -3, 16, 0}));
        heard.clear();
    }
    ASSERT_EQ(tv_player_set_position(player.get(), kEnd - 1000, -1.0), kPlayerOk);
    ASSERT_TRUE(waitFor(16));
    tv_stream_stop(stream);
    EXPECT_EQ(GetPlayerState(player.get()).run, Run::Stopped);
}

TEST(PlaybackServicesTest, CodecsAreConvertedAndUserDataIsFollowedPerHandle) {
    const auto video = [](unsigned type) {
        return TVPlayerDataUtil::ConvertVideoEncodeType(static_cast<EVideoEncodeType>(type));
    };
    EXPECT_EQ(video(VIDEO_ENCODE_H264), 0x1B);
    EXPECT_EQ(video(77), 0);
    EXPECT_EQ(TVPlayerDataUtil::ConvertAudioEncodeType(AUDIO_ENCODE_AC3), 0x81);
    EXPECT_EQ(TVPlayerDataUtil::ConvertDigitalMTSModeType(MULTI_SOUND_DUAL_RIGHT), 2);

    TIUserDataManager *manager = TIUserDataManager::Instance({PROFILE_TYPE_MAIN, 20});
    EXPECT_EQ(TIUserDataManager::Instance({PROFILE_TYPE_MAIN, 20}), manager);
    int stream = 0;
    EXPECT_EQ(manager->Start(&stream, 1), 1);
    EXPECT_EQ(manager->Start(&stream, 1), 0);
    EXPECT_EQ(TIUserDataManager::Instance({PROFILE_TYPE_PIP, 20})->Stop(), 0);
    EXPECT_EQ(manager->Stop(), 1);
    EXPECT_EQ(manager->Stop(), 0);
}

}  // namespace
