#pragma once

#include <sys/epoll.h>

#include <array>
#include <cstdint>
#include <span>

#include "../common/FileDescriptor.h"

namespace comm::transport {

/// Waits for several descriptors at once, each known by a number of the user's choice, and for a wake-up by another
/// thread, which is number 0.
class Epoll {
  public:
    static constexpr std::uint64_t WakeUp = 0;

    /// As many events are reported at once at most.
    static constexpr std::size_t MostEvents = 32;

    /// True on failure, with the reason in the error storage.
    [[nodiscard]] bool open();

    /// Watches a descriptor for `EPOLL...` events, or changes what it is watched for. A closed descriptor is forgotten.
    /// Any thread. True on failure, with the reason in the error storage.
    [[nodiscard]] bool set(int fd, std::uint64_t number, std::uint32_t events);

    /// Watches a descriptor no more; needed only where another process keeps what it stands for open. Any thread.
    void remove(int fd);

    /// Makes this and every later `wait` return at once, with the wake-up among its events. Any thread.
    void wakeUp();

    static constexpr int NoLimit = -1;

    /// Blocks until something happens or that many milliseconds have passed. What it gives is good until the next call.
    /// One thread at a time.
    std::span<const epoll_event> wait(int milliseconds = NoLimit);

  private:
    FileDescriptor m_epoll;
    FileDescriptor m_wakeUp;
    std::array<epoll_event, MostEvents> m_events{};
};

}  // namespace comm::transport
