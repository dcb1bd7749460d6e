/// @file
/// The TV's log service.
#ifndef TVPLATFORM_DLOG_H
#define TVPLATFORM_DLOG_H

/// Log buffers; the library writes to the main one only.
enum { DLOG_ID_MAIN = 0 };

extern "C" {

/// Writes one log message. Thread-safe.
///
/// @param log_id  log buffer
/// @param prio    priority: 2 trace, 4 progress, 16 failures and field diagnosis
/// @param tag     who writes; not copied, need not outlive the call
/// @param fmt     printf format, followed by its arguments
/// @return        number of characters written, negative on failure; callers ignore it
int __dlog_print(int log_id, int prio, const char *tag, const char *fmt, ...)
    __attribute__((format(printf, 4, 5)));
}

#endif
