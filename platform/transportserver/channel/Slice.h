#pragma once

#include <cstddef>
#include <memory>

namespace transport {

/// Some bytes in a row, and what keeps them in memory.
struct Slice {
    std::shared_ptr<const void> owner;  ///< null: they last as long as the call that they are given to
    const std::byte* data;
    std::size_t size;
};

}  // namespace transport
