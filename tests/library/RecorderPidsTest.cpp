// What a recorder programs: PIDs, channel information and the analogue set-up.
#include <gmock/gmock.h>

#include "InstanceTest.h"

namespace {

using testing::HasSubstr;

Request Demux(unsigned int video, unsigned int audio, unsigned int threeD = 0,
              unsigned int subVideo = 0, unsigned int description = 0) {
    return Request(2).U32(audio).U32(video).U32(0x102).U32(threeD).U32(subVideo).U32(description);
}

TEST_F(RecorderTest, ProgramsUpdatesAndClearsPids) {
    Check("SetDemuxProperty", Demux(0x100, 0x101, 0, 0x103, 0x104), 8,
          {{"tv_recorder_set_property", 8}}, R"(4 this func is started
16 [FAT] SetDemuxProperty | Received demux video pid is 0x100; 16 [FAT] SetDemuxProperty | audio_pid is 0x101
16 [FAT] SetDemuxProperty | Received demux pcr pid  is 0x102; 4 normal situation
16 [FAT]there exist audio description pid:0x104
tv_recorder_set_property(recorder, 29=0x102, 25=0x100, 24=0x101, 49=0x104)
4 SetDemuxProperty | tv_recorder_set_property, result[8]
16 ===============now the pid info===============; 16 demux property index [0], pid [0x100]
16 demux property index [1], pid [0x102]; 16 demux property index [2], pid [0x101]
16 ==============================================
4 SetDemuxProperty | this func is ended, result[8])");
    Check("UpdateSi", Request(12).U32(3).U32(0x100).U32(0x100).U32(0x301), 7,
          {{"tv_recorder_set_property", 7}}, R"(2 this func is started
tv_recorder_set_property(recorder, 49=0x100)
16 [FAT] tv_recorder_set_property set pid[0x100] index[0], pid num [3], result[7]
tv_recorder_set_property(recorder, 49=0x301)
16 [FAT] tv_recorder_set_property set pid[0x301] index[2], pid num [3], result[7]
2 [FAT] ===============now the pid info===============; 2 [FAT] demux property index [0], pid [0x100]
2 [FAT] demux property index [1], pid [0x102]; 2 [FAT] demux property index [2], pid [0x101]
2 [FAT] demux property index [3], pid [0x100]; 2 [FAT] demux property index [4], pid [0x301]
2 [FAT] ==============================================; 2 this func is ended, result[7])");
    for (const Request &nothingNew : {Request(12).U32(2).U32(0x301).U32(0x100), Request(12).U32(0),
                                      Request(12).U32(~0U).U32(0x500)}) {
        EXPECT_EQ(Send(nothingNew), 0U);
        const std::string journal = Fake().All();
        EXPECT_EQ(journal.find("tv_"), std::string::npos);
        EXPECT_THAT(journal, HasSubstr("index [4], pid [0x301]"));
    }
    Fake().results = {{"tv_recorder_set_property", 6}};
    EXPECT_EQ(Send(Request(14)), 6U);
    std::string removed;
    for (const char *pid : {"0x100", "0x102", "0x101", "0x100", "0x301"})
        removed += Format("tv_recorder_set_property(recorder, 28=%s)\n", pid);
    EXPECT_EQ(Fake().Calls(), removed);
    Fake().results.clear();
    EXPECT_EQ(Send(Request(12).U32(1).U32(0x301)), 0U);
    Fake().All();
    Check("ClearDemuxInfo", Request(14), R"(4 ClearDemuxInfo | this func is started
16 ===============now the pid info===============; 16 demux property index [0], pid [0x301]
16 ==============================================; 16 [FAT] the pid size is [1]
tv_recorder_set_property(recorder, 28=0x301); 16 [FAT] ClearDemuxInfo | clear pid [769], result [0]
4 ClearDemuxInfo | this func is ended, result [0])");
    EXPECT_EQ(Send(Request(14)), 0U);
    EXPECT_EQ(Fake().Calls(), "");
}

TEST_F(RecorderTest, ChoosesThePropertiesOfAService) {
    struct Row {
        Request request;
        const char *properties;
        int entries;
        const char *notice;
    };
    const char *const audioOnly =
        "16 SetDemuxProperty(MoxPvrRecord): [FAT] ==========audio only, must set audio pid first, "
        "then don't set pcr pid, must not set video pid!===========\n";
    const char *const threeD =
        "16 SetDemuxProperty(MoxPvrRecord): [FAT]it is korea 3d, sub_video_pid:0x103\ntv_";
    const Row rows[] = {
        {Demux(0x100, 0x101), "29=0x102, 25=0x100, 24=0x101", 3, "normal situation\ntv_"},
        {Demux(0xFFFF, 0x101, 0, 0, ~0U), "29=0x102, 25=0xffff, 24=0x101", 3, "situation\ntv_"},
        {Demux(0x100, 0x101, 2, 0x103), "29=0x102, 25=0x100, 24=0x101, 49=0x103", 3, threeD},
        {Demux(0x100, 0x101, 1, 0x103, 0x104), "29=0x102, 25=0x100, 24=0x101, 49=0x103, 48=0x104",
         3, threeD},
        {Demux(~0U, 0x200, 1, 0x103, ~0U), "24=0x200", 2, audioOnly},
        {Demux(0, 0x200, 0, 0, 0x104), "24=0x200, 49=0x104", 2, "description pid:0x104\ntv_"},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(Send(row.request), 0U);
        const std::string journal = Fake().All();
        EXPECT_THAT(journal, HasSubstr(Format("property(recorder, %s)\nlog", row.properties)));
        EXPECT_THAT(journal, HasSubstr(row.notice));
        EXPECT_EQ(Send(Request(14)), 0U);
        const std::string removed = Fake().Calls();
        EXPECT_EQ(std::count(removed.begin(), removed.end(), '\n'), row.entries) << row.properties;
    }
}

TEST_F(RecorderTest, TakesNoMorePidsThanARecordHolds) {
    Request update(12);
    update.U32(5000);
    for (unsigned int pid = 0; pid < 2046; ++pid)
        update.U32(0x10000 + pid);
    EXPECT_EQ(Send(update), 0U);
    const std::string calls = Fake().Calls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), '\n'), 2046);
    EXPECT_THAT(calls, testing::EndsWith("(recorder, 49=0x107fd)\n"));
}

