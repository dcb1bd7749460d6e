#include "recorder/Recorder.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <memory>
#include <utility>

namespace tvdesktop {

namespace {

using Next = RecordingSession::Next;

constexpr std::chrono::seconds kDrainTime{1};   ///< for a stopped sink that takes nothing
constexpr std::int64_t kShortestMeasure = 500;  ///< milliseconds that give a rate

thread_local const Recorder *t_recorderOfThread = nullptr;

/// A FIFO whose reader has gone is an error like others, not a signal.
void BlockBrokenPipeSignal() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

}  // namespace

// --- Calls ---------------------------------------------------------------------------------------

Recorder::Recorder(RecorderOptions options)
    : PlatformObject(kKind), m_options(std::move(options)) {}

Recorder::~Recorder() {
    Stop();
}

bool Recorder::IsOnThread() const {
    return t_recorderOfThread == this;
}

void Recorder::Wake() {
    m_isChanged = true;
    m_wakeup.Notify();
}

RecorderCode Recorder::SetCallback(tv_recorder_callback callback, void *userData) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_callback = callback;
    m_userData = userData;
    return kRecorderOk;
}

RecorderCode Recorder::SetServiceObserver(const Service &known, ServiceObserver observer) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_watched.reset();
    if (observer)
        m_watched = known;
    m_serviceObserver = std::move(observer);
    m_isWaiting = false;
    m_changes.watch = true;
    Wake();
    return kRecorderOk;
}

RecorderCode Recorder::Continue() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_isWaiting = false;
    Wake();
    return kRecorderOk;
}

/// A file-driven recorder has no tuner; what it can ready is the source.
RecorderCode Recorder::Prepare() {
    const bool isReadable =
        m_options.source == "-" || ::access(m_options.source.c_str(), R_OK) == 0;
    return isReadable ? kRecorderOk : kRecorderSourceFailed;
}

RecorderCode Recorder::Start() {
    if (IsOnThread())
        return kRecorderInsideCallback;
    std::unique_lock<std::mutex> lock(m_mutex);
    if (IsRunning())
        return kRecorderAlreadyRunning;
    if (m_fileName.empty())
        return kRecorderNoSink;
    m_state = State::Idle;
    m_failure.clear();
    lock.unlock();
    if (m_thread.joinable())
        m_thread.join();

    auto session = std::make_unique<RecordingSession>(
        m_options.speed, [this](int descriptor) { return WaitForRoom(descriptor); });
    RecorderCode opened = session->Open(m_options.source, m_fileName);
    session->Select(m_selection);
    session->LimitTo(m_limitMs);
    session->Watch(m_watched);
    if (opened == kRecorderOk && m_channel && !session->AddStretch(*m_channel))
        opened = kRecorderSinkFailed;

    lock.lock();
    if (opened != kRecorderOk) {
        m_failure = session->ErrorText();
        return opened;
    }
    m_hasFile = session->WritesFile();
    m_changes = {};
    m_isStopping = false;
    m_isWaiting = false;
    m_stopResult = kRecorderOk;
    m_positionMs = 0;
    m_size = 0;
    m_hasWritten = false;
    m_thread = std::thread([this, owned = std::move(session)] { Run(*owned); });
    m_state = State::Recording;
    return kRecorderOk;
}

RecorderCode Recorder::ChangeState(State from, State to) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_state != from)
        return kRecorderNotRunning;
    m_state = to;
    m_changes.pause = true;
    Wake();
    return kRecorderOk;
}

RecorderCode Recorder::Pause() {
    return ChangeState(State::Recording, State::Paused);
}

RecorderCode Recorder::Resume() {
    return ChangeState(State::Paused, State::Recording);
}

RecorderCode Recorder::Stop() {
    if (IsOnThread())
        return kRecorderInsideCallback;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_state == State::Idle)
            return kRecorderNotRunning;
        m_isStopping = true;
        m_drainEnd = RecordingSession::Clock::now() + kDrainTime;
        Wake();
    }
    if (m_thread.joinable())
        m_thread.join();
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_state = State::Idle;
    return m_stopResult;
}

RecorderCode Recorder::Apply(const RecorderPropertyList &list) {
    std::unique_lock<std::mutex> lock(m_mutex);
    if (IsRunning() && list.TouchesSink())
        return kRecorderAlreadyRunning;
    if (list.swapTo && IsOnThread())
        return kRecorderInsideCallback;

    m_fileName = list.fileName.value_or(m_fileName);
    m_isTimeshift = list.isTimeshift.value_or(m_isTimeshift);
    m_selection.Apply(list.pids);
    for (const TvChannelInfo &channel : list.channels) {
        m_selection.TakePcrPidOf(channel.pcrPid);
        m_channel = channel;
        m_changes.channel = channel;
    }
    m_changes.selection = true;
    Wake();
    return list.swapTo ? Swap(lock, *list.swapTo) : kRecorderOk;
}

