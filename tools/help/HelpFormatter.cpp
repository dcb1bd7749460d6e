#include "help/HelpFormatter.h"

namespace tool {

namespace {

std::string ValueName(const CLI::Option &option) {
    return TakesValue(option) ? option.get_type_name() : "";
}

}  // namespace

bool TakesValue(const CLI::Option &option) {
    return option.get_items_expected_max() > 0;
}

std::string OptionHelp(const CLI::Option &option) {
    const bool canBeLeftOut = TakesValue(option) && !option.get_required();
    std::string preset = option.get_default_str();
    if (preset.empty() && !option.get_positional())
        preset = "none";
    const bool hasDefault = canBeLeftOut && !preset.empty() && preset != "[]";  // an empty list
    return option.get_description() + (hasDefault ? " (default: " + preset + ")" : "");
}

std::string OptionTitle(const CLI::Option &option) {
    const std::string value = ValueName(option);
    return option.get_name(option.get_positional(), !option.get_positional()) +
           (value.empty() ? "" : " " + value);
}

std::string ArgumentUsage(const CLI::Option &argument) {
    const bool isList = argument.get_expected_max() >= CLI::detail::expected_max_vector_size;
    const std::string name = argument.get_name(true, false) + (isList ? "..." : "");
    return argument.get_required() ? name : "[" + name + "]";
}

std::string HelpFormatter::make_option_opts(const CLI::Option *option) const {
    const std::string value = ValueName(*option);
    return (value.empty() ? "" : " " + value) + (option->get_required() ? " REQUIRED" : "");
}

std::string HelpFormatter::make_option_desc(const CLI::Option *option) const {
    return OptionHelp(*option);
}

std::string HelpFormatter::make_option_usage(const CLI::Option *argument) const {
    return ArgumentUsage(*argument);
}

}  // namespace tool
