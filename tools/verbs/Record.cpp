#include "verbs/Record.h"

#include <algorithm>
#include <filesystem>

#include "Failure.h"
#include "service/Events.h"
#include "service/Input.h"
#include "service/RecordingControl.h"
#include "text/ChangeText.h"
#include "text/EventText.h"
#include "text/OutcomeText.h"
#include "text/TimeText.h"
#include "verbs/OutputFile.h"

namespace tool {

namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

const tvdesktop::Service &FindService(const std::vector<tvdesktop::Service> &services,
                                      std::uint16_t id) {
    for (const tvdesktop::Service &service : services)
        if (service.id == id)
            return service;
    std::string known;
    for (const tvdesktop::Service &service : services)
        known += (known.empty() ? "" : ", ") + std::to_string(service.id);
    throw Failure("cannot record service " + std::to_string(id) + ": the input has only " + known +
                  "; name one of them with --service");
}

void CheckOptions(const RecordOptions &options) {
    if (options.durationMs == 0)
        throw UsageError("--seconds 0 records nothing; give a longer time");
    if (options.swapAfterMs.has_value() != !options.swapTo.empty())
        throw UsageError("cannot swap: --swap-after and --swap-to belong together; give both");
    if (options.swapAfterMs && !options.isTimeshift)
        throw UsageError("cannot swap: --swap-after needs a timeshift buffer; add --timeshift");
    if (options.swapAfterMs && options.durationMs && *options.swapAfterMs >= *options.durationMs)
        throw UsageError("cannot swap: --swap-after is not before the end that --seconds sets");
    std::error_code ignored;
    const bool exists = options.input == "-" || fs::exists(options.input, ignored);
    if (exists && !fs::is_regular_file(options.input, ignored))
        throw UsageError("cannot record from " + options.input +
                         ": it is not a regular file, and the input is read twice, for its "
                         "services and to record; save it in a file first");
    if (!options.swapTo.empty() && IsSamePlace(options.swapTo, options.out))
        throw UsageError(
            "cannot swap: --swap-to names the timeshift buffer itself; name another file");
    if (options.swapAfterMs && options.speed == 0)
        throw UsageError(
            "cannot swap: --swap-after cannot be met at --speed max; give a speed such as 20");
    CheckOutput(options.out, options.input, options.force);
    if (!options.swapTo.empty())
        CheckOutput(options.swapTo, options.input, options.force);
}

/// One run of the verb, from the first request to the last.
class RecordRun {
  public:
    RecordRun(const RecordOptions &options, const tvdesktop::Service &service,
              const Console &console)
        : m_options(options),
          m_service(service),
          m_current(service),
          m_terminal(console.terminal),
          m_recording(m_pvr, {options.input, options.speed}) {
        ShowRequests(m_pvr, console);
    }

    void Run() {
        MakeWay(m_options.out, m_earlier);
        m_pvr.WatchService(m_service);
        m_recording.Start(m_service, {m_options.out, m_options.isTimeshift}, m_options.durationMs);
        WriteInformationBeside(m_options.out);
        while (!m_isEnded && m_failure.empty() && !StopRequested())
            Follow();
        End();
    }

  private:
    void Follow() {
        ShowEvents(Patience());
        if (const auto change = m_pvr.TakeServiceChange()) {
            FollowChange(*change);
            m_pvr.ContinueRecording();
        }
        m_progress = m_recording.GetProgress();
        if (IsTimeToSwap())
            Swap();
        m_terminal.Status(StatusText());
    }

    /// What cannot be recorded (a service without picture and sound for a while) changes nothing:
    /// the next change may bring it back.
    void FollowChange(const tvdesktop::ServiceChange &change) {
        const std::string at = " at " + TimeText(change.timeMs);
        if (m_isListed != change.isListed)
            m_terminal.Line(change.isListed ? "the service is back in the PAT" + at
                                            : "the service is no longer in the PAT" + at +
                                                  "; its PIDs are recorded as before");
        m_isListed = change.isListed;
        const std::string changed = ChangeText(m_current, change.service);
        if (!changed.empty())
            m_terminal.Line("the service changed its streams" + at + ": " + changed);
        m_current = change.service;
        try {
            ProgramOf(change.service);
        } catch (const Failure &failure) {
            m_terminal.Line(failure.what() + std::string("; its PIDs are recorded as before"));
            return;
        }
        m_recording.ChangeTo(change.service);
    }

    bool IsTimeToSwap() const {
        return m_options.swapAfterMs && !m_isSwapped && !m_isEnded &&
               m_progress.positionMs >= *m_options.swapAfterMs;
    }

    /// How long to wait between two reads of the position, so that the time of a swap is met
    /// equally well at any speed.
    milliseconds Patience() const {
        constexpr double kUsual = 50;
        if (!m_options.swapAfterMs || m_isSwapped)
            return milliseconds(static_cast<int>(kUsual));
        const double wait = m_options.speed > 0 ? kUsual / m_options.speed : 1;
        return milliseconds(static_cast<int>(std::clamp(wait, 1.0, kUsual)));
    }

    void ShowEvents(milliseconds patience) {
        for (const tvdesktop::Event &event : m_pvr.Take(patience)) {
            m_terminal.Line("event " + EventText(event));
            if (m_failure.empty())
                m_failure = WithReason(EventFailureText(event));
            m_isEnded = m_isEnded || IsDetail(event, kRecordingEnded);
        }
    }

