#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <span>

#include "Frame.h"

namespace comm::transport {

/// The bytes that a socket did not take, in order. Not safe for several threads at once.
class Outbox {
  public:
    /// What it holds at most: a whole burst of the largest kind that the bench sends, and then some.
    static constexpr std::size_t Limit = 160U << 20;

    enum class Result { Done, Later, Lost };

    bool empty() const { return m_pieces.empty(); }
    bool full() const { return m_size > Limit; }
    void clear();

    /// Appends a copy of a frame, without the first `skip` bytes, which are on their way already. True when there is no
    /// memory for it.
    bool append(const FrameHeader& header, std::span<const std::uint8_t> body, std::size_t skip);

    /// Sends a frame with nothing waiting before it, and keeps what the socket does not take.
    Result send(int fd, const FrameHeader& header, std::span<const std::uint8_t> body);

    /// Sends on what is waiting, without waiting for the receiver.
    Result flush(int fd);

  private:
    struct Piece {
        std::unique_ptr<std::uint8_t[]> bytes;
        std::size_t size;
        std::size_t sent;
    };

    std::deque<Piece> m_pieces;
    std::size_t m_size = 0;
};

}  // namespace comm::transport
