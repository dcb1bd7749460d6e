// What the recorder's path costs: the bare copy of a file, the block-wise filter between the same
// reads and writes, and the same filter with a write for every packet.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "system/FileDescriptor.h"
#include "ts/PacketFilter.h"

namespace {

using tvdesktop::FileDescriptor;
using tvdesktop::WriteAll;
namespace ts = tvdesktop::ts;

constexpr std::size_t kPackets = 256 * 1024;
constexpr std::size_t kBlockSize = (1 << 20) / ts::kPacketSize * ts::kPacketSize;
constexpr std::uint16_t kPids = 8;

/// A temporary file, unlinked at once.
FileDescriptor Temporary() {
    const char *directory = std::getenv("TMPDIR");
    std::string path = std::string(directory != nullptr ? directory : "/tmp") + "/benchXXXXXX";
    FileDescriptor file(::mkstemp(path.data()));
    ::unlink(path.c_str());
    return file;
}

/// A stream of eight PIDs in turn.
FileDescriptor MakeSource() {
    FileDescriptor file = Temporary();
    std::vector<std::uint8_t> block;
    for (std::size_t i = 0; i < kPackets; ++i) {
        std::uint8_t packet[ts::kPacketSize] = {ts::kSyncByte, 0x01,
                                                static_cast<std::uint8_t>(i % kPids), 0x10};
        block.insert(block.end(), packet, packet + sizeof packet);
    }
    WriteAll(file.Get(), block.data(), block.size());
    return file;
}

/// @return the first `count` of the eight PIDs
ts::PidTable FirstPids(std::int64_t count) {
    ts::PidTable keep;
    for (std::int64_t pid = 0; pid < count; ++pid)
        keep.set(static_cast<std::size_t>(0x100 + pid));
    return keep;
}

/// Runs `handle(block, size, sink)` over the source, which answers how much it used up.
template <typename Handle>
void CopyThrough(benchmark::State &state, Handle &&handle) {
    const FileDescriptor source = MakeSource();
    const FileDescriptor sink = MakeSource();  // its pages are there already
    std::vector<std::uint8_t> block(kBlockSize);
    while (state.KeepRunning()) {
        ::lseek(source.Get(), 0, SEEK_SET);
        ::lseek(sink.Get(), 0, SEEK_SET);
        std::size_t filled = 0;
        for (;;) {
            const ssize_t count =
                ::read(source.Get(), block.data() + filled, block.size() - filled);
            filled += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
            const std::size_t used = handle(block.data(), filled, count <= 0, sink.Get());
            std::copy(block.begin() + static_cast<std::ptrdiff_t>(used),
                      block.begin() + static_cast<std::ptrdiff_t>(filled), block.begin());
            filled -= used;
            if (count <= 0)
                break;
        }
    }
    state.SetBytesProcessed(state.iterations() *
                            static_cast<std::int64_t>(kPackets * ts::kPacketSize));
}

/// The floor: every byte is read and written, nothing is looked at.
void ReadAndWrite(benchmark::State &state) {
    CopyThrough(state, [](std::uint8_t *block, std::size_t size, bool, int sink) {
        WriteAll(sink, block, size);
        return size;
    });
}
BENCHMARK(ReadAndWrite)->UseRealTime();

/// As the recorder does it; the argument is how many of the eight PIDs are kept.
void FilterBlocks(benchmark::State &state) {
    const ts::PidTable keep = FirstPids(state.range(0));
    ts::PacketFilter filter;
    CopyThrough(state, [&](std::uint8_t *block, std::size_t size, bool atEnd, int sink) {
        const auto done = filter.Run(block, size, {}, keep, atEnd,
                                     [](const std::uint8_t *, bool) { return true; });
        WriteAll(sink, block, done.kept);
        return done.consumed;
    });
}
BENCHMARK(FilterBlocks)->Arg(8)->Arg(3)->UseRealTime();

/// For comparison: one write a packet.
void WriteEveryPacket(benchmark::State &state) {
    const ts::PidTable keep = FirstPids(state.range(0));
    ts::PacketFilter filter;
    CopyThrough(state, [&](std::uint8_t *block, std::size_t size, bool atEnd, int sink) {
        const auto write = [sink](const std::uint8_t *packet, bool kept) {
            return !kept || WriteAll(sink, packet, ts::kPacketSize);
        };
        return filter.Run(block, size, {}, keep, atEnd, write).consumed;
    });
}
BENCHMARK(WriteEveryPacket)->Arg(8)->Arg(3)->UseRealTime();

}  // namespace
