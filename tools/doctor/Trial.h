/// @file
/// Loads a library and uses it, as a service would.
#ifndef TOOLS_DOCTOR_TRIAL_H
#define TOOLS_DOCTOR_TRIAL_H

#include "ElfLibrary.h"
#include "Report.h"

namespace doctor {

/// Loads, registers and unloads the library a hundred times, in a process of its own, so that
/// whatever becomes of that one is only reported. Nothing of the platform is used but its log: what
/// is registered are objects of the doctor.
void Try(const std::string &path, const ElfLibrary &library, Report &report);

}  // namespace doctor

#endif
