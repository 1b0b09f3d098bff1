// What a transport's links guarantee to the framework above them, where its users cannot see it.

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "Agent.h"
#include "RunningAgent.h"
#include "TestService.h"
#include "ipl/ErrorStorage.h"

namespace {

class NoEvents final : public comm::transport::LinkEvents {
  public:
    void up() override { ADD_FAILURE() << "it was closed"; }
    void down() override { ADD_FAILURE() << "it was closed"; }
};

bool isLetGo(const std::shared_ptr<comm::transport::Link>& link) {
    const auto end = std::chrono::steady_clock::now() + Watchdog;
    while (link.use_count() > 1 && std::chrono::steady_clock::now() < end) std::this_thread::yield();
    return link.use_count() == 1;
}

class LinkTest : public testing::TestWithParam<const char*> {
  protected:
    RunningAgent agent{GetParam()};
};

TEST_P(LinkTest, StaysClosedWhenItIsOpenedAfterwards) {
    TestService service(1);
    ASSERT_FALSE(service.registration().registerService());
    auto events = std::make_shared<NoEvents>();
    const std::weak_ptr<NoEvents> held = events;
    const auto link = comm::Agent::current()->transport().link(TestIdentity(1).args(), std::move(events));
    link->close();
    link->close();
    EXPECT_TRUE(held.expired());
    EXPECT_TRUE(isLetGo(link));
    (void)link->open();
    ipl::ErrorStorage::ack();
    EXPECT_TRUE(isLetGo(link)) << "the transport keeps it";

    TestProxy next(1);
    ASSERT_FALSE(next.connect());
    ASSERT_FALSE(next.waitUntilAlive());
    next.call(1);
    ASSERT_TRUE(service.log.waitFor("1"));
    EXPECT_EQ(service.log.all(), (std::vector<std::string>{"connected", "1"}));
}

INSTANTIATE_TEST_SUITE_P(Local, LinkTest, testing::Values("testclient"));
INSTANTIATE_TEST_SUITE_P(Dds, LinkTest, testing::Values("ddsclient"));

}  // namespace
