#include "verbs/Decode.h"

#include <algorithm>
#include <iostream>

#include "Failure.h"
#include "text/HexText.h"
#include "text/Printable.h"
#include "text/RecordName.h"
#include "text/RecordText.h"
#include "text/TableText.h"

namespace tool {

namespace {

using Rows = std::vector<std::vector<std::string>>;

/// @return what the sender left out of a field
std::string MissingText(std::size_t width, std::size_t sent) {
    if (sent >= width)
        return "";
    return sent == 0 ? "not sent, reads as 0"
                     : "only " + CountText(sent, "byte") + " sent, the rest reads as 0";
}

std::string Joined(const std::string &left, const std::string &right) {
    return left.empty() || right.empty() ? left + right : left + "; " + right;
}

Rows TableHead() {
    return {{"offset", "bytes", "field", "value", "meaning"}};
}

void AddCommand(const Bytes &record, const char *name, Rows &rows) {
    const std::uint32_t command = CommandIn(record);
    rows.push_back({"0", "4", "command", std::to_string(command),
                    Joined(name, MissingText(4, std::min<std::size_t>(record.size(), 4)))});
}

std::string FieldTable(const RecordLayout &layout, const Bytes &record) {
    Rows rows = TableHead();
    if (IsRequest(layout.kind))
        AddCommand(record, layout.name.c_str(), rows);
    for (const FieldText &text : FieldTexts(layout, record))
        rows.push_back({std::to_string(text.offset), std::to_string(text.width),
                        text.field != nullptr ? text.field->name : "-", PrintableAscii(text.value),
                        Joined(text.meaning, MissingText(text.width, text.sent))});
    return TableText(rows);
}

std::string Heading(const RecordLayout &layout, const Bytes &record) {
    static constexpr const char *kTitles[] = {"recorder command ", "playback command ",
                                              "reply to command ", "event "};
    return layout.name + " (" + kTitles[static_cast<std::size_t>(layout.kind)] +
           std::to_string(layout.number) + "), " + CountText(record.size(), "byte") + "\n";
}

/// @return what the library makes of characters that are not digits; empty when there are none
std::string StrangeText(const std::string &text) {
    const auto first = FirstStrangeCharacter(text);
    if (!first)
        return "";
    return "character " + std::to_string(*first + 1) + " ('" +
           PrintableAscii(text.substr(*first, 1)) + "') is not a hexadecimal digit";
}

std::string LengthProblem(const std::string &text) {
    if (text.empty())
        return "it is empty";
    if (text.size() % 2 != 0)
        return std::to_string(text.size()) + " characters are not pairs of digits";
    if (text.size() > moxpvr::kMaxRequestText)
        return std::to_string(text.size()) + " characters are more than " +
               std::to_string(moxpvr::kMaxRequestText);
    return "";
}

Decoded DecodeRequest(RecordKind kind, const std::string &text) {
    constexpr char kRefused[] = "; the library refuses the request with result 2";
    Decoded decoded;
    decoded.problem = LengthProblem(text);
    if (!decoded.problem.empty()) {
        decoded.problem += kRefused;
        return decoded;
    }
    if (const std::string strange = StrangeText(text); !strange.empty())
        decoded.text = strange + ": the library reads each such character as 0\n";
    const Bytes record = BytesOf(text);
    const RecordLayout *layout = FindLayout(kind, CommandIn(record));
    if (layout != nullptr) {
        decoded.text += Heading(*layout, record) + FieldTable(*layout, record);
        return decoded;
    }
    decoded.problem = "command " + std::to_string(CommandIn(record)) + " is unknown" + kRefused;
    Rows rows = TableHead();
    AddCommand(record, "unknown", rows);
    if (record.size() > 4)
        rows.push_back({"4", std::to_string(record.size() - 4), "-",
                        HexOf(&record[4], record.size() - 4), "of an unknown command"});
    decoded.text += "unknown " + std::string(KindText(kind)) + ", " +
                    CountText(record.size(), "byte") + "\n" + TableText(rows);
    return decoded;
}

std::vector<const RecordLayout *> AllOf(RecordKind kind) {
    std::vector<const RecordLayout *> all;
    for (const RecordLayout &layout : LayoutsOf(kind))
        all.push_back(&layout);
    return all;
}

/// @return those that are as long as the record, or all when none is
std::vector<const RecordLayout *> FittingOf(const std::vector<const RecordLayout *> &layouts,
                                            const Bytes &record) {
    std::vector<const RecordLayout *> fitting;
    for (const RecordLayout *layout : layouts)
        if (layout->initial.size() == record.size())
            fitting.push_back(layout);
    return fitting.empty() ? layouts : fitting;
}

/// Replies and events do not name themselves: what a text may be depends on its length, unless the
/// user knows it.
Decoded DecodeAnswer(RecordKind kind, const std::string &name, const std::string &text) {
    const std::vector<const RecordLayout *> named =
        name.empty() ? AllOf(kind) : LayoutsNamed(kind, name);
    Decoded decoded;
    decoded.problem = Joined(LengthProblem(text), StrangeText(text));
    if (!decoded.problem.empty())
        return decoded;
    const Bytes record = BytesOf(text);
    const std::vector<const RecordLayout *> fitting = FittingOf(named, record);
    if (fitting.size() > 1)
        decoded.text =
            CountText(fitting.size(), "record") + " may be meant; name one before the text\n";
    for (const RecordLayout *layout : fitting)
        decoded.text += Heading(*layout, record) + FieldTable(*layout, record);
    return decoded;
}

std::string WithoutLineEnd(std::string line) {
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    return line;
}

/// Decodes every line of standard input that is not empty.
void DecodeLines(RecordKind kind, const std::string &name, Terminal &terminal) {
    std::size_t number = 0;
    std::size_t texts = 0;
    std::size_t failed = 0;
    for (std::string line; std::getline(std::cin, line);) {
        ++number;
        line = WithoutLineEnd(line);
        if (line.empty())
            continue;
        ++texts;
        const Decoded decoded = DecodeRecord(kind, name, line);
        terminal.Text(decoded.text);
        if (decoded.problem.empty())
            continue;
        terminal.Line("line " + std::to_string(number) + ": " + decoded.problem, Style::Bad);
        ++failed;
    }
    if (std::cin.bad())
        throw Failure("cannot read standard input");
    if (texts == 0)
        throw Failure(
            "cannot decode standard input: it is empty or closed; write one text per line");
    if (failed > 0)
        throw Failure("cannot decode " + CountText(failed, "line") +
                      " of standard input; each is named above");
}

}  // namespace

Decoded DecodeRecord(RecordKind kind, const std::string &name, const std::string &text) {
    return IsRequest(kind) ? DecodeRequest(kind, text) : DecodeAnswer(kind, name, text);
}

void RunDecode(const DecodeOptions &options, const Console &console) {
    const RecordKind kind = KindNamed(options.kind);
    const std::string name = options.words.size() > 1 ? options.words.front() : "";
    const std::string &text = options.words.back();
    if (IsRequest(kind) && !name.empty())
        throw UsageError("a request names its command itself; leave out '" + name + "'");
    if (text == "-")
        return DecodeLines(kind, name, console.terminal);
    const Decoded decoded = DecodeRecord(kind, name, text);
    console.terminal.Text(decoded.text);
    if (!decoded.problem.empty())
        throw Failure("cannot decode the text: " + decoded.problem);
}

}  // namespace tool
