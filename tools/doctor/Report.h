/// @file
/// What the doctor found.
#ifndef TOOLS_DOCTOR_REPORT_H
#define TOOLS_DOCTOR_REPORT_H

#include <string>
#include <vector>

namespace doctor {

/// Facts, and what is wrong: a sentence each, about the library, lower case without a full stop.
struct Report {
    struct Fact {
        std::string name;
        std::string text;
    };
    std::vector<Fact> facts;
    std::vector<std::string> complaints;
};

/// @return the names as one text, those of C++ as they are written in C++
std::string ListText(const std::vector<std::string> &symbols);

}  // namespace doctor

#endif
