// What every transport guarantees, tested through the library's interface alone. A further transport runs the same
// suite as a further process name.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <thread>

#include "PeerProcess.h"
#include "RunningAgent.h"
#include "TestService.h"
#include "ipl/ErrorStorage.h"

namespace {

constexpr std::uint32_t MiB = 1U << 20;

std::string takeReason() {
    const char* reason = ipl::ErrorStorage::reason();
    std::string text = reason == nullptr ? "" : reason;
    ipl::ErrorStorage::ack();
    return text;
}

struct Transport {
    const char* processName;
    /// What a process has sent arrives also when it is killed at once. A network takes only so much at a time, and what
    /// it has not taken dies with the process.
    bool keepsWhatTheKilledHaveSent;
};

class Conformance : public testing::TestWithParam<Transport> {
  protected:
    void TearDown() override { ipl::ErrorStorage::ack(); }

    // What the other process does: see comm_peer.
    static std::string peer(const std::string& arguments) { return GetParam().processName + (' ' + arguments); }

    RunningAgent agent{GetParam().processName};
};

class LifecycleLog final : public comm::LifecycleListener {
  public:
    void lifecycleChanged(bool alive) override { log.add(alive ? "alive" : "dead"); }
    EventLog log;
};

TEST_P(Conformance, ConnectingToALivingRegistrationIsCompleteOnReturn) {
    TestService service(1);
    ASSERT_FALSE(service.registration().registerService());
    TestProxy proxy(1);
    ASSERT_FALSE(proxy.connect());
    EXPECT_TRUE(proxy.isAlive());
    proxy.call(5);
    ASSERT_TRUE(service.log.waitForCount(2));
    EXPECT_EQ(service.log.all(), (std::vector<std::string>{"connected", "5"}));
}

TEST_P(Conformance, AProxyFollowsItsRegistration) {
    LifecycleLog life;
    TestProxy proxy(1, &life);
    ASSERT_FALSE(proxy.connect());
    EXPECT_TRUE(proxy.isDead());
    for (std::ptrdiff_t round = 1; round <= 20; ++round) {
        TestService service(1);
        ASSERT_FALSE(service.registration().registerService());
        ASSERT_FALSE(proxy.waitUntilAlive());
        proxy.call(7);
        ASSERT_TRUE(service.log.waitFor("7"));
        ASSERT_FALSE(service.registration().unregisterService());
        ASSERT_FALSE(proxy.waitUntilDead());
    }
    proxy.disconnect();
    const auto changes = life.log.all();
    ASSERT_EQ(changes.size(), 40U);
    for (std::size_t i = 0; i < changes.size(); ++i) EXPECT_EQ(changes[i], i % 2 == 0 ? "alive" : "dead");
}

TEST_P(Conformance, CallsArriveInOrderWithTheirBytes) {
    std::atomic<unsigned> wrong{0};
    const auto sizeOf = [](unsigned i) { return i % 50 == 49 ? MiB : i * 37 % 70000; };
    unsigned expected = 0;
    TestService service(1, [&](const comm::Message& message) {
        const bool right = message.handleSize == expected && message.data && message.data->size == sizeOf(expected) &&
                           countsUpFrom(*message.data, static_cast<std::uint8_t>(expected));
        if (!right) ++wrong;
        ++expected;
    });
    ASSERT_FALSE(service.registration().registerService());
    {
        TestProxy proxy(1);
        ASSERT_FALSE(proxy.connect());
        // The sender's array changes as soon as the call has returned.
        const util::UInt8ArrayPtr array = util::CITypesFactory::createUInt8Array(MiB);
        for (unsigned i = 0; i < 400; ++i) {
            array->size = sizeOf(i);
            for (std::uint32_t k = 0; k < array->size; ++k) array->data[k] = static_cast<std::uint8_t>(i + k);
            proxy.call(static_cast<std::uint16_t>(i), array);
        }
    }
    ASSERT_TRUE(service.log.waitFor("disconnected"));
    const auto events = service.log.all();
    EXPECT_EQ(events.front(), "connected");
    EXPECT_EQ(events.back(), "disconnected");
    EXPECT_EQ(events.size(), 402U);
    EXPECT_EQ(wrong, 0U);
}

TEST_P(Conformance, AnArrayThatTheReceiverKeepsIsItsOwn) {
    std::vector<util::UInt8ArrayPtr> kept;
    TestService service(1, [&](const comm::Message& message) { kept.push_back(message.data); });
    ASSERT_FALSE(service.registration().registerService());
    TestProxy proxy(1);
    ASSERT_FALSE(proxy.connect());
    for (std::uint8_t i = 0; i < 10; ++i) proxy.call(i, countingArray(1000, i));
    proxy.call(10);
    proxy.call(11, countingArray(0, 0));
    ASSERT_TRUE(service.log.waitFor("11"));
    for (std::uint8_t i = 0; i < 10; ++i) EXPECT_TRUE(countsUpFrom(*kept[i], i));
    EXPECT_FALSE(kept[10]);  // no array at all
    ASSERT_TRUE(kept[11]);   // an array of size 0
    EXPECT_EQ(kept[11]->size, 0U);
}

TEST_P(Conformance, CallsOfOneRegistrationComeOneAtATime) {
    std::atomic<int> inside{0};
    std::atomic<bool> overlapped{false};
    TestService service(1, [&](const comm::Message&) {
        if (++inside != 1) overlapped = true;
        std::this_thread::yield();
        --inside;
    });
    ASSERT_FALSE(service.registration().registerService());
    std::vector<std::thread> callers;
    for (int caller = 0; caller < 4; ++caller)
        callers.emplace_back([] {
            for (int connection = 0; connection < 10; ++connection) {
                TestProxy proxy(1);
                EXPECT_FALSE(proxy.connect());
                EXPECT_TRUE(proxy.isAlive());
                for (int i = 0; i < 20; ++i) proxy.call(1, countingArray(100, 0));
            }
        });
    for (auto& caller : callers) caller.join();
    ASSERT_TRUE(service.log.waitFor("disconnected", 40));
    EXPECT_TRUE(service.log.waitFor("1", 800));
    EXPECT_FALSE(overlapped);
}

TEST_P(Conformance, ThreadsMayShareAProxy) {
    std::atomic<unsigned> wrong{0};
    TestService service(1, [&](const comm::Message& message) {
        if (!message.data || !countsUpFrom(*message.data, static_cast<std::uint8_t>(message.handleSize))) ++wrong;
    });
    ASSERT_FALSE(service.registration().registerService());
    TestProxy proxy(1);
    ASSERT_FALSE(proxy.connect());
    std::vector<std::thread> callers;
    for (std::uint8_t caller = 0; caller < 4; ++caller)
        callers.emplace_back([&proxy, caller] {
            for (int i = 0; i < 100; ++i) proxy.call(caller, countingArray(30000, caller));
        });
    for (auto& caller : callers) caller.join();
    ASSERT_TRUE(service.log.waitForCount(401));
    EXPECT_EQ(wrong, 0U);
}

TEST_P(Conformance, AWaitEndsWithFailureWhenTheProxyIsDisconnected) {
    TestProxy proxy(1);
    EXPECT_TRUE(proxy.waitUntilAlive()) << "never connected";
    ASSERT_FALSE(proxy.connect());
    std::thread waiter([&] {
        EXPECT_TRUE(proxy.waitUntilAlive());
        EXPECT_NE(takeReason(), "");
    });
    proxy.disconnect();
    waiter.join();
}

TEST_P(Conformance, TheAgentsEndWithdrawsAndDisconnectsEverything) {
    TestService service(1);
    ASSERT_FALSE(service.registration().registerService());
    TestProxy connected(1);
    ASSERT_FALSE(connected.connect());
    TestProxy pending(2);
    ASSERT_FALSE(pending.connect());
    std::thread forLife([&] { EXPECT_TRUE(pending.waitUntilAlive()); });
    std::thread forDeath([&] { (void)connected.waitUntilDead(); });  // its service may go before it does
    agent.end();
    forLife.join();
    forDeath.join();
    EXPECT_FALSE(service.registration().isAlive());
    connected.call(1);
    EXPECT_NE(takeReason(), "");
    EXPECT_TRUE(TestProxy(1).connect());
    EXPECT_TRUE(service.registration().registerService());
    EXPECT_NE(takeReason().find("no agent"), std::string::npos);
}

TEST_P(Conformance, ACallOnWhatIsNotAliveIsDroppedWithAReason) {
    TestProxy proxy(9);
    proxy.call(1);
    EXPECT_NE(takeReason().find("test.Interface/9"), std::string::npos);
    ASSERT_FALSE(proxy.connect());
    proxy.call(1);
    EXPECT_NE(takeReason().find("test.Interface/9"), std::string::npos);

    TestService service(9);
    ASSERT_FALSE(service.registration().registerService());
    ASSERT_FALSE(proxy.waitUntilAlive());
    proxy.call(2);
    ASSERT_TRUE(service.log.waitForCount(2));
    EXPECT_EQ(service.log.all(), (std::vector<std::string>{"connected", "2"}));
}

TEST_P(Conformance, ASecondRegistrationIsRefusedAndNamesTheHolder) {
    TestService first(1);
    ASSERT_FALSE(first.registration().registerService());
    TestService second(1);
    ASSERT_TRUE(second.registration().registerService());
    EXPECT_NE(takeReason().find(std::to_string(::getpid())), std::string::npos);
    EXPECT_FALSE(second.registration().isAlive());
    ASSERT_FALSE(first.registration().unregisterService());
    EXPECT_FALSE(second.registration().registerService());
}

TEST_P(Conformance, NoCallbackRunsAfterUnregistering) {
    for (int round = 0; round < 20; ++round) {
        std::atomic<bool> gone{false};
        std::atomic<bool> late{false};
        TestService service(1, [&](const comm::Message&) {
            if (gone) late = true;
        });
        ASSERT_FALSE(service.registration().registerService());
        std::atomic<bool> stop{false};
        std::thread caller([&] {
            TestProxy proxy(1);
            EXPECT_FALSE(proxy.connect());
            while (!stop) proxy.call(1);
        });
        ASSERT_TRUE(service.log.waitFor("1", 10));
        ASSERT_FALSE(service.registration().unregisterService());
        gone = true;
        const std::size_t before = service.log.all().size();
        stop = true;
        caller.join();
        EXPECT_EQ(service.log.all().size(), before);
        EXPECT_FALSE(late);
    }
}

TEST_P(Conformance, ACallbackMayUnregisterItsOwnRegistration) {
    TestService* self = nullptr;
    TestService service(1, [&](const comm::Message&) { EXPECT_FALSE(self->registration().unregisterService()); });
    self = &service;
    ASSERT_FALSE(service.registration().registerService());
    TestProxy proxy(1);
    ASSERT_FALSE(proxy.connect());
    for (int i = 0; i < 10; ++i) proxy.call(1);
    ASSERT_FALSE(proxy.waitUntilDead());
    ASSERT_TRUE(service.log.waitFor("1"));
    EXPECT_EQ(service.log.all(), (std::vector<std::string>{"connected", "1"}));
    EXPECT_FALSE(service.registration().registerService());
    EXPECT_FALSE(proxy.waitUntilAlive());
}

// The callback lasts until others are about to end its registration, and then some.
TEST_P(Conformance, EveryoneWhoEndsARegistrationWaitsForItsCallback) {
    for (const bool endsAgent : {false, true}) {
        EventLog order;
        TestService service(1, [&](const comm::Message&) {
            order.add("inside");
            EXPECT_TRUE(order.waitFor("ending", 2));
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            order.add("done");
        });
        ASSERT_FALSE(service.registration().registerService());
        TestProxy proxy(1);
        ASSERT_FALSE(proxy.connect());
        proxy.call(1);
        ASSERT_TRUE(order.waitFor("inside"));
        std::thread first([&] {
            order.add("ending");
            EXPECT_FALSE(service.registration().unregisterService());
            order.add("ended");
        });
        ASSERT_FALSE(service.registration().waitUntilDead());
        order.add("ending");
        if (endsAgent)
            agent.end();
        else
            EXPECT_TRUE(service.registration().unregisterService());
        order.add("ended");
        first.join();
        EXPECT_EQ(order.all(), (std::vector<std::string>{"inside", "ending", "ending", "done", "ended", "ended"}));
    }
}

TEST_P(Conformance, ARegistrationThatItsCallbackEndsAtOnceIsNotAliveAfterwards) {
    struct Holder final : comm::LifecycleListener {
        void lifecycleChanged(bool alive) override {  // inside registerService
            EXPECT_TRUE(!alive || log.waitFor("unregistered"));
        }
        EventLog log;
    } holder;
    TestService* self = nullptr;
    TestService service(
        1,
        [&](const comm::Message&) {
            EXPECT_TRUE(self->registration().isAlive());
            EXPECT_FALSE(self->registration().unregisterService());
            holder.log.add("unregistered");
        },
        &holder);
    self = &service;
    struct Caller final : comm::LifecycleListener {
        void lifecycleChanged(bool alive) override {
            if (alive) proxy.call(1);
        }
        TestProxy proxy{1, this};
    } caller;
    ASSERT_FALSE(caller.proxy.connect());
    EXPECT_FALSE(service.registration().registerService());
    EXPECT_FALSE(service.registration().isAlive());
    agent.end();  // after the callback
}

TEST_P(Conformance, CallbacksMayUnregisterEachOthersRegistrations) {
    EventLog order;
    TestService* both[2] = {};
    const auto unregister = [&](std::size_t which) {
        order.add("inside");
        EXPECT_TRUE(order.waitFor("inside", 2));
        EXPECT_FALSE(both[which]->registration().unregisterService());
        order.add("unregistered");
    };
    TestService first(1, [&](const comm::Message&) { unregister(1); });
    TestService second(2, [&](const comm::Message&) { unregister(0); });
    both[0] = &first;
    both[1] = &second;
    TestProxy toFirst(1);
    TestProxy toSecond(2);
    ASSERT_FALSE(first.registration().registerService());
    ASSERT_FALSE(second.registration().registerService());
    ASSERT_FALSE(toFirst.connect());
    ASSERT_FALSE(toSecond.connect());
    toFirst.call(1);
    toSecond.call(1);
    EXPECT_TRUE(order.waitFor("unregistered", 2));
    agent.end();
}

TEST_P(Conformance, ACallbackMayDestroyAProxy) {
    TestService target(2);
    ASSERT_FALSE(target.registration().registerService());
    auto held = std::make_unique<TestProxy>(2);
    ASSERT_FALSE(held->connect());
    ASSERT_TRUE(target.log.waitFor("connected"));  // one that comes and goes unheard may stay so
    TestService service(1, [&](const comm::Message&) { held.reset(); });
    ASSERT_FALSE(service.registration().registerService());
    TestProxy proxy(1);
    ASSERT_FALSE(proxy.connect());
    proxy.call(1);
    EXPECT_TRUE(target.log.waitFor("disconnected"));
}

TEST_P(Conformance, AListenerMayDestroyItsProxy) {
    struct Destroyer final : comm::LifecycleListener {
        void lifecycleChanged(bool alive) override {
            if (alive) return;
            proxy.reset();
            log.add("destroyed");
        }
        std::unique_ptr<TestProxy> proxy = std::make_unique<TestProxy>(1, this);
        EventLog log;
    } destroyer;
    TestService service(1);
    ASSERT_FALSE(service.registration().registerService());
    ASSERT_FALSE(destroyer.proxy->connect());
    ASSERT_FALSE(service.registration().unregisterService());
    EXPECT_TRUE(destroyer.log.waitFor("destroyed"));
}

// Either inside connect, or later on a thread of the transport.
TEST_P(Conformance, AListenerMayDestroyItsProxyAsSoonAsItIsAlive) {
    for (const bool servesFirst : {true, false}) {
        struct Destroyer final : comm::LifecycleListener {
            void lifecycleChanged(bool alive) override {
                if (!alive) return;
                proxy->call(4);
                proxy.reset();
            }
            std::unique_ptr<TestProxy> proxy = std::make_unique<TestProxy>(1, this);
        } destroyer;
        TestService service(1);
        if (servesFirst) (void)service.registration().registerService();
        ASSERT_FALSE(destroyer.proxy->connect());
        if (!servesFirst) (void)service.registration().registerService();
        ASSERT_TRUE(service.log.waitFor("disconnected"));
        EXPECT_EQ(service.log.all(), (std::vector<std::string>{"connected", "4", "disconnected"}));
    }
}

// A listener that is still inside the news that its proxy is alive.
class BlockingListener final : public comm::LifecycleListener {
  public:
    void lifecycleChanged(bool alive) override {
        log.add(alive ? "alive" : "dead");
        EXPECT_TRUE(!alive || gate.waitFor("open"));
        log.add("returned");
    }
    EventLog log;
    EventLog gate;
};

TEST_P(Conformance, ConnectingMayRaceDisconnectingAndTheAgentsEnd) {
    TestService service(1);
    ASSERT_FALSE(service.registration().registerService());
    for (const bool endsAgent : {false, true}) {
        BlockingListener listener;
        TestProxy proxy(1, &listener);
        std::thread connecting([&] { (void)proxy.connect(); });
        ASSERT_TRUE(listener.log.waitFor("alive"));
        std::thread ending([&] {
            endsAgent ? agent.end() : proxy.disconnect();
            listener.log.add("ended");
        });
        std::thread waiting([&] {
            (void)proxy.waitUntilDead();
            EXPECT_TRUE(proxy.waitUntilAlive());
            listener.gate.add("waited");
        });
        EXPECT_TRUE(listener.gate.waitFor("waited")) << "it has ended, though its listener has not returned yet";
        listener.gate.add("open");
        for (std::thread* thread : {&connecting, &ending, &waiting}) thread->join();
        EXPECT_EQ(listener.log.all(), (std::vector<std::string>{"alive", "returned", "dead", "returned", "ended"}));
        EXPECT_TRUE(proxy.connect());
    }
}

// For a service of which clients have come and gone before it has heard of them.
void beSlow(const comm::Message& /*message*/) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
}

