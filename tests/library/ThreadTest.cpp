// Callbacks on one thread while commands run on another; built to run under a thread sanitizer.
#include <thread>

#include "BusMessages.h"
#include "InstanceTest.h"

namespace {

constexpr int kRounds = 300;

std::size_t CountLines(const std::string &text, const std::string &line) {
    std::size_t count = 0;
    for (auto at = text.find(line); at != std::string::npos; at = text.find(line, at + 1))
        ++count;
    return count;
}

TEST_F(PlaybackTest, TakesCallbacksWhileCommandsRun) {
    Fake().channels = {{0, Channel(0x100, 0x101, 0x102)},
                       {20000, Channel(0x200, 0x201, 0x202, VIDEO_ENCODE_H264)}};
    Send("SetProperty /pvr/a.srf");
    const auto call = [this](TVCallbackType type, int subEvent, int time) {
        IMOXPVRPlayback::MOXPVRPlaybackCallbackProperty property{subEvent, time, 0};
        m_instance.DoTvpCallback(type, &property);
    };
    std::thread platform([call] {
        for (int i = 0; i < kRounds; ++i) {
            call(TV_PLAYER_CALLBACK_PVR_PLAYER_APPLICATION, 3, i % 2 * 20000);
            call(TV_PLAYER_CALLBACK_PVR_PLAYER_APPLICATION, 0, 0);
            call(TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE, 0, 0);
        }
    });
    for (int i = 0; i < kRounds; ++i) {
        Send(Format("TrickPlay 0 %d", i % 3 - 1));
        Send(Format("Skip %d 2", i % 2 * 20000));
        Send("SetHandle 5");
        Send(Format("SetProperty /pvr/a.srf %d", i % 2 * 20000));
        m_instance.SetPidProperty(0x100, 0x101, static_cast<unsigned int>(i));
    }
    platform.join();
    const std::string events = Fake().Events();
    EXPECT_EQ(CountLines(events, "010000 "), static_cast<std::size_t>(kRounds));
    EXPECT_EQ(CountLines(events, "030000 "), static_cast<std::size_t>(kRounds));
    call(TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE, 0, 0);  // ends a change that was left over
    Fake().All();
    EXPECT_EQ(Send("TrickPlay 7 1"), 0U);
    EXPECT_NE(Fake().Calls().find("tv_player_set_play_speed(player, 7, 1)\n"), std::string::npos);
}

TEST_F(RecorderTest, TakesCallbacksWhileCommandsRun) {
    Send("SetHandle 5");
    Fake().All();
    const BusMessage message = ApplicationMessage(4);
    std::thread platform([&] {
        TvStreamAsmSoundCommand command{2};
        for (int i = 0; i < kRounds; ++i) {
            Fake().callback(TV_PLAYER_CALLBACK_ASM_COMMAND, Fake().callbackUser, &command);
            Fake().callback(TV_PLAYER_CALLBACK_PVR_RECORDER_APPLICATION, Fake().callbackUser,
                            message.get());
        }
    });
    for (int i = 0; i < kRounds; ++i) {
        Send("SetHandle 5");
        Send("Start");
        Send(Format("UpdateSi 1 %d", i));
        Send("Pause");
    }
    platform.join();
    const std::string events = Fake().Events();
    for (const char *event : {"event 31 059a0000 ", "event 31 05660000 "})
        EXPECT_EQ(CountLines(events, event), static_cast<std::size_t>(kRounds));
    EXPECT_EQ(CountLines(events, "event 32769 "), static_cast<std::size_t>(kRounds));
}

}  // namespace
