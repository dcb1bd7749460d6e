// The stand-in's way into a transport stream: packets, services, stream time and the channel log of
// a recording, all of which may be damaged or made up.
#include <fuzzer/FuzzedDataProvider.h>
#include <TvDesktop.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <vector>

#include "player/Recording.h"
#include "ScratchFiles.h"
#include "ts/ServiceWatch.h"
#include "ts/TsPacket.h"
#include "TsBuilder.h"

namespace {

using tvdesktop::Recording;
using tvdesktop::ts::ChannelStretch;
using tvdesktop::ts::kPacketSize;

constexpr int kMostParts = 64;

/// A packet with a clock reference or any other header, its payload from the input.
void AppendPacket(FuzzedDataProvider &input, TsBuilder &stream) {
    Bytes packet = input.ConsumeBytes<std::uint8_t>(
        input.ConsumeIntegralInRange<std::size_t>(0, kPacketSize - 1));
    packet.insert(packet.begin(), tvdesktop::ts::kSyncByte);
    packet.resize(kPacketSize, 0xFF);
    stream.data += packet;
}

/// A section whose length and checksum are right, whatever else it says: the decoders after the
/// checksum see hostile tables too.
void AppendSection(FuzzedDataProvider &input, TsBuilder &stream) {
    const int pid = input.PickValueInArray({0x0000, 0x0011, 0x0100, 0x1000});
    Bytes section =
        input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegralInRange<std::size_t>(8, 1020));
    section.resize(std::max<std::size_t>(section.size(), 8));
    const std::size_t length = section.size() + 4 - 3;
    section[1] = static_cast<std::uint8_t>((section[1] & 0xF0) | length >> 8);
    section[2] = static_cast<std::uint8_t>(length);
    stream.Section(pid, section);
}

/// Bytes that are no packet.
void AppendDamage(FuzzedDataProvider &input, TsBuilder &stream) {
    stream.data +=
        input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegralInRange<std::size_t>(0, 400));
}

void CheckPackets(const std::string &path, const Bytes &stream) {
    tvdesktop::ts::PacketReader reader;
    tvdesktop::ts::StreamClock clock;
    std::uint64_t end = 0;
    std::int64_t ticks = 0;
    Require(reader.Open(path), "a regular file opens");
    while (const std::uint8_t *packet = reader.Next()) {
        Require(reader.Offset() >= end && reader.Offset() + kPacketSize <= stream.size() &&
                    std::memcmp(packet, &stream[reader.Offset()], kPacketSize) == 0 &&
                    packet[0] == tvdesktop::ts::kSyncByte,
                "packets are whole, in order and those of the file");
        end = reader.Offset() + kPacketSize;
        if (const auto pcr = tvdesktop::ts::Pcr(packet))
            clock.Advance(*pcr);
        Require(clock.Ticks() >= ticks, "stream time never runs back");
        ticks = clock.Ticks();
    }
}

/// Follows a service through the stream in which it was found.
void CheckWatch(const std::string &path, const tvdesktop::Service &service) {
    tvdesktop::ts::PacketReader reader;
    tvdesktop::ts::ServiceWatch watch(service);
    Require(reader.Open(path), "a regular file opens");
    while (const std::uint8_t *packet = reader.Next()) {
        const auto change = watch.Push(packet);
        Require(!change || (change->service.id == service.id &&
                            change->service.pmtPid < tvdesktop::ts::kPidCount &&
                            change->service.pcrPid < tvdesktop::ts::kPidCount),
                "it stays the service, with PIDs");
    }
}

void CheckServices(const std::string &path) {
    const tvdesktop::ScanResult scan = tvdesktop::ScanServices(path);
    Require(scan.error.empty() != scan.services.empty(), "services, or what is wrong");
    for (const tvdesktop::Service &service : scan.services) {
        const TvChannelInfo info = tvdesktop::ChannelInfoOf(service);
        Require(service.pcrPid < tvdesktop::ts::kPidCount && info.programNum == service.id &&
                    info.audioPid < static_cast<int>(tvdesktop::ts::kPidCount),
                "services have PIDs");
    }
    if (!scan.services.empty())
        CheckWatch(path, scan.services.front());
}

