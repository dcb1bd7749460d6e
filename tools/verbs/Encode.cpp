#include "verbs/Encode.h"

#include <algorithm>
#include <charconv>
#include <set>

#include "Failure.h"
#include "text/FieldValue.h"
#include "text/HexText.h"
#include "text/RecordName.h"
#include "text/TableText.h"
#include "text/TextParts.h"

namespace tool {

namespace {

struct Assignment {
    std::string name;
    std::string value;
};

Assignment SplitAssignment(const std::string &text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos)
        throw UsageError("'" + text + "' sets no field; write " + text + "=VALUE");
    return {text.substr(0, equals), text.substr(equals + 1)};
}

std::size_t LowestOffset(const RecordLayout &layout) {
    return IsRequest(layout.kind) ? 4 : 0;
}

std::size_t HighestEnd(const RecordLayout &layout) {
    return layout.kind == RecordKind::Event ? moxpvr::kEventSize : moxpvr::kRecordSize;
}

/// Writes bytes as they are: "@4" and "0300".
void SetBytes(const RecordLayout &layout, const Assignment &assignment, Bytes &record) {
    std::size_t offset = 0;
    const char *end = assignment.name.data() + assignment.name.size();
    const auto [last, error] = std::from_chars(assignment.name.data() + 1, end, offset);
    const Bytes bytes = BytesOf(assignment.value);
    const std::size_t highest = HighestEnd(layout);
    const bool isPlace = last == end && error == std::errc() && offset >= LowestOffset(layout) &&
                         offset <= highest && bytes.size() <= highest - offset;
    if (!isPlace)
        throw UsageError("cannot write " + std::to_string(bytes.size()) + " bytes at '" +
                         assignment.name + "': they must lie between offset " +
                         std::to_string(LowestOffset(layout)) + " and " + std::to_string(highest) +
                         "; write @OFFSET in decimal");
    if (bytes.empty() || assignment.value.size() % 2 != 0 ||
        FirstStrangeCharacter(assignment.value))
        throw UsageError("cannot write '" + assignment.value + "' at " + assignment.name +
                         ": write two hexadecimal digits per byte");
    record.resize(std::max(record.size(), offset + bytes.size()));
    std::copy(bytes.begin(), bytes.end(), record.begin() + static_cast<std::ptrdiff_t>(offset));
}

const RecordLayout &OneLayoutNamed(RecordKind kind, const std::string &name) {
    const std::vector<const RecordLayout *> found = LayoutsNamed(kind, name);
    if (found.size() == 1)
        return *found.front();
    std::vector<std::string> names;
    names.reserve(found.size());
    for (const RecordLayout *layout : found)
        names.push_back(layout->name);
    throw UsageError("'" + name + "' may be any of several; write one of " + ListText(names));
}

std::string RecordList(RecordKind kind) {
    std::vector<std::vector<std::string>> rows = {{"number", "name", "fields"}};
    for (const RecordLayout &layout : LayoutsOf(kind))
        rows.push_back({std::to_string(layout.number), layout.name, ListText(FieldNames(layout))});
    return TableText(rows);
}

std::string FieldList(const RecordLayout &layout) {
    if (layout.fields.empty())
        return layout.name + " has no fields\n";
    std::vector<std::vector<std::string>> rows = {{"offset", "bytes", "field", "default", "value"}};
    for (const FieldLayout &field : layout.fields) {
        const bool isList = field.type == FieldType::PidList;
        rows.push_back({std::to_string(field.offset),
                        std::to_string(field.width) + (isList ? " + 4 each" : ""), field.name,
                        ValueText(field, layout.initial), ValueHelp(field)});
    }
    return TableText(rows);
}

}  // namespace

std::string EncodeRecord(const RecordLayout &layout, const std::vector<std::string> &assignments) {
    Bytes record = layout.initial;
    std::set<std::string> given;
    for (const std::string &text : assignments) {
        Assignment assignment = SplitAssignment(text);
        const bool isField = assignment.name.rfind('@', 0) != 0;
        if (isField) {
            const FieldLayout &field = FieldNamed(layout, assignment.name);
            assignment.name = field.name;
            SetValue(field, assignment.value, record);
        } else {
            SetBytes(layout, assignment, record);
        }
        if (!given.insert(assignment.name).second)
            throw UsageError("'" + text + "' sets " + assignment.name +
                             " a second time; give it once");
    }
    return HexOf(record);
}

void RunEncode(const EncodeOptions &options, const Console &console) {
    const RecordKind kind = KindNamed(options.kind);
    if (options.name.empty())
        return console.terminal.Text(RecordList(kind));
    const RecordLayout &layout = OneLayoutNamed(kind, options.name);
    if (options.listsFields && !options.assignments.empty())
        throw UsageError("cannot both list the fields and set them: leave out --fields, or " +
                         options.assignments.front());
    console.terminal.Text(options.listsFields ? FieldList(layout)
                                              : EncodeRecord(layout, options.assignments) + "\n");
}

std::vector<std::string> NextRecordWords(const std::vector<std::string> &words, bool takesFields) {
    if (words.empty())
        return KindNames();
    try {
        const RecordKind kind = KindNamed(words[0]);
        if (words.size() == 1)
            return takesFields || !IsRequest(kind) ? LayoutNames(kind) : std::vector<std::string>();
        std::vector<std::string> next;
        if (!takesFields)
            return next;
        for (const std::string &name : FieldNames(OneLayoutNamed(kind, words[1]))) {
            const auto isSet = [&](const std::string &word) {
                return StartsWith(word, name + "=");
            };
            if (std::none_of(words.begin() + 2, words.end(), isSet))
                next.push_back(name + "=");
        }
        return next;
    } catch (const UsageError &) {
        return {};  // what is on the line already means nothing: there is nothing to add
    }
}

}  // namespace tool
