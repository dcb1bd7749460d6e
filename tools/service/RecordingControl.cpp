#include "service/RecordingControl.h"

#include <algorithm>
#include <utility>

#include "Failure.h"
#include "service/Input.h"

namespace tool {

namespace {

constexpr std::uint8_t kRecorderNumber = 1;

}  // namespace

RecordingControl::RecordingControl(PvrService &pvr, const tvdesktop::RecorderOptions &options)
    : m_pvr(pvr) {
    m_pvr.TakeRecorder(tvdesktop::CreateRecorder(options));
}

void RecordingControl::Start(const tvdesktop::Service &service, const SinkFile &sink,
                             std::optional<std::int64_t> durationMs) {
    m_pvr.Do(recorder::SetHandle{kRecorderNumber, service.id});
    m_pvr.Do(recorder::SetSinkProperty{{PathField(sink.path), sink.isTimeshift ? 1 : 0}});
    SendProgram(ProgramOf(service));
    if (durationMs)
        m_pvr.Do(recorder::SetDuration{static_cast<std::int32_t>(*durationMs)});
    m_pvr.Do(recorder::PreStart{});
    m_pvr.Do(recorder::Start{});
}

void RecordingControl::ChangeTo(const tvdesktop::Service &service) {
    std::vector<Request> program = ProgramOf(service);
    const auto isSame = [](const Request &left, const Request &right) {
        return left.text == right.text;
    };
    if (std::equal(program.begin(), program.end(), m_program.begin(), m_program.end(), isSame))
        return;
    m_pvr.Do(recorder::ClearDemuxInfo{});
    SendProgram(std::move(program));
}

void RecordingControl::SwapTo(const std::string &path) {
    m_pvr.Do(recorder::SwapTS2Record{{PathField(path)}});
}

void RecordingControl::Stop() {
    const Reply stopped = m_pvr.Send(recorder::Stop{});
    m_pvr.Send(recorder::ClearDemuxInfo{});
    if (stopped.result != 0)
        throw Failure(m_pvr.FailureText(recorder::Stop{}, stopped));
}

void RecordingControl::SendProgram(std::vector<Request> program) {
    for (const Request &request : program)
        m_pvr.Do(request);
    m_program = std::move(program);
}

}  // namespace tool
