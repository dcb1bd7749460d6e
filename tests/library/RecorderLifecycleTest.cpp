// A recorder's life: identity, start to stop, states and the start event.
#include <gmock/gmock.h>

#include "InstanceTest.h"

namespace {

const Request kStart(6), kPause(7), kResume(8), kStop(9), kPreStart(19);

Request SetHandle(unsigned int handle, unsigned long long service, unsigned int ci) {
    return Request(1).U32(handle).U64(service).U32(ci);
}

TEST_F(RecorderTest, GoesFromStartToStop) {
    Check("SetHandle", SetHandle(0xAABBCC03, 1ULL << 33 | 2, 1),
          R"(4 SetHandle | this func is started
4 SetHandle | handle [3] service_id[8589934594] is_support_ci[1])");
    Check("SetDuration", Request(18).U32(60), 4, {{"tv_stream_set_property", 4}}, R"(
4 SetDuration | this func is started; 4 SetDuration | duration[60]
tv_stream_set_property(recorder, 1413=0x3c))");
    Check("Start", kStart, R"(
4 Start | this func is started, LAST_MODIFY_DATE[20150109 2204]; tv_recorder_start(recorder)
4 Start | this func is ended, result [0]
4 TIEventManager::Instance()->Send, event[32769], m_ullServiceID[8589934594], eventData.data.c0[0]
event 32769 (301, 7) 00000000 00000000 02000000 02000000
16 [FAT] Start | send event out with mox-handle successfully)");
    Check("Pause", kPause, 5, {{"tv_recorder_pause", 5}}, R"(4 Pause | this func is started
tv_recorder_pause(recorder); 4 Pause | this func is ended, result [5])");
    Check("Resume", kResume, R"(4 Resume | this func is started
tv_recorder_resume(recorder); 4 Resume | this func is ended, result [0])");
    Check("Stop", kStop, R"(4 Stop | this func is started
tv_recorder_stop(recorder); 4 Stop | this func is ended, result [0])");
    Fake().results["tv_recorder_set_playing_state_for_tuner_and_demuxer"] = 6;
    EXPECT_EQ(Send(kPreStart), 6U);
    EXPECT_THAT(Fake().All(),
                testing::MatchesRegex(
                    ".*log 16 PreStart.MoxPvrRecord.: .FAT. PreStart . this func is started\n"
                    "tv_recorder_set_playing_state_for_tuner_and_demuxer.recorder.\n"
                    "log 16 PreStart.MoxPvrRecord.: [^\n]*6[^\n]*\n"));
}

TEST_F(RecorderTest, StartsWhateverBecomesOfTheEvent) {
    Check("Start", kStart, 5, {{"tv_recorder_start", 5}}, R"(
4 Start | this func is started, LAST_MODIFY_DATE[20150109 2204]; tv_recorder_start(recorder)
4 Start | this func is ended, result [5])");
    Fake().results = {{"Send", 0}};
    EXPECT_EQ(Send(kStart), 0U);
    EXPECT_THAT(Fake().Logs(),
                testing::EndsWith("log 16 Start(MoxPvrRecord): [FAT] Start | send event out with "
                                  "mox-handle failed\n"));
    Fake().hasEventManager = false;
    Check("Start", kStart, R"(
4 Start | this func is started, LAST_MODIFY_DATE[20150109 2204]; tv_recorder_start(recorder)
4 Start | this func is ended, result [0])");
}

TEST_F(RecorderTest, KeepsWhatSucceededAsItsState) {
    struct Row {
        Request request;
        const char *failing;
        unsigned int state;
    };
    const Row rows[] = {{kStop, "", 0},
                        {kStart, "tv_recorder_start", 0},
                        {kPause, "", 2},
                        {kStart, "", 1},
                        {kPause, "tv_recorder_pause", 1},
                        {kPause, "", 2},
                        {kResume, "tv_recorder_resume", 2},
                        {kResume, "", 1},
                        {kStop, "", 1},
                        {SetHandle(1, 2, 0x100), "", 1},
                        {kStop, "tv_recorder_stop", 1},
                        {kStop, "", 3},
                        {SetHandle(1, 2, 0), "", 3},
                        {kStart, "Send", 1},
                        {kStop, "", 1}};
    for (const Row &row : rows) {
        Fake().results = {{row.failing, std::string(row.failing) == "Send" ? 0 : 9}};
        EXPECT_EQ(Send(row.request), std::strlen(row.failing) > 4 ? 9U : 0U);
        IMOXPVRRecorder::ePvrRecordState state{};
        EXPECT_EQ(m_instance.GetState(state), 0);
        EXPECT_EQ(state, row.state) << &row - rows;
    }
}

TEST_F(RecorderTest, TellsWhoItIs) {
    CMOXPVRRecorder fresh;
    std::string name = "?";
    unsigned long long service = 1;
    IMOXPVRRecorder::ePvrRecordState state = IMOXPVRRecorder::E_RECORD_STATE_PENDING;
    MOXHandle handle{9, 9};
    EXPECT_EQ(fresh.GetFileName(name) + fresh.GetServiceId(service) + fresh.GetState(state), 0);
    EXPECT_EQ(fresh.GetMoxHandle(handle), 0);
    EXPECT_TRUE(name.empty() && service == 0 && state == 0 && handle == (MOXHandle{1, 0}));
    fresh.DoTvpCallback(TV_PLAYER_CALLBACK_ASM_COMMAND, nullptr, nullptr);
    EXPECT_EQ(Fake().All(),
              Expand("GetFileName", FileOf(fresh), R"(4 this func is started; 4 fileName[]
@GetServiceId; 4 this func is started; 4 ullServiceId[0]
@GetState; 4 this func is started; 4 m_eRecordState[0]
@GetMoxHandle; 4 this func is called
@DoTvpCallback; 4 DoTvpCallback | this func is started; 4 DoTvpCallback | this func is ended)"));
    EXPECT_EQ(m_instance.GetMoxHandle(handle), 0);
    EXPECT_EQ(handle, (MOXHandle{301, 7}));
}

}  // namespace
