#include "verbs/Play.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "Failure.h"
#include "service/Events.h"
#include "service/Input.h"
#include "service/PlaybackControl.h"
#include "text/EventText.h"
#include "text/PlayerText.h"
#include "text/TimeText.h"

namespace tool {

namespace {

namespace fs = std::filesystem;
using std::chrono::steady_clock;
using Run = tvdesktop::PlayerState::Run;

constexpr std::int64_t kSkipMs = 10'000;
constexpr std::chrono::milliseconds kInterval(40);

/// A buffer that has not grown for this long may have lost its recorder.
constexpr std::chrono::seconds kQuiet(1);

void CheckSource(const std::string &path) {
    const std::string attempt = "cannot play " + path + ": ";
    if (::access(path.c_str(), R_OK) != 0)
        throw Failure(attempt + std::strerror(errno));
    std::error_code ignored;
    if (!fs::is_regular_file(path, ignored))
        throw Failure(attempt + "it is not a regular file; name a recording");
}

/// One run of the verb, from the first request to the last.
class PlayRun {
  public:
    PlayRun(const PlayOptions &options, const Console &console)
        : m_options(options),
          m_terminal(console.terminal),
          m_playing(m_pvr, {options.clockFactor}) {
        ShowRequests(m_pvr, console);
    }

    void Run() {
        Begin();
        while (!m_isDone && m_failure.empty() && !StopRequested()) {
            ShowEvents(kInterval);
            ObeyKeys();
            ShowState();
            if (m_options.isTimeshift && IsBufferPlayed())
                m_isDone = m_isEndReached = true;
        }
        m_playing.Stop();
        m_terminal.ClearStatus();
        if (!m_failure.empty())
            throw Failure(m_failure);
        if (m_isEndReached && !m_hasUnmuted)
            throw Failure(NothingSeenText());
    }

  private:
    void Begin() {
        OpenSource();
        ShowTimeSource();
        if (m_options.videoPid)
            m_playing.ForceVideoPid(*m_options.videoPid);
        m_playing.Start();
        const std::int64_t duration = m_playing.GetProgress().durationMs;
        if (m_options.fromMs > duration)
            throw Failure("cannot play from " + TimeText(m_options.fromMs) +
                          ": the recording ends at " + TimeText(duration) +
                          "; give an earlier --from");
        if (m_options.speed != 1.0)
            AskForRate(m_options.speed);
    }

    void OpenSource() {
        const Source source{m_options.file, m_options.fromMs, m_options.isTimeshift};
        try {
            Open(source);
        } catch (const Failure &) {
            if (!m_options.isTimeshift) {
                ServicesOf(m_options.file);  // has a clearer message, when it fails too
                throw;
            }
            AwaitBuffer();
            Open(source);
        }
    }

    /// May scan a recording, and nothing is at stake yet.
    void Open(const Source &source) {
        const StopAtOnce nothingToEnd;
        m_playing.Open(source);
    }

    void ShowTimeSource() {
        const std::string text = TimeSourceText(m_playing.TimesFrom(), m_options.file);
        if (!text.empty())
            m_terminal.Line(text);
    }

    /// A buffer is empty until its recorder has read the first packets.
    void AwaitBuffer() {
        std::error_code ignored;
        while (fs::file_size(m_options.file, ignored) == 0 && IsStillWritten(0) && !StopRequested())
            m_playing.Take(kInterval);
    }

    /// At the live edge of a buffer that no recorder writes any more.
    bool IsBufferPlayed() {
        const tvdesktop::PlayerState state = m_playing.State();
        const bool isAtEdge =
            state.run == Run::Playing && state.rate > 0 && state.positionMs >= state.durationMs;
        return isAtEdge && !IsStillWritten(state.durationMs);
    }

    bool IsStillWritten(std::int64_t durationMs) {
        const steady_clock::time_point now = steady_clock::now();
        const bool isQuiet = durationMs == m_seenMs && now - m_seenAt >= kQuiet;
        if (isQuiet && !m_playing.IsBeingWritten())
            return false;
        if (isQuiet || durationMs != m_seenMs)
            m_seenAt = now;
        m_seenMs = durationMs;
        return true;
    }

