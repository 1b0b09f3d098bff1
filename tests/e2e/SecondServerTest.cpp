#include <sys/mount.h>

#include <csignal>

#include "ServedTest.h"

namespace {

namespace fs = std::filesystem;

using Words = std::vector<std::string>;

// A server starts where another one is mounted, which lives or was killed.
class SecondServerTest : public ServedTest {
  protected:
    static Program unshare(const Words& words) { return Program(words, Program::Output::Piped, "/usr/bin/unshare"); }
    static bool hasNamespaces() { return unshare({"--mount", "--pid", "--fork", "true"}).waitForExit() == 0; }
    Words mounts() const { return TransportServer::mountPointsIn(runtimeDirectory()); }
};

TEST_F(SecondServerTest, LinkIsTheDirectoryThatItNames) {
    const fs::path link = runtimeDirectory() / "link";
    fs::create_symlink("link2", link);
    fs::create_symlink("absent/../mount", runtimeDirectory() / "link2");
    for (const int end : {SIGKILL, SIGKILL, SIGTERM}) {
        Program server = TransportServer::start({link});
        server.waitForLine("transportserver: ready at " + link.string());
        EXPECT_EQ(mounts(), Words{mountPoint()});
        expectService();
        expectRefusal({mountPoint()}, "process " + std::to_string(server.id()));
        expectRefusal({link / "mount"}, link / "mount");
        ::kill(server.id(), end);
        EXPECT_EQ(server.waitForExit(), end == SIGTERM ? 0 : -end);
    }
    EXPECT_TRUE(fs::remove(mountPoint())) << "something is left in it";
    fs::create_symlink("link", mountPoint());
    expectRefusal({link}, "Too many levels of symbolic links");
}

TEST_F(SecondServerTest, ServerThatStandsStillIsAlive) {
    Program server = TransportServer::start({mountPoint()});
    server.waitForLine("transportserver: ready at *");
    server.pause();
    expectRefusal({mountPoint()}, "process " + std::to_string(server.id()));
    expectRefusal({mountPoint() / "connect"}, "busy");
    server.resume();
    expectService();
}

TEST_F(SecondServerTest, ServerInAnotherNamespaceIsAlive) {
    if (!hasNamespaces()) GTEST_SKIP() << "this user may not make namespaces";
    Program server = unshare({"--pid", "--fork", "--kill-child", TRANSPORTSERVER_PROGRAM, mountPoint()});
    server.waitForLine("transportserver: ready at *");
    expectRefusal({mountPoint()}, "another transport server");
    expectService();
}

// Both servers have the same number, each in a namespace of its own.
TEST_F(SecondServerTest, KilledServerIsDeadThoughItsNumberLives) {
    if (!hasNamespaces()) GTEST_SKIP() << "this user may not make namespaces";
    const std::string serve =
        "mount -t proc proc /proc; mkfifo $1.out; $0 $1 >$1.out & "
        "read line <$1.out; echo $line by $!; kill -$2 $!; wait $!; echo ended with $?; rm $1.out";
    const std::string twice = R"(for end in KILL TERM; do unshare --pid --fork sh -c "$2" "$0" "$1" $end; done)";
    Program both = unshare({"--mount", "sh", "-c", twice, TRANSPORTSERVER_PROGRAM, mountPoint(), serve});
    EXPECT_EQ(both.waitForExit(), 0) << both.errors().text();
    const Words lines = both.output().lines();
    ASSERT_EQ(lines.size(), 4U) << both.output().text() << both.errors().text();
    EXPECT_EQ(lines[0].substr(0, 22), "transportserver: ready");
    EXPECT_EQ(lines[0], lines[2]);
    EXPECT_EQ(lines[1], "ended with 137");
    EXPECT_EQ(lines[3], "ended with 0");
}

TEST_F(SecondServerTest, MountBoundElsewhereIsNotTakenForALeftover) {
    const fs::path bound = runtimeDirectory() / "bound";
    fs::create_directory(bound);
    const TransportServer server(mountPoint());
    if (::mount(mountPoint().c_str(), bound.c_str(), nullptr, MS_BIND, nullptr) != 0)
        GTEST_SKIP() << "this user may not bind a mount";
    expectRefusal({bound}, "is the mount point of");
    EXPECT_EQ(mounts().size(), 2U);
    TransportServer::unmount(bound);
    expectService();
}

}  // namespace
