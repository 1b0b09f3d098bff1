// What the system is short of for a while is waited for, in little time and with few words.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "PeerProcess.h"
#include "PlayedPeer.h"
#include "RunningAgent.h"
#include "Sanitized.h"
#include "StandardError.h"
#include "Traffic.h"

namespace comm::transport {
namespace {

using Clock = std::chrono::steady_clock;

// As long as it lives, a process can have only so many descriptors more than it has.
class FewDescriptors {
  public:
    FewDescriptors(pid_t process, rlim_t more) : m_process(process) {
        rlim_t lowest = 0;
        while (std::filesystem::is_symlink(folder() / std::to_string(lowest))) ++lowest;
        EXPECT_EQ(::prlimit(process, RLIMIT_NOFILE, nullptr, &m_before), 0);
        const rlimit limit{lowest + more, m_before.rlim_max};
        EXPECT_EQ(::prlimit(process, RLIMIT_NOFILE, &limit, nullptr), 0);
    }
    FewDescriptors(const FewDescriptors&) = delete;
    FewDescriptors& operator=(const FewDescriptors&) = delete;
    ~FewDescriptors() { EXPECT_EQ(::prlimit(m_process, RLIMIT_NOFILE, &m_before, nullptr), 0); }

  private:
    std::filesystem::path folder() const { return "/proc/" + std::to_string(m_process) + "/fd"; }

