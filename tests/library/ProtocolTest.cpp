// The protocol header: what it writes, byte by byte, and that it reads back what it wrote.
#include "MoxPvrProtocol.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

#include "MoxPvr.h"

namespace {

using moxpvr::Field;

std::string Zeros(std::size_t bytes) {
    return std::string(2 * bytes, '0');
}

std::string Hex(const std::vector<unsigned char> &bytes) {
    std::string text(2 * bytes.size() + 1, '\0');
    unsigned int length = 0;
    build_buf_to_string(const_cast<unsigned char *>(bytes.data()),
                        static_cast<unsigned int>(bytes.size()), text.data(), &length);
    return text.substr(0, length);
}

moxpvr::TextField Path(const char *text) {
    moxpvr::TextField path;
    EXPECT_TRUE(path.Set(text));
    return path;
}

TEST(Protocol, WritesRequestsAsDocumented) {
    namespace recorder = moxpvr::recorder;
    namespace playback = moxpvr::playback;
    recorder::UpdateSi update;
    update.pids.Add(0);
    update.pids.Add(0x1000);
    recorder::SetChannelInfoProperty info;
    info.programNumber = 0x0201;
    info.audioPid = -2;
    info.videoCodec = 4;
    info.oneAudioPid = 1;
    const std::pair<moxpvr::RequestText, std::string> rows[] = {
        {moxpvr::RequestText(recorder::SetHandle{3, 0x0102030405060708, 1}),
         "0100000003000000080706050403020101000000"},
        {moxpvr::RequestText(recorder::SetDemuxProperty{0x101, 0x100, 0x102, 1, 0x103, 0x104}),
         "02000000010100000001000002010000010000000301000004010000"},
        {moxpvr::RequestText(recorder::SetSinkProperty{{Path("ab"), 1, 2}}),
         "030000006162" + Zeros(254) + "0100000002000000"},
        {moxpvr::RequestText(info), "04000000" + Zeros(6) + "0102" + Zeros(136) + "feffffff" +
                                        Zeros(24) + "ffff" + Zeros(2) + "04" + Zeros(12) + "01" +
                                        Zeros(2)},
        {moxpvr::RequestText(recorder::Start{}), "06000000"},
        {moxpvr::RequestText(recorder::SwapTS2Record{{Path("c"), 0, 1}}),
         "0b00000063" + Zeros(255 + 4) + "01000000"},
        {moxpvr::RequestText(update), "0c000000020000000000000000100000"},
        {moxpvr::RequestText(recorder::GetTSDuration{5}), "0d00000005000000"},
        {moxpvr::RequestText(recorder::RecordInformPowerChange{-1}), "0f000000ffffffff"},
        {moxpvr::RequestText(recorder::SetBackgroundAPID{0x44}), "1100000044000000"},
        {moxpvr::RequestText(recorder::SetDuration{0x12345678}), "1200000078563412"},
        {moxpvr::RequestText(playback::SetHandle{2, 1}), "0100000002" + Zeros(11) + "01000000"},
        {moxpvr::RequestText(playback::SetProperty{Path("p"), 0x1234, 1, 2}),
         "0200000070" + Zeros(255) + "341200000100000002000000"},
        {moxpvr::RequestText(playback::TrickPlay{7, -4.0}), "060000000700000000000000000010c0"},
        {moxpvr::RequestText(playback::Skip{25000, 1.0}), "07000000a8610000000000000000f03f"},
        {moxpvr::RequestText(playback::AllPidDescrambled{}), "0d000000"},
    };
    for (auto [text, expected] : rows) {
        EXPECT_EQ(text.text(), expected);
        EXPECT_EQ(std::string(reinterpret_cast<char *>(text.data()), text.size()), expected);
    }
}

TEST(Protocol, WritesEventsRepliesAndTheInformationFileAsDocumented) {
    const moxpvr::SysChangeEvent event{3, moxpvr::EventDetail::RecorderApplication2, 7, -1, -2};
    EXPECT_EQ(Hex(moxpvr::EncodeBytes(event)), "0365000007000000fffffffffeffffff");
    const moxpvr::RecorderStartedEvent started{moxpvr::RecordType::Timeshift, 0x0102030405060708};
    EXPECT_EQ(Hex(moxpvr::EncodeBytes(started)), "03000000000000000807060504030201");
    EXPECT_EQ(Hex(moxpvr::EncodeBytes(moxpvr::playback::GetProgressReply{-1, 2, 3})),
              "ffffffff0200000003000000");
    EXPECT_EQ(Hex(moxpvr::EncodeBytes(moxpvr::recorder::GetTunerIndexReply{2})), "02000000");
    const moxpvr::InformationFile file{0x101, 0x102, 0x103, moxpvr::ChannelType::AnalogueCable};
    EXPECT_EQ(Hex(moxpvr::EncodeBytes(file)),
              Zeros(798) + "010100000201000003010000" + Zeros(14) + "0300");
}

/// Gives every field of a record a value of its own.
struct Randomize {
    std::mt19937 &random;

