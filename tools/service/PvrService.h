/// @file
/// Plays the TV's PVR service: hands platform objects to the library, sends control requests and
/// receives callbacks and events.
#ifndef TOOLS_SERVICE_PVRSERVICE_H
#define TOOLS_SERVICE_PVRSERVICE_H

#include <IMOXPVRPlayback.h>
#include <TvDesktop.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "service/Request.h"

namespace tool {

/// Position and duration as a progress request answers them.
struct Progress {
    std::int64_t positionMs = 0;
    std::int64_t durationMs = 0;
};

/// Every request goes through mox_pvr_control_recording and mox_pvr_control_playback. Events,
/// player callbacks and service changes arrive on the platform's threads; they wait until the
/// service's own loop takes them, so that nothing reaches the library while a request is under way.
///
/// Threads: thread-bound, apart from what waits. One service at a time, as the entry points address
/// one recorder and one playback.
class PvrService {
  public:
    /// Told of every request after it was answered.
    using RequestObserver = std::function<void(const Request &, const Reply &)>;

    PvrService();
    ~PvrService();
    PvrService(const PvrService &) = delete;
    PvrService &operator=(const PvrService &) = delete;

    void ObserveRequests(RequestObserver observer) { m_observer = std::move(observer); }

    /// Registers a recorder under (301, 0) and takes it over.
    /// @throws Failure when the library refuses it
    void TakeRecorder(void *recorder);
    /// Destroys the recorder and its instance; harmless without one.
    void ReleaseRecorder();
    void *Recorder() const { return m_recorder; }
    /// Keeps changes of a service's description for TakeServiceChange from now on.
    void WatchService(const tvdesktop::Service &service);
    /// @return the change that the recorder waits with, until ContinueRecording
    std::optional<tvdesktop::ServiceChange> TakeServiceChange();
    void ContinueRecording() { tvdesktop::ContinueRecording(m_recorder); }

    /// Registers a player and its stream under (1, 0) and takes them over.
    /// @throws Failure when the library refuses it
    void TakePlayer(void *player);
    void ReleasePlayer();
    void *Player() const { return m_player; }
    /// @return the playback instance for calls that are not requests
    /// @throws Failure without one
    IMOXPVRPlayback &Playback() const;

    /// Sends a request and waits for its answer.
    Reply Send(const Request &request);
    /// The same for a request that must succeed.
    /// @throws Failure that names the request and its result
    Reply Do(const Request &request);

    /// @return the message for a request that failed, with the reason that the recorder knows
    std::string FailureText(const Request &request, const Reply &reply) const;
    /// @return why the recorder failed, with the file and the reason; empty when it did not
    std::string RecorderFailure() const { return tvdesktop::RecorderFailure(m_recorder); }

    Progress RecorderProgress();
    Progress PlaybackProgress();

    /// Waits for callbacks, events and a service change, but no longer than `patience`, and hands
    /// the callbacks that came to the playback.
    /// @return the events, in the order in which they were sent
    std::vector<tvdesktop::Event> Take(std::chrono::milliseconds patience);

  private:
    struct Callback {
        TVCallbackType type;
        tvdesktop::PlayerMessage message;
    };

    void HandCallbacksOn();
    bool NextCallback(Callback &callback);

    RequestObserver m_observer;
    void *m_recorder = nullptr;
    void *m_player = nullptr;
    int m_subscription = 0;

    std::mutex m_mutex;  ///< guards what follows
    std::condition_variable m_arrived;
    std::deque<Callback> m_callbacks;
    std::vector<tvdesktop::Event> m_events;
    std::optional<tvdesktop::ServiceChange> m_serviceChange;  ///< one at most: the recorder waits
};

}  // namespace tool

#endif
