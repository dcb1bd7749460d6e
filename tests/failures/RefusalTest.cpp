// What is refused before the platform hears of it.
#include <gst/gst.h>

#include "InstanceTest.h"
#include "StartGStreamer.h"

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

TEST_F(PlaybackTest, AMessageWithoutAnErrorSendsNoEvent) {
    StartGStreamer();
    GstMessage *message = gst_message_new_eos(nullptr);
    m_instance.ErrorCB(message);
    gst_message_unref(message);
    EXPECT_EQ(Fake().Events(), "");
}

}  // namespace
