// Whatever a process does to what it shares with others, those go on.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/eventfd.h>

#include <functional>
#include <future>
#include <utility>

#include "PlayedPeer.h"
#include "RunningAgent.h"
#include "ipl/ErrorStorage.h"

namespace comm::transport {
namespace {

constexpr eventfd_t Full = 0xffff'ffff'ffff'fffeU;

// What the peer can do to an event counter: from now on it keeps waiting who writes to it or reads from it.
void makeItBlock(int bell) {
    ASSERT_EQ(::fcntl(bell, F_SETFL, 0), 0);
}

void fill(int bell) {
    eventfd_t value = 0;
    ASSERT_EQ(::fcntl(bell, F_SETFL, O_NONBLOCK), 0);
    for (eventfd_t step = Full; step != 0; step /= 2)
        while (::eventfd_write(bell, step) == 0) value += step;
    makeItBlock(bell);
    EXPECT_NE(value, 0U);
}

void setFree(int bell) {
    eventfd_t value = 0;
    ::fcntl(bell, F_SETFL, O_NONBLOCK);
    (void)::eventfd_read(bell, &value);
    (void)::eventfd_write(bell, 1);
}

// Runs it on another thread, and sets that free if it hangs.
void expectReturn(const char* what, int bell, const std::function<void()>& body) {
    std::future<void> done = std::async(std::launch::async, body);
    if (done.wait_for(Watchdog) == std::future_status::ready) return;
    ADD_FAILURE() << what << " is held up";
    while (done.wait_for(std::chrono::milliseconds(10)) != std::future_status::ready) setFree(bell);
}

TEST(HostileReaderTest, NoDoorbellHoldsUpTheOneThatRings) {
    for (const eventfd_t content : {eventfd_t{0}, eventfd_t{1}, Full}) {
        FileDescriptor shared(::eventfd(0, EFD_CLOEXEC));
        ASSERT_EQ(::eventfd_write(shared.get(), content), 0);
        Doorbell bell;
        ASSERT_EQ(bell.adopt(FileDescriptor(::dup(shared.get()))), nullptr);
        expectReturn("ringing", shared.get(), [&] {
            bell.ring();
            bell.ring();
        });
    }
}

TEST(HostileReaderTest, ACallAndAllEndsReturnWhateverTheServiceDoesToTheDoorbell) {
    RunningAgent agent;
    PlayedService service(1);
    TestProxy proxy(1);
    ASSERT_FALSE(proxy.connect());
    ASSERT_TRUE(service.accept());
    const int bell = service.greeting.doorbell.get();
    fill(bell);
    expectReturn("a call or an end", bell, [&] {
        for (std::uint16_t i = 0; i < 3; ++i) {
            service.memory.control().readerSleeps = 1;
            proxy.call(i);
        }
        proxy.disconnect();
        agent.end();
    });
    EXPECT_EQ(ipl::ErrorStorage::reason(), nullptr);
}

}  // namespace
}  // namespace comm::transport
