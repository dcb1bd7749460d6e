#include "help/ManPage.h"

#include <algorithm>
#include <cctype>
#include <sstream>

#include "help/HelpFormatter.h"

namespace tool {

namespace {

constexpr std::size_t kLineWidth = 79;

/// @return text that roff shows as it is
std::string Escaped(const std::string &text) {
    std::string escaped;
    for (const char c : text) {
        if (c == '\\')
            escaped += "\\e";
        else if (c == '-')
            escaped += "\\-";
        else
            escaped += c;
    }
    // A line that starts with one of these would be a request.
    return escaped.find_first_of(".'") == 0 ? "\\&" + escaped : escaped;
}

std::string Bold(const std::string &text) {
    return "\\fB" + Escaped(text) + "\\fR";
}

std::string Italic(const std::string &text) {
    return "\\fI" + Escaped(text) + "\\fR";
}

std::string Upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

/// Running text in lines that are not too long.
std::string Filled(const std::string &text) {
    std::istringstream words(text);
    std::string filled;
    std::string line;
    for (std::string word; words >> word;) {
        if (!line.empty() && Escaped(line).size() + 1 + Escaped(word).size() > kLineWidth) {
            filled += Escaped(line) + "\n";
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
    }
    return line.empty() ? filled : filled + Escaped(line) + "\n";
}

/// A paragraph of a help text, in which lines that are indented stay lines.
std::string Paragraph(const std::string &text) {
    std::istringstream lines(text);
    std::string page = ".PP\n";
    std::string running;
    bool isList = false;
    for (std::string line; std::getline(lines, line);) {
        const bool isItem = line.rfind("  ", 0) == 0;
        if (isItem && !isList) {
            page.append(Filled(running)).append(".RS 4\n.nf\n");
            running.clear();
        } else if (!isItem && isList) {
            page += ".fi\n.RE\n";
        }
        if (isItem)
            page.append(Escaped(line.substr(2))).append("\n");
        else
            running.append(" ").append(line);
        isList = isItem;
    }
    return page + (isList ? ".fi\n.RE\n" : Filled(running));
}

/// @return the help text after a verb's options, without what ends every verb's
std::string OwnFooter(const CLI::App &verb) {
    std::string footer = verb.get_footer();
    const std::string common = verb.get_parent()->get_footer();
    if (footer.size() >= common.size() &&
        footer.compare(footer.size() - common.size(), common.size(), common) == 0)
        footer.resize(footer.size() - common.size());
    return footer;
}

std::string Paragraphs(const std::string &text) {
    std::string page;
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = std::min(text.find("\n\n", begin), text.size());
        if (end > begin)
            page += Paragraph(text.substr(begin, end - begin));
        begin = end + 2;
    }
    return page;
}

std::vector<const CLI::Option *> Shown(const CLI::App &app, bool isPositional) {
    return app.get_options([&](const CLI::Option *option) {
        return !option->get_group().empty() && option->get_positional() == isPositional &&
               (option != app.get_help_ptr() || app.get_parent() == nullptr);
    });
}

std::string OptionItem(const CLI::Option &option) {
    const std::string title = OptionTitle(option);
    const std::size_t end = option.get_positional() ? 0 : std::min(title.find(' '), title.size());
    return ".TP\n" + (end > 0 ? Bold(title.substr(0, end)) : "") +
           (end < title.size() ? Italic(title.substr(end)) : "") + "\n" +
           Filled(OptionHelp(option) +
                  (option.get_required() && !option.get_positional() ? " (required)" : ""));
}

std::string OptionItems(const CLI::App &app) {
    std::string page;
    for (const bool isPositional : {true, false})
        for (const CLI::Option *option : Shown(app, isPositional))
            page += OptionItem(*option);
    return page;
}

std::string Usage(const CLI::App &verb) {
    std::string arguments;
    for (const CLI::Option *option : Shown(verb, false))
        if (option->get_required())
            arguments += " " + OptionTitle(*option);
    if (!Shown(verb, false).empty())
        arguments += " [OPTIONS]";
    for (const CLI::Option *argument : Shown(verb, true))
        arguments += " " + ArgumentUsage(*argument);
    return Bold(verb.get_parent()->get_name() + " " + verb.get_name()) +
           (arguments.empty() ? "" : " " + Italic(arguments.substr(1))) + "\n";
}

std::vector<const CLI::App *> Verbs(const CLI::App &app) {
    return app.get_subcommands([](const CLI::App *verb) {
        return !verb->get_name().empty() && !verb->get_group().empty();
    });
}

}  // namespace

std::string ManPage(const CLI::App &app, const std::string &version, const std::string &date) {
    const std::string &name = app.get_name();
    std::string page = ".TH " + Upper(Escaped(name)) + " 1 " + date + " \"" +
                       Escaped(name + " " + version) + "\" \"User Commands\"\n.nh\n.SH NAME\n" +
                       Escaped(name) + " \\- " + Escaped(app.get_description()) +
                       "\n.SH SYNOPSIS\n";
    for (const CLI::App *verb : Verbs(app))
        page += (verb == Verbs(app).front() ? "" : ".br\n") + Usage(*verb);
    page += ".SH OPTIONS\nThese are for every verb.\n" + OptionItems(app) + ".SH VERBS\n";
    for (const CLI::App *verb : Verbs(app))
        page += ".SS " + Escaped(verb->get_name()) + "\n" + Filled(verb->get_description() + ".") +
                OptionItems(*verb) + Paragraphs(OwnFooter(*verb));
    return page + ".SH EXIT STATUS\n" + Filled(app.get_footer() + ".");
}

}  // namespace tool
