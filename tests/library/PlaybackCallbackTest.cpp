// What a playback makes of its platform's callbacks, and of bus messages.
#include <gst/gst.h>

#include "InstanceTest.h"

namespace {

class PlaybackCallbackTest : public PlaybackTest {
  protected:
    void SetUp() override {
        gst_init(nullptr, nullptr);
        PlaybackTest::SetUp();
        Send(Request(1).U32(0x105));
        Send(Open());
        Fake().All();
    }

    void Expect(const char *operation, const std::string &journal) {
        EXPECT_EQ(Fake().All(), Expand(operation, FileOf(m_instance), journal));
    }

    /// Expects what one callback leaves between the lines of the router.
    void Routed(const std::string &journal) {
        Expect("DoTvpCallback", "2 [FAT] NEW!!! DoTvpCallback | this func is started !!!NEW\n" +
                                    journal + "\n@DoTvpCallback; 4 this func is ended");
    }

    void Post(void (CMOXPVRPlayback::*handler)(GstMessage *), GstMessage *message) {
        (m_instance.*handler)(message);
        gst_message_unref(message);
    }
};

const std::string kUnmuted = R"(4 UnmuteCB | received event, event_group[773]
event 31 05030000 00000000 00000000 00000000; 4 UnmuteCB | send event out successfully
16 [FAT] tv_stream_set_property( TV_PROPERTY_PVRSRC_MUTE) to FALSE; tv_stream_set_property(stream, 807=0x0)
)";

TEST_F(PlaybackCallbackTest, UnmutesByKindOfRecording) {
    const std::string video =
        "@UnmuteCB; 2 [FAT] UnmuteCB | this func is started; "
        "16 [FAT] UnmuteCB | TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE\n";
    const std::string audio =
        "@UnmuteCB; 2 [FAT] UnmuteCB | this func is started; "
        "16 [FAT] UnmuteCB | TV_PLAYER_CALLBACK_AUDIODEC_AUDIO_INFO_LOCK\n";
    const std::string shown = "tv_stream_set_property(stream, 603=0x0, 302=0x0)\n";
    const std::string ended = "4 UnmuteCB | this func is ended";
    const auto crossAt = [this](double rate) {
        Send(Request(6).U32(0).F64(rate));
        Callback(30, 3, 5000);
        Fake().All();
    };
    Callback(16);
    Routed(video + kUnmuted + "16 It's not analog recorded file\n" + shown + ended);
    Callback(23);
    Routed(audio + "16 [FAT] UnmuteCB | This is not Audio ch. so just skip");
    crossAt(2.5);
    Callback(16);
    Routed(video + kUnmuted + R"(16 [ZZZ]channel change case, donot umute
16 [ZZZ]channel change umute, recover speed:2.500000, time:5000; tv_player_set_position(player, 5000, 2.5)
)" + ended);
    OpenAt(Channel(0x40, 0x41, 0x40));
    crossAt(-2.0);
    Callback(16);
    Routed(video + kUnmuted + "16 It's analog recorded file\n" + shown +
           "16 [ZZZ]channel change umute, recover speed:-2.000000, time:5000; "
           "tv_player_set_position(player, 5000, -2)\n" +
           ended);
    OpenAt(Channel(0, 0x44, 0x45));
    Callback(23);
    Routed(audio + "16 [FAT] UnmuteCB | This is Audio ch. Send UNMUTE event\n" + kUnmuted +
           "16 It's not analog recorded file\n" + shown + ended);
    for (const int type : {0, 15, 17, 22, 24, 29, 32, 34}) {
        Callback(type);
        Routed("");
    }
    m_instance.UnmuteCB(static_cast<TVCallbackType>(30), static_cast<GstMessage *>(nullptr));
    Expect("UnmuteCB", "16 [FAT] UnmuteCB | this func is started; 16 Receive event [30]");
    IMOXPVRPlayback::MOXPVRPlaybackCallbackProperty *const none = nullptr;
    m_instance.UnmuteCB(static_cast<TVCallbackType>(30), none);
    Expect("UnmuteCB", "2 [FAT] UnmuteCB | this func is started; 16 Error : Received event [30]");
    m_instance.DoTvpCallback(static_cast<TVCallbackType>(16), nullptr, nullptr);
    Expect("DoTvpCallback",
           "16 DoTvpCallback | this func is started; 4 DoTvpCallback | this func is ended");
}

