/// @file
/// What the tests of both kinds of instance share: requests, and steps with the journal they leave.
#ifndef TESTS_LIBRARY_INSTANCETEST_H
#define TESTS_LIBRARY_INSTANCETEST_H

#include <gmock/gmock.h>

#include <cstring>
#include <sstream>

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

inline const char *FileOf(const IMOXPVRRecorder & /*instance*/) {
    return "(MoxPvrRecord): ";
}
inline const char *FileOf(const IMOXPVRPlayback & /*instance*/) {
    return "(MoxPvrPlayback): ";
}

inline Side SideOf(const IMOXPVRRecorder & /*instance*/) {
    return Side::Recorder;
}
inline Side SideOf(const IMOXPVRPlayback & /*instance*/) {
    return Side::Playback;
}

inline unsigned int Control(IMOXPVRRecorder &instance, unsigned int size, unsigned char *text,
                            unsigned int &replySize, unsigned char *reply) {
    return instance.CtrlRecorder(size, text, replySize, reply);
}
inline unsigned int Control(IMOXPVRPlayback &instance, unsigned int size, unsigned char *text,
                            unsigned int &replySize, unsigned char *reply) {
    return instance.CtrlPlayback(size, text, replySize, reply);
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

template <typename Instance>
Instance Make() {
    return Instance();
}
template <>
inline CMOXPVRPlayback Make() {
    return CMOXPVRPlayback(FakePlatform::Now);
}

template <typename Instance>
class InstanceTest : public testing::Test {
  protected:
    void SetUp() override { Fake().Reset(); }

    /// Sends a request, in words, through the interface; the reply is kept, "none" when its length
    /// was not set.
    unsigned int Send(const std::string &request) {
        std::string text = RequestOf(SideOf(m_instance), request);
        return Send(text.data(), static_cast<unsigned int>(text.size()), m_buffer);
    }

    unsigned int Send(char *text, unsigned int size, char *reply) {
        unsigned int replySize = 777;
        const unsigned int result =
            Control(m_instance, size, reinterpret_cast<unsigned char *>(text), replySize,
                    reinterpret_cast<unsigned char *>(reply));
        m_reply = replySize == 777 ? "none" : std::string(m_buffer, std::strlen(m_buffer));
        EXPECT_TRUE(replySize == 777 || reply == nullptr || replySize == m_reply.size());
        return result;
    }

    /// Compares everything that happened since the last look.
    void Expect(const std::string &operation, const std::string &journal) {
        EXPECT_EQ(Fake().All(), Expand(operation, FileOf(m_instance), journal));
    }

    /// Where the lines of the dispatcher end.
    static std::size_t AfterDispatch(const std::string &journal) {
        std::size_t at = 0;
        while (journal.compare(at, 10, "log 4 Ctrl") == 0)
            at = journal.find('\n', at) + 1;
        return at;
    }

    Instance m_instance = Make<Instance>();
    char m_buffer[64] = {};
    std::string m_reply;
};

/// A recorder (301, 7) with tuner index 2.
class RecorderTest : public InstanceTest<CMOXPVRRecorder> {
  protected:
    void SetUp() override {
        InstanceTest::SetUp();
        Initilize(true);
        Fake().All();
    }

    void Initilize(bool hasObjects) {
        m_instance.Initilize({PROFILE_TYPE_RECORD, 7}, hasObjects ? kRecorder : nullptr, 2);
    }
};

/// A playback (1, 0).
class PlaybackTest : public InstanceTest<CMOXPVRPlayback> {
  protected:
    void SetUp() override {
        InstanceTest::SetUp();
        Initilize(true);
        Fake().All();
    }

    void Initilize(bool hasObjects) {
        m_instance.Initilize({}, hasObjects ? kPlayer : nullptr, hasObjects ? kStream : nullptr);
    }

    /// Opens a recording, or a timeshift buffer, of this channel throughout.
    void Open(const TvChannelInfo &info, bool timeshift = false) {
        Fake().channels = {{0, info}};
        EXPECT_EQ(Send(Format("SetProperty /pvr/a.srf 0 %d", timeshift)), 0U);
        Fake().All();
    }
};

#endif
