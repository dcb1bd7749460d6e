// What mox-pvr encode and decode make of any command line and any text. The first line of an input
// is the command line, "recorder SetHandle handle=3"; everything after it is a text to decode.
#include <algorithm>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "Failure.h"
#include "Require.h"
#include "text/HexText.h"
#include "text/RecordName.h"
#include "text/RecordText.h"
#include "verbs/Decode.h"
#include "verbs/Encode.h"

namespace {

using namespace tool;

constexpr RecordKind kKinds[] = {RecordKind::Recorder, RecordKind::Playback, RecordKind::Reply,
                                 RecordKind::Event};

std::string EncodedAgain(const RecordLayout &layout, const Bytes &record) {
    std::vector<std::string> assignments;
    for (const FieldText &text : FieldTexts(layout, record)) {
        Require(text.sent <= text.width && text.offset <= moxpvr::kRecordSize,
                "a field lies in a record");
        assignments.push_back(text.field != nullptr
                                  ? text.field->name + ("=" + text.value)
                                  : std::string("@").append(std::to_string(text.offset)) + "=" +
                                        text.value);
    }
    return EncodeRecord(layout, assignments);
}

/// Read as any record, the bytes come back, with zeros for those that were not sent.
void CheckInverse(const RecordLayout &layout, const Bytes &record) {
    if (layout.kind == RecordKind::Event && record.size() > moxpvr::kEventSize)
        return;
    std::string text = HexOf(record);
    const std::string again = EncodedAgain(layout, record);
    if (IsRequest(layout.kind))
        text.replace(0, 8, HexOf(layout.initial), 0, 8);
    text.resize(std::max(text.size(), again.size()), '0');
    Require(again == text, "what is shown gives the same bytes again");
}

void CheckShown(const std::string &shown) {
    Require(std::all_of(shown.begin(), shown.end(),
                        [](char c) { return c == '\n' || (c >= ' ' && c <= '~'); }),
            "a terminal obeys nothing that is shown");
}

void DecodeAnything(const std::string &text) {
    for (const RecordKind kind : kKinds) {
        const Decoded decoded = DecodeRecord(kind, "", text);
        CheckShown(decoded.text + decoded.problem);
        const bool isTextOfRecord =
            !text.empty() && text.size() % 2 == 0 && text.size() <= moxpvr::kMaxRequestText;
        Require(isTextOfRecord || !decoded.problem.empty(), "other lengths are refused");
        Require(!decoded.text.empty() || !decoded.problem.empty(), "something is said");
        if (!isTextOfRecord)
            continue;
        for (const RecordLayout &layout : LayoutsOf(kind))
            CheckInverse(layout, BytesOf(text));
    }
    for (const Side side : {Side::Recorder, Side::Playback})
        for (const auto &[name, value] : FieldValues(side, text))
            Require(!name.empty(), "a field has a name");
}

void EncodeAnything(const std::string &line) {
    std::istringstream stream(line);
    std::vector<std::string> words;
    for (std::string word; std::getline(stream, word, ' ');)
        words.push_back(word);
    for (const bool takesFields : {false, true})
        NextRecordWords(words, takesFields);
    try {
        const std::vector<const RecordLayout *> layouts = LayoutsNamed(
            KindNamed(words.empty() ? "" : words[0]), words.size() < 2 ? "" : words[1]);
        words.erase(words.begin(), words.begin() + 2);
        for (const RecordLayout *layout : layouts) {
            const std::string text = EncodeRecord(*layout, words);
            Require(EncodedAgain(*layout, BytesOf(text)) == text, "what is encoded can be shown");
            Require(text.size() <= moxpvr::kMaxRequestText, "it is not too long to be sent");
        }
    } catch (const UsageError &error) {
        Require(error.what()[0] != '\0', "a refusal has its reason");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string input(reinterpret_cast<const char *>(data), size);
    const std::size_t lineEnd = std::min(input.find('\n'), size);
    EncodeAnything(input.substr(0, lineEnd));
    DecodeAnything(input.substr(std::min(lineEnd + 1, size)));
    return 0;
}
