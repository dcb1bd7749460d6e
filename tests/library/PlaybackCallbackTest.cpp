// Callbacks of a playback that no service routes: bus messages, missing records, other types.
#include "InstanceTest.h"
#include "StartGStreamer.h"

namespace {

class PlaybackCallbackTest : public PlaybackTest {
  protected:
    /// The message variant of an unmute, on the playback with the number 5.
    void ExpectUnmute(TVCallbackType type, bool trick) {
        m_instance.UnmuteCB(type, static_cast<GstMessage *>(nullptr));
        Expect("UnmuteCB",
               Format(R"(16 [FAT] UnmuteCB | this func is started
16 UnmuteCB | received event, event_group[773]; event 31 05030000 00000000 00000000 00000000
16 UnmuteCB | send event out successfully
16 [FAT] tv_stream_set_property(TV_PROPERTY_VIDEO_STILL_MODE, %sTV_PROPERTY_VIDEO_SINK_MUTE, TV_PROPERTY_PVRSRC_MUTE) to FALSE
set 603=0x0, %s602=0x0, 807=0x0; 4 UnmuteCB | this func is ended)",
                      trick ? "" : "TV_PROPERTY_AUDIO_SINK_MUTE, ", trick ? "" : "406=0x0, "));
    }
};

TEST_F(PlaybackCallbackTest, UnderstandsBusMessages) {
    StartGStreamer();
    Send("SetHandle 0x105");
    Fake().All();
    const auto post = [this](void (CMOXPVRPlayback::*handler)(GstMessage *), GstMessage *message) {
        (m_instance.*handler)(message);
        gst_message_unref(message);
    };
    const std::pair<int, const char *> applications[] = {
        {0, R"(4 AppCB | received event, handle [5] event [1]; 4 SIGNAL_PVR_SYS_CHANGE[31]
event 31 05010000 00000000 00000000 00000000; 16 AppCB | send event out successfully
4 AppCB | this func is ended)"},
        {3, "2 This is PVRSYS_EVENT_CHANNELCHANGED case just return"},
        {2, "16 AppCB | Invalid event detail type"}};
    for (const auto &[type, journal] : applications) {
        post(&CMOXPVRPlayback::AppCB,
             gst_message_new_application(
                 nullptr, gst_structure_new("pvr", "app_type", G_TYPE_INT, type, nullptr)));
        Expect("AppCB", Format("4 AppCB | this func is started; 4 AppCB | event_type is [%d]\n%s",
                               type, journal));
    }
    const std::pair<int, const char *> errors[] = {
        {1, R"(4 ErrorCB | received event, handle [5] event [51]
event 31 05330000 00000000 00000000 00000000; 16 ErrorCB | send event out successfully
4 ErrorCB | this func is ended)"},
        {2, "16 [FAT] ErrorCB | Invalid event detail type"}};
    GstElement *source = gst_bin_new("pvrsrc0");
    for (const auto &[code, journal] : errors) {
        GError *error = g_error_new(GST_RESOURCE_ERROR, code, "no file");
        post(&CMOXPVRPlayback::ErrorCB, gst_message_new_error(GST_OBJECT(source), error, nullptr));
        g_error_free(error);
        Expect("ErrorCB",
               "4 this func is started; 4 Error received from element pvrsrc0: no file\n" +
                   std::string(journal));
    }
    gst_object_unref(source);
    GstMessage *const none = nullptr;
    for (const double rate : {2.0, 1.0}) {
        Send(Format("TrickPlay 0 %g", rate));
        Fake().All();
        for (const bool trick : {rate != 1.0, false})  // the unmute ends the trick mode
            ExpectUnmute(TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE, trick);
    }
    m_instance.AppCB(none);
    m_instance.ErrorCB(none);
    m_instance.UnmuteCB(TV_PLAYER_CALLBACK_AUDIODEC_AUDIO_INFO_LOCK, none);
    Expect("AppCB", R"(4 AppCB | this func is started; 16 failed [param]\n
@ErrorCB; 4 this func is started; 16 failed [param]\n
@UnmuteCB; 16 [FAT] UnmuteCB | this func is started; 16 Receive event [23])");
    Open(Channel(0, 0x44, 0x45));
    ExpectUnmute(TV_PLAYER_CALLBACK_AUDIODEC_AUDIO_INFO_LOCK, false);
    m_instance.UnmuteCB(TV_PLAYER_CALLBACK_PVR_PLAYER_APPLICATION, none);
    Expect("UnmuteCB", "16 [FAT] UnmuteCB | this func is started; 16 Receive event [30]");
}

TEST_F(PlaybackCallbackTest, RefusesMissingRecordsAndOtherTypes) {
    m_instance.DoTvpCallback(TV_PLAYER_CALLBACK_PVR_PLAYER_APPLICATION, nullptr);
    m_instance.DoTvpCallback(TV_PLAYER_CALLBACK_PVR_PLAYER_ERROR, nullptr);
    m_instance.DoTvpCallback(TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE, nullptr, nullptr);
    IMOXPVRPlayback::MOXPVRPlaybackCallbackProperty *const none = nullptr;
    m_instance.UnmuteCB(TV_PLAYER_CALLBACK_PVR_PLAYER_ERROR, none);
    Expect("DoTvpCallback", R"(2 [FAT] NEW!!! DoTvpCallback | this func is started !!!NEW
@AppCB; 4 AppCB | this func is started; 16 [FAT] AppCB | Error : pCallbackProperty is NULL
@DoTvpCallback; 4 this func is ended; 2 [FAT] NEW!!! DoTvpCallback | this func is started !!!NEW
@ErrorCB; 4 this func is started; 16 [FAT] ErrorCB | Error : pCallbackProperty is NULL
@DoTvpCallback; 4 this func is ended
16 DoTvpCallback | this func is started; 4 DoTvpCallback | this func is ended
@UnmuteCB; 2 [FAT] UnmuteCB | this func is started; 16 Error : Received event [31])");
}

}  // namespace
