// mox-pvr: what the program takes from its command line.
#include <MoxPvrVersion.h>
#include <TvDesktop.h>

#include <cctype>
#include <cerrno>
#include <CLI/CLI.hpp>
#include <cmath>
#include <cstring>
#include <functional>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "Failure.h"
#include "help/Completion.h"
#include "help/HelpFormatter.h"
#include "help/ManPage.h"
#include "text/TimeText.h"
#include "verbs/CompanionFile.h"
#include "verbs/Decode.h"
#include "verbs/Demo.h"
#include "verbs/Doctor.h"
#include "verbs/Encode.h"
#include "verbs/Explain.h"
#include "verbs/OutputFile.h"
#include "verbs/Play.h"
#include "verbs/Record.h"
#include "verbs/Repair.h"
#include "verbs/Replay.h"
#include "verbs/RunPage.h"
#include "verbs/Services.h"

namespace {

constexpr int kSilent = 17;  ///< above every priority
constexpr int kTrace = 2;

struct GlobalOptions {
    std::string logFile;
    int logLevel = kSilent;
    bool showRequests = false;
};

struct Verb {
    const CLI::App *commandLine;
    std::function<void(const tool::Console &)> run;
};

/// A rule for the text of an option, which it may rewrite.
/// @param kind   what a text that is refused is not, with its article
/// @param valid  what to write in its place
template <typename Accepts>
CLI::Validator Rule(const std::string &kind, const std::string &valid, Accepts accepts) {
    return CLI::Validator(
        [=](std::string &text) -> std::string {
            return accepts(text) ? "" : "'" + text + "' is not " + kind + "; write " + valid;
        },
        "");
}

/// Whether a text is a number whose size is from 0.01 to 1000; "nan" and "inf" are not.
bool IsFactor(const std::string &text, bool mayBeNegative) {
    double factor = 0;
    return CLI::detail::lexical_cast(text, factor) && (mayBeNegative || factor > 0) &&
           std::abs(factor) >= 0.01 && std::abs(factor) <= 1000;
}

bool IsNumberUpTo(std::uint32_t highest, const std::string &text) {
    std::uint32_t number = 0;
    return CLI::detail::lexical_cast(text, number) && number <= highest;
}

const CLI::Validator kLogLevel =
    Rule("a level", "trace, progress, failures, 2, 4 or 16", [](std::string &text) {
        for (const auto &[name, number] :
             {std::pair{"trace", "2"}, {"progress", "4"}, {"failures", "16"}}) {
            if (text != name && text != number)
                continue;
            text = number;
            return true;
        }
        return false;
    });

const CLI::Validator kTime = Rule("a time", "seconds or mm:ss", [](std::string &text) {
    const auto time = tool::ParseTime(text);
    if (time)
        text = std::to_string(*time);
    return time.has_value();
});

const CLI::Validator kRecordSpeed = Rule("a speed", "0.01 to 1000 or max", [](std::string &text) {
    const bool isMaximum = text == "max";
    if (isMaximum)
        text = "0";
    return isMaximum || IsFactor(text, false);
});

const CLI::Validator kPlaySpeed =
    Rule("a speed", "0.01 to 1000, with a minus for backwards",
         [](const std::string &text) { return IsFactor(text, true); });

const CLI::Validator kClockFactor =
    Rule("a factor", "0.01 to 1000", [](const std::string &text) { return IsFactor(text, false); });

const CLI::Validator kServiceId = Rule("a service id", "0 to 65535", [](const std::string &text) {
    return IsNumberUpTo(0xFFFF, text);
});

const CLI::Validator kPid =
    Rule("a PID", "0 to 8191, or 0x0 to 0x1fff",
         [](const std::string &text) { return IsNumberUpTo(0x1FFF, text); });

void AddGlobalOptions(CLI::App &app, GlobalOptions &options) {
    app.set_version_flag("--version", std::string("mox-pvr " MOXPVR_VERSION));
    app.add_option("--log", options.logFile, "Append the library's log to a file")
        ->type_name("FILE");
    app.add_option("--log-level", options.logLevel,
                   "Lowest priority that is logged: trace (2), progress (4) or failures (16); "
                   "without --log the log goes to standard error")
        ->transform(kLogLevel)
        ->type_name("LEVEL")
        ->default_str("nothing, trace with --log");
    app.add_flag("--show-requests", options.showRequests,
                 "Show requests and replies in hexadecimal, a request that is repeated at once "
                 "only the first time");
}

/// Puts a paragraph before the end of a verb's help.
void Explain(CLI::App &verb, const std::string &paragraph) {
    verb.footer(paragraph + "\n\n" + verb.get_footer());
}

constexpr char kTimeHelp[] =
    "TIME is seconds, mm:ss or h:mm:ss, with a fraction or without: 90, 1:30, 1:30.5";

void AddRunPage(CLI::App &verb, tool::RunPageOptions &page) {
    verb.add_option("--explain", page.page, "Write a page that tells what the library did")
        ->type_name("FILE.html");
    if (verb.get_option_no_throw("--force") == nullptr)
        verb.add_flag("--force", page.force, "Replace an existing page");
}

CLI::App *AddServices(CLI::App &app, std::string &input) {
    CLI::App *verb = app.add_subcommand("services", "List the services of a transport stream");
    verb->add_option("INPUT", input, "Transport stream")->required()->type_name("");
    return verb;
}

CLI::App *AddRecord(CLI::App &app, tool::RecordOptions &options, tool::RunPageOptions &page) {
    CLI::App *verb = app.add_subcommand("record", "Record one service of a transport stream");
    verb->add_option("INPUT", options.input, "Transport stream")->required()->type_name("");
    verb->add_option("--service", options.serviceId, "Service id")
        ->required()
        ->check(kServiceId)
        ->type_name("ID");
    verb->add_option("--out", options.out, "Recording, or timeshift buffer with --timeshift")
        ->required()
        ->type_name("FILE");
    verb->add_option("--seconds", options.durationMs, "Stop after this much stream time")
        ->transform(kTime)
        ->type_name("TIME")
        ->default_str("the end of the input");
    verb->add_option("--speed", options.speed, "Times stream time; max: as fast as possible")
        ->transform(kRecordSpeed)
        ->type_name("X|max");
    verb->add_flag("--timeshift", options.isTimeshift, "Write a timeshift buffer");
    verb->add_option("--swap-after", options.swapAfterMs,
                     "Stream time at which the buffer becomes a recording")
        ->transform(kTime)
        ->type_name("TIME")
        ->default_str("never");
    verb->add_option("--swap-to", options.swapTo, "File of that recording")->type_name("FILE");
    verb->add_flag("--force", options.force, "Replace existing files");
    AddRunPage(*verb, page);
    Explain(*verb, kTimeHelp);
    return verb;
}

CLI::App *AddPlay(CLI::App &app, tool::PlayOptions &options, tool::RunPageOptions &page) {
    CLI::App *verb = app.add_subcommand("play", "Play a recording or a timeshift buffer");
    verb->add_option("FILE", options.file, "Recording")->required()->type_name("");
    verb->add_option("--from", options.fromMs, "Position to start at")
        ->transform(kTime)
        ->type_name("TIME");
    verb->add_option("--speed", options.speed, "Times normal speed; negative: backwards")
        ->check(kPlaySpeed)
        ->type_name("X");
    verb->add_flag("--timeshift", options.isTimeshift, "The file is a timeshift buffer");
    verb->add_option("--video-pid", options.videoPid, "Program this video PID")
        ->check(kPid)
        ->type_name("PID")
        ->default_str("the recording's own");
    verb->add_option("--clock", options.clockFactor,
                     "Run the player's clock this many times faster than real time")
        ->check(kClockFactor)
        ->type_name("X");
    AddRunPage(*verb, page);
    Explain(*verb,
            "Keys on a terminal:\n"
            "  space       pause, resume\n"
            "  left right  10 seconds back, ahead\n"
            "  1 to 9      play at 1 to 9 times normal speed; 0: half speed\n"
            "  -           reverse the direction\n"
            "  .           next picture\n"
            "  a           audio description on, off\n"
            "  q           stop");
    Explain(*verb, kTimeHelp);
    return verb;
}

CLI::App *AddRepair(CLI::App &app, std::string &recording) {
    CLI::App *verb = app.add_subcommand(
        "repair", "Rebuild what is known of a recording's channels (FILE.chan) from its packets");
    verb->add_option("FILE", recording, "Recording")->required()->type_name("");
    return verb;
}

CLI::App *AddDemo(CLI::App &app, tool::DemoOptions &options, tool::RunPageOptions &page) {
    CLI::App *verb = app.add_subcommand("demo",
                                        "Record, change service, play, rewind: the whole "
                                        "story with every request named");
    verb->add_option("--input", options.input, "Transport stream")
        ->type_name("FILE")
        ->default_str("the sample");
    verb->add_option("--out", options.directory, "Keep the recordings in this directory")
        ->type_name("DIR")
        ->default_str("a temporary one");
    AddRunPage(*verb, page);
    return verb;
}

constexpr char kRecordHelp[] =
    "KIND is recorder or playback (a request to one), reply or event. NAME is that of the\n"
    "protocol's header (SetHandle, GetProgress, SIGNAL_PVR_SYS_CHANGE), its number, or any\n"
    "part of it that no other name has; fields are named likewise. Both sides reply to\n"
    "GetProgress: recorder.GetProgress and playback.GetProgress.";

CLI::App *AddEncode(CLI::App &app, tool::EncodeOptions &options) {
    CLI::App *verb = app.add_subcommand("encode", "Make the text of a request, reply or event");
    verb->add_option("KIND", options.kind, "recorder, playback, reply or event")
        ->required()
        ->type_name("");
    verb->add_option("NAME", options.name, "Which one; without it all are listed")->type_name("");
    verb->add_option("FIELD=VALUE", options.assignments,
                     "Values of fields; the others have their defaults")
        ->type_name("");
    verb->add_flag("--fields", options.listsFields,
                   "List the record's fields with offset, width, default and how to write them");
    Explain(*verb,
            "Values:\n"
            "  numbers      decimal, or 0x and hexadecimal\n"
            "  flags        0, 1, yes or no\n"
            "  PIDs         a number, none or keep; lists with commas between them\n"
            "  times        in the unit of the platform (the stand-in's: milliseconds)\n"
            "  rates        decimal, with a minus for rewind\n"
            "  paths        text of at most 255 bytes\n"
            "  @OFFSET=HEX  bytes as they are, such as those of a platform's record\n"
            "Example:\n"
            "  mox-pvr encode recorder SetHandle handle=3 serviceId=2 ci=1");
    Explain(*verb, kRecordHelp);
    return verb;
}

CLI::App *AddDecode(CLI::App &app, tool::DecodeOptions &options) {
    CLI::App *verb = app.add_subcommand(
        "decode", "Show every field of a request, reply or event from its hexadecimal text");
    verb->add_option("KIND", options.kind, "recorder, playback, reply or event")
        ->required()
        ->type_name("");
    verb->add_option("[NAME] HEX", options.words,
                     "Which reply or event (requests name themselves), and the text; - reads "
                     "texts from standard input, one per line")
        ->required()
        ->expected(1, 2)
        ->type_name("");
    Explain(*verb,
            "Without NAME a reply or an event is shown as every record that is as long as it.\n"
            "Example:\n"
            "  mox-pvr decode reply GetProgress dc050000dc050000");
    Explain(*verb, kRecordHelp);
    return verb;
}

CLI::App *AddDoctor(CLI::App &app, std::string &library) {
    CLI::App *verb = app.add_subcommand(
        "doctor", "Examine a libmoxpvr.so: what it exports and needs, and whether it loads");
    verb->add_option("LIBRARY", library, "Shared library")->required()->type_name("");
    Explain(*verb,
            "The same as the program mox-pvr-doctor, which needs no libmoxpvr.so of its own");
    return verb;
}

CLI::App *AddExplain(CLI::App &app, tool::ExplainOptions &options) {
    CLI::App *verb =
        app.add_subcommand("explain", "Tell what a log says: requests, answers, events, failures");
    verb->add_option("LOG", options.log,
                     "Log, with a TV's other lines or without; -: standard input")
        ->capture_default_str()
        ->type_name("");
    verb->add_option("--html", options.html, "Write a page for a browser")->type_name("FILE");
    verb->add_option("--json", options.json, "Write all of it as JSON; -: standard output")
        ->type_name("FILE");
    verb->add_option("--trace", options.trace, "Write a trace for Perfetto or chrome://tracing")
        ->type_name("FILE");
    verb->add_flag("--force", options.force, "Replace existing files");
    return verb;
}

CLI::App *AddReplay(CLI::App &app, tool::ReplayOptions &options) {
    CLI::App *verb =
        app.add_subcommand("replay", "Send the recorder's requests of a log again, to the desk");
    verb->add_option("LOG", options.log, "Log; -: standard input")->required()->type_name("");
    verb->add_option("--input", options.input, "Transport stream to record instead of the sample")
        ->type_name("FILE");
    verb->add_option("--out", options.directory, "Keep the recordings in this directory")
        ->type_name("DIR");
    verb->add_flag("--pace", options.keepsPace,
                   "Leave the log's time between requests, and record in real time");
    Explain(
        *verb,
        "The exit code is 0 also when results differ from the log's; the last line counts them.");
    return verb;
}

/// Nothing is logged unless an option asks for it; a file alone takes everything.
void SetUpLog(const GlobalOptions &options, bool isLevelGiven) {
    const bool isFileOnly = !options.logFile.empty() && !isLevelGiven;
    tvdesktop::SetLogMinimumPriority(isFileOnly ? kTrace : options.logLevel);
    if (!options.logFile.empty() && !tvdesktop::SetLogFile(options.logFile))
        throw tool::Failure("cannot write the log file " + options.logFile + ": " +
                            std::strerror(errno));
}

/// @return a sentence with its first letter in lower case, unless a name in capitals begins it
std::string WithoutCapital(std::string sentence) {
    const auto isUpper = [&](std::size_t at) {
        return at < sentence.size() && std::isupper(static_cast<unsigned char>(sentence[at])) != 0;
    };
    if (isUpper(0) && !isUpper(1))
        sentence[0] = static_cast<char>(sentence[0] - 'A' + 'a');
    return sentence;
}

/// @return what is wrong with a command line that cannot be read
std::string ProblemText(const CLI::App &app, const CLI::ParseError &error) {
    const bool isVerbMissing = app.get_subcommands().empty() && error.get_name() == "RequiredError";
    if (!isVerbMissing)
        return WithoutCapital(error.what());
    return app.remaining().empty()
               ? "cannot run without a verb"
               : "'" + app.remaining().front() + "' is neither a verb nor an option";
}

/// Answers a command line that asks for help, or refuses one that cannot be carried out.
int Answer(const CLI::App &app, const CLI::ParseError &error) {
    if (error.get_exit_code() != 0)
        throw tool::UsageError(ProblemText(app, error) + " (--help lists verbs and options)");
    std::ostringstream help;
    app.exit(error, help);
    tool::Terminal().Text(help.str());
    return tool::kExitDone;
}

/// @return what the arguments of a verb may be, where they are not files
std::vector<std::string> NextArguments(const std::string &verb,
                                       const std::vector<std::string> &arguments) {
    const bool isEncode = verb == "encode";
    return isEncode || verb == "decode" ? tool::NextRecordWords(arguments, isEncode)
                                        : std::vector<std::string>();
}

/// Answers what no help lists: "--man DATE" prints the manual page for the build, "--complete
/// WORD..." what the last word may become, for the shell.
/// @return whether it was asked
bool AnswerUnlisted(const CLI::App &app, std::vector<std::string> arguments) {
    if (arguments.empty())
        return false;
    const std::string question = arguments.front();
    arguments.erase(arguments.begin());
    if (question == "--man" && arguments.size() == 1) {
        tool::Terminal().Text(tool::ManPage(app, MOXPVR_VERSION, arguments.front()));
        return true;
    }
    if (question != "--complete")
        return false;
    for (const std::string &word : tool::Complete(app, arguments, NextArguments))
        tool::Terminal().Line(word);
    return true;
}

/// What a command line sets.
struct Options {
    GlobalOptions global;
    std::string input;
    tool::RecordOptions record;
    tool::PlayOptions play;
    std::string damaged;
    tool::DemoOptions demo{tool::SampleStream(), ""};
    std::string library;
    tool::EncodeOptions encode;
    tool::DecodeOptions decode;
    tool::ExplainOptions explain;
    tool::ReplayOptions replay{"", tool::SampleStream(), "", false};
    tool::RunPageOptions page;

