// The bytes of requests and information files, and times as people write them.
#include <gtest/gtest.h>

#include "Failure.h"
#include "InformationFile.h"
#include "Recording.h"
#include "Requests.h"
#include "Service.h"
#include "TimeText.h"

namespace tool {
namespace {

std::string Zeros(std::size_t bytes) {
    return std::string(2 * bytes, '0');
}

TvChannelInfo ChannelInfoWithBorders() {
    TvChannelInfo info{};
    info.reserved0[0] = 0xAA;
    info.reserved[3] = 0xBB;
    return info;
}

TEST(Requests, CarryTheirFieldsLittleEndianAtTheDocumentedOffsets) {
    const struct {
        const char *name;
        Request request;
        std::string text;
    } rows[] = {
        {"SetHandle", recorder::SetHandle(3, 0x0102030405060708),
         "01000000"
         "03000000"
         "0807060504030201"
         "00000000"},
        {"SetDemuxProperty", recorder::SetDemuxProperty({0x101, 0x100, 0x102, 0x104}),
         "02000000"
         "01010000"
         "00010000"
         "02010000" +
             Zeros(8) + "04010000"},
        {"SetSinkProperty", recorder::SetSinkProperty({"ab", true}),
         "03000000"
         "6162" +
             Zeros(254) +
             "01000000"
             "00000000"},
        {"SetChannelInfoProperty", recorder::SetChannelInfoProperty(ChannelInfoWithBorders()),
         "04000000"
         "aa" +
             Zeros(190) + "bb"},
        {"Start", recorder::Start(), "06000000"},
        {"Stop", recorder::Stop(), "09000000"},
        {"GetProgress", recorder::GetProgress(), "0a000000"},
        {"SwapTS2Record", recorder::SwapTS2Record({"c", false}),
         "0b000000"
         "63" +
             Zeros(255 + 8)},
        {"UpdateSi", recorder::UpdateSi({0, 0x1000}),
         "0c000000"
         "02000000"
         "00000000"
         "00100000"},
        {"ClearDemuxInfo", recorder::ClearDemuxInfo(), "0e000000"},
        {"PreStart", recorder::PreStart(), "13000000"},
        {"SetHandle", playback::SetHandle(2),
         "01000000"
         "02" +
             Zeros(15)},
        {"SetProperty", playback::SetProperty("p", 0x1234, true),
         "02000000"
         "70" +
             Zeros(255) +
             "34120000"
             "01000000"
             "00000000"},
        {"TrickPlay", playback::TrickPlay(7, -4.0),
         "06000000"
         "07000000"
         "00000000000010c0"},
        {"Skip", playback::Skip(25000, 1.0),
         "07000000"
         "a8610000"
         "000000000000f03f"},
        {"GetProgress", playback::GetProgress(), "09000000"},
        {"Reset", playback::Reset(), "0c000000"},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(HexText(row.request.record), row.text) << row.name;
        EXPECT_STREQ(CommandName(row.request.target, row.request.command), row.name);
    }
}

TEST(Requests, RefuseAPathThatDoesNotFitInsteadOfCuttingIt) {
    EXPECT_EQ(recorder::SetSinkProperty({std::string(255, 'x')}).record.size(), 268U);
    EXPECT_THROW(recorder::SetSinkProperty({std::string(256, 'x')}), Failure);
}

TEST(Recording, NamesEveryStreamOfAService) {
    using tvdesktop::StreamKind;
    tvdesktop::Service service;
    service.pmtPid = 0x1000;
    service.pcrPid = 0x1FE;
    const auto stream = [](std::uint16_t pid, StreamKind kind) {
        tvdesktop::ElementaryStream made;
        made.pid = pid;
        made.kind = kind;
        return made;
    };
    service.streams = {stream(0x102, StreamKind::Audio),
                       stream(0x103, StreamKind::AudioDescription),
                       stream(0x104, StreamKind::Audio), stream(0x105, StreamKind::Other)};
    const StreamSelection radio = SelectStreams(service);
    EXPECT_EQ(radio.demux.video, kNoPid);
    EXPECT_EQ(radio.demux.audio, 0x102U);
    EXPECT_EQ(radio.demux.audioDescription, 0x103U);
    EXPECT_EQ(radio.si, (std::vector<std::uint32_t>{0, 0x1000, 0x103, 0x104, 0x105, 0x1FE}))
        << "the recorder does not look at the PCR PID of a radio service";

    service.streams.push_back(stream(0x101, StreamKind::Video));
    const StreamSelection television = SelectStreams(service);
    EXPECT_EQ(television.demux.video, 0x101U);
    EXPECT_EQ(television.demux.pcr, 0x1FEU);
    EXPECT_EQ(television.si, (std::vector<std::uint32_t>{0, 0x1000, 0x103, 0x104, 0x105}));

    service.streams = {stream(0x105, StreamKind::Other)};
    EXPECT_THROW(SelectStreams(service), Failure);
}

TEST(InformationFile, HoldsPidsAndTypeAtTheirOffsetsAndNothingElse) {
    const std::string longName =
        std::string(62, 'n') + "\xC3\xA9";  // the letter does not fit whole
    std::vector<std::uint8_t> bytes = EncodeInformation({longName, 0x101, 0x102, 0xFFFFFFFF, 2});
    ASSERT_EQ(bytes.size(), 10645U);
    const struct {
        std::size_t offset;
        std::string hex;
    } rows[] = {{0, HexText(std::vector<std::uint8_t>(62, 'n')) + "0000"},
                {798,
                 "01010000"
                 "02010000"
                 "ffffffff"},
                {824, "0200"}};
    for (const auto &row : rows) {
        const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(row.offset);
        const auto end = begin + static_cast<std::ptrdiff_t>(row.hex.size() / 2);
        EXPECT_EQ(HexText({begin, end}), row.hex) << row.offset;
        std::fill(begin, end, std::uint8_t{0});
    }
    EXPECT_EQ(bytes, std::vector<std::uint8_t>(10645));
}

TEST(InformationFile, TakesTheNameOfItsRecording) {
    EXPECT_EQ(InformationPath("dir.d/a.srf"), "dir.d/a.inf");
    EXPECT_EQ(InformationPath("a.b.ts0"), "a.b.inf");
    for (const char *name : {"a", "a.ts", "a.mpeg", "a.inf", "dir.srf/a", "", ".srf", "srf"})
        EXPECT_THROW(InformationPath(name), WrongUse) << name;
}

TEST(TimeText, ReadsSecondsAndColons) {
    const struct {
        const char *text;
        std::optional<std::int64_t> milliseconds;
    } rows[] = {
        {"0", 0},           {"12", 12000},      {"12.5", 12500},
        {"1:05", 65000},    {"1:05.25", 65250}, {"1:02:03", 3723000},
        {"90", 90000},      {"90:00", 5400000}, {"1:60", {}},
        {"-1", {}},         {"", {}},           {":", {}},
        {"1:", {}},         {"1.", {}},         {"1:2:3:4", {}},
        {"x", {}},          {"2147484", {}},    {"99999999999999", {}},
        {"12.3456", 12345},
    };
    for (const auto &row : rows)
        EXPECT_EQ(ParseTime(row.text), row.milliseconds) << row.text;
    EXPECT_EQ(TimeText(3'723'950), "62:03.9");
    EXPECT_EQ(TimeText(-5), "00:00.0");
}

}  // namespace
}  // namespace tool
