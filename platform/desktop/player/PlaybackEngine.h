/// @file
/// The transport of one playback, with time handed in from outside.
#ifndef TVDESKTOP_PLAYER_PLAYBACKENGINE_H
#define TVDESKTOP_PLAYER_PLAYBACKENGINE_H

#include <TvDesktop.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "player/Recording.h"
#include "player/StreamProperties.h"

namespace tvdesktop {

/// Positions, rates, stretches and unmutes of a playback.
///
/// The engine has no clock: Advance tells it how much time has passed, and everything that a
/// playback reports is delivered from inside Advance, with no lock held. So the deliverer may call
/// every operation, and the order of what happens depends on nothing but the calls.
///
/// Operations answer a PlayerResult. Threads: thread-safe, but one thread at a time in Advance.
class PlaybackEngine {
  public:
    using Milliseconds = std::chrono::duration<double, std::milli>;
    using Deliver = std::function<void(TVCallbackType type, const PlayerMessage &message)>;

    explicit PlaybackEngine(Deliver deliver) : m_deliver(std::move(deliver)) {}

    int SetProperties(const StreamPropertyList &list);
    int ChannelInfoAt(std::int64_t time, TvChannelInfo **info);
    int SetAudioDescription(bool enabled, int pid);
    int Set3dFormat(int mode, int format);
    int Set3dMode(int mode, int subVideoPid);

    int Ready();
    int Start();
    int Stop();
    int Pause();
    int Resume();
    int Step();
    int SetSpeed(double rate);
    int Seek(std::int64_t position, double rate);
    int GetPosition(long long *position, long long *duration);

    PlayerState State();
    std::vector<ChannelStretchInfo> Stretches();

    /// Lets stream time pass, in steps from border to border; what is left of the step when a
    /// callback moves the playback is not played.
    void Advance(Milliseconds elapsed);

    /// @return false while Advance would do nothing
    bool NeedsTime();

  private:
    using Lock = std::lock_guard<std::mutex>;
    using Run = PlayerState::Run;
    enum class Edge { None, Begin, End };
    struct Message {
        TVCallbackType type;
        PlayerMessage content;
    };
    struct Decoded {
        UnitKind kind;
        int pid;  ///< -1: nothing to decode
    };

    // All of these run with the mutex held.
    bool Open();
    int Prepare();
    int Fail(int errorCode, int result);
    bool FollowFile();
    Decoded DecodedStream() const;
    void ExpectUnit();
    void LookForUnit();
    void Place(double position, double rate);
    void PlayFrom(double position, double rate);
    void RunClock();
    void MoveTo(double position);
    void CrossInto(std::size_t stretch, std::size_t border);
    void ReachEdge(Edge edge);
    double StretchEnd() const;
    double Duration() const { return m_recording ? m_recording->Duration() : 0.0; }

    std::optional<Message> NextMessage();

    const Deliver m_deliver;
    std::mutex m_mutex;  ///< guards all that follows
    std::unique_ptr<Recording> m_recording;
    PlaybackSource m_source;
    PlayerState m_state;        ///< `run`, `rate` and the programmed values; the rest is computed
    double m_position = 0;      ///< milliseconds of stream time
    std::size_t m_stretch = 0;  ///< the one that is played; at a border the direction decides
    double m_left = 0;          ///< milliseconds of the running Advance that are not played yet
    Edge m_edge = Edge::None;   ///< end of the recording that was reported and not left since
    double m_lookedFrom = 0;    ///< stretch of time that was searched without a unit; see
    double m_lookedTo = 0;      ///< LookForUnit
    std::deque<Message> m_pending;
};

}  // namespace tvdesktop

#endif