RecorderCode Recorder::Swap(std::unique_lock<std::mutex> &lock, const std::string &path) {
    if (!IsRunning())
        return kRecorderNotRunning;
    if (!m_isTimeshift || !m_hasFile)
        return kRecorderNotTimeshift;
    m_swapResult.reset();
    m_failure.clear();
    m_changes.swapTo = path;
    m_swapped.wait(lock, [this] { return m_swapResult || !IsRunning(); });
    const RecorderCode result = m_swapResult.value_or(kRecorderNotRunning);
    if (result == kRecorderOk) {
        m_isTimeshift = false;
        m_fileName = path;
    }
    return result;
}

RecorderCode Recorder::SetDuration(int milliseconds) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_limitMs = milliseconds;
    m_changes.limit = true;
    Wake();
    return kRecorderOk;
}

RecorderCode Recorder::GetPosition(long long *position, long long *duration) const {
    if (position == nullptr || duration == nullptr)
        return kRecorderBadProperty;
    *position = m_positionMs;
    *duration = *position;
    return kRecorderOk;
}

RecorderCode Recorder::GetTimeshiftDuration(unsigned int sizeKiB, unsigned int *durationMs) const {
    if (durationMs == nullptr)
        return kRecorderBadProperty;
    const std::int64_t position = m_positionMs;
    const std::uint64_t size = m_size;
    if (position < kShortestMeasure || size == 0)
        return kRecorderRateUnknown;
    const double milliseconds =
        sizeKiB * 1024.0 * static_cast<double>(position) / static_cast<double>(size);
    *durationMs = milliseconds < UINT_MAX ? static_cast<unsigned int>(milliseconds) : UINT_MAX;
    return kRecorderOk;
}

std::string Recorder::Failure() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_failure;
}

RecordingReport Recorder::GetReport() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_report;
}

// --- The recorder's thread -----------------------------------------------------------------------

void Recorder::Run(RecordingSession &session) noexcept {
    t_recorderOfThread = this;
    BlockBrokenPipeSignal();
    try {
        Finish(session, Record(session));
    } catch (...) {
        Abandon();
    }
}

/// @return why the recording has ended; More when it was stopped
Next Recorder::Record(RecordingSession &session) {
    while (TakeChanges(session)) {
        const Next next = session.Advance(RecordingSession::Clock::now());
        if (next != Next::SinkFailed)
            PublishProgress(session);
        if (next == Next::AtTime)
            WaitForNews(session.WakeTime() - RecordingSession::Clock::now());
        else if (next == Next::AtSource)
            WaitForNews(std::nullopt, session.SourceDescriptor());
        else if (next == Next::AtChange)
            ReportChange(session.TakeChange());
        else if (next != Next::More)
            return next;
    }
    return session.ErrorText().empty() ? Next::More : Next::SinkFailed;
}

/// Takes what calls have left, and stays here while paused or waiting with a change.
/// @return false when the recording has ended: stopped, or a write failed
bool Recorder::TakeChanges(RecordingSession &session) {
    for (;;) {
        Changes changes;
        bool isPaused = false;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            isPaused = m_state == State::Paused || m_isWaiting;
            if (m_isStopping)
                return false;
            if (!m_isChanged && !isPaused)
                return true;
            m_isChanged = false;
            changes = std::exchange(m_changes, {});
            if (changes.selection)
                session.Select(m_selection);
            if (changes.limit)
                session.LimitTo(m_limitMs);
            if (changes.watch)
                session.Watch(m_watched);
        }
        if (!ApplyChanges(session, changes))
            return false;
        if (isPaused)
            WaitForNews(std::nullopt);
    }
}

/// @return false when a write failed, which ends the recording
bool Recorder::ApplyChanges(RecordingSession &session, const Changes &changes) {
    if (changes.pause) {
        session.Flush();
        session.RestartPacing();
    }
    if (changes.channel)
        session.AddStretch(*changes.channel);
    if (changes.swapTo) {
        const RecorderCode result = session.SwapTo(*changes.swapTo);
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_swapResult = result;
        if (result != kRecorderOk)
            m_failure = session.SwapProblem();
        m_swapped.notify_all();
    }
    if (!session.ErrorText().empty())
        return false;
    PublishProgress(session);
    return true;
}

