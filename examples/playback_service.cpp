// A service that plays a recording: fast up to the first change of channel inside of it, then at
// normal speed with sound to its end.
//
// The stand-in makes the player and its stream here (tvdesktop); a TV has its own. All else is
// alike.
#include <MoxPvr.h>
#include <MoxPvrAPI.h>
#include <MoxPvrProtocol.h>
#include <tv_stream.h>
#include <TvDesktop.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace {

namespace playback = moxpvr::playback;
using moxpvr::EventDetail;
using Clock = std::chrono::steady_clock;

constexpr MOXHandle kPlayback{PROFILE_TYPE_MAIN, 0};
constexpr std::uint8_t kNumber = 2;  // byte 0 of this playback's events
constexpr double kNormal = 1.0, kFast = 4.0;
constexpr std::chrono::milliseconds kChangeLimit(5100);  // the library gives a change up after 5 s
constexpr int kCrossing = 3;  // SubEventType: playback runs into another channel's stretch

struct Callback {
    TVCallbackType type;
    IMOXPVRPlayback::MOXPVRPlaybackCallbackProperty property;
};

// From the player's thread to the one that sends the requests: callbacks are taken between two.
class CallbackQueue {
  public:
    void Put(const Callback &callback) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_callbacks.push_back(callback);
        m_arrived.notify_one();
    }

    // @return those that came; none when none came for a moment
    std::vector<Callback> Take() {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_arrived.wait_for(lock, std::chrono::milliseconds(100),
                           [this] { return !m_callbacks.empty(); });
        return std::exchange(m_callbacks, {});
    }

  private:
    std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::vector<Callback> m_callbacks;
};

template <typename Request>
bool Send(const Request &request) {
    moxpvr::RequestText text(request);
    unsigned int size = 0;
    const unsigned int result = mox_pvr_control_playback(text.size(), text.data(), size, nullptr);
    if (result != 0)
        std::fprintf(stderr, "%s was answered with %u\n", request.Name(), result);
    return result == 0;
}

class PlaybackService {
  public:
    explicit PlaybackService(void *stream) : m_stream(stream) {}

    // Reset programs the codecs. A recording that one of these requests refuses is not started.
    bool Start(const char *path) {
        m_instance = MoxPvrAPI::GetPlaybackInstance(kPlayback);
        playback::SetHandle handle;
        handle.handle = kNumber;
        playback::SetProperty source;
        if (!source.path.Set(path) || !Send(handle) || !Send(source) || !Send(playback::Reset{}) ||
            !Send(playback::Start{}))
            return false;
        SetRate(kFast);
        return true;
    }

    EventDetail End() const { return m_end; }  // None while it plays

    // An event, which the library sends inside of DoTvpCallback: dealt with after that call.
    void TakeEvent(EventDetail detail) { m_detail = detail; }

    void TakeCallback(Callback callback) {
        const bool isCrossing = callback.type == TV_PLAYER_CALLBACK_PVR_PLAYER_APPLICATION &&
                                callback.property.SubEventType == kCrossing;
        // At another rate than normal the library stops at the crossing until the next unmute.
        if (isCrossing && m_rate != kNormal)
            m_changeStart = Clock::now();
        m_detail = EventDetail::None;
        m_instance->DoTvpCallback(callback.type, &callback.property);
        if (isCrossing) {
            std::printf("another channel from %d ms on\n", callback.property.timeCode);
            SetRate(kNormal);
        }
        if (m_detail == EventDetail::PlaybackUnmute)
            EndChange();
        else if (m_detail == EventDetail::PlaybackApplication0 ||  // in the stand-in: the end
                 m_detail == EventDetail::PlaybackError1 || m_detail == EventDetail::PlaybackError3)
            m_end = m_detail;
    }

    // Without video no unmute ends a change: a new rate does, once the library has given it up.
    void LookAtClock() {
        if (m_changeStart && Clock::now() - *m_changeStart >= kChangeLimit) {
            EndChange();
            Release(TV_PROPERTY_AUDIO_SINK_MUTE);
        }
    }

  private:
    // During a change the library answers 0 and does nothing, so the service waits for its end.
    void SetRate(double rate) {
        m_wantedRate = rate;
        if (m_changeStart || rate == m_rate)
            return;
        long position = 0, duration = 0;
        m_instance->GetPlaybackProgress(position, duration);
        if (Send(playback::TrickPlay{static_cast<std::uint32_t>(position), rate})) {
            m_rate = rate;
        } else {  // the player keeps its rate, but sound and picture are held
            m_wantedRate = m_rate;
            Release(TV_PROPERTY_VIDEO_STILL_MODE);
            Release(TV_PROPERTY_AUDIO_SINK_MUTE);
        }
    }

    void EndChange() {
        m_changeStart.reset();
        if (m_wantedRate != m_rate) {
            SetRate(m_wantedRate);
        } else if (m_rate == kNormal) {
            Release(TV_PROPERTY_AUDIO_SINK_MUTE);  // nothing else lifts the mute of trick play
            std::printf("normal speed, with sound\n");
        }
    }

    // Sets a property of the stream to 0; the last 0 ends the list.
    void Release(int property) { tv_stream_set_property(m_stream, property, 0, 0); }

    void *m_stream;
    IMOXPVRPlayback *m_instance = nullptr;
    double m_rate = kNormal;        // last sent
    double m_wantedRate = kNormal;  // sent once a change of channel is done
    std::optional<Clock::time_point> m_changeStart;
    EventDetail m_detail = EventDetail::None;
    EventDetail m_end = EventDetail::None;
};

bool Play(void *player, const char *path) {
    void *const stream = tvdesktop::StreamOf(player);
    CallbackQueue callbacks;
    PlaybackService service(stream);
    tvdesktop::SetPlayerCallback(
        player, [&](TVCallbackType type, const tvdesktop::PlayerMessage &message) {
            callbacks.Put({type, {message.subEventType, message.timeCode, message.errCode}});
        });
    const int subscription = tvdesktop::Subscribe([&](const tvdesktop::Event &event) {
        moxpvr::SysChangeEvent change;
        moxpvr::Decode(event.record.data(), event.record.size(), change);
        if (event.number == moxpvr::SIGNAL_PVR_SYS_CHANGE && change.handle == kNumber)
            service.TakeEvent(change.detail);
    });
    const bool isStarted = mox_pvr_set_tv_player(player) == 0 &&
                           mox_pvr_set_tv_stream(stream) == 0 && service.Start(path);
    while (isStarted && service.End() == EventDetail::None) {
        for (const Callback &callback : callbacks.Take())
            service.TakeCallback(callback);
        service.LookAtClock();
    }
    // An error stops nothing, so every playback ends like this: Stop; then the player, so that no
    // callback comes any more; then the instance, as the next recording has one of its own.
    const bool isStopped = Send(playback::Stop{});
    tvdesktop::DestroyPlayer(player);
    MoxPvrAPI::DestroyPlayback(kPlayback);
    tvdesktop::Unsubscribe(subscription);
    return isStopped && service.End() == EventDetail::PlaybackApplication0;
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s RECORDING\n", argv[0]);
        return 2;
    }
    tvdesktop::SetLogMinimumPriority(17);  // no log
    if (!Play(tvdesktop::CreatePlayer({/*clockFactor=*/10}), argv[1]))
        return 1;
    std::printf("played to the end\n");
}
