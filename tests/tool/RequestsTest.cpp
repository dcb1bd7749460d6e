// The bytes of requests and information files, and times as people write them.
#include <gtest/gtest.h>

#include "Failure.h"
#include "service/Input.h"
#include "service/RecordingFiles.h"
#include "service/Request.h"
#include "text/RequestSummary.h"
#include "text/TimeText.h"

namespace tool {
namespace {

TEST(Requests, TakeEveryByteOfAPlatformRecordAndCutNoPath) {
    TvChannelInfo info{};
    info.reserved0[0] = 0xAA;
    info.reserved[3] = 0xBB;
    EXPECT_EQ(ChannelInfoRequest(info).text, "04000000aa" + std::string(2 * 190, '0') + "bb");
    EXPECT_EQ(UpdateRequest({0, 0x1000}).text, "0c000000020000000000000000100000");
    EXPECT_EQ(UpdateRequest(std::vector<std::uint32_t>(2046)).text.size(), 2 * 8192U);
    EXPECT_THROW(UpdateRequest(std::vector<std::uint32_t>(2047)), Failure);
    EXPECT_EQ(PathField(std::string(255, 'x')).c_str(), std::string(255, 'x'));
    EXPECT_THROW(PathField(std::string(256, 'x')), Failure);
}

TEST(Requests, AreShownWithTheirFields) {
    const std::pair<Request, const char *> rows[] = {
        {recorder::Start{}, "Start"},
        {recorder::SetHandle{1, 2}, "SetHandle               handle 1, serviceId 2"},
        {recorder::SetDemuxProperty{0x102, 0x101, 0x101},
         "SetDemuxProperty        audioPid 0x102, videoPid 0x101, pcrPid 0x101"},
        {recorder::SetSinkProperty{{PathField("a.srf"), 1}},
         "SetSinkProperty         path a.srf, isTimeshift 1"},
        {UpdateRequest({0, 0x1000}), "UpdateSi                pids 0x0 0x1000"},
        {playback::TrickPlay{4000, -4.0}, "TrickPlay               time 00:04.0, rate -4x"}};
    for (const auto &[request, text] : rows)
        EXPECT_EQ(RequestSummary(request), text);
}

TEST(Input, NamesEveryStreamOfAService) {
    using tvdesktop::StreamKind;
    tvdesktop::Service service;
    service.pmtPid = 0x1000;
    service.pcrPid = 0x1FE;
    const auto add = [&](std::uint16_t pid, StreamKind kind) {
        service.streams.emplace_back().pid = pid;
        service.streams.back().kind = kind;
    };
    add(0x105, StreamKind::Other);
    EXPECT_THROW(PidsToRecord(service), Failure);
    add(0x102, StreamKind::Audio);
    add(0x103, StreamKind::AudioDescription);
    const RecordedPids radio = PidsToRecord(service);
    EXPECT_EQ(radio.demux.videoPid, moxpvr::kNoPid);
    EXPECT_EQ(radio.demux.audioDescriptionPid, 0x103U);
    EXPECT_EQ(radio.si, (std::vector<std::uint32_t>{0, 0x1000, 0x105, 0x1FE}))
        << "the demux request of a radio service leaves the PCR PID out";
    add(0x101, StreamKind::Video);
    EXPECT_EQ(PidsToRecord(service).si, (std::vector<std::uint32_t>{0, 0x1000, 0x105}));
}

TEST(RecordingFiles, HoldsPidsAndTypeAtTheirOffsetsAndNothingElse) {
    const std::string name = std::string(62, 'n') + "\xC3\xA9";  // the last letter does not fit
    std::vector<std::uint8_t> bytes =
        EncodeInformation({name, {0x101, 0x102, 0xFFFFFFFF, moxpvr::ChannelType{2}}});
    ASSERT_EQ(bytes.size(), 10645U);
    const struct {
        std::size_t offset;
        std::vector<std::uint8_t> bytes;
    } rows[] = {{0, std::vector<std::uint8_t>(62, 'n')},
                {798, {1, 1, 0, 0, 2, 1, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}},
                {824, {2, 0}}};
    for (const auto &row : rows) {
        const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(row.offset);
        const auto end = begin + static_cast<std::ptrdiff_t>(row.bytes.size());
        EXPECT_EQ(std::vector<std::uint8_t>(begin, end), row.bytes) << row.offset;
        std::fill(begin, end, std::uint8_t{0});
    }
    EXPECT_EQ(bytes, std::vector<std::uint8_t>(10645));
    EXPECT_EQ(InformationPath("dir.d/a.srf"), "dir.d/a.inf");
    for (const char *bad : {"a", "a.ts", "a.mpeg", "a.inf", "dir.srf/a", "", ".srf"})
        EXPECT_THROW(InformationPath(bad), UsageError) << bad;
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
