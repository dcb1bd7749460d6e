// What a recorder makes of its platform's messages, with real GStreamer messages.
#include "InstanceTest.h"
#include "StartGStreamer.h"

namespace {

class RecorderCallbackTest : public RecorderTest {
  protected:
    static void SetUpTestSuite() { StartGStreamer(); }

    void SetUp() override {
        RecorderTest::SetUp();
        Send("SetHandle 0x105");
        Fake().All();
        m_source = gst_bin_new("demux0");
    }
    void TearDown() override { gst_object_unref(m_source); }

    GstMessage *Application(int type, int param) const {
        return gst_message_new_application(
            GST_OBJECT(m_source), gst_structure_new("pvr", "app_type", G_TYPE_INT, type,
                                                    "app_param", G_TYPE_INT, param, nullptr));
    }

    GstMessage *Error(int code, const char *debug = "debug") const {
        GError *error = g_error_new(GST_RESOURCE_ERROR, code, "disk gone");
        GstMessage *message = gst_message_new_error(GST_OBJECT(m_source), error, debug);
        g_error_free(error);
        return message;
    }

    /// Calls back and compares what lies between the lines of the router.
    void Post(int type, void *param, const std::string &journal) {
        Fake().callback(static_cast<TVCallbackType>(type), Fake().callbackUser, param);
        EXPECT_EQ(Fake().All(),
                  Expand("RecordCB", FileOf(m_instance),
                         Format(R"(4 RecordCB | this func is started
4 TVCallbackType values: TV_PLAYER_CALLBACK_PVR_RECORDER_APPLICATION[32], TV_PLAYER_CALLBACK_PVR_RECORDER_ERROR[33],  TV_PLAYER_CALLBACK_ASM_COMMAND[34]
4 RecordCB | received callback event, callback_type [%d]
)",
                                type) +
                             journal + "\n@RecordCB; 4 RecordCB | this func is ended"));
    }

    void Post(int type, GstMessage *message, const std::string &journal) {
        Post(type, static_cast<void *>(message), journal);
        gst_message_unref(message);
    }

    GstElement *m_source = nullptr;
};

TEST_F(RecorderCallbackTest, TurnsMessagesIntoEvents) {
    const std::string app = "@AppCB; 4 AppCB | this func is started; 4 AppCB | event type ";
    Post(32, Application(4, 9),
         app + R"([4]; 4 AppCB | app_type[4] app_param[9], c0[5] c1[102] L1[9]
event 31 05660000 09000000 ffffffff ffffffff
4 AppCB | send event out successfully; 4 AppCB | this func is ended)");
    Post(32, Application(3, 0), app + "[3]; 16 [FAT] AppCB | Invalid event detail type");
    Post(32, Error(2), app + "[0]; 16 [FAT] AppCB | Invalid event detail type");

    const std::string error = "@ErrorCB; 4 ErrorCB | this func is started";
    testing::internal::CaptureStderr();
    Post(33, Error(2), error + R"(; 4 ErrorCB | error code is [2]
4 ErrorCB | received event, handle [5] event [152]; event 31 05980000 00000000 00000000 00000000
4 ErrorCB | send event out successfully; 4 ErrorCB | this func is ended)");
    Post(33, Error(1),
         error +
             "; 4 ErrorCB | error code is [1]; "
             "16 [FAT] ErrorCB | Invalid event detail type");
    Post(33, Error(2, nullptr), error);
    Post(33, Application(2, 0), error);
    const std::string line = "ErrorCB | Error received from element demux0: disk gone\n";
    EXPECT_EQ(testing::internal::GetCapturedStderr(), line + line);

    const std::string sound =
        "@AsmCB; 4 AsmCB | this func is started; "
        "4 AsmCB | eTvStreamAsmSoundCommand";
    TvStreamAsmSoundCommand command{2};
    Post(34, &command, sound + R"([2]; 4 AsmCB | eTvStreamAsmSoundCommand[2], c0[5] c1[154] L1[0]
event 31 059a0000 00000000 ffffffff ffffffff; 4 AsmCB | send event out successfully)");
    command.command = 1;
    Post(34, &command, sound + "[1]; 4 Unknown TvStreamAsmSoundCommand");
    Post(35, &command, "16 [FAT] Unknow callback type");
}

TEST_F(RecorderCallbackTest, NumbersDetailsAndReportsRefusedEvents) {
    TvStreamAsmSoundCommand command{2};
    const auto post = [](int type, void *param) {
        Fake().callback(static_cast<TVCallbackType>(type), Fake().callbackUser, param);
        if (type != 34)
            gst_message_unref(static_cast<GstMessage *>(param));
    };
    post(32, Application(2, 0x01020304));
    post(33, Error(0));
    post(33, Error(4));
    EXPECT_EQ(Fake().Events(), R"(event 31 05650000 04030201 ffffffff ffffffff
event 31 05970000 00000000 00000000 00000000
event 31 05990000 00000000 00000000 00000000
)");
    for (const bool hasManager : {true, false}) {
        Fake().hasEventManager = hasManager;
        Fake().results = {{"Send", 0}};
        post(32, Application(2, 0));
        post(33, Error(0));
        post(34, &command);
        const std::string logs = Fake().Logs();
        for (const char *failure :
             {"16 AppCB(MoxPvrRecord): [FAT] AppCB | send event failed\n",
              "16 ErrorCB(MoxPvrRecord): [FAT] ErrorCB | send event out failed\n",
              "16 AsmCB(MoxPvrRecord): [FAT] AsmCB | send event failed\n"})
            EXPECT_NE(logs.find(failure), std::string::npos) << failure;
    }
}

TEST_F(RecorderCallbackTest, RefusesMissingParameters) {
    TvStreamAsmSoundCommand command{2};
    Fake().callback(TV_PLAYER_CALLBACK_PVR_RECORDER_ERROR, &m_instance, nullptr);
    Fake().callback(TV_PLAYER_CALLBACK_ASM_COMMAND, nullptr, &command);
    m_instance.AppCB(nullptr);
    m_instance.ErrorCB(nullptr);
    m_instance.AsmCB(nullptr);
    EXPECT_EQ(Fake().All(), Expand("RecordCB", FileOf(m_instance), R"(
4 RecordCB | this func is started; 16 failed [param]\n
4 RecordCB | this func is started; 16 RecordCB | recorder pointer is null
@AppCB; 4 AppCB | this func is started; 16 failed [param]\n
@ErrorCB; 4 ErrorCB | this func is started; 16 failed [param]\n
@AsmCB; 4 AsmCB | this func is started; 16 failed [param]\n)"));
}

}  // namespace
