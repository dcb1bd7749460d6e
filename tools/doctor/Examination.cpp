#include "Examination.h"

#include <MoxPvrVersion.h>

#include <algorithm>
#include <set>

#include "text/TextParts.h"

namespace doctor {

namespace {

using tool::StartsWith;

constexpr char kSoname[] = "libmoxpvr.so.";  ///< with the major version

/// @return whether a path is a folder or below it
bool IsWithin(const std::string &path, const std::string &folder) {
    return path == folder || StartsWith(path, folder + '/');
}

std::string Quoted(const std::string &text) {
    return "'" + text + "'";
}

void ExamineName(const ElfLibrary &library, Report &report) {
    const std::string expected = kSoname + std::to_string(MOXPVR_VERSION_MAJOR);
    report.facts.push_back({"SONAME", library.soname.empty() ? "none" : library.soname});
    if (library.soname.empty())
        report.complaints.push_back(
            "it has no SONAME, so what is linked to it asks for its path; " + expected +
            " is expected");
    else if (library.soname != expected)
        report.complaints.push_back("its SONAME is " + library.soname + ", where " + expected +
                                    " is expected");
}

void ExamineStay(const ElfLibrary &library, Report &report) {
    report.facts.push_back({"after dlclose", library.isKept ? "stays" : "goes"});
    if (!library.isKept)
        report.complaints.emplace_back(
            "it goes with dlclose, though callbacks of the platform point into it: link it with -z "
            "nodelete");
}

/// @return what is wrong with a folder of a search path; empty when nothing is
std::string FolderProblem(const std::string &folder) {
    if (folder.empty())
        return "an empty entry, which is whatever folder the process is in";
    for (const char *ownFolder : {"$ORIGIN", "${ORIGIN}"})
        if (IsWithin(folder, ownFolder))
            return "";
    if (folder[0] != '/')
        return Quoted(folder) + ", which depends on the folder that the process is in";
    for (const char *system : {"/lib", "/lib32", "/lib64", "/usr", "/opt"})
        if (IsWithin(folder, system))
            return "";
    return Quoted(folder) + ", a folder of the machine that it was built on";
}

void ExamineSearchPath(const SearchPath &path, Report &report) {
    report.facts.push_back({path.kind, path.folders.empty() ? "empty" : path.folders});
    std::size_t start = 0;
    while (start <= path.folders.size()) {
        const std::size_t end = std::min(path.folders.find(':', start), path.folders.size());
        const std::string problem = FolderProblem(path.folders.substr(start, end - start));
        if (!problem.empty())
            report.complaints.push_back("its " + std::string(path.kind) + " has " + problem);
        start = end + 1;
    }
}

void ExamineExports(const ElfLibrary &library, Report &report) {
    const std::set<std::string> exported(library.exported.begin(), library.exported.end());
    std::set<std::string> others = exported;
    std::vector<std::string> missing;
    for (std::size_t i = 0; i < kDocumentedSymbolCount; ++i) {
        const DocumentedSymbol &symbol = kDocumentedSymbols[i];
        if (others.erase(symbol.name) == 0 && !symbol.isOptional)
            missing.emplace_back(symbol.name);
    }
    report.facts.push_back({"exports", std::to_string(exported.size()) +
                                           " symbols; documented are those of " MOXPVR_VERSION});
    if (!missing.empty())
        report.complaints.push_back("it does not export " + ListText(missing));
    if (!others.empty())
        report.complaints.push_back("it exports what is not documented: " +
                                    ListText({others.begin(), others.end()}));
}

void ExamineNeeds(const ElfLibrary &library, Report &report) {
    std::string needed;
    for (const std::string &name : library.needed)
        needed += (needed.empty() ? "" : ", ") + name;
    report.facts.push_back({"needs", std::to_string(library.required.size()) + " symbols of " +
                                         (needed.empty() ? "the process that loads it" : needed)});
}

}  // namespace

void Examine(const ElfLibrary &library, Report &report) {
    report.facts.push_back({"machine", MachineText(library.machine)});
    ExamineName(library, report);
    ExamineStay(library, report);
    for (const SearchPath &path : library.searchPaths)
        ExamineSearchPath(path, report);
    ExamineExports(library, report);
    ExamineNeeds(library, report);
    report.facts.push_back({"start functions", std::to_string(library.startFunctions)});
}

}  // namespace doctor
