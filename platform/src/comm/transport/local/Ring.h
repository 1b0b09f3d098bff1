#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "../common/Limits.h"
#include "RingOrders.h"

/// How calls lie in the memory that a link and the connection at its other end share: first the positions and flags of
/// both sides, and then a ring of records. One side writes, the other one reads, and neither believes the other.
namespace comm::transport {

/// Where a side is in the ring.
struct alignas(std::uint64_t) RingPosition {
    std::uint32_t offset = 0;      ///< into the ring, a multiple of `RecordAlignment`
    std::uint32_t generation = 0;  ///< how often the writer has begun anew, which it may when everything is read

    friend bool operator==(const RingPosition&, const RingPosition&) = default;
};

/// What the memory begins with. Where both positions are equal, there is nothing to read.
struct RingControl {
    using Position = std::atomic<RingPosition>;
    using Flag = std::atomic<std::uint32_t>;
    static_assert(Position::is_always_lock_free && Flag::is_always_lock_free);

    // The writer's line, and the flag that it looks at when it has moved the tail.
    alignas(64) Position tail;  ///< where the next record will begin: all before it is complete
    Flag readerSleeps;          ///< not 0: the reader sleeps until its doorbell rings. Whoever clears it rings

    // The reader's line.
    alignas(64) Position head;  ///< the first record that is not read
    Flag writerWaits;  ///< not 0: the writer wants a byte through the socket when there is room. Whoever clears
                       ///< it sends it
};

/// What a record begins with. The next one begins behind its bytes, at a multiple of `RecordAlignment`.
struct RecordHeader {
    enum Kind : std::uint16_t {
        Wrap = 0x5a01,           ///< the next record is at the beginning of the ring
        Call = 0x5a02,           ///< a call without an array
        CallWithArray = 0x5a03,  ///< a call whose array is the `length` bytes that follow, at most `MaxPiece`
        LongCall = 0x5a04,       ///< a call whose array of `length` bytes comes in the pieces that follow
        Piece = 0x5a05           ///< the next `length` bytes of that array, at most `MaxPiece`
    };

    std::uint32_t length;
    std::uint16_t kind;
    std::uint16_t handleSize;
};
static_assert(sizeof(RecordHeader) == 8);

constexpr std::uint32_t RecordAlignment = sizeof(RecordHeader);

/// The reader takes a piece out while the next one is written.
constexpr std::uint32_t MaxPiece = 64U << 10;

/// The room that a record with so many bytes takes.
constexpr std::uint32_t recordSize(std::uint32_t length) {
    return RecordAlignment + (length + RecordAlignment - 1) / RecordAlignment * RecordAlignment;
}

}  // namespace comm::transport
