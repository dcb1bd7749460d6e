#include "text/RecordText.h"

#include <algorithm>

#include "text/FieldValue.h"
#include "text/HexText.h"

namespace tool {

namespace {

using moxpvr::Meaning;

/// Collects the fields of a record and the bytes that they do not account for.
class FieldWalk {
  public:
    FieldWalk(const RecordLayout &layout, const Bytes &record)
        : m_record(record), m_position(IsRequest(layout.kind) ? 4 : 0) {
        for (const FieldLayout &field : layout.fields)
            Visit(field);
        AddBytes(m_position, m_record.size(), "left over after the last field");
    }

    std::vector<FieldText> Take() { return std::move(m_texts); }

  private:
    void Visit(const FieldLayout &field) {
        AddDifference(Bytes(field.offset), m_position, "of no field");
        Bytes rebuilt;
        const std::string value = ValueText(field, m_record);
        SetValue(field, value, rebuilt);
        const std::size_t width = rebuilt.size() - field.offset;
        m_texts.push_back({&field, field.offset, width, SentOf(field.offset, width), value,
                           MeaningText(field, m_record)});
        AddDifference(rebuilt, field.offset, "not part of the value");
        m_position = rebuilt.size();
    }

    std::size_t SentOf(std::size_t offset, std::size_t width) const {
        return m_record.size() > offset ? std::min(width, m_record.size() - offset) : 0;
    }

    /// What was sent from `begin` on, as far as it differs from what the fields say.
    void AddDifference(const Bytes &expected, std::size_t begin, const char *meaning) {
        std::size_t end = std::min(expected.size(), m_record.size());
        while (begin < end && m_record[begin] == expected[begin])
            ++begin;
        while (begin < end && m_record[end - 1] == expected[end - 1])
            --end;
        AddBytes(begin, end, meaning);
    }

    void AddBytes(std::size_t begin, std::size_t end, const char *meaning) {
        if (begin >= end)
            return;
        const std::size_t width = end - begin;
        m_texts.push_back({nullptr, begin, width, width, HexOf(&m_record[begin], width), meaning});
    }

    const Bytes &m_record;
    std::size_t m_position;  ///< what comes before is accounted for
    std::vector<FieldText> m_texts;
};

}  // namespace

std::vector<FieldText> FieldTexts(const RecordLayout &layout, const Bytes &record) {
    return FieldWalk(layout, record).Take();
}

std::string ShortValue(const FieldText &text) {
    if (text.field == nullptr)
        return text.value;
    if (text.field->type == FieldType::PidList) {
        std::string pids = text.value;
        std::replace(pids.begin(), pids.end(), ',', ' ');
        return pids;
    }
    const Meaning meaning = text.field->meaning;
    const bool isInWords = meaning == Meaning::Time || meaning == Meaning::Rate ||
                           (meaning == Meaning::Codec && !text.meaning.empty());
    return isInWords ? text.meaning : text.value;
}

std::vector<std::pair<std::string, std::string>> FieldValues(Side side, const std::string &text) {
    const Bytes record = BytesOf(text);
    const RecordLayout *layout = FindLayout(KindOf(side), CommandIn(record));
    std::vector<std::pair<std::string, std::string>> values;
    if (layout == nullptr)
        return values;
    for (const FieldText &field : FieldTexts(*layout, record))
        if (field.field != nullptr && field.sent > 0)
            values.emplace_back(field.field->name, ShortValue(field));
    return values;
}

}  // namespace tool
