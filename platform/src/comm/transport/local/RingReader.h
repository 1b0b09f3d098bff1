#pragma once

#include <optional>

#include "RingMemory.h"
#include "comm/Message.h"

namespace comm::transport {

/// The reading side of a ring. It believes nothing: whatever it takes from the shared memory it takes once, and checks
/// before it uses it. One thread at a time.
class RingReader {
  public:
    /// Where complete calls go. Reading ends at once when it returns true.
    class Sink {
      public:
        virtual ~Sink() = default;
        virtual bool received(const Message& message) = 0;
    };

    enum class Result {
        Empty,    ///< there was nothing
        Read,     ///< what was there has been read
        Stopped,  ///< the sink wanted no more
        Broken    ///< the connection is of no use any more; `fault` says why
    };

    explicit RingReader(RingMemory memory) : m_memory(std::move(memory)) {}

    /// Reads what is there at this moment, or a good part of that, and hands on what is complete.
    Result read(Sink& sink);

    /// From now on only what is there at this moment is read: the writer is said to have gone.
    void readOnlyWhatIsThere() { m_end = m_memory.control().tail.load(Orders.lookAtTail); }

    /// Whether the writer wants to be told that there is room again; asked after a read.
    bool writerWaits();

    /// Whether there is something to read.
    bool hasSomething() const { return m_memory.control().tail.load(Orders.lookAtTail) != m_position; }

    /// Announces that the reader sleeps: from now on the writer rings the doorbell. False if there is something to
    /// read, and then it is not announced.
    bool fallAsleep();
    void wakeUp();

    /// Whether a call has arrived in part.
    bool inTheMiddle() const { return m_missing != 0; }

    const char* fault() const { return m_fault; }

  private:
    RecordHeader header() const;
    Result takeRecord(std::uint32_t tail, Sink& sink);
    Result goToBeginning(std::uint32_t tail);
    bool follow(RingPosition tail);
    void moveTo(std::uint32_t offset);
    Result take(const RecordHeader& header, Sink& sink);
    Result takeCall(Sink& sink);
    Result takeLongCall(std::uint32_t length);
    Result takePiece(std::uint32_t length, Sink& sink);
    bool begin(std::uint32_t length);
    void advance(std::uint32_t length);
    Result broken(const char* fault);

    // How many records are read at once, so that a peer that never stops does not keep the reader from its others.
    static constexpr int MostRecords = 64;

    RingMemory m_memory;
    RingPosition m_position;            // of the next record
    std::optional<RingPosition> m_end;  // of all that is to be read

    // Used again for the next call unless the receiver has kept it.
    util::UInt8ArrayPtr m_array;
    std::uint32_t m_missing = 0;  // bytes of it that are still to come
    std::uint16_t m_handleSize = 0;

    const char* m_fault = "";
};

}  // namespace comm::transport
