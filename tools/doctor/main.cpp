// mox-pvr-doctor: what is wrong with a libmoxpvr.so, on a desk or on a television. It needs the C++
// library only.
#include <MoxPvrVersion.h>

#include <cstring>
#include <exception>
#include <iostream>

#include "Examination.h"
#include "Trial.h"

namespace {

constexpr char kUsage[] =
    "usage: mox-pvr-doctor LIBRARY\n"
    "\n"
    "Examines a libmoxpvr.so: what it is for, exports and needs, where it looks for that, and\n"
    "whether it can be loaded, registered with and unloaded a hundred times. A library for "
    "another\n"
    "machine is examined, not loaded. Platform libraries that the process is to provide are named "
    "in\n"
    "LD_PRELOAD.\n"
    "\n"
    "Exit code: 0 no complaint, 1 complaints, 2 usage error\n";

constexpr int kUsageError = 2;

doctor::Report ReportOn(const std::string &path) {
    doctor::Report report;
    try {
        const doctor::ElfLibrary library = doctor::ReadElf(path);
        Examine(library, report);
        if (library.machine == doctor::ThisMachine())
            Try(path, library, report);
        else
            report.facts.push_back(
                {"tried", "not at all: this machine is " + MachineText(doctor::ThisMachine())});
    } catch (const doctor::NotALibrary &problem) {
        report.complaints.push_back(std::string("the file ") + problem.what());
    }
    return report;
}

/// @return a text of the library without what would control the terminal
std::string Printable(const std::string &text) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string printable;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7F)
            printable.append("\\x").append({kDigits[byte >> 4], kDigits[byte & 15]});
        else
            printable += c;
    }
    return printable;
}

/// @return the exit code
int Print(const std::string &path, const doctor::Report &report) {
    std::cout << path << '\n';
    for (const doctor::Report::Fact &fact : report.facts)
        std::cout << "  " << fact.name << std::string(15 - fact.name.size(), ' ')
                  << Printable(fact.text) << '\n';
    for (const std::string &complaint : report.complaints)
        std::cout << "complaint: " << Printable(complaint) << '\n';
    if (report.complaints.empty())
        std::cout << "no complaint\n";
    std::cout.flush();
    return report.complaints.empty() && std::cout.good() ? 0 : 1;
}

}  // namespace

int main(int argc, char **argv) {
    const int first = argc > 1 && std::strcmp(argv[1], "--") == 0 ? 2 : 1;
    if (argc == 2 && std::strcmp(argv[1], "--help") == 0) {
        std::cout << kUsage;
        return 0;
    }
    if (argc == 2 && std::strcmp(argv[1], "--version") == 0) {
        std::cout << "mox-pvr-doctor " MOXPVR_VERSION "\n";
        return 0;
    }
    if (argc != first + 1 || (first == 1 && argv[1][0] == '-')) {
        std::cerr << "mox-pvr-doctor: cannot run without one library (--help describes it)\n";
        return kUsageError;
    }
    try {
        return Print(argv[first], ReportOn(argv[first]));
    } catch (const std::exception &error) {
        std::cerr << "mox-pvr-doctor: " << error.what() << '\n';
        return 1;
    }
}
