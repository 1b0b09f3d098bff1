// What somebody removes from the runtime directory, or the directory itself, comes back.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include "ListeningSockets.h"
#include "PeerProcess.h"
#include "PlayedPeer.h"
#include "RunningAgent.h"
#include "StandardError.h"
#include "ipl/ErrorStorage.h"

namespace comm::transport {
namespace {

namespace fs = std::filesystem;

std::ptrdiff_t count(const std::string& text, const std::string& part) {
    std::ptrdiff_t times = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++times;
    return times;
}

ino_t numberOf(const fs::path& file) {
    struct stat status {};
    return ::lstat(file.c_str(), &status) == 0 ? status.st_ino : 0;
}

// A lock is held when it names its holder.
bool isInUse(const fs::path& file) {
    std::error_code missing;
    const bool isLock = fs::is_regular_file(file, missing);
    return isLock ? fs::file_size(file, missing) > 0 : fs::exists(file, missing);
}

class DirectoryTest : public testing::Test {
  protected:
    ~DirectoryTest() override { ipl::ErrorStorage::ack(); }

    fs::path socketOf(std::uint32_t instance) const {
        return fs::path(agent.directory()) / Identity(TestIdentity(instance).args()).fileName;
    }
    fs::path lockOf(std::uint32_t instance) const { return socketOf(instance).string() + ".lock"; }

    static void expectReachable(TestService& service, std::uint32_t instance, std::uint16_t call) {
        TestProxy proxy(instance);
        ASSERT_FALSE(proxy.connect());
        ASSERT_TRUE(becomesAlive(proxy));
        proxy.call(call);
        EXPECT_TRUE(service.log.waitFor(std::to_string(call)));
    }

    const StandardError standardError;
    RunningAgent agent;
};

TEST_F(DirectoryTest, ARegistrationTakesItsNamesAgain) {
    TestService service(1);
    ASSERT_FALSE(service.registration().registerService());
    TestProxy old(1);
    ASSERT_FALSE(old.connect());
    std::uint16_t call = 0;
    const std::vector<std::vector<fs::path>> cleaned{{lockOf(1)}, {socketOf(1)}, {lockOf(1), socketOf(1)}};
    for (const std::vector<fs::path>& files : cleaned) {
        for (const fs::path& file : files) ASSERT_TRUE(fs::remove(file));
        for (const fs::path& file : files)
            ASSERT_TRUE(becomesTrue([&] { return isInUse(file); })) << file << " does not come back";
        expectReachable(service, 1, ++call);
        TestService second(1);
        EXPECT_TRUE(second.registration().registerService()) << "there are two of one identity";
    }
    old.call(++call);
    EXPECT_TRUE(service.log.waitFor(std::to_string(call)));
    ASSERT_FALSE(service.registration().unregisterService());
    EXPECT_FALSE(fs::exists(lockOf(1)));
    EXPECT_FALSE(fs::exists(socketOf(1)));
    EXPECT_EQ(standardError.said(), "");
}

// The dispatch thread closes them, and may do so before the registration has removed its names.
TEST_F(DirectoryTest, ClosedSocketsLeaveNoName) {
    const auto directory = std::make_shared<RuntimeDirectory>();
    Epoll epoll;
    ASSERT_FALSE(directory->open() || epoll.open());
    ListeningSockets sockets(epoll, 1);
    ASSERT_FALSE(sockets.add(directory, Identity(TestIdentity(1).args())));
    ASSERT_TRUE(fs::exists(socketOf(1)));
    sockets.close();
    EXPECT_FALSE(fs::exists(socketOf(1)));
}

// What another process does that registers the same identity when a cleaner has removed the names.
class Usurper {
  public:
    Usurper(const fs::path& socket, const fs::path& lock)
        : m_lock(::open((socket.string() + ".usurped").c_str(), O_CREAT | O_RDWR | O_CLOEXEC, S_IRUSR | S_IWUSR)) {
        EXPECT_EQ(::flock(m_lock.get(), LOCK_EX | LOCK_NB), 0);
        fs::rename(socket.string() + ".usurped", lock);  // there is no moment without a lock
    }

