/// @file
/// The library's log line: one call of the platform log for every line.
///
/// A line begins with the source file's base name, the name of the operation and the line number.
/// Only the three files that services know from the log (MoxPvr, MoxPvrRecord, MoxPvrPlayback) may
/// log. MOX_LOG is a macro because a message must be a literal for two reasons: the prefix is
/// joined to it before the program runs, so that a line is one call with one format, and the
/// compiler checks it against its arguments.
#ifndef MOXPVR_LOGLINE_H
#define MOXPVR_LOGLINE_H

#include <dlog.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace mox {

enum LogPriority : int {
    kLogTrace = 2,
    kLogProgress = 4,
    kLogReport = 16,  ///< failures and what field diagnosis needs
};

/// Where a line is written from. A step that several operations share takes it as its last argument
/// and defaults it to Here(), so that its lines carry the name of the operation that called it.
struct LogPlace {
    const char *function;
    int line;

    static LogPlace Here(const char *function = __builtin_FUNCTION(), int line = __builtin_LINE()) {
        return {function, line};
    }
};

/// @return where the base name begins in a path
constexpr std::size_t BaseNameAt(const char *path) {
    std::size_t begin = 0;
    for (std::size_t i = 0; path[i] != '\0'; ++i) {
        if (path[i] == '/')
            begin = i + 1;
    }
    return begin;
}

/// What "[0x%x]" prints of a pointer: its low 32 bits.
inline unsigned int Low32(const void *pointer) {
    return static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(pointer));
}

/// Never called and never defined: lets the compiler check a message against its arguments.
void CheckLogMessage(const char *message, ...) __attribute__((format(printf, 1, 2)));

template <typename... Arguments>
void WriteLog(LogPriority priority, const char *file, LogPlace place, const char *format,
              Arguments... arguments) {
    __dlog_print(DLOG_ID_MAIN, priority, "PVR_SVC_MOX", format, file, place.function, place.line,
                 arguments...);
}

}  // namespace mox

/// The base name of the file that uses it, found by the compiler.
#define MOX_LOG_FILE \
    (&__FILE__[std::integral_constant<std::size_t, mox::BaseNameAt(__FILE__)>::value])

#define MOX_LOG_PREFIX "%s: %s(%d) > [PVR][MOX]"

/// MOX_LOG(priority, message literal, arguments...): the message with its line end.
#define MOX_LOG(priority, ...) MOX_LOG_AT(mox::LogPlace::Here(), priority, __VA_ARGS__)

/// The same in the name of the operation at `place`.
#define MOX_LOG_AT(place, priority, ...)       \
    (false ? mox::CheckLogMessage(__VA_ARGS__) \
           : mox::WriteLog(priority, MOX_LOG_FILE, place, MOX_LOG_PREFIX __VA_ARGS__))

#endif
