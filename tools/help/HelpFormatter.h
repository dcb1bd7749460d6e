/// @file
/// How --help shows verbs and options.
#ifndef TOOLS_HELP_HELPFORMATTER_H
#define TOOLS_HELP_HELPFORMATTER_H

#include <CLI/CLI.hpp>
#include <string>

namespace tool {

/// @return whether an option comes with a value, which a flag does not
bool TakesValue(const CLI::Option &option);

/// @return what an option does, with its default
std::string OptionHelp(const CLI::Option &option);

/// @return the names of an option and of its value: "--seconds TIME"
std::string OptionTitle(const CLI::Option &option);

/// @return "INPUT", "[NAME]" or "[FIELD=VALUE...]": a positional argument in a usage line
std::string ArgumentUsage(const CLI::Option &argument);

/// The usual help, with the default at the end of each option's text.
class HelpFormatter : public CLI::Formatter {
  public:
    std::string make_option_opts(const CLI::Option *option) const override;
    std::string make_option_desc(const CLI::Option *option) const override;
    std::string make_option_usage(const CLI::Option *argument) const override;
};

}  // namespace tool

#endif