/// Waits for a call, a time or a file to read from, unless a call has left something already.
void Recorder::WaitForNews(Wakeup::Timeout timeout, int file) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_isChanged)
            return;
    }
    m_wakeup.Wait(timeout, file, POLLIN);
}

/// @return false when the time has ended that a stop gives to all that is still to be written
bool Recorder::WaitForRoom(int descriptor) {
    for (;;) {
        Wakeup::Timeout timeout;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (m_isStopping)
                timeout = m_drainEnd - RecordingSession::Clock::now();
        }
        if (timeout && timeout->count() <= 0) {
            errno = ETIMEDOUT;
            return false;
        }
        if (m_wakeup.Wait(timeout, descriptor, POLLOUT))
            return true;
    }
}

void Recorder::ReportChange(const ServiceChange &change) {
    ServiceObserver observer;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        observer = m_serviceObserver;
        m_isWaiting = observer != nullptr;
    }
    try {
        if (observer)
            observer(change);
    } catch (...) {
        Continue();
    }
}

void Recorder::PublishProgress(const RecordingSession &session) {
    m_positionMs = session.PositionMs();
    m_size = session.Size();
    if (session.Size() > 0 && !std::exchange(m_hasWritten, true)) {
        Report(TV_PLAYER_CALLBACK_PVR_RECORDER_APPLICATION,
               m_messages.Application(kRecorderFirstPacket, 0));
    }
}

/// Closes the recording, then reports how it ended. Whatever the reason, what was accepted is kept.
void Recorder::Finish(RecordingSession &session, Next reason) {
    if (reason != Next::SinkFailed) {
        if (session.Finish())
            PublishProgress(session);
        else
            reason = Next::SinkFailed;
    }
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_state = State::Ended;
        m_report = session.Report();
        m_stopResult = reason == Next::SinkFailed ? kRecorderWriteFailed : kRecorderOk;
        m_failure = session.ErrorText();
        m_swapped.notify_all();
    }
    ReportEnd(session, reason);
}

/// Ends a recording for which memory ran out: nothing here needs any.
void Recorder::Abandon() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_state = State::Ended;
    m_stopResult = kRecorderOutOfResources;
    m_swapped.notify_all();
}

void Recorder::ReportEnd(const RecordingSession &session, Next reason) {
    if (reason == Next::More)
        return;
    if (reason == Next::Ended) {
        const auto position = static_cast<int>(std::min<std::int64_t>(m_positionMs, INT_MAX));
        Report(TV_PLAYER_CALLBACK_PVR_RECORDER_APPLICATION,
               m_messages.Application(kRecorderEnd, position));
        return;
    }
    const int errorReason = session.ErrorReason();
    RecorderError code = kRecorderErrorSource;
    if (reason == Next::SinkFailed)
        code = errorReason == ENOSPC || errorReason == EDQUOT ? kRecorderErrorNoSpace
                                                              : kRecorderErrorWrite;
    Report(TV_PLAYER_CALLBACK_PVR_RECORDER_ERROR,
           m_messages.Error(code, session.ErrorText(),
                            "after " + std::to_string(session.Size()) + " bytes, errno " +
                                std::to_string(errorReason)));
}

void Recorder::Report(TVCallbackType type, const MessagePtr &message) {
    tv_recorder_callback callback = nullptr;
    void *userData = nullptr;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        callback = m_callback;
        userData = m_userData;
    }
    if (callback != nullptr)
        callback(type, userData, message.get());
}

// --- What TvDesktop.h offers ---------------------------------------------------------------------

void *CreateRecorder(const RecorderOptions &options) try {
    return static_cast<PlatformObject *>(std::make_unique<Recorder>(options).release());
} catch (...) {
    return nullptr;
}

void DestroyRecorder(void *recorder) {
    const auto *target = ObjectAs<Recorder>(recorder);
    if (target != nullptr && !target->IsOnThread())
        delete target;
}

std::string RecorderFailure(void *recorder) {
    const auto *target = ObjectAs<Recorder>(recorder);
    return target != nullptr ? target->Failure() : "";
}

RecordingReport GetRecordingReport(void *recorder) {
    const auto *target = ObjectAs<Recorder>(recorder);
    return target != nullptr ? target->GetReport() : RecordingReport{};
}

void SetServiceObserver(void *recorder, const Service &known, ServiceObserver observer) {
    CallOn<Recorder>(recorder, [&](Recorder &target) {
        return target.SetServiceObserver(known, std::move(observer));
    });
}

void ContinueRecording(void *recorder) {
    CallOn<Recorder>(recorder, &Recorder::Continue);
}

}  // namespace tvdesktop
