/// @file
/// What comes along with the program, wherever it was installed or built.
#ifndef TOOLS_VERBS_COMPANIONFILE_H
#define TOOLS_VERBS_COMPANIONFILE_H

#include <string>

namespace tool {

/// @return path of the sample stream
std::string SampleStream();

/// @return path of mox-pvr-doctor
std::string DoctorProgram();

}  // namespace tool

#endif
