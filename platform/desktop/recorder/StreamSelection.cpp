#include "recorder/StreamSelection.h"

#include <tv_recorder.h>

#include <algorithm>

namespace tvdesktop {

namespace {

std::optional<std::uint16_t> StreamPid(int value) {
    if (!ts::IsStreamPid(value))
        return std::nullopt;
    return static_cast<std::uint16_t>(value);
}

bool IsMain(int id) {
    return id == TV_RECORDER_PROPERTY_VIDEO_PID || id == TV_RECORDER_PROPERTY_AUDIO_PID ||
           id == TV_RECORDER_PROPERTY_PCR_PID;
}

bool IsCompanion(int id) {
    return id == TV_RECORDER_PROPERTY_AD_PID || id == TV_RECORDER_PROPERTY_ADD_PID;
}

template <typename Predicate>
bool Contains(const std::vector<StreamSelection::PidProperty> &list, Predicate isWanted) {
    return std::any_of(list.begin(), list.end(),
                       [isWanted](const auto &property) { return isWanted(property.id); });
}

}  // namespace

bool StreamSelection::IsValid(const PidProperty &property) {
    return IsMain(property.id) ||
           (property.value >= 0 && property.value < static_cast<int>(ts::kPidCount));
}

void StreamSelection::Apply(const std::vector<PidProperty> &list) {
    const bool hasMain = Contains(list, IsMain);
    const bool hasVideo =
        Contains(list, [](int id) { return id == TV_RECORDER_PROPERTY_VIDEO_PID; });
    if (hasVideo || (hasMain && Contains(list, IsCompanion)))
        m_companions.clear();

    for (const auto &[id, value] : list) {
        const auto pid = static_cast<Pid>(value);
        switch (id) {
            case TV_RECORDER_PROPERTY_VIDEO_PID:
                SetMain(m_video, value);
                break;
            case TV_RECORDER_PROPERTY_AUDIO_PID:
                SetMain(m_audio, value);
                break;
            case TV_RECORDER_PROPERTY_PCR_PID:
                SetMain(m_pcr, value);
                break;
            case TV_RECORDER_PROPERTY_AD_PID:
                m_companions.insert(pid);
                break;
            case TV_RECORDER_PROPERTY_ADD_PID:
                (hasMain ? m_companions : m_added).insert(pid);
                break;
            case TV_RECORDER_PROPERTY_REMOVE_PID:
                Remove(pid);
                break;
            default:
                break;
        }
    }
    if (hasMain && (m_pcr || m_audio))
        m_clock = m_pcr ? m_pcr : m_audio;
}

void StreamSelection::SetMain(std::optional<Pid> &role, int value) {
    role = StreamPid(value);
    if (role)
        m_mains.insert(*role);
}

void StreamSelection::TakePcrPidOf(int channelPcrPid) {
    if (const auto pid = StreamPid(channelPcrPid))
        m_clock = m_pcr = pid;
}

void StreamSelection::Remove(Pid pid) {
    for (auto *role : {&m_video, &m_audio, &m_pcr}) {
        if (*role == pid)
            role->reset();
    }
    m_added.erase(pid);
    m_companions.erase(pid);
    if (m_mains.erase(pid) != 0)
        m_companions.clear();
}

ts::PidTable StreamSelection::Table() const {
    ts::PidTable table;
    for (const auto &role : {m_video, m_audio, m_pcr}) {
        if (role)
            table.set(*role);
    }
    for (const auto *pids : {&m_companions, &m_added}) {
        for (const std::uint16_t pid : *pids)
            table.set(pid);
    }
    return table;
}

}  // namespace tvdesktop
