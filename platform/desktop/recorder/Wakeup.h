/// @file
/// One wait for all that a recorder's thread waits for.
#ifndef TVDESKTOP_RECORDER_WAKEUP_H
#define TVDESKTOP_RECORDER_WAKEUP_H

#include <poll.h>
#include <sys/eventfd.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <system_error>

#include "system/FileDescriptor.h"

namespace tvdesktop {

/// Lets one thread wait for a time, for a file to become ready, or for another thread's news,
/// whichever comes first. Notify is thread-safe; Wait belongs to the waiting thread.
class Wakeup {
  public:
    using Timeout = std::optional<std::chrono::nanoseconds>;

    Wakeup() : m_event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
        if (!m_event.IsOpen())
            throw std::system_error(errno, std::generic_category());
    }

    void Notify() {
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = ::write(m_event.Get(), &one, sizeof one);
    }

    /// Takes every Notify that came since the last Wait.
    /// @param timeout  none: waits until there is news
    /// @param file     also waited for; -1 for none
    /// @param events   POLLIN or POLLOUT for `file`
    /// @return true when the file is ready (or has failed, which the next call on it reports)
    bool Wait(Timeout timeout, int file = -1, short events = 0) {
        pollfd waits[] = {{m_event.Get(), POLLIN, 0}, {file, events, 0}};
        timespec limit{};
        if (timeout) {
            const auto nanoseconds = std::max<std::int64_t>(0, timeout->count());
            limit.tv_sec = static_cast<time_t>(nanoseconds / 1'000'000'000);
            limit.tv_nsec = static_cast<long>(nanoseconds % 1'000'000'000);
        }
        if (::ppoll(waits, 2, timeout ? &limit : nullptr, nullptr) <= 0)
            return false;
        std::uint64_t count = 0;
        [[maybe_unused]] const ssize_t taken = ::read(m_event.Get(), &count, sizeof count);
        return waits[1].revents != 0;
    }

  private:
    FileDescriptor m_event;
};

}  // namespace tvdesktop

#endif