TEST_P(Conformance, AConnectionEndsBeforeTheNextOneOfTheSameClientBegins) {
    TestService service(1, beSlow);
    ASSERT_FALSE(service.registration().registerService());
    std::vector<std::string> expected;
    for (int round = 0; round < 20; ++round) {
        TestProxy proxy(1);
        ASSERT_FALSE(proxy.connect());
        ASSERT_TRUE(proxy.isAlive());
        proxy.call(1);
        expected.insert(expected.end(), {"connected", "1", "disconnected"});
    }
    ASSERT_TRUE(service.log.waitForCount(expected.size()));
    EXPECT_EQ(service.log.all(), expected);
}

TEST_P(Conformance, ClientsThatHaveGoneAreHeardToTheirEnds) {
    TestService service(1, beSlow);
    ASSERT_FALSE(service.registration().registerService());
    {
        TestProxy first(1);
        TestProxy second(1);
        ASSERT_FALSE(first.connect());
        for (int call = 0; call < 10; ++call) first.call(1);
        ASSERT_FALSE(second.connect());
        for (int call = 0; call < 10; ++call) {
            first.call(1);
            second.call(2);
        }
    }
    ASSERT_TRUE(service.log.waitFor("disconnected", 2));
    const std::vector<std::string> events = service.log.all();
    EXPECT_EQ(std::ranges::count(events, "connected"), 2);
    EXPECT_EQ(std::ranges::count(events, "1"), 20);
    EXPECT_EQ(std::ranges::count(events, "2"), 10);
}