bool InOrder(const ChannelStretch &left, const ChannelStretch &right) {
    return left.timeMs <= right.timeMs && left.offset < right.offset;
}

void CheckChannelLog(const std::string &path) {
    tvdesktop::ts::ChannelLog log;
    Require(tvdesktop::ts::ReadChannelLog(path, log), "a regular file is read");
    for (std::size_t i = 1; i < log.index.size(); ++i)
        Require(log.index[i - 1].offset < log.index[i].offset, "the index is in order");
    const std::vector<ChannelStretch> &stretches = log.stretches;
    for (std::size_t i = 1; i < stretches.size(); ++i)
        Require(InOrder(stretches[i - 1], stretches[i]), "stretches are in order");
    if (stretches.empty())
        return;
    ChannelStretch next = stretches.back();
    next.timeMs = std::numeric_limits<std::int64_t>::max();
    next.offset = std::numeric_limits<std::uint64_t>::max();
    tvdesktop::ts::ChannelLogWriter writer;
    Require(writer.Open(path) && writer.Append(next), "a stretch can be added");
    const auto longer = tvdesktop::ts::ReadChannelLog(path);
    Require(longer.size() >= stretches.size() && longer.back().offset == next.offset,
            "a stretch that was added is read, also behind a damaged line");
    tvdesktop::ts::ChannelLog again;
    Require(
        tvdesktop::ts::WriteChannelLog(path, log) && tvdesktop::ts::ReadChannelLog(path, again) &&
            again.stretches.size() == stretches.size() && again.index.size() == log.index.size(),
        "a log that was written is read");
}

void CheckRecording(const std::string &path, FuzzedDataProvider &input) {
    Recording recording;
    Require(recording.Open(path) && recording.Follow() && recording.Follow(),
            "a regular file can be followed");
    for (std::size_t stretch = 1; stretch < recording.StretchCount(); ++stretch)
        Require(recording.StretchBegin(stretch - 1) <= recording.StretchBegin(stretch),
                "stretches begin in order");
    const double from = input.ConsumeFloatingPointInRange(-1000.0, 1e9);
    const double to = from + input.ConsumeFloatingPointInRange(0.0, 1e9);
    TvChannelInfo *info = recording.InfoAt(from);
    const std::size_t stretch = recording.StretchAt(from, input.ConsumeBool());
    Require(recording.StretchCount() == 0 || stretch < recording.StretchCount(),
            "a time belongs to a stretch that was reached");
    for (const auto kind : {tvdesktop::UnitKind::Video, tvdesktop::UnitKind::Audio}) {
        const auto time =
            recording.FindUnit(kind, info != nullptr ? info->videoPid : 0x100, stretch, from, to);
        Require(!time || (*time >= from && *time <= to), "a unit lies where it was looked for");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    constexpr void (*kParts[])(FuzzedDataProvider &, TsBuilder &) = {AppendPacket, AppendSection,
                                                                     AppendDamage};
    static const ScratchFiles scratch;
    FuzzedDataProvider input(data, size);
    const std::string log = input.ConsumeRandomLengthString(4000);
    const std::string times = input.ConsumeRandomLengthString(20);
    TsBuilder parts;
    const Bytes &stream = parts.data;
    for (int part = 0; part < kMostParts && input.remaining_bytes() > 0; ++part)
        input.PickValueInArray(kParts)(input, parts);
    scratch.Write("r.ts", stream.data(), stream.size());
    scratch.Write("r.ts.chan", log.data(), log.size());

    const std::string path = scratch.directory() + "/r.ts";
    FuzzedDataProvider query(reinterpret_cast<const std::uint8_t *>(times.data()), times.size());
    CheckPackets(path, stream);
    CheckServices(path);
    CheckRecording(path, query);
    CheckChannelLog(path);
    return 0;
}
