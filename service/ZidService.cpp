#include "ZidService.h"

#include <cstdio>

#include "ipl/ErrorStorage.h"
#include "ipl/iostream.h"
#include "osal/common/Condition.h"
#include "osal/common/Mutex.h"
#include "osal/common/osal.h"

using ipl::cerr;
using ipl::cout;
using ipl::endl;

ZidService::ZidService(std::uint16_t instance) : m_instance(instance) {
    std::printf("starting service with instance %d\n", m_instance);
    if (!registerSelf(m_instance)) return;
    cerr << "ZidService(" << m_instance << ")  ERROR: registering service, reason= " << ipl::ErrorStorage::reasonText()
         << endl;
    osal::Osal::endProcess(1);
}

ZidService::~ZidService() {
    unregisterSelf();
    m_proxy.reset();  // only now: until here a callback could use it
}

void ZidService::clientConnected() {
    const std::uint32_t replyInstance = ISRMExchange::replyInstanceOf(m_instance);
    std::printf("ZidService: clientConnected - connecting proxy with instance %d\n", static_cast<int>(replyInstance));
    if (m_proxy != nullptr || m_msgcount != 0) {
        cout << "ZidService(" << m_instance << "): test running or not shut down properly? Skipping this request ..."
             << endl;
        return;
    }
    m_proxy = std::make_unique<ReplyProxy>(replyInstance);
    if (!m_proxy->connect()) return;
    cerr << "ZidService: Error on m_proxy->connect(), reason= " << ipl::ErrorStorage::reasonText() << endl;
    osal::Osal::endProcess(1);
}

void ZidService::exchange(const ISRMExchange::DataPtr& /*data*/, std::uint16_t handleSize,
                          const ISRMExchange::ExtraPtr& /*extra*/) {
    if (m_msgcount == 0)
        startTest(handleSize);
    else
        countMessage();
}

void ZidService::startTest(std::uint16_t messageCount) {
    if (messageCount == 0) {
        cout << "ZidService(" << m_instance << ") ERROR: invalid start handle size!" << endl;
        return;
    }
    m_msgcount = messageCount;
    cout << "ZidService(" << m_instance << "): starting test with msg_count = " << m_msgcount << endl;
    reply();
}

void ZidService::countMessage() {
    ++m_rxcount;
    if (m_rxcount < m_msgcount) return;
    reply();
    m_rxcount = 0;
}

// Somebody who never connected a reply service cannot be answered, so the reply is dropped.
void ZidService::reply() const {
    if (m_proxy == nullptr) return;
    m_proxy->reply();
    ipl::ErrorStorage::ack();  // a client that has just gone misses nothing
}

void ZidService::clientDisconnected() {
    m_proxy.reset();
    m_msgcount = 0;
    cout << "ZidService(" << m_instance << "): disconnected -> test finished" << endl;
}

void ZidService::waitForever() {
    osal::Mutex mutex;
    osal::Condition condition;
    // What fails here is in the error storage; the wait below then returns and ends the program in good order.
    (void)osal::MutexOps::init(mutex, false, false, false);
    (void)osal::ConditionOps::init(condition, false);
    {
        const osal::MutexGuard guard(mutex);
        if (const int error = pthread_cond_wait(&condition, &mutex)) osal::ConditionOps::handleWaitError(error);
    }
    (void)osal::ConditionOps::destroy(condition);
    (void)osal::MutexOps::destroy(mutex);
}
