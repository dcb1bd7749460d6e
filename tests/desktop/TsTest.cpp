// Stream time, packet framing, the channel log and service information.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <tv_stream.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>

#include "BrokenDisk.h"
#include "TemporaryFolder.h"
#include "ts/ChannelLog.h"
#include "ts/DvbText.h"
#include "ts/PacketFilter.h"
#include "ts/PacketReader.h"
#include "ts/ServiceWatch.h"
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
        EXPECT_EQ(clock.Milliseconds(), c.expectedMs + 30) << c.what;
    }
}

/// One kind of damage to a stream of ten packets, and the packets that are left whole.
struct Damage {
    const char *what;
    std::size_t packet;  ///< where it happens
    std::size_t offset;  ///< in that packet
    std::size_t removed;
    Bytes inserted;
    std::vector<std::size_t> whole;
    std::uint64_t lost = 0;    ///< packets without sync
    std::uint64_t errors = 0;  ///< packets with transport_error_indicator
};

const Damage kDamages[] = {
    {"none", 0, 0, 0, {}, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}},
    {"bytes in front", 0, 0, 0, Bytes(77, 0x47), {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, 1},
    {"bytes between", 6, 0, 0, Bytes(500, 0x55), {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, 3},
    {"bytes before the last packet", 9, 0, 0, Bytes(77, 0x55), {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, 1},
    {"packet cut short", 5, 50, 40, {}, {0, 1, 2, 3, 4, 6, 7, 8, 9}, 1},
    {"sync byte broken", 6, 0, 1, {0}, {0, 1, 2, 3, 4, 5, 7, 8, 9}, 1},
    {"PID in doubt", 5, 1, 1, {0x81}, {0, 1, 2, 3, 4, 6, 7, 8, 9}, 0, 1},
    {"end missing", 9, 100, 88, {}, {0, 1, 2, 3, 4, 5, 6, 7, 8}, 1},
};

/// Bytes around each packet.
struct Layout {
    std::size_t before;
    std::size_t after;
};
constexpr Layout kLayouts[] = {{0, 0}, {4, 0}, {0, 16}};

Bytes Damaged(const Bytes &packets, const Damage &damage, const Layout &layout) {
    Bytes stream;
    for (std::size_t i = 0; i < packets.size() / 188; ++i) {
        Bytes packet = Packets(packets, i, i + 1);
        if (i == damage.packet) {
            const std::size_t rest = damage.offset + damage.removed;
            packet = Part(packet, 0, damage.offset);
            packet += damage.inserted;
            packet += Part(packets, i * 188 + rest, 188 - rest);
        }
        const auto filler = static_cast<std::uint8_t>(0x40 + i);  // 0x47 once
        stream += Bytes(layout.before, filler);
        stream += packet;
        stream += Bytes(layout.after, filler);
    }
    return stream;
}

struct FilterResult {
    Bytes kept;
    std::uint64_t lost = 0;
    std::uint64_t errors = 0;
};

/// Runs the filter over data that arrives `chunk` bytes at a time in a small block, and lets it
/// stop once in front of every packet, as pacing does.
FilterResult Filtered(const Bytes &data, const ts::PidTable &keep, std::size_t chunk) {
    Bytes block;
    FilterResult result;
    ts::PacketFilter filter;
    for (std::size_t offset = 0; offset <= data.size(); offset += chunk) {
        const std::size_t count = std::min(chunk, data.size() - offset);
        block += Part(data, offset, count);
        ts::PacketFilter::Result done;
        bool goesOn = true;
        for (std::size_t stops = 0; stops == 0 || !goesOn; ++stops) {
            goesOn = true;
            done = filter.Run(block.data(), block.size(), done, keep, count < chunk,
                              [&, asked = stops > 0](const std::uint8_t *, bool) mutable {
                                  goesOn = std::exchange(asked, false);
                                  return goesOn;
                              });
        }
        result.kept += Part(block, 0, done.kept);
        block = Part(block, done.consumed, block.size() - done.consumed);
    }
    result.lost = filter.LostPackets(block.size());
    result.errors = filter.TransportErrors();
    return result;
}

void ExpectPackets(const Bytes &data, const Bytes &expected, const Damage &damage) {
    for (const std::size_t chunk : {1U, 187U, 188U, 189U, 1000U, 100'000U}) {
        SCOPED_TRACE(std::to_string(chunk) + " bytes at a time");
        const FilterResult filtered = Filtered(data, ts::PidTable().set(0x100), chunk);
        EXPECT_EQ(filtered.kept, expected);
        EXPECT_EQ(filtered.lost, damage.lost);
        EXPECT_EQ(filtered.errors, damage.errors);
    }
    const std::string path = TempPath("damaged.ts");
    TsBuilder stream;
    stream.data = data;
    stream.WriteTo(path);
    ts::PacketReader reader;
    ASSERT_TRUE(reader.Open(path));
    Bytes read;
    while (const std::uint8_t *packet = reader.Next()) {
        EXPECT_EQ(Part(data, static_cast<std::size_t>(reader.Offset()), 188),
                  Bytes(packet, packet + 188));
        if (!ts::TransportError(packet))
            read += Bytes(packet, packet + 188);
    }
    EXPECT_EQ(read, expected);
}

TEST(Packets, SurviveDamageAroundThem) {
    const Bytes packets = TsBuilder().Media(0x100, 10).data;
    for (const Damage &damage : kDamages) {
        Bytes expected;
        for (const std::size_t index : damage.whole)
            expected += Packets(packets, index, index + 1);
        for (const Layout &layout : kLayouts) {
            SCOPED_TRACE(damage.what + (", " + std::to_string(188 + layout.before + layout.after)) +
                         " bytes per packet");
            ExpectPackets(Damaged(packets, damage, layout), expected, damage);
        }
    }
}

TEST(Packets, TakeAnotherLayoutOnlyAfterFiveSyncBytes) {
    const Bytes packets = TsBuilder().Media(0x100, 5).data;
    Bytes alike(1 + 3 * 192);  // with the packet after it, four packets of 192 bytes in a row
    for (const std::size_t at : {1U, 193U, 385U})
        std::copy_n(packets.begin(), 3, alike.begin() + static_cast<std::ptrdiff_t>(at));
    const Bytes data = packets + alike + packets;
    EXPECT_EQ(Filtered(data, ts::PidTable().set(0x100), 10'000).kept, packets + packets);
}

TEST(Packets, HaveAPcrOnlyInAnAdaptationFieldThatHoldsOne) {
    const struct {
        std::size_t at;
        std::uint8_t value;
        std::optional<std::int64_t> pcr;
    } rows[] = {{3, 0x20, 123}, {3, 0x10, {}}, {4, 7, 123}, {4, 6, {}}, {5, 0xEF, {}}};
    for (const auto &[at, value, pcr] : rows) {
        Bytes packet = TsBuilder().Pcr(0x100, 123).data;
        packet[at] = value;
        EXPECT_EQ(ts::Pcr(packet.data()), pcr) << at << ' ' << int{value};
    }
}

/// A recording of three services of two seconds each; the side file is made from it.
std::string RecordThreeServices() {
    TsBuilder stream;
    stream.Pat({{1, 0x1001}, {2, 0x1002}, {3, 0x1003}});
    for (int service = 1; service <= 3; ++service) {
        const int video = 0x100 * service;
        stream.Pmt(0x1000 + service, service, video, {{0x1B, video}});
        for (int ms = 0; ms <= 2000; ms += 40)
            stream.Pcr(video, (service * 2000 + ms) * kMs, true);
    }
    std::string path = TempPath("services.srf");
    stream.WriteTo(path);
    const auto result = tvdesktop::RepairChannelLog(path);
    EXPECT_EQ(result.stretches, 3U) << result.error;
    return path;
}

TEST(BrokenDisk, IsSaidByAllReadersAndCostsNoSideFile) {
    const std::string path = RecordThreeServices();
    const auto size = static_cast<std::int64_t>(std::filesystem::file_size(path));
    for (const std::int64_t brokenFrom : {std::int64_t{0}, std::int64_t{188}, size / 2}) {
        const BrokenDisk disk(brokenFrom);
        const auto repaired = tvdesktop::RepairChannelLog(path);
        const auto scanned = tvdesktop::ScanServices(path);
        void *player = tvdesktop::CreatePlayer({});
        tv_stream_set_property(tvdesktop::StreamOf(player), 801, path.c_str(), 0);
        const int played = tv_stream_start(tvdesktop::StreamOf(player));
        tvdesktop::DestroyPlayer(player);
        EXPECT_NE(repaired.error.find("Input/output error"), std::string::npos) << brokenFrom;
        EXPECT_EQ(ts::ReadChannelLog(path).size(), 3U);
        EXPECT_NE(scanned.error.find("Input/output error"), std::string::npos) << brokenFrom;
        EXPECT_EQ(played, tvdesktop::kPlayerNoSource) << brokenFrom;
    }
    EXPECT_EQ(tvdesktop::RepairChannelLog(path).outcome, tvdesktop::RepairResult::Outcome::Kept);
}

TEST(Readers, RefuseWhatIsNoRegularFileWithoutWaiting) {
    const std::string recording = RecordThreeServices();
    const std::string side = ts::ChannelLogPath(recording);
    const std::string fifo = TempPath("fifo");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    for (const std::string &target : {fifo, std::string("/dev/zero"), TemporaryFolder()}) {
        EXPECT_FALSE(ts::PacketReader().Open(target));
        EXPECT_NE(tvdesktop::ScanServices(target).error.find("cannot read"), std::string::npos);
        std::filesystem::remove(side);
        std::filesystem::create_symlink(target, side);
        EXPECT_TRUE(ts::ReadChannelLog(recording).empty());
        EXPECT_NE(tvdesktop::RepairChannelLog(recording).error.find(side), std::string::npos);
        EXPECT_TRUE(std::filesystem::is_symlink(side));
    }
    std::filesystem::remove(side);
    std::filesystem::remove(fifo);
}

TEST(Scan, StopsAtItsLimitAlsoWithoutPackets) {
    const std::string path = TempPath("zeros.ts");
    TsBuilder stream;
    stream.Junk(100, 0).WriteTo(path);
    std::filesystem::resize_file(path, 1 << 30);
    ts::PacketReader reader;
    ASSERT_TRUE(reader.Open(path));
    EXPECT_EQ(reader.Next(1'000'000), nullptr);
    EXPECT_LT(reader.Tell(), 2'000'000U);
    EXPECT_NE(tvdesktop::ScanServices(path).error.find("not a transport stream"),
              std::string::npos);
    std::filesystem::remove(path);
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
}

ts::ChannelStretch Stretch(std::int64_t timeMs, std::uint64_t offset, std::uint16_t program) {
    ts::ChannelStretch stretch;
    stretch.timeMs = timeMs;
    stretch.offset = offset;
    stretch.info.programNum = program;
    stretch.info.reserved[3] = 0xFE;
    return stretch;
}

bool AddToLog(const std::string &recording, const ts::ChannelStretch &stretch) {
    ts::ChannelLogWriter log;
    return log.Open(recording) && log.Append(stretch);
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

    ASSERT_TRUE(AddToLog(recording, Stretch(0, 0, 1)));
    ASSERT_TRUE(AddToLog(recording, Stretch(500, 188, 2)));
    const auto stretches = ts::ReadChannelLog(recording);
    ASSERT_EQ(stretches.size(), 2U);
    EXPECT_EQ(stretches[1].timeMs, 500);
    EXPECT_EQ(stretches[1].offset, 188U);

    std::ofstream(path, std::ios::app) << "nonsense 1 2\n-1 400 00\n600 376 "
                                       << std::string(2 * 192, 'g') << "\n600 376 0011";  // torn
    EXPECT_EQ(ProgramsIn(recording), (std::vector<int>{1, 2}));
    ASSERT_TRUE(AddToLog(recording, Stretch(700, 564, 3)));
    ASSERT_TRUE(AddToLog(recording, Stretch(600, 752, 4)));  // back in time
    ASSERT_TRUE(AddToLog(recording, Stretch(700, 564, 5)));  // in place of 3
    EXPECT_EQ(ProgramsIn(recording), (std::vector<int>{1, 2, 5}));

    ASSERT_TRUE(ts::WriteChannelLog(recording, {{Stretch(0, 0, 9)}, {}}));
    EXPECT_EQ(ProgramsIn(recording), std::vector<int>{9});
    std::filesystem::resize_file(path, std::filesystem::file_size(path) - 1);
    EXPECT_TRUE(ProgramsIn(recording).empty());
    EXPECT_FALSE(AddToLog("/no/such/place", Stretch(0, 0, 1)));

    std::vector<ts::ChannelStretch> many;  // more than is read at once
    for (std::uint16_t i = 0; i < 200; ++i)
        many.push_back(Stretch(i, i, i));
    ASSERT_TRUE(ts::WriteChannelLog(recording, {many, {}}));
    EXPECT_EQ(ProgramsIn(recording).size(), many.size());
    EXPECT_EQ(ProgramsIn(recording).back(), 199);
}

tvdesktop::ScanResult Scan(const TsBuilder &stream) {
    const std::string path = TempPath("scanned.ts");
    stream.WriteTo(path);
    tvdesktop::ScanResult result = tvdesktop::ScanServices(path);
    std::filesystem::remove(path);
    return result;
}

TEST(ServiceScan, ReadsPmtsOfAllServices) {
    TsBuilder damaged = TsBuilder().Pat({{9, 0x1009}});
    damaged.data[1] |= 0x80;  // transport_error_indicator
    const auto result = Scan(
        damaged.Pat({{0, 0x10}, {7, 0x1000}, {3, 0x1000}})
            .Pmt(0x10, 0, 0x300, {{0x1B, 0x300}})
            .Pmt(0x1000, 3, 0x201, {{0x0F, 0x201}})
            .Pmt(0x1001, 3, 0x333, {{0x1B, 0x333}})
            .Media(0x201)
            .Junk(300)
            .Sdt(3, {3, 'P', 0x1B, 'Q', 3, 'N', 7, 'M'})
            .Pmt(0x1000, 7, 0x100, {{0x1B, 0x100}, {0x03, 0x101, {0x0A, 4, 0x1B, 'd', 0x9B, 0}}})
            .Media(0x100, 20));
    EXPECT_EQ(result.error, "");
    ASSERT_EQ(result.services.size(), 2U) << "program 0 is no service";
    const auto radio = tvdesktop::ChannelInfoOf(result.services[0]);
    EXPECT_EQ(radio.programNum, 3);
    EXPECT_EQ(radio.videoPid, 0xFFFF);
    EXPECT_EQ(radio.audioPid, 0x201);
    EXPECT_EQ(radio.pcrPid, 0x201);
    EXPECT_EQ(result.services[0].provider, "PQ") << "no control character is shown";
    EXPECT_EQ(result.services[0].name, "NM");
    EXPECT_EQ(result.services[1].streams[1].language, "d");
    EXPECT_EQ(result.services[1].pmtPid, 0x1000) << "services may share a PMT PID";
    EXPECT_EQ(tvdesktop::ChannelInfoOf(result.services[1]).audioPid, 0x101);

    EXPECT_NE(Scan(TsBuilder().Junk(5000)).error, "");
    EXPECT_NE(tvdesktop::ScanServices("/no/such/file").error, "");
}

TEST(ServiceScan, TakesNoLongerForAPacketWhenThereAreManyServices) {
    constexpr int kPrograms = 60'000;
    std::vector<std::pair<int, int>> programs;
    for (int i = 1; i <= kPrograms; ++i)
        programs.emplace_back(i, 0x1000);
    TsBuilder stream;
    stream.Pat(programs);
    for (int i = 1; i <= kPrograms; ++i)
        stream.Pmt(0x1000, i, 0x100, {{0x1B, 0x100}});
    EXPECT_EQ(Scan(stream).services.size(), std::size_t{kPrograms});
}

TEST(ServiceScan, NamesKindAndCodecOfEveryStream) {
    using tvdesktop::StreamKind;
    constexpr auto kAudio = StreamKind::Audio;
    constexpr auto kDescription = StreamKind::AudioDescription;
    const struct {
        int type;
        Bytes descriptors;
        StreamKind kind;
        const char *codec;
    } rows[] = {
        {0x1B, {}, StreamKind::Video, "H.264"},
        {0x24, {}, StreamKind::Video, "HEVC"},
        {0x06, {}, StreamKind::Other, "private data"},
        {0x99, {}, StreamKind::Other, "type 153"},
        {0x06, {0x56, 0}, StreamKind::Other, "teletext"},
        {0x06, {0x59, 0}, StreamKind::Other, "subtitles"},
        {0x06, {0x7B, 0}, kAudio, "DTS"},
        // ISO 639 language: audio type, or the language for it
        {0x03, {0x0A, 4, 'e', 'n', 'g', 0}, kAudio, "MPEG-1 audio"},
        {0x03, {0x0A, 4, 'e', 'n', 'g', 3}, kDescription, "MPEG-1 audio"},
        {0x03, {0x0A, 4, 'q', 'a', 'd', 0}, kDescription, "MPEG-1 audio"},
        {0x1B, {0x0A, 4, 'q', 'a', 'd', 3}, StreamKind::Video, "H.264"},
        {0x03, {0x0A, 2, 'q', 'a'}, kAudio, "MPEG-1 audio"},
        // supplementary audio: editorial classification, language
        {0x03, {0x7F, 2, 0x06, 0x80 | 0 << 2}, kAudio, "MPEG-1 audio"},
        {0x03, {0x7F, 2, 0x06, 0x80 | 1 << 2}, kDescription, "MPEG-1 audio"},
        {0x03, {0x7F, 2, 0x06, 0x80 | 2 << 2}, kAudio, "MPEG-1 audio"},
        {0x03, {0x7F, 2, 0x06, 0x80 | 3 << 2}, kDescription, "MPEG-1 audio"},
        {0x03, {0x7F, 5, 0x06, 0x81, 'q', 'a', 'd'}, kDescription, "MPEG-1 audio"},
        {0x03, {0x7F, 2, 0x15, 0x84}, kAudio, "MPEG-1 audio"},
        // preselection: audio description, spoken subtitles, one of two
        {0x11, {0x7F, 4, 0x19, 1 << 3, 0, 0x80}, kDescription, "HE-AAC"},
        {0x11, {0x7F, 4, 0x19, 1 << 3, 0, 0x40}, kDescription, "HE-AAC"},
        {0x11, {0x7F, 4, 0x19, 1 << 3, 0, 0x20}, kAudio, "HE-AAC"},
        {0x11, {0x7F, 4, 0x19, 2 << 3, 0, 0x80}, kAudio, "HE-AAC"},
        // AC-3, E-AC-3 and AAC by component type
        {0x06, {0x6A, 1, 0x00}, kAudio, "AC-3"},
        {0x06, {0x6A, 2, 0x80, 2 << 3}, kDescription, "AC-3"},
        {0x06, {0x6A, 2, 0x80, 3 << 3}, kAudio, "AC-3"},
        {0x06, {0x6A, 2, 0x40, 2 << 3}, kAudio, "AC-3"},
        {0x06, {0x7A, 2, 0x80, 0xC0 | 2 << 3}, kDescription, "E-AC-3"},
        {0x06, {0x7C, 1, 0x58}, kAudio, "AAC"},
        {0x0F, {0x7C, 3, 0x58, 0x80, 0x40}, kDescription, "AAC"},
        {0x0F, {0x7C, 3, 0x58, 0x80, 0x4A}, kDescription, "AAC"},
        {0x0F, {0x7C, 3, 0x58, 0x80, 0x03}, kAudio, "AAC"},
        {0x0F, {0x7C, 3, 0x58, 0x00, 0x40}, kAudio, "AAC"},
        // component
        {0x03, {0x50, 2, 0xF2, 0x47}, kDescription, "MPEG-1 audio"},
        {0x03, {0x50, 2, 0xF2, 0x03}, kAudio, "MPEG-1 audio"},
        {0x81, {0x50, 2, 0xF4, 2 << 3}, kDescription, "AC-3"},
        {0x0F, {0x50, 2, 0xF6, 0x44}, kDescription, "AAC"},
    };
    std::vector<TsBuilder::Stream> streams;
    for (const auto &row : rows)
        streams.push_back({row.type, 0x100, row.descriptors});
    const auto result = Scan(TsBuilder().Pat({{1, 0x1000}}).Pmt(0x1000, 1, 0x100, streams));
    ASSERT_EQ(result.services.size(), 1U);
    ASSERT_EQ(result.services[0].streams.size(), std::size(rows));
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        EXPECT_EQ(result.services[0].streams[i].kind, rows[i].kind) << i;
        EXPECT_EQ(result.services[0].streams[i].codec, rows[i].codec) << i;
        EXPECT_EQ(result.services[0].streams[i].language.size() % 3, 0U) << i;
    }
}

TEST(ServiceWatch, ReportsWhatReallyChangesInATableThatIsInForce) {
    const std::vector<TsBuilder::Stream> known = {{0x1B, 0x101}, {0x0F, 0x102}};
    const std::vector<TsBuilder::Stream> moved = {{0x1B, 0x101}, {0x0F, 0x112}};
    const auto pmt = [](const std::vector<TsBuilder::Stream> &streams, int version = 0xC1,
                        int pid = 0x1000, int id = 1) {
        return TsBuilder().Pmt(pid, id, 0x101, streams, version).data;
    };
    const auto pat = [](const std::vector<std::pair<int, int>> &programs) {
        return TsBuilder().Pat(programs).data;
    };
    const auto damaged = [](Bytes table, std::size_t at, int bits) {
        table[at] = static_cast<std::uint8_t>(table[at] ^ bits);
        return table;
    };
    std::vector<std::pair<int, int>> many = {{1, 0x1002}, {1, 0x1003}};
    for (int i = 2; i < 300; ++i)
        many.push_back({i, 0x1100});
    const struct {
        const char *what;
        Bytes packets;
        bool isChange;
        int pmtPid;
        int lastPid;
        bool isListed;
    } rows[] = {
        {"as known", pmt(known), false, 0x1000, 0x102, true},
        {"another version", pmt(known, 0xC3), false, 0x1000, 0x102, true},
        {"not in force yet", pmt(moved, 0xC4), false, 0x1000, 0x102, true},
        {"another service", pmt(moved, 0xC5, 0x1000, 2), false, 0x1000, 0x102, true},
        {"on another PID", pmt(moved, 0xC5, 0x1001), false, 0x1000, 0x102, true},
        {"with a wrong checksum", damaged(pmt(moved, 0xC5), 20, 4), false, 0x1000, 0x102, true},
        {"with a transport error", damaged(pmt(moved, 0xC5), 1, 0x80), false, 0x1000, 0x102, true},
        {"audio moved", pmt(moved, 0xC5), true, 0x1000, 0x112, true},
        {"repeated", pmt(moved, 0xC5), false, 0x1000, 0x112, true},
        {"another codec", pmt({{0x1B, 0x101}, {0x03, 0x112}}, 0xC5), true, 0x1000, 0x112, true},
        {"track added", pmt({{0x1B, 0x101}, {3, 0x112}, {3, 9}}), true, 0x1000, 9, true},
        {"PAT as known", pat({{1, 0x1000}}), false, 0x1000, 9, true},
        {"another PMT PID", pat(many), true, 0x1002, 9, true},
        {"and again", pat(many), false, 0x1002, 9, true},
        {"its PMT, the same", pmt({{0x1B, 0x101}, {3, 0x112}, {3, 9}}, 0xC1, 0x1002), false, 0x1002,
         9, true},
        {"the old PID", pmt(known, 0xC7), false, 0x1002, 9, true},
        {"no longer listed", pat({{0, 0x10}, {2, 0x1000}}), true, 0x1002, 9, false},
        {"still not", pat({{2, 0x1000}}), false, 0x1002, 9, false},
        {"its PMT all the same", pmt(known, 0xC7, 0x1002), true, 0x1002, 0x102, false},
        {"listed again", pat(many), true, 0x1002, 0x102, true},
    };
    tvdesktop::Service service;
    service.id = 1;
    service.name = "One";
    service.pmtPid = 0x1000;
    ts::ServiceWatch watch(service);
    const auto push = [&watch](const Bytes &packets) {
        std::optional<tvdesktop::ServiceChange> change;
        for (std::size_t i = 0; i < packets.size(); i += 188) {
            if (auto next = watch.Push(&packets[i]))
                change = next;
        }
        return change;
    };
    tvdesktop::ServiceChange last = push(pmt(known, 0xDF)).value_or(tvdesktop::ServiceChange{});
    EXPECT_EQ(last.service.streams.size(), 2U) << "nothing of its streams was known";
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        const auto change = push(row.packets);
        EXPECT_EQ(change.has_value(), row.isChange);
        last = change.value_or(last);
        EXPECT_EQ(last.service.name, "One");
        EXPECT_EQ(last.service.pmtPid, row.pmtPid);
        EXPECT_EQ(last.service.streams.back().pid, row.lastPid);
        EXPECT_EQ(last.isListed, row.isListed);
    }
}

TEST(DvbText, ReadsTheCharacterTablesOfBroadcasts) {
    const std::pair<Bytes, const char *> cases[] = {
        {{}, ""},
        {{0xC8, 'u', 'b', 'e', 'r'}, "\u00FCber"},  // ISO 6937 puts the accent in front
        {{0x05, 'S', 0xFC}, "S\u00FC"},
        {{0x10, 0x00, 0x0F, 0xA4}, "\u20AC"},
        {{0x15, 0xE2, 0x82, 0xAC}, "\u20AC"},
        {{0x86, 'A', 0x87, 0x8A, 'B'}, "A B"},
        {{0x05, 'A', 0x9B, '3', 0x7F, 'B'}, "A3B"},
        {{0x15, 'A', 0xC2, 0x9B, 0xE2, 0x80, 0x8F, 0xE2, 0x81, 0xA6, 0xD8, 0x9C, 'B'}, "AB"},
        {{0x15, 'A', 0xEE, 0x82, 0x86, 0xEE, 0x82, 0x8A, 0x0A, 'B'}, "A B"},
        {{0x11, 0xE0, 0x86, 0, 'A', 0xE0, 0x8A, 0, 'B', 0, 0x1B}, "A B"},
        {{0x12, 0xE0, 0x86, 0xB0, 0xA1, 0xE0, 0x8A, 'B'}, "\uAC00 B"},
        {{0x13, 0xE0, 0x86, 0xB0, 0xA1, 0xE0, 0x87, 'B'}, "\u554AB"},
        {{0x1F, 0x01, 'A'}, "A"},
    };
    for (const auto &[text, expected] : cases)
        EXPECT_EQ(ts::DvbTextToUtf8(text.data(), text.size()), expected);
}

}  // namespace
