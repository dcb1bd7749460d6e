#include "text/RequestSummary.h"

#include <algorithm>

#include "text/TimeText.h"

namespace tool {

namespace {

using moxpvr::Field;
using moxpvr::Meaning;

/// @return an integer in words; empty for what needs none
std::string ValueText(Meaning meaning, std::int64_t value) {
    switch (meaning) {
        case Meaning::Flag:
            return value == 0 ? "" : std::to_string(value);
        case Meaning::Pid:
            return PidText(value) == "none" ? "" : PidText(value);
        case Meaning::Time:
            return TimeText(value);
        default:
            return std::to_string(value);
    }
}

/// Collects "name value, name value" of the fields that it visits.
struct FieldTexts {
    std::string text;

    template <typename Value>
    void operator()(const Field &field, const Value &value) {
        Add(field, ValueText(field.meaning, static_cast<std::int64_t>(value)));
    }
    void operator()(const Field &field, double value) { Add(field, RateText(value)); }
    void operator()(const Field &field, const moxpvr::TextField &value) {
        Add(field, value.c_str());
    }
    void operator()(const Field &field, const moxpvr::PidList &list) {
        std::string pids;
        for (std::size_t i = 0; i < list.size(); ++i)
            pids += (i == 0 ? "" : " ") +
                    (list.pid[i] == 0 ? std::string("0x0") : PidText(list.pid[i]));
        Add(field, pids);
    }

    void Add(const Field &field, const std::string &value) {
        if (!value.empty())
            text += (text.empty() ? "" : ", ") + std::string(field.name) + " " + value;
    }
};

}  // namespace

std::string RequestSummary(const Request &request) {
    constexpr std::size_t kNameWidth = 24;
    FieldTexts fields;
    const auto collect = [&](auto record) {
        const bool isOfRequest = SideOf(record.Number()) == request.side &&
                                 static_cast<std::uint32_t>(record.Number()) == request.command;
        if (isOfRequest && DecodeText(request.text, record))
            decltype(record)::Fields(record, fields);
    };
    recorder::ForEachRequest(collect);
    playback::ForEachRequest(collect);
    std::string text = request.name;
    if (!fields.text.empty())
        text.resize(std::max(text.size(), kNameWidth), ' ');
    return text + fields.text;
}

}  // namespace tool
