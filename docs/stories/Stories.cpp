// Runs the library through a story, and writes it down as Markdown: the text of the script, and
// after each step what was sent, what the library did, and what came back.
//
//   stories SCRIPT PAGE
//
// A script is Markdown, except for lines that start with
//
//   > STEP       done, and written down (Step.h has the steps)
//   - STEP       done, and only named
//   ! PLATFORM   how the platform is from there on
//
// A line that ends in "\" continues in the next.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>

#include "FakePlatform.h"
#include "library/BusMessages.h"
#include "Step.h"
#include "StoryRecord.h"

namespace {

constexpr std::size_t kDigitsPerLine = 64;

// --- The parts of a step -------------------------------------------------------------------------

std::string Block(const std::string &language, const std::string &text) {
    return text.empty() ? "" : "\n```" + language + "\n" + text + "```\n";
}

std::string Paragraph(const std::string &text) {
    return text.empty() ? "" : '\n' + text + '\n';
}

/// A request text in lines; of lines that hold zeros alone only their number is left.
std::string InLines(const std::string &digits) {
    std::string lines;
    std::size_t zeros = 0;
    for (std::size_t at = 0; at < digits.size(); at += kDigitsPerLine) {
        const std::string line = digits.substr(at, kDigitsPerLine);
        if (line.find_first_not_of('0') == std::string::npos) {
            zeros += line.size();
            continue;
        }
        lines += zeros > 0 ? Format("(%zu zeros)\n", zeros) : "";
        lines += line + '\n';
        zeros = 0;
    }
    return lines + (zeros > 0 ? Format("(%zu zeros)\n", zeros) : "");
}

/// The decoded record of an event.
std::string EventTable(const std::string &number, std::string bytes) {
    bytes.erase(std::remove(bytes.begin(), bytes.end(), ' '), bytes.end());
    const auto *digits = reinterpret_cast<const unsigned char *>(bytes.data());
    const auto decode = [&](auto event) {
        if (!moxpvr::DecodeText(digits, bytes.size(), event))
            throw std::runtime_error("cannot read the event " + bytes);
        return Paragraph("Event " + number + " `" + event.Name() + "`:") + '\n' + TableOf(event);
    };
    return std::stoi(number) == moxpvr::SIGNAL_PVR_SYS_CHANGE
               ? decode(moxpvr::SysChangeEvent{})
               : decode(moxpvr::RecorderStartedEvent{});
}

/// What happened, in order.
struct Happenings {
    std::string effects;  ///< calls and events
    std::string lines;    ///< the same among the log lines
    int logged = 0;
    std::string events;  ///< tables
};

Happenings Read(const std::string &journal) {
    static const std::regex kLog(R"(log (\d+) (\w+)\((\w+)\): (.*))");
    static const std::regex kEvent(R"(event (\d+)( \(-?\d+, \d+\))?((?: [0-9a-f]{8}){4}))");
    static const std::regex kLongRequest(R"((inData\[[0-9a-f]{64})[0-9a-f]+\])");
    Happenings all;
    std::istringstream entries(journal);
    for (std::string entry; std::getline(entries, entry);) {
        std::smatch part;
        if (entry.compare(0, 3, "BAD") == 0)
            throw std::runtime_error(entry);
        if (std::regex_match(entry, part, kLog)) {
            all.lines += Format("log %-3s ", part.str(1).c_str()) + part.str(3) +
                         ".cpp: " + part.str(2) + " > " +
                         std::regex_replace(part.str(4), kLongRequest, "$1...]") + '\n';
            ++all.logged;
            continue;
        }
        const bool isEvent = std::regex_match(entry, part, kEvent);
        const std::string line =
            isEvent ? "event   " + entry.substr(6) : "call    " + WithPropertyNames(entry);
        all.lines += line + '\n';
        all.effects += line + '\n';
        if (isEvent)
            all.events += EventTable(part.str(1), part.str(3));
    }
    return all;
}

std::string Log(const Happenings &happenings) {
    if (happenings.logged == 0)
        return "";
    return Format("\n<details><summary>Log, %d line%s</summary>\n", happenings.logged,
                  happenings.logged == 1 ? "" : "s") +
           Block("", happenings.lines) + "\n</details>\n";
}

// --- A page --------------------------------------------------------------------------------------

/// @return what happened since the last look
Happenings TakeHappenings() {
    if (Fake().callbackUser != nullptr)
        Fake().Name(Fake().callbackUser, "instance");
    return Read(Fake().All());
}

std::string WriteStep(const std::string &line) {
    const Step step = Perform(line);
    const Happenings happenings = TakeHappenings();
    return Block("cpp", step.code) + Paragraph(step.what) + Block("", InLines(step.request)) +
           Paragraph(step.fields) +
           (happenings.effects.empty() ? Paragraph("No platform call.")
                                       : Block("", happenings.effects)) +
           Paragraph(step.answer) + Paragraph(step.reply) + happenings.events + Log(happenings);
}

std::string NameStep(const std::string &line) {
    const Step step = Perform(line);
    TakeHappenings();
    if (step.answer != "Answer: 0." && !step.answer.empty())
        throw std::runtime_error(step.answer);
    return "- `" + line + "`\n";
}

/// @return what the page has for a line of the script
std::string WriteLine(const std::string &line) {
    const std::string kind = line.substr(0, 2);
    if (kind == "> ")
        return WriteStep(line.substr(2));
    if (kind == "- ")
        return NameStep(line.substr(2));
    if (kind == "! ")
        return Paragraph("Platform: " + SetPlatform(line.substr(2)) + '.');
    return line + '\n';
}

std::string WritePage(std::istream &script) {
    std::string page;
    for (std::string line, more; std::getline(script, line);) {
        while (!line.empty() && line.back() == '\\' && std::getline(script, more))
            line.replace(line.size() - 1, 1, more);
        try {
            page += WriteLine(line);
        } catch (const std::exception &failure) {
            throw std::runtime_error(line + ": " + failure.what());
        }
    }
    return std::regex_replace(page, std::regex("\n{3,}"), "\n\n");
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s SCRIPT PAGE\n", argv[0]);
        return 2;
    }
    try {
        std::ifstream script(argv[1]);
        if (!script)
            throw std::runtime_error("cannot be read");
        MessageSource();                                       // starts GStreamer
        g_set_printerr_handler([](const char * /*text*/) {});  // the pages have the log alone
        Fake().Reset();
        const std::string page = WritePage(script);
        std::ofstream out(argv[2]);
        if (!(out << page << std::flush))
            throw std::runtime_error("cannot write " + std::string(argv[2]));
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "stories: %s: %s\n", argv[1], failure.what());
        return 1;
    }
    return 0;
}
