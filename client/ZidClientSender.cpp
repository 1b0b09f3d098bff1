// What the client does on its sender thread.

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <numeric>

#include "ZidClient.h"
#include "ipl/ErrorStorage.h"
#include "ipl/iostream.h"
#include "osal/common/ProcessTNG.h"
#include "osal/common/Time.h"

using ipl::cout;
using ipl::endl;

void ZidClient::run(util::Thread const* const /*thread*/) {
    while (waitForResponse()) sendBurst();
}

// Waits for the answer to the last burst, at first for that to the start message. False when the sender is to end.
bool ZidClient::waitForResponse() {
    long long deadline = 0;
    (void)osal::Time::getTime(deadline);
    deadline += m_timeout;

    if (const int error = pthread_mutex_lock(&m_mutex)) osal::MutexOps::handleLockError(error);
    const Wait wait = waitForSignal(deadline);
    if (wait != Wait::Failed) m_signaled = false;
    const bool running = m_running;
    if (const int error = pthread_mutex_unlock(&m_mutex)) osal::MutexOps::handleUnlockError(error);

    if (wait == Wait::Failed) {
        cout << "Producer error waiting on condition: " << ipl::ErrorStorage::reasonText() << endl;
        ipl::ErrorStorage::ack();
        return false;
    }
    if (wait == Wait::TimedOut) std::printf("timeout for waiting for response received, timer = %d[msec]\n", m_timeout);
    if (wait == Wait::TimedOut && running) startTimeoutScript();
    if (wait == Wait::Woken && running) return true;
    cout << "ZidClient - stopping sender thread.." << endl;
    return false;
}

// Waits once, with the mutex held: a wake-up counts as the response whether or not there is one.
ZidClient::Wait ZidClient::waitForSignal(long long deadline) {
    if (m_signaled) {
        ++m_nosignalcnt;
        return Wait::Woken;
    }
    timespec until{};
    until.tv_sec = deadline / 1000;
    until.tv_nsec = (deadline - until.tv_sec * 1000) * 1000000;
    const int error = pthread_cond_timedwait(&m_cond, &m_mutex, &until);
    if (error == 0) return Wait::Woken;
    const int verdict = osal::ConditionOps::handleWaitError(error);
    if (verdict == 0) return Wait::Woken;
    return verdict > 0 ? Wait::TimedOut : Wait::Failed;
}

void ZidClient::sendBurst() {
    osal::Time::sleep(m_delay);
    fillPayload();
    const auto current = proxy();
    if (current == nullptr) return;  // the service is gone, and the next wait will tell
    m_latencywatch.start();
    for (std::uint16_t i = 0; i < m_burst; ++i) current->exchange(m_data, 0, ISRMExchange::ExtraPtr());
    ipl::ErrorStorage::ack();  // if the service has just gone, the next wait will tell
}

// The counter repeats itself, and a copy of what is there is written faster than one byte after the other.
void ZidClient::fillPayload() {
    constexpr std::size_t period = 256;
    std::uint8_t* const data = m_data->data;
    std::size_t filled = std::min<std::size_t>(m_payload, period);
    std::iota(data, data + filled, m_fillbyte);
    while (filled < m_payload) {
        const std::size_t count = std::min(filled, m_payload - filled);
        std::memcpy(data + filled, data, count);
        filled += count;
    }
    m_fillbyte = static_cast<std::uint8_t>(m_fillbyte + m_payload);
}

void ZidClient::startTimeoutScript() {
    osal::ProcessTNG script("/yst/bin/zidtimeout.sh");
    if (script.start() == osal::ProcessTNG::INVALID_PROCESS_ID)
        std::printf("unable to trigger script /yst/bin/zidtimeout.sh\n");
}
