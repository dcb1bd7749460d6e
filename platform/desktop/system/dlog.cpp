#include <dlog.h>
#include <fcntl.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <memory>
#include <mutex>
#include <string>

#include "system/FileDescriptor.h"
#include "TvDesktop.h"

namespace tvdesktop {

namespace {

/// Where lines go; a writer keeps the file that it took until its line is out.
struct Target {
    std::mutex mutex;
    std::shared_ptr<FileDescriptor> file;  ///< null: standard error
};

/// Never destroyed, so that late threads can still log.
Target &LogTarget() {
    static Target &target = *new Target;
    return target;
}

std::atomic<int> g_minimumPriority{0};

std::shared_ptr<FileDescriptor> CurrentFile() {
    Target &target = LogTarget();
    const std::lock_guard<std::mutex> lock(target.mutex);
    return target.file;
}

std::string TimeOfDay() {
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    tm local{};
    ::localtime_r(&now.tv_sec, &local);
    char date[32];
    const std::size_t length = std::strftime(date, sizeof date, "%Y-%m-%d %H:%M:%S", &local);
    char milliseconds[8];
    std::snprintf(milliseconds, sizeof milliseconds, ".%03d",
                  static_cast<int>(now.tv_nsec / 1'000'000 % 1000));
    return std::string(date, length) + milliseconds;
}

std::string Format(const char *format, va_list arguments) __attribute__((format(printf, 1, 0)));

std::string Format(const char *format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    if (length < 0)
        return {};
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, arguments);
    text.pop_back();
    return text;
}

/// `time prio tag text`, ended by exactly one newline more than the text has inside.
std::string Line(int priority, const char *tag, const std::string &text) {
    std::string line = TimeOfDay() + ' ' + std::to_string(priority) + ' ' +
                       (tag != nullptr ? tag : "-") + ' ' + text;
    if (line.back() != '\n')
        line += '\n';
    return line;
}

}  // namespace

bool SetLogFile(const std::string &path) {
    std::shared_ptr<FileDescriptor> file;
    if (!path.empty()) {
        file = std::make_shared<FileDescriptor>(
            ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644));
        if (!file->IsOpen())
            return false;
    }
    Target &target = LogTarget();
    const std::lock_guard<std::mutex> lock(target.mutex);
    target.file.swap(file);
    return true;
}

void SetLogMinimumPriority(int priority) {
    g_minimumPriority = priority;
}

}  // namespace tvdesktop

int __dlog_print(int /*log_id*/, int prio, const char *tag, const char *fmt, ...) {
    if (fmt == nullptr)
        return -1;
    if (prio < tvdesktop::g_minimumPriority)
        return 0;
    va_list arguments;
    va_start(arguments, fmt);
    int written = -1;
    try {
        const std::string line = tvdesktop::Line(prio, tag, tvdesktop::Format(fmt, arguments));
        const auto file = tvdesktop::CurrentFile();
        if (tvdesktop::WriteAll(file ? file->Get() : STDERR_FILENO, line.data(), line.size()))
            written = static_cast<int>(line.size());
    } catch (...) {
        written = -1;
    }
    va_end(arguments);
    return written;
}
