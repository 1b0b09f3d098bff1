#pragma once

#include <cstdint>

namespace ipl {

/// A byte array as the interfaces pass it. `util::CITypesFactory` makes and releases it.
struct UInt8Array {
    std::uint32_t size;      ///< bytes in use, at most `capacity`
    std::uint8_t* data;      ///< the storage
    std::uint32_t capacity;  ///< bytes of storage
};

}  // namespace ipl
