#pragma once

#include <thread>

#include "ZidClient.h"

/// Reaches the figures of a client that no test could bring about in a reasonable time.
class ZidClientProbe {
  public:
    explicit ZidClientProbe(ZidClient& client) : m_client(client) {}

    std::uint16_t timeout() const { return m_client.m_timeout; }
    /// As a response does, and returns when the sender, which waits for it, has taken it.
    void answer() {
        m_client.signalResponse();
        for (bool taken = false; !taken; std::this_thread::yield()) {
            pthread_mutex_lock(&m_client.m_mutex);
            taken = !m_client.m_signaled;
            pthread_mutex_unlock(&m_client.m_mutex);
        }
    }
    void wakeSender() { pthread_cond_signal(&m_client.m_cond); }
    /// Before a reply, which the client takes note of under the same mutex.
    void setMessageCount(std::uint64_t count) {
        pthread_mutex_lock(&m_client.m_mutex);
        m_client.m_msgcnt = count;
        pthread_mutex_unlock(&m_client.m_mutex);
    }
    std::uint16_t noSignalCount() const { return m_client.m_nosignalcnt; }
    std::uint64_t messageCount() const { return m_client.m_msgcnt; }

    void setFigures(std::uint64_t rate, std::uint64_t bytes, std::uint64_t average, std::uint32_t maximum) {
        m_client.m_msgspersec = rate;
        m_client.m_bytespersec = bytes;
        m_client.m_avglatency = average;
        m_client.m_maxlatency = maximum;
    }
    void compute(std::uint64_t count, std::uint64_t latencySum, std::uint32_t testTime) {
        m_client.m_msgcnt = count;
        m_client.m_latencysum = latencySum;
        m_client.computeRates(testTime);
    }
    void countLatency(std::uint32_t roundTrip) { m_client.countLatency(roundTrip); }
    void printStats(bool withHistogram) const { m_client.printStats(withHistogram); }
    void printPeriodicReport(std::uint32_t testTime) { m_client.printPeriodicReport(testTime); }

  private:
    ZidClient& m_client;
};
