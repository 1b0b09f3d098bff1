#include "osal/common/Time.h"

#include <cerrno>
#include <ctime>

#include "osal/common/Error.h"

namespace osal {

bool Time::getTime(long long& milliseconds) {
    timespec now{};
    if (clock_gettime(CLOCK_MONOTONIC, &now) != 0) {
        recordSystemError("clock_gettime", errno, __FILE__, __LINE__);
        return true;
    }
    milliseconds = now.tv_sec * 1000LL + now.tv_nsec / 1'000'000;
    return false;
}

void Time::sleep(long long milliseconds) {
    if (milliseconds <= 0) return;
    timespec left{};
    left.tv_sec = milliseconds / 1000;
    left.tv_nsec = milliseconds % 1000 * 1'000'000;
    while (clock_nanosleep(CLOCK_MONOTONIC, 0, &left, &left) == EINTR) {
    }
}

}  // namespace osal
