#include "text/Terminal.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "Failure.h"

namespace tool {

namespace {

constexpr std::size_t kBarWidth = 16;
constexpr int kStopSignals[] = {SIGINT, SIGTERM, SIGHUP};
constexpr int kFatalSignals[] = {SIGQUIT, SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL};

constexpr std::uint32_t kSameRequestMs = 500;

// Signals reach any thread. Milliseconds of a clock that only goes forward; they may wrap.
std::atomic<int> g_stopSignal{0};  ///< the first one; 0: none came
std::atomic<std::uint32_t> g_stopTimeMs{0};
static_assert(std::atomic<std::uint32_t>::is_always_lock_free &&
                  std::atomic<int>::is_always_lock_free,
              "used by signal handlers");
volatile std::sig_atomic_t g_readsKeys = 0;
void (*g_onStop)(int) = SIG_DFL;  ///< what the stop signals do outside of StopAtOnce

// The terminal's own mode, for the signal handlers: tcsetattr is async-signal-safe.
termios g_ownMode;
termios g_keyMode;

void RestoreOwnMode() {
    if (g_readsKeys != 0)
        tcsetattr(STDIN_FILENO, TCSANOW, &g_ownMode);
}

void OnFatal(int signal) {
    RestoreOwnMode();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

std::uint32_t NowMs() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint32_t>(now.tv_sec) * 1000U +
           static_cast<std::uint32_t>(now.tv_nsec / 1'000'000);
}

/// The first asks, a later one does not wait for an answer. What follows at once is the same
/// request: `timeout` and terminals signal a program and then its group.
void OnStop(int signal) {
    const std::uint32_t now = NowMs();
    if (g_stopSignal.load() == 0) {
        g_stopTimeMs = now;
        g_stopSignal = signal;
    } else if (now - g_stopTimeMs.load() >= kSameRequestMs) {
        OnFatal(signal);
    }
}

void OnSuspend(int /*signal*/) {
    RestoreOwnMode();
    std::raise(SIGSTOP);
}

void OnContinue(int /*signal*/) {
    tcsetattr(STDIN_FILENO, TCSANOW, &g_keyMode);
}

void Handle(int signal, void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_NODEFER;  // a handler raises its own signal again
    sigaction(signal, &action, nullptr);
}

std::size_t Columns() {
    constexpr std::size_t kUsual = 80;
    winsize size = {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col < 2)
        return kUsual;
    return size.ws_col;
}

int g_outputError = 0;  ///< errno of the first write to standard output that failed

void Print(const std::string &text) {
    const bool isWritten = std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
    if (!isWritten && g_outputError == 0)
        g_outputError = errno;
}

/// @return the value of a variable, empty when it is not set
std::string Environment(const char *name) {
    const char *value = std::getenv(name);
    return value != nullptr ? value : "";
}

/// Cuts UTF-8 text between characters.
std::string FirstCharacters(const std::string &text, std::size_t count) {
    std::size_t end = 0;
    for (; end < text.size(); ++end) {
        const bool beginsCharacter = (static_cast<unsigned char>(text[end]) & 0xC0) != 0x80;
        if (beginsCharacter && count-- == 0)
            break;
    }
    return text.substr(0, end);
}

const char *Code(Style style) {
    switch (style) {
        case Style::Title:
            return "\033[1m";
        case Style::Faint:
            return "\033[2m";
        case Style::Good:
            return "\033[32m";
        case Style::Bad:
            return "\033[31m";
        case Style::Plain:
            break;
    }
    return "";
}

}  // namespace

Terminal::Terminal() {
    const std::string terminal = Environment("TERM");
    m_hasEscapes = isatty(STDOUT_FILENO) == 1 && !terminal.empty() && terminal != "dumb";
    m_hasColour = m_hasEscapes && Environment("NO_COLOR").empty();
}

Terminal::~Terminal() {
    ClearStatus();
}

void Terminal::Line(const std::string &text, Style style) {
    Text(Paint(text, style) + "\n");
}

void Terminal::Text(const std::string &text) {
    ClearStatus();
    Print(text);
}

void Terminal::Status(const std::string &text) {
    if (!m_hasEscapes)
        return;
    Print("\r\033[K" + FirstCharacters(text, Columns() - 1));
    m_hasStatus = true;
}

void Terminal::ClearStatus() {
    if (m_hasStatus)
        Print("\r\033[K");
    m_hasStatus = false;
}

std::string Terminal::Paint(const std::string &text, Style style) const {
    if (!m_hasColour || style == Style::Plain)
        return text;
    return Code(style) + text + "\033[0m";
}

void CheckStandardOutput() {
    if (g_outputError != 0)
        throw Failure(std::string("cannot write to standard output: ") +
                      std::strerror(g_outputError));
}

std::string Bar(std::int64_t position, std::int64_t duration) {
    if (duration <= 0)
        return "";
    const std::int64_t reached = std::clamp<std::int64_t>(position, 0, duration);
    const auto filled =
        static_cast<std::size_t>(static_cast<std::int64_t>(kBarWidth) * reached / duration);
    std::string bar(filled, '=');
    if (filled < kBarWidth)
        bar += '>';
    bar.resize(kBarWidth, ' ');
    return "[" + bar + "]";
}

Keyboard::Keyboard() {
    if (isatty(STDIN_FILENO) != 1 || isatty(STDOUT_FILENO) != 1 ||
        tcgetattr(STDIN_FILENO, &g_ownMode) != 0)
        return;
    g_keyMode = g_ownMode;
    g_keyMode.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    g_keyMode.c_cc[VMIN] = 0;
    g_keyMode.c_cc[VTIME] = 0;
    g_readsKeys = 1;
    for (const int signal : kFatalSignals)
        Handle(signal, OnFatal);
    Handle(SIGTSTP, OnSuspend);
    Handle(SIGCONT, OnContinue);
    m_isActive = tcsetattr(STDIN_FILENO, TCSANOW, &g_keyMode) == 0;
}

Keyboard::~Keyboard() {
    if (!m_isActive)
        return;
    RestoreOwnMode();
    g_readsKeys = 0;
    for (const int signal : kFatalSignals)
        Handle(signal, SIG_DFL);
    Handle(SIGTSTP, SIG_DFL);
    Handle(SIGCONT, SIG_DFL);
}

int Keyboard::Next() {
    const int key = m_isActive ? NextByte() : kKeyNone;
    if (key != '\033')
        return key;
    const int opener = NextByte();
    if (opener != '[' && opener != 'O')
        return kKeyNone;
    switch (NextByte()) {
        case 'C':
            return kKeyRight;
        case 'D':
            return kKeyLeft;
        default:
            return kKeyNone;
    }
}

int Keyboard::NextByte() {
    pollfd ready = {STDIN_FILENO, POLLIN, 0};
    unsigned char byte = 0;
    if (poll(&ready, 1, 0) != 1 || read(STDIN_FILENO, &byte, 1) != 1)
        return kKeyNone;
    return byte;
}

void CatchStopSignals() {
    g_onStop = OnStop;
    for (const int signal : kStopSignals)
        Handle(signal, g_onStop);
    Handle(SIGPIPE, SIG_IGN);  // a reader that goes away must not cut a recording short
}

bool StopRequested() {
    return g_stopSignal != 0;
}

StopAtOnce::StopAtOnce() {
    for (const int signal : kStopSignals)
        Handle(signal, OnFatal);
    if (StopRequested())
        OnFatal(g_stopSignal);
}

StopAtOnce::~StopAtOnce() {
    for (const int signal : kStopSignals)
        Handle(signal, g_onStop);
}

}  // namespace tool
