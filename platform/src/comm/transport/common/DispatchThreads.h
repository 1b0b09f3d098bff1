#pragma once

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

#include "ipl/string.h"
#include "util/Thread.h"

namespace comm::transport {

/// The dispatch threads of a transport's listeners. One that ends is joined by the next one that does, so that no more
/// than one is ever left over. Any thread.
class DispatchThreads {
  public:
    DispatchThreads();
    DispatchThreads(const DispatchThreads&) = delete;
    DispatchThreads& operator=(const DispatchThreads&) = delete;
    /// All have been joined.
    ~DispatchThreads();

    /// Starts a thread that runs `body` and lets go of it at its end. True on failure, with the reason in the error
    /// storage.
    [[nodiscard]] bool start(const ipl::string& name, std::function<void()> body);

    /// Waits until all have ended. Not on one of them.
    void joinAll();

  private:
    class Thread;

    void ended(const Thread& thread);

    // Guards what follows. No thread is joined under it.
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::map<const Thread*, std::unique_ptr<Thread>> m_running;
    std::unique_ptr<Thread> m_lastEnded;
};

}  // namespace comm::transport
