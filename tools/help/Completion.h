/// @file
/// What may come next on a command line: the shell's completion asks.
#ifndef TOOLS_HELP_COMPLETION_H
#define TOOLS_HELP_COMPLETION_H

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

namespace tool {

/// Knows what the arguments of a verb may be.
/// @param verb       its name
/// @param arguments  that are on the line, options left out
using ArgumentCompleter = std::function<std::vector<std::string>(
    const std::string &verb, const std::vector<std::string> &arguments)>;

/// @param app    with all its verbs and options
/// @param words  of the command line after the program's name, the last of which is to be completed
/// @return       the words that it may become; none where only a file name can come
std::vector<std::string> Complete(const CLI::App &app, const std::vector<std::string> &words,
                                  const ArgumentCompleter &completeArgument);

}  // namespace tool

#endif
