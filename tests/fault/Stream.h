#pragma once

#include <cstdint>
#include <cstring>

#include "TestService.h"

/// What a message of the suite begins with when it has room for it. In what follows, and in shorter messages, each byte
/// of a connection is one more than the one before.
struct StreamHeader {
    std::uint32_t connection;  ///< of all connections of a run; a later one of the same worker has a higher number
    std::uint32_t sequence;    ///< among the messages of the connection
    std::uint32_t replyTo;     ///< the instance that waits for an answer, or 0
    std::uint32_t token;       ///< of a question and its answer, or 0
};

/// The messages of one connection, in order. Also a message without room for a header says whose and which it is, in
/// its handle size: a tag of the connection and the low bits of the sequence. No connection has tag 0.
class Stream {
  public:
    static constexpr unsigned SequenceBits = 5;
    static constexpr unsigned ConnectionsPerWorker = 32;
    static constexpr unsigned WorkerTags = 63;

    Stream() = default;
    Stream(std::uint32_t worker, std::uint32_t index) : m_worker(worker), m_index(index) {}

    std::uint32_t connection() const { return m_worker << 16U | m_index; }
    std::uint32_t count() const { return m_sequence; }

    util::UInt8ArrayPtr next(std::uint32_t size, std::uint32_t replyTo = 0, std::uint32_t token = 0) {
        const bool headed = size >= sizeof(StreamHeader);
        const auto first = static_cast<std::uint8_t>(m_counter - (headed ? sizeof(StreamHeader) : 0));
        util::UInt8ArrayPtr array = countingArray(size, first);
        const StreamHeader header{connection(), m_sequence, replyTo, token};
        if (headed) std::memcpy(array->data, &header, sizeof header);
        m_counter = static_cast<std::uint8_t>(first + size);
        ++m_sequence;
        return array;
    }

    /// Of the message that `next` gave last.
    std::uint16_t handleSize() const {
        const std::uint32_t tag = 1 + m_worker % WorkerTags * ConnectionsPerWorker + m_index % ConnectionsPerWorker;
        return static_cast<std::uint16_t>(tag << SequenceBits | ((m_sequence - 1) & ((1U << SequenceBits) - 1)));
    }

  private:
    std::uint32_t m_worker = 0;
    std::uint32_t m_index = 0;
    std::uint32_t m_sequence = 0;
    std::uint8_t m_counter = 0;
};
