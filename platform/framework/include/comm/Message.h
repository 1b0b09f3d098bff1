#pragma once

#include <cstdint>

#include "util/CITypesFactory.h"

namespace comm {

/// One call of an interface as it travels: everything by value on the way, so the sender may change its array as soon
/// as the call has returned, and the receiver gets an array of its own.
struct Message {
    const util::UInt8ArrayPtr& data;  ///< the payload; empty means that the call carries no array
    std::uint16_t handleSize;
};

}  // namespace comm
