#include "log/StepValues.h"

#include <MoxPvrProtocol.h>

#include <cstdlib>

#include "text/EventText.h"
#include "text/RecordLayout.h"
#include "text/TextParts.h"
#include "text/TimeText.h"

namespace tool::log {

namespace {

/// @return a value as this tool writes it everywhere
std::string Shown(const Value &value) {
    const auto &[name, text] = value;
    const bool isPid = EndsWith(name, "Pid") || name == "pid";
    const bool isDecimal = text.find_first_not_of("0123456789") == std::string::npos;
    if (isPid && isDecimal && !text.empty() && text.size() < 11)
        return text == "0" ? "0x0" : PidText(std::strtoll(text.c_str(), nullptr, 10));
    if (name == "rate")
        return RateText(std::strtod(text.c_str(), nullptr));
    return text;
}

}  // namespace

const std::string *ValueOf(const std::vector<Value> &values, std::string_view name) {
    for (const Value &value : values)
        if (value.first == name)
            return &value.second;
    return nullptr;
}

long long NumberOf(const std::vector<Value> &values, std::string_view name) {
    const std::string *text = ValueOf(values, name);
    return text != nullptr ? std::strtoll(text->c_str(), nullptr, 0) : 0;
}

void AddValues(Step &step, const std::vector<Value> &values) {
    for (const Value &value : values)
        if (value.first != "result" && ValueOf(step.values, value.first) == nullptr)
            step.values.emplace_back(value.first, Shown(value));
}

std::string CommandName(Side side, long long number) {
    const RecordLayout *layout = number > 0 && number < 1000
                                     ? FindLayout(KindOf(side), static_cast<std::uint32_t>(number))
                                     : nullptr;
    return layout != nullptr ? layout->name : "";
}

void ExplainEvent(Step &step) {
    if (const std::string *group = ValueOf(step.values, "group")) {
        const long long number = std::strtoll(group->c_str(), nullptr, 10);
        step.values = {{"handle", std::to_string(number & 0xFF)},
                       {"detail", std::to_string(number >> 8 & 0xFF)}};
    }
    if (ValueOf(step.values, "detail") == nullptr)
        return;
    tvdesktop::Event event;
    event.number = moxpvr::SIGNAL_PVR_SYS_CHANGE;
    const auto detail = static_cast<moxpvr::EventDetail>(NumberOf(step.values, "detail") & 0xFF);
    const moxpvr::SysChangeEvent record{0, detail};
    moxpvr::Encode(record, event.record.data());
    step.values.emplace_back("means", DetailText(detail));
    step.isFailure = !EventFailureText(event).empty();
}

void SetOutcome(Step &step, const std::string &result) {
    step.outcome = result;
    step.isFailure = step.isFailure || result != "0";
}

}  // namespace tool::log
