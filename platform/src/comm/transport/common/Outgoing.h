#pragma once

#include <cstdint>
#include <span>

#include "comm/Message.h"

namespace comm::transport {

/// A call on its way, as far as it has not been written. The bytes belong to somebody else.
struct Outgoing {
    explicit Outgoing(const Message& message)
        : handleSize(message.handleSize), withArray(message.data), length(message.data ? message.data->size : 0) {
        if (withArray) rest = {message.data->data, length};
    }

    std::uint16_t handleSize;
    bool withArray;
    std::uint32_t length;  ///< of the whole array
    bool begun = false;    ///< the array comes in pieces, and their announcement is written
    std::span<const std::uint8_t> rest;
};

}  // namespace comm::transport
