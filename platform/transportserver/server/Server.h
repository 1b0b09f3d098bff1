#pragma once

#include <fuse3/fuse_lowlevel.h>

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string>

#include "FileSystem.h"
#include "MountPoint.h"
#include "ReceiveBuffers.h"
#include "Thread.h"

namespace transport {

/// The file system, mounted and served by threads of its own.
///
/// Signals that ask the program to end must be blocked before it is started; waitForEnd() takes them.
class Server {
  public:
    explicit Server(const Channel::Limits& limits) : m_files(limits) {}
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;
    /// Answers all that waits with an error, and unmounts.
    ~Server();

    /// Blocks them for this thread and all that it starts.
    static void blockSignals();

    /// Mounts it on a prepared mount point and begins to serve; call it once. True on failure: see reason().
    [[nodiscard]] bool start(const MountPoint& mountPoint);
    /// The cause of a failure, and its mend.
    const std::string& reason() const { return m_reason; }

    /// Blocks until a signal asks the program to end, or somebody else has unmounted the file system.
    static void waitForEnd();

  private:
    enum class Phase { Starting, Serving, Ending };

    bool makeSession(std::uint64_t place);
    bool startThreads();
    bool mount(const std::string& mountPoint);
    void enter(Phase phase);
    void serve();
    void joinThreads();
    bool fail(const std::string& cause, const std::string& mend);

    ReceiveBuffers m_buffers;  // what the channels of m_files hold goes back there
    FileSystem m_files;
    fuse_session* m_session = nullptr;
    bool m_isMounted = false;
    std::string m_reason;

    std::mutex m_mutex;  // guards the two below
    Phase m_phase = Phase::Starting;
    std::size_t m_running = 0;
    std::condition_variable m_changed;
    std::deque<Thread> m_threads;
};

}  // namespace transport
