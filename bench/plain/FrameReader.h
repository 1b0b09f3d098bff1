#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace bench {

/// Reads the frames that a `FrameWriter` sends.
///
/// Small frames are taken many at a time from a staging buffer; of a large one the payload goes straight from the
/// system into the receive buffer. One thread uses it. It does not own the socket.
class FrameReader {
  public:
    enum class Result { Frame, End, Failed };

    /// `largest`: no frame's payload is longer, in bytes.
    FrameReader(int socket, std::size_t largest);

    /// Blocks until a whole frame is there. `End`: the peer closed the connection between two frames. `Failed`: it
    /// broke off within one, the socket failed, or a frame is longer than agreed.
    [[nodiscard]] Result next();

    /// The payload of the last frame; it stands until the next call of `next`.
    std::span<const std::uint8_t> payload() const { return {m_room.data(), m_length}; }

  private:
    std::size_t read(std::uint8_t* target, std::size_t wanted);
    std::size_t receive(std::uint8_t* target, std::size_t wanted);
    std::size_t lookAhead() const;

    int m_socket;
    std::vector<std::uint8_t> m_room;
    std::vector<std::uint8_t> m_staging;
    std::size_t m_from = 0;  ///< the staged bytes not yet taken
    std::size_t m_to = 0;
    std::size_t m_length = 0;
};

}  // namespace bench
