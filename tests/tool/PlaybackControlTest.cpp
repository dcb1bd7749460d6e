// A playback as the tool drives it, in this process, on a recording of two services.
#include "service/PlaybackControl.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "service/Events.h"
#include "service/Input.h"
#include "service/RecordingControl.h"
#include "TemporaryFolder.h"

namespace tool {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

class PlaybackControlTest : public testing::Test {
  protected:
    void SetUp() override {
        tvdesktop::SetLogMinimumPriority(17);
        RecordingControl recording(m_pvr, {MOXPVR_SAMPLE_FILE, /*speed=*/60});
        recording.Start(ServiceOf(1), {Path(), false});
        RecordUntil(recording, 4000);
        recording.ChangeTo(ServiceOf(3));
        RecordUntil(recording, 8000);
        recording.Stop();
    }
    void TearDown() override {
        for (const fs::directory_entry &file : fs::directory_iterator(TemporaryFolder()))
            fs::remove_all(file);
    }

    static std::string Path() { return TemporaryFolder() + "a.srf"; }

    static tvdesktop::Service ServiceOf(std::uint16_t id) {
        std::vector<tvdesktop::Service> services = ServicesOf(MOXPVR_SAMPLE_FILE);
        return services.at(id - 1U);
    }
    void RecordUntil(RecordingControl &recording, std::int64_t positionMs) {
        while (recording.GetProgress().positionMs < positionMs)
            m_pvr.Take(milliseconds(1));
    }

    /// @return false when an end of the recording came first
    static bool PlayUntil(PlaybackControl &playing, const std::function<bool()> &isReached) {
        bool isEnded = false;
        while (!isReached() && !isEnded)
            for (const tvdesktop::Event &event : playing.Take(milliseconds(1)))
                isEnded = IsDetail(event, kEndReached) || IsDetail(event, kBeginningReached);
        return !isEnded;
    }

    PvrService m_pvr;
};

TEST_F(PlaybackControlTest, ReportsTheRateAndTheSoundOfThePlayerNotThoseAskedFor) {
    PlaybackControl playing(m_pvr, {/*clockFactor=*/4});
    playing.Open({Path()});
    playing.Start();
    ASSERT_TRUE(PlayUntil(playing, [&] { return !playing.State().waitingForUnmute; }));
    EXPECT_TRUE(playing.SetRate(4.0));
    ASSERT_TRUE(PlayUntil(playing, [&] { return playing.State().rate == 1.0; }))
        << "no change of channel, in which a service plays on at 1.0 for a moment";
    EXPECT_FALSE(playing.SetRate(2.0)) << "taken during a change of channel";
    playing.SetRate(1.0);  // likewise ignored
    ASSERT_TRUE(PlayUntil(
        playing, [&] { return playing.State().rate == 4.0 && !playing.State().waitingForUnmute; }));
    playing.Take(milliseconds(100));
    EXPECT_EQ(playing.State().rate, 4.0);
    EXPECT_TRUE(playing.State().audioMuted) << "sound at 4.0";
    EXPECT_EQ(playing.State().program, 3);
}

}  // namespace
}  // namespace tool
