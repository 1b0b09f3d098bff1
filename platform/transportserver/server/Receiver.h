#pragma once

#include <fuse3/fuse_lowlevel.h>

#include <memory>

#include "ReceiveBuffers.h"

namespace transport {

/// Takes requests from the kernel and has them carried out, one after the other, on the thread that runs it.
class Receiver {
  public:
    /// Both must outlive the receiver.
    Receiver(fuse_session* session, ReceiveBuffers& buffers) : m_session(session), m_buffers(buffers) {}
    Receiver(const Receiver&) = delete;
    Receiver& operator=(const Receiver&) = delete;
    ~Receiver();

    /// Returns when the session has ended, or with the next signal after it was told to end.
    void run();

    /// While a request is carried out, on its thread: makes the request's memory last as long as the returned owner.
    static std::shared_ptr<const void> keepMemory();

  private:
    fuse_session* const m_session;
    ReceiveBuffers& m_buffers;
    fuse_buf m_buffer{};
};

}  // namespace transport