TEST_P(Conformance, AKilledServiceIsNoticedAndReplaced) {
    auto killed = std::make_unique<PeerProcess>(peer("serve 1"));
    ASSERT_EQ(killed->readLine(), "serving");
    TestProxy proxy(1);
    ASSERT_FALSE(proxy.connect());
    ASSERT_TRUE(proxy.isAlive());
    TestService refused(1);
    ASSERT_TRUE(refused.registration().registerService());
    EXPECT_NE(takeReason().find(std::to_string(killed->id())), std::string::npos);

    killed->kill();
    ASSERT_FALSE(proxy.waitUntilDead());
    TestService successor(1);
    ASSERT_FALSE(successor.registration().registerService());
    ASSERT_FALSE(proxy.waitUntilAlive());
    proxy.call(3);
    EXPECT_TRUE(successor.log.waitFor("3"));
}

TEST_P(Conformance, AKilledClientIsNoticedAfterItsLastMessage) {
    TestService service(1);
    ASSERT_FALSE(service.registration().registerService());
    PeerProcess client(peer("call 1 50 100000"));
    ASSERT_EQ(client.readLine(), "called");
    client.kill();
    ASSERT_TRUE(service.log.waitFor("disconnected"));
    EXPECT_EQ(service.log.all().front(), "connected");
    EXPECT_EQ(service.log.all().back(), "disconnected");
    if (GetParam().keepsWhatTheKilledHaveSent)
        EXPECT_EQ(service.log.all().size(), 52U);
    else
        EXPECT_LE(service.log.all().size(), 52U);
}

