#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

#include "asi/media/srmexchange/ISRMExchangeProxy.h"
#include "asi/media/srmexchange/ISRMExchangeS.h"
#include "osal/common/Condition.h"
#include "osal/common/Mutex.h"
#include "osal/common/StopWatch.h"
#include "util/Thread.h"

/// The sender of the message test for one instance, with its measurement and its report.
///
/// Three threads meet here. The owner's constructs, stops and destroys. The sender thread waits for the answer to each
/// burst and sends the next. The dispatch thread of the reply service takes the answers, measures, and wakes the
/// sender.
class ZidClient final : public ISRMExchangeS, public util::IRunnableT<util::Thread const* const> {
  public:
    /// Starts the test and returns once the test service is reachable, however long that takes. `payload` in bytes,
    /// `delay` before each burst and `timeout` for a round trip in milliseconds, `burst` in messages. A timeout of 0
    /// means 10000. Where the start fails the reason is printed and the process ends with status 1.
    ZidClient(std::uint16_t instance, std::uint32_t payload, std::uint16_t delay, std::uint16_t burst,
              std::uint16_t timeout);

    /// Call `stop` first.
    ~ZidClient() override;

    /// Ends the test and prints the final report. Any thread; a second call does nothing.
    void stop();

    void exchange(const ISRMExchange::DataPtr& data, std::uint16_t handleSize,
                  const ISRMExchange::ExtraPtr& extra) override;
    void clientConnected() override;
    void clientDisconnected() override;
    void run(util::Thread const* thread) override;

  private:
    friend class ZidClientProbe;  // lets tests set and read the figures

    enum class Wait { Woken, TimedOut, Failed };

    // Start and end.
    void startSender();
    void registerReplyService();
    void connectProxy();
    void signalStop();
    std::shared_ptr<ISRMExchangeProxy> proxy();

    // The sender thread.
    bool waitForResponse();
    Wait waitForSignal(long long deadline);
    void sendBurst();
    void fillPayload();
    static void startTimeoutScript();

    // The dispatch thread.
    bool measureRoundTrip(std::uint32_t& testTime);
    void computeRates(std::uint32_t testTime);
    void countLatency(std::uint32_t roundTrip);
    bool signalResponse();
    void printPeriodicReport(std::uint32_t testTime);

    // The dispatch thread, or after its end.
    void printStats(bool withHistogram) const;
    void printHistogram() const;

    const std::uint16_t m_instance;
    const std::uint32_t m_payload;
    const std::uint16_t m_delay;
    const std::uint16_t m_burst;
    const std::uint16_t m_timeout;

    // Guards `m_proxy`. A burst is sent through a copy, so a proxy that is dropped meanwhile lives until the burst's
    // end.
    std::mutex m_proxymutex;
    std::shared_ptr<ISRMExchangeProxy> m_proxy;

    util::Thread m_thread;

    // Guards `m_running` and `m_signaled`; `m_cond` is signalled under it.
    osal::Mutex m_mutex{};
    osal::Condition m_cond{};
    bool m_running = true;    // cleared by `stop` alone
    bool m_signaled = false;  // a response has arrived and the sender has not taken it yet

    // Written by the dispatch thread alone.
    std::uint64_t m_msgspersec = 0;
    std::uint64_t m_bytespersec = 0;
    std::uint64_t m_avglatency = 0;
    std::uint64_t m_msgcnt = 0;      // data messages answered
    std::uint64_t m_latencysum = 0;  // ms
    std::uint64_t m_lastreport = 0;  // test time of the last periodic report, ms
    std::uint32_t m_maxlatency = 0;  // ms
    std::array<std::uint32_t, 30> m_histogram{};

    std::uint8_t m_fillbyte = 0;                   // the sender thread's own
    std::atomic<std::uint16_t> m_nosignalcnt = 0;  // cycles in which the response was there before the sender waited
    const ISRMExchange::DataPtr m_data;
    osal::RealtimeStopWatch m_latencywatch;  // started by the sender, read and stopped by the dispatch thread
    osal::RealtimeStopWatch m_testwatch;

    // Held by the stop that does the work; the destructor waits for it.
    std::mutex m_stopmutex;
    bool m_stopped = false;
};
