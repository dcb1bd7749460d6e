#include "log/Instances.h"

#include "log/StepValues.h"

namespace tool::log {

void Instances::Note(const Line &line, const Match &match, Side side) {
    if (line.function == "SetRecorderHandle")
        m_lookedUp.clear();
    const std::string *recorder = ValueOf(match.values, "recorder");
    if (recorder != nullptr && *recorder != "(nil)")
        m_lookedUp.insert(*recorder);
    m_recorder.areMixed = m_recorder.areMixed || m_lookedUp.size() > 1;

    const std::string *handle = ValueOf(match.values, "handle");
    if (handle == nullptr)
        return;
    OfSide &own = Of(side);
    if (line.function == "SetHandle")
        own.handle = *handle;
    else
        own.areMixed = own.areMixed || (!own.handle.empty() && own.handle != *handle);
}

}  // namespace tool::log
