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

#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

/// Takes the place of the platform's: the objects that the doctor registers are none of a recorder.
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

/// What the process that loads tells the one that waits: a line each, a letter in front.
enum Tag : char { kStep = '>', kComplaint = '!', kVersion = '=', kDone = '.' };

// --- In the process that loads -------------------------------------------------------------------

class Patient {
  public:
    Patient(int report, std::string path, const ElfLibrary &library)
        : m_report(report), m_path(std::move(path)), m_library(library) {}

    /// @return whether every round was completed
    bool Run() {
        if (!Load())
            return false;
        NameOwnSymbolIfMissing();
        AskVersion();
        if (!Unload() || !Use())
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
        const char *const error = dlerror();
        Tell(kComplaint,
             std::string("it does not load: ") + (error != nullptr ? error : "no reason"));
        NameMissingSymbols();
        return false;
    }

    bool Unload() {
        Tell(kStep, "unloading it");
        if (dlclose(m_handle) == 0)
            return true;
        Tell(kComplaint, std::string("it cannot be unloaded: ") + dlerror());
        return false;
    }

    /// Loads, registers, sends a request that needs no platform, destroys and unloads.
    bool Use() { return Load() && Register() && Ask() && Destroy() && Unload(); }

    /// Calls an entry point by its symbol name; one that is missing was reported.
    template <typename Signature, typename... Values>
    auto Call(const char *step, const char *symbol, Values &&...values) const {
        Tell(kStep, step);
        auto *const function = reinterpret_cast<Signature *>(dlsym(m_handle, symbol));
        using Answer = decltype(function(values...));
        return function != nullptr ? function(values...) : Answer{};
    }

    bool Succeeds(const char *step, const char *symbol, void *object) const {
        const unsigned int result = Call<unsigned int(void *)>(step, symbol, object);
        if (result != 0)
            Tell(kComplaint, std::string(step) + " was answered with " + std::to_string(result));
        return result == 0;
    }

    bool Register() {
        return Succeeds("registering a player", "_Z21mox_pvr_set_tv_playerPv", m_objects[0]) &&
               Succeeds("registering a stream", "_Z21mox_pvr_set_tv_streamPv", m_objects[1]) &&
               Succeeds("registering a recorder", "_Z27mox_pvr_set_recorder_handlePv",
                        m_objects[2]);
    }

    bool Ask() const {
        moxpvr::RequestText question(moxpvr::recorder::GetTunerIndex{});
        moxpvr::recorder::GetTunerIndexReply answer;
        unsigned char reply[64] = {};
        unsigned int size = 0;
        const unsigned int result =
            Call<unsigned int(unsigned int, unsigned char *, unsigned int &, unsigned char *)>(
                "sending a request", "_Z25mox_pvr_control_recordingjPhRjS_", question.size(),
                question.data(), size, reply);
        const bool isAnswered =
            result == 0 && size <= sizeof reply && moxpvr::DecodeText(reply, size, answer);
        if (!isAnswered)
            Tell(kComplaint, "it does not answer GetTunerIndex as documented (result " +
                                 std::to_string(result) + ")");
        return isAnswered;
    }

    bool Destroy() const {
        Call<int(MOXHandle)>("destroying the playback", "_ZN9MoxPvrAPI15DestroyPlaybackE9MOXHandle",
                             kPlayback);
        Call<int(MOXHandle)>("destroying the recorder", "_ZN9MoxPvrAPI15DestroyRecorderE9MOXHandle",
                             kRecorder);
        return true;
    }

    void AskVersion() const {
        const char *const version =
            Call<const char *()>("asking for its version", "_Z15mox_pvr_versionv");
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
            Tell(kComplaint, "it leaves " + std::to_string(after - before) + " " + what +
                                 "(s) open after " + std::to_string(kRounds) + " rounds");
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
    // What the library logs and prints is none of the report, which may have the number of a
    // standard stream that is closed.
    const int report = fcntl(reportDescriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (nowhere >= 0)
            dup2(nowhere, standard);
    Patient patient(report, path, library);
    const bool isComplete = patient.Run();
    patient.Tell(kStep, "ending the process");
    if (isComplete)
        patient.Tell(kDone, "");
    std::exit(0);
}

// --- In the process that waits -------------------------------------------------------------------

struct Course {
    std::string step = "starting a process for it";
    bool isDone = false;
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
            course.isDone = true;
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
        const bool hasEnded = HasEnded(child);  // first, so that all it has told is there
        const bool isLate = std::chrono::steady_clock::now() > course.deadline;
        if (isLate && !hasEnded) {
            course.tookTooLong = true;
            kill(child, SIGKILL);
        }
        if (poll(&report, 1, hasEnded ? 0 : kLookAgain) > 0)
            return !(isLate && hasEnded);  // others may tell without end
        if (hasEnded)
            return false;
    }
}

/// Reads until the other process has ended.
Course Follow(int descriptor, pid_t child, Report &report) {
    Course course;
    std::string pending;
    char buffer[4096];
    ssize_t got = 0;
    while (WaitForReport(descriptor, child, course) &&
           ((got = read(descriptor, buffer, sizeof buffer)) > 0 || (got < 0 && errno == EINTR))) {
        pending.append(buffer, got > 0 ? static_cast<std::size_t>(got) : 0);
        for (std::size_t end; (end = pending.find('\n')) != std::string::npos;
             pending.erase(0, end + 1))
            if (end > 0)
                TakeLine(pending.substr(0, end), course, report);
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
             (!course.isDone && report.complaints.size() == complaintsBefore))
        report.complaints.push_back(course.step + " ended the process (exit code " +
                                    std::to_string(WEXITSTATUS(status)) + ")");
    else if (course.isDone)
        report.facts.push_back(
            {"tried", std::to_string(kRounds) + " times loaded, registered and unloaded"});
}

}  // namespace

void Try(const std::string &path, const ElfLibrary &library, Report &report) {
    // The loader would look for a name without a slash in its own folders.
    char whole[PATH_MAX];
    if (realpath(path.c_str(), whole) == nullptr) {
        report.complaints.push_back(std::string("it was not tried: ") + std::strerror(errno));
        return;
    }
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        report.complaints.push_back(std::string("it was not tried: ") + std::strerror(errno));
        return;
    }
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        RunPatient(ends[1], whole, library);
    }
    close(ends[1]);
    const std::size_t complaintsBefore = report.complaints.size();
    const Course course = Follow(ends[0], child, report);
    close(ends[0]);
    int status = 0;
    if (child < 0)
        report.complaints.push_back(std::string("it was not tried: ") + std::strerror(errno));
    else if (waitpid(child, &status, 0) == child)
        ReportEnd(status, course, complaintsBefore, report);
}

}  // namespace doctor
