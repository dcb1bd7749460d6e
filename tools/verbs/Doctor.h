/// @file
/// Examines a library.
#ifndef TOOLS_VERBS_DOCTOR_H
#define TOOLS_VERBS_DOCTOR_H

#include <string>

namespace tool {

/// Becomes mox-pvr-doctor: this process holds a libmoxpvr.so and a platform already, and what they
/// define would take the place of what the examined library defines or lacks.
/// @throws Failure when that program cannot be started; does not return otherwise
void RunDoctor(const std::string &library);

}  // namespace tool

#endif
