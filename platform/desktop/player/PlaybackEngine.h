/// @file
/// The transport of one playback, with time handed in from outside.
#ifndef TVDESKTOP_PLAYER_PLAYBACKENGINE_H
#define TVDESKTOP_PLAYER_PLAYBACKENGINE_H

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
#include "TvDesktop.h"

namespace tvdesktop {

/// Positions, rates, stretches and unmutes of a playback.
///
/// The engine has no clock: Advance is told how much time has passed, and everything that a
/// playback reports is delivered from inside Advance, with no lock held. So the deliverer may call
/// every operation, and the order of what happens depends on nothing but the calls.
///
/// One operation at a time works on the recording, which takes as long as
/// the disk does; State and NeedsTime never wait for it: they answer what was published last.
///
/// Threads: thread-safe, but one thread at a time in Advance.
class PlaybackEngine {
  public:
    using Milliseconds = std::chrono::duration<double, std::milli>;
    using Deliver = std::function<void(TVCallbackType type, const PlayerMessage &message)>;

    explicit PlaybackEngine(Deliver deliver) : m_deliver(std::move(deliver)) {}

    /// Refuses a list as a whole.
    PlayerCode SetProperties(PropertyArguments *arguments);
    PlayerCode ChannelInfoAt(std::int64_t time, TvChannelInfo **info);
    PlayerCode SetAudioDescription(bool enabled, int pid);
    PlayerCode Set3dFormat(int mode, int format);
    PlayerCode Set3dMode(int mode, int subVideoPid);

    PlayerCode Ready();
    PlayerCode Start();
    PlayerCode Stop();
    PlayerCode Pause();
    PlayerCode Resume();
    PlayerCode Step();
    PlayerCode SetSpeed(double rate);
    PlayerCode Seek(std::int64_t position, double rate);
    PlayerCode GetPosition(long long *position, long long *duration);

    PlayerState State() const;
    std::vector<ChannelStretchInfo> Stretches();
    bool IsSourceBeingWritten();
    TimeSource TimesFrom();

    /// Delivers what is pending and lets stream time pass, in steps from border to border; what is
    /// left of the step when a callback moves the playback is not played. What callbacks cause is
    /// delivered by the next call, so that none takes forever.
    void Advance(Milliseconds elapsed);

    /// @return false while Advance would do nothing
    bool NeedsTime() const;

    /// From now on nothing is reported any more but what is pending.
    void Close();

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

    /// Works on the recording, alone, and publishes at the end what came of it.
    class Work {
      public:
        explicit Work(PlaybackEngine &engine) : m_engine(engine), m_lock(engine.m_workMutex) {}
        /// Begins only when nobody else works.
        Work(PlaybackEngine &engine, std::try_to_lock_t whenFree)
            : m_engine(engine), m_lock(engine.m_workMutex, whenFree) {}
        ~Work() {
            if (Began())
                m_engine.Publish();
        }
        Work(const Work &) = delete;
        Work &operator=(const Work &) = delete;

        bool Began() const { return m_lock.owns_lock(); }

      private:
        PlaybackEngine &m_engine;
        const std::unique_lock<std::mutex> m_lock;
    };

    PlayerCode SwitchTo(Run run);

    // All of these run inside Work.
    void Publish();
    void LeaveSource();
    void Post(TVCallbackType type, const PlayerMessage &message);
    void Forget();
    bool Open();
    PlayerCode Prepare();
    PlayerCode Fail(PlayerError error, PlayerCode result);
    bool FollowFile();
    Decoded DecodedStream() const;
    void ExpectUnit();
    void LookForUnit();
    void Place(double position, double rate);
    void PlayFrom(double position, double rate);
    void RunClock();
    void MoveTo(double position);
    void CrossBorder(bool forward);
    void ReachEdge(Edge edge);
    double StretchEnd() const;
    double Duration() const { return m_recording ? m_recording->Duration() : 0.0; }

    std::optional<Message> NextMessage();

    const Deliver m_deliver;

    mutable std::mutex m_shownMutex;  ///< never held while something is read; guards what is shown:
    PlayerState m_shown;
    bool m_hasShownSource = false;
    bool m_showsNeedOfTime = false;

    std::mutex m_workMutex;  ///< guards all that follows
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
    std::size_t m_due = 0;  ///< how many of them the running Advance delivers
    bool m_isClosed = false;
};

}  // namespace tvdesktop

#endif
