// Stream time, packet framing, the channel log and service information.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "TemporaryFolder.h"
#include "ts/ChannelLog.h"
#include "ts/DvbText.h"
#include "ts/PacketFilter.h"
#include "ts/PacketReader.h"
#include "ts/StreamClock.h"
#include "ts/TsPacket.h"
#include "TsBuilder.h"
#include "TvDesktop.h"

namespace ts = tvdesktop::ts;

namespace {

constexpr std::int64_t kWrap = (std::int64_t{1} << 33) * 300;

std::string TempPath(const std::string &name) {
    const auto *test = testing::UnitTest::GetInstance()->current_test_info();
    std::string path = TemporaryFolder() + test->name() + "-" + name;
    std::filesystem::remove(path);
    return path;
}

Bytes PacketAt(const Bytes &data, std::size_t offset) {
    const auto begin = data.begin() + static_cast<std::ptrdiff_t>(offset);
    return Bytes(begin, begin + ts::kPacketSize);
}

TEST(StreamClock, CountsWrapsLeavesJumpsOutAndGoesOnWithAnotherPid) {
    struct Case {
        const char *what;
        std::vector<std::int64_t> pcrs;
        std::int64_t expectedMs;
    };
    const Case cases[] = {
        {"nothing", {}, 0},
        {"steady", {5 * kMs, 45 * kMs, 105 * kMs, 105 * kMs}, 100},
        {"wrap", {kWrap - 30 * kMs, 10 * kMs, 20 * kMs}, 50},
        {"ten seconds still count", {0, 10'000 * kMs}, 10'000},
        {"more is a jump", {0, 10'001 * kMs, 10'041 * kMs}, 40},
        {"back", {5'000 * kMs, 0, 40 * kMs}, 40},
    };
    for (const Case &c : cases) {
        ts::StreamClock clock;
        clock.FollowPid(0x100);
        for (const std::int64_t pcr : c.pcrs)
            clock.Advance(pcr);
        clock.FollowPid(0x200);
        clock.Advance(7'000 * kMs);
        clock.FollowPid(0x200);
        clock.Advance(7'030 * kMs);
        EXPECT_EQ(clock.milliseconds(), c.expectedMs + 30) << c.what;
    }
}

/// One kind of damage to a stream of ten packets, and the packets that are left whole.
struct Damage {
    const char *what;
    std::size_t offset;
    std::size_t removed;
    Bytes inserted;
    std::vector<std::size_t> whole;
};

const Damage kDamages[] = {
    {"none", 0, 0, {}, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}},
    {"bytes in front", 0, 0, Bytes(77, 0x47), {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}},
    {"bytes between", 4 * 188, 0, Bytes(500, 0x55), {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}},
    {"packet cut short", 3 * 188 + 50, 40, {}, {0, 1, 2, 4, 5, 6, 7, 8, 9}},
    {"sync byte broken", 5 * 188, 1, {0}, {0, 1, 2, 3, 4, 6, 7, 8, 9}},
    {"PID in doubt", 5 * 188 + 1, 1, {0x81}, {0, 1, 2, 3, 4, 6, 7, 8, 9}},
    {"end missing", 9 * 188 + 100, 88, {}, {0, 1, 2, 3, 4, 5, 6, 7, 8}},
};

Bytes Damaged(Bytes data, const Damage &damage) {
    const auto at = data.begin() + static_cast<std::ptrdiff_t>(damage.offset);
    const auto kept = data.erase(at, at + static_cast<std::ptrdiff_t>(damage.removed));
    data.insert(kept, damage.inserted.begin(), damage.inserted.end());
    return data;
}

/// Runs the filter over data that arrives `chunk` bytes at a time in a small block.
Bytes Filtered(const Bytes &data, const ts::PidTable &keep, std::size_t chunk) {
    Bytes block;
    Bytes result;
    ts::PacketFilter filter;
    for (std::size_t offset = 0; offset <= data.size(); offset += chunk) {
        const auto from = data.begin() + static_cast<std::ptrdiff_t>(offset);
        const std::size_t count = std::min(chunk, data.size() - offset);
        block.insert(block.end(), from, from + static_cast<std::ptrdiff_t>(count));
        const auto done = filter.Run(block.data(), block.size(), {}, keep, count < chunk,
                                     [](const std::uint8_t *, bool) { return true; });
        const auto kept = block.begin() + static_cast<std::ptrdiff_t>(done.kept);
        result.insert(result.end(), block.begin(), kept);
        block.erase(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(done.consumed));
    }
    return result;
}

TEST(Packets, SurviveDamageAroundThem) {
    const Bytes packets = TsBuilder().Media(0x100, 10).data;
    for (const Damage &damage : kDamages) {
        Bytes expected;
        for (const std::size_t index : damage.whole) {
            const Bytes packet = PacketAt(packets, index * 188);
            expected.insert(expected.end(), packet.begin(), packet.end());
        }
        TsBuilder stream;
        stream.data = Damaged(packets, damage);
        for (const std::size_t chunk : {1U, 187U, 188U, 189U, 1000U, 100'000U})
            EXPECT_EQ(Filtered(stream.data, ts::PidTable().set(0x100), chunk), expected)
                << damage.what << ", " << chunk << " bytes at a time";

        const std::string path = TempPath("damaged.ts");
        stream.WriteTo(path);
        ts::PacketReader reader;
        ASSERT_TRUE(reader.Open(path));
        Bytes read;
        while (const std::uint8_t *packet = reader.Next()) {
            EXPECT_EQ(PacketAt(stream.data, static_cast<std::size_t>(reader.Offset())),
                      Bytes(packet, packet + 188));
            if (!ts::TransportError(packet))
                read.insert(read.end(), packet, packet + 188);
        }
        EXPECT_EQ(read, expected) << damage.what;
    }
}

TEST(PacketReader, FollowsAGrowingFileAndSeeksIntoPackets) {
    const std::string path = TempPath("growing.ts");
    TsBuilder stream;
    stream.Media(0x100, 3).WriteTo(path);
    ts::PacketReader reader;
    ASSERT_TRUE(reader.Open(path));
    for (int i = 0; i < 3; ++i)
        ASSERT_NE(reader.Next(), nullptr);
    EXPECT_EQ(reader.Next(), nullptr);

    stream.Media(0x100, 4).WriteTo(path);
    for (const std::uint64_t offset : {3U * 188, 4U * 188, 5U * 188, 6U * 188}) {
        ASSERT_NE(reader.Next(), nullptr);
        EXPECT_EQ(reader.Offset(), offset);
    }
    EXPECT_EQ(reader.Next(), nullptr);

    reader.Seek(188 + 1);
    ASSERT_NE(reader.Next(), nullptr);
    EXPECT_EQ(reader.Offset(), 2U * 188);
    reader.Seek(1'000'000);
    EXPECT_EQ(reader.Next(), nullptr);
    EXPECT_FALSE(ts::PacketReader().Open(TemporaryFolder()));
}

ts::ChannelStretch Stretch(std::int64_t timeMs, std::uint64_t offset, std::uint16_t program) {
    ts::ChannelStretch stretch;
    stretch.timeMs = timeMs;
    stretch.offset = offset;
    stretch.info.programNum = program;
    stretch.info.reserved[3] = 0xFE;
    return stretch;
}

std::vector<int> ProgramsIn(const std::string &recording) {
    std::vector<int> programs;
    for (const ts::ChannelStretch &stretch : ts::ReadChannelLog(recording)) {
        EXPECT_EQ(stretch.info.reserved[3], 0xFE);
        programs.push_back(stretch.info.programNum);
    }
    return programs;
}

TEST(ChannelLog, KeepsStretchesAndLeavesOutWhatIsBroken) {
    const std::string recording = TempPath("recording");
    const std::string path = ts::ChannelLogPath(recording);
    std::filesystem::remove(path);
    EXPECT_TRUE(ts::ReadChannelLog(recording).empty());

    ASSERT_TRUE(ts::AppendChannelLog(recording, Stretch(0, 0, 1)));
    ASSERT_TRUE(ts::AppendChannelLog(recording, Stretch(500, 188, 2)));
    const auto stretches = ts::ReadChannelLog(recording);
    ASSERT_EQ(stretches.size(), 2U);
    EXPECT_EQ(stretches[1].timeMs, 500);
    EXPECT_EQ(stretches[1].offset, 188U);

    std::ofstream(path, std::ios::app) << "nonsense 1 2\n-1 400 00\n600 376 0011";  // torn line
    EXPECT_EQ(ProgramsIn(recording), (std::vector<int>{1, 2}));
    ASSERT_TRUE(ts::AppendChannelLog(recording, Stretch(700, 564, 3)));
    ASSERT_TRUE(ts::AppendChannelLog(recording, Stretch(600, 752, 4)));  // back in time
    ASSERT_TRUE(ts::AppendChannelLog(recording, Stretch(700, 564, 5)));  // in place of 3
    EXPECT_EQ(ProgramsIn(recording), (std::vector<int>{1, 2, 5}));

    ASSERT_TRUE(ts::WriteChannelLog(recording, {Stretch(0, 0, 9)}));
    EXPECT_EQ(ProgramsIn(recording), std::vector<int>{9});
    std::filesystem::resize_file(path, std::filesystem::file_size(path) - 1);
    EXPECT_TRUE(ProgramsIn(recording).empty());
    EXPECT_FALSE(ts::AppendChannelLog("/no/such/place", Stretch(0, 0, 1)));
}

TEST(ServiceScan, ReadsPmtsOfAllServices) {
    const std::string path = TempPath("services.ts");
    TsBuilder()
        .Pat({{0, 0x10}, {7, 0x1001}, {3, 0x1000}})
        .Pmt(0x1000, 3, 0x201, {{0x0F, 0x201}})
        .Media(0x201)
        .Junk(300)
        .Pmt(0x1001, 7, 0x100, {{0x1B, 0x100}, {0x03, 0x101}, {0x81, 0x102}, {0x05, 0x103}})
        .Media(0x100, 20)
        .WriteTo(path);
    const auto result = tvdesktop::ScanServices(path);
    EXPECT_EQ(result.error, "");
    ASSERT_EQ(result.services.size(), 2U);

    const auto radio = tvdesktop::ChannelInfoOf(result.services[0]);
    EXPECT_EQ(radio.programNum, 3);
    EXPECT_EQ(radio.videoPid, 0xFFFF);
    EXPECT_EQ(radio.audioPid, 0x201);
    EXPECT_EQ(radio.pcrPid, 0x201);

    const auto &service = result.services[1];
    EXPECT_EQ(service.pmtPid, 0x1001);
    ASSERT_EQ(service.streams.size(), 4U);
    EXPECT_EQ(service.First(tvdesktop::StreamKind::Video)->videoCodec, VIDEO_ENCODE_H264);
    EXPECT_EQ(service.streams[2].audioCodec, AUDIO_ENCODE_AC3);
    EXPECT_EQ(service.streams[3].kind, tvdesktop::StreamKind::Other);
    EXPECT_EQ(tvdesktop::ChannelInfoOf(service).audioPid, 0x101);

    TsBuilder().Junk(5000).WriteTo(path);
    EXPECT_NE(tvdesktop::ScanServices(path).error, "");
    EXPECT_NE(tvdesktop::ScanServices("/no/such/file").error, "");
}

TEST(DvbText, ReadsTheCharacterTablesOfBroadcasts) {
    const std::pair<Bytes, const char *> cases[] = {
        {{}, ""},
        {{0xC8, 'u', 'b', 'e', 'r'}, "\u00FCber"},  // ISO 6937 puts the accent in front
        {{0x05, 'S', 0xFC}, "S\u00FC"},
        {{0x10, 0x00, 0x0F, 0xA4}, "\u20AC"},
        {{0x15, 0xE2, 0x82, 0xAC}, "\u20AC"},
        {{0x86, 'A', 0x87, 0x8A, 'B'}, "A B"},
    };
    for (const auto &[text, expected] : cases)
        EXPECT_EQ(ts::DvbTextToUtf8(text.data(), text.size()), expected);
}

}  // namespace
