#include "text/RequestSummary.h"

#include <algorithm>

#include "text/FieldValue.h"
#include "text/HexText.h"
#include "text/RecordText.h"

namespace tool {

namespace {

using moxpvr::Meaning;

/// @return whether a field says something: not a flag that is not set, nor a stream that does not
///         exist, nor an empty path
bool IsWorthSaying(const FieldText &text) {
    if (text.field == nullptr || text.value.empty())
        return false;
    if (text.field->meaning == Meaning::Flag)
        return text.value != "0";
    return text.field->meaning != Meaning::Pid || text.meaning != kNoSuchStream;
}

}  // namespace

std::string RequestSummary(const Request &request) {
    constexpr std::size_t kNameWidth = 24;
    const RecordLayout *layout = FindLayout(KindOf(request.side), request.command);
    std::string fields;
    if (layout != nullptr)
        for (const FieldText &text : FieldTexts(*layout, BytesOf(request.text)))
            if (IsWorthSaying(text))
                fields += (fields.empty() ? "" : ", ") + std::string(text.field->name) + " " +
                          ShortValue(text);
    std::string text = request.name;
    if (!fields.empty())
        text.resize(std::max(text.size(), kNameWidth), ' ');
    return text + fields;
}

}  // namespace tool
