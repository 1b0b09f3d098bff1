#pragma once

#include <cstdint>
#include <utility>

#include "../common/FileDescriptor.h"
#include "Ring.h"

namespace comm::transport {

/// The memory of a ring as this process sees it. The pages behind it exist once they are used.
class RingMemory {
  public:
    /// Bytes of records: a burst of ten of the longest messages of the bench, and then some.
    static constexpr std::uint32_t Capacity = 16U << 20;

    /// In bytes; the system is asked once.
    static std::uint32_t systemPageSize();

    /// The size of a page is the system's. A test may take a multiple of it.
    explicit RingMemory(std::uint32_t pageSize = systemPageSize()) : m_pageSize(pageSize) {}
    RingMemory(RingMemory&& other) noexcept
        : m_control(std::exchange(other.m_control, nullptr)), m_pageSize(other.m_pageSize) {}
    RingMemory& operator=(RingMemory&& other) noexcept {
        std::swap(m_control, other.m_control);
        std::swap(m_pageSize, other.m_pageSize);
        return *this;
    }
    RingMemory(const RingMemory&) = delete;
    RingMemory& operator=(const RingMemory&) = delete;
    ~RingMemory();

    /// Makes a new one, and gives the file by which another process can share it; it can never change its size. True on
    /// failure, with the reason in the error storage.
    [[nodiscard]] bool create(FileDescriptor& file);

    /// Shares the memory of a file that another process has made. Returns what is wrong with it, or null.
    const char* adopt(const FileDescriptor& file);

    /// Makes the pages of a part of the ring, so that using them cannot fail. True when there is no memory.
    [[nodiscard]] bool populate(std::uint32_t from, std::uint32_t to);
    /// Gives the pages that begin there or later back to the system, with what is in them. True when they stay.
    [[nodiscard]] bool discard(std::uint32_t from);

    RingControl& control() const { return *m_control; }
    std::uint8_t* ring() const { return memory() + ControlSize; }

  private:
    static constexpr std::uint32_t ControlSize = 4096;
    static constexpr std::uint32_t FileSize = ControlSize + Capacity;
    static_assert(sizeof(RingControl) <= ControlSize);

    bool map(int file);
    std::uint8_t* memory() const { return reinterpret_cast<std::uint8_t*>(m_control); }

    RingControl* m_control = nullptr;
    std::uint32_t m_pageSize;
};

}  // namespace comm::transport
