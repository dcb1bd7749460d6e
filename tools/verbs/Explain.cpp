#include "verbs/Explain.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "Failure.h"
#include "log/Page.h"
#include "log/SessionBuilder.h"
#include "log/SessionFile.h"
#include "log/SessionText.h"
#include "verbs/OutputFile.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

log::Session Read(std::istream &log, const std::string &name) try {
    return log::ReadSession(log, name);
} catch (const std::ios_base::failure &error) {
    throw Failure("cannot read " + name + ": " + error.code().message());
}

log::Session ReadStandardInput() {
    std::ios::sync_with_stdio(false);
    return Read(std::cin, "standard input");
}

log::Session ReadFile(const std::string &path) {
    std::error_code ignored;
    if (fs::is_directory(path, ignored))
        throw Failure("cannot read " + path + ": it is a directory; name a log in it");
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw Failure("cannot open " + path + ": " + std::strerror(errno));
    return Read(file, path);
}

}  // namespace

log::Session SessionOfLog(const std::string &path) {
    log::Session session = path == "-" ? ReadStandardInput() : ReadFile(path);
    if (!session.form.empty())
        throw Failure("cannot explain " + session.name + ": " + session.form);
    if (session.lines.empty())
        throw Failure("cannot explain " + session.name + ": it has no line of the library (of " +
                      std::to_string(session.foreignLines) +
                      "); such a line has \"[PVR][MOX]\" after FILE: FUNCTION(LINE)");
    return session;
}

void RunExplain(const ExplainOptions &options, const Console &console) {
    const std::string out = options.json == "-" ? "" : options.json;
    std::vector<std::string> others = {options.log};
    for (const std::string &path : {out, options.trace, options.html}) {
        if (path.empty())
            continue;
        if (path == "-")
            throw UsageError("only --json writes to standard output; name a file (./- is one)");
        CheckApart(path, others);
        CheckTextFile(path, options.log, options.force);
        others.push_back(path);
    }
    const log::Session session = SessionOfLog(options.log);
    if (!out.empty())
        WriteTextFile(out, log::JsonOf(session), options.force);
    if (!options.trace.empty())
        WriteTextFile(options.trace, log::TraceOf(session), options.force);
    if (!options.html.empty())
        WriteTextFile(options.html, log::PageOf(session), options.force);
    if (options.json == "-")
        console.terminal.Text(log::JsonOf(session));
    else if (options.json.empty() && options.trace.empty() && options.html.empty())
        log::WriteText(session, [&](const std::string &text, Style style) {
            console.terminal.Line(text, style);
        });
    if (session.unclearLines == session.lines.size())
        throw Failure("cannot explain " + session.name +
                      ": all lines of the library in it are cut or not understood; log whole lines "
                      "with nothing after the message");
}

}  // namespace tool
