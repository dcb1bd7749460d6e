/// @file
/// The recorder of tv_recorder_*.
#ifndef TVDESKTOP_RECORDER_RECORDER_H
#define TVDESKTOP_RECORDER_RECORDER_H

#include <tv_recorder.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "recorder/RecorderMessages.h"
#include "recorder/RecorderProperties.h"
#include "recorder/RecordingSession.h"
#include "recorder/StreamSelection.h"
#include "recorder/Wakeup.h"
#include "system/PlatformObject.h"
#include "TvDesktop.h"

namespace tvdesktop {

/// Takes the calls of a program and lets a thread of its own record.
///
/// What a call changes while the recorder runs is left under the mutex; the thread takes it before
/// its next packets, so that the session belongs to the thread alone. A swap is waited for, the
/// rest is not.
///
/// Threads: calls from one thread at a time, callbacks from the recorder's thread.
class Recorder : public PlatformObject {
  public:
    static constexpr Kind kKind = Kind::Recorder;
    static constexpr RecorderCode kNoObject = kRecorderNoObject;
    static constexpr RecorderCode kOutOfResources = kRecorderOutOfResources;

    explicit Recorder(RecorderOptions options);
    ~Recorder();
    Recorder(const Recorder &) = delete;
    Recorder &operator=(const Recorder &) = delete;

    RecorderCode SetCallback(tv_recorder_callback callback, void *userData);
    RecorderCode SetServiceObserver(const Service &known, ServiceObserver observer);
    RecorderCode Continue();
    RecorderCode Prepare();
    RecorderCode Start();
    RecorderCode Pause();
    RecorderCode Resume();
    RecorderCode Stop();
    RecorderCode Apply(const RecorderPropertyList &list);
    RecorderCode SetDuration(int milliseconds);
    RecorderCode GetPosition(long long *position, long long *duration) const;
    RecorderCode GetTimeshiftDuration(unsigned int sizeKiB, unsigned int *durationMs) const;
    std::string Failure() const;
    /// @return whether the caller is inside the recorder's callback
    bool IsOnThread() const;
    RecordingReport GetReport() const;

  private:
    enum class State { Idle, Recording, Paused, Ended };

    /// Left by calls for the thread.
    struct Changes {
        bool selection = false;
        bool limit = false;
        bool pause = false;
        bool watch = false;
        /// The last one: what came before it and was not taken yet has no packet.
        std::optional<TvChannelInfo> channel;
        std::optional<std::string> swapTo;
    };

    bool IsRunning() const { return m_state == State::Recording || m_state == State::Paused; }
    RecorderCode ChangeState(State from, State to);
    RecorderCode Swap(std::unique_lock<std::mutex> &lock, const std::string &path);
    void Wake();

    void Run(RecordingSession &session) noexcept;
    RecordingSession::Next Record(RecordingSession &session);
    bool TakeChanges(RecordingSession &session);
    bool ApplyChanges(RecordingSession &session, const Changes &changes);
    void WaitForNews(Wakeup::Timeout timeout, int file = -1);
    bool WaitForRoom(int descriptor);
    void ReportChange(const ServiceChange &change);
    void PublishProgress(const RecordingSession &session);
    void Finish(RecordingSession &session, RecordingSession::Next reason);
    void Abandon();
    void ReportEnd(const RecordingSession &session, RecordingSession::Next reason);
    void Report(TVCallbackType type, const MessagePtr &message);

    const RecorderOptions m_options;
    const RecorderMessages m_messages;
    Wakeup m_wakeup;

    mutable std::mutex m_mutex;
    std::condition_variable m_swapped;
    State m_state = State::Idle;
    bool m_isStopping = false;
    RecordingSession::Clock::time_point m_drainEnd;  ///< once it is stopping
    bool m_isChanged = false;
    Changes m_changes;
    StreamSelection m_selection;
    std::optional<TvChannelInfo> m_channel;  ///< set last
    std::string m_fileName;
    bool m_isTimeshift = false;
    bool m_hasFile = false;  ///< the running sink is a regular file, not a pipe or a device
    int m_limitMs = 0;
    std::optional<RecorderCode> m_swapResult;
    RecorderCode m_stopResult = kRecorderOk;
    std::string m_failure;     ///< of the last start, swap or recording
    RecordingReport m_report;  ///< of the last recording that has ended
    tv_recorder_callback m_callback = nullptr;
    void *m_userData = nullptr;
    std::optional<Service> m_watched;  ///< set while there is an observer
    ServiceObserver m_serviceObserver;
    bool m_isWaiting = false;  ///< with a change, until the program lets it continue

    std::atomic<std::int64_t> m_positionMs{0};
    std::atomic<std::uint64_t> m_size{0};
    bool m_hasWritten = false;  ///< the thread's own
    std::thread m_thread;
};

}  // namespace tvdesktop

#endif
