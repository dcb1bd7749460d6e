// The bounds of what instances take and answer.
#include "InstanceTest.h"

namespace {

TEST_F(PlaybackTest, AnswersAsMuchOfAPositionAsALongHolds) {
    long position = 1, duration = 1;
    Fake().position = 30064771077;  // 5 on the TV
    EXPECT_EQ(m_instance.GetPlaybackProgress(position, duration), 0U);
    EXPECT_EQ(position, static_cast<long>(30064771077));
}

TEST_F(PlaybackTest, RefusesMissingRecords) {
    EXPECT_EQ(m_instance.SetHandle(nullptr) + m_instance.SetProperty(nullptr) +
                  m_instance.TrickPlay(nullptr) + m_instance.Skip(nullptr),
              4U);
    Expect("SetHandle", R"(4 SetHandle | this func is started, LastModifyDate[2015-03-16 02:45]
@SetProperty; 4 SetProperty | this func is started; 16 SetProperty | struct buf is NULL.
@TrickPlay; 4 TrickPlay | this func is started; @Skip; 4 Skip | this func is started)");
}

TEST_F(RecorderTest, TakesNoMoreThanARecordHolds) {
    std::string update = "UpdateSi 5000";
    for (int pid = 0; pid < 2046; ++pid)
        update += ' ' + std::to_string(0x10000 + pid);
    EXPECT_EQ(Send(update), 0U);
    const std::string calls = Fake().Calls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), '\n'), 2046);
    EXPECT_THAT(calls, testing::EndsWith("(recorder, 49=0x107fd)\n"));
    for (const std::size_t length : {255U, 256U}) {
        for (const std::string command : {"SetSinkProperty ", "SwapTS2Record "}) {
            EXPECT_EQ(Send(command + std::string(length, 'n') + " 0x6e6e6e6e"), 0U);
            std::string name;
            EXPECT_THAT(Fake().Calls(), testing::HasSubstr('"' + std::string(255, 'n') + '"'));
            EXPECT_EQ(m_instance.GetFileName(name), 0);
            EXPECT_EQ(name, std::string(255, 'n'));
        }
    }
}

}  // namespace
