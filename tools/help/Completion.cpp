#include "help/Completion.h"

#include <algorithm>

#include "help/HelpFormatter.h"

namespace tool {

namespace {

bool IsOption(const std::string &word) {
    return word.size() > 1 && word[0] == '-';
}

/// What a command line says up to the word that is to be completed.
struct Line {
    const CLI::App *verb = nullptr;
    std::vector<std::string> arguments;
    bool isUnknown = false;    ///< there is no such verb
    bool awaitsValue = false;  ///< the last word is an option that takes one
};

bool AwaitsValue(const CLI::App &app, const CLI::App *verb, const std::string &option) {
    if (option.find('=') != std::string::npos)
        return false;
    for (const CLI::App *owner : {verb, &app})
        if (owner != nullptr)
            if (const CLI::Option *known = owner->get_option_no_throw(option))
                return TakesValue(*known);
    return false;
}

const CLI::App *FindVerb(const CLI::App &app, const std::string &name) {
    for (const CLI::App *verb : app.get_subcommands({}))
        if (verb->get_name() == name)
            return verb;
    return nullptr;
}

Line Read(const CLI::App &app, const std::vector<std::string> &words) {
    Line line;
    for (std::size_t i = 0; i + 1 < words.size(); ++i) {
        const std::string &word = words[i];
        if (line.awaitsValue) {
            line.awaitsValue = false;
        } else if (IsOption(word)) {
            line.awaitsValue = AwaitsValue(app, line.verb, word);
        } else if (line.verb != nullptr) {
            line.arguments.push_back(word);
        } else {
            line.verb = FindVerb(app, word);
            line.isUnknown = line.isUnknown || line.verb == nullptr;
        }
    }
    return line;
}

void AddOptions(const CLI::App &app, std::vector<std::string> &words) {
    for (const CLI::Option *option : app.get_options({}))
        if (!option->get_group().empty())
            for (const std::string &name : option->get_lnames())
                words.push_back("--" + name);
}

std::vector<std::string> NextWords(const CLI::App &app, const Line &line, bool isOption,
                                   const ArgumentCompleter &completeArgument) {
    std::vector<std::string> words;
    if (isOption) {
        if (line.verb != nullptr)
            AddOptions(*line.verb, words);
        AddOptions(app, words);
    } else if (line.verb != nullptr) {
        words = completeArgument(line.verb->get_name(), line.arguments);
    } else {
        for (const CLI::App *verb : app.get_subcommands({}))
            if (!verb->get_group().empty())
                words.push_back(verb->get_name());
    }
    return words;
}

}  // namespace

std::vector<std::string> Complete(const CLI::App &app, const std::vector<std::string> &words,
                                  const ArgumentCompleter &completeArgument) {
    const Line line = Read(app, words);
    const std::string begun = words.empty() ? "" : words.back();
    if (line.isUnknown || line.awaitsValue || begun.find('=') != std::string::npos)
        return {};
    std::vector<std::string> next =
        NextWords(app, line, begun.rfind('-', 0) == 0, completeArgument);
    next.erase(std::remove_if(next.begin(), next.end(),
                              [&](const std::string &word) { return word.rfind(begun, 0) != 0; }),
               next.end());
    std::sort(next.begin(), next.end());
    next.erase(std::unique(next.begin(), next.end()), next.end());
    return next;
}

}  // namespace tool
