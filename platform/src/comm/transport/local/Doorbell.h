#pragma once

#include "../common/FileDescriptor.h"

namespace comm::transport {

/// Wakes a thread that waits in `Epoll`, which may be one of another process. It is watched for edges, so nothing ever
/// has to be read from it, and a ring is never lost.
class Doorbell {
  public:
    Doorbell() = default;

    /// Makes a new one. True on failure, with the reason in the error storage.
    [[nodiscard]] bool create();

    /// Takes one over that another process has made. Returns what is wrong with it, or null.
    const char* adopt(FileDescriptor bell);

    /// Any thread.
    void ring() const;

    int fd() const { return m_bell.get(); }

  private:
    FileDescriptor m_bell;
};

}  // namespace comm::transport
