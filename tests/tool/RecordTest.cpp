// Every record of the protocol on its way to text and back, by the names of its fields.
#include <gtest/gtest.h>

#include <random>

#include "Failure.h"
#include "text/HexText.h"
#include "text/RecordName.h"
#include "text/RecordText.h"
#include "verbs/Decode.h"
#include "verbs/Encode.h"

namespace tool {
namespace {

/// @param withOtherBytes  as well as the fields
std::vector<std::string> AssignmentsOf(const RecordLayout &layout, const Bytes &record,
                                       bool withOtherBytes) {
    std::vector<std::string> assignments;
    for (const FieldText &text : FieldTexts(layout, record)) {
        if (text.field != nullptr)
            assignments.push_back(text.field->name + ("=" + text.value));
        else if (withOtherBytes)
            assignments.push_back("@" + std::to_string(text.offset) + "=" + text.value);
    }
    return assignments;
}

class Records : public testing::Test {
  protected:
    /// A record with anything in it but in its command number and the count of its list.
    Bytes AnyBytesOf(const RecordLayout &layout) {
        Bytes bytes = layout.initial;
        const bool hasList = layout.name == "UpdateSi";
        const auto count = static_cast<unsigned char>(m_random() % 5);
        if (hasList)
            bytes.resize(bytes.size() + std::size_t{4} * count);
        for (std::size_t i = IsRequest(layout.kind) ? 4 : 0; i < bytes.size(); ++i)
            bytes[i] = static_cast<unsigned char>(m_random());
        if (hasList)
            std::copy_n(Bytes{count, 0, 0, 0}.begin(), 4, bytes.begin() + 4);
        return bytes;
    }

    /// Text and bytes agree with what the protocol's header makes of the same bytes.
    template <typename Record>
    void ExpectTheHeadersBytes(const RecordLayout &layout) {
        Bytes bytes = AnyBytesOf(layout);
        if (!layout.fields.empty() && layout.fields.back().type == FieldType::Rate)
            bytes.back() = 0xC0;  // a number: all others are "nan" alike
        Record record{};
        moxpvr::Decode(bytes.data(), bytes.size(), record);
        EXPECT_EQ(EncodeRecord(layout, AssignmentsOf(layout, bytes, false)),
                  HexOf(moxpvr::EncodeBytes(record)))
            << layout.name;
    }

    /// Whatever was sent, also cut or too long, comes back byte by byte.
    void ExpectTheSameBytes(const RecordLayout &layout, Bytes bytes) {
        bytes.resize(m_random() % (layout.kind == RecordKind::Event ? 17 : bytes.size() + 4));
        std::string text = HexOf(bytes);
        const std::string again = EncodeRecord(layout, AssignmentsOf(layout, bytes, true));
        if (IsRequest(layout.kind) && bytes.size() < 4)
            text = HexOf(layout.initial).substr(0, 8);
        text.resize(std::max(text.size(), again.size()), '0');
        EXPECT_EQ(again, text) << layout.name;
    }

    template <typename Record>
    void Check(const RecordLayout &layout) {
        for (int i = 0; i < 100; ++i) {
            ExpectTheHeadersBytes<Record>(layout);
            ExpectTheSameBytes(layout, AnyBytesOf(layout));
        }
        ++m_checked;
    }

    /// Takes the records of a kind one after the other, as the header lists them.
    auto CheckEach(RecordKind kind) {
        return [this, kind, next = std::size_t{0}](const auto &record) mutable {
            Check<std::decay_t<decltype(record)>>(LayoutsOf(kind).at(next++));
        };
    }

