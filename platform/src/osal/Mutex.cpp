#include "osal/common/Mutex.h"

#include "ipl/GlobalErrorHandler.h"
#include "osal/common/Error.h"

namespace osal {
namespace {

constexpr const char* Source = "framework/include/osal/common/Mutex";

void assertWorked(const char* operation, const char* function, int errorNumber) {
    ipl::GlobalErrorHandler::doAssert((operation + (": " + systemText(errorNumber))).c_str(), function, Source);
}

}  // namespace

bool MutexOps::init(Mutex& mutex, bool recursive, bool errorChecking, bool shared) {
    pthread_mutexattr_t attributes;
    int error = pthread_mutexattr_init(&attributes);
    if (error == 0) {
        if (recursive || errorChecking)
            pthread_mutexattr_settype(&attributes, recursive ? PTHREAD_MUTEX_RECURSIVE : PTHREAD_MUTEX_ERRORCHECK);
        if (shared) pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
        error = pthread_mutex_init(&mutex, &attributes);
        pthread_mutexattr_destroy(&attributes);
    }
    if (error != 0) recordSystemError("initialising a mutex", error, __FILE__, __LINE__);
    return error != 0;
}

bool MutexOps::destroy(Mutex& mutex) {
    const int error = pthread_mutex_destroy(&mutex);
    if (error != 0) recordSystemError("destroying a mutex", error, __FILE__, __LINE__);
    return error != 0;
}

void MutexOps::handleLockError(int errorNumber) {
    assertWorked("pthread_mutex_lock", "handleLockError", errorNumber);
}

void MutexOps::handleUnlockError(int errorNumber) {
    assertWorked("pthread_mutex_unlock", "handleUnlockError", errorNumber);
}

MutexGuard::MutexGuard(Mutex& mutex) : m_mutex(mutex) {
    if (const int error = pthread_mutex_lock(&m_mutex)) MutexOps::handleLockError(error);
}

MutexGuard::~MutexGuard() {
    if (const int error = pthread_mutex_unlock(&m_mutex)) MutexOps::handleUnlockError(error);
}

}  // namespace osal
