#include "ZidClient.h"

#include <cstdio>

#include "ipl/ErrorStorage.h"
#include "ipl/GlobalErrorHandler.h"
#include "ipl/iostream.h"
#include "osal/common/osal.h"

using ipl::cerr;
using ipl::cout;
using ipl::endl;

namespace {

constexpr std::uint16_t DefaultTimeout = 10000;

}  // namespace

ZidClient::ZidClient(std::uint16_t instance, std::uint32_t payload, std::uint16_t delay, std::uint16_t burst,
                     std::uint16_t timeout)
    : m_instance(instance),
      m_payload(payload),
      m_delay(delay),
      m_burst(burst),
      m_timeout(timeout == 0 ? DefaultTimeout : timeout),
      m_thread(*this, "zid_sender_thread", false, 0),
      m_data(util::CITypesFactory::createUInt8Array(payload)),
      m_latencywatch(false),
      m_testwatch(false) {
    if (!m_data) ipl::GlobalErrorHandler::doOutOfMem("the payload", "ZidClient", "client/ZidClient");
    startSender();
    registerReplyService();
    connectProxy();
    m_testwatch.start();
}

void ZidClient::startSender() {
    if (!osal::MutexOps::init(m_mutex, false, false, false) && !osal::ConditionOps::init(m_cond, false) &&
        !m_thread.start())
        return;
    cerr << "ZidClient(" << m_instance
         << ")  ERROR: starting the sender thread, reason= " << ipl::ErrorStorage::reasonText() << endl;
    osal::Osal::endProcess(1);
}

void ZidClient::registerReplyService() {
    const std::uint32_t replyInstance = ISRMExchange::replyInstanceOf(m_instance);
    std::printf("starting service with instance %d\n", static_cast<int>(replyInstance));
    if (!registerSelf(replyInstance)) return;
    cerr << "ZidClient(" << m_instance << ")  ERROR: registering service, reason= " << ipl::ErrorStorage::reasonText()
         << endl;
    osal::Osal::endProcess(1);
}

void ZidClient::connectProxy() {
    const auto proxy = std::make_shared<ISRMExchangeProxy>(m_instance);
    {
        const std::scoped_lock lock(m_proxymutex);
        m_proxy = proxy;
    }
    std::printf("proxy connect with instance %d\n", m_instance);
    if (proxy->connect()) {
        cerr << "ZidClient: Error on m_proxy->connect(), reason= " << ipl::ErrorStorage::reasonText() << endl;
        osal::Osal::endProcess(1);
    }
    cout << "ZidClient - waiting for service ... " << endl;
    if (proxy->waitUntilAlive()) {
        cerr << "ZidClientt: Error on m_proxy->waitUntiAlive(), reason= " << ipl::ErrorStorage::reasonText() << endl;
        osal::Osal::endProcess(1);
    }
    cout << ".. connected." << endl;
}

ZidClient::~ZidClient() {
    {
        // A stop on the dispatch thread may still be on its way out.
        const std::scoped_lock stopping(m_stopmutex);
        unregisterSelf();
    }
    (void)osal::ConditionOps::destroy(m_cond);
    (void)osal::MutexOps::destroy(m_mutex);
}

std::shared_ptr<ISRMExchangeProxy> ZidClient::proxy() {
    const std::scoped_lock lock(m_proxymutex);
    return m_proxy;
}

void ZidClient::clientConnected() {
    if (const auto current = proxy()) current->exchange(ISRMExchange::DataPtr(), m_burst, ISRMExchange::ExtraPtr());
    ipl::ErrorStorage::ack();  // if the service has just gone, the sender's wait will tell
}

void ZidClient::clientDisconnected() {
    std::shared_ptr<ISRMExchangeProxy> dropped;
    {
        const std::scoped_lock lock(m_proxymutex);
        dropped.swap(m_proxy);
    }
    dropped.reset();
    cout << "ZidClient(" << m_instance << "): disconnected -> test finished" << endl;
}

void ZidClient::stop() {
    // Of two threads that stop at once, the dispatch thread among them, the one that comes second must not wait: the
    // first may be waiting for the dispatch thread's end.
    const std::unique_lock stopping(m_stopmutex, std::try_to_lock);
    if (!stopping || m_stopped) return;
    m_stopped = true;

    signalStop();
    (void)m_thread.join();
    cout << "..  thread joined, disconnecting proxy.. " << endl;
    if (const auto current = proxy()) current->disconnect();
    cout << "..  disconnected, unregistering service.." << endl;
    unregisterSelf();
    cout << "..  service has been shut down." << endl;
    printStats(true);
}

void ZidClient::signalStop() {
    if (const int error = pthread_mutex_lock(&m_mutex)) osal::MutexOps::handleLockError(error);
    m_running = false;
    if (const int error = pthread_cond_signal(&m_cond)) (void)osal::ConditionOps::handleSignalError(error);
    if (const int error = pthread_mutex_unlock(&m_mutex)) osal::MutexOps::handleUnlockError(error);
}
