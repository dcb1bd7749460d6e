#include "help/HelpFormatter.h"

namespace tool {

namespace {

std::string ValueName(const CLI::Option &option) {
    return option.get_type_size() == 0 ? "" : option.get_type_name();
}

}  // namespace

std::string OptionHelp(const CLI::Option &option) {
    const std::string &text = option.get_description();
    const std::string preset = option.get_default_str();
    const bool hasDefault = option.get_type_size() != 0 && !option.get_required() &&
                            !preset.empty() && preset != "[]";  // an empty list
    return hasDefault ? text + " (default: " + preset + ")" : text;
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