TEST_P(Conformance, AStoppedReceiverDoesNotHoldUpItsSender) {
    PeerProcess receiver(peer("serve 1"));
    ASSERT_EQ(receiver.readLine(), "serving");
    TestProxy proxy(1);
    ASSERT_FALSE(proxy.connect());
    ASSERT_EQ(receiver.readLine(), "connected");
    receiver.signal(SIGSTOP);
    for (std::uint8_t i = 0; i < 64; ++i) proxy.call(i, countingArray(MiB, i));  // would wait for ever
    receiver.signal(SIGCONT);
    for (unsigned i = 0; i < 64; ++i) ASSERT_EQ(receiver.readLine(), std::to_string(i) + " 1048576 right");
    // What was called before the end still arrives.
    receiver.signal(SIGSTOP);
    for (std::uint8_t i = 0; i < 8; ++i) proxy.call(i, countingArray(MiB, i));
    proxy.disconnect();
    receiver.signal(SIGCONT);
    for (unsigned i = 0; i < 8; ++i) ASSERT_EQ(receiver.readLine(), std::to_string(i) + " 1048576 right");
    EXPECT_EQ(receiver.readLine(), "disconnected");
}

// More than a service that is stopped takes, and sent well within a lease.
constexpr std::uint8_t Backlog = 24;

