#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <span>
#include <vector>

#include "Slice.h"

namespace transport {

/// Bytes in their order. Not safe for several threads at once, but what was taken is its taker's.
class ByteQueue {
  public:
    std::size_t size() const { return m_size; }
    bool isEmpty() const { return m_size == 0; }

    /// Appends bytes where they are; they must have an owner.
    void append(Slice slice);
    /// Appends a copy. Copies are packed, so that many small ones take little more memory than their bytes.
    void copy(std::span<const std::byte> bytes);
    /// Removes the first bytes, this many or all there are.
    std::vector<Slice> take(std::size_t atMost);

  private:
    static constexpr std::size_t BlockSize = 64U << 10;

    std::deque<Slice> m_slices;
    std::size_t m_size = 0;
    // Where copies are packed: the used part is never written again, since it may have been taken.
    std::shared_ptr<std::byte[]> m_block;
    std::size_t m_blockUsed = BlockSize;
};

}  // namespace transport
