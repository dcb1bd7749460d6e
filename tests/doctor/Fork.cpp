// Leaves a process that has all that is open, and lives until the doctor has ended.
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

__attribute__((constructor)) static void LeaveAProcess() {
    constexpr int kMostMilliseconds = 60'000;
    pollfd doctor{static_cast<int>(syscall(SYS_pidfd_open, getppid(), 0)), POLLIN, 0};
    const pid_t left = fork();
    if (left == 0) {
        poll(&doctor, 1, kMostMilliseconds);
        _exit(0);
    }
    close(doctor.fd);
}
