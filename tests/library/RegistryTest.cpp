// Entry points, the facade and the registries behind them.
#include "InstanceTest.h"
#include "MoxPvrAPI.h"

namespace {

constexpr MOXHandle kMain{PROFILE_TYPE_MAIN, 0}, kPip{PROFILE_TYPE_PIP, 0};
constexpr MOXHandle kRecord{PROFILE_TYPE_RECORD, 0}, kSecond{PROFILE_TYPE_RECORD, 1};

class RegistryTest : public testing::Test {
  protected:
    void SetUp() override {
        Fake().Reset();
        MoxPvrAPI::GetPlaybackInstance(kMain);  // the registries announce themselves once a process
        MoxPvrAPI::GetRecorderInstance(kRecord);
        Fake().All();
    }
    void TearDown() override {
        for (const MOXHandle handle : {kMain, kPip, kRecord, kSecond})
            EXPECT_EQ(MoxPvrAPI::DestroyPlayback(handle) + MoxPvrAPI::DestroyRecorder(handle), 0);
    }

    static unsigned int Control(decltype(mox_pvr_control_recording) *control, const char *text) {
        std::string request(text);
        unsigned int size = 0;
        unsigned char reply[64];
        return control(8, reinterpret_cast<unsigned char *>(request.data()), size, reply);
    }
};

TEST_F(RegistryTest, RegistersThroughTheEntryPoints) {
    EXPECT_STREQ(mox_pvr_version(), MOXPVR_VERSION);
    EXPECT_EQ(mox_pvr_set_tv_player(nullptr), 0U);
    EXPECT_EQ(mox_pvr_set_tv_stream(kStream), 1U);
    EXPECT_EQ(mox_pvr_set_tv_player(kPlayer), 0U);
    EXPECT_EQ(g_temp_tv_player, kPlayer);
    EXPECT_EQ(mox_pvr_set_tv_stream(nullptr), 1U);
    EXPECT_EQ(MoxPvrAPI::GetPlaybackInstance(kMain), nullptr);
    EXPECT_EQ(mox_pvr_set_tv_stream(kStream), 0U);
    EXPECT_EQ(Fake().All(), Expand("SetPlaybackHandleStream", "(MoxPvrPlayback): ", R"(
log 4 mox_pvr_set_tv_player(MoxPvr): g_temp_tv_player is set as [0x0]
log 4 mox_pvr_set_tv_stream(MoxPvr): g_temp_tv_player stream is set as [stream]
4 this func is started; 16 CMOXPVRPlaybackMgr | invalid parameter playback handle or stream
log 4 mox_pvr_set_tv_player(MoxPvr): g_temp_tv_player is set as [player]
log 4 mox_pvr_set_tv_stream(MoxPvr): g_temp_tv_player stream is set as [0x0]
4 this func is started; 16 CMOXPVRPlaybackMgr | invalid parameter playback handle or stream
log 4 mox_pvr_set_tv_stream(MoxPvr): g_temp_tv_player stream is set as [stream]; 4 this func is started
@Initilize; 4 Initilize | this func is started; 16 [FAT]Initilize | m_tv_player[player]
16 [FAT] Initilize | m_tv_stream[stream]; 4 Initilize | this func is ended
@SetPlaybackHandleStream; 16 this func is ended)"));
    EXPECT_EQ(mox_pvr_set_recorder_handle(nullptr), 1U);
    EXPECT_EQ(mox_pvr_set_recorder_handle(kRecorder), 0U);
    Fake().Name(MoxPvrAPI::GetRecorderInstance(kRecord), "instance");
    EXPECT_EQ(MoxPvrAPI::GetRecorderInstance(kSecond), nullptr);
    EXPECT_EQ(Fake().All(), Expand("SetRecorderHandle", "(MoxPvrRecord): ", R"(
4 this func is started; 16 [FAT] CMOXPVRRecorderMgr | invalid parameter recorder handle
4 this func is started; tv_recorder_set_callback(recorder); 4 this func is ended
@GetRecorderInstance; 2 find recorder pointer [instance])"));
}

TEST_F(RegistryTest, AnswersOnlyForTheFixedHandles) {
    EXPECT_EQ(MoxPvrAPI::SetPlaybackHandleStream(kPip, kPlayer, kStream), 0);
    EXPECT_EQ(MoxPvrAPI::SetRecorderHandle(kSecond, kRecorder, -1), 0);
    Fake().All();
    g_temp_recorder = MoxPvrAPI::GetRecorderInstance(kSecond);
    Fake().All();
    EXPECT_EQ(Control(mox_pvr_control_recording, "06000000"), 9999U);
    EXPECT_EQ(Control(mox_pvr_control_playback, "04000000"), 9999U);
    EXPECT_EQ(mox_pvr_set_playback_pid_property(nullptr, 1, 2, 3), 9999U);
    EXPECT_TRUE(g_temp_recorder == nullptr && g_temp_playback == nullptr);
    EXPECT_EQ(Fake().All(), Expand("mox_pvr_control_recording", "(MoxPvr): ", R"(
16 g_temp_recorder is null, which should be set firstly
@mox_pvr_control_playback; 16 g_temp_playback is null, which should be set firstly
@mox_pvr_set_playback_pid_property; 16 g_temp_playback is null, which should be set firstly)"));

    EXPECT_EQ(MoxPvrAPI::SetPlaybackHandleStream(kMain, kPlayer, kStream), 0);
    EXPECT_EQ(MoxPvrAPI::SetRecorderHandle(kRecord, kRecorder, 1), 0);
    Fake().results = {{"tv_recorder_start", 5}, {"tv_player_pause", 6}};
    EXPECT_EQ(Control(mox_pvr_control_recording, "06000000"), 5U);
    EXPECT_EQ(Control(mox_pvr_control_playback, "04000000"), 6U);
    EXPECT_EQ(g_temp_recorder, MoxPvrAPI::GetRecorderInstance(kRecord));
    EXPECT_EQ(g_temp_playback, MoxPvrAPI::GetPlaybackInstance(kMain));
    Fake().All();
    EXPECT_EQ(mox_pvr_set_playback_pid_property(&Fake(), 0x100, 0x101, 0x102), 0U);
    EXPECT_EQ(Fake().Calls(),
              "tv_stream_set_property(stream, 109=0x102)\n"
              "tv_stream_set_property(stream, 104=0x100)\n");
}

TEST_F(RegistryTest, ReplacesAndDestroysEntries) {
    EXPECT_EQ(MoxPvrAPI::SetRecorderHandle(kRecord, kRecorder, 1), 0);
    EXPECT_EQ(MoxPvrAPI::SetPlaybackHandleStream(kMain, kPlayer, kStream), 0);
    IMOXPVRRecorder *const recorder = MoxPvrAPI::GetRecorderInstance(kRecord);
    IMOXPVRPlayback *const playback = MoxPvrAPI::GetPlaybackInstance(kMain);
    EXPECT_EQ(MoxPvrAPI::SetRecorderHandle(kRecord, kRecorder, 1), 0);
    EXPECT_EQ(MoxPvrAPI::SetPlaybackHandleStream(kMain, kPlayer, kStream), 0);
    EXPECT_NE(MoxPvrAPI::GetRecorderInstance(kRecord), recorder);
    EXPECT_NE(MoxPvrAPI::GetPlaybackInstance(kMain), playback);
    MOXHandle handle{};
    EXPECT_EQ(recorder->GetMoxHandle(handle), 0);  // still alive, now the test's to delete
    EXPECT_EQ(handle, kRecord);
    delete recorder;
    delete playback;
    Fake().All();
    for (int again = 0; again < 2; ++again)
        EXPECT_EQ(MoxPvrAPI::DestroyRecorder(kRecord) + MoxPvrAPI::DestroyPlayback(kMain), 0);
    EXPECT_EQ(Fake().All(), "");
    EXPECT_EQ(MoxPvrAPI::GetRecorderInstance(kRecord), nullptr);
    EXPECT_EQ(MoxPvrAPI::GetPlaybackInstance(kMain), nullptr);
}

TEST_F(RegistryTest, AnnouncesItsEndsAndItsStarts) {
    delete CMOXPVRPlaybackMgr::GetInstance();
    delete CMOXPVRRecorderMgr::GetInstance();
    CMOXPVRPlaybackMgr::GetInstance();
    CMOXPVRRecorderMgr::GetInstance();
    EXPECT_EQ(
        Fake().All(),
        R"(log 4 ~CMOXPVRPlaybackMgr(MoxPvrPlayback): CMOXPVRPlaybackMgr |  destructor playback mgr
log 4 ~CMOXPVRRecorderMgr(MoxPvrRecord): CMOXPVRRecorderMgr |  destructor recorder mgr
log 4 CMOXPVRPlaybackMgr(MoxPvrPlayback): CMOXPVRPlaybackMgr |  constructor playback mgr
log 4 CMOXPVRRecorderMgr(MoxPvrRecord): CMOXPVRRecorderMgr |  constructor recorder mgr
)");
}

TEST(LogLine, NamesAFileWithoutItsFolders) {
    const std::pair<std::string, std::string> rows[] = {
        {"a.cpp", "a.cpp"}, {"/x/a.cpp", "a.cpp"}, {"../x/y/b", "b"}, {"x/", ""}, {"", ""}};
    for (const auto &[path, name] : rows)
        EXPECT_EQ(path.substr(mox::BaseNameAt(path.c_str())), name) << path;
}

TEST(MoxHandle, OrdersByProfileThenSubId) {
    const MOXHandle ascending[] = {{-1, 9}, {0, 0}, {1, 0}, {1, 5}, {1, 65535}, {301, 0}};
    for (const MOXHandle &left : ascending) {
        for (const MOXHandle &right : ascending) {
            EXPECT_EQ(left < right, &left < &right);
            EXPECT_EQ(left == right, &left == &right);
        }
    }
}

}  // namespace
