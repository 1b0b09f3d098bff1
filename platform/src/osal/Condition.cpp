#include "osal/common/Condition.h"

#include <cerrno>

#include "osal/common/Error.h"

namespace osal {

bool ConditionOps::init(Condition& condition, bool shared) {
    pthread_condattr_t attributes;
    int error = pthread_condattr_init(&attributes);
    if (error == 0) {
        pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
        if (shared) pthread_condattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
        error = pthread_cond_init(&condition, &attributes);
        pthread_condattr_destroy(&attributes);
    }
    if (error != 0) recordSystemError("initialising a condition variable", error, __FILE__, __LINE__);
    return error != 0;
}

bool ConditionOps::destroy(Condition& condition) {
    const int error = pthread_cond_destroy(&condition);
    if (error != 0) recordSystemError("destroying a condition variable", error, __FILE__, __LINE__);
    return error != 0;
}

bool ConditionOps::handleSignalError(int errorNumber) {
    recordSystemError("pthread_cond_signal", errorNumber, __FILE__, __LINE__);
    return true;
}

int ConditionOps::handleWaitError(int errorNumber) {
    if (errorNumber == ETIMEDOUT) return 1;
    if (errorNumber == EINTR) return 0;
    recordSystemError("waiting on a condition variable", errorNumber, __FILE__, __LINE__);
    return -1;
}

}  // namespace osal
