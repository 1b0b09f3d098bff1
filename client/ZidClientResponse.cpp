// What the client does with each response, on the reply service's dispatch thread.

#include <cstdio>

#include "LatencyHistogram.h"
#include "ZidClient.h"
#include "ipl/ErrorStorage.h"
#include "ipl/iostream.h"

using ipl::cout;
using ipl::endl;

namespace {

constexpr std::uint64_t ReportInterval = 10000;  // ms of test time

}  // namespace

void ZidClient::exchange(const ISRMExchange::DataPtr& /*data*/, std::uint16_t /*handleSize*/,
                         const ISRMExchange::ExtraPtr& /*extra*/) {
    std::uint32_t testTime = 0;
    if (m_latencywatch.isRunning() && measureRoundTrip(testTime)) {
        stop();
        return;
    }
    if (signalResponse()) printPeriodicReport(testTime);
}

// True, with nothing counted, when the message counter has no room for this burst.
bool ZidClient::measureRoundTrip(std::uint32_t& testTime) {
    const std::uint64_t count = m_msgcnt + m_burst;
    if (count < m_msgcnt) {
        cout << "maximal message count exceeded - stopping test" << endl;
        return true;
    }
    m_msgcnt = count;
    const std::uint32_t roundTrip = m_latencywatch.peekRuntime(osal::StopWatchBase::Milliseconds);
    testTime = m_testwatch.getElapsedTime(osal::StopWatchBase::Milliseconds);
    m_latencywatch.stop();
    m_latencysum += roundTrip;
    computeRates(testTime);
    countLatency(roundTrip);
    return false;
}

void ZidClient::computeRates(std::uint32_t testTime) {
    if (testTime == 0) return;
    m_msgspersec = m_msgcnt * 1000 / testTime;
    m_bytespersec = m_payload * m_msgspersec;
    // The count holds a whole burst for each round trip, so this is the mean over bursts.
    if (m_msgcnt != 0) m_avglatency = m_latencysum * m_burst / m_msgcnt;
}

void ZidClient::countLatency(std::uint32_t roundTrip) {
    if (roundTrip > m_maxlatency) m_maxlatency = roundTrip;
    if (roundTrip > LatencyHistogram::BigLatency)
        std::printf("#### big latency detected: %d msec\n", static_cast<int>(roundTrip));
    ++m_histogram[LatencyHistogram::indexOf(roundTrip)];
}

// Wakes the sender; false when that failed.
bool ZidClient::signalResponse() {
    if (const int error = pthread_mutex_lock(&m_mutex)) osal::MutexOps::handleLockError(error);
    m_signaled = true;
    const int error = pthread_cond_signal(&m_cond);
    const bool failed = error != 0 && osal::ConditionOps::handleSignalError(error);
    if (const int unlockError = pthread_mutex_unlock(&m_mutex)) osal::MutexOps::handleUnlockError(unlockError);
    if (!failed) return true;

    cout << "Consumer error signaling condition: " << ipl::ErrorStorage::reasonText() << endl;
    ipl::ErrorStorage::ack();
    return false;
}

void ZidClient::printPeriodicReport(std::uint32_t testTime) {
    if (testTime == 0 || testTime - m_lastreport <= ReportInterval) return;
    m_lastreport = testTime;
    printStats(false);
    std::printf("total messages: %llu, total elapsed %d\n", static_cast<unsigned long long>(m_msgcnt),
                static_cast<int>(testTime));
}
