#pragma once

#include <cstdint>

#include "../common/FileDescriptor.h"

namespace comm::transport {

/// Wakes a thread that waits in `Epoll`, which may be one of another process. That one watches it for `Events`, so
/// nothing ever has to be taken from it, and a ring is never lost.
class Doorbell {
  public:
    /// What the waiting thread watches it for: each ring is an edge.
    static const std::uint32_t Events;

    Doorbell() = default;

    /// Makes a new one. True on failure, with the reason in the error storage.
    [[nodiscard]] bool create();

    /// Takes one over that another process has made. Returns what is wrong with it, or null.
    [[nodiscard]] const char* adopt(FileDescriptor bell);

    /// Any thread. Never blocks, whatever the process that shares it does to it.
    void ring() const;

    int fd() const { return m_bell.get(); }

  private:
    FileDescriptor m_bell;
};

}  // namespace comm::transport