    const pid_t m_process;
    rlimit m_before{};
};

std::chrono::microseconds processorTime() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return std::chrono::seconds(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           std::chrono::microseconds(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

class ShortageTest : public testing::Test {
  protected:
    const StandardError standardError;
    RunningAgent agent;
};

class DescriptorShortageTest : public ShortageTest {
  protected:
    void SetUp() override {
        if (AddressSanitized) GTEST_SKIP() << "the address sanitizer's own checks need descriptors";
    }
};

TEST_F(DescriptorShortageTest, ConnectionsWaitForDescriptorsInSilence) {
    constexpr std::ptrdiff_t Count = 3;
    std::vector<std::unique_ptr<TestService>> services;
    std::vector<std::unique_ptr<PlayedClient>> clients;
    for (std::uint32_t instance = 0; instance < Count; ++instance) {
        services.push_back(std::make_unique<TestService>(instance));
        ASSERT_FALSE(services.back()->registration().registerService());
        clients.push_back(std::make_unique<PlayedClient>(instance));
    }
    {
        const FewDescriptors none(::getpid(), 0);
        for (const auto& client : clients) {
            ASSERT_TRUE(client->connect() && client->greet());
            Outgoing call = callOf({}, 7);
            ASSERT_EQ(client->ring->write(call), RingWriter::Result::Done);
        }
        ASSERT_TRUE(standardError.waitFor("have to wait"));
        const auto before = processorTime();
        std::this_thread::sleep_for(std::chrono::seconds(1));
        EXPECT_LT(processorTime() - before, std::chrono::milliseconds(200));
        EXPECT_LE(std::ranges::count(standardError.said(), '\n'), 3 * Count) << standardError.said();
    }
    for (const auto& service : services) {
        ASSERT_TRUE(service->log.waitFor("7"));
        EXPECT_EQ(service->log.all(), (std::vector<std::string>{"connected", "7"}));
    }
}

TEST_F(DescriptorShortageTest, AProxyWithoutDescriptorsIsAliveAsSoonAsThereAreSome) {
    const PeerProcess service("testclient serve 1");
    ASSERT_EQ(service.readLine(), "serving");
    TestProxy proxy(1);
    {
        const FewDescriptors none(::getpid(), 0);
        EXPECT_FALSE(proxy.connect());
        EXPECT_TRUE(proxy.isDead());
        EXPECT_TRUE(standardError.waitFor("no connection to test.Interface/1 yet"));
    }
    ASSERT_TRUE(becomesAlive(proxy));
    proxy.call(1, countingArray(10, 1));
    EXPECT_EQ(service.readLine(), "connected");
    EXPECT_EQ(service.readLine(), "1 10 right");
}

TEST_F(DescriptorShortageTest, AGreetingWaitsUntilThereAreDescriptorsForIt) {
    for (const rlim_t forGreeting : {0U, 1U}) {
        const StandardError thisTime;
        const PeerProcess service("testclient serve 1");
        ASSERT_EQ(service.readLine(), "serving");
        TestProxy proxy(1);
        {
            const FewDescriptors few(service.id(), 1 + forGreeting);
            ASSERT_FALSE(proxy.connect());
            ASSERT_TRUE(thisTime.waitFor("have to wait"));
        }
        ASSERT_EQ(service.readLine(), "connected");
        proxy.call(1, countingArray(10, 1));
        EXPECT_EQ(service.readLine(), "1 10 right");
    }
}

TEST_F(ShortageTest, AProxyWaitsForAServiceWithAFullQueue) {
    PlayedService service(1, 0);
    {
        std::vector<std::unique_ptr<PlayedClient>> others;
        do others.push_back(std::make_unique<PlayedClient>(1));
        while (others.back()->connect());
        ASSERT_EQ(errno, EAGAIN);
        TestProxy proxy(1);
        EXPECT_FALSE(proxy.connect());
        EXPECT_TRUE(proxy.isDead());
        const std::size_t waiting = others.size() - 1;
        others.clear();
        for (std::size_t i = 0; i < waiting; ++i) ASSERT_FALSE(service.accept());
        ASSERT_TRUE(service.accept());
        EXPECT_TRUE(becomesAlive(proxy));
    }
    EXPECT_EQ(standardError.said(), "");
}

// Reads what a service that the test plays is sent.
class Drain final : private RingReader::Sink {
  public:
    explicit Drain(const PlayedService& service) : m_file(service.greeting.memory.get()), m_reader(view(service)) {}

    void read() {
        while (m_reader.read(*this) == RingReader::Result::Read) continue;
    }
    std::size_t residentBytes() const {
        struct stat status {};
        return ::fstat(m_file, &status) == 0 ? static_cast<std::size_t>(status.st_blocks) * 512 : 0;
    }

  private:
    static RingMemory view(const PlayedService& service) {
        RingMemory memory;
        EXPECT_EQ(memory.adopt(service.greeting.memory), nullptr);
        return memory;
    }
    bool received(const Message& /*message*/) override { return false; }

    const int m_file;
    RingReader m_reader;
};

TEST_F(ShortageTest, MemoryOfABurstIsGivenBackHoweverMuchGoesOn) {
    constexpr std::uint32_t MiB = 1U << 20;
    PlayedService service(1);
    TestProxy proxy(1);
    ASSERT_FALSE(proxy.connect());
    ASSERT_TRUE(service.accept());
    Drain drain(service);
    for (int i = 0; i < 8; ++i) proxy.call(1, countingArray(MiB, 0));
    drain.read();
    ASSERT_GT(drain.residentBytes(), 4 * MiB);
    for (const auto end = Clock::now() + Watchdog; drain.residentBytes() > MiB && Clock::now() < end;) {
        const PlayedService appears(2);
        proxy.call(1);
        drain.read();
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    EXPECT_LE(drain.residentBytes(), MiB);
}

std::size_t virtualMemory() {
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

TEST_F(ShortageTest, RegistrationsThatHaveEndedLeaveNoThreadBehind) {
    // The memory allocator reserves a good part of it for its threads; the stacks of all rounds are twice as much.
    constexpr std::size_t FewStacks = std::size_t{2} << 30;
    std::size_t before = 0;
    for (int round = 0; round < 510; ++round) {
        if (round == 10) before = virtualMemory();
        TestService service(1);
        ASSERT_FALSE(service.registration().registerService());
        ASSERT_FALSE(service.registration().unregisterService());
    }
    EXPECT_LT(virtualMemory(), before + FewStacks);
}

}  // namespace
}  // namespace comm::transport
