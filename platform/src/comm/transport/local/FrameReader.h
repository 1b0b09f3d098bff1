#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "Frame.h"
#include "comm/Message.h"

namespace comm::transport {

/// Takes what comes from a connection apart. It believes nothing: a length is checked before memory is taken for it.
class FrameReader {
  public:
    /// Where complete frames go. Reading ends at once when one of them returns true.
    class Sink {
      public:
        virtual ~Sink() = default;
        virtual bool greeted(const GreetingBody& greeting) = 0;
        virtual bool received(const Message& message) = 0;
    };

    enum class Result {
        MoreToCome,  ///< what was there has been read
        Stopped,     ///< the sink wanted no more
        Ended,       ///< the peer has closed the connection behind a complete frame
        Broken       ///< the connection is of no use any more; `fault` says why
    };

    /// Reads once what has arrived, without waiting for more, and hands on what is complete.
    Result read(int fd, Sink& sink);

    const char* fault() const { return m_fault; }

  private:
    static constexpr std::size_t StagingSize = 65536;

    static constexpr std::uint32_t LongFrame = 16 * 1024;

    long receive(int fd);
    std::size_t lookAhead() const;
    Result takeFrames(Sink& sink);
    bool takeHeader();
    bool prepareArray(std::uint32_t length);
    bool deliver(Sink& sink);
    bool broken(const char* fault);
    std::size_t staged() const { return m_end - m_begin; }
    std::uint32_t missing() const { return m_inFrame ? m_header.length - m_filled : 0; }

    // Small frames are taken from here, many at a time; the bytes of an array go straight to it once it has begun.
    std::array<std::uint8_t, StagingSize> m_staging;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;

    bool m_inFrame = false;  // the header is complete, `m_filled` bytes of the frame's body are there
    FrameHeader m_header{};
    std::uint32_t m_filled = 0;
    std::uint8_t* m_body = nullptr;  // where they go
    GreetingBody m_greeting;
    // Used again for the next message unless the receiver has kept it.
    util::UInt8ArrayPtr m_array;

    const char* m_fault = "";
};

}  // namespace comm::transport
