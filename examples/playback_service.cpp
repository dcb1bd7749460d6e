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

// The player calls back on a thread of its own. The service takes the callbacks on the thread that
// sends its requests, between two of them.
class CallbackQueue {
  public:
    void Put(const Callback &callback) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_callbacks.push_back(callback);
        m_arrived.notify_one();
    }

    // @return false when none came for a moment
    bool Take(Callback &callback) {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (!m_arrived.wait_for(lock, std::chrono::milliseconds(100),
                                [this] { return !m_callbacks.empty(); }))
            return false;
        callback = m_callbacks.front();
        m_callbacks.pop_front();
        return true;
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

class PlaybackService {
  public:
    explicit PlaybackService(void *stream)
        : m_stream(stream), m_instance(MoxPvrAPI::GetPlaybackInstance(kPlayback)) {}

    // Reset programs the codecs. A recording that one of these requests refuses is not started.
    bool Start(const char *path) {
        playback::SetHandle handle;
        handle.handle = kNumber;
        playback::SetProperty source;
        return source.path.Set(path) && Send(handle) && Send(source) && Send(playback::Reset{}) &&
               Send(playback::Start{}) && ((SetRate(kFast), true));
    }

    EventDetail End() const { return m_end; }  // None while it plays

    // An event, which the library sends inside of DoTvpCallback: dealt with after that.
    void Note(EventDetail detail) { m_detail = detail; }

    void Take(Callback callback) {
        const bool isCrossing = callback.type == TV_PLAYER_CALLBACK_PVR_PLAYER_APPLICATION &&
                                callback.property.SubEventType == kCrossing;
        // At another rate than normal the library stops at the crossing until the next unmute.
        if (isCrossing && m_rate != kNormal)
            m_crossedAt = Clock::now();
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

    // In a stretch without video no unmute ends the crossing: a change of rate does.
    void LookAtClock() {
        if (!IsCrossing() || Clock::now() - m_crossedAt < kChangeLimit)
            return;
        EndChange();
        Release(TV_PROPERTY_AUDIO_SINK_MUTE);
    }

  private:
    bool IsCrossing() const { return m_crossedAt != Clock::time_point{}; }

    // During a crossing the library answers 0 and does nothing, so the service waits. Trick play
    // mutes the sound and holds the picture, also when the player refuses the rate.
    void SetRate(double rate) {
        m_wanted = rate;
        if (IsCrossing() || rate == m_rate)
            return;
        long position = 0, duration = 0;
        m_instance->GetPlaybackProgress(position, duration);
        const auto now = static_cast<std::uint32_t>(position);
        if (!Send(playback::TrickPlay{now, rate}) &&
            !Send(playback::TrickPlay{now, rate = kNormal})) {
            Release(TV_PROPERTY_VIDEO_STILL_MODE);
            Release(TV_PROPERTY_AUDIO_SINK_MUTE);
        }
        m_rate = m_wanted = rate;
    }

    void EndChange() {
        m_crossedAt = {};
        if (m_wanted != m_rate)
            return SetRate(m_wanted);
        if (m_rate != kNormal)
            return;
        Release(TV_PROPERTY_AUDIO_SINK_MUTE);  // nothing else lifts the mute of trick play
        std::printf("normal speed, with sound\n");
    }

    void Release(int property) { tv_stream_set_property(m_stream, property, 0, 0); }

    void *m_stream;
    IMOXPVRPlayback *m_instance;
    double m_rate = kNormal;    // last sent
    double m_wanted = kNormal;  // sent once a crossing is done
    Clock::time_point m_crossedAt;
    EventDetail m_detail = EventDetail::None;
    EventDetail m_end = EventDetail::None;
};

bool Play(void *player, const char *path) {
    mox_pvr_set_tv_player(player);
    if (mox_pvr_set_tv_stream(tvdesktop::StreamOf(player)) != 0)
        return false;
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
            service.Note(change.detail);
    });
    const bool isStarted = service.Start(path);
    for (Callback callback; isStarted && service.End() == EventDetail::None; service.LookAtClock())
        if (callbacks.Take(callback))
            service.Take(callback);
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
