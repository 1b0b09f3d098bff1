#include "RingReader.h"

#include <bit>
#include <cstring>

namespace comm::transport {

// One round ends at the tail as it was at the beginning.
RingReader::Result RingReader::read(Sink& sink) {
    const RingPosition tail = m_end ? *m_end : m_memory.control().tail.load(Orders.lookAtTail);
    if (tail == m_position) return Result::Empty;
    if (follow(tail)) return broken("it claims an impossible position");
    Result result = Result::Read;
    for (int i = 0; i < MostRecords && m_position.offset != tail.offset && result == Result::Read; ++i)
        result = takeRecord(tail.offset, sink);
    return result;
}

// Goes along to the next generation; true if there cannot be such a tail.
bool RingReader::follow(RingPosition tail) {
    if (tail.generation == m_position.generation + 1) {
        m_position.generation = tail.generation;
        moveTo(0);
    }
    return tail.generation != m_position.generation || tail.offset % RecordAlignment != 0 ||
           tail.offset >= RingMemory::Capacity;
}

RingReader::Result RingReader::takeRecord(std::uint32_t tail, Sink& sink) {
    const RecordHeader header = this->header();
    if (header.kind == RecordHeader::Wrap) return goToBeginning(tail);
    // Behind the last record before the end there is one that says so.
    const std::uint32_t end = tail > m_position.offset ? tail : RingMemory::Capacity - recordSize(0);
    const std::uint32_t length = header.kind == RecordHeader::LongCall ? 0 : header.length;
    if (length > MaxPiece || recordSize(length) > end - m_position.offset)
        return broken("a record claims an impossible length");
    return take(header, sink);
}

// At most once in a round: from the beginning on the tail is ahead.
RingReader::Result RingReader::goToBeginning(std::uint32_t tail) {
    if (tail > m_position.offset) return broken("its ring ends at an impossible position");
    moveTo(0);
    return Result::Read;
}

// Copied in one go, so that it cannot change between the check and the use.
RecordHeader RingReader::header() const {
    auto* const record = reinterpret_cast<std::uint64_t*>(m_memory.ring() + m_position.offset);
    return std::bit_cast<RecordHeader>(std::atomic_ref(*record).load(std::memory_order_relaxed));
}

RingReader::Result RingReader::take(const RecordHeader& header, Sink& sink) {
    if (header.kind == RecordHeader::Piece)
        return header.length != 0 ? takePiece(header.length, sink) : broken("a piece has no bytes");
    if (m_missing != 0) return broken("a call begins in the middle of another one");
    m_handleSize = header.handleSize;
    switch (header.kind) {
        case RecordHeader::Call:
            return header.length == 0 ? takeCall(sink) : broken("a call without an array has bytes");
        case RecordHeader::CallWithArray:
            return begin(header.length) ? Result::Broken : takePiece(header.length, sink);
        case RecordHeader::LongCall:
            return takeLongCall(header.length);
        default:
            return broken("it sent something that is no message");
    }
}

RingReader::Result RingReader::takeCall(Sink& sink) {
    advance(0);
    return sink.received({util::UInt8ArrayPtr(), m_handleSize}) ? Result::Stopped : Result::Read;
}

RingReader::Result RingReader::takeLongCall(std::uint32_t length) {
    if (length <= MaxPiece || length > MaxArray) return broken("a message claims an impossible length");
    if (begin(length)) return Result::Broken;
    advance(0);
    return Result::Read;
}

RingReader::Result RingReader::takePiece(std::uint32_t length, Sink& sink) {
    if (length > m_missing) return broken("a piece belongs to no message");
    if (length != 0)
        std::memcpy(m_array->data + (m_array->size - m_missing),
                    m_memory.ring() + m_position.offset + sizeof(RecordHeader), length);
    m_missing -= length;
    advance(length);
    if (m_missing != 0) return Result::Read;
    return sink.received({m_array, m_handleSize}) ? Result::Stopped : Result::Read;
}

// Begins an array; true if there is no memory for it.
bool RingReader::begin(std::uint32_t length) {
    if (!m_array.unique() || m_array->capacity < length) m_array = util::CITypesFactory::createUInt8Array(length);
    if (!m_array) {
        broken("there is no memory for its message");
        return true;
    }
    m_array->size = length;
    m_missing = length;
    return false;
}

// The record has been copied, so its room is free before anybody looks at the copy.
void RingReader::advance(std::uint32_t length) {
    moveTo(m_position.offset + recordSize(length));
}

void RingReader::moveTo(std::uint32_t offset) {
    m_position.offset = offset;
    m_memory.control().head.store(m_position, Orders.freeRecord);
}

bool RingReader::writerWaits() {
    RingControl& control = m_memory.control();
    // In one order with the writer, which raises its flag and then looks at the head: one of the two sees the other.
    control.head.store(m_position, Orders.publishHead);
    return control.writerWaits.load(Orders.lookForWaiter) != 0 &&
           control.writerWaits.exchange(0, Orders.answerWaiter) != 0;
}

bool RingReader::fallAsleep() {
    RingControl& control = m_memory.control();
    control.readerSleeps.store(1, Orders.raiseSleep);
    if (control.tail.load(Orders.lookAgainAtTail) == m_position) return true;
    wakeUp();
    return false;
}

void RingReader::wakeUp() {
    RingControl::Flag& sleeps = m_memory.control().readerSleeps;
    if (sleeps.load(Orders.lowerSleep) != 0) sleeps.store(0, Orders.lowerSleep);
}

RingReader::Result RingReader::broken(const char* fault) {
    m_fault = fault;
    return Result::Broken;
}

}  // namespace comm::transport
