#include <fcntl.h>
#include <sys/stat.h>

#include <chrono>
#include <fstream>
#include <optional>

#include "FileTest.h"
#include "PlainFile.h"
#include "ProcessState.h"

namespace {

namespace fs = std::filesystem;

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

const std::string ShellStart = "starting shell, type \"list_services --full\" for command api\nZIDShell started\n";

// The ends are no server's.
class TransferTest : public FileTest {
  protected:
    // One named pipe under both names, which keeps its bytes as long as the test lasts. Both names appear at once.
    void makePipe() {
        const fs::path folder = runtimeDirectory() / "made";
        for (const char* end : {"connect", "spawn"}) fs::create_directories(folder / end);
        ASSERT_EQ(::mkfifo((folder / "connect/zidfile").c_str(), 0600), 0);
        fs::create_hard_link(folder / "connect/zidfile", folder / "spawn/zidfile");
        m_pipe.emplace(folder / "connect/zidfile", O_RDWR | O_NONBLOCK);
        fs::rename(folder, mountPoint());
    }
    PlainFile& pipe() { return *m_pipe; }
    // Writes a chunk and waits until a receiver has read it.
    void feed(std::size_t payload) {
        EXPECT_FALSE(pipe().write(chunk(payload)));
        EXPECT_TRUE(eventually([this] { return pipe().unread() == 0; })) << "nobody reads";
    }

    static void link(const fs::path& end, const fs::path& target) {
        fs::create_directories(end.parent_path());
        fs::remove(end);
        fs::create_symlink(target, end);
    }

