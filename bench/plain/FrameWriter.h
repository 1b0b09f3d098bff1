#pragma once

#include <cstdint>
#include <span>

namespace bench {

/// Sends frames over a connected stream socket: the payload's length in 4 bytes, then the payload.
///
/// One thread uses it. It does not own the socket.
class FrameWriter {
  public:
    static constexpr int SendBuffer = 1 << 20;  ///< bytes that may be under way, as far as the system allows

    explicit FrameWriter(int socket);

    /// Blocks until the system has taken the whole frame. Returns true on failure, with the reason in `errno`.
    [[nodiscard]] bool send(std::span<const std::uint8_t> payload) const;

  private:
    int m_socket;
};

}  // namespace bench
