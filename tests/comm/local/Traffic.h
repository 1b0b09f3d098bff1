#pragma once

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "Epoll.h"
#include "Outbox.h"
#include "RingReader.h"
#include "RingWriter.h"

namespace comm::transport {

/// A new ring as this process sees it, its file, and the doorbell of its reader.
struct TestRing {
    static constexpr std::uint32_t Stretch = 32U << 10;  ///< the records for which it always has pages

    /// Pages can be made to look larger than they are.
    explicit TestRing(std::uint32_t pageSize = RingMemory::systemPageSize()) : page(pageSize), view(pageSize) {
        if (view.create(file) || bell.create() || m_rings.open() || m_rings.set(bell.fd(), 1, Doorbell::Events))
            std::abort();
        (void)rang();  // to be watched counts as a ring
    }

    /// Makes it an empty one for the next user; what was written stays as it is.
    void reset() {
        new (&control()) RingControl{};
        (void)rang();
    }

    /// The same memory once more.
    RingMemory share() const {
        RingMemory memory(page);
        if (memory.adopt(file) != nullptr) std::abort();
        return memory;
    }
    /// A writer of it that is ready to write.
    RingWriter writer() const {
        Doorbell copy;
        if (copy.adopt(FileDescriptor(::dup(bell.fd()))) != nullptr) std::abort();
        RingWriter writer(share(), std::move(copy));
        if (writer.prepare()) std::abort();
        return writer;
    }
    RingControl& control() const { return view.control(); }
    /// Whether the doorbell has rung since the last question.
    bool rang() const { return !m_rings.wait(0).empty(); }
    /// The memory that it takes, its page of control included.
    std::uint32_t residentBytes() const {
        struct stat status {};
        return ::fstat(file.get(), &status) == 0 ? static_cast<std::uint32_t>(status.st_blocks) * 512 : 0;
    }

    /// What it takes at most while it is idle: its control, its first records, and the rest of their last page.
    std::uint32_t idleBytes() const { return (4096 + Stretch + page - 1) / page * page; }

    std::uint32_t page;
    FileDescriptor file;
    RingMemory view;
    Doorbell bell;

  private:
    mutable Epoll m_rings;
};

/// A call whose array are these bytes.
inline Outgoing callOf(std::span<const std::uint8_t> bytes, std::uint16_t handleSize) {
    const util::UInt8ArrayPtr none;
    Outgoing call({none, handleSize});
    call.withArray = true;
    call.length = static_cast<std::uint32_t>(bytes.size());
    call.rest = bytes;
    return call;
}

/// An honest writer and an honest reader of one ring, in one thread, that use it as a link and a connection do.
/// Whatever is sent must come out once, in order, and with its bytes, and neither side may wait in vain.
class Traffic final : private RingReader::Sink {
  public:
    static constexpr std::uint32_t Longest = 3U << 20;

    /// The ring is empty, and outlives the object.
    explicit Traffic(const TestRing& ring) : m_ring(ring), m_writer(ring.writer()), m_reader(ring.share()) {}

    /// Sends a call with an array of so many bytes, at most `Longest`, or with none at all.
    void send(std::optional<std::uint32_t> size) {
        m_missing.push_back({size, m_count++});
        Outgoing call = callOf(bytesOf(m_missing.back()), m_missing.back().number);
        call.withArray = size.has_value();
        if (m_outbox.empty() && noted(m_writer.write(call)) == RingWriter::Result::Done) return;
        check(!m_outbox.append(call), "the outbox is out of memory");
    }

    /// One round of reading, unless the reader sleeps and nobody has rung.
    void read() {
        if (m_asleep && !m_ring.rang()) return;
        m_asleep = false;
        m_reader.wakeUp();
        check(m_reader.read(*this) <= RingReader::Result::Read, m_reader.fault());
        if (m_reader.writerWaits())
            m_outbox.flush([this](Outgoing& call) { return noted(m_writer.write(call)) == RingWriter::Result::Done; });
    }

    void sendAndRead(int times, std::uint32_t size) {
        for (int i = 0; i < times; ++i) {
            send(size);
            read();
        }
    }

    /// Lets the reader fall asleep if there is nothing to read.
    void sleep() { m_asleep = m_asleep || m_reader.fallAsleep(); }

    void tidy() { m_writer.tidy(); }
    bool grown() const { return m_writer.wantsTidying(); }

    /// Reads until all has come that was sent.
    void finish() {
        while (!m_missing.empty() && fault.empty()) {
            const RingPosition head = m_ring.control().head;
            read();
            check(m_ring.control().head.load() != head, m_asleep ? "a sleeper is not woken" : "nobody is told of room");
        }
        check(!m_reader.inTheMiddle() && m_outbox.empty(), "something is left over");
    }

    std::string fault;           ///< the first thing that went wrong; empty if nothing did
    int timesFull = 0;           ///< how often there was no room
    int turns = 0;               ///< how often the ring began anew,
    std::uint32_t furthest = 0;  ///< and how far it was used before at most

  private:
    struct Sent {
        std::optional<std::uint32_t> size;
        std::uint16_t number;
    };

    // Each call's bytes begin at another place of a pattern that repeats nowhere near.
    static std::span<const std::uint8_t> bytesOf(const Sent& sent) {
        static const std::vector<std::uint8_t> pattern = [] {
            std::vector<std::uint8_t> bytes(Longest + 256);
            for (std::uint32_t i = 0; i < bytes.size(); ++i)
                bytes[i] = static_cast<std::uint8_t>(i * i * 2654435761U >> 24);
            return bytes;
        }();
        return std::span(pattern).subspan(sent.number % 256, sent.size.value_or(0));
    }

    RingWriter::Result noted(RingWriter::Result result) {
        check(result != RingWriter::Result::Broken, "the writer takes its reader for a liar");
        if (result == RingWriter::Result::Full) ++timesFull;
        const std::uint32_t tail = m_ring.control().tail.load().offset;
        if (tail < m_tail) ++turns;
        m_tail = tail;
        furthest = std::max(furthest, tail);
        return result;
    }

    bool received(const Message& message) override {
        check(!m_missing.empty() && isRight(message, m_missing.front()), "another call comes than was sent");
        check(isRight({m_kept, m_keptCall.number}, m_keptCall), "an array changes that the receiver has kept");
        if (m_missing.empty()) return false;
        if (message.handleSize % 4 == 0) {
            m_kept = message.data;
            m_keptCall = m_missing.front();
        }
        m_missing.pop_front();
        return false;
    }

    static bool isRight(const Message& message, const Sent& sent) {
        if (message.handleSize != sent.number || bool(message.data) != sent.size.has_value()) return false;
        return !sent.size || (message.data->size == *sent.size &&
                              std::memcmp(message.data->data, bytesOf(sent).data(), *sent.size) == 0);
    }

    void check(bool right, const char* what) {
        if (!right && fault.empty()) fault = what;
    }

    const TestRing& m_ring;
    RingWriter m_writer;
    RingReader m_reader;
    Outbox m_outbox;
    std::deque<Sent> m_missing;
    Sent m_keptCall{};
    util::UInt8ArrayPtr m_kept;  // of that call
    std::uint16_t m_count = 0;
    std::uint32_t m_tail = 0;
    bool m_asleep = false;
};

}  // namespace comm::transport
