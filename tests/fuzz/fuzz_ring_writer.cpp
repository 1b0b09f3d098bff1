#include "Input.h"
#include "Traffic.h"

namespace comm::transport {
namespace {

// The input plays a reader that writes what it likes while a writer writes.
class HostileReader {
  public:
    HostileReader(Input& input, const TestRing& ring) : m_input(input), m_ring(ring) {}

    void run() {
        while (!m_input.empty() && m_left > 0) {
            scribble();
            act();
        }
    }

  private:
    void scribble() {
        RingControl& control = m_ring.control();
        switch (m_input.byte() % 8) {
            case 0:
                control.head = m_input.position();
                break;
            case 1:
                control.head = aligned(m_input.take<std::uint32_t>() % RingMemory::Capacity);
                break;
            case 2:
                control.head = aligned(control.head.load().offset + m_input.byte() * RecordAlignment);
                break;
            case 3:
                control.readerSleeps = m_input.byte();
                control.writerWaits = m_input.byte();
                break;
            case 4:
                control.tail = m_input.position();
                break;
            case 5:
                control.head = control.tail.load();
                break;
            default:
                break;
        }
    }

    // Of the writer's generation, as far as the input leaves it alone.
    RingPosition aligned(std::uint32_t offset) const {
        return {offset / RecordAlignment * RecordAlignment, m_ring.control().tail.load().generation};
    }

    void act() {
        const std::array<std::uint32_t, 6> sizes{
            0, MaxPiece, MaxPiece + 1, Traffic::Longest, m_input.byte(), m_input.take<std::uint16_t>()};
        switch (m_input.byte() % 4) {
            case 0:
                m_writer.tidy();
                break;
            case 1:
                check([this] { return flush(); });
                break;
            default:
                send(m_input.oneOf(sizes));
                break;
        }
    }

    void send(std::uint32_t size) {
        static const std::vector<std::uint8_t> bytes(Traffic::Longest);
        m_left -= size;
        Outgoing call = callOf(std::span(bytes).first(size), 7);
        if (check([&] { return m_writer.write(call); }) == RingWriter::Result::Full)
            require(!m_outbox.append(call), "no memory for a call");
    }

    RingWriter::Result flush() {
        RingWriter::Result result = RingWriter::Result::Done;
        m_outbox.flush([&](Outgoing& call) {
            result = m_writer.write(call);
            return result == RingWriter::Result::Done;
        });
        return result;
    }

    template <class Write>
    RingWriter::Result check(Write write) {
        const RingControl& control = m_ring.control();
        const RingPosition before = control.tail;
        const bool slept = control.readerSleeps != 0;
        const RingWriter::Result result = write();
        const RingPosition tail = control.tail;
        require(!m_broken || result == RingWriter::Result::Broken || m_outbox.empty(), "a broken ring is used again");
        m_broken = m_broken || result == RingWriter::Result::Broken;
        if (tail == before) return result;
        require(tail.offset <= RingMemory::Capacity - recordSize(0) && tail.offset % RecordAlignment == 0,
                "the tail leaves the ring");
        require(!slept || (control.readerSleeps == 0 && m_ring.rang()), "a sleeper sleeps on");
        return result;
    }

    Input& m_input;
    const TestRing& m_ring;
    RingWriter m_writer = m_ring.writer();
    Outbox m_outbox;
    std::int64_t m_left = 24 << 20;  // bytes to send: enough to go round the ring
    bool m_broken = false;
};

}  // namespace
}  // namespace comm::transport

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static comm::transport::TestRing ring;
    ring.reset();
    Input input(data, size);
    comm::transport::HostileReader(input, ring).run();
    return 0;
}