    std::string WithReason(const std::string &message) const {
        const std::string reason = message.empty() ? "" : m_recording.FailureReason();
        return reason.empty() ? message : message + " (" + reason + ")";
    }

    /// Looks once more at what is there: time has gone by since the options were checked.
    void MakeWay(const std::string &path, SetAside &earlier) const {
        CheckOutput(path, m_options.input, m_options.force);
        if (m_options.force)
            earlier.Take(path);
    }

    void Swap() {
        SetAside earlier;
        try {
            MakeWay(m_options.swapTo, earlier);
            m_recording.SwapTo(m_options.swapTo);
        } catch (const std::runtime_error &failure) {
            m_earlier.Remove();
            throw Failure(failure.what() + BufferKeptText());
        }
        earlier.Remove();
        m_earlier.Remove();
        m_isSwapped = true;
        DropInformationWithout(m_options.out);  // it went with the buffer
        WriteInformationBeside(m_options.swapTo);
        m_terminal.Line("the timeshift buffer became " + m_options.swapTo + " at " +
                        TimeText(m_progress.positionMs));
    }

    void WriteInformationBeside(const std::string &path) {
        if (IsDevice(path))
            return;
        WriteInformation(path, InformationOf(m_service));
        m_hasInformation = true;
    }

    void DropInformationWithout(const std::string &recording) const {
        std::error_code ignored;
        if (m_hasInformation && !fs::exists(recording, ignored))
            fs::remove(InformationPath(recording), ignored);
    }

    void End() {
        m_progress = m_recording.GetProgress();
        const std::string stopFailure = Stop();
        ShowEvents(milliseconds(0));
        m_terminal.ClearStatus();
        const tvdesktop::RecordingReport report = m_recording.Report();
        if (const std::string loss = LossText(report); !loss.empty())
            m_terminal.Line(loss, Style::Bad);
        if (m_failure.empty())
            m_failure = stopFailure;
        if (m_failure.empty())
            m_failure = UselessText(report);
        if (report.units + report.scrambled > 0)
            m_earlier.Remove();
        else if (m_earlier.HasFiles() && stopFailure.empty())  // so the name is still its own
            RemoveRecording(m_options.out);
        if (!m_failure.empty()) {
            DropInformationWithout(Destination());
            throw Failure(m_failure + LeftText());
        }
        if (m_options.swapAfterMs && !m_isSwapped)
            throw Failure("cannot swap at " + TimeText(*m_options.swapAfterMs) + ": " +
                          (StopRequested() ? "interrupted before" + BufferKeptText()
                                           : "the recording ended before" + BufferKeptText() +
                                                 "; a lower --speed leaves more time"));
        m_terminal.Line(SummaryText(), Style::Good);
    }

    /// @return why a stop failed; an event that came before it has the better reason
    std::string Stop() {
        try {
            m_recording.Stop();
            return "";
        } catch (const Failure &failure) {
            return failure.what();
        }
    }

    std::string BufferKeptText() const {
        std::error_code ignored;
        return fs::exists(m_options.out, ignored)
                   ? "; the timeshift buffer is still in " + m_options.out
                   : "";
    }

    /// @return which recording is there after a failure, and where
    std::string LeftText() const {
        std::error_code ignored;
        if (m_earlier.HasFiles())
            return "; the earlier recording is in " +
                   (fs::exists(m_options.out, ignored) ? m_earlier.Place() : m_options.out);
        return fs::is_regular_file(Destination(), ignored)
                   ? "; " + Destination() + " and the files beside it stay"
                   : "";
    }

    std::string Destination() const { return m_isSwapped ? m_options.swapTo : m_options.out; }

    std::string SizeText() const {
        std::error_code error;
        const std::uintmax_t size = fs::file_size(Destination(), error);
        return error ? "" : std::to_string((size + 512) / 1024) + " KiB";
    }

    std::string StatusText() const {
        const std::int64_t total = m_options.durationMs.value_or(0);
        return TimeText(m_progress.positionMs) + " " + Bar(m_progress.positionMs, total) +
               (total > 0 ? " " + TimeText(total) + "  " : " ") + SizeText() + "  " +
               TitleOf(m_service) + "  Ctrl-C stops";
    }

    std::string SummaryText() const {
        const std::string size = SizeText();
        return std::string(m_options.isTimeshift && !m_isSwapped ? "buffered " : "recorded ") +
               TimeText(m_progress.positionMs) + " of " + TitleOf(m_service) + " to " +
               Destination() + (size.empty() ? "" : " (" + size + ")");
    }

    const RecordOptions &m_options;
    const tvdesktop::Service &m_service;  ///< as it was when the recording began
    tvdesktop::Service m_current;         ///< as it is now
    Terminal &m_terminal;
    SetAside m_earlier;  ///< what was at `out`; comes back after the recorder is destroyed
    PvrService m_pvr;
    RecordingControl m_recording;
    Progress m_progress;
    bool m_isListed = true;
    bool m_isSwapped = false;
    bool m_hasInformation = false;
    bool m_isEnded = false;
    std::string m_failure;
};

}  // namespace

void RunRecord(const RecordOptions &options, const Console &console) {
    CatchStopSignals();
    CheckOptions(options);
    const std::vector<tvdesktop::Service> services = ServicesOf(options.input);
    RecordRun(options, FindService(services, options.serviceId), console).Run();
}

}  // namespace tool
