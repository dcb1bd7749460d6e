/// @file
/// A log as a page for a browser.
#ifndef TOOLS_LOG_PAGE_H
#define TOOLS_LOG_PAGE_H

#include <cstddef>
#include <string>

#include "log/Session.h"

namespace tool::log {

/// Writes what a log says as one page of HTML that is also XML: it needs nothing else, neither
/// from the network nor from the disk, and its script adds only comfort. Texts of the log appear as
/// they are and are never taken for markup.
///
/// @param mostLines  what a page may hold: more lines make browsers slow. The page says what it
///                   leaves out, and leaves out no failure.
std::string PageOf(const Session &session, std::size_t mostLines = 150'000);

}  // namespace tool::log

#endif
