#include "Trial.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <MOXHandle.h>
#include <MoxPvrProtocol.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

/// Takes the place of the platform's: the objects that the doctor registers are not recorders.
extern "C" __attribute__((visibility("default"))) int tv_recorder_set_callback(
    void * /*recorder*/, void (* /*callback*/)(), void * /*userData*/) {
    return 0;
}

namespace doctor {

namespace {

constexpr int kRounds = 100;
constexpr std::chrono::seconds kPatience(120);  ///< for all of them
constexpr char kOwnSymbol[] = "tv_recorder_set_callback";
constexpr MOXHandle kPlayback{PROFILE_TYPE_MAIN, 0};
constexpr MOXHandle kRecorder{PROFILE_TYPE_RECORD, 0};

/// @name The entry points that a trial calls, by the names that services resolve
/// @{
constexpr char kSetPlayer[] = "_Z21mox_pvr_set_tv_playerPv";
constexpr char kSetStream[] = "_Z21mox_pvr_set_tv_streamPv";
constexpr char kSetRecorder[] = "_Z27mox_pvr_set_recorder_handlePv";
constexpr char kControlRecorder[] = "_Z25mox_pvr_control_recordingjPhRjS_";
constexpr char kDestroyPlayback[] = "_ZN9MoxPvrAPI15DestroyPlaybackE9MOXHandle";
constexpr char kDestroyRecorder[] = "_ZN9MoxPvrAPI15DestroyRecorderE9MOXHandle";
constexpr char kGetVersion[] = "_Z15mox_pvr_versionv";
constexpr const char *kEntryPoints[] = {kSetPlayer,       kSetStream,       kSetRecorder,
                                        kControlRecorder, kDestroyPlayback, kDestroyRecorder,
                                        kGetVersion};
/// @}

/// What the process that loads tells the one that waits: a line each, a letter in front.
enum Tag : char {
    kStep = '>',       ///< what it does next
    kComplaint = '!',  ///< what is wrong
    kVersion = '=',    ///< the library's version
    kDone = '.',       ///< all was tried: what that was
};

// --- In the process that loads -------------------------------------------------------------------

class Patient {
  public:
    Patient(int report, std::string path, const ElfLibrary &library)
        : m_report(report), m_path(std::move(path)), m_library(library) {}

    /// @return what was tried; empty when something went wrong before the end
    std::string Run() {
        if (!Load())
            return "";
        NameOwnSymbolIfMissing();
        if (!HasEntryPoints())
            return Unload() ? "only loaded and unloaded, as entry points are missing" : "";
        AskVersion();
        if (!Unload() || !UseRepeatedly())
            return "";
        return std::to_string(kRounds) + " times loaded, registered and unloaded";
    }

    void Tell(Tag tag, std::string text) const {
        for (char &c : text)
            if (c == '\n')
                c = ' ';
        text = static_cast<char>(tag) + text + '\n';
        if (write(m_report, text.data(), text.size()) < 0)
            _exit(1);  // nobody waits any more
    }

