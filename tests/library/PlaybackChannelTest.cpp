// Channel changes inside a recording, walked through as one chain of states.
#include "InstanceTest.h"

namespace {

/// A recording of four stretches: A, B with other codecs, C audio only, D like A but for the audio.
class ChannelTest : public PlaybackTest {
  protected:
    void SetUp() override {
        PlaybackTest::SetUp();
        Fake().channels[20000] = Channel(0x200, 0x201, 0x202, VIDEO_ENCODE_H264, AUDIO_ENCODE_AC3);
        Fake().channels[40000] = Channel(0xFFFF, 0x44, 0x45);
        Fake().channels[60000] = Channel(0x100, 0x301, 0x302);
        Send(Open());
        Fake().All();
    }

    static Request Skip(unsigned int time, double rate) { return Request(7).U32(time).F64(rate); }
    static Request Trick(double rate) { return Request(6).U32(0).F64(rate); }

    /// Crosses into another stretch. @return the time code as the callback leaves it
    int Cross(int time) {
        IMOXPVRPlayback::MOXPVRPlaybackCallbackProperty property{3, time, 0};
        m_instance.DoTvpCallback(TV_PLAYER_CALLBACK_PVR_PLAYER_APPLICATION, &property);
        return property.timeCode;
    }

    void Crossed(const char *journal) {
        EXPECT_EQ(Fake().All(),
                  Expand("DoTvpCallback", FileOf(m_instance),
                         std::string("2 [FAT] NEW!!! DoTvpCallback | this func is started !!!NEW; "
                                     "@AppCB; 4 AppCB | this func is started\n") +
                             journal + "\n@DoTvpCallback; 4 this func is ended"));
    }

