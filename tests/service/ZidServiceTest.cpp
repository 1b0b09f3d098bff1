#include <gtest/gtest.h>

#include "EventLog.h"
#include "RunningAgent.h"
#include "ZidService.h"

namespace {

constexpr std::uint16_t Instance = 7;

// A client as far as the service sees it: a proxy to the service, and a reply service under the instance plus 100.
class ClientStub final : public ISRMExchangeS {
  public:
    explicit ClientStub(std::uint32_t instance = Instance)
        : m_instance(instance), m_proxy(std::make_unique<ISRMExchangeProxy>(instance)) {}
    ~ClientStub() override { unregisterSelf(); }
    using ISRMExchangeS::registerSelf;
    using ISRMExchangeS::unregisterSelf;

    void connect() {
        ASSERT_FALSE(registerSelf(m_instance + 100));
        ASSERT_FALSE(m_proxy->connect());
        ASSERT_TRUE(log.waitFor("connected"));
    }
    void connectWithoutReplyService() { ASSERT_FALSE(m_proxy->connect()); }
    void disconnect() { m_proxy.reset(); }

    void start(std::uint16_t count) const { m_proxy->exchange({}, count, {}); }
    void sendData(int count) const {
        for (int i = 0; i < count; ++i) m_proxy->exchange(util::CITypesFactory::createUInt8Array(4), 0, {});
    }

    void exchange(const ISRMExchange::DataPtr& data, std::uint16_t handleSize, const ISRMExchange::ExtraPtr&) override {
        EXPECT_FALSE(data);
        EXPECT_EQ(handleSize, 0);
        log.add("reply");
    }
    void clientConnected() override { log.add("connected"); }
    void clientDisconnected() override { log.add("disconnected"); }

    EventLog log;

  private:
    const std::uint32_t m_instance;
    std::unique_ptr<ISRMExchangeProxy> m_proxy;
};

class ZidServiceTest : public testing::Test {
  protected:
    ZidServiceTest() {
        testing::internal::CaptureStdout();
        service.emplace(Instance);
    }
    ~ZidServiceTest() override {
        if (service) (void)output();
    }

    // Ends the service; what it has printed.
    std::string output() {
        service.reset();
        return testing::internal::GetCapturedStdout();
    }

    RunningAgent agent;
    std::optional<ZidService> service;
};

constexpr const char* Start = "starting service with instance 7\n";
constexpr const char* Connecting = "ZidService: clientConnected - connecting proxy with instance 107\n";
constexpr const char* Skipping = "ZidService(7): test running or not shut down properly? Skipping this request ...\n";
constexpr const char* Finished = "ZidService(7): disconnected -> test finished\n";

std::string starting(int count) {
    return "ZidService(7): starting test with msg_count = " + std::to_string(count) + '\n';
}

TEST_F(ZidServiceTest, AnswersTheStartAndEveryBlock) {
    ClientStub client;
    client.connect();
    client.start(5);
    ASSERT_TRUE(client.log.waitFor("reply"));
    client.sendData(14);
    ASSERT_TRUE(client.log.waitFor("reply", 3));
    client.sendData(1);
    ASSERT_TRUE(client.log.waitFor("reply", 4));
    client.sendData(4);  // no reply is owed
    client.disconnect();
    ASSERT_TRUE(client.log.waitFor("disconnected"));
    EXPECT_EQ(client.log.all().size(), 6U);
    EXPECT_EQ(output(), std::string(Start) + Connecting + starting(5) + Finished);
}

TEST_F(ZidServiceTest, RefusesAStartWithoutACountAndTakesTheNext) {
    ClientStub client;
    client.connect();
    client.start(0);
    client.start(1);
    client.sendData(2);
    ASSERT_TRUE(client.log.waitFor("reply", 3));
    client.disconnect();
    ASSERT_TRUE(client.log.waitFor("disconnected"));
    EXPECT_EQ(output(), std::string(Start) + Connecting + "ZidService(7) ERROR: invalid start handle size!\n" +
                            starting(1) + Finished);
}

TEST_F(ZidServiceTest, KeepsThePartialCountOfATestThatEndedWithinABlock) {
    {
        ClientStub client;
        client.connect();
        client.start(10);
        client.sendData(3);
        client.disconnect();
        ASSERT_TRUE(client.log.waitFor("disconnected"));
    }
    ClientStub client;
    client.connect();
    client.start(2);
    client.sendData(1);  // the fourth of its count
    EXPECT_TRUE(client.log.waitFor("reply", 2));
    client.sendData(1);
    client.sendData(1);
    EXPECT_TRUE(client.log.waitFor("reply", 3));
    client.disconnect();
    ASSERT_TRUE(client.log.waitFor("disconnected"));
    EXPECT_EQ(output(),
              std::string(Start) + Connecting + starting(10) + Finished + Connecting + starting(2) + Finished);
}

TEST_F(ZidServiceTest, RefusesASecondClientAndGoesOnWithTheFirst) {
    ClientStub first;
    first.connect();
    first.start(1);
    ASSERT_TRUE(first.log.waitFor("reply"));
    ISRMExchangeProxy second(Instance);
    ASSERT_FALSE(second.connect());
    second.exchange(util::CITypesFactory::createUInt8Array(1), 0, {});  // answered to the first client
    ASSERT_TRUE(first.log.waitFor("reply", 2));
    first.sendData(1);
    EXPECT_TRUE(first.log.waitFor("reply", 3));
    EXPECT_EQ(output(), std::string(Start) + Connecting + starting(1) + Connecting + Skipping);
}

TEST_F(ZidServiceTest, DropsRepliesUntilTheClientCanBeAnswered) {
    ClientStub client;
    client.connectWithoutReplyService();
    client.start(1);
    client.sendData(3);
    ASSERT_FALSE(client.registerSelf(Instance + 100));
    ASSERT_TRUE(client.log.waitFor("connected"));
    client.sendData(1);
    EXPECT_TRUE(client.log.waitFor("reply"));
}

// A service that stood still learns of several things at once, and perhaps first that there is another reply service.
TEST_F(ZidServiceTest, LeavesTheNextClientAloneUntilThatHasConnected) {
    ClientStub gone;
    gone.connect();
    gone.start(1);
    ASSERT_TRUE(gone.log.waitFor("reply"));
    gone.unregisterSelf();
    ClientStub next;
    ISRMExchangeProxy probe(Instance + 100);  // alive after all that was connected before
    ASSERT_FALSE(probe.connect());
    ASSERT_FALSE(next.registerSelf(Instance + 100));
    ASSERT_FALSE(probe.waitUntilAlive());
    ASSERT_TRUE(next.log.waitFor("connected"));
    probe.disconnect();
    ASSERT_TRUE(next.log.waitFor("disconnected"));

    gone.disconnect();
    next.connectWithoutReplyService();
    ASSERT_TRUE(next.log.waitFor("connected", 2));
    next.start(1);
    ASSERT_TRUE(next.log.waitFor("reply"));
    EXPECT_EQ(next.log.all(), (std::vector<std::string>{"connected", "disconnected", "connected", "reply"}));
}

TEST_F(ZidServiceTest, HighestInstanceIsAnsweredBeyondSixteenBits) {
    const ZidService highest(65535);
    ClientStub client(65535);
    client.connect();
    client.start(1);
    EXPECT_TRUE(client.log.waitFor("reply"));
}

}  // namespace