  private:
    std::optional<PlainFile> m_pipe;
};

TEST_F(TransferTest, CountedTransferHasItsReportsAndDefaults) {
    makePipe();
    Program sender = startShell();
    sender.write("sendFile");
    leave(sender);
    EXPECT_EQ(sender.output().text(), ShellStart + "sendFile:      " + writingEnd().string() +
                                          "  payload:     2  delay:       2  cnt:         2\n" + Success + '\n' +
                                          AllSent + "\nfinished\nZIDShell exited\n");
    EXPECT_EQ(pipe().read(100), chunk(2) + chunk(2));

    Program receiver = startShell();
    receiver.write("receiveFile");
    receiver.letRun(milliseconds(200));
    const Clock::time_point start = Clock::now();
    feed(2);
    receiver.letRun(milliseconds(200));
    EXPECT_FALSE(pipe().write(chunk(2)));
    const Rate rate = leaveReceiver(receiver);
    EXPECT_LE(milliseconds(rate.milliseconds), Clock::now() - start) << "the watch ran before the first chunk";
    EXPECT_EQ(rate.bytes, 4U);
    EXPECT_EQ(rate.rest, "ZIDShell exited\n");
    EXPECT_GE(rate.milliseconds, 100U);
    const std::string text = ShellStart + "receiveFile:   " + readingEnd().string() +
                             "  payload:     2  cnt:         2\n" + AllSent + "\ntransferred ";
    EXPECT_EQ(receiver.output().text().substr(0, text.size()), text);
    EXPECT_EQ(receiver.output().lines().size(), 5U);
}

TEST_F(TransferTest, ChunksHaveTheirContentAndDelay) {
    makePipe();
    Program sender({"--mountpoint", mountPoint().string() + '/'});
    const Clock::time_point start = Clock::now();
    sender.write("sendFile --payload 300 --cnt 3 --delay 100");
    sender.waitForLine("sendFile:      " + mountPoint().string() +
                       "//connect/zidfile  payload:     300  delay:       100  cnt:         3");
    sender.waitForLine("finished");
    EXPECT_GE(Clock::now() - start, milliseconds(200));
    EXPECT_EQ(pipe().read(1000), chunk(300) + chunk(300) + chunk(300));
    leave(sender);
}

TEST_F(TransferTest, MissingFilesAreTriedEverySecondUntilStopZid) {
    Program sender = startShell();
    Program receiver = startShell();
    const Clock::time_point start = Clock::now();
    sender.write("sendFile 1 1 0 &");
    receiver.write("receiveFile 1 0 &");
    for (Program* shell : {&sender, &receiver}) {
        for (int i = 0; i < 3; ++i) shell->waitForLine(NoFile);
        EXPECT_GE(Clock::now() - start, milliseconds(2000));
        shell->write("stopZID");
    }
    leave(sender);
    leave(receiver);
    EXPECT_TRUE(sender.output().holdsInOrder(
        {"sendFile:      " + writingEnd().string() + "  payload:     1  delay:       1  cnt:    0 (forever)", NoFile,
         "StopZID:   instance:    2", "finished", "ZIDShell exited"}));
    EXPECT_EQ(sender.output().lines().size(), sender.output().count(NoFile) + 6);
    EXPECT_TRUE(receiver.output().holdsInOrder(
        {"receiveFile:   " + readingEnd().string() + "  payload:     1  cnt:    0 (forever)", NoFile,
         "StopZID:   instance:    2", "ZIDShell exited"}));
    EXPECT_EQ(receiver.output().lines().size(), receiver.output().count(NoFile) + 5);
}

TEST_F(TransferTest, TransfersGoOnWhenTheFilesAppear) {
    Program sender = startShell();
    Program receiver = startShell();
    sender.write("sendFile 300 0 20");
    receiver.write("receiveFile 300 20");
    sender.waitForLine(NoFile);
    receiver.waitForLine(NoFile);
    makePipe();
    leave(sender);
    leave(receiver);
    EXPECT_TRUE(sender.output().holdsInOrder({NoFile, Success, AllSent, "finished"}));
    EXPECT_TRUE(receiver.output().holdsInOrder({NoFile, AllSent}));
    EXPECT_EQ(pipe().unread(), 0U);
}

TEST_F(TransferTest, WriteErrorIsToldAndTheFileOpenedAgain) {
    link(writingEnd(), "/dev/full");
    Program shell = startShell();
    const Clock::time_point start = Clock::now();
    shell.write("sendFile 2 0 1 &");
    for (const char* line : {Success, "No space left on device", WriteError}) shell.waitForLine(line);
    shell.waitForLine(std::string(Success) + '*');
    EXPECT_GE(Clock::now() - start, milliseconds(1000)) << "the same is told more than once a second";
    shell.write("stopZID");
    leave(shell);
    EXPECT_TRUE(shell.output().holdsInOrder(
        {Success, "No space left on device", WriteError, std::string(Success) + '*', "finished"}));
    EXPECT_EQ(shell.output().count(AllSent), 0U);
}

TEST_F(TransferTest, ReadErrorIsToldFromTheEndOfTheFile) {
    const fs::path empty = runtimeDirectory() / "empty";
    std::ofstream(empty) << "";
    // No memory has the address 0.
    for (const auto& [target, expected] : std::vector<std::pair<fs::path, std::vector<std::string>>>{
             {"/dev/null", {ReadEnd}},
             {empty, {ReadEnd}},
             {"/proc/self/mem", {"Input/output error", ReadError}},
             {runtimeDirectory(), {NoFile}}}) {
        link(readingEnd(), target);
        Program shell = startShell();
        shell.write("receiveFile 2 1 &");
        for (const std::string& line : expected) shell.waitForLine(line);
        shell.waitForLine(expected.back() + '*');
        shell.write("stopZID");
        leave(shell);
        EXPECT_TRUE(shell.output().holdsInOrder(expected));
        for (const char* line : {ReadEnd, ReadError, NoFile})
            EXPECT_EQ(shell.output().count(line) != 0, line == expected.back()) << target << ": " << line;
        EXPECT_EQ(shell.output().count(AllSent), 0U);
    }
}

TEST_F(TransferTest, StopZidEndsTransfersWithoutLimit) {
    makePipe();
    Program sender = startShell();
    sender.write("sendFile 1000 1000 0 &");
    std::string received;
    const Clock::time_point start = Clock::now();
    // Without limit there is no delay either: with it these would take two minutes.
    EXPECT_TRUE(eventually([&] { return (received += pipe().read(65536)).size() > 120000; }));
    EXPECT_LT(Clock::now() - start, Program::Watchdog);
    sender.write("stopZID");
    EXPECT_TRUE(eventually([&] {
        received += pipe().read(65536);  // a write may wait for that
        return sender.sees("finished", milliseconds(20));
    }));
    leave(sender);
    EXPECT_EQ(sender.output().count(AllSent), 0U);
    EXPECT_EQ((received += pipe().read(65536)).size() % 1000, 0U);

    Program receiver = startShell();
    receiver.write("receiveFile 1000 0 &");
    feed(1000);
    receiver.write("stopZID\nsetTimeout 1");
    receiver.waitForLine("setTimeout:*");
    EXPECT_FALSE(pipe().write(chunk(1000)));  // a read may wait for that
    EXPECT_EQ(leaveReceiver(receiver).bytes, 2000U);
    EXPECT_EQ(receiver.output().count(AllSent), 0U);
}

TEST_F(TransferTest, TransferThatReachesItsCountEndsTheOneBesideIt) {
    makePipe();
    Program shell = startShell();
    shell.write("receiveFile 300 0 &");
    feed(300);
    shell.write("sendFile 300 2 100 &");
    shell.waitForText(AllSent);  // perhaps behind the receiver's rate
    shell.waitForText("finished\n");
    EXPECT_FALSE(pipe().write(chunk(300)));  // a read may wait for that
    const Rate rate = leaveReceiver(shell);
    const unsigned long long received = 102ULL * 300 - pipe().unread();
    EXPECT_EQ(rate.bytes, received);
    EXPECT_GE(rate.milliseconds, 100U);
    EXPECT_EQ(shell.output().text().find(AllSent), shell.output().text().rfind(AllSent));
}

TEST_F(TransferTest, LongTransferTellsItsProgress) {
    constexpr unsigned Payload = 60000;
    makePipe();
    Program sender = startShell();
    Program receiver = startShell();
    sender.write("sendFile 60000 2 9999");
    receiver.write("receiveFile 60000 0 &");
    const std::string counter = " running - currently read item counter: ";
    const std::vector<std::string> block = receiver.waitForBlock(counter + '*', 3);
    ASSERT_EQ(block.size(), 3U);
    ASSERT_EQ(block[2].front(), ' ');
    const Rate progress = Rate::readFrom(block[2].substr(1));
    EXPECT_EQ(progress.rest, "");
    EXPECT_EQ(block[1], counter + std::to_string(progress.bytes / Payload));
    EXPECT_EQ(progress.bytes % Payload, 0U);
    EXPECT_GT(progress.milliseconds, 5000U);
    receiver.letRun(milliseconds(300));  // further chunks
    receiver.write("stopZID");
    const Rate rate = leaveReceiver(receiver);
    EXPECT_GT(rate.bytes, progress.bytes);
    EXPECT_LE(receiver.output().count(counter + '*'), rate.milliseconds / 5000);
}

}  // namespace
