#pragma once

#include "../common/Outgoing.h"
#include "Doorbell.h"
#include "RingMemory.h"

namespace comm::transport {

/// The writing side of a ring. One thread at a time.
///
/// An empty ring is used from its beginning again, so small traffic stays in a few pages, which the processor has at
/// hand. The ring grows when that is not enough, and `tidy` gives the pages back.
class RingWriter {
  public:
    enum class Result {
        Done,   ///< all of it is written
        Full,   ///< there is no room; the reader has been asked to tell when there is
        Broken  ///< the other side has written nonsense
    };

    RingWriter(RingMemory memory, Doorbell bell) : m_memory(std::move(memory)), m_bell(std::move(bell)) {}

    /// Makes the first pages. True when there is no memory for them.
    [[nodiscard]] bool prepare() { return m_memory.populate(0, SmallSize); }

    const Doorbell& doorbell() const { return m_bell; }

    /// Writes of a call what there is room for, and wakes the reader if it sleeps. Never waits.
    Result write(Outgoing& call);

    /// Takes note that the reader has told so often of new room. True if it was not asked as often.
    [[nodiscard]] bool takeAnswers(std::size_t count);

    /// Whether it holds more pages than an idle one needs, or could not get those that it needs. `tidy` is then to be
    /// called from time to time, and what found no room to be written again.
    bool wantsTidying() const { return grown() || m_short; }

    /// Gives the pages back if they are not in use and were not needed since the last call.
    void tidy();

  private:
    static constexpr std::uint32_t SmallSize = 32U << 10;
    // How far an empty ring is used before it begins anew.
    static constexpr std::uint32_t Stride = SmallSize / 2;
    static constexpr std::uint32_t GrowthStep = 256U << 10;

    bool writePieces(Outgoing& call);
    bool place(const RecordHeader& header, const std::uint8_t* body);
    bool makeRoom(std::uint32_t size);
    bool fits(std::uint32_t size);
    bool worthALook(std::uint32_t size) const;
    bool fitsAtEnd(std::uint32_t size) const { return m_tail + size + recordSize(0) <= m_size; }
    bool grow(std::uint32_t size);
    bool grown() const { return m_size != SmallSize; }
    void wrap();
    void beginAnew();
    void look();
    void publish();

    RingMemory m_memory;
    Doorbell m_bell;

    // What the reader cannot touch. Its position is that of the same generation, or none of it is read yet.
    std::uint32_t m_generation = 0;
    std::uint32_t m_tail = 0;
    std::uint32_t m_head = 0;  // as last seen, and then checked
    std::uint32_t m_size = SmallSize;
    std::uint32_t m_nextLook = Stride;  // where to see whether the ring is empty
    std::uint64_t m_questions = 0;      // to tell when there is room, and not answered
    std::uint32_t m_reach = 0;          // how much of the ring was in use since the last tidying
    bool m_short = false;               // of memory, so that room may come without the reader's doing
    bool m_broken = false;
};

}  // namespace comm::transport
