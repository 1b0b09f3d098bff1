#include <gtest/gtest.h>

#include "EventLog.h"
#include "RunningAgent.h"
#include "StandardError.h"
#include "asi/media/srmexchange/ISRMExchangeProxy.h"
#include "asi/media/srmexchange/ISRMExchangeS.h"
#include "ipl/ErrorStorage.h"

namespace {

class Stub final : public ISRMExchangeS {
  public:
    using ISRMExchangeS::m_registration;
    using ISRMExchangeS::registerSelf;
    using ISRMExchangeS::unregisterSelf;
    ~Stub() override { unregisterSelf(); }

    void exchange(const ISRMExchange::DataPtr& data, std::uint16_t handleSize,
                  const ISRMExchange::ExtraPtr& extra) override {
        EXPECT_FALSE(extra);
        log.add(std::to_string(handleSize) + (data ? '/' + std::to_string(data->size) : ""));
    }
    void clientConnected() override { log.add("connected"); }
    void clientDisconnected() override { log.add("disconnected"); }

    EventLog log;
};

TEST(Exchange, MessagesOfEachKindReachTheStub) {
    const RunningAgent agent;
    Stub stub;
    constexpr std::uint32_t BeyondSixteenBits = 65535 + 100;
    ASSERT_FALSE(stub.registerSelf(BeyondSixteenBits));
    {
        ISRMExchangeProxy proxy(BeyondSixteenBits);
        ASSERT_FALSE(proxy.connect());
        proxy.exchange({}, 99, {});
        proxy.exchange(util::CITypesFactory::createUInt8Array(3), 0, {});
        proxy.exchange(util::CITypesFactory::createUInt8Array(0), 0, {});
        proxy.exchange({}, 0, {});
    }
    ASSERT_TRUE(stub.log.waitFor("disconnected"));
    EXPECT_EQ(stub.log.all(), (std::vector<std::string>{"connected", "99", "0/3", "0/0", "0", "disconnected"}));
}

TEST(Exchange, RegisteringTwiceFailsWithTheFirstRegistrationsName) {
    const RunningAgent agent;
    Stub stub;
    ASSERT_FALSE(stub.registerSelf(5));
    ASSERT_TRUE(stub.registerSelf(6));
    EXPECT_EQ(std::string(ipl::ErrorStorage::reason()),
              "already registered: 8ebd7ae6-aaee-11df-ac5e-53a6f42e2b7d:0x00000005");
    ipl::ErrorStorage::ack();
    stub.unregisterSelf();
    stub.unregisterSelf();
    EXPECT_FALSE(stub.registerSelf(6));
}

TEST(Exchange, AStubThatCannotRegisterStaysUsable) {
    Stub stub;
    ASSERT_TRUE(stub.registerSelf(5));
    EXPECT_NE(std::string(ipl::ErrorStorage::reason()).find("no agent"), std::string::npos);
    ipl::ErrorStorage::ack();
    const RunningAgent agent;
    EXPECT_FALSE(stub.registerSelf(5));
}

// A record that is not registered, and says to be alive so many times.
class FormerRecord final : public comm::SvcTracked {
  public:
    FormerRecord(const IdentityArgs& identity, int answers)
        : comm::SvcTracked(identity, Initial, nullptr), m_answers(answers) {}

    bool isAlive() const override { return m_answers-- > 0; }
    void connected() override {}
    void received(const comm::Message& /*message*/) override {}
    void disconnected() override {}

  private:
    mutable int m_answers;
};

TEST(Exchange, OnlyARegistrationThatStaysAliveFailsTheAssertion) {
    const comm::InstanceKey key = ISRMExchange::keyOf(5);
    for (const int answers : {1, 2}) {
        const StandardError errors;
        Stub stub;
        stub.m_registration = comm::ServiceRegistration(new FormerRecord(ISRMExchange::identityOf(key), answers));
        stub.unregisterSelf();
        EXPECT_EQ(stub.m_registration.svcTracked(), nullptr);
        EXPECT_EQ(errors.said(), answers == 1 ? ""
                                              : "assertion failed: !m_registration.isAlive() (unregisterSelf, "
                                                "asi/include/asi/media/srmexchange/ISRMExchangeS)\n");
        ipl::ErrorStorage::ack();
    }
}

}  // namespace
