/// @file
/// A TV platform whose answers come from the fuzz input, and which ends the run at the first thing
/// that the library may never do.
#ifndef FUZZ_SCRIPTEDPLATFORM_H
#define FUZZ_SCRIPTEDPLATFORM_H

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <memory>
#include <string>

#include "PlatformListener.h"
#include "Require.h"

/// Thread-bound: targets run on one thread.
class ScriptedPlatform : public PlatformListener {
  public:
    ScriptedPlatform() { keepsNotes = false; }

    /// Takes the answers of the calls to come: which of them fail and with what, positions, and the
    /// channel information. Earlier channel information is freed, so that nobody may still use it.
    void Script(FuzzedDataProvider &input);

    unsigned int calls() const { return m_calls; }
    bool hasFailed() const { return m_hasFailed; }
    /// The first log message since the script began.
    const std::string &firstMessage() const { return m_firstMessage; }

    void Log(int priority, const std::string &file, const char *function,
             const std::string &message) override;
    void Broken(const std::string &promise) override { Require(false, promise.c_str()); }
    int Answer(const char *call, int usual) override;
    TvChannelInfo *ChannelAt(int /*time*/) override { return m_channel.get(); }

  private:
    std::uint8_t m_failing = 0;  ///< bit n: the calls n, n + 8, ... fail
    int m_failure = 1;
    unsigned int m_calls = 0;
    bool m_hasFailed = false;
    std::string m_firstMessage;
    std::unique_ptr<TvChannelInfo> m_channel;
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
