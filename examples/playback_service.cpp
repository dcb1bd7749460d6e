// A service that plays a recording: fast up to the first change of channel inside of it, then at
// normal speed with sound to its end.
//
// On a TV player and stream come from the TV; here the stand-in makes them (tvdesktop). Everything
// else is the same there.
#include <MoxPvr.h>
#include <MoxPvrAPI.h>
#include <MoxPvrProtocol.h>
#include <tv_stream.h>
#include <TvDesktop.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <mutex>
#include <optional>

namespace {

namespace playback = moxpvr::playback;
using moxpvr::EventDetail;
using Clock = std::chrono::steady_clock;

constexpr MOXHandle kPlayback{PROFILE_TYPE_MAIN, 0};
constexpr std::uint8_t kNumber = 2;  // byte 0 of this playback's events
constexpr double kNormal = 1.0;
constexpr double kFast = 4.0;
constexpr std::chrono::milliseconds kChangeLimit(5100);  // the library gives a change up after 5 s
constexpr int kCrossing = 3;  // SubEventType: playback runs into another channel's stretch

struct Callback {
    TVCallbackType type;
    IMOXPVRPlayback::MOXPVRPlaybackCallbackProperty property;
};

// The player calls back on a thread of its own. The service takes the callbacks on the thread that
// sends its requests, between two of them.
class CallbackQueue {
  public:
    void Put(const Callback &callback) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_callbacks.push_back(callback);
        m_arrived.notify_one();
    }

    // @return nothing when none came for a moment
    std::optional<Callback> Take() {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_arrived.wait_for(lock, std::chrono::milliseconds(100),
                           [this] { return !m_callbacks.empty(); });
        if (m_callbacks.empty())
            return std::nullopt;
        const Callback callback = m_callbacks.front();
        m_callbacks.pop_front();
        return callback;
    }

  private:
    std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::deque<Callback> m_callbacks;
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

bool IsCrossing(const Callback &callback) {
    return callback.type == TV_PLAYER_CALLBACK_PVR_PLAYER_APPLICATION &&
           callback.property.SubEventType == kCrossing;
}

class PlaybackService {
  public:
    explicit PlaybackService(void *stream)
        : m_stream(stream), m_instance(MoxPvrAPI::GetPlaybackInstance(kPlayback)) {}

    // Reset programs the codecs. A recording that one of these requests refuses is not started.
    bool Start(const char *path) {
        playback::SetHandle handle;
        handle.handle = kNumber;
        playback::SetProperty source;
        const bool isStarted = source.path.Set(path) && Send(handle) && Send(source) &&
                               Send(playback::Reset{}) && Send(playback::Start{});
        if (isStarted)
            SetRate(kFast);
        return isStarted;
    }

    // @return the event that ended the playback; None while it plays
    EventDetail End() const { return m_end; }

    // The library sends an event inside of DoTvpCallback: it is only kept here, and dealt with
    // after that call.
    void TakeEvent(EventDetail detail) { m_detail = detail; }

    void TakeCallback(Callback callback) {
        const bool isCrossing = IsCrossing(callback);
        // At another rate than normal the library stops at the crossing until the next unmute.
        if (isCrossing && m_rate != kNormal)
            StartChange();
        m_detail = EventDetail::None;
        m_instance->DoTvpCallback(callback.type, &callback.property);
        if (isCrossing) {
            std::printf("another channel from %d ms on\n", callback.property.timeCode);
            SetRate(kNormal);
        }
        switch (m_detail) {
            case EventDetail::PlaybackUnmute:
                EndChange();
                break;
            case EventDetail::PlaybackApplication0:  // in the stand-in: the end of the recording
            case EventDetail::PlaybackError1:
            case EventDetail::PlaybackError3:
                m_end = m_detail;
                break;
            default:
                break;
        }
    }

    // In a stretch without video no unmute ends the change: a change of rate does, once the library
    // has given it up.
    void LookAtClock() {
        if (!m_isChanging || Clock::now() - m_changeStart < kChangeLimit)
            return;
        EndChange();
        Release(TV_PROPERTY_AUDIO_SINK_MUTE);
    }

  private:
    // During a change of channel the library answers 0 to a trick play and does nothing, so the
    // service waits for the end of the change.
    void SetRate(double rate) {
        m_wantedRate = rate;
        if (!m_isChanging && m_wantedRate != m_rate)
            SendWantedRate();
    }

    // Trick play mutes the sound and holds the picture, also when the player refuses the rate.
    void SendWantedRate() {
        const std::uint32_t position = Position();
        if (!Send(playback::TrickPlay{position, m_wantedRate})) {
            m_wantedRate = kNormal;
            if (!Send(playback::TrickPlay{position, kNormal})) {
                Release(TV_PROPERTY_VIDEO_STILL_MODE);
                Release(TV_PROPERTY_AUDIO_SINK_MUTE);
            }
        }
        m_rate = m_wantedRate;
    }

    std::uint32_t Position() const {
        long position = 0;
        long duration = 0;
        m_instance->GetPlaybackProgress(position, duration);
        return static_cast<std::uint32_t>(position);
    }

    void StartChange() {
        m_isChanging = true;
        m_changeStart = Clock::now();
    }

    void EndChange() {
        m_isChanging = false;
        if (m_wantedRate != m_rate) {
            SendWantedRate();
        } else if (m_rate == kNormal) {
            Release(TV_PROPERTY_AUDIO_SINK_MUTE);  // nothing else lifts the mute of trick play
            std::printf("normal speed, with sound\n");
        }
    }

    // Sets a property of the stream to 0; the last 0 ends the list.
    void Release(int property) { tv_stream_set_property(m_stream, property, 0, 0); }

    void *m_stream;
    IMOXPVRPlayback *m_instance;
    double m_rate = kNormal;        // last sent
    double m_wantedRate = kNormal;  // sent once a change of channel is done
    bool m_isChanging = false;
    Clock::time_point m_changeStart;
    EventDetail m_detail = EventDetail::None;
    EventDetail m_end = EventDetail::None;
};

// @return whether the recording was played to its end
bool PlayToTheEnd(PlaybackService &service, CallbackQueue &callbacks, const char *path) {
    if (!service.Start(path))
        return false;
    while (service.End() == EventDetail::None) {
        if (const std::optional<Callback> callback = callbacks.Take())
            service.TakeCallback(*callback);
        service.LookAtClock();
    }
    return service.End() == EventDetail::PlaybackApplication0;
}

bool Play(void *player, const char *path) {
    mox_pvr_set_tv_player(player);
    if (mox_pvr_set_tv_stream(tvdesktop::StreamOf(player)) != 0) {
        tvdesktop::DestroyPlayer(player);
        return false;
    }
    CallbackQueue callbacks;
    PlaybackService service(tvdesktop::StreamOf(player));
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
    const bool isPlayed = PlayToTheEnd(service, callbacks, path);
    // An error stops nothing, so every playback ends like this: Stop; then the player, so that no
    // callback comes any more; then the instance, as the next recording has one of its own.
    const bool isStopped = Send(playback::Stop{});
    tvdesktop::DestroyPlayer(player);
    MoxPvrAPI::DestroyPlayback(kPlayback);
    tvdesktop::Unsubscribe(subscription);
    return isPlayed && isStopped;
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
