#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <fstream>

#include "PlainFile.h"
#include "ProcessState.h"
#include "ServedTest.h"

namespace {

namespace fs = std::filesystem;

class TransportServerTest : public ServedTest {};

// What needs no mount.
class TransportServerCommandLineTest : public ServedTest {
  protected:
    void SetUp() override {}
};

TEST_F(TransportServerTest, UnmountsAndEndsUnderLoad) {
    for (const int signal : {SIGTERM, SIGINT}) {
        TransportServer server(mountPoint(), Patient);
        PlainFile writer(writingEnd("silent"), O_WRONLY);
        Program waiting({readingEnd("silent")}, Program::Output::Piped, "/bin/cat");
        EXPECT_FALSE(writer.write("x\n"));
        waiting.waitForLine("x");
        Program shell = startShell();
        shell.write("receiveFile 65536 0 &\nsendFile 65536 0 0 &");
        shell.waitForLine(Success);
        shell.letRun(Program::Milliseconds(200));
        server.end(signal);
        EXPECT_EQ(waiting.waitForExit(), 1) << "its wait has not ended with an error";
        shell.waitForLine(ReadError);
        shell.waitForLine(WriteError);
        shell.write("stopZID");
        leave(shell);
    }
}

TEST_F(TransportServerTest, RestsWhileItsClientsWait) {
    const TransportServer server(mountPoint(), Patient);
    expectService();
    Program waiting({readingEnd()}, Program::Output::Piped, "/bin/cat");
    if (isSanitized(server.id())) GTEST_SKIP() << "the sanitizers' own threads would be seen";
    EXPECT_TRUE(comesToRest(server.id()));
}

TEST_F(TransportServerTest, MakesAndRemovesItsMountPoint) {
    {
        const TransportServer server(mountPoint());
        expectService();
    }
    EXPECT_FALSE(fs::exists(mountPoint()));
    fs::create_directory(mountPoint());
    {
        const TransportServer server(mountPoint());
        expectService();
    }
    EXPECT_TRUE(fs::is_empty(mountPoint()));
}

TEST_F(TransportServerTest, TakesTheMountPointOfAKilledOneOver) {
    fs::create_directory(mountPoint());
    for (int i = 0; i < 3; ++i) {
        TransportServer killed(mountPoint());
        killed.kill();
        EXPECT_EQ(TransportServer::mountPointsIn(runtimeDirectory()), std::vector<std::string>{mountPoint()});
        TransportServer server(mountPoint());
        expectService();
    }
    EXPECT_TRUE(fs::is_empty(mountPoint()));
}

TEST_F(TransportServerTest, MountPointThatCannotServeIsRefused) {
    const fs::path folder = runtimeDirectory() / "folder";
    fs::create_directory(folder);
    std::ofstream(folder / "file") << "x";
    expectRefusal({folder / "file"}, folder / "file");
    expectRefusal({folder}, folder);
    expectRefusal({folder / "file/mount"}, folder / "file/mount");
    EXPECT_TRUE(fs::exists(folder / "file"));

    const TransportServer server(mountPoint());
    expectRefusal({mountPoint()}, mountPoint());
    expectService();
}

TEST_F(TransportServerTest, MissingThreadIsRefusedAndLeavesNoMount) {
    if (isSanitized(::getpid())) GTEST_SKIP() << "a sanitizer leaves no addresses to be limited";
    for (const unsigned threads : {0U, 1U, 2U}) {
        Program program = TransportServer::startWithThreads(threads, {mountPoint()});
        expectRefusal(program, "a thread cannot be made: Resource temporarily unavailable");
        EXPECT_TRUE(TransportServer::mountPointsIn(runtimeDirectory()).empty()) << threads;
        EXPECT_FALSE(fs::exists(mountPoint())) << threads;
    }
}

TEST_F(TransportServerCommandLineTest, MistakeIsRefused) {
    const std::string mount = mountPoint();
    for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{{"--bogus", mount},
                                                                                       {"--capacity", "many", mount},
                                                                                       {"--capacity", "0", mount},
                                                                                       {"--capacity", "-1", mount},
                                                                                       {"--capacity", "1x", mount},
                                                                                       {"--idle-timeout", "0.5", mount},
                                                                                       {"--idle-timeout", "", mount},
                                                                                       {"--idle-timeout"},
                                                                                       {mount, "another"}})
        expectRefusal(words, "");
    EXPECT_TRUE(TransportServer::mountPointsIn(runtimeDirectory()).empty());
}

TEST_F(TransportServerCommandLineTest, HelpAndVersionAreTold) {
    Program help = TransportServer::start({"--help"});
    EXPECT_EQ(help.waitForExit(), 0);
    for (const char* text : {"--capacity", "--idle-timeout", "--version", "/dev/transportserver", "4194304", "1000"})
        EXPECT_NE(help.output().text().find(text), std::string::npos) << text;
    Program version = TransportServer::start({"--version"});
    EXPECT_EQ(version.waitForExit(), 0);
    EXPECT_NE(version.output().text().find("0.1"), std::string::npos) << version.output().text();
}

}  // namespace
