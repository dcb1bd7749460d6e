#include <algorithm>
#include <filesystem>
#include <sstream>

#include "Events.h"
#include "Failure.h"
#include "PlayerText.h"
#include "Playing.h"
#include "Recording.h"
#include "TimeText.h"
#include "Verbs.h"

namespace tool {

namespace {

constexpr std::int64_t kSkipMs = 10'000;
constexpr std::chrono::milliseconds kInterval(40);

/// One run of the verb, from the first request to the last.
class PlayRun {
  public:
    PlayRun(const PlayOptions &options, const Console &console)
        : m_options(options),
          m_terminal(console.terminal),
          m_playing(m_service, {options.clockFactor}) {
        ShowRequests(m_service, console);
    }

    void Run() {
        Begin();
        while (!m_isDone && m_failure.empty() && !StopRequested()) {
            ShowEvents(kInterval);
            ObeyKeys();
            ShowState();
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
        m_playing.Open({m_options.file, m_options.fromMs, m_options.isTimeshift});
        if (m_options.videoPid)
            m_playing.ForceVideoPid(*m_options.videoPid);
        m_playing.Start();
        const std::int64_t duration = m_playing.GetProgress().durationMs;
        if (m_options.fromMs > duration)
            throw Failure("--from lies behind the end of the recording, which is at " +
                          TimeText(duration) + ".");
        if (m_options.speed != 1.0)
            m_playing.SetRate(m_options.speed);
    }

    void ShowEvents(std::chrono::milliseconds patience) {
        for (const tvdesktop::Event &event : m_playing.Take(patience)) {
            m_terminal.Line("event " + EventText(event));
            m_hasUnmuted = m_hasUnmuted || IsDetail(event, kUnmuted);
            if (m_failure.empty())
                m_failure = FailureText(event);
            if (IsDetail(event, kEndReached))
                m_isDone = m_isEndReached = true;
            if (IsDetail(event, kBeginningReached))
                TurnAtBeginning();
        }
    }

    /// Somebody at the keys sees the recording from its beginning; nobody there: it is over.
    void TurnAtBeginning() {
        if (m_terminal.isTerminal())
            m_playing.SetRate(1.0);
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
                return m_playing.SetRate(-m_playing.rate());
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
            m_playing.SetRate(key == '0' ? 0.5 : key - '0');
    }

    bool IsPaused() const { return m_playing.State().run == tvdesktop::PlayerState::Run::Paused; }

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
            m_terminal.Line("This service has no audio description.");
    }

    /// A status line on a terminal; elsewhere a line for every change.
    void ShowState() {
        const Progress now = m_playing.GetProgress();
        const std::string state =
            PlayerText(m_playing.State(), m_playing.ProgramAt(now.positionMs));
        m_terminal.Status(TimeText(now.positionMs) + " " + Bar(now.positionMs, now.durationMs) +
                          " " + TimeText(now.durationMs) + "  " + state);
        if (!m_terminal.isTerminal() && state != m_lastState)
            m_terminal.Line(TimeText(now.positionMs) + "  " + state);
        m_lastState = state;
    }

    std::string NothingSeenText() const {
        const tvdesktop::PlayerState state = m_playing.State();
        const bool hasVideo = state.hasVideo != 0;
        return std::string("Nothing to ") + (hasVideo ? "see" : "hear") +
               ": the decoder found no " +
               (hasVideo ? "picture on video PID " + PidText(state.videoPid)
                         : "sound on audio PID " + PidText(state.audioPid)) +
               " and never unmuted.";
    }

    const PlayOptions &m_options;
    Terminal &m_terminal;
    PvrService m_service;
    Playing m_playing;
    Keyboard m_keyboard;
    bool m_hasUnmuted = false;
    bool m_isEndReached = false;
    bool m_isDone = false;
    std::string m_failure;
    std::string m_lastState;
};

}  // namespace

void RunPlay(const PlayOptions &options, const Console &console) {
    if (!options.isTimeshift)      // which may still be empty
        ServicesOf(options.file);  // says clearly what is wrong with a file that cannot be played
    PlayRun(options, console).Run();
}

}  // namespace tool
