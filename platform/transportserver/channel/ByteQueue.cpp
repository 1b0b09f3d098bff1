#include "ByteQueue.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace transport {

void ByteQueue::append(Slice slice) {
    m_size += slice.size;
    m_slices.push_back(std::move(slice));
}

void ByteQueue::copy(std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        if (m_blockUsed == BlockSize) {
            m_block = std::make_shared_for_overwrite<std::byte[]>(BlockSize);
            m_blockUsed = 0;
        }
        const std::size_t count = std::min(bytes.size(), BlockSize - m_blockUsed);
        std::byte* const end = m_block.get() + m_blockUsed;
        std::memcpy(end, bytes.data(), count);
        if (!m_slices.empty() && m_slices.back().owner == m_block)
            m_slices.back().size += count;
        else
            m_slices.push_back({m_block, end, count});
        m_blockUsed += count;
        m_size += count;
        bytes = bytes.subspan(count);
    }
}

std::vector<Slice> ByteQueue::take(std::size_t atMost) {
    std::vector<Slice> taken;
    for (std::size_t left = std::min(atMost, m_size); left > 0;) {
        Slice& first = m_slices.front();
        const std::size_t count = std::min(left, first.size);
        left -= count;
        m_size -= count;
        if (count < first.size) {
            taken.push_back({first.owner, first.data, count});
            first.data += count;
            first.size -= count;
        } else {
            taken.push_back(std::move(first));
            m_slices.pop_front();
        }
    }
    return taken;
}

}  // namespace transport