void leaveBacklog(const PeerProcess& service) {
    TestProxy proxy(1);
    ASSERT_FALSE(proxy.connect());
    ASSERT_EQ(service.readLine(), "connected");
    service.signal(SIGSTOP);
    for (std::uint8_t i = 0; i < Backlog; ++i) proxy.call(i, countingArray(MiB, i));
}

void expectBacklogBeforeTheNext(const PeerProcess& service) {
    for (unsigned i = 0; i < Backlog; ++i) ASSERT_EQ(service.readLine(), std::to_string(i) + " 1048576 right");
    EXPECT_EQ(service.readLine(), "disconnected");
    EXPECT_EQ(service.readLine(), "connected");
    EXPECT_EQ(service.readLine(), "7 10 right");
}

TEST_P(Conformance, AnEndBehindABacklogIsHeardBeforeTheNextConnection) {
    PeerProcess service(peer("serve 1"));
    ASSERT_EQ(service.readLine(), "serving");
    ASSERT_NO_FATAL_FAILURE(leaveBacklog(service));
    TestProxy next(1);
    ASSERT_FALSE(next.connect());
    service.signal(SIGCONT);
    ASSERT_FALSE(next.waitUntilAlive());
    next.call(7, countingArray(10, 7));
    expectBacklogBeforeTheNext(service);
}

