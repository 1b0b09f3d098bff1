#include "util/CITypesFactory.h"

#include <cstdlib>
#include <new>

namespace util {

void SharedPtrDeleter<ipl::UInt8Array>::release(void* object, void* context) {
    auto* array = static_cast<ipl::UInt8Array*>(object);
    array->size = 0;
    std::free(array->data);
    array->capacity = 0;
    array->data = nullptr;
    delete array;
    delete static_cast<SharedPtrDefaultBase::Context*>(context);
}

UInt8ArrayPtr CITypesFactory::createUInt8Array(std::uint32_t size) {
    // Fresh large blocks come from the system as zeros, so calloc touches none of their pages.
    auto* data = static_cast<std::uint8_t*>(std::calloc(size == 0 ? 1 : size, 1));
    auto* array = data == nullptr ? nullptr : new (std::nothrow) ipl::UInt8Array{size, data, size};
    if (array == nullptr) std::free(data);
    return UInt8ArrayPtr(array);
}

}  // namespace util
