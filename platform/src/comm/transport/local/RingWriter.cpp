#include "RingWriter.h"

#include <algorithm>
#include <cstring>

namespace comm::transport {

RingWriter::Result RingWriter::write(Outgoing& call) {
    bool written = false;
    if (call.length > MaxPiece) {
        written = writePieces(call);
    } else {
        const std::uint16_t kind = call.withArray ? RecordHeader::CallWithArray : RecordHeader::Call;
        written = place({call.length, kind, call.handleSize}, call.rest.data());
    }
    if (m_broken) return Result::Broken;
    return written ? Result::Done : Result::Full;
}

bool RingWriter::writePieces(Outgoing& call) {
    if (!call.begun) call.begun = place({call.length, RecordHeader::LongCall, call.handleSize}, nullptr);
    if (!call.begun) return false;
    while (!call.rest.empty()) {
        const auto count = static_cast<std::uint32_t>(std::min<std::size_t>(call.rest.size(), MaxPiece));
        if (!place({count, RecordHeader::Piece, 0}, call.rest.data())) return false;
        call.rest = call.rest.subspan(count);
    }
    return true;
}

// Writes a record and shows it to the reader; false if there is no room. Only a `LongCall` has a length without bytes.
bool RingWriter::place(const RecordHeader& header, const std::uint8_t* body) {
    const std::uint32_t count = header.kind == RecordHeader::LongCall ? 0 : header.length;
    const std::uint32_t size = recordSize(count);
    if (!makeRoom(size)) return false;
    std::uint8_t* const record = m_memory.ring() + m_tail;
    std::memcpy(record, &header, sizeof header);
    if (count != 0) std::memcpy(record + sizeof header, body, count);
    m_tail += size;
    m_reach = std::max(m_reach, m_tail);
    publish();
    return true;
}

// The reader is asked to tell of new room, and looked at once more, as it may have made some before it could see that.
bool RingWriter::makeRoom(std::uint32_t size) {
    if (fits(size)) return true;
    ++m_questions;
    m_memory.control().writerWaits.store(1, Orders.askForRoom);
    return fits(size);
}

bool RingWriter::takeAnswers(std::size_t count) {
    if (count > m_questions) return true;
    m_questions -= count;
    return false;
}

// Whether a record of that size can be written at the tail, which may have moved to the beginning for it. Behind a
// record at the end there is always room to say that the ring goes on at the beginning.
bool RingWriter::fits(std::uint32_t size) {
    if (worthALook(size)) look();
    if (m_broken) return false;
    if (m_tail < m_head) return m_tail + size < m_head;
    if (m_tail == m_head && m_tail >= Stride) beginAnew();
    if (fitsAtEnd(size) || grow(size)) return true;
    if (size >= m_head) return false;
    wrap();
    return true;
}

// The reader's line is fetched from another processor, so it is left alone until there may be something to gain: there
// is no room otherwise, or the ring may be empty, as it is when the reader sleeps.
bool RingWriter::worthALook(std::uint32_t size) const {
    if (m_tail < m_head) return m_tail + size >= m_head;
    if (m_tail >= m_nextLook || !fitsAtEnd(size)) return true;
    return m_tail >= Stride && m_memory.control().readerSleeps.load(Orders.guessSleeper) != 0;
}

// Step by step, so that no call pays for many pages.
bool RingWriter::grow(std::uint32_t size) {
    while (m_size < RingMemory::Capacity && !fitsAtEnd(size)) {
        const std::uint32_t larger = m_size + std::min(m_size, GrowthStep);
        m_short = m_memory.populate(m_size, larger);
        if (m_short) return false;
        m_size = larger;
    }
    return fitsAtEnd(size);
}

// There is no way round at the end, so the record says so.
void RingWriter::wrap() {
    const RecordHeader header{0, RecordHeader::Wrap, 0};
    std::memcpy(m_memory.ring() + m_tail, &header, sizeof header);
    m_tail = 0;
    m_nextLook = Stride;
}

// Everything is read, so the reader has no way to go, and all of the ring is free. Never twice without a record
// between, which the reader would not understand.
void RingWriter::beginAnew() {
    ++m_generation;
    m_head = 0;
    m_tail = 0;
    m_nextLook = Stride;
}

// Sees how far the reader is. What it has written may be anything, but only a position between what was to be read
// and where the writer is can be true.
void RingWriter::look() {
    const auto [head, generation] = m_memory.control().head.load(Orders.lookAtHead);
    m_nextLook = m_tail + Stride;
    if (generation + 1 == m_generation) return;  // it has not looked since the writer has begun anew
    const bool behind = head < m_head;
    const bool beyond = head > m_tail;
    const bool possible = m_tail >= m_head ? !behind && !beyond : !behind || !beyond;
    m_broken = m_broken || !possible || generation != m_generation || head % RecordAlignment != 0 || head >= m_size;
    if (!m_broken) m_head = head;
}

void RingWriter::publish() {
    RingControl& control = m_memory.control();
    control.tail.store({m_tail, m_generation}, Orders.publishTail);
    if (control.readerSleeps.load(Orders.lookForSleeper) != 0 &&
        control.readerSleeps.exchange(0, Orders.wakeSleeper) != 0)
        m_bell.ring();
}

void RingWriter::tidy() {
    m_short = false;
    if (std::exchange(m_reach, 0) > SmallSize || !grown()) return;
    look();
    if (m_broken || m_head != m_tail) return;
    if (m_tail != 0) beginAnew();
    publish();  // before the pages go: no reader looks behind it now
    // Where it fails, the pages stay, and nothing else is lost.
    (void)m_memory.discard(SmallSize);
    m_size = SmallSize;
}

}  // namespace comm::transport
