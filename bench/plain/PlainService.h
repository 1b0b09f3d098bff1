#pragma once

#include <cstdint>
#include <span>

#include "FrameReader.h"
#include "FrameWriter.h"

namespace bench {

/// The receiving side of the plain exchange: takes each message into its own memory, checks it and answers every burst
/// with an empty reply.
class PlainService {
  public:
    /// `payload`: bytes of every message; `burst`: messages per reply. The sockets stay the caller's.
    PlainService(int messages, int replies, std::size_t payload, std::uint64_t burst);

    /// Serves on the calling thread until the peer closes the connection after a whole burst. Returns true when
    /// anything else ends it, a wrong message included, with a line on standard error.
    [[nodiscard]] bool serve();

  private:
    bool isExpected(std::span<const std::uint8_t> message) const;

    FrameReader m_reader;
    FrameWriter m_writer;
    std::size_t m_payload;
    std::uint64_t m_burst;
    std::uint64_t m_count = 0;
};

}  // namespace bench