TEST_F(RecorderTest, HandsOverChannelInformation) {
    TvChannelInfo info = Channel(0x100, 0x101, 0x102, VIDEO_ENCODE_H264, AUDIO_ENCODE_AC3);
    info.programNum = 0xFFFE;
    info.major = 11;
    info.minor = 1;
    info.pidDescrambled = 1;
    Check("SetChannelInfoProperty", Request(4).Bytes(&info, sizeof info), 3,
          {{"GetDescrambleMode", 1}, {"tv_recorder_set_property", 3}},
          R"(4 SetChannelInfoProperty | this func is started
4 SetChannelInfoProperty | Received channelinfo in req_ptr video pid is 0x100
4 SetChannelInfoProperty | Received channelinfo in req_ptr audio pid is 0x101
4 SetChannelInfoProperty | Received channelinfo in req_ptr pcr pid  is 0x102
4 SetChannelInfoProperty | Received channelinfo in req_ptr program num  is 65534
4 SetChannelInfoProperty | Received channelinfo in req_ptr major is 11
4 SetChannelInfoProperty | Received channelinfo in req_ptr minor is 1
4 SetChannelInfoProperty | Received channelinfo in req_ptr decode_type is 5
4 SetChannelInfoProperty | Received channelinfo in req_ptr pid_descrambled is 1
4 SetChannelInfoProperty | Received channelinfo in req_ptr audio_mode is 1
TCVConfProvider::GetDescrambleMode(); 16 iDescrambleMode 1; 16 only one audio pid is descrambled
tv_recorder_set_property(recorder, 60={video 0x100, reserved[1] 1})
4 SetChannelInfoProperty | this func is ended, result[3])");
    info.reserved[1] = 7;
    for (const auto &[descrambled, mode, byte] :
         {std::tuple(1, 0, 0), {0, 1, 0}, {1, 2, 0}, {2, 1, 1}}) {
        info.pidDescrambled = descrambled;
        Fake().results = {{"GetDescrambleMode", mode}};
        EXPECT_EQ(Send(Request(4).Bytes(&info, sizeof info)), 0U);
        EXPECT_THAT(Fake().All(),
                    HasSubstr(Format("): %s descrambled\ntv_recorder_set_property(recorder, "
                                     "60={video 0x100, reserved[1] %d})",
                                     byte == 1 ? "only one audio pid is" : "all pids are", byte)));
    }
}

TEST_F(RecorderTest, SetsUpBackgroundAudioAnalogueAndTuner) {
    Check("SetBackgroundAPID", Request(17).U32(0x201), 2, {{"tv_recorder_set_property", 2}}, R"(
4 SetBackgroundAPID | this func is started; tv_recorder_set_property(recorder, 24=0x201)
16 SetBackgroundAPID | [apid: 513 ])");
    Check("GetTunerIndex", Request(16), "");
    EXPECT_EQ(m_reply, "02000000");
    Fake().results = {{"tv_recorder_set_property", 3}};
    EXPECT_EQ(Send(Request(5)), 3U);
    EXPECT_EQ(Fake().Calls(),
              "tv_recorder_set_property(recorder, 25=0x40, 24=0x41, 29=0x40, 49=0x0, 49=0x20, "
              "34=0x0, 52=0x0)\n");
    EXPECT_EQ(Send(Request(14)), 0U);
    EXPECT_EQ(Fake().Calls(), "");
}

}  // namespace
