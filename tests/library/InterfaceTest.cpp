// What other services ask instances directly, and the bounds of requests.
#include "InstanceTest.h"

namespace {

TEST_F(RecorderTest, AnswersOtherServices) {
    CMOXPVRRecorder fresh;
    std::string name = "?";
    unsigned long long service = 1;
    long position = 1;
    MOXHandle handle{9, 9};
    Fake().position = 0x1FFFFFFFE;
    EXPECT_EQ(fresh.GetFileName(name) + fresh.GetServiceId(service) + fresh.GetMoxHandle(handle),
              0);
    EXPECT_TRUE(name.empty() && service == 0 && handle == (MOXHandle{1, 0}));
    EXPECT_EQ(fresh.GetRecordProgress(position), 1);
    EXPECT_EQ(position, 1);
    EXPECT_EQ(m_instance.GetRecordProgress(position) + m_instance.GetMoxHandle(handle), 0);
    EXPECT_TRUE(position == -2 && handle == (MOXHandle{301, 7}));
    Fake().position = 0;  // nothing is written
    EXPECT_EQ(m_instance.GetRecordProgress(position) + position, 0);
    IMOXPVRRecorder::ePvrRecordState state = IMOXPVRRecorder::E_RECORD_STATE_PENDING;
    EXPECT_EQ(fresh.GetState(state), 0);
    EXPECT_EQ(state, IMOXPVRRecorder::E_RECORD_STATE_NONE);
    fresh.DoTvpCallback(TV_PLAYER_CALLBACK_ASM_COMMAND, nullptr, nullptr);
    Expect("GetFileName", R"(4 this func is started; 4 fileName[]
@GetServiceId; 4 this func is started; 4 ullServiceId[0]; @GetMoxHandle; 4 this func is called
@GetRecordProgress; 4 this func is started; 16 failed [m_handle]\n
4 this func is started; tv_recorder_get_position(recorder); 4 GetProgress | pos[8589934590] duration[0]
4 this func is ended, nResult[0]; @GetMoxHandle; 4 this func is called
@GetRecordProgress; 4 this func is started; tv_recorder_get_position(recorder); 4 GetProgress | pos[0] duration[0]
4 this func is ended, nResult[0]
@GetState; 4 this func is started; 4 m_eRecordState[0]
@DoTvpCallback; 4 DoTvpCallback | this func is started; 4 DoTvpCallback | this func is ended)");
}

TEST_F(PlaybackTest, AnswersOtherServices) {
    CMOXPVRPlayback fresh;
    std::string name = "?";
    MOXHandle handle{9, 9};
    long position = 1, duration = 1;
    std::tie(Fake().position, Fake().duration) = std::pair(30064771077, -1);
    Fake().results = {{"tv_player_get_position", 3}};
    EXPECT_EQ(fresh.GetFileName(name) + fresh.GetMoxHandle(handle), 0U);
    EXPECT_TRUE(name.empty() && handle == (MOXHandle{1, 0}));
    EXPECT_EQ(fresh.GetPlaybackProgress(position, duration), 1U);
    EXPECT_EQ(m_instance.GetPlaybackProgress(position, duration), 0U);
    // As much as the machine's `long` holds: 5 on the TV.
    EXPECT_TRUE(position == static_cast<long>(30064771077) && duration == -1);
    IMOXPVRPlayback::ePvrPlaybackState state = IMOXPVRPlayback::E_PLAYBACK_STATE_PENDING;
    EXPECT_EQ(fresh.GetState(state) + state, 0U);
    EXPECT_EQ(fresh.SetHandle(nullptr) + m_instance.SetProperty(nullptr) +
                  m_instance.TrickPlay(nullptr) + m_instance.Skip(nullptr),
              4U);
    Expect("GetFileName", R"(4 this func is started; 4 fileName[]
@GetPlaybackProgress; 16 failed [m_tv_player]\n; tv_player_get_position(player)
4 position[)" + std::to_string(position) +
                              R"(] duration[-1]; 4 this func is ended, result [3]
@GetState; 4 m_ePlaybackState[0]
@SetHandle; 4 SetHandle | this func is started, LastModifyDate[2015-03-16 02:45]
@SetProperty; 4 SetProperty | this func is started; 16 SetProperty | struct buf is NULL.
@TrickPlay; 4 TrickPlay | this func is started; @Skip; 4 Skip | this func is started)");
    std::tie(Fake().position, Fake().duration) = std::pair(0, 0);  // nothing is written
    EXPECT_EQ(m_instance.GetPlaybackProgress(position, duration), 0U);
    EXPECT_TRUE(position == 0 && duration == 0);
}

TEST_F(RecorderTest, TakesNoMoreThanARecordHolds) {
    std::string update = "UpdateSi 5000";
    for (int pid = 0; pid < 2046; ++pid)
        update += ' ' + std::to_string(0x10000 + pid);
    EXPECT_EQ(Send(update), 0U);
    const std::string calls = Fake().Calls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), '\n'), 2046);
    EXPECT_THAT(calls, testing::EndsWith("(recorder, 49=0x107fd)\n"));
    for (const std::size_t length : {255U, 256U}) {
        for (const std::string command : {"SetSinkProperty ", "SwapTS2Record "}) {
            EXPECT_EQ(Send(command + std::string(length, 'n') + " 0x6e6e6e6e"), 0U);
            std::string name;
            EXPECT_THAT(Fake().Calls(), testing::HasSubstr('"' + std::string(255, 'n') + '"'));
            EXPECT_EQ(m_instance.GetFileName(name), 0);
            EXPECT_EQ(name, std::string(255, 'n'));
        }
    }
}

}  // namespace
