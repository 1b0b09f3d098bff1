#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <future>
#include <optional>
#include <sstream>
#include <thread>

#include "Agent.h"
#include "AgentStart.h"
#include "comm/AgentStartStatus.h"
#include "comm/AgentStarter.h"

namespace {

using comm::AgentStart;
using comm::AgentStartStatus;

constexpr long long Watchdog = 30000;  // ms

/// A transport whose start lasts as long as the test wants.
class SlowTransport final : public comm::transport::Transport {
  public:
    SlowTransport(std::shared_future<void> released, std::shared_ptr<std::promise<void>> ended)
        : m_released(std::move(released)), m_ended(std::move(ended)) {}

    bool start() override {
        m_released.wait();
        return false;
    }
    void stop() override { m_ended->set_value(); }
    ipl::string description() const override { return "slow"; }
    std::shared_ptr<comm::transport::Listener> listen(const comm::TrackedBase::IdentityArgs& /*identity*/,
                                                      std::shared_ptr<comm::transport::ListenerEvents>) override {
        return nullptr;
    }
    std::shared_ptr<comm::transport::Link> link(const comm::TrackedBase::IdentityArgs& /*identity*/,
                                                std::shared_ptr<comm::transport::LinkEvents>) override {
        return nullptr;
    }

  private:
    std::shared_future<void> m_released;
    std::shared_ptr<std::promise<void>> m_ended;
};

class AgentStartTest : public testing::Test {
  protected:
    std::shared_ptr<AgentStart> begin(AgentStartStatus& status) {
        m_ended = std::make_shared<std::promise<void>>();
        auto create = [released = m_released, ended = m_ended]() -> std::shared_ptr<comm::Agent> {
            auto agent = std::make_shared<comm::Agent>(std::make_unique<SlowTransport>(released, ended));
            return comm::Agent::start(agent) ? nullptr : agent;
        };
        return AgentStart::begin(create, status);
    }

    void release() { m_release.set_value(); }

    bool hasEnded() {
        return m_ended->get_future().wait_for(std::chrono::milliseconds(Watchdog)) == std::future_status::ready;
    }

    static ipl::string text(const AgentStartStatus& status) {
        std::ostringstream stream;
        status.print(stream);
        return stream.str();
    }

  private:
    std::promise<void> m_release;
    std::shared_future<void> m_released = m_release.get_future().share();
    std::shared_ptr<std::promise<void>> m_ended;
};

TEST_F(AgentStartTest, OneThatHangsIsGivenUpAndEndsItsAgentWhenItComes) {
    std::optional<AgentStartStatus> status(std::in_place);
    const std::shared_ptr<AgentStart> start = begin(*status);
    EXPECT_EQ(status->waitUntilStarted(1), AgentStartStatus::TimedOut);
    EXPECT_EQ(text(*status), "it has not answered yet");
    status.reset();
    start->leave(true);
    release();
    EXPECT_TRUE(hasEnded()) << "the agent came to stay";
    EXPECT_EQ(comm::Agent::current(), nullptr);

    AgentStartStatus next;
    const std::shared_ptr<AgentStart> second = begin(next);
    EXPECT_EQ(next.waitUntilStarted(Watchdog), AgentStartStatus::Started);
    EXPECT_EQ(text(next), "started, slow");
    second->leave(true);
    EXPECT_TRUE(hasEnded());
}

TEST_F(AgentStartTest, LateReportReachesAReceiverThatWaitsLongerThanTheStarter) {
    AgentStartStatus status;
    begin(status)->leave(true);
    release();
    EXPECT_EQ(status.waitUntilStarted(Watchdog), AgentStartStatus::Failed);
    EXPECT_EQ(text(status), "its starter ended before it");
    EXPECT_TRUE(hasEnded());
}

TEST_F(AgentStartTest, AgentThatOutlivesItsStarterMayComeLate) {
    AgentStartStatus status;
    begin(status)->leave(false);
    release();
    EXPECT_EQ(status.waitUntilStarted(Watchdog), AgentStartStatus::Started);
    const std::shared_ptr<comm::Agent> agent = comm::Agent::current();
    ASSERT_NE(agent, nullptr);
    agent->stop();
}

TEST_F(AgentStartTest, ThreadThatCannotBeStartedIsReported) {
    pthread_attr_t usual;
    pthread_attr_t huge;
    ASSERT_EQ(pthread_getattr_default_np(&usual), 0);
    ASSERT_EQ(pthread_getattr_default_np(&huge), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&huge, std::size_t{1} << 50), 0);
    ASSERT_EQ(pthread_setattr_default_np(&huge), 0);
    AgentStartStatus status;
    {
        comm::AgentStarter starter("testclient", "local");
        starter.start(&status, true);
    }
    EXPECT_EQ(pthread_setattr_default_np(&usual), 0);
    EXPECT_EQ(status.waitUntilStarted(Watchdog), AgentStartStatus::Failed);
    EXPECT_EQ(text(status), "starting the thread agent_start: Resource temporarily unavailable");
}

}  // namespace
