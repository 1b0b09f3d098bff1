#include "asi/media/srmexchange/ISRMExchangeS.h"

#include <cstdio>
#include <new>

#include "comm/Error.h"
#include "ipl/GlobalErrorHandler.h"

namespace {

constexpr const char* Header = "asi/include/asi/media/srmexchange/ISRMExchangeS";

// Hands what arrives for the registration to its stub.
class ISRMExchangeRegistration final : public comm::SvcTracked {
  public:
    ISRMExchangeRegistration(const IdentityArgs& identity, ISRMExchangeS& stub)
        : comm::SvcTracked(identity, Initial, nullptr), m_stub(stub) {}

    void connected() override { m_stub.clientConnected(); }
    void received(const comm::Message& message) override {
        m_stub.exchange(message.data, message.handleSize, ISRMExchange::ExtraPtr());
    }
    void disconnected() override { m_stub.clientDisconnected(); }

  private:
    ISRMExchangeS& m_stub;
};

ipl::string textOf(const comm::InstanceKey& key) {
    char instance[16];
    std::snprintf(instance, sizeof instance, ":0x%08x", key.instance);
    return key.uuid.toString() + instance;
}

}  // namespace

ISRMExchangeS::~ISRMExchangeS() {
    unregisterSelf();
}

bool ISRMExchangeS::registerSelf(std::uint32_t instance) {
    if (m_registration.isAlive())
        return comm::error::record(comm::Error::AlreadyRegistered, textOf(m_registration.svcTracked()->instanceKey()),
                                   __FILE__, __LINE__);
    const comm::InstanceKey key = ISRMExchange::keyOf(instance);
    m_registration =
        comm::ServiceRegistration(new (std::nothrow) ISRMExchangeRegistration(ISRMExchange::identityOf(key), *this));
    if (m_registration.svcTracked() == nullptr) {
        comm::error::fatal("can't create ServiceRegistration, OOM ", Header, true);
        return true;
    }
    if (!m_registration.registerService()) return false;
    m_registration = comm::ServiceRegistration();
    return true;
}

void ISRMExchangeS::unregisterSelf() {
    if (!m_registration.isAlive()) return;
    (void)m_registration.unregisterService();  // fails if the agent has ended the registration meanwhile
    if (m_registration.isAlive())
        ipl::GlobalErrorHandler::doAssert("!m_registration.isAlive()", "unregisterSelf", Header);
    m_registration = comm::ServiceRegistration();
}
