// The built library as a service meets it: loaded by path, reached by symbol names, with other
// definitions of the platform in front of those that it was linked with.
#include <dlfcn.h>
#include <gmock/gmock.h>

#include "FakePlatform.h"
#include "MOXHandle.h"

namespace {

using ControlFunction = unsigned int (*)(unsigned int, unsigned char *, unsigned int &,
                                         unsigned char *);
using RegisterFunction = unsigned int (*)(void *);
using DestroyFunction = int (*)(MOXHandle);

class PluginTest : public testing::Test {
  protected:
    void SetUp() override {
        Fake().Reset();
        m_library = dlopen(MOXPVR_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(m_library, nullptr) << dlerror();
    }

    void TearDown() override {
        reinterpret_cast<DestroyFunction>(dlsym(
            m_library, "_ZN9MoxPvrAPI15DestroyRecorderE9MOXHandle"))({PROFILE_TYPE_RECORD, 0});
        EXPECT_EQ(dlclose(m_library), 0);
    }

    void *m_library = nullptr;
};

TEST_F(PluginTest, RecordsThroughSymbolNames) {
    const auto add =
        reinterpret_cast<RegisterFunction>(dlsym(m_library, "_Z27mox_pvr_set_recorder_handlePv"));
    const auto control =
        reinterpret_cast<ControlFunction>(dlsym(m_library, "_Z25mox_pvr_control_recordingjPhRjS_"));
    ASSERT_TRUE(add != nullptr && control != nullptr);
    EXPECT_EQ(add(kRecorder), 0U);
    EXPECT_THAT(Fake().All(), testing::EndsWith(R"(
log 4 SetRecorderHandle(MoxPvrRecord): this func is started
tv_recorder_set_callback(recorder)
log 4 SetRecorderHandle(MoxPvrRecord): this func is ended
)"));
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

TEST_F(PluginTest, KeepsItsInstancesWhenItIsUnloaded) {
    const auto control = [this](std::string request) {
        unsigned int size = 0;
        reinterpret_cast<ControlFunction>(dlsym(m_library, "_Z25mox_pvr_control_recordingjPhRjS_"))(
            8, reinterpret_cast<unsigned char *>(request.data()), size, nullptr);
        return *static_cast<void **>(dlsym(m_library, "g_temp_recorder"));
    };
    reinterpret_cast<RegisterFunction>(dlsym(m_library, "_Z27mox_pvr_set_recorder_handlePv"))(
        kRecorder);
    void *const instance = control("06000000");
    ASSERT_NE(instance, nullptr);
    ASSERT_EQ(dlclose(m_library), 0);
    TvStreamAsmSoundCommand command{2};
    Fake().callback(TV_PLAYER_CALLBACK_ASM_COMMAND, Fake().callbackUser, &command);
    EXPECT_THAT(Fake().Events(), testing::HasSubstr("event 31 009a0000 "));
    m_library = dlopen(MOXPVR_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(m_library, nullptr) << dlerror();
    EXPECT_EQ(control("09000000"), instance);
}

}  // namespace
