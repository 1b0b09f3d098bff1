#include "osal/common/StopWatch.h"

#include <ctime>

namespace osal {
namespace {

std::uint32_t inUnit(std::int64_t nanoseconds, StopWatchBase::TimeUnit unit) {
    const std::int64_t divisor = unit == StopWatchBase::Milliseconds   ? 1'000'000
                                 : unit == StopWatchBase::Microseconds ? 1'000
                                                                       : 1;
    return static_cast<std::uint32_t>(nanoseconds / divisor);
}

}  // namespace

void StopWatchBase::start() {
    if (!isRunning()) m_startedAt = now();
}

void StopWatchBase::stop() {
    m_accumulated += runtime();
    m_startedAt = NotRunning;
}

void StopWatchBase::reset() {
    m_startedAt = NotRunning;
    m_accumulated = 0;
}

std::uint32_t StopWatchBase::peekRuntime(TimeUnit unit) const {
    return inUnit(runtime(), unit);
}

std::uint32_t StopWatchBase::getElapsedTime(TimeUnit unit) const {
    return inUnit(m_accumulated + runtime(), unit);
}

std::int64_t StopWatchBase::runtime() const {
    const std::int64_t startedAt = m_startedAt;
    return startedAt == NotRunning ? 0 : now() - startedAt;
}

RealtimeStopWatch::RealtimeStopWatch(bool startNow) {
    if (startNow) start();
}

std::int64_t RealtimeStopWatch::now() const {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * std::int64_t{1'000'000'000} + time.tv_nsec;
}

}  // namespace osal
