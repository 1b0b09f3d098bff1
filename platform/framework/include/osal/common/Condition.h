#pragma once

#include <pthread.h>

namespace osal {

using Condition = pthread_cond_t;

/// Operations on POSIX condition variables. `true` is failure, with the reason in the error storage.
class ConditionOps {
  public:
    /// Makes a condition variable whose timed waits follow the clock of `Time::getTime`. `shared`: it works between
    /// processes that share its memory.
    static bool init(Condition& condition, bool shared);
    static bool destroy(Condition& condition);

    /// Takes the error number of a failed `pthread_cond_signal`; true if it is an error, which is recorded.
    static bool handleSignalError(int errorNumber);

    /// Takes the error number of a failed wait. Positive: the time is over; 0: take it as a wake-up; negative: an
    /// error, which is recorded.
    static int handleWaitError(int errorNumber);
};

}  // namespace osal
