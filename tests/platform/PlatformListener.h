/// @file
/// The TV platform of tests and fuzz targets: PlatformCalls.cpp defines every call that the library
/// makes, checks what holds of each, and asks one listener for the answers.
#ifndef TESTS_PLATFORM_PLATFORMLISTENER_H
#define TESTS_PLATFORM_PLATFORMLISTENER_H

#include <tv_recorder.h>

#include <string>

/// The platform objects that are handed to the library, which never looks into them.
inline char g_platformObjects[3];
inline void *const kRecorder = &g_platformObjects[0];
inline void *const kPlayer = &g_platformObjects[1];
inline void *const kStream = &g_platformObjects[2];

/// Above 0 while the platform itself runs on this thread, so that its allocations can be told from
/// the library's.
inline thread_local int g_platformDepth = 0;

/// Hears of everything that is done to the platform. Called on the thread that calls the platform.
class PlatformListener {
  public:
    virtual ~PlatformListener() = default;

    /// Something was done, in words: "tv_recorder_set_property(0x4010, 25=0x100, 24=0x101)".
    virtual void Note(const std::string & /*entry*/) {}
    /// A log line of the right form. `message` is what follows the prefix, without the last
    /// newline.
    virtual void Log(int priority, const std::string &file, const char *function,
                     const std::string &message) = 0;
    /// Something was done that may never be done.
    virtual void Broken(const std::string &promise) = 0;
    /// Asked once for each call, after its note.
    /// @param usual  what the call answers when it succeeds
    virtual int Answer(const char *call, int usual) = 0;
    /// @return the record that applies at this time, null for none; stays the listener's
    virtual TvChannelInfo *ChannelAt(int time) = 0;
    /// The library lends this address, which log lines may show.
    virtual void Name(const void * /*address*/, const std::string & /*name*/) {}

    /// Whether notes have words; without, they are empty.
    bool keepsNotes = true;

    // Answers besides results; of those at 0 the platform writes nothing.
    bool hasEventManager = true;
    bool hasUserDataManager = true;
    long long position = 0;
    long long duration = 0;
    unsigned int timeshiftDuration = 0;

    /// What tv_recorder_set_callback received last.
    tv_recorder_callback callback = nullptr;
    void *callbackUser = nullptr;
};

/// The one listener of the process; each program defines it.
PlatformListener &Listener();

std::string Format(const char *format, ...) __attribute__((format(printf, 1, 2)));

#endif
