#include "Input.h"
#include "Traffic.h"

namespace comm::transport {
namespace {

// The input writes and scribbles while a reader reads, also between two records of one round.
class HostileWriter final : private RingReader::Sink {
  public:
    HostileWriter(Input& input, const TestRing& ring) : m_input(input), m_ring(ring) {}
    HostileWriter(const HostileWriter&) = delete;
    HostileWriter& operator=(const HostileWriter&) = delete;
    ~HostileWriter() override {
        for (const auto& [at, count] : m_written) std::memset(m_ring.view.ring() + at, 0, count);
    }

    void run() {
        while (!m_input.empty() && !m_over) {
            scribble();
            if (m_input.byte() % 4 == 0) read();
        }
        do
            if (!m_over) read();
        while (!m_over && m_reader.hasSomething());
    }

  private:
    static constexpr std::uint32_t End = RingMemory::Capacity - recordSize(0);

    void scribble() {
        RingControl& control = m_ring.control();
        switch (m_input.byte() % 8) {
            case 0:
                put(m_input.take<std::uint32_t>() % End, m_input.take(m_input.byte()));
                break;
            case 1:
                control.tail = m_input.position();
                break;
            case 2:
                control.head = m_input.position();
                break;
            case 3:
                control.readerSleeps = m_input.byte();
                control.writerWaits = m_input.byte();
                break;
            case 4:
                goToTheEnd();
                break;
            case 5:
                m_at = {0, m_at.generation + 1};
                break;
            default:
                record();
                break;
        }
    }

    // A record that is right or nearly so.
    void record() {
        const std::uint32_t left = End - m_at.offset;
        const auto any = m_input.take<std::uint16_t>();
        const std::array<std::uint32_t, 12> lengths{
            0, 1, 8, 9, MaxPiece - 1, MaxPiece, MaxPiece + 1, MaxArray, MaxArray + 1, left - recordSize(0), left, any};
        const std::uint32_t length = m_input.oneOf(lengths);
        const auto kind = static_cast<std::uint16_t>(RecordHeader::Wrap + m_input.byte() % 6);
        put({length, kind, m_input.take<std::uint16_t>()});
        if (kind == RecordHeader::Wrap)
            m_at.offset = 0;
        else
            m_at.offset += recordSize(kind == RecordHeader::LongCall ? 0 : length % RingMemory::Capacity);
        m_at.offset = std::min(m_at.offset, End);
        m_ring.control().tail = m_at;
    }

    // The end of a ring takes time to reach, so an input gets there twice at most.
    void goToTheEnd() {
        if (m_trips++ == 2) return;
        for (; m_at.offset + recordSize(MaxPiece) <= End; m_at.offset += recordSize(MaxPiece))
            put({MaxPiece, RecordHeader::CallWithArray, 0});
        m_ring.control().tail = m_at;
    }

    void put(const RecordHeader& header) {
        std::array<std::uint8_t, sizeof header> bytes{};
        std::memcpy(bytes.data(), &header, sizeof header);
        put(m_at.offset, bytes);
    }

    void put(std::uint32_t at, std::span<const std::uint8_t> bytes) {
        const std::size_t count = std::min<std::size_t>(bytes.size(), RingMemory::Capacity - at);
        std::copy_n(bytes.begin(), count, m_ring.view.ring() + at);
        m_written.emplace_back(at, count);
    }

    void read() {
        const RingPosition tail = m_ring.control().tail;
        const RingReader::Result result = m_reader.read(*this);
        require(result != RingReader::Result::Stopped, "the reader stops on its own");
        m_over = result == RingReader::Result::Broken;
        require(m_over == (*m_reader.fault() != '\0'), "a break has no reason, or there is a reason for none");
        (void)m_reader.writerWaits();
        const RingPosition head = m_ring.control().head;
        require(m_over || head == tail || head != m_head, "a round comes no further");
        m_head = head;
        require(head.offset <= End && head.offset % RecordAlignment == 0, "the reader has left the ring");
        const bool more = m_ring.control().tail.load() != head;
        require(m_reader.hasSomething() == more && m_reader.fallAsleep() != more, "it sleeps over something");
        m_reader.wakeUp();
    }

    bool received(const Message& message) override {
        static std::vector<std::uint8_t> copy(MaxArray);
        require(!m_reader.inTheMiddle(), "half a call is delivered");
        if (message.data) {
            require(message.data->size <= MaxArray, "an array is too long");
            // Touches every byte, and quickly.
            std::memcpy(copy.data(), message.data->data, message.data->size);
        }
        if (m_input.byte() % 4 == 0) scribble();
        return false;
    }

    Input& m_input;
    const TestRing& m_ring;
    RingReader m_reader{m_ring.share()};
    std::vector<std::pair<std::uint32_t, std::size_t>> m_written;
    RingPosition m_at;    // where the next record goes
    RingPosition m_head;  // after the last round
    int m_trips = 0;
    bool m_over = false;
};

}  // namespace
}  // namespace comm::transport

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // The pages of a new ring would cost more than all that is done with them.
    static comm::transport::TestRing ring;
    ring.reset();
    Input input(data, size);
    comm::transport::HostileWriter(input, ring).run();
    return 0;
}
