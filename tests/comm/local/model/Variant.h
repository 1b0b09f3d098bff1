#pragma once

#include "RingOrders.h"

namespace model {

/// The ring's protocol as it is shipped, unless something of it is changed.
struct Variant {
    comm::transport::RingOrders orders;

    bool readerLooksAgain = true;     ///< at the tail, when it has raised its flag
    bool writerLooksAgain = true;     ///< at the head, when it has asked for room
    bool recordComesFirst = true;     ///< and then the tail moves
    bool fullIsNotEmpty = true;       ///< a full ring keeps room between its tail and its head
    bool countsGenerations = true;    ///< the positions say how often the ring has begun anew
    bool anewOnlyIfEmpty = true;      ///< and not while records are to be read
    bool discardsOnlyIfEmpty = true;  ///< the same for the pages that are given back
    bool marksTheEnd = true;          ///< where the ring goes on at the beginning
    bool toleratesOldHead = true;     ///< of a reader that has not yet seen that the ring began anew
};

}  // namespace model
