// The built library as a service meets it: loaded by path, reached by symbol names, with other
// definitions of the platform in front of those that it was linked with.
#include <dlfcn.h>
#include <gmock/gmock.h>

#include "FakePlatform.h"

namespace {

using ControlFunction = unsigned int (*)(unsigned int, unsigned char *, unsigned int &,
                                         unsigned char *);
using RegisterFunction = unsigned int (*)(void *);

class PluginTest : public testing::Test {
  protected:
    void SetUp() override {
        Fake().Reset();
        m_library = dlopen(MOXPVR_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(m_library, nullptr) << dlerror();
    }

    void *m_library = nullptr;
};

TEST_F(PluginTest, ShowsItsDocumentedSymbols) {
    for (const char *symbol :
         {"_Z21mox_pvr_set_tv_playerPv", "_Z21mox_pvr_set_tv_streamPv",
          "_Z27mox_pvr_set_recorder_handlePv", "_Z24mox_pvr_control_playbackjPhRjS_",
          "_Z25mox_pvr_control_recordingjPhRjS_", "_Z33mox_pvr_set_playback_pid_propertyPvjjj",
          "_Z19parse_string_to_bufPciPvPi", "_Z23parse_string_to_buf_oldPciPvPi",
          "_Z19build_buf_to_stringPvjS_Pj", "_Z15hex_char_to_intc", "g_temp_tv_player",
          "g_temp_playback", "g_temp_recorder",
          "_ZN9MoxPvrAPI23SetPlaybackHandleStreamE9MOXHandlePvS1_",
          "_ZN9MoxPvrAPI19GetPlaybackInstanceE9MOXHandle",
          "_ZN9MoxPvrAPI15DestroyPlaybackE9MOXHandle",
          "_ZN9MoxPvrAPI17SetRecorderHandleE9MOXHandlePvi",
          "_ZN9MoxPvrAPI19GetRecorderInstanceE9MOXHandle",
          "_ZN9MoxPvrAPI15DestroyRecorderE9MOXHandle"})
        EXPECT_NE(dlsym(m_library, symbol), nullptr) << symbol;
}

TEST_F(PluginTest, RecordsThroughSymbolNames) {
    const auto add =
        reinterpret_cast<RegisterFunction>(dlsym(m_library, "_Z27mox_pvr_set_recorder_handlePv"));
    const auto control =
        reinterpret_cast<ControlFunction>(dlsym(m_library, "_Z25mox_pvr_control_recordingjPhRjS_"));
    ASSERT_TRUE(add != nullptr && control != nullptr);
    EXPECT_EQ(add(kRecorder), 0U);
    EXPECT_EQ(
        Fake().All(),
        R"(log 4 CMOXPVRRecorderMgr(MoxPvrRecord): CMOXPVRRecorderMgr |  constructor recorder mgr
log 4 SetRecorderHandle(MoxPvrRecord): this func is started
tv_recorder_set_callback(recorder)
log 4 SetRecorderHandle(MoxPvrRecord): this func is ended
)");
    for (std::string request :
         {"010000000300000002000000000000000000000000", "06000000", "09000000", "10000000"}) {
        unsigned int size = 0;
        unsigned char reply[9] = {};
        EXPECT_EQ(control(static_cast<unsigned int>(request.size()),
                          reinterpret_cast<unsigned char *>(request.data()), size, reply),
                  0U);
        EXPECT_EQ(size, request[0] == '1' ? 8U : 0U);
    }
    TvStreamAsmSoundCommand command{2};
    Fake().callback(TV_PLAYER_CALLBACK_ASM_COMMAND, Fake().callbackUser, &command);
    const std::string journal = Fake().All();
    for (const char *entry :
         {"log 4 SetHandle(MoxPvrRecord): SetHandle | handle [3] service_id[2] is_support_ci[0]\n",
          "\ntv_recorder_start(recorder)\n", "\ntv_recorder_stop(recorder)\n",
          "\nevent 32769 (301, 0) 00000000 00000000 02000000 00000000\n",
          "\nevent 31 039a0000 00000000 ffffffff ffffffff\n"})
        EXPECT_THAT(journal, testing::HasSubstr(entry));
}

}  // namespace
