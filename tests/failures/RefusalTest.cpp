// What is refused before the platform hears of it, and files that cannot be read.
#include <sys/resource.h>
#include <unistd.h>

#include "InstanceTest.h"
#include "StartGStreamer.h"
#include "TemporaryFolder.h"

namespace {

class RefusalTest : public RecorderTest {};

TEST_F(RefusalTest, OperationsWithoutARecordOrATextAnswerSoAndCallNothing) {
    using Recorder = CMOXPVRRecorder;
    for (const auto operation :
         {&Recorder::SetHandle, &Recorder::SetDuration, &Recorder::SetDemuxProperty,
          &Recorder::UpdateSi, &Recorder::SetChannelInfoProperty, &Recorder::SetBackgroundAPID,
          &Recorder::SetSinkProperty, &Recorder::SwapTS2Record, &Recorder::RecordInformPowerChange})
        EXPECT_EQ((m_instance.*operation)(nullptr), 1);
    EXPECT_EQ(m_instance.GetTSDuration(nullptr, m_buffer, nullptr), 1);
    EXPECT_EQ(Fake().Calls(), "");
    EXPECT_EQ(parse_string_to_buf(m_buffer, 2, m_buffer, nullptr), -1);
    EXPECT_EQ(parse_string_to_buf_old(m_buffer, 2, m_buffer, nullptr), 1);
    EXPECT_EQ(build_buf_to_string(m_buffer, 2, m_buffer, nullptr), 1);
}

class UnreadableFileTest : public PlaybackTest {
  protected:
    /// Asks for the PIDs of a recording whose information file cannot be read.
    void Check(const std::string &recording, const char *reason) {
        unsigned int pids[3] = {1, 2, 3};
        EXPECT_EQ(m_instance.GetPidPropertyByUri(recording, pids[0], pids[1], pids[2]), 1U);
        EXPECT_NE(Fake().Logs().find(reason), std::string::npos);
        EXPECT_EQ(pids[0] + pids[1] + pids[2], 6U);
    }
};

TEST_F(UnreadableFileTest, LeavesTheOutputsAlone) {
    const std::string directory = TemporaryFolder() + "unreadable";
    const std::string link = directory + ".inf";
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(symlink(Format("/proc/self/fd/%d", ends[0]).c_str(), link.c_str()), 0);
    Check(directory + ".srf", "[FAT]fread failed, ret [0]");  // no place in a pipe can be sought

    rlimit usual{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &usual), 0);
    const rlimit none{0, usual.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    Check(directory + ".srf", "[FAT]fopen failed");
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &usual), 0);
    EXPECT_EQ(unlink(link.c_str()) + close(ends[0]) + close(ends[1]), 0);
}

TEST_F(PlaybackTest, AMessageWithoutAnErrorSendsNoEvent) {
    StartGStreamer();
    GstMessage *message = gst_message_new_eos(nullptr);
    m_instance.ErrorCB(message);
    gst_message_unref(message);
    EXPECT_EQ(Fake().Events(), "");
}

}  // namespace
