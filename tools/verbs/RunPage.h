/// @file
/// The page of a verb's own run.
#ifndef TOOLS_VERBS_RUNPAGE_H
#define TOOLS_VERBS_RUNPAGE_H

#include <functional>
#include <string>
#include <vector>

namespace tool {

struct RunPageOptions {
    std::string page;    ///< file to write; empty: none
    bool force = false;  ///< replace an existing one
};

/// Does something and writes a page of what the library logged meanwhile, traces included, whatever
/// else is logged. A run that fails has its page too, which names why.
/// @param title  of the page
/// @param used   files that the run reads or writes
/// @throws Failure, UsageError  before the run when the page cannot be written; what the run throws
void ExplainRun(const RunPageOptions &options, const std::string &title,
                const std::vector<std::string> &used, const std::function<void()> &run);

}  // namespace tool

#endif