TEST_P(Conformance, AnEndBehindABacklogIsHeardBeforeAConnectionOfAnotherProcess) {
    PeerProcess service(peer("serve 1"));
    ASSERT_EQ(service.readLine(), "serving");
    PeerProcess next(peer("return 1"));
    ASSERT_EQ(next.readLine(), "ready");
    for (const char* event : {"connected", "6 10 right", "disconnected"}) ASSERT_EQ(service.readLine(), event);
    ASSERT_NO_FATAL_FAILURE(leaveBacklog(service));
    next.signal(SIGUSR1);
    ASSERT_EQ(next.readLine(), "connecting");
    service.signal(SIGCONT);
    expectBacklogBeforeTheNext(service);
}

// While a callback of another registration of its former process does not return.
TEST_P(Conformance, ARegistrationMovesToAnotherProcessAndNothingElseChanges) {
    TestService service(2);
    ASSERT_FALSE(service.registration().registerService());
    PeerProcess former(peer("withdraw 1 3 2"));
    ASSERT_EQ(former.readLine(), "ready");
    LifecycleLog life;
    TestProxy follower(1, &life);
    ASSERT_FALSE(follower.connect());
    TestProxy slow(3);
    ASSERT_FALSE(slow.connect());
    slow.call(1);
    ASSERT_EQ(former.readLine(), "inside");
    former.signal(SIGUSR1);
    ASSERT_EQ(former.readLine(), "withdrawn");
    ASSERT_TRUE(life.log.waitFor("dead"));
    TestService successor(1);
    EXPECT_FALSE(successor.registration().registerService()) << takeReason();
    TestProxy another(2);
    ASSERT_FALSE(another.connect());
    ASSERT_TRUE(service.log.waitForCount(2));
    former.signal(SIGUSR1);
    ASSERT_TRUE(service.log.waitFor("2"));
    EXPECT_EQ(service.log.all(), (std::vector<std::string>{"connected", "connected", "0", "1", "2"}));
}

