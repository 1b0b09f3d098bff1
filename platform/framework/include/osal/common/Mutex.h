#pragma once

#include <pthread.h>

namespace osal {

using Mutex = pthread_mutex_t;

/// Operations on POSIX mutexes. Those that return bool give true on failure, with the reason in the error storage.
class MutexOps {
  public:
    /// Makes a mutex. `recursive`: its holder may lock it again; `errorChecking`: wrong use is reported instead of
    /// blocking for ever; `shared`: it works between processes that share its memory.
    static bool init(Mutex& mutex, bool recursive, bool errorChecking, bool shared);
    static bool destroy(Mutex& mutex);

    /// Take the error number of a failed `pthread_mutex_lock` or `pthread_mutex_unlock`: both report a failed
    /// assertion and return, so that the caller goes on.
    static void handleLockError(int errorNumber);
    static void handleUnlockError(int errorNumber);
};

/// Holds a mutex for a scope.
class MutexGuard {
  public:
    explicit MutexGuard(Mutex& mutex);
    MutexGuard(const MutexGuard&) = delete;
    MutexGuard& operator=(const MutexGuard&) = delete;
    ~MutexGuard();

  private:
    Mutex& m_mutex;
};

}  // namespace osal
