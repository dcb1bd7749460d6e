// mox-pvr-doctor: what is wrong with a libmoxpvr.so, on a desk or on a television. It needs the C++
// library only.
#include <MoxPvrVersion.h>

#include <exception>
#include <iomanip>
#include <iostream>
#include <string>

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

/// @return a text of the library with what would control the terminal as \xNN
std::string WithoutControls(const std::string &text) {
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
        std::cout << "  " << std::left << std::setw(17) << fact.name << WithoutControls(fact.text)
                  << '\n';
    for (const std::string &complaint : report.complaints)
        std::cout << "complaint: " << WithoutControls(complaint) << '\n';
    if (report.complaints.empty())
        std::cout << "no complaint\n";
    std::cout.flush();
    return report.complaints.empty() && std::cout.good() ? 0 : 1;
}

/// @return the exit code
int Refuse(const std::string &reason) {
    constexpr int kUsageError = 2;
    std::cerr << "mox-pvr-doctor: " << WithoutControls(reason) << " (--help describes it)\n";
    return kUsageError;
}

}  // namespace

int main(int argc, char **argv) {
    const std::string first = argc > 1 ? argv[1] : "";
    const bool isQuestion = first == "--help" || first == "--version";
    const int place = first == "--" ? 2 : 1;  // of the library or the question
    if (argc <= place)
        return Refuse("cannot run without a library");
    if (argc > place + 1)
        return Refuse(std::string("this argument was not expected: ") + argv[place + 1]);
    if (first == "--help")
        std::cout << kUsage;
    if (first == "--version")
        std::cout << "mox-pvr-doctor " MOXPVR_VERSION "\n";
    if (isQuestion)
        return 0;
    if (place == 1 && first[0] == '-')
        return Refuse("there is no option " + first);
    try {
        return Print(argv[place], ReportOn(argv[place]));
    } catch (const std::exception &error) {
        std::cerr << "mox-pvr-doctor: " << error.what() << '\n';
        return 1;
    }
}