  private:
    const FileDescriptor m_lock;
};

TEST_F(DirectoryTest, ARegistrationWhoseIdentityIsTakenSaysSoOnceAndTouchesNothing) {
    TestService service(1);
    ASSERT_FALSE(service.registration().registerService());
    const PlayedService thief(1);
    std::optional<Usurper> holder(std::in_place, socketOf(1), lockOf(1));
    ASSERT_TRUE(standardError.waitFor("cannot be reached by new clients"));
    std::this_thread::sleep_for(std::chrono::milliseconds(2100));  // it tries again meanwhile
    EXPECT_EQ(count(standardError.said(), "cannot be reached"), 1) << standardError.said();

    ino_t socket = numberOf(socketOf(1));
    holder.reset();  // as a killed process does, of which nobody hears
    ASSERT_TRUE(becomesTrue([&] { return numberOf(socketOf(1)) != socket; })) << "the name is not taken again";
    expectReachable(service, 1, 1);

    const PlayedService secondThief(1);
    holder.emplace(socketOf(1), lockOf(1));
    socket = numberOf(socketOf(1));
    const ino_t lock = numberOf(lockOf(1));
    ASSERT_FALSE(service.registration().unregisterService());
    EXPECT_EQ(numberOf(socketOf(1)), socket);
    EXPECT_EQ(numberOf(lockOf(1)), lock);
}

// An agent with a registration 1 and a proxy that waits for a registration 2.
class LostDirectoryTest : public DirectoryTest {
  protected:
    LostDirectoryTest() {
        EXPECT_FALSE(waiting.connect());
        // When this one is alive, all has been noticed that is in the directory.
        TestProxy early(1);
        EXPECT_FALSE(early.connect());
        EXPECT_FALSE(service.registration().registerService());
        EXPECT_TRUE(becomesAlive(early));
    }

    // What is in use fills itself again, so it takes someone who insists.
    static void remove(const fs::path& directory) {
        std::error_code error;
        do fs::remove_all(directory, error);
        while (error);
    }

    // The waiting proxy and a registration of a new process meet, and so do those of this process and new clients.
    void expectAllMeets() {
        const PeerProcess newService("testclient serve 2");
        ASSERT_EQ(newService.readLine(), "serving");
        ASSERT_TRUE(becomesAlive(waiting));
        waiting.call(4, countingArray(10, 4));
        EXPECT_EQ(newService.readLine(), "connected");
        EXPECT_EQ(newService.readLine(), "4 10 right");

        const PeerProcess newClient("testclient call 1 1 10");
        ASSERT_EQ(newClient.readLine(), "called");
        EXPECT_TRUE(service.log.waitFor("0"));
        TestService another(3);
        ASSERT_FALSE(another.registration().registerService());
        expectReachable(another, 3, 3);
        EXPECT_EQ(count(standardError.said(), "was removed while it was in use"), 1) << standardError.said();
    }

    TestService service{1};
    TestProxy waiting{2};
};

TEST_F(LostDirectoryTest, IsReplacedWhenItIsRemoved) {
    remove(agent.directory());
    expectAllMeets();
}

TEST_F(LostDirectoryTest, IsReplacedWhenItIsMovedAway) {
    fs::rename(agent.directory(), agent.directory() + ".away");
    expectAllMeets();
}

TEST_F(LostDirectoryTest, IsReplacedAsSoonAsItsParentIsThereAgain) {
    const fs::path parent = fs::path(agent.directory()).parent_path();
    const fs::path away = parent.string() + ".away";
    fs::rename(parent, away);  // which nobody hears of
    remove(away);
    ASSERT_TRUE(standardError.waitFor("as soon as that is possible"));
    TestService early(3);
    EXPECT_TRUE(early.registration().registerService());
    EXPECT_NE(ipl::ErrorStorage::reasonText().find("XDG_RUNTIME_DIR"), std::string::npos);
    ipl::ErrorStorage::ack();
    fs::create_directory(parent);
    expectAllMeets();
}

TEST(RuntimeDirectoryTest, IsInNoRelativePath) {
    for (const char* const name : {"TMPDIR", "XDG_RUNTIME_DIR"}) {
        ::unsetenv("XDG_RUNTIME_DIR");
        ::setenv(name, "somewhere", 1);
        EXPECT_TRUE(RuntimeDirectory().open());
        ::unsetenv(name);
        const std::string reason = ipl::ErrorStorage::reasonText();
        EXPECT_NE(reason.find(std::string(name) + " is 'somewhere'"), std::string::npos) << reason;
        ipl::ErrorStorage::ack();
    }
    EXPECT_FALSE(fs::exists("somewhere"));
}

}  // namespace
}  // namespace comm::transport
