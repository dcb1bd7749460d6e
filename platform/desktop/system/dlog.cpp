#include <dlog.h>
#include <fcntl.h>

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "system/FileDescriptor.h"
#include "TvDesktop.h"

namespace tvdesktop {

namespace {

/// Where lines go; a writer keeps the file that it took until its line is out.
struct Target {
    std::mutex mutex;
    std::shared_ptr<FileDescriptor> file;  ///< null: standard error
    std::shared_ptr<const LogListener> listener;
};

/// Never destroyed, so that late threads can still log.
Target &LogTarget() {
    static Target &target = *new Target;
    return target;
}

std::atomic<int> g_minimumPriority{0};
std::atomic<bool> g_hasListener{false};

std::shared_ptr<FileDescriptor> CurrentFile() {
    Target &target = LogTarget();
    const std::lock_guard<std::mutex> lock(target.mutex);
    return target.file;
}

void TellListener(std::string_view line) {
    Target &target = LogTarget();
    std::unique_lock<std::mutex> lock(target.mutex);
    const auto listener = target.listener;
    lock.unlock();
    if (listener != nullptr && *listener)
        (*listener)(line);
}

/// The current second as text. Most lines come in the same second as the one before, and a calendar
/// costs more than the rest of a line.
class SecondText {
  public:
    const char *Of(std::time_t second) {
        if (second != m_second) {
            tm local{};
            ::localtime_r(&second, &local);
            std::strftime(m_text, sizeof m_text, "%Y-%m-%d %H:%M:%S", &local);
            m_second = second;
        }
        return m_text;
    }

  private:
    std::time_t m_second = -1;
    char m_text[32] = {};
};

/// A line while it is put together: on the stack, or in memory of its own when it is long.
class Line {
  public:
    /// `time prio tag text`, ended by exactly one newline more than the text has inside.
    Line(int priority, const char *tag, const char *format, va_list arguments)
        __attribute__((format(printf, 4, 0))) {
        thread_local SecondText second;
        timespec now{};
        ::clock_gettime(CLOCK_REALTIME, &now);
        Print("%s.%03d %d %s ", second.Of(now.tv_sec),
              static_cast<int>(now.tv_nsec / 1'000'000 % 1000), priority,
              tag != nullptr ? tag : "-");
        PrintList(format, arguments);
        if (m_size == 0 || m_text[m_size - 1] != '\n')
            Print("\n");
    }

    const char *data() const { return m_text; }
    std::size_t size() const { return m_size; }

  private:
    void Print(const char *format, ...) __attribute__((format(printf, 2, 3))) {
        va_list arguments;
        va_start(arguments, format);
        PrintList(format, arguments);
        va_end(arguments);
    }

    /// Appends; nothing when the format cannot be printed.
    void PrintList(const char *format, va_list arguments) __attribute__((format(printf, 2, 0))) {
        va_list again;
        va_copy(again, arguments);
        const int length = std::vsnprintf(m_text + m_size, m_room - m_size, format, arguments);
        const std::size_t size = m_size + static_cast<std::size_t>(std::max(length, 0));
        if (size >= m_room) {
            Grow(size + kUsual);
            std::vsnprintf(m_text + m_size, m_room - m_size, format, again);
        }
        va_end(again);
        m_size = size;
    }

    void Grow(std::size_t room) {
        std::vector<char> longer(room);
        std::copy(m_text, m_text + m_size, longer.begin());
        m_long.swap(longer);
        m_text = m_long.data();
        m_room = room;
    }

    static constexpr std::size_t kUsual = 512;
    char m_usual[kUsual];
    std::vector<char> m_long;
    char *m_text = m_usual;
    std::size_t m_room = sizeof m_usual;
    std::size_t m_size = 0;
};

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

void SetLogListener(LogListener listener) {
    const bool hasListener = listener != nullptr;
    const auto kept = std::make_shared<const LogListener>(std::move(listener));
    Target &target = LogTarget();
    const std::lock_guard<std::mutex> lock(target.mutex);
    target.listener = kept;
    g_hasListener = hasListener;
}

void SetLogMinimumPriority(int priority) {
    g_minimumPriority = priority;
}

}  // namespace tvdesktop

int __dlog_print(int /*log_id*/, int prio, const char *tag, const char *fmt, ...) {
    if (fmt == nullptr)
        return -1;
    const bool isWritten = prio >= tvdesktop::g_minimumPriority.load(std::memory_order_relaxed);
    const bool isHeard = tvdesktop::g_hasListener.load(std::memory_order_relaxed);
    if (!isWritten && !isHeard)
        return 0;
    va_list arguments;
    va_start(arguments, fmt);
    int written = -1;
    try {
        const tvdesktop::Line line(prio, tag, fmt, arguments);
        if (isHeard)
            tvdesktop::TellListener({line.data(), line.size()});
        const auto file = tvdesktop::CurrentFile();
        if (!isWritten)
            written = 0;
        else if (tvdesktop::WriteAll(file ? file->Get() : STDERR_FILENO, line.data(), line.size()))
            written = static_cast<int>(line.size());
    } catch (...) {
        written = -1;
    }
    va_end(arguments);
    return written;
}
