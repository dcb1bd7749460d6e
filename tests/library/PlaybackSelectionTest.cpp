// Which streams of a recording are decoded: the four ways to select PIDs, audio description, Reset.
#include <regex>

#include "InstanceTest.h"

namespace {

enum Overload { kThree, kFive, kRecords, kSelection };

class SelectionTest : public PlaybackTest {
  protected:
    void SetUp() override {
        PlaybackTest::SetUp();
        Open(Channel(0x100, 0x101, 0x102));
    }

    static TSAudio Audio(unsigned int pid, unsigned int type) {
        TSAudio audio{};
        audio.pid = static_cast<std::uint16_t>(pid);
        audio.codecType = static_cast<EAudioEncodeType>(type);
        audio.multiSoundMode = MULTI_SOUND_DUAL_MIX;
        return audio;
    }

    /// Selects PIDs, with video codec 4 when the video changes and 2 otherwise.
    static unsigned int Select(CMOXPVRPlayback &instance, Overload overload, unsigned int video,
                               unsigned int audio, unsigned int audioType, unsigned int pcr,
                               unsigned int selection = AUDIO_SELECTION_USER) {
        TSVideo record{};
        record.pid = static_cast<std::uint16_t>(video);
        record.codecType = video == 0x200 ? VIDEO_ENCODE_H264 : VIDEO_ENCODE_MPEG2;
        record.pcrPid = static_cast<std::uint16_t>(pcr);
        switch (overload) {
            case kThree:
                return instance.SetPidProperty(video, audio, pcr);
            case kFive:
                return instance.SetPidProperty(video, record.codecType, audio, audioType, pcr);
            case kRecords:
                return instance.SetPidProperty(record, Audio(audio, audioType));
            default:
                return instance.SetPidProperty(record, Audio(audio, audioType),
                                               static_cast<EAudioSelectionType>(selection));
        }
    }

    /// The calls, and "same" where the line tells that no PID changed.
    static std::string CallsAndSame() {
        const std::regex same("log .*All PIDs are same.*"), other("log .*\n");
        return std::regex_replace(std::regex_replace(Fake().All(), same, "same"), other, "");
    }

