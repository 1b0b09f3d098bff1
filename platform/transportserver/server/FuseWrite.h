#pragma once

#include "InterruptibleRequest.h"

namespace transport {

/// A write request of the kernel, to be made on the thread and in the call that carries it out.
class FuseWrite final : public WriteRequest {
  public:
    /// `channel` must outlive the request.
    FuseWrite(fuse_req_t request, std::span<const std::byte> bytes, Channel& channel)
        : m_bytes(bytes), m_request(request, channel, *this) {}

    std::span<const std::byte> bytes() const override { return m_bytes; }
    std::shared_ptr<const void> keep() override;
    void answer(int error, std::span<const Slice> bytes) override;

  private:
    std::span<const std::byte> m_bytes;
    InterruptibleRequest m_request;
};

}  // namespace transport