    void ShowEvents(std::chrono::milliseconds patience) {
        for (const tvdesktop::Event &event : m_playing.Take(patience)) {
            m_terminal.Line("event " + EventText(event));
            m_hasUnmuted = m_hasUnmuted || IsDetail(event, kUnmuted);
            if (m_failure.empty())
                m_failure = EventFailureText(event);
            if (IsDetail(event, kEndReached) && !m_options.isTimeshift)
                m_isDone = m_isEndReached = true;
            if (IsDetail(event, kBeginningReached))
                TurnAtBeginning();
        }
    }

    /// A user at the keys sees the recording from its beginning; without one it has ended.
    void TurnAtBeginning() {
        if (m_keyboard.IsActive())
            AskForRate(1.0);
        else
            m_isDone = m_isEndReached = true;
    }

    void ObeyKeys() {
        for (int key = m_keyboard.Next(); key != kKeyNone; key = m_keyboard.Next())
            Obey(key);
    }

    void Obey(int key) {
        switch (key) {
            case ' ':
                return TogglePause();
            case kKeyLeft:
                return m_playing.SkipTo(m_playing.GetProgress().positionMs - kSkipMs);
            case kKeyRight:
                return SkipAhead();
            case '-':
                return AskForRate(-m_playing.State().rate);
            case '.':
                return Step();
            case 'a':
                return ToggleAudioDescription();
            case 'q':
                m_isDone = true;
                return;
            default:
                break;
        }
        if (key >= '0' && key <= '9')
            AskForRate(key == '0' ? 0.5 : key - '0');
    }

    void AskForRate(double rate) {
        if (!m_playing.SetRate(rate))
            m_terminal.Line("cannot change to " + RateText(rate) +
                            ": a change of channel is under way; ask again after it");
    }

    bool IsPaused() const { return m_playing.State().run == Run::Paused; }

    void TogglePause() {
        if (IsPaused())
            m_playing.Resume();
        else
            m_playing.Pause();
    }

    void SkipAhead() {
        const Progress now = m_playing.GetProgress();
        m_playing.SkipTo(std::min(now.positionMs + kSkipMs, now.durationMs));
    }

    void Step() {
        if (!IsPaused())
            m_playing.Pause();
        m_playing.Step();
    }

    void ToggleAudioDescription() {
        if (m_playing.State().adEnabled)
            m_playing.DisableAudioDescription();
        else if (!m_playing.EnableAudioDescription())
            m_terminal.Line("cannot switch audio description on: the service has none");
    }

    /// A status line where there is one; elsewhere one line per change.
    void ShowState() {
        m_playing.GetProgress();  // as a service does; a player that is paused learns of growth
        const tvdesktop::PlayerState now = m_playing.State();
        const std::string state = PlayerText(now);
        m_terminal.Status(TimeText(now.positionMs) + " " + Bar(now.positionMs, now.durationMs) +
                          " " + TimeText(now.durationMs) + "  " + state);
        if (!m_terminal.HasStatusLine() && state != m_lastState)
            m_terminal.Line(TimeText(now.positionMs) + "  " + state);
        m_lastState = state;
    }

    std::string NothingSeenText() const {
        const tvdesktop::PlayerState state = m_playing.State();
        const bool hasVideo = state.hasVideo != 0;
        return std::string("nothing to ") + (hasVideo ? "see" : "hear") +
               ": the decoder found no " +
               (hasVideo ? "picture on video PID " + PidText(state.videoPid)
                         : "sound on audio PID " + PidText(state.audioPid)) +
               " and never unmuted";
    }

    const PlayOptions &m_options;
    Terminal &m_terminal;
    PvrService m_pvr;
    PlaybackControl m_playing;
    Keyboard m_keyboard;
    bool m_hasUnmuted = false;
    bool m_isEndReached = false;
    bool m_isDone = false;
    std::int64_t m_seenMs = 0;  ///< duration of the buffer and when it was read,
    steady_clock::time_point m_seenAt = steady_clock::now();  ///< or its recorder last seen
    std::string m_failure;
    std::string m_lastState;
};

}  // namespace

void RunPlay(const PlayOptions &options, const Console &console) {
    CatchStopSignals();
    CheckSource(options.file);
    PlayRun(options, console).Run();
}

}  // namespace tool