    static constexpr const char *kSame =
        "16 [FAT] SetPidProperty | All PIDs are same with previous PIDs. Don't need to set any "
        "pids\n";
};

TEST_F(SelectionTest, FollowsTheRulesOfEachOverload) {
    constexpr unsigned int kKeep = 0xFFFFFFFE;
    const std::string reset = "tv_stream_get_channel_info(stream, 0); ";
    const std::string stereo = "set 320=0x3004";
    struct Row {
        Overload overload;
        const char
            *when;  // "" all audio PIDs descrambled, "one" only one, "shift" timeshift buffer
        unsigned int video, audio, audioType, pcr;
        std::string calls;
    };
    const std::vector<Row> rows = {
        {kThree, "", 0x200, 0x201, 0, 0x202,
         "set 109=0x202; set 104=0x200; set 103=0x201; " + reset +
             "set 314=0x2001; set 509=0x1002; "
             "tv_stream_is_audio_description_enabled(stream); set 320=0x3001"},
        {kThree, "", 0x100, 0x201, 0, kKeep,
         "set 103=0x201; " + reset + "set 314=0x2001; set 320=0x3001"},
        {kThree, "", 0x200, 0x101, 0, kKeep, "set 104=0x200"},
        {kThree, "", kKeep, kKeep, 0, 0xFFFE, "set 109=0xfffe"},
        {kThree, "one", 0x200, 0x201, 0, 0x102, "set 104=0x200"},
        {kThree, "shift", 0x100, 0x201, 0, 0x102, "same"},
        {kFive, "", 0x200, 0x201, 5, 0x202,
         "set 109=0x202; set 104=0x200; set 103=0x201; set 314=0x5, 509=0x4"},
        {kFive, "", kKeep, 0x201, 5, 0x102, "set 103=0x201; set 314=0x5"},
        {kFive, "", 0x200, kKeep, 5, 0x102, "set 104=0x200"},
        {kFive, "", 0xFFFF, 0x201, 5, 0x202, ""},
        {kFive, "", 0x200, 0xFFFF, 5, 0x202, ""},
        {kFive, "", 0x200, 0x201, 5, 0xFFFF, ""},
        {kFive, "one", 0x100, 0x201, 5, 0x202, "set 109=0x202"},
        {kFive, "shift", 0x100, 0x201, 5, 0x102, "same"},
        {kRecords, "", 0x200, 0x201, 5, 0x202, ""},
        {kRecords, "", 0x100, 0x201, 5, 0x202, "set 103=0x201, 314=0x2005; " + stereo},
        {kRecords, "", 0xFFFE, 0xFFFE, 5, 0xFFFE, "set 103=0xfffe, 314=0x2005; " + stereo},
        {kRecords, "", 0x100, 0xFFFE, 1, 0x102, "same; " + stereo},
        {kRecords, "one", 0x100, 0x201, 5, 0x102, "same; " + stereo},
        {kRecords, "shift", 0x100, 0x201, 5, 0x102, "same; " + stereo},
        {kSelection, "", 0x200, 0x201, 5, 0x202, ""},
        {kSelection, "", 0x100, 0x101, 5, 0x102, "set 103=0x101, 314=0x2005; " + stereo},
        {kSelection, "", 0x100, 0xFFFE, 5, 0x102, "same; " + stereo},
        {kSelection, "one", 0x100, 0x201, 5, 0x102, "same; " + stereo},
        {kSelection, "shift", 0x100, 0x201, 5, 0x102, "set 103=0x201, 314=0x2005; " + stereo},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(&row - rows.data());
        CMOXPVRPlayback instance;
        EXPECT_EQ(Select(instance, row.overload, row.video, row.audio, row.audioType, row.pcr), 1U);
        EXPECT_THAT(Fake().All(), testing::EndsWith("log 16 SetPidProperty(MoxPvrPlayback): "
                                                    "failed [m_tv_player]\\n\n"));
        instance.Initilize(MOXHandle{}, kPlayer, kStream);
        const std::string when = row.when;
        Fake().channels = {{0, Channel(0x100, 0x101, 0x102, 2, 1, when == "one")}};
        std::string text =
            RequestOf(Side::Playback, Format("SetProperty /a 0 %d", when == "shift"));
        unsigned int none = 0;
        Control(instance, static_cast<unsigned int>(text.size()),
                reinterpret_cast<unsigned char *>(text.data()), none, nullptr);
        Fake().All();
        EXPECT_EQ(Select(instance, row.overload, row.video, row.audio, row.audioType, row.pcr), 0U);
        EXPECT_EQ(CallsAndSame(), Expand("", "", row.calls));
        // Asked again, nothing is left to change, unless audio may not change or the request is
        // refused.
        EXPECT_EQ(Select(instance, row.overload, row.video, row.audio, row.audioType, row.pcr), 0U);
        const std::string again = row.overload >= kRecords ? "same; " + stereo : "same";
        EXPECT_EQ(CallsAndSame(),
                  Expand("", "", row.overload == kFive && row.calls.empty() ? "" : again));
    }
}

TEST_F(SelectionTest, LogsWhatItSelects) {
    Fake().results = {{"tv_stream_set_property", 3}};
    EXPECT_EQ(Select(m_instance, kThree, 0x200, 0x201, 0, 0x202), 3U);
    Expect("SetPidProperty", R"(4 SetPidProperty | this func is started
16 [FAT] SetPidProperty | videoPid[0x200] audioPid[0x201] pcrPid[0x202]
16 [FAT] set pcr pid[0x202]; set 109=0x202; 16 [FAT] set video pid[0x200]; set 104=0x200
16 m_bAllAudioPidDescrambled 1; 16 [FAT] set audio pid[0x201]; set 103=0x201
16 [FAT] SetPidProperty | Reset() is called
@Reset; 16 [FAT] Reset | this func is started; tv_stream_get_channel_info(stream, 0)
16 Reset | Video Pid:256, Audio Pid:257,PCR pid:258 audioDecodeType:1 videoType:2
16 [FAT] Reset | tv_stream_set_property Audio / Video codec all; set 314=0x2001; set 509=0x1002
tv_stream_is_audio_description_enabled(stream); set 320=0x3001
16 [FAT] Reset | TV_PROPERTY_AUDIO_DECODER_MPEG_STEREO_MODE[12289][result:3])");
    Fake().results.clear();
    EXPECT_EQ(Select(m_instance, kThree, 0x200, 0x202, 0, 0x202), 0U);
    EXPECT_THAT(Fake().All(), testing::HasSubstr("16 SetPidProperty(MoxPvrPlayback): [FAT] "
                                                 "SetPidProperty | Reset(Audio only) is called\n"));
    EXPECT_EQ(Select(m_instance, kFive, 0x200, 0x201, 5, 0xFFFF), 0U);
    EXPECT_EQ(Select(m_instance, kFive, 0x100, 0x401, 5, 0x202), 0U);
    EXPECT_EQ(Select(m_instance, kFive, 0x100, 0x301, 5, 0x202), 0U);
    EXPECT_EQ(Select(m_instance, kFive, 0x100, 0x301, 5, 0x202), 0U);
    Expect("SetPidProperty", std::string(R"(4 SetPidProperty | this func is started
16 [FAT] SetPidProperty | videoPid[0x200] videoCodecType[4] audioPid[0x201] audioCodecType[5] pcrPid[0xffff]
16 pid is wrong, do nothing. nVideoPid[0x512][512] nAudioPid[0x513][513] nPcrPid[0x65535][65535]
4 SetPidProperty | this func is started
16 [FAT] SetPidProperty | videoPid[0x100] videoCodecType[2] audioPid[0x401] audioCodecType[5] pcrPid[0x202]
16 [FAT] set video pid[0x100]; set 104=0x100
16 m_bAllAudioPidDescrambled 1; 16 [FAT] set audio pid[0x401]; set 103=0x401
16 [FAT] SetPidProperty | tv_stream_set_property Audio / Video codec all; set 314=0x5, 509=0x2
4 SetPidProperty | this func is started
16 [FAT] SetPidProperty | videoPid[0x100] videoCodecType[2] audioPid[0x301] audioCodecType[5] pcrPid[0x202]
16 m_bAllAudioPidDescrambled 1; 16 [FAT] set audio pid[0x301]; set 103=0x301
16 [FAT] SetPidProperty | tv_stream_set_property Audio codec only; set 314=0x5
4 SetPidProperty | this func is started
16 [FAT] SetPidProperty | videoPid[0x100] videoCodecType[2] audioPid[0x301] audioCodecType[5] pcrPid[0x202]
16 m_bAllAudioPidDescrambled 1
)") + kSame);
    EXPECT_EQ(Select(m_instance, kRecords, 0x200, 0x301, 5, 0x202), 0U);
    EXPECT_EQ(Select(m_instance, kRecords, 0x200, 0x301, 6, 0x302), 0U);
    EXPECT_EQ(Select(m_instance, kSelection, 0x200, 0x301, 6, 0x302), 0U);
    Expect("SetPidProperty", std::string(R"(4 SetPidProperty | this func is started
16 [FAT] SetPidProperty | m_bAllAudioPidDescrambled[1] videoPid[0x200] videoCodecType[4] audioPid[0x301] audioCodecType[5] pcrPid[0x202]
16 [FAT] set video pid[0x200]; 16 [FAT] Audio codec type changed case
16 [FAT] SetPidProperty | Video PID changed case. It will be handle by calling ResetChannel()
4 SetPidProperty | this func is started
16 [FAT] SetPidProperty | m_bAllAudioPidDescrambled[1] videoPid[0x200] videoCodecType[4] audioPid[0x301] audioCodecType[6] pcrPid[0x302]
16 [FAT] set pcr pid[0x302]; 16 [FAT] Audio codec type changed case
16 [FAT] SetPidProperty | tv_stream_set_property Audio codec only; set 103=0x301, 314=0x2006; set 320=0x3004
16 [FAT] SetPidProperty | TV_PROPERTY_AUDIO_DECODER_MPEG_STEREO_MODE[12292][result:0]
4 SetPidProperty | this func is started
16 [FAT] SetPidProperty | m_bAllAudioPidDescrambled[1] videoPid[0x200] videoCodecType[4] audioPid[0x301] audioCodecType[6] pcrPid[0x302] audioSelectionType[1]
@IsExceptionAudioChangeCase; 4 this func is started
16 [FAT] IsExceptionAudioChangeCase | AUDIO_SELECTION_USER. we will set audio pid which was set from SI
@SetPidProperty
)") + kSame + R"(set 320=0x3004
16 [FAT] SetPidProperty | TV_PROPERTY_AUDIO_DECODER_MPEG_STEREO_MODE[12292][result:0])");
    EXPECT_FALSE(m_instance.IsExceptionAudioChangeCase(AUDIO_SELECTION_AUTO));
    Open(Channel(0x100, 0x101, 0x102, 2, 1, 1));
    EXPECT_TRUE(m_instance.IsExceptionAudioChangeCase(AUDIO_SELECTION_USER));
    Expect("IsExceptionAudioChangeCase",
           "4 this func is started; 16 [FAT] IsExceptionAudioChangeCase "
           "| m_bAllAudioPidDescrambled[0] case. we must not set audio pid which was set from SI");
}

TEST_F(SelectionTest, SwitchesAudioDescription) {
    Fake().results = {{"tv_stream_enable_audio_description", 4}};
    EXPECT_EQ(m_instance.SetADProperty(Audio(0x104, 5)), 4U);
    Fake().results = {{"tv_stream_set_property", 5}};
    EXPECT_EQ(m_instance.SetADProperty(Audio(0x104, 5)), 5U);
    Fake().results = {{"tv_stream_is_audio_description_enabled", 1}};
    EXPECT_EQ(m_instance.SetADProperty(Audio(0x104, 5)), 0U);
    EXPECT_EQ(m_instance.SetADProperty(Audio(0x104, 5)), 0U);
    Expect("SetADProperty", R"(tv_stream_is_audio_description_enabled(stream)
tv_stream_enable_audio_description(stream, 0x104)
16 [FAT] SetADProperty | Error : tv_stream_enable_audio_description return [4]
tv_stream_is_audio_description_enabled(stream); tv_stream_enable_audio_description(stream, 0x104)
16 [FAT] SetADProperty | auido description enable[result:0 pid:0x104]; set 134=0x104, 1214=0x2005
16 [FAT] SetADProperty | Error : tv_stream_set_property return [5]
tv_stream_is_audio_description_enabled(stream); 16 [FAT] SetADProperty | audio description enable already
set 134=0x104, 1214=0x2005
16 [FAT] SetADProperty | auido description pid was set [result:0 pid:0x104 adEncType:8197]
16 [FAT] m_uAudioDescPid[0x104], m_adEncType[8197]
tv_stream_is_audio_description_enabled(stream); 16 [FAT] SetADProperty | audio description enable already
16 [FAT] SetADProperty | Same AD pid has already set before)");
    Fake().channels[0].korean3d = 1;
    Fake().channels[0].subVideoPid = 0x103;
    Fake().results["tv_stream_set_property"] = 6;
    EXPECT_EQ(m_instance.Reset(false), 6U);
    Expect("Reset", R"(16 [FAT] Reset | this func is started; tv_stream_get_channel_info(stream, 0)
16 Reset | Video Pid:256, Audio Pid:257,PCR pid:258 audioDecodeType:1 videoType:2
16 [FAT] Reset | tv_stream_set_property Audio / Video codec all; set 314=0x2001; set 509=0x1002
tv_stream_is_audio_description_enabled(stream)
16 [FAT] Reset | audio description was enabled. So AD's codec should be set again; set 1214=0x2005
16 [FAT] Reset | Error : fail to call tv_stream_set_property 
16 [FAT] Reset | it is korea 3d, sub_vpid:0x103
tv_stream_set_kr3d_mode_format(stream, 1, 6); tv_stream_set_3d_mode(stream, 1, 0x103); set 320=0x3001
16 [FAT] Reset | TV_PROPERTY_AUDIO_DECODER_MPEG_STEREO_MODE[12289][result:6])");
    Fake().results = {{"tv_stream_disable_audio_description", 7}};
    EXPECT_EQ(m_instance.DisableADProperty(), 7U);
    Expect("DisableADProperty",
           "set 134=0xffff, 1214=0xffffffff; "
           "tv_stream_disable_audio_description(stream); "
           "16 [FAT] DisableADProperty | auido description disable [result:7]");
}

TEST_F(SelectionTest, ResetsAudioOnlyAndReadsPids) {
    Fake().channels[0] = Channel(0, 0x100, 0x45);
    EXPECT_EQ(m_instance.Reset(false), 0U);
    Expect("Reset", R"(16 [FAT] Reset | this func is started; tv_stream_get_channel_info(stream, 0)
16 Reset | Video Pid:0, Audio Pid:256,PCR pid:69 audioDecodeType:1 videoType:2; 16 audio only case
16 [FAT] Reset | tv_stream_set_property Audio codec only; set 314=0x2001; set 320=0x3001
16 [FAT] Reset | TV_PROPERTY_AUDIO_DECODER_MPEG_STEREO_MODE[12289][result:0])");
    unsigned int video = 9, audio = 9, pcr = 9;
    EXPECT_EQ(m_instance.GetPidProperty(video, audio, pcr), 0U);
    EXPECT_TRUE(video == 0 && audio == 0x100 && pcr == 0x45);
    Fake().channels.clear();
    EXPECT_EQ(m_instance.GetPidProperty(video, audio, pcr) + m_instance.Reset(true), 2U);
    Fake().results = {{"tv_stream_get_channel_info", 4}};
    EXPECT_EQ(m_instance.GetPidProperty(video, audio, pcr) + m_instance.Reset(true), 8U);
    EXPECT_TRUE(video == 0 && audio == 0x100 && pcr == 0x45);
    Expect("GetPidProperty", R"(tv_stream_get_channel_info(stream, 0)
16 [FAT]video pid:0x0,audio pid:0x100,pcr pid:0x45
tv_stream_get_channel_info(stream, 0); 16 [FAT]channel_info_temp is NULL.
@Reset; 16 [FAT] Reset | this func is started; tv_stream_get_channel_info(stream, 0)
4 Reset | tv_stream_get_channel_info is called failed, result[0], channel_info[0x00000000]
@GetPidProperty; tv_stream_get_channel_info(stream, 0)
16 [FAT]tv_stream_get_channel_info is called failed, result[4]
@Reset; 16 [FAT] Reset | this func is started; tv_stream_get_channel_info(stream, 0)
4 Reset | tv_stream_get_channel_info is called failed, result[4], channel_info[0x00000000])");
    CMOXPVRPlayback fresh;
    EXPECT_EQ(fresh.SetPlaybackProperty({1, 2, 3, 4, 5}), 1U);
    Fake().results = {{"tv_stream_set_property", 5}};
    EXPECT_EQ(m_instance.SetPlaybackProperty({1, 2, 3, 4, 5}), 5U);
    const char *const start =
        "16 [FAT] SetPidProperty | videoPid[0x1] audioPid[0x2] pcrPid[0x3] videoType[0x4] "
        "autioType[0x5]\n";
    Expect("SetPlaybackProperty", start + std::string("16 failed [m_tv_player]\\n\n") + start +
                                      "set 109=0x3, 104=0x1, 103=0x2, 314=0x5, 509=0x4; "
                                      "2 SetPidProperty | this func is ended, result[5]");
}

}  // namespace