    template <typename Value>
    void operator()(const Field & /*field*/, Value &value) const {
        moxpvr::detail::FromBits(std::uint64_t{random()} << 32 | random(), value);
    }
    void operator()(const Field & /*field*/, double &value) const {
        value = static_cast<double>(static_cast<int>(random())) / 16;
    }
    void operator()(const Field & /*field*/, moxpvr::TextField &value) const {
        std::string path(random() % moxpvr::kTextFieldSize, 'x');
        for (char &c : path)
            c = static_cast<char>(random() % 255 + 1);
        EXPECT_TRUE(value.Set(path));
    }
    void operator()(const Field & /*field*/, moxpvr::PidList &list) const {
        list = {};
        for (std::size_t i = random() % 100; i > 0; --i)
            list.Add(static_cast<std::uint32_t>(random()));
    }
};

template <typename Record>
void Fill(Record &record, std::mt19937 &random) {
    const Randomize randomize{random};
    Record::Fields(record, randomize);
}

/// Fields one after another, none within another.
struct InOrder {
    std::size_t end;

    template <typename Value>
    void operator()(const Field &field, const Value &value) {
        EXPECT_GE(field.offset, end) << field.name;
        end = field.offset + moxpvr::detail::WidthOf(value);
    }
};

/// Encodes and decodes a record of random values, whole and cut at every length.
template <typename Record>
void CheckInverse(Record record, std::size_t firstField) {
    SCOPED_TRACE(Record::Name());
    std::mt19937 random(42);  // NOLINT(cert-msc51-cpp): the same values in every run
    InOrder order{firstField};
    Record::Fields(record, order);
    for (int round = 0; round < 8; ++round) {
        Fill(record, random);
        std::vector<unsigned char> bytes = moxpvr::EncodeBytes(record);
        ASSERT_LE(bytes.size(), moxpvr::InformationFile::Size());
        Record decoded{};
        Fill(decoded, random);
        moxpvr::Decode(bytes.data(), bytes.size(), decoded);
        ASSERT_EQ(moxpvr::EncodeBytes(decoded), bytes);
        const std::string text = Hex(bytes);
        if (bytes.size() <= moxpvr::kRecordSize && moxpvr::EncodedSize(Record{}) == bytes.size()) {
            Fill(decoded, random);
            ASSERT_TRUE(moxpvr::DecodeText(reinterpret_cast<const unsigned char *>(text.data()),
                                           text.size(), decoded));
            ASSERT_EQ(moxpvr::EncodeBytes(decoded), bytes);
        }
    }
    std::vector<unsigned char> bytes = moxpvr::EncodeBytes(record);
    const std::size_t shortest = bytes.size() > 600 ? bytes.size() - 600 : 0;
    for (std::size_t size = bytes.size(); size-- > shortest;) {
        // A block of exactly this size, so that a read past it is noticed.
        const std::vector<unsigned char> held(bytes.begin(),
                                              bytes.begin() + static_cast<std::ptrdiff_t>(size));
        Record decoded{};
        moxpvr::Decode(held.data(), held.size(), decoded);
        bytes[size] = 0;  // what is missing reads as 0
        Record expected{};
        moxpvr::Decode(bytes.data(), bytes.size(), expected);
        ASSERT_EQ(moxpvr::EncodeBytes(decoded), moxpvr::EncodeBytes(expected)) << size;
    }
}

TEST(Protocol, DecodesWhatItEncodedForEveryRecord) {
    std::uint32_t number = 0;
    const auto request = [&](const auto &record) {
        EXPECT_EQ(static_cast<std::uint32_t>(record.Number()), ++number) << record.Name();
        const auto bytes = moxpvr::EncodeBytes(record);
        EXPECT_EQ(moxpvr::CommandOf(bytes.data(), bytes.size()), number);
        CheckInverse(record, 4);
    };
    moxpvr::recorder::ForEachRequest(request);
    EXPECT_EQ(number, 19U);
    number = 0;
    moxpvr::playback::ForEachRequest(request);
    EXPECT_EQ(number, 13U);
    const auto other = [](const auto &record) { CheckInverse(record, 0); };
    moxpvr::recorder::ForEachReply(other);
    moxpvr::playback::ForEachReply(other);
    other(moxpvr::SysChangeEvent{});
    other(moxpvr::RecorderStartedEvent{});
    other(moxpvr::InformationFile{});
}

TEST(Protocol, RefusesWhatDoesNotFitAndCutsWhatDoesNotEnd) {
    moxpvr::TextField path = Path("kept");
    EXPECT_FALSE(path.Set(std::string(256, 'x')));
    EXPECT_FALSE(path.Set(std::string("a\0b", 3)));
    EXPECT_STREQ(path.c_str(), "kept");
    EXPECT_TRUE(path.Set(std::string(255, 'x')));

    std::vector<unsigned char> bytes(moxpvr::kRecordSize, 'y');
    moxpvr::recorder::SetSinkProperty sink;
    moxpvr::Decode(bytes.data(), bytes.size(), sink);
    EXPECT_EQ(sink.sink.path.c_str(), std::string(255, 'y'));

    moxpvr::recorder::UpdateSi update;
    for (const auto &[announced, kept] :
         {std::pair{2046, 2046U}, {2047, 2046U}, {0x7FFFFFFF, 2046U}, {-1, 0U}, {1, 1U}}) {
        moxpvr::Encode(moxpvr::recorder::SetDuration{announced}, bytes.data());
        moxpvr::Decode(bytes.data(), bytes.size(), update);
        EXPECT_EQ(update.pids.announced, announced);
        EXPECT_EQ(update.pids.size(), kept);
    }
    while (update.pids.Add(1)) {
    }
    EXPECT_EQ(update.pids.announced, 2046);

    // What follows the NUL of a path goes to nobody.
    std::copy_n("ab\0c", 4, bytes.begin() + 4);
    moxpvr::Decode(bytes.data(), bytes.size(), sink);
    EXPECT_EQ(moxpvr::EncodeBytes(sink),
              moxpvr::EncodeBytes(moxpvr::recorder::SetSinkProperty{
                  {Path("ab"), sink.sink.isTimeshift, sink.sink.isSegmentRecord}}));

    moxpvr::recorder::GetProgressReply reply{1, 2};
    for (const std::string text :
         {"0100000002000000ff", "010000000200000", "01000000020000", "0100000002 00000", ""}) {
        const bool good = text.size() == 18;
        EXPECT_EQ(moxpvr::DecodeText(reinterpret_cast<const unsigned char *>(text.data()),
                                     text.size(), reply),
                  good)
            << text;
        EXPECT_EQ(reply.position, 1U);
    }
    EXPECT_FALSE(moxpvr::DecodeText(nullptr, 0, reply));
    EXPECT_EQ(moxpvr::CommandOf(bytes.data(), 3), 0U);
}

}  // namespace
