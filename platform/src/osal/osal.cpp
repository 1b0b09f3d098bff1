#include "osal/common/osal.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "osal/common/Error.h"

namespace osal {
namespace {

void openMissingStreams() {
    // A new descriptor is always the lowest free one, so the loop ends with the first beyond standard error. Started
    // programs inherit the streams.
    int fd = -1;
    do fd = ::open("/dev/null", O_RDWR);
    while (fd >= 0 && fd <= STDERR_FILENO);
    if (fd > STDERR_FILENO) ::close(fd);
}

}  // namespace

std::atomic<int> Osal::s_init_count{0};
std::atomic<bool> Osal::s_initialized{false};

Osal::Osal(bool prepareStreams, bool lockMemory) {
    if (s_init_count.fetch_add(1) != 0) return;
    s_initialized = true;
    if (prepareStreams) {
        openMissingStreams();
        (void)std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);  // fails only for a wrong mode
    }
    if (lockMemory && ::mlockall(MCL_CURRENT | MCL_FUTURE) != 0)
        recordSystemError("mlockall", errno, __FILE__, __LINE__);
}

void Osal::cleanupAll() {
    ::munlockall();
    s_initialized = false;
}

void Osal::endProcess(int status) {
    // Not all streams: another thread may hold standard input while it waits for a line.
    (void)std::fflush(stdout);
    (void)std::fflush(stderr);
    std::quick_exit(status);
}

}  // namespace osal
