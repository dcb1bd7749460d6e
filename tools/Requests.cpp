#include "Requests.h"

namespace tool {

namespace {

constexpr std::size_t kPathWidth = 256;

Request SinkRequest(std::uint32_t command, const Sink &sink) {
    return RequestBuilder(Target::Recorder, command)
        .Text(4, kPathWidth, sink.path)
        .I32(260, sink.isTimeshift ? 1 : 0)
        .I32(264, 0)  // not a segment of a longer recording
        .Done();
}

Request Bare(Target target, std::uint32_t command) {
    return RequestBuilder(target, command).Done();
}

}  // namespace

namespace recorder {

Request SetHandle(std::uint8_t handle, std::uint64_t serviceId) {
    return RequestBuilder(Target::Recorder, 1).U8(4, handle).U64(8, serviceId).I32(16, 0).Done();
}

Request SetDemuxProperty(const DemuxPids &pids) {
    return RequestBuilder(Target::Recorder, 2)
        .U32(4, pids.audio)
        .U32(8, pids.video)
        .U32(12, pids.pcr)
        .U32(16, 0)  // no Korean 3D, so no second video stream
        .U32(20, 0)
        .U32(24, pids.audioDescription)
        .Done();
}

Request SetSinkProperty(const Sink &sink) {
    return SinkRequest(3, sink);
}

Request SetChannelInfoProperty(const TvChannelInfo &info) {
    return RequestBuilder(Target::Recorder, 4).Bytes(4, &info, sizeof info).Done();
}

Request Start() {
    return Bare(Target::Recorder, 6);
}

Request Stop() {
    return Bare(Target::Recorder, 9);
}

Request GetProgress() {
    return Bare(Target::Recorder, 10);
}

Request SwapTS2Record(const Sink &sink) {
    return SinkRequest(11, sink);
}

Request UpdateSi(const std::vector<std::uint32_t> &pids) {
    RequestBuilder builder(Target::Recorder, 12);
    builder.I32(4, static_cast<std::int32_t>(pids.size()));
    for (std::size_t i = 0; i < pids.size(); ++i)
        builder.U32(8 + 4 * i, pids[i]);
    return builder.Done();
}

Request ClearDemuxInfo() {
    return Bare(Target::Recorder, 14);
}

Request SetDuration(std::int32_t durationMs) {
    return RequestBuilder(Target::Recorder, 18).I32(4, durationMs).Done();
}

Request PreStart() {
    return Bare(Target::Recorder, 19);
}

}  // namespace recorder

namespace playback {

Request SetHandle(std::uint8_t handle) {
    return RequestBuilder(Target::Playback, 1).U8(4, handle).I32(16, 0).Done();
}

Request SetProperty(const std::string &path, std::int32_t startMs, bool isTimeshift) {
    return RequestBuilder(Target::Playback, 2)
        .Text(4, kPathWidth, path)
        .I32(260, startMs)
        .I32(264, isTimeshift ? 1 : 0)
        .I32(268, 0)  // not a past playback
        .Done();
}

Request Start() {
    return Bare(Target::Playback, 3);
}

Request Pause() {
    return Bare(Target::Playback, 4);
}

Request Resume() {
    return Bare(Target::Playback, 5);
}

Request TrickPlay(std::uint32_t timeMs, double rate) {
    return RequestBuilder(Target::Playback, 6).U32(4, timeMs).F64(8, rate).Done();
}

Request Skip(std::int32_t timeMs, double rate) {
    return RequestBuilder(Target::Playback, 7).I32(4, timeMs).F64(8, rate).Done();
}

Request Stop() {
    return Bare(Target::Playback, 8);
}

Request GetProgress() {
    return Bare(Target::Playback, 9);
}

Request StepFrame() {
    return Bare(Target::Playback, 10);
}

Request Reset() {
    return Bare(Target::Playback, 12);
}

}  // namespace playback

}  // namespace tool
