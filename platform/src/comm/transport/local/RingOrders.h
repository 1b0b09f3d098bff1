#pragma once

#include <atomic>

namespace comm::transport {

/// The memory order of each access to a `RingControl`. The model in `tests/comm/local/model` runs under these same
/// orders, and reports what goes wrong with weaker ones.
///
/// Two pairs of accesses stand in one order, so that of the two sides at least one sees what the other has done: a side
/// writes its position and then looks at the other one's flag, which raises its flag and then looks at the position.
struct RingOrders {
    using Order = std::memory_order;

    // The reader.
    Order lookAtTail = Order::acquire;  ///< the records before the tail are complete
    Order freeRecord = Order::release;  ///< the records before the head have been copied
    Order raiseSleep = Order::seq_cst;
    Order lookAgainAtTail = Order::seq_cst;  ///< after the flag: has the writer moved the tail before it could see it?
    Order lowerSleep = Order::relaxed;       ///< nothing follows from it but a ring too many
    Order publishHead = Order::seq_cst;      ///< after a round, before the reader looks for a waiting writer
    Order lookForWaiter = Order::seq_cst;
    Order answerWaiter = Order::seq_cst;

    // The writer.
    Order publishTail = Order::seq_cst;  ///< behind complete records, before the writer looks for a sleeping reader
    Order lookForSleeper = Order::seq_cst;
    Order wakeSleeper = Order::seq_cst;
    Order guessSleeper = Order::relaxed;  ///< whether a look at the head is worth it; nothing else follows from it
    Order askForRoom = Order::seq_cst;
    Order lookAtHead = Order::seq_cst;  ///< the records before it have been copied; also after having asked for room
};

inline constexpr RingOrders Orders;

}  // namespace comm::transport
