#include "osal/common/osal.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "osal/common/Error.h"

namespace {

// Whether the calling thread's allocation may fail.
thread_local bool nothrowAllocation = false;

void handleOutOfMemory() {
    if (nothrowAllocation) throw std::bad_alloc();
    ipl::GlobalErrorHandler::doOutOfMem("an allocation", "operator new", "framework/include/osal/common/osal");
}

template <class Allocate>
void* allocateOrNull(Allocate allocate) noexcept {
    nothrowAllocation = true;
    void* memory = nullptr;
    try {
        memory = allocate();
    } catch (const std::bad_alloc&) {
        memory = nullptr;
    }
    nothrowAllocation = false;
    return memory;
}

}  // namespace

// The system's own call the handler as those that throw do, and it could not tell them apart.
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return allocateOrNull([size] { return ::operator new(size); });
}

void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return allocateOrNull([size] { return ::operator new[](size); });
}

namespace osal {
namespace {

std::new_handler handlerBefore = nullptr;

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
    handlerBefore = std::set_new_handler(&handleOutOfMemory);
    if (prepareStreams) {
        openMissingStreams();
        (void)std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);  // fails only for a wrong mode
    }
    if (lockMemory && ::mlockall(MCL_CURRENT | MCL_FUTURE) != 0)
        recordSystemError("mlockall", errno, __FILE__, __LINE__);
}

void Osal::cleanupAll() {
    ::munlockall();
    std::set_new_handler(handlerBefore);
    s_initialized = false;
}

void Osal::endProcess(int status) {
    // Not all streams: another thread may hold standard input while it waits for a line.
    (void)std::fflush(stdout);
    (void)std::fflush(stderr);
    std::quick_exit(status);
}

}  // namespace osal