TEST_F(PlaybackCallbackTest, ForwardsApplicationEventsAndErrors) {
    Callback(30, 1, 7);
    Routed(R"(@AppCB; 4 AppCB | this func is started; 16 [FAT] AppCB | SubEventType[1], timeCode[7]
4 AppCB | received event, handle [5] event [2]; 4 SIGNAL_PVR_SYS_CHANGE[31]
event 31 05020000 00000000 00000000 00000000; 4 AppCB | send event out successfully; 4 AppCB | this func is ended)");
    Callback(30, 2, 7);
    Routed(R"(@AppCB; 4 AppCB | this func is started; 16 [FAT] AppCB | SubEventType[2], timeCode[7]
16 AppCB | Invalid event detail type)");
    m_instance.DoTvpCallback(TV_PLAYER_CALLBACK_PVR_PLAYER_APPLICATION, nullptr);
    Routed(
        "@AppCB; 4 AppCB | this func is started; 16 [FAT] AppCB | Error : pCallbackProperty is "
        "NULL");
    Callback(31, 0, 0, 3);
    Routed(R"(@ErrorCB; 4 this func is started; 16 [FAT] ErrorCB | errCode[3]
4 ErrorCB | received event, handle [5] event [52]; event 31 05340000 00000000 00000000 00000000
4 ErrorCB | send event out successfully; 4 ErrorCB | this func is ended)");
    Callback(31, 0, 0, 2);
    Routed(R"(@ErrorCB; 4 this func is started; 16 [FAT] ErrorCB | errCode[2]
16 [FAT] ErrorCB | Invalid event detail type)");
    m_instance.DoTvpCallback(TV_PLAYER_CALLBACK_PVR_PLAYER_ERROR, nullptr);
    Routed(
        "@ErrorCB; 4 this func is started; 16 [FAT] ErrorCB | Error : pCallbackProperty is NULL");
    for (const bool hasManager : {true, false}) {
        Fake().hasEventManager = hasManager;
        Fake().results = {{"Send", 0}};
        Callback(30, 0);
        Callback(31, 0, 0, 1);
        Callback(16);
        const std::string journal = Fake().All();
        EXPECT_EQ(journal.find("05010000") != std::string::npos, hasManager);
        EXPECT_EQ(journal.find("05330000") != std::string::npos, hasManager);
        for (const char *line : {"16 AppCB(MoxPvrPlayback): AppCB | send event out failure\n",
                                 "4 ErrorCB(MoxPvrPlayback): ErrorCB | send event out failed\n",
                                 "4 UnmuteCB(MoxPvrPlayback): UnmuteCB | send event out failed\n"})
            EXPECT_NE(journal.find(line), std::string::npos) << line;
    }
}

TEST_F(PlaybackCallbackTest, UnderstandsBusMessages) {
    void (CMOXPVRPlayback::*const app)(GstMessage *) = &CMOXPVRPlayback::AppCB;
    void (CMOXPVRPlayback::*const error)(GstMessage *) = &CMOXPVRPlayback::ErrorCB;
    const auto applicationMessage = [](int type) {
        return gst_message_new_application(
            nullptr, gst_structure_new("pvr", "app_type", G_TYPE_INT, type, nullptr));
    };
    const std::string appStart = "4 AppCB | this func is started; 4 AppCB | event_type is ";
    Post(app, applicationMessage(0));
    Expect("AppCB", appStart + R"([0]; 4 AppCB | received event, handle [5] event [1]
4 SIGNAL_PVR_SYS_CHANGE[31]; event 31 05010000 00000000 00000000 00000000
16 AppCB | send event out successfully; 4 AppCB | this func is ended)");
    Post(app, applicationMessage(3));
    Expect("AppCB", appStart + "[3]; 2 This is PVRSYS_EVENT_CHANNELCHANGED case just return");
    Post(app, applicationMessage(2));
    Expect("AppCB", appStart + "[2]; 16 AppCB | Invalid event detail type");
    GstElement *source = gst_bin_new("pvrsrc0");
    for (const int code : {1, 2, 3}) {
        GError *reason = g_error_new(GST_RESOURCE_ERROR, code, "no file");
        Post(error, gst_message_new_error(GST_OBJECT(source), reason, nullptr));
        g_error_free(reason);
        const std::string start =
            "4 this func is started; 4 Error received from element pvrsrc0: no file\n";
        const int event = code == 1 ? 51 : 52;
        Expect("ErrorCB",
               start + (code == 2 ? "16 [FAT] ErrorCB | Invalid event detail type"
                                  : Format(R"(4 ErrorCB | received event, handle [5] event [%d]
event 31 05%02x0000 00000000 00000000 00000000; 16 ErrorCB | send event out successfully
4 ErrorCB | this func is ended)",
                                           event, event)));
    }
    gst_object_unref(source);
    (m_instance.*app)(nullptr);
    (m_instance.*error)(nullptr);
    Expect("AppCB", R"(4 AppCB | this func is started; 16 failed [param]\n
@ErrorCB; 4 this func is started; 16 failed [param]\n)");
    EXPECT_EQ(Send(Request(6).U32(0).F64(2.0)), 0U);
    Fake().All();
    for (const std::string muted : {"", "406=0x0, "}) {  // trick mode first, gone the second time
        m_instance.UnmuteCB(TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE, static_cast<GstMessage *>(nullptr));
        Expect("UnmuteCB", R"(16 [FAT] UnmuteCB | this func is started
16 UnmuteCB | received event, event_group[773]; event 31 05030000 00000000 00000000 00000000
16 UnmuteCB | send event out successfully
16 [FAT] tv_stream_set_property(TV_PROPERTY_VIDEO_STILL_MODE, )" +
                               std::string(muted.empty() ? "" : "TV_PROPERTY_AUDIO_SINK_MUTE, ") +
                               "TV_PROPERTY_VIDEO_SINK_MUTE, TV_PROPERTY_PVRSRC_MUTE) to FALSE\n"
                               "tv_stream_set_property(stream, 603=0x0, " +
                               muted +
                               "602=0x0, 807=0x0); "
                               "4 UnmuteCB | this func is ended");
    }
}

}  // namespace