    std::mt19937 m_random{20};
    int m_checked = 0;
};

TEST_F(Records, AreTheSameAfterEncodeAndDecode) {
    recorder::ForEachRequest(CheckEach(RecordKind::Recorder));
    playback::ForEachRequest(CheckEach(RecordKind::Playback));
    auto checkReply = CheckEach(RecordKind::Reply);
    recorder::ForEachReply(checkReply);
    playback::ForEachReply(checkReply);
    auto checkEvent = CheckEach(RecordKind::Event);
    checkEvent(moxpvr::SysChangeEvent{});
    checkEvent(moxpvr::RecorderStartedEvent{});
    EXPECT_EQ(m_checked, 19 + 13 + 3 + 2 + 2);
}

const RecordLayout &Layout(RecordKind kind, const std::string &name) {
    return *LayoutsNamed(kind, name).front();
}

TEST(Encode, TakesFieldsByNameAndRefusesWhatDoesNotFit) {
    std::string full = "0";
    for (int i = 1; i < 2046; ++i)
        full += ",0";
    const struct {
        RecordKind kind;
        std::string name;
        std::vector<std::string> assignments;
        std::string text;  ///< empty: refused
    } rows[] = {
        {RecordKind::Recorder,
         "SetHandle",
         {"handle=3", "serviceId=2", "ci=1"},
         "0100000003000000020000000000000001000000"},
        {RecordKind::Recorder,
         "sethandle",
         {"HANDLE=0xff", "service=0xFFFFFFFFFFFFFFFF", "ci=no"},
         "01000000ff000000ffffffffffffffff00000000"},
        {RecordKind::Recorder, "start", {}, "06000000"},
        {RecordKind::Recorder,
         "12",
         {"pids=0,0x1000,none"},
         "0c000000030000000000000000100000ffffffff"},
        {RecordKind::Recorder, "15", {"power=-2147483648"}, "0f00000000000080"},
        {RecordKind::Recorder, "SetBackgroundAPID", {"audioPid=keep"}, "11000000feffffff"},
        {RecordKind::Playback, "TrickPlay", {"rate=-0.5"}, "0600000000000000000000000000e0bf"},
        {RecordKind::Recorder, "Start", {"@4=aB"}, "06000000ab"},
        {RecordKind::Reply, "tuner", {"index=-1"}, "ffffffff"},
        {RecordKind::Event, "sys", {"detail=51", "handle=3"}, "03330000000000000000000000000000"},
        {RecordKind::Recorder, "SetHandle", {"handle=256"}, ""},
        {RecordKind::Recorder, "SetHandle", {"handle=-1"}, ""},
        {RecordKind::Recorder, "SetHandle", {"handle=0x100"}, ""},
        {RecordKind::Recorder, "SetHandle", {"handle=1x"}, ""},
        {RecordKind::Recorder, "SetHandle", {"handle="}, ""},
        {RecordKind::Recorder, "SetHandle", {"handle=0x"}, ""},
        {RecordKind::Recorder, "SetHandle", {"handle"}, ""},
        {RecordKind::Recorder, "SetHandle", {"handel=1"}, ""},
        {RecordKind::Recorder, "SetHandle", {"ci=1", "CI=0"}, ""},
        {RecordKind::Recorder, "SetHandle", {"serviceId=18446744073709551616"}, ""},
        {RecordKind::Recorder, "15", {"power=2147483648"}, ""},
        {RecordKind::Recorder, "SetDemuxProperty", {"Pid=1"}, ""},
        {RecordKind::Recorder, "SetSinkProperty", {"path=" + std::string(256, 'x')}, ""},
        {RecordKind::Recorder, "UpdateSi", {"pids=" + full + ",0"}, ""},
        {RecordKind::Recorder, "UpdateSi", {"pids=1,"}, ""},
        {RecordKind::Recorder, "Start", {"@3=00"}, ""},
        {RecordKind::Recorder, "Start", {"@4=0"}, ""},
        {RecordKind::Recorder, "Start", {"@4=0g"}, ""},
        {RecordKind::Recorder, "Start", {"@8192=00"}, ""},
        {RecordKind::Event, "sys", {"@16=00"}, ""},
        {RecordKind::Playback, "TrickPlay", {"rate=fast"}, ""},
        {RecordKind::Playback, "TrickPlay", {"rate=1x"}, ""},
    };
    for (const auto &row : rows) {
        const RecordLayout &layout = Layout(row.kind, row.name);
        SCOPED_TRACE(layout.name + " " + testing::PrintToString(row.assignments).substr(0, 60));
        if (row.text.empty())
            EXPECT_THROW(EncodeRecord(layout, row.assignments), UsageError);
        else
            EXPECT_EQ(EncodeRecord(layout, row.assignments), row.text);
    }
    EXPECT_EQ(EncodeRecord(Layout(RecordKind::Recorder, "UpdateSi"), {"pids=" + full}).size(),
              2 * moxpvr::kRecordSize);
}

TEST(Decode, NamesWhatWasSentAndWhatWasNot) {
    const std::string path = HexOf(Bytes(300, 'a'));
    const struct {
        RecordKind kind;
        std::string name;
        std::string text;
        std::vector<const char *> lines;  ///< parts of what is shown, in this order
        std::string problem;              ///< part of it; empty: none
    } rows[] = {
        {RecordKind::Recorder,
         "",
         "0100000003ff0000020000000000000001000000aabb",
         {"SetHandle (recorder command 1), 22 bytes", "  4       1      handle     3",
          "  5       1      -          ff     of no field",
          "  16      4      ci         1      yes", "  20      2      -          aabb   left over"},
         ""},
        {RecordKind::Recorder, "", "0a", {"GetProgress", "only 1 byte sent"}, ""},
        {RecordKind::Playback,
         "",
         "06000000a00f",
         {"4000   00:04.0; only 2 bytes sent", "0x; not sent, reads as 0"},
         ""},
        {RecordKind::Playback, "", "0600000000000000000000000000f87f", {"nan    not a number"}, ""},
        {RecordKind::Playback,
         "",
         "0x0000008813000000000000000010c0",
         {"character 2 ('x')", "unknown"},
         "command 0 is unknown"},
        {RecordKind::Recorder, "", "63000000aabb", {"99", "aabb"}, "command 99 is unknown"},
        {RecordKind::Recorder,
         "",
         "0c000000ffffffff00100000",
         {"0 PIDs, announced -1", "8       4      -        00100000  left over"},
         ""},
        {RecordKind::Recorder,
         "",
         "0c00000003000000001000",
         {"0x1000  1 PID, announced 3; 2 not sent, each reads as 0; only 7",
          "4       1      -        03"},
         ""},
        {RecordKind::Recorder, "", "0c0000000200000000100000", {"1 PID, announced 2; 1 not"}, ""},
        {RecordKind::Recorder,
         "",
         "0300000041000142",
         {"path             A", "6       2      -                0142"},
         ""},
        {RecordKind::Recorder, "", "03000000" + path, {"259     1      -                61"}, ""},
        {RecordKind::Recorder, "", "030000001b5b6d5c", {"\\x1b[m\\x5c"}, ""},
        {RecordKind::Recorder, "", "", {}, "it is empty"},
        {RecordKind::Recorder, "", "0a0", {}, "3 characters"},
        {RecordKind::Recorder, "", std::string(16386, '0'), {}, "more than 16384"},
        {RecordKind::Reply,
         "GetProgress",
         "dc050000dc050000",
         {"recorder.GetProgress (reply to command 10)", "1500   00:01.5"},
         ""},
        {RecordKind::Reply, "", "000000000100000002000000", {"playback.GetProgress", "done"}, ""},
        {RecordKind::Reply, "", "0g", {}, "'g'"},
        {RecordKind::Event,
         "",
         "03330000000000000000000000000000",
         {"2 records", "source failed", "SIGNAL_PVR_RECORDER_STARTED (event 32769)"},
         ""},
    };
    for (const auto &row : rows) {
        const Decoded decoded = DecodeRecord(row.kind, row.name, row.text);
        std::size_t at = 0;
        for (const char *line : row.lines) {
            at = decoded.text.find(line, at);
            ASSERT_NE(at, std::string::npos) << line << " in\n" << decoded.text;
        }
        EXPECT_EQ(decoded.problem.empty(), row.problem.empty()) << decoded.problem;
        EXPECT_NE(decoded.problem.find(row.problem), std::string::npos) << decoded.problem;
    }
}

}  // namespace
}  // namespace tool
