/// @file
/// A TV platform whose answers come from the fuzz input, and which looks at all that it is given:
/// property lists must be closed and known, texts must end in their field, records must be readable
/// to their last byte, events must be among the documented ones.
#ifndef FUZZ_SCRIPTEDPLATFORM_H
#define FUZZ_SCRIPTEDPLATFORM_H

#include <fuzzer/FuzzedDataProvider.h>
#include <tv_recorder.h>

#include <cstdint>
#include <memory>
#include <string>

/// The platform objects that targets hand to the library. The library never looks into them.
inline char g_platformObjects[3];
inline void *const kRecorder = &g_platformObjects[0];
inline void *const kPlayer = &g_platformObjects[1];
inline void *const kStream = &g_platformObjects[2];

/// Thread-bound: targets run on one thread.
class ScriptedPlatform {
  public:
    /// Takes the answers of the calls to come: which of them fail and with what, positions, and the
    /// channel information. Earlier channel information is freed, so that nobody may still use it.
    void Script(FuzzedDataProvider &input);

    /// Counts one call. @return what it answers: 0, or the scripted failure
    int Answer(const void *object);

    unsigned int calls() const { return m_calls; }
    bool hasFailed() const { return m_hasFailed; }
    const std::string &firstLine() const { return m_firstLine; }
    void Log(const char *line);

    // What tv_recorder_set_callback received last.
    tv_recorder_callback callback = nullptr;
    void *callbackUser = nullptr;

    // Answers in the script now.
    bool hasEventManager = true;
    bool hasUserDataManager = true;
    long long position = 0;
    long long duration = 0;
    std::unique_ptr<TvChannelInfo> channel;

  private:
    std::uint8_t m_failing = 0;  ///< bit n: the calls n, n + 8, ... fail
    int m_failure = 1;
    unsigned int m_calls = 0;
    bool m_hasFailed = false;
    std::string m_firstLine;  ///< of the log, since the script began
};

/// The one platform of the process.
ScriptedPlatform &Platform();

/// @return a struct filled from the input, the rest of it zero
template <typename Plain>
Plain TakeStruct(FuzzedDataProvider &input) {
    Plain value{};
    input.ConsumeData(&value, sizeof value);
    return value;
}

#endif