    /// @return the files that verbs read or write; empty where an option is not given
    std::vector<std::string> Files() const {
        return {input,        record.input,  record.out, record.swapTo, play.file,
                damaged,      demo.input,    library,    explain.log,   explain.html,
                explain.json, explain.trace, page.page,  replay.log,    replay.input};
    }
};

/// @param options  outlives the verbs
std::vector<Verb> AddVerbs(CLI::App &app, Options &options) {
    using tool::Console;
    return {
        {AddServices(app, options.input),
         [&](const Console &console) { RunServices(options.input, console); }},
        {AddRecord(app, options.record, options.page),
         [&](const Console &console) {
             options.page.force = options.record.force;
             ExplainRun(options.page, "record " + options.record.out,
                        {options.record.input, options.record.out, options.record.swapTo},
                        [&] { RunRecord(options.record, console); });
         }},
        {AddPlay(app, options.play, options.page),
         [&](const Console &console) {
             ExplainRun(options.page, "play " + options.play.file, {options.play.file},
                        [&] { RunPlay(options.play, console); });
         }},
        {AddRepair(app, options.damaged),
         [&](const Console &console) { RunRepair(options.damaged, console); }},
        {AddDemo(app, options.demo, options.page),
         [&](const Console &console) {
             ExplainRun(options.page, "mox-pvr demo", {options.demo.input},
                        [&] { RunDemo(options.demo, console); });
         }},
        {AddDoctor(app, options.library),
         [&](const Console & /*console*/) { tool::RunDoctor(options.library); }},
        {AddEncode(app, options.encode),
         [&](const Console &console) { RunEncode(options.encode, console); }},
        {AddDecode(app, options.decode),
         [&](const Console &console) { RunDecode(options.decode, console); }},
        {AddExplain(app, options.explain),
         [&](const Console &console) { RunExplain(options.explain, console); }},
        {AddReplay(app, options.replay),
         [&](const Console &console) { RunReplay(options.replay, console); }},
    };
}

int Run(int argc, char **argv) {
    CLI::App app("The PVR service for one person at a desk", "mox-pvr");
    app.require_subcommand(1);
    app.fallthrough();
    app.footer("Exit code: 0 done, 1 failed, 2 usage error");
    app.formatter(std::make_shared<tool::HelpFormatter>());
    app.option_defaults()->always_capture_default();
    Options options;
    AddGlobalOptions(app, options.global);
    const std::vector<Verb> verbs = AddVerbs(app, options);
    if (AnswerUnlisted(app, {argv + 1, argv + argc}))
        return tool::kExitDone;
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return Answer(app, error);
    }

    tool::CheckLog(options.global.logFile, options.Files());
    SetUpLog(options.global, app.count("--log-level") > 0);
    tool::Terminal terminal;
    for (const Verb &verb : verbs)
        if (*verb.commandLine)
            verb.run({terminal, options.global.showRequests});
    return tool::kExitDone;
}

}  // namespace

int main(int argc, char **argv) {
    try {
        const int exitCode = Run(argc, argv);
        tool::CheckStandardOutput();
        return exitCode;
    } catch (const tool::UsageError &error) {
        std::cerr << "mox-pvr: " << error.what() << '\n';
        return tool::kExitUsageError;
    } catch (const std::exception &error) {
        std::cerr << "mox-pvr: " << error.what() << '\n';
        return tool::kExitFailed;
    }
}
