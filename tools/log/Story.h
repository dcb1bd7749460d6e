/// @file
/// The lines of a log, told in order: which belongs to which operation, and what was lost.
#ifndef TOOLS_LOG_STORY_H
#define TOOLS_LOG_STORY_H

#include <optional>
#include <string>
#include <vector>

#include "log/LogReader.h"
#include "log/Messages.h"
#include "log/Operations.h"
#include "log/Session.h"

namespace tool::log {

/// A step with the lines it was made of.
struct ToldStep {
    Step step;
    std::vector<std::size_t> lines;  ///< indexes into Session::lines
};

/// What the service asked for, or what the platform called back, and all that this caused.
using Episode = std::vector<ToldStep>;

/// Follows operations from their first line to their last. Lines of operations that run at the same
/// time may be mixed: a line belongs to the operation of its name that has not ended.
///
/// Threads: thread-bound.
class Story {
  public:
    /// @param index   of the line in the session
    /// @param isCut   the reader or the log system has not the whole of it
    void Tell(const Line &line, std::size_t index, bool isCut, const Match &match);
    /// The log has ended.
    void End();

    std::vector<Episode> &Episodes() { return m_episodes; }
    /// @return what the log must have lost, in words
    std::vector<std::string> Missing() const;

  private:
    /// An operation that has begun.
    struct Running {
        const Operation *operation;
        std::size_t episode;
        std::size_t step;  ///< its own, in the episode
        bool hasLines = false;
        bool isRefused = false;
        bool hasEnded = false;
        std::size_t values = 0;
        std::optional<std::size_t> list{};  ///< step of the PIDs that are being listed
        std::size_t nextInList = 0;
    };
    struct Request {
        std::size_t episode;
        bool hasCommand = false;
        bool needsCommand = true;  ///< its text can be decoded
    };
    struct Loss {
        std::size_t line;  ///< in the log
        std::string text;
        bool isOfTrace;
    };
    struct Current;

    void TellRequestText(const Current &now);
    void TellCommand(const Current &now);
    void TellLookup(const Current &now);
    void TellOperation(const Current &now);
    void TellRole(Running &running, const Current &now);
    void TellEnd(Running &running, const Current &now);
    void TellStep(std::size_t episode, std::size_t parent, const Current &now);
    void TellEventOutcome(Running &running, const Current &now);
    void TellList(Running &running, const Current &now);
    void TellAlone(const Current &now);

    Running &RunningOf(const Operation &operation, const Current &now);
    Running *FindRunning(const Operation &operation);
    Running &Begin(const Operation &operation, const Current &now);
    void Await(std::size_t episode, const std::string &command, Side side);
    void Close(std::size_t at, bool hasEnded);
    void CloseRequest(Side side);
    void CheckEnd(const Running &running);
    void CheckEvents();
    void Lose(std::size_t line, const std::string &what, bool isOfTrace = false);

    std::size_t NewEpisode(StepKind kind, const std::string &title, const Current &now);
    ToldStep &StepOf(const Running &running);
    std::size_t FirstLine(const Running &running);
    std::optional<Request> &OpenRequest(Side side) {
        return side == Side::Recorder ? m_recorderRequest : m_playbackRequest;
    }

    std::vector<Episode> m_episodes;
    std::vector<Running> m_running;
    std::optional<Request> m_recorderRequest;
    std::optional<Request> m_playbackRequest;
    std::optional<std::size_t> m_lookup;  ///< episode of a lookup that no request has followed
    std::vector<std::size_t> m_numbers;   ///< in the log, of each line
    std::vector<Loss> m_losses;
    bool m_isUnderstood = false;  ///< at least one line
    bool m_hasProgress = false;
    bool m_hasTraces = false;
};

}  // namespace tool::log

#endif
