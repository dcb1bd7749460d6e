#include "ScriptedPlatform.h"

#include <climits>

ScriptedPlatform &Platform() {
    static ScriptedPlatform platform;
    return platform;
}

PlatformListener &Listener() {
    return Platform();
}

void ScriptedPlatform::Script(FuzzedDataProvider &input) {
    m_failing = input.ConsumeIntegral<std::uint8_t>();
    m_failure = input.PickValueInArray({1, -1, 2, 9999, INT_MIN, INT_MAX});
    const auto missing = input.ConsumeIntegral<std::uint8_t>();
    hasEventManager = (missing & 1) == 0;
    hasUserDataManager = (missing & 2) == 0;
    const bool hasTimes = (missing & 8) != 0;
    position = hasTimes ? input.ConsumeIntegral<long long>() : 0;
    duration = hasTimes ? input.ConsumeIntegral<long long>() : 0;
    timeshiftDuration = static_cast<unsigned int>(duration);
    m_channel = nullptr;
    if ((missing & 4) == 0)
        m_channel = std::make_unique<TvChannelInfo>(
            (missing & 16) != 0 ? TakeStruct<TvChannelInfo>(input) : TvChannelInfo{});
    m_calls = 0;
    m_hasFailed = false;
    m_firstMessage.clear();
}

int ScriptedPlatform::Answer(const char * /*call*/, int usual) {
    const bool fails = (m_failing >> (m_calls++ % 8) & 1) != 0;
    m_hasFailed = m_hasFailed || fails;
    if (!fails)
        return usual;
    return usual == 0 ? m_failure : 0;
}

void ScriptedPlatform::Log(int /*priority*/, const std::string & /*file*/,
                           const char * /*function*/, const std::string &message) {
    if (m_firstMessage.empty())
        m_firstMessage = message;
}
