// The request codec and the two dispatchers.
#include "InstanceTest.h"

#include <algorithm>
#include <vector>

namespace {

TEST(Codec, DecodesPairsAndRefusesOtherLengths) {
    struct Row {
        std::string text;
        int length, result, oldResult, decoded;
        std::string bytes, oldBytes;
    };
    const Row rows[] = {{"01fF", 4, 0, 0, 2, "\x01\xFF", "\x01\xFF"},
                        {"0A9c", 2, 0, 0, 1, "\x0A", "\x0A"},
                        {"zz1g", 4, 0, 0, 2, {"\0\x10", 2}, {"\0\x01", 2}},
                        {"123", 3, -1, 1, 0, "", ""},
                        {"12", 1, -1, 1, 0, "", ""},
                        {"12", 0, -1, 1, 0, "", ""},
                        {"12", -3, -1, 1, 0, "", ""}};
    for (const bool old : {false, true}) {
        const auto decode = old ? parse_string_to_buf_old : parse_string_to_buf;
        for (Row row : rows) {
            SCOPED_TRACE(row.text);
            char bytes[16];
            std::memset(bytes, 0x5A, sizeof bytes);
            int length = 77;
            EXPECT_EQ(decode(row.text.data(), row.length, bytes, &length),
                      old ? row.oldResult : row.result);
            EXPECT_EQ(length, row.decoded);
            std::string expected = old ? row.oldBytes : row.bytes;
            expected.resize(sizeof bytes, 0x5A);  // nothing else is written
            EXPECT_EQ(std::string(bytes, sizeof bytes), expected);
            EXPECT_EQ(decode(nullptr, 2, bytes, &length), old ? 1 : -1);
            EXPECT_EQ(decode(row.text.data(), 2, nullptr, &length), old ? 1 : -1);
        }
        char text[] = "1234";
        int length = 77;
        EXPECT_EQ(decode(text, -4, text, &length), old ? 0 : -1);
        EXPECT_EQ(length, old ? -2 : 0);
        EXPECT_STREQ(text, "1234");
    }
}

/// What a pair of characters decodes to, by its definition.
int PairValue(unsigned char first, unsigned char second) {
    const std::string digits = "0123456789abcdefABCDEF";
    const auto value = [&](unsigned char c) {
        const auto at = digits.find(static_cast<char>(c));
        return at == std::string::npos ? 0 : static_cast<int>(at < 16 ? at : at - 6);
    };
    return 16 * value(first) + value(second);
}

// The decoder works on several characters at once, so each pair must come right wherever it is.
TEST(Codec, DecodesEveryPairAtEveryPlaceOfATextAndInPlace) {
    std::string pairs;
    std::string expected;
    for (int first = 0; first < 256; ++first) {
        for (int second = 0; second < 256; ++second) {
            char pair[] = {static_cast<char>(first), static_cast<char>(second)};
            pairs.append(pair, sizeof pair);
            expected += static_cast<char>(
                PairValue(static_cast<unsigned char>(first), static_cast<unsigned char>(second)));
            int length = 0;
            parse_string_to_buf(pair, sizeof pair, pair, &length);
            ASSERT_EQ(pair[0], expected.back()) << "alone: " << first << ' ' << second;
        }
    }
    for (std::size_t shift = 0; shift < 64; shift += 2) {
        std::string text = pairs.substr(shift) + pairs.substr(0, shift);
        int length = 0;
        ASSERT_EQ(
            parse_string_to_buf(text.data(), static_cast<int>(text.size()), text.data(), &length),
            0);
        ASSERT_EQ(length, 65536);
        ASSERT_EQ(text.substr(0, 65536), expected.substr(shift / 2) + expected.substr(0, shift / 2))
            << "from pair " << shift / 2;
    }
}

TEST(Codec, ReadsAndWritesNothingOutsideTheTextAndTheRecord) {
    for (std::size_t alignment = 0; alignment < 16; ++alignment) {
        for (std::size_t length = 2; length <= 70; length += 2) {
            // Each in a block that ends where it does, so that a byte too many is noticed.
            std::vector<char> text(alignment + length);
            std::vector<unsigned char> bytes(alignment + length / 2 + 1, 0xEE);
            for (std::size_t i = 0; i < text.size(); ++i)
                text[i] = static_cast<char>(i * 37 + length);
            int decoded = 0;
            ASSERT_EQ(parse_string_to_buf(text.data() + alignment, static_cast<int>(length),
                                          bytes.data() + alignment, &decoded),
                      0);
            ASSERT_EQ(decoded, static_cast<int>(length / 2));
            for (std::size_t i = 0; i < length / 2; ++i)
                ASSERT_EQ(bytes[alignment + i],
                          PairValue(static_cast<unsigned char>(text[alignment + 2 * i]),
                                    static_cast<unsigned char>(text[alignment + 2 * i + 1])));
            ASSERT_EQ(bytes.back(), 0xEE);
            ASSERT_EQ(std::count(bytes.begin(), bytes.begin() + static_cast<long>(alignment), 0xEE),
                      static_cast<long>(alignment));
        }
    }
}

TEST(Codec, EncodesEveryByteInOrder) {
    unsigned char bytes[256];
    std::string expected;
    for (int i = 0; i < 256; ++i) {
        bytes[i] = static_cast<unsigned char>(i);
        expected += Format("%02x", i);
    }
    char text[2 * 256 + 1] = {};
    unsigned int length = 77;
    EXPECT_EQ(build_buf_to_string(bytes, 256, text, &length), 0);
    EXPECT_EQ(length, 512U);
    EXPECT_EQ(text, expected);
    for (const unsigned int count : {0U, 4U, 1U << 31, ~0U}) {
        length = 77;
        EXPECT_EQ(build_buf_to_string(count == 4 ? nullptr : bytes, count, text, &length), 1);
        EXPECT_EQ(build_buf_to_string(bytes, count, nullptr, &length), 1);
        EXPECT_EQ(length, 0U);
    }
    for (int c = -128; c < 128; ++c)
        EXPECT_EQ(hex_char_to_int(static_cast<char>(c)),
                  PairValue('0', static_cast<unsigned char>(c)))
            << c;
}

template <typename Instance>
class DispatchTest : public InstanceTest<Instance> {
  protected:
    /// Runs every command on an instance without a recorder or player, with a reply buffer and
    /// without. Each row: the operation, the result, "!" where the missing object is reported and
    /// nothing called, and "reply" where the operation is not reached without a buffer.
    void CheckCommands(const std::vector<std::string> &rows, const char *missing) {
        for (unsigned int number = 1; number <= rows.size(); ++number) {
            std::string operation, result, failure, need;
            std::istringstream(rows[number - 1]) >> operation >> result >> failure >> need;
            const std::string place = ' ' + operation + this->kFile;
            for (char *const reply : {this->m_buffer, static_cast<char *>(nullptr)}) {
                SCOPED_TRACE(operation + (reply != nullptr ? "" : " without a buffer"));
                const bool isReached = reply != nullptr || need != "reply";
                std::string text = RequestOf(this->kSide, std::to_string(number));
                EXPECT_EQ(std::to_string(this->Send(text.data(), 8, reply)), result);
                const std::string journal = Fake().All();
                EXPECT_EQ(journal.find(place) == std::string::npos,
                          !isReached || operation == "GetTunerIndex");
                const std::string line = "log 16" + place + "failed [" + missing + "]\\n\n";
                EXPECT_EQ(journal.find(line) != std::string::npos, isReached && failure == "!");
                EXPECT_TRUE(failure != "!" || journal.find("\ntv_") == std::string::npos);
            }
        }
    }