TEST_P(Conformance, ASenderThatIsNeverHeardEndsItsConnectionInsteadOfFillingTheMemory) {
    PeerProcess receiver(peer("serve 1"));
    ASSERT_EQ(receiver.readLine(), "serving");
    TestProxy proxy(1);
    ASSERT_FALSE(proxy.connect());
    receiver.signal(SIGSTOP);
    const util::UInt8ArrayPtr array = countingArray(8 * MiB, 0);
    unsigned calls = 0;
    while (ipl::ErrorStorage::reason() == nullptr && ++calls < 1000) proxy.call(0, array);
    EXPECT_LT(calls, 1000U);
    EXPECT_NE(takeReason().find("takes nothing"), std::string::npos);
    EXPECT_FALSE(proxy.waitUntilDead());
}

TEST_P(Conformance, AMessageBeyondTheLimitIsRefusedAndTheNextOneArrives) {
    TestService service(1);
    ASSERT_FALSE(service.registration().registerService());
    TestProxy proxy(1);
    ASSERT_FALSE(proxy.connect());
    proxy.call(1, util::CITypesFactory::createUInt8Array((64U << 20) + 1));
    EXPECT_NE(takeReason().find("too long"), std::string::npos);
    proxy.call(2);
    ASSERT_TRUE(service.log.waitFor("2"));
    EXPECT_EQ(service.log.all().size(), 2U);
}

std::string nameOf(const testing::TestParamInfo<Transport>& info) {
    return info.param.processName;
}

INSTANTIATE_TEST_SUITE_P(Local, Conformance, testing::Values(Transport{"testclient", true}), nameOf);
INSTANTIATE_TEST_SUITE_P(Dds, Conformance, testing::Values(Transport{"ddsclient", false}), nameOf);

}  // namespace