    /// Unmutes and tells whether that moved the player, and where to.
    void UnmuteMovesTo(const std::string &place) {
        Fake().All();
        Callback(TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE);
        EXPECT_EQ(Fake().Calls(),
                  "tv_stream_set_property(stream, 807=0x0)\n" +
                      (place.empty() ? "tv_stream_set_property(stream, 603=0x0, 302=0x0)\n"
                                     : "tv_player_set_position(player, " + place + ")\n"));
    }
};

TEST_F(ChannelTest, SkipsWithinAndAcrossStretches) {
    Check("Skip", Skip(61000, 2.0), 3, {{"tv_player_set_position", 3}},
          R"(4 Skip | this func is started
@ResetChannel; 16 [FAT] ResetChannel started, new_time = 61000; tv_stream_get_channel_info(stream, 61000)
4 [ZZZ] Video Pid:256, Audio Pid:769,PCR pid:770 audioDecodeType:1 videoType:2
16 [ZZZ] | channel info same vpid = [256],vtype = [2]
@Skip; 16 [ZZZ]channel not change, do skip; tv_player_set_position(player, 61000, 2)
4 Skip | this func is ended, result [3])");
    UnmuteMovesTo("");
    Fake().All();
    Check("Skip", Skip(20001, -4.0), 0, {{"tv_stream_set_property", 9}},
          R"(4 Skip | this func is started
@ResetChannel; 16 [FAT] ResetChannel started, new_time = 20001; tv_stream_get_channel_info(stream, 20001)
4 [ZZZ] Video Pid:512, Audio Pid:513,PCR pid:514 audioDecodeType:5 videoType:4
tv_stream_set_property(stream, 109=0x202, 104=0x200); tv_stream_set_property(stream, 103=0x201, 307=0x1)
tv_player_set_position(player, 20001, 1); 16 [ZZZ] A&V, set Atype = 8197, Vtype = 4100
tv_stream_set_property(stream, 314=0x2005); tv_stream_set_property(stream, 509=0x1004)
4 [ZZZ] ResetChannel end, result [9]
@Skip; 16 [ZZZ]| skip meet new channel,time [20001], needUmute=[1]; 4 Skip | this func is ended, result [0])");
    Check("Skip", Skip(0, 1.0), R"(4 Skip | this func is started
16 [ZZZ]Previous CHANNELCHANGED not finished: 1, ignore pause)");
    Check("TrickPlay", Trick(1.0), R"(4 TrickPlay | this func is started
16 [ZZZ]Previous CHANNELCHANGED not finished: 1, ignore trick)");
    EXPECT_EQ(Send(Request(8)), 0U);  // not even a stop ends the change
    Fake().All();
    EXPECT_EQ(Cross(30000), 30000);
    Crossed(
        R"(16 [FAT] AppCB | SubEventType[3], timeCode[30000]; 16 [ZZZ]PVRSYS_EVENT_CHANNELCHANGED 30000
16 [ZZZ]Previous CHANNELCHANGED not finished: 1)");
    UnmuteMovesTo("20001, -4");
    UnmuteMovesTo("");
    EXPECT_EQ(Send(Skip(0, 1.0)), 0U);  // another stretch at 1.0 keeps the rate asked for before
    UnmuteMovesTo("");
    EXPECT_EQ(Cross(30000), 20000);
    UnmuteMovesTo("30000, -4");
    Fake().results = {{"tv_stream_get_channel_info", 5}};
    Check("Skip", Skip(0xFFFFFFFF, 0.5), 0, {{"tv_stream_get_channel_info", 5}}, R"(
4 Skip | this func is started; @ResetChannel; 16 [FAT] ResetChannel started, new_time = -1
tv_stream_get_channel_info(stream, -1); 4 [ZZZ]get channel info failed, result[5]
@Skip; 16 [ZZZ]| skip meet new channel,time [-1], needUmute=[1]; 4 Skip | this func is ended, result [0])");
    UnmuteMovesTo("4294967295, 0.5");
    Fake().results.clear();
    EXPECT_EQ(Send(Skip(0xFFFFFFFF, 2.0)), 0U);  // no record there: as if it were another stretch
    UnmuteMovesTo("4294967295, 2");
}

TEST_F(ChannelTest, CrossesStretches) {
    EXPECT_EQ(Cross(40000), 40000);
    Crossed(
        R"(16 [FAT] AppCB | SubEventType[3], timeCode[40000]; 16 [ZZZ]PVRSYS_EVENT_CHANNELCHANGED 40000
16 [ZZZ]reset channel to: 40000, needUmute:0
@ResetChannel; 16 [FAT] ResetChannel started, new_time = 40000; tv_stream_get_channel_info(stream, 40000)
4 [ZZZ] Video Pid:65535, Audio Pid:68,PCR pid:69 audioDecodeType:1 videoType:2; 16 [ZZZ]audio only case
tv_stream_set_property(stream, 109=0x45, 104=0xffff, 103=0x44, 307=0x0)
tv_player_set_position(player, 40000, 1); 16 [ZZZ] audio only, set Atype = 8193
tv_stream_set_property(stream, 314=0x2001); 4 [ZZZ] ResetChannel end, result [0])");
    Callback(TV_PLAYER_CALLBACK_AUDIODEC_AUDIO_INFO_LOCK);
    EXPECT_EQ(Fake().Calls(), "");  // opened with video, so it is no audio channel
    struct Row {
        double rate;
        int time, resetTo;
        const char *unmuteMovesTo;
    };
    const Row rows[] = {{1.0, 0, 0, ""},
                        {1.0, 0, 0, ""},
                        {4.0, 20000, 20000, "20000, 4"},
                        {0.5, 5000, 5000, "5000, 0.5"},
                        {-4.0, 25000, 15000, "25000, -4"},
                        {-0.5, 10001, 1, "10001, -0.5"},
                        {-1.0, 10000, 0, "10000, -1"}};
    for (const Row &row : rows) {
        EXPECT_EQ(Send(Trick(row.rate)), 0U);
        Fake().All();
        EXPECT_EQ(Cross(row.time), row.resetTo);
        const std::string calls = Fake().Calls();
        EXPECT_EQ(
            calls.find(Format("tv_stream_get_channel_info(stream, %d)\ntv_stream_set_property("
                              "stream, 109=",
                              row.resetTo)),
            0U)
            << calls;
        EXPECT_NE(calls.find(Format("tv_player_set_position(player, %d, 1)\n", row.resetTo)),
                  std::string::npos)
            << calls;
        UnmuteMovesTo(row.unmuteMovesTo);
    }
}

}  // namespace