  private:
    bool Load() {
        Tell(kStep, "loading it");
        m_handle = dlopen(m_path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (m_handle != nullptr)
            return true;
        Tell(kComplaint, "it does not load: " + LoaderError());
        NameMissingSymbols();
        return false;
    }

    bool Unload() {
        Tell(kStep, "unloading it");
        if (dlclose(m_handle) == 0)
            return true;
        Tell(kComplaint, "it cannot be unloaded: " + LoaderError());
        return false;
    }

    static std::string LoaderError() {
        const char *const error = dlerror();
        return error != nullptr ? error : "no reason";
    }

    /// The first round may start what stays, so the others are compared with the state after it.
    bool UseRepeatedly() {
        if (!Use())
            return false;
        const std::size_t threads = CountIn("/proc/self/task");
        const std::size_t files = CountIn("/proc/self/fd");
        for (int round = 1; round < kRounds; ++round)
            if (!Use())
                return false;
        CompareCount("thread", threads, CountIn("/proc/self/task"));
        CompareCount("open file", files, CountIn("/proc/self/fd"));
        return true;
    }

    /// Loads, registers, sends a request that needs no platform, destroys and unloads.
    bool Use() { return Load() && Register() && Ask() && Destroy() && Unload(); }

    /// Complains of those that are exported only: the examination has complained of the others.
    bool HasEntryPoints() const {
        const std::vector<std::string> &exported = m_library.exported;
        bool hasAll = true;
        std::vector<std::string> hidden;  // exported, and missing all the same
        for (const char *symbol : kEntryPoints) {
            if (dlsym(m_handle, symbol) != nullptr)
                continue;
            hasAll = false;
            if (std::find(exported.begin(), exported.end(), symbol) != exported.end())
                hidden.emplace_back(symbol);
        }
        if (!hidden.empty())
            Tell(kComplaint, "it exports " + ListText(hidden) + ", which the loader does not find");
        return hasAll;
    }

    /// Calls an entry point, which HasEntryPoints() has found.
    template <typename Signature, typename... Values>
    auto Call(const char *step, const char *symbol, Values &&...values) const {
        Tell(kStep, step);
        auto *const function = reinterpret_cast<Signature *>(dlsym(m_handle, symbol));
        return function(values...);
    }

    bool Succeeds(const char *step, const char *symbol, void *object) const {
        const unsigned int result = Call<unsigned int(void *)>(step, symbol, object);
        if (result != 0)
            Tell(kComplaint, std::string(step) + " was answered with " + std::to_string(result));
        return result == 0;
    }

    bool Register() {
        return Succeeds("registering a player", kSetPlayer, m_objects[0]) &&
               Succeeds("registering a stream", kSetStream, m_objects[1]) &&
               Succeeds("registering a recorder", kSetRecorder, m_objects[2]);
    }

    bool Ask() const {
        moxpvr::RequestText question(moxpvr::recorder::GetTunerIndex{});
        moxpvr::recorder::GetTunerIndexReply answer;
        unsigned char reply[64] = {};
        unsigned int size = 0;
        const unsigned int result =
            Call<unsigned int(unsigned int, unsigned char *, unsigned int &, unsigned char *)>(
                "sending a request", kControlRecorder, question.size(), question.data(), size,
                reply);
        const bool isAnswered =
            result == 0 && size <= sizeof reply && moxpvr::DecodeText(reply, size, answer);
        if (!isAnswered)
            Tell(kComplaint, "it does not answer GetTunerIndex as documented (result " +
                                 std::to_string(result) + ")");
        return isAnswered;
    }

    bool Destroy() const {
        Call<int(MOXHandle)>("destroying the playback", kDestroyPlayback, kPlayback);
        Call<int(MOXHandle)>("destroying the recorder", kDestroyRecorder, kRecorder);
        return true;
    }

    void AskVersion() const {
        const char *const version = Call<const char *()>("asking for its version", kGetVersion);
        if (version != nullptr)
            Tell(kVersion, version);
    }

    /// @return whether something that is loaded defines a symbol, this program left aside
    bool IsDefined(const std::string &symbol) const {
        return dlsym(m_handle, symbol.c_str()) != nullptr ||
               dlsym(RTLD_NEXT, symbol.c_str()) != nullptr;
    }

    void NameOwnSymbolIfMissing() const {
        for (const std::string &symbol : m_library.required)
            if (symbol == kOwnSymbol && !IsDefined(symbol))
                TellMissing({symbol});
    }

    /// Of a library that cannot be loaded with all of its symbols.
    void NameMissingSymbols() {
        Tell(kStep, "loading it without what is missing");
        m_handle = dlopen(m_path.c_str(), RTLD_LAZY | RTLD_LOCAL);
        if (m_handle == nullptr)
            return;
        std::vector<std::string> missing;
        for (const std::string &symbol : m_library.required)
            if (!IsDefined(symbol))
                missing.push_back(symbol);
        if (!missing.empty())
            TellMissing(missing);
    }

    void TellMissing(const std::vector<std::string> &symbols) const {
        Tell(kComplaint, "neither it nor what it needs defines " + ListText(symbols));
    }

    static std::size_t CountIn(const char *folder) {
        DIR *const entries = opendir(folder);
        if (entries == nullptr)
            return 0;
        std::size_t count = 0;
        while (readdir(entries) != nullptr)
            ++count;
        closedir(entries);
        return count;
    }

    void CompareCount(const std::string &what, std::size_t before, std::size_t after) const {
        if (after > before)
            Tell(kComplaint, "it leaves " + std::to_string(after - before) + " more " + what +
                                 "(s) after " + std::to_string(kRounds) + " rounds");
    }

    int m_report;
    std::string m_path;
    const ElfLibrary &m_library;
    void *m_handle = nullptr;
    char m_objects[3][4096] = {};  ///< what stands for a player, a stream and a recorder
};

[[noreturn]] void RunPatient(int reportDescriptor, const std::string &path,
                             const ElfLibrary &library) {
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    prctl(PR_SET_PDEATHSIG, SIGKILL);  // nobody would end it then
    // What the library logs and prints is not part of the report. The report gets another number
    // first: it may have that of a standard stream, when that was closed.
    const int report = fcntl(reportDescriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (nowhere >= 0)
            dup2(nowhere, standard);
    Patient patient(report, path, library);
    const std::string tried = patient.Run();
    patient.Tell(kStep, "ending the process");
    if (!tried.empty())
        patient.Tell(kDone, tried);
    std::exit(0);
}

// --- In the process that waits -------------------------------------------------------------------

struct Course {
    std::string step = "starting a process for it";
    std::string tried;  ///< empty until all was tried
    bool tookTooLong = false;
    std::chrono::steady_clock::time_point deadline = std::chrono::steady_clock::now() + kPatience;
};

void TakeLine(const std::string &line, Course &course, Report &report) {
    const std::string text = line.substr(1);
    switch (line[0]) {
        case kStep:
            course.step = text;
            break;
        case kComplaint:
            report.complaints.push_back(text);
            break;
        case kVersion:
            report.facts.push_back({"version", text});
            break;
        case kDone:
            course.tried = text;
            break;
        default:
            break;
    }
}

bool HasEnded(pid_t child) {
    siginfo_t info{};
    return waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT) != 0 ||
           info.si_pid == child;
}

/// Waits until there is something to read, or the other process has ended; when that takes too
/// long, ends it. The pipe alone does not tell: what the library has forked keeps it open.
/// @return whether there is something to read, or the end of it
bool WaitForReport(int descriptor, pid_t child, Course &course) {
    constexpr int kLookAgain = 50;  // milliseconds
    pollfd report{descriptor, POLLIN, 0};
    for (;;) {
        const bool hasEnded = HasEnded(child);  // before poll(): then all that it wrote is there
        const bool isLate = std::chrono::steady_clock::now() > course.deadline;
        if (isLate && !hasEnded) {
            course.tookTooLong = true;
            kill(child, SIGKILL);
        }
        if (poll(&report, 1, hasEnded ? 0 : kLookAgain) > 0)
            return !(isLate && hasEnded);  // what it has forked may write without end
        if (hasEnded)
            return false;
    }
}

/// Takes the lines that are complete out of what was read.
void TakeLines(std::string &pending, Course &course, Report &report) {
    std::size_t start = 0;
    std::size_t end = 0;
    while ((end = pending.find('\n', start)) != std::string::npos) {
        if (end > start)
            TakeLine(pending.substr(start, end - start), course, report);
        start = end + 1;
    }
    pending.erase(0, start);
}

/// Reads until the other process has ended. It may close its end of the pipe and live on.
Course Follow(int descriptor, pid_t child, Report &report) {
    Course course;
    std::string pending;
    while (WaitForReport(descriptor, child, course)) {
        char buffer[4096];
        const ssize_t got = read(descriptor, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            break;
        if (got == 0)
            descriptor = -1;  // poll() takes no notice of it, so only the end is waited for
        pending.append(buffer, static_cast<std::size_t>(got));
        TakeLines(pending, course, report);
    }
    return course;
}

void ReportEnd(int status, const Course &course, std::size_t complaintsBefore, Report &report) {
    if (course.tookTooLong)
        report.complaints.push_back(course.step + " did not end within " +
                                    std::to_string(kPatience.count()) + " seconds");
    else if (WIFSIGNALED(status))
        report.complaints.push_back(course.step + " crashed the process (" +
                                    strsignal(WTERMSIG(status)) + ")");
    else if (WEXITSTATUS(status) != 0 ||
             (course.tried.empty() && report.complaints.size() == complaintsBefore))
        report.complaints.push_back(course.step + " ended the process (exit code " +
                                    std::to_string(WEXITSTATUS(status)) + ")");
    else if (!course.tried.empty())
        report.facts.push_back({"tried", course.tried});
}

void FollowToItsEnd(int descriptor, pid_t child, Report &report) {
    const std::size_t complaintsBefore = report.complaints.size();
    const Course course = Follow(descriptor, child, report);
    int status = 0;
    if (waitpid(child, &status, 0) == child)
        ReportEnd(status, course, complaintsBefore, report);
}

void ComplainNotTried(int error, Report &report) {
    report.complaints.push_back(std::string("it was not tried: ") + std::strerror(error));
}

}  // namespace

void Try(const std::string &path, const ElfLibrary &library, Report &report) {
    // The loader would look for a name without a slash in its own folders.
    char whole[PATH_MAX];
    int ends[2];
    if (realpath(path.c_str(), whole) == nullptr || pipe2(ends, O_CLOEXEC) != 0) {
        ComplainNotTried(errno, report);
        return;
    }
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0)
        ComplainNotTried(errno, report);
    if (child == 0) {
        close(ends[0]);
        RunPatient(ends[1], whole, library);
    }
    close(ends[1]);
    if (child > 0)
        FollowToItsEnd(ends[0], child, report);
    close(ends[0]);
}

}  // namespace doctor
