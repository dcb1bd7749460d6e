/// @file
/// The manual page, written from what --help shows.
#ifndef TOOLS_HELP_MANPAGE_H
#define TOOLS_HELP_MANPAGE_H

#include <CLI/CLI.hpp>
#include <string>

namespace tool {

/// @param app      with all its verbs and options
/// @param version  of the program
/// @param date     of the page, year-month-day
/// @return the page in the language of the man macros
std::string ManPage(const CLI::App &app, const std::string &version, const std::string &date);

}  // namespace tool

#endif
