#include <algorithm>
#include <csignal>
#include <thread>

#include "PeerProcess.h"
#include "RunningAgent.h"
#include "TestService.h"

namespace {

// A client that stands still for longer than its lease is believed to be dead. It does not learn of that, as long as
// the service's lease is longer, and goes on with its old connection.
TEST(ReturningClientTest, IsConnectedAnewAndNotHeardTwice) {
    RunningAgent agent("ddsclient");
    TestService service(1);
    ASSERT_FALSE(service.registration().registerService());
    PeerProcess client("ddsclient_short call 1 5 100");
    ASSERT_EQ(client.readLine(), "called");
    ASSERT_TRUE(service.log.waitFor("4"));
    client.signal(SIGSTOP);
    ASSERT_TRUE(service.log.waitFor("disconnected"));
    client.signal(SIGCONT);
    ASSERT_TRUE(service.log.waitFor("connected", 2));
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    const auto events = service.log.all();
    for (int call = 0; call < 5; ++call) EXPECT_EQ(std::count(events.begin(), events.end(), std::to_string(call)), 1);
}

}  // namespace
