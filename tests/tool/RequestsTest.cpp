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

TEST(Requests, CarryTheirFieldsLittleEndianAtTheDocumentedOffsets) {
    TvChannelInfo info{};
    info.reserved0[0] = 0xAA;
    info.reserved[3] = 0xBB;
    const struct {
        Request request;
        std::string text;
    } rows[] = {
        {recorder::SetHandle(3, 0x0102030405060708), "0100000003000000080706050403020100000000"},
        {recorder::SetDemuxProperty({0x101, 0x100, 0x102, 0x104}),
         "02000000010100000001000002010000" + Zeros(8) + "04010000"},
        {recorder::SetSinkProperty({"ab", true}), "030000006162" + Zeros(254) + "0100000000000000"},
        {recorder::SetChannelInfoProperty(info), "04000000aa" + Zeros(190) + "bb"},
        {recorder::SwapTS2Record({"c", false}), "0b00000063" + Zeros(255 + 8)},
        {recorder::UpdateSi({0, 0x1000}), "0c000000020000000000000000100000"},
        {playback::SetHandle(2), "0100000002" + Zeros(15)},
        {playback::SetProperty("p", 0x1234, true),
         "0200000070" + Zeros(255) + "341200000100000000000000"},
        {playback::TrickPlay(7, -4.0), "060000000700000000000000000010c0"},
        {playback::Skip(25000, 1.0), "07000000a8610000000000000000f03f"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(HexText(row.request.record), row.text);
    EXPECT_EQ(recorder::SetSinkProperty({std::string(255, 'x')}).record.size(), 268U);
    EXPECT_THROW(recorder::SetSinkProperty({std::string(256, 'x')}), Failure) << "never cut";
}

TEST(Recording, NamesEveryStreamOfAService) {
    using tvdesktop::StreamKind;
    tvdesktop::Service service;
    service.pmtPid = 0x1000;
    service.pcrPid = 0x1FE;
    const auto add = [&](std::uint16_t pid, StreamKind kind) {
        service.streams.emplace_back().pid = pid;
        service.streams.back().kind = kind;
    };
    add(0x105, StreamKind::Other);
    EXPECT_THROW(SelectStreams(service), Failure);
    add(0x102, StreamKind::Audio);
    add(0x103, StreamKind::AudioDescription);
    const StreamSelection radio = SelectStreams(service);
    EXPECT_EQ(radio.demux.video, kNoPid);
    EXPECT_EQ(radio.demux.audioDescription, 0x103U);
    EXPECT_EQ(radio.si, (std::vector<std::uint32_t>{0, 0x1000, 0x105, 0x1FE}))
        << "command 2 of a radio service leaves the PCR PID out";
    add(0x101, StreamKind::Video);
    EXPECT_EQ(SelectStreams(service).si, (std::vector<std::uint32_t>{0, 0x1000, 0x105}));
}

TEST(InformationFile, HoldsPidsAndTypeAtTheirOffsetsAndNothingElse) {
    const std::string name = std::string(62, 'n') + "\xC3\xA9";  // the last letter does not fit
    std::vector<std::uint8_t> bytes = EncodeInformation({name, 0x101, 0x102, 0xFFFFFFFF, 2});
    ASSERT_EQ(bytes.size(), 10645U);
    const struct {
        std::size_t offset;
        std::string hex;
    } rows[] = {{0, HexText(std::vector<std::uint8_t>(62, 'n'))},
                {798, "0101000002010000ffffffff"},
                {824, "0200"}};
    for (const auto &row : rows) {
        const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(row.offset);
        const auto end = begin + static_cast<std::ptrdiff_t>(row.hex.size() / 2);
        EXPECT_EQ(HexText({begin, end}), row.hex) << row.offset;
        std::fill(begin, end, std::uint8_t{0});
    }
    EXPECT_EQ(bytes, std::vector<std::uint8_t>(10645));
    EXPECT_EQ(InformationPath("dir.d/a.srf"), "dir.d/a.inf");
    for (const char *bad : {"a", "a.ts", "a.mpeg", "a.inf", "dir.srf/a", "", ".srf"})
        EXPECT_THROW(InformationPath(bad), WrongUse) << bad;
}

TEST(TimeText, ReadsSecondsAndColons) {
    const std::pair<const char *, std::int64_t> good[] = {
        {"0", 0},           {"12.5", 12500},    {"12.3456", 12345},  {"1:05", 65000},
        {"01:05.2", 65200}, {"90:00", 5400000}, {"1:02:03", 3723000}};
    for (const auto &[text, milliseconds] : good)
        EXPECT_EQ(ParseTime(text), milliseconds) << text;
    for (const char *bad : {"1:60", "-1", "", ":", "1:", "1.", "1:2:3:4", "x", "1e3", "2147484"})
        EXPECT_EQ(ParseTime(bad), std::nullopt) << bad;
}

}  // namespace
}  // namespace tool
