#pragma once

#include "../common/FileDescriptor.h"
#include "../common/RuntimeDirectory.h"
#include "ipl/vector.h"

namespace comm::transport {

/// Reports what happens to the names in the runtime directory. One thread.
class DirectoryWatch {
  public:
    struct Changes {
        ipl::vector<ipl::string> appeared;
        ipl::vector<ipl::string> removed;
        bool overflow = false;       ///< changes were lost: anything may have appeared or gone
        bool directoryGone = false;  ///< it may be another one that has the path now
    };

    /// True on failure, with the reason in the error storage.
    [[nodiscard]] bool open();
    /// Follows that directory from now on, and no other one. True on failure, as above.
    [[nodiscard]] bool follow(const RuntimeDirectory& directory);

    /// What has happened since the last call. Does not wait.
    Changes read();

    int fd() const { return m_inotify.get(); }

  private:
    FileDescriptor m_inotify;
    int m_watch = -1;
};

}  // namespace comm::transport