    /// Announces lengths of a text that holds command 1 and zeros, longer than the longest record;
    /// runs an unknown command.
    void CheckRefusals(unsigned int unknown, const char *refusal) {
        std::string text = "01000000";
        text.resize(16386, '0');
        for (const unsigned int size : {0U, 1U, 7U, 16383U, 16385U, 16386U, 1U << 31, ~0U, ~1U}) {
            EXPECT_EQ(this->Send(text.data(), size, this->m_buffer), 2U) << size;
            EXPECT_EQ(Fake().All().find("handle ["), std::string::npos);
        }
        EXPECT_EQ(this->Send(nullptr, 8, this->m_buffer), 2U);
        EXPECT_EQ(Fake().All(), "");
        EXPECT_EQ(this->Send(text.data(), 16384, this->m_buffer), 0U);
        EXPECT_EQ(this->Send(text.data(), 2, this->m_buffer), 0U);
        for (const unsigned int command : {0U, unknown, ~0U}) {
            EXPECT_EQ(this->Send(std::to_string(command)), 2U);
            EXPECT_NE(Fake().All().find(Format("%s%s", this->kFile, refusal)), std::string::npos);
        }
    }
};

using RecorderDispatch = DispatchTest<CMOXPVRRecorder>;
using PlaybackDispatch = DispatchTest<CMOXPVRPlayback>;

TEST_F(RecorderDispatch, ReachesOneOperationPerCommand) {
    CheckCommands(
        {"SetHandle 0", "SetDemuxProperty 1 !", "SetSinkProperty 1 !", "SetChannelInfoProperty 1 !",
         "SetATVProperty 1 !", "Start 1 !", "Pause 1 !", "Resume 1 !", "Stop 1 !",
         "GetProgress 1 ! reply", "SwapTS2Record 1 !", "UpdateSi 1 !", "GetTSDuration 1 ! reply",
         "ClearDemuxInfo 1 !", "RecordInformPowerChange 2 !", "GetTunerIndex 0",
         "SetBackgroundAPID 1 !", "SetDuration 0", "PreStart 1 !"},
        "m_handle");
    CheckRefusals(20, "[FAT] CtrlRecorder | error command\n");
    std::string upper = "0A000000";
    EXPECT_EQ(Send(upper.data(), 8, m_buffer), 1U);
    Expect("CtrlRecorder", R"(
4 CtrlRecorder | inSize[8] inData[0A000000]; 4 CtrlRecorder | cmd [10]
@GetProgress; 4 GetProgress | this func is started; 16 failed [m_handle]\n)");
}

TEST_F(RecorderTest, OperationsWithoutARecordOrATextAnswerSoAndCallNothing) {
    using Recorder = CMOXPVRRecorder;
    for (const auto operation :
         {&Recorder::SetHandle, &Recorder::SetDuration, &Recorder::SetDemuxProperty,
          &Recorder::UpdateSi, &Recorder::SetChannelInfoProperty, &Recorder::SetBackgroundAPID,
          &Recorder::SetSinkProperty, &Recorder::SwapTS2Record, &Recorder::RecordInformPowerChange})
        EXPECT_EQ((m_instance.*operation)(nullptr), 1);
    EXPECT_EQ(m_instance.GetTSDuration(nullptr, m_buffer, nullptr), 1);
    EXPECT_EQ(Fake().Calls(), "");
    EXPECT_EQ(parse_string_to_buf(m_buffer, 2, m_buffer, nullptr), -1);
    EXPECT_EQ(parse_string_to_buf_old(m_buffer, 2, m_buffer, nullptr), 1);
    EXPECT_EQ(build_buf_to_string(m_buffer, 2, m_buffer, nullptr), 1);
}

TEST_F(PlaybackDispatch, ReachesOneOperationPerCommand) {
    for (void *const stream : {static_cast<void *>(nullptr), kStream}) {
        m_instance.Initilize(MOXHandle{}, nullptr, stream);
        Fake().All();
        CheckCommands({"SetHandle 0", "SetProperty 1", "Start 0", "Pause 1 !", "Resume 1 !",
                       "TrickPlay 1 !", "Skip 1 !", "Stop 1 !", "GetProgress 1 ! reply",
                       "StepFrame 1 !", "Ready 1 !", "Reset 1", "AllPidDescrambled 0"},
                      "m_tv_player");
    }
    CheckRefusals(14, "[FAT] CMOXPVRPlayback | error command \n");
    EXPECT_EQ(Send("14"), 2U);
    Expect("CtrlPlayback", R"(
4 CMOXPVRPlayback | play command [14]; 16 [FAT] CMOXPVRPlayback | error command )");
}

}  // namespace
