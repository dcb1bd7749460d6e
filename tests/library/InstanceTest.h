/// @file
/// What the tests of both kinds of instance share: requests, and steps with the journal they leave.
#ifndef TESTS_LIBRARY_INSTANCETEST_H
#define TESTS_LIBRARY_INSTANCETEST_H

#include <gmock/gmock.h>

#include <cstring>
#include <sstream>
#include <type_traits>

#include "FakePlatform.h"
#include "MoxPvr.h"
#include "MoxPvrPlayback/MoxPvrPlayback.h"
#include "MoxPvrRecord/MoxPvrRecord.h"
#include "RequestWords.h"

/// @param oneAudio  reserved[1]: only one audio PID is descrambled
inline TvChannelInfo Channel(int video, int audio, int pcr, int videoType = VIDEO_ENCODE_MPEG2,
                             int audioType = AUDIO_ENCODE_MPEG1, int oneAudio = 0) {
    TvChannelInfo info{};
    info.videoPid = static_cast<std::uint16_t>(video);
    info.audioPid = audio;
    info.pcrPid = static_cast<std::uint16_t>(pcr);
    info.videoCodecType = static_cast<std::uint8_t>(videoType);
    info.audioCodecType = static_cast<EAudioEncodeType>(audioType);
    info.multiSoundMode = MULTI_SOUND_STEREO;
    info.reserved[1] = static_cast<std::uint8_t>(oneAudio);
    return info;
}

/// Writes an expected journal out. Its entries stand on lines of their own or behind "; ":
/// "4 text" is a log line of that priority and of the operation that the last "@Operation" named,
/// "set ..." a property list of the stream, "rec ..." one of the recorder.
inline std::string Expand(std::string operation, const std::string &file, std::string journal) {
    for (auto at = journal.find("; "); at != std::string::npos; at = journal.find("; "))
        journal.replace(at, 2, "\n");
    std::istringstream entries(journal);
    std::string expanded;
    for (std::string entry; std::getline(entries, entry);) {
        const std::string head = entry.substr(0, entry.find(' ') + 1);
        const std::string rest = entry.substr(head.size());
        if (entry[0] == '@')
            operation = entry.substr(1);
        else if (head == "2 " || head == "4 " || head == "16 ")
            expanded += Format("log %s%s%s%s\n", head.c_str(), operation.c_str(), file.c_str(),
                               rest.c_str());
        else if (head == "set ")
            expanded += "tv_stream_set_property(stream, " + rest + ")\n";
        else if (head == "rec ")
            expanded += "tv_recorder_set_property(recorder, " + rest + ")\n";
        else if (!entry.empty())
            expanded += entry + '\n';
    }
    return expanded;
}

/// On an instance that has no objects of the platform yet.
template <typename Instance>
class InstanceTest : public testing::Test {
  protected:
    static constexpr bool kRecords = std::is_base_of_v<IMOXPVRRecorder, Instance>;
    static constexpr Side kSide = kRecords ? Side::Recorder : Side::Playback;
    static constexpr const char *kFile = kRecords ? "(MoxPvrRecord): " : "(MoxPvrPlayback): ";

    void SetUp() override { Fake().Reset(); }

    /// Makes it the recorder (301, 7) with tuner index 2, or the playback (1, 0).
    void Initilize(bool hasObjects) {
        if constexpr (kRecords)
            m_instance.Initilize({PROFILE_TYPE_RECORD, 7}, hasObjects ? kRecorder : nullptr, 2);
        else
            m_instance.Initilize({}, hasObjects ? kPlayer : nullptr,
                                 hasObjects ? kStream : nullptr);
        Fake().All();
    }

    /// Sends a request, in words, through the interface; the reply is kept, "none" when its length
    /// was not set.
    unsigned int Send(const std::string &request) {
        std::string text = RequestOf(kSide, request);
        return Send(text.data(), static_cast<unsigned int>(text.size()), m_buffer);
    }

    unsigned int Send(char *text, unsigned int size, char *reply) {
        auto *const bytes = reinterpret_cast<unsigned char *>(text);
        auto *const replyBytes = reinterpret_cast<unsigned char *>(reply);
        unsigned int replySize = 777;
        unsigned int result = 0;
        if constexpr (kRecords)
            result = m_instance.CtrlRecorder(size, bytes, replySize, replyBytes);
        else
            result = m_instance.CtrlPlayback(size, bytes, replySize, replyBytes);
        m_reply = replySize == 777 ? "none" : std::string(m_buffer, std::strlen(m_buffer));
        EXPECT_TRUE(replySize == 777 || reply == nullptr || replySize == m_reply.size());
        return result;
    }

    /// Compares everything that happened since the last look.
    void Expect(const std::string &operation, const std::string &journal) {
        EXPECT_EQ(Fake().All(), Expand(operation, kFile, journal));
    }

    static Instance Make() {
        if constexpr (kRecords)
            return Instance();
        else
            return Instance(FakePlatform::Now);
    }

    Instance m_instance = Make();
    char m_buffer[64] = {};
    std::string m_reply;
};

/// On an instance with objects.
template <typename Instance>
class ReadyInstanceTest : public InstanceTest<Instance> {
  protected:
    void SetUp() override {
        InstanceTest<Instance>::SetUp();
        this->Initilize(true);
    }
};
using RecorderTest = ReadyInstanceTest<CMOXPVRRecorder>;
using PlaybackTest = ReadyInstanceTest<CMOXPVRPlayback>;

#endif
