/// @file
/// A TV platform that does nothing but write down, in order, what the library does to it.
#ifndef TESTS_PLATFORM_FAKEPLATFORM_H
#define TESTS_PLATFORM_FAKEPLATFORM_H

#include <tv_recorder.h>

#include <chrono>
#include <cstring>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

/// The platform objects that tests hand to the library; the journal shows them by name.
inline char g_platformObjects[3];
inline void *const kRecorder = &g_platformObjects[0];
inline void *const kPlayer = &g_platformObjects[1];
inline void *const kStream = &g_platformObjects[2];

/// One journal for calls, log lines and events, and what the calls answer. Thread-safe, except that
/// the answers are set while no other thread runs.
///
/// The journal has one entry a line:
/// @code
/// tv_recorder_set_property(recorder, 25=0x100, 24=0x101)
/// log 16 Start(MoxPvrRecord): the message
/// event 32769 (301, 0) 01000000 00000000 02000000 00000000
/// @endcode
/// A log message is shown without its one newline; further ones show as "\n". A log line that
/// breaks the line format starts with "BAD".
class FakePlatform {
  public:
    /// What a call answers, by its name; 0 without an entry, 1 for Send.
    std::map<std::string, int> results;
    /// Channel information by the time from which it applies; empty: no record anywhere.
    std::map<int, TvChannelInfo> channels;
    /// What happens inside the next call of a name, once; Now is the call "clock".
    std::map<std::string, std::function<void()>> during;
    bool hasEventManager = true;
    bool hasUserDataManager = true;
    // Outputs; at 0 the platform writes nothing.
    long long position = 0;
    long long duration = 0;
    unsigned int timeshiftDuration = 0;
    std::chrono::steady_clock::time_point now;
    /// Which of the coming calls fails, 1 the next one; 0 none. Such a call answers 77, Send 0.
    int failing = 0;
    /// The call that did so.
    std::string failed;
    /// What tv_recorder_set_callback received last.
    tv_recorder_callback callback = nullptr;
    void *callbackUser = nullptr;

    /// Forgets everything; the start of every test.
    void Reset();
    /// Shows the addresses of an object as a name.
    void Name(const void *object, const std::string &name);

    /// The journal, or only one kind of its entries. Each empties the whole journal.
    std::string All() { return Take("tleTB"); }
    std::string Logs() { return Take("lB"); }
    std::string Events() { return Take("e"); }
    std::string Calls() { return Take("tT"); }
    std::string Effects() { return Take("tTe"); }  ///< calls and events

    void Write(const char *format, ...) __attribute__((format(printf, 2, 3)));
    int Result(const char *call, int usual = 0);
    /// Lends a record that this thread's next call spoils.
    TvChannelInfo *ChannelAt(int time);
    static std::chrono::steady_clock::time_point Now();

  private:
    std::string Take(const char *firstLetters);

    std::mutex m_mutex;
    std::vector<std::string> m_journal;
    std::map<std::string, std::string> m_names;
};

/// Above 0 while the platform itself runs on this thread, so that a test can tell the platform's
/// allocations from the library's.
inline thread_local int g_platformDepth = 0;

inline thread_local TvChannelInfo t_lentRecord;

/// Open from the begin of each platform call to its end.
struct PlatformCall {
    PlatformCall() {
        ++g_platformDepth;
        std::memset(&t_lentRecord, 0x5A, sizeof t_lentRecord);
    }
    ~PlatformCall() { --g_platformDepth; }
    PlatformCall(const PlatformCall &) = delete;
    PlatformCall &operator=(const PlatformCall &) = delete;
};

/// The one platform of the process.
FakePlatform &Fake();

std::string Format(const char *format, ...) __attribute__((format(printf, 1, 2)));

#endif
