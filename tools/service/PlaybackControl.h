/// @file
/// One playback as the PVR service makes it: the requests, in their order.
#ifndef TOOLS_SERVICE_PLAYBACKCONTROL_H
#define TOOLS_SERVICE_PLAYBACKCONTROL_H

#include <TvDesktop.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "service/PvrService.h"

namespace tool {

/// What to play.
struct Source {
    std::string path;
    std::int64_t fromMs = 0;
    bool isTimeshift = false;
};

/// Owns the service's player from construction to destruction.
///
/// Threads: thread-bound. Requests that fail throw Failure.
class PlaybackControl {
  public:
    PlaybackControl(PvrService &pvr, const tvdesktop::PlayerOptions &options);
    ~PlaybackControl() { m_pvr.ReleasePlayer(); }
    PlaybackControl(const PlaybackControl &) = delete;
    PlaybackControl &operator=(const PlaybackControl &) = delete;

    /// Gives the stream its source, PIDs and codecs.
    void Open(const Source &source);
    /// Programs another video PID than the recording's own.
    void ForceVideoPid(std::uint32_t pid);
    void Start();
    void Stop();

    void Pause();
    void Resume();
    /// Shows the next picture of a paused playback.
    void Step();
    /// Plays on from here at another rate.
    /// @return false when it plays as before: the library ignores this during a change of channel
    bool SetRate(double rate);
    /// Continues at the present rate from another place.
    void SkipTo(std::int64_t positionMs);

    /// Switches on the audio description of the service that plays.
    /// @return false when the service has none
    bool EnableAudioDescription();
    void DisableAudioDescription();

    /// Hands callbacks on and takes events as PvrService::Take. After an unmute at normal speed it
    /// gives the sound back: trick play mutes it, and lifting that is the service's own task.
    std::vector<tvdesktop::Event> Take(std::chrono::milliseconds patience);

    Progress GetProgress() { return m_pvr.PlaybackProgress(); }
    tvdesktop::PlayerState State() const { return tvdesktop::GetPlayerState(m_pvr.Player()); }
    /// @return whether a recorder still writes what is played
    bool IsBeingWritten() const { return tvdesktop::IsSourceBeingWritten(m_pvr.Player()); }

    /// @return where the times of what is played come from
    tvdesktop::TimeSource TimesFrom() const { return tvdesktop::GetTimeSource(m_pvr.Player()); }

  private:
    void LiftSoundMute();

    PvrService &m_pvr;
    std::string m_path;
};

}  // namespace tool

#endif
