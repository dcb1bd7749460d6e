#include "verbs/Doctor.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "Failure.h"
#include "verbs/CompanionFile.h"

namespace tool {

void RunDoctor(const std::string &library) {
    const std::string program = DoctorProgram();
    execl(program.c_str(), "mox-pvr-doctor", "--", library.c_str(), nullptr);
    throw Failure("cannot start " + program + ": " + std::strerror(errno) +
                  " (it belongs beside mox-pvr)");
}

}  // namespace tool
