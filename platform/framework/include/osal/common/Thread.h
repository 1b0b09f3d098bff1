#pragma once

#include <pthread.h>

#include "ipl/string.h"

namespace osal {

/// A thread of the process: constructed, started once, joined or detached.
class Thread {
  public:
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    /// Starts the thread, which calls `entry()`. True on failure, with the reason in the error storage.
    bool start();

    /// Waits until the thread has ended. A thread that never started or was joined already is no failure; a thread that
    /// joins itself is one. One thread at a time may join.
    bool join();

    /// Lets the thread end by itself. For one that nobody can wait for; the object must live until `entry` has
    /// returned.
    void detach();

  protected:
    /// `name` is what the system's tools show, cut to 15 characters. With `realtime` the thread runs under the
    /// system's first-in-first-out scheduling with `priority`, which takes the right to do so.
    Thread(const ipl::string& name, bool realtime, int priority);

    /// The thread must have been joined, detached or never started.
    virtual ~Thread();

    /// What the thread does; called on the new thread.
    virtual void entry() = 0;

  private:
    static void* run(void* self);
    int create();

    ipl::string m_name;
    bool m_realtime;
    int m_priority;
    pthread_t m_thread{};
    bool m_joinable = false;
};

}  // namespace osal
