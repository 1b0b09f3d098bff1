#pragma once

#include <memory>
#include <mutex>

#include "RuntimeDirectory.h"

namespace comm::transport {

/// The runtime directory that is in use. A log-out or somebody who cleans up may remove it while the process runs; it
/// is then opened anew. Any thread.
class CurrentDirectory {
  public:
    enum class Result {
        Same,     ///< it is where it was
        Changed,  ///< it was gone, and another one is in use now
        Failed    ///< it is gone, and there is no other one; the reason is in the error storage
    };

    /// As `RuntimeDirectory::open`.
    [[nodiscard]] bool open();

    /// The one in use, which its user may keep.
    std::shared_ptr<const RuntimeDirectory> get() const;

    /// Opens it anew if it is gone.
    [[nodiscard]] Result refresh();

  private:
    // Guards what follows.
    mutable std::mutex m_mutex;
    std::shared_ptr<const RuntimeDirectory> m_directory;
};

}  // namespace comm::transport
