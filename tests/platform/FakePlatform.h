/// @file
/// A TV platform that does nothing but write down, in order, what the library does to it.
#ifndef TESTS_PLATFORM_FAKEPLATFORM_H
#define TESTS_PLATFORM_FAKEPLATFORM_H

#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "PlatformListener.h"

/// One journal for calls, log lines and events, and what the calls answer. Thread-safe, except that
/// the answers are set while no other thread runs.
///
/// The journal has one entry a line:
/// @code
/// tv_recorder_set_property(recorder, 25=0x100, 24=0x101)
/// log 16 Start(MoxPvrRecord): the message
/// event 32769 (301, 0) 01000000 00000000 02000000 00000000
/// @endcode
/// A log message is shown without its one newline; further ones show as "\n". Objects show by name.
/// What may never be done starts with "BAD", in every kind of entries.
class FakePlatform : public PlatformListener {
  public:
    /// What a call answers, by its name; 0 without an entry, 1 for Send.
    std::map<std::string, int> results;
    /// Channel information by the time from which it applies; empty: no record anywhere.
    std::map<int, TvChannelInfo> channels;
    /// What happens inside the next call of a name, once; Now is the call "clock".
    std::map<std::string, std::function<void()>> during;
    std::chrono::steady_clock::time_point now;
    /// Which of the coming calls fails, 1 the next one; 0 none. Such a call answers 77, Send 0.
    int failing = 0;
    /// The call that did so.
    std::string failed;

    /// Forgets everything; the start of every test.
    void Reset();
    /// Shows the addresses of an object as a name.
    void Name(const void *object, const std::string &name) override;

    /// The journal, or only one kind of its entries. Each empties the whole journal.
    std::string All() { return Take("tle"); }
    std::string Logs() { return Take("l"); }
    std::string Events() { return Take("e"); }
    std::string Calls() { return Take("t"); }
    std::string Effects() { return Take("te"); }  ///< calls and events

    void Note(const std::string &entry) override;
    void Log(int priority, const std::string &file, const char *function,
             const std::string &message) override;
    void Broken(const std::string &promise) override { Note("BAD: " + promise); }
    int Answer(const char *call, int usual) override;
    /// Lends a record that this thread's next call spoils.
    TvChannelInfo *ChannelAt(int time) override;
    static std::chrono::steady_clock::time_point Now();

  private:
    std::string Take(const std::string &firstLetters);

    std::mutex m_mutex;
    std::vector<std::string> m_journal;
    std::map<std::string, std::string> m_names;
};

/// The one platform of the process.
FakePlatform &Fake();

#endif
