#pragma once

#include <memory>
#include <mutex>
#include <vector>

namespace transport {

/// Memory for the requests that the kernel hands over, used again and again: fresh memory would cost as much as a copy.
///
/// The FUSE library allocates it and this class frees it. Safe for several threads at once.
class ReceiveBuffers {
  public:
    ReceiveBuffers() = default;
    ReceiveBuffers(const ReceiveBuffers&) = delete;
    ReceiveBuffers& operator=(const ReceiveBuffers&) = delete;
    ~ReceiveBuffers();

    /// Memory that was given back, or null when there is none.
    void* take();
    void giveBack(void* memory);
    /// Gives the memory back with its last owner. This object must outlive that.
    std::shared_ptr<const void> share(void* memory);

  private:
    static constexpr std::size_t Kept = 4;  // a channel of the usual capacity, as it fills and drains

    std::mutex m_mutex;  // guards m_free
    std::vector<void*> m_free;
};

}  // namespace transport
