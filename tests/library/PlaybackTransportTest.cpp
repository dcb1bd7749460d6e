// A playback's life: opening, transport, states and progress.
#include "InstanceTest.h"

namespace {

Request Trick(unsigned int time, double rate) {
    return Request(6).U32(time).F64(rate);
}

TEST_F(PlaybackTest, OpensARecording) {
    Fake().channels[0x1000] = Channel(0x200, 0x201, 0x202, VIDEO_ENCODE_H264, AUDIO_ENCODE_AC3);
    Check("SetProperty", Request(2).Name("/pvr/a.srf").U32(0x1000).U32(0).U32(2), 7,
          {{"tv_stream_set_property", 7}}, R"(4 SetProperty | this func is started
16 SetProperty | Received playback uri is /pvr/a.srf; 16 SetProperty | Received start pos is 4096
16 SetProperty | Received is_timeshift is 0; 16 SetProperty | Received is_pastPlayback is 2
16 SetProperty | Set3DMode off; tv_stream_set_kr3d_mode_format(stream, 0, -1)
tv_stream_set_property(stream, 801="/pvr/a.srf", 806=0x1000, 805=0x0)
tv_stream_get_channel_info(stream, 4096)
16 channel_info_temp->reserved[1]:0; 16 all pids are descrambled
16 [FAT] SetProperty | Video Pid:0x200, Audio Pid:0x201,PCR pid:0x202 audioDecodeType:5 videoType:4
16 m_bIsATV[0], it's not analog recorded file; tv_stream_set_property(stream, 109=0x202, 104=0x200)
tv_stream_set_property(stream, 103=0x201, 307=0x1); 4 SetProperty | this func is ended, result [7])");
    std::string name;
    EXPECT_EQ(m_instance.GetFileName(name), 0U);
    EXPECT_EQ(name, "/pvr/a.srf");
    Fake().All();
    struct Row {
        TvChannelInfo info;
        const char *calls;
        const char *line;
    };
    Row rows[] = {{Channel(0x40, 0x41, 0x40),
                   "109=0x40, 104=0x40)\ntv_stream_set_property(stream, 103=0x41, 307=0x1",
                   "m_bIsATV[1], it's analog recorded file\n"},
                  {Channel(0xFFFF, 0, 0x45), "103=0x0, 307=0x1", "m_bIsATV[0]"},
                  {Channel(0xFFFF, 0x44, 0x45), "109=0x45, 104=0xffff, 103=0x44, 307=0x0",
                   "16 SetProperty(MoxPvrPlayback): only one audio pid is descrambled\n"},
                  {Channel(0x100, 0x101, 0x102), "109=0x102, 104=0x100, 103=0x101, 307=0x0",
                   "audioDecodeType:1 videoType:2"}};  // an audio channel stays one
    rows[2].info.reserved[1] = 3;
    for (const Row &row : rows) {
        Fake().channels = {{0, row.info}};
        Send(Open());
        const std::string journal = Fake().All();
        EXPECT_NE(journal.find(Format("tv_stream_set_property(stream, %s)", row.calls)),
                  std::string::npos)
            << journal;
        EXPECT_NE(journal.find(row.line), std::string::npos) << journal;
    }
}

TEST_F(PlaybackTest, KeepsItsSettingsWhenChannelInformationIsMissing) {
    Fake().channels.clear();
    for (const int result : {0, 5}) {
        Fake().results = {{"tv_stream_get_channel_info", result}};
        EXPECT_EQ(Send(Open()), result == 0 ? 1U : 5U);
        const std::string logs = Fake().Logs();
        EXPECT_NE(
            logs.find(result == 0 ? "log 16 SetProperty(MoxPvrPlayback): SetProperty | "
                                    "channel_info_temp is NULL.\n"
                                  : "log 16 SetProperty(MoxPvrPlayback): [FAT] SetProperty | "
                                    "tv_stream_get_channel_info is called failed, result[5]\n"),
            std::string::npos);
    }
    EXPECT_EQ(m_instance.SetProperty(nullptr), 1U);
    EXPECT_EQ(m_instance.SetHandle(nullptr), 1U);
    EXPECT_EQ(m_instance.TrickPlay(nullptr), 1U);
    EXPECT_EQ(m_instance.Skip(nullptr), 1U);
    EXPECT_EQ(Fake().All(), Expand("SetProperty", FileOf(m_instance), R"(
4 SetProperty | this func is started; 16 SetProperty | struct buf is NULL.
@SetHandle; 4 SetHandle | this func is started, LastModifyDate[2015-03-16 02:45]
@TrickPlay; 4 TrickPlay | this func is started; @Skip; 4 Skip | this func is started)"));
}

TEST_F(PlaybackTest, RunsTheTransport) {
    Check("SetHandle", Request(1).U32(0xFFFFFF05).U64(~0ULL).U32(2), R"(
4 SetHandle | this func is started, LastModifyDate[2015-03-16 02:45]
16 SetHandle | handle [5] is_support_ci[2])");
    Check("Start", Request(3), 4, {{"tv_stream_start", 4}, {"TIUserDataManager::Start", 9}}, R"(
4 Start | this func is started; tv_stream_start(stream); 16 Start | tv_player_start is ended, result [4]
TIUserDataManager(1, 20); TIUserDataManager::Start(stream, 1)
16 Start | TIUserDataManager::Instance()->Start is called, m_tv_stream[stream]bResult[9])");
    Check("Ready", Request(11), 5, {{"tv_player_ready", 5}},
          "tv_player_ready(player); 16 Ready | this func is ended, result [5]");
    Check("Pause", Request(4),
          "tv_player_pause(player); 16 Pause | this func is ended, result [0]");
    Check("Resume", Request(5),
          "tv_player_resume(player); 16 Resume | this func is ended, result [0]");
    Check("TrickPlay", Trick(0xFFFFFFFF, 1.0), 6, {{"tv_player_set_play_speed", 6}}, R"(
4 TrickPlay | this func is started
tv_stream_set_property(stream, 406=0x1); tv_stream_set_property(stream, 603=0x1)
16 TrickPlay | Received the trick play event with rate @mox-pvr 1.000000
tv_player_set_play_speed(player, 4294967295, 1); 16 TrickPlay | this func is ended, result [6])");
    Check("StepFrame", Request(10), 7, {{"tv_player_step_play", 7}}, R"(
4 StepFrame | this func is called; 16 StepFrame | set still mode to 0
tv_stream_set_property(stream, 603=0x0); tv_player_step_play(player)
16 StepFrame | this func is ended, result [7])");
    Fake().position = 0x700000005;
    Fake().duration = -1;
    Check("GetProgress", Request(9), 3, {{"tv_player_get_position", 3}}, R"(
4 GetProgress | this func is started; tv_player_get_position(player)
16 GetProgress | position[30064771077] duration[-1]; 4 GetProgress | this func is ended, result [3])");
    EXPECT_EQ(m_reply, "0300000005000000ffffffff");
    Check("Stop", Request(8), 8, {{"tv_stream_stop", 8}}, R"(
4 Stop | this func is started; TIUserDataManager(1, 20); TIUserDataManager::Stop()
16 TIUserDataManager::Instance()->Stop is called, bResult[0]
tv_stream_stop(stream); 16 Stop | this func is ended, result [8])");
    long position = 0, duration = 0;
    Fake().results = {{"tv_player_get_position", 3}};
    EXPECT_EQ(m_instance.GetPlaybackProgress(position, duration), 0U);
    EXPECT_EQ(Fake().All(), Expand("GetPlaybackProgress", FileOf(m_instance),
                                   "tv_player_get_position(player); 4 position[30064771077] "
                                   "duration[-1]; 4 this func is ended, result [3]"));
    Fake().hasUserDataManager = false;
    EXPECT_EQ(Send(Request(3)) + Send(Request(8)), 0U);
}

TEST_F(PlaybackTest, KeepsWhatSucceededAsItsState) {
    const Request start(3), pause(4), resume(5), stop(8), ready(11);
    struct Row {
        Request request;
        bool fails;
        unsigned int state;
    };
    const Row rows[] = {{start, false, 0}, {ready, false, 0},
                        {resume, true, 0}, {pause, false, 2},
                        {stop, false, 2},  {resume, false, 1},
                        {pause, true, 1},  {Request(1).U32(0).U64(0).U32(0x100), false, 1},
                        {ready, true, 1},  {ready, false, 2},
                        {start, true, 2},  {start, false, 1},
                        {stop, true, 1},   {stop, false, 3},
                        {resume, false, 1}};
    for (const Row &row : rows) {
        for (const char *call : {"tv_stream_start", "tv_player_ready", "tv_player_pause",
                                 "tv_player_resume", "tv_stream_stop"})
            Fake().results[call] = row.fails ? 9 : 0;
        EXPECT_EQ(Send(row.request), row.fails ? 9U : 0U);
        IMOXPVRPlayback::ePvrPlaybackState state{};
        Fake().All();
        EXPECT_EQ(m_instance.GetState(state), 0U);
        EXPECT_EQ(Fake().All(),
                  Format("log 4 GetState(MoxPvrPlayback): m_ePlaybackState[%u]\n", state));
        EXPECT_EQ(state, row.state) << &row - rows;
    }
}

}  // namespace
