#pragma once

#include <cstdint>

#include "ipl/UInt8Array.h"
#include "util/SharedPtr.h"

namespace util {

template <>
struct SharedPtrDeleter<ipl::UInt8Array> {
    static void release(void* object, void* context);
};

using UInt8ArrayPtr = SharedPtr<ipl::UInt8Array>;

/// Makes the types that interfaces pass. Any thread may call it.
class CITypesFactory {
  public:
    /// An array of `size` bytes, all 0, of just that capacity; an array of size 0 is an array too. An empty pointer
    /// when there is no memory for it.
    static UInt8ArrayPtr createUInt8Array(std::uint32_t size);
};

}  // namespace util
