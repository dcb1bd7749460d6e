// Where a recorder writes, the swap of a timeshift buffer, and progress.
#include "InstanceTest.h"

namespace {

Request Sink(unsigned int command, const std::string &name, unsigned int timeshift,
             unsigned int segment) {
    return Request(command).Name(name).U32(timeshift).U32(segment);
}

TEST_F(RecorderTest, SetsItsSinkAndSwapsIt) {
    const auto check = [this](const char *expectedName, const char *startEvent) {
        std::string name;
        EXPECT_EQ(m_instance.GetFileName(name), 0);
        EXPECT_EQ(name, expectedName);
        EXPECT_EQ(Send(Request(6)), 0U);
        EXPECT_EQ(Fake().Events(), Format("event 32769 (301, 7) %s\n", startEvent));
    };
    Send(Request(1).U32(1).U64(2).U32(0));
    Fake().All();
    Check("SetSinkProperty", Sink(3, "/pvr/a.srf", 2, 1), 4, {{"tv_recorder_set_property", 4}}, R"(
4 SetSinkProperty | this func is started; 16 [FAT] SetSinkProperty | Received sink file name is /pvr/a.srf
16 [FAT] SetSinkProperty | Received sink is_timeshift is 2
16 [FAT] SetSinkProperty | Received sink is_segment_record is 1; 16 [FAT] SetSinkProperty | m_eRecordType[3]
tv_recorder_set_property(recorder, 56="/pvr/a.srf", 53=0x2, 61=0x1)
4 SetSinkProperty | this func is ended, result[4])");
    check("/pvr/a.srf", "03000000 00000000 02000000 00000000");
    Fake().results.clear();
    EXPECT_EQ(Send(Sink(3, "/pvr/b.srf", 0, 0)), 0U);
    Fake().All();
    Check("SwapTS2Record", Sink(11, "/pvr/c.srf", 0, 9), 4, {{"tv_recorder_set_property", 4}}, R"(
4 SwapTS2Record | this func is started
4 SwapTS2Record | Received sink file name is /pvr/c.srf,  /pvr/c.srf
4 SwapTS2Record | Received sink is_timeshift is 0,  0; 4 SwapTS2Record | the file name pointer is [swap name]
tv_recorder_set_property(recorder, 55={"/pvr/c.srf", 0, 9}); 4 SwapTS2Record | this func is ended, result[4])");
    check("/pvr/c.srf", "01000000 00000000 02000000 00000000");
    Check("SwapTS2Record", Sink(11, "/pvr/d.srf", 1, 0), 0, {{"Send", 0}}, R"(
4 SwapTS2Record | this func is started
4 SwapTS2Record | Received sink file name is /pvr/d.srf,  /pvr/d.srf
4 SwapTS2Record | Received sink is_timeshift is 1,  1; 4 SwapTS2Record | the file name pointer is [swap name]
tv_recorder_set_property(recorder, 55={"/pvr/d.srf", 1, 0})
4 TIEventManager::Instance()->Send, event[32769], m_ullServiceID[2], eventData.data.c0[3]
event 32769 (301, 7) 03000000 00000000 02000000 00000000
16 SwapTS2Record | send event out with mox-handle failed; 4 SwapTS2Record | this func is ended, result[0])");
    check("/pvr/d.srf", "03000000 00000000 02000000 00000000");
    Fake().results.clear();
    EXPECT_EQ(Send(Sink(11, "/pvr/e.srf", 0, 0)), 0U);
    EXPECT_NE(Fake().Logs().find("16 SwapTS2Record(MoxPvrRecord): SwapTS2Record | send event out "
                                 "with mox-handle successfully\n"),
              std::string::npos);
}

TEST_F(RecorderTest, CutsNamesThatFillTheirField) {
    for (const std::size_t length : {255U, 256U}) {
        for (const unsigned int command : {3U, 11U}) {
            EXPECT_EQ(Send(Sink(command, std::string(length, 'n'), 0x6e6e6e6e, 0)), 0U);
            EXPECT_NE(Fake().Calls().find('"' + std::string(255, 'n') + '"'), std::string::npos);
            std::string name;
            m_instance.GetFileName(name);
            EXPECT_EQ(name, std::string(255, 'n'));
        }
    }
}

TEST_F(RecorderTest, RepliesWithProgressAndTimeshiftDuration) {
    Fake().position = 0x100000005;
    Fake().duration = 7;
    Check("GetProgress", Request(10), 3, {{"tv_recorder_get_position", 3}}, R"(
4 GetProgress | this func is started; tv_recorder_get_position(recorder)
4 GetProgress | pos[4294967301] duration[7]; 4 GetProgress | this func is ended, result[3])");
    EXPECT_EQ(m_reply, "0500000007000000");
    Check("GetTSDuration", Request(13).U32(4096), 3, {{"tv_recorder_get_timeshift_duration", 3}},
          R"(
4 GetTSDuration | this func is started; tv_recorder_get_timeshift_duration(recorder, 4096)
4 GetTSDuration | hdd_size [4096] timeshift_duration [0]; 4 GetTSDuration | this func is ended, result [3])");
    EXPECT_EQ(m_reply, "00000000");
    Fake().timeshiftDuration = 3600000;
    EXPECT_NE(Send(Request(13).U32(~0U)), 0U);
    EXPECT_EQ(m_reply, "80ee3600");
    Fake().All();
    long position = 1;
    CMOXPVRRecorder fresh;
    EXPECT_EQ(fresh.GetRecordProgress(position), 1);
    EXPECT_EQ(position, 1);
    Fake().position = 0x1FFFFFFFE;
    EXPECT_EQ(m_instance.GetRecordProgress(position), 0);
    EXPECT_EQ(position, -2);
    EXPECT_EQ(Fake().All(), Expand("GetRecordProgress", FileOf(fresh), R"(4 this func is started
16 failed [m_handle]\n; 4 this func is started; tv_recorder_get_position(recorder)
4 GetProgress | pos[8589934590] duration[7]; 4 this func is ended, nResult[0])"));
}

}  // namespace
