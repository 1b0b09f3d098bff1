#include <fcntl.h>

#include <chrono>

#include "PlainFile.h"
#include "ProcessState.h"
#include "ServedTest.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr std::size_t MiB = 1048576;

class ServedTransferTest : public ServedTest {
  protected:
    void send(const std::string& parameters) const {
        Program sender = startShell();
        sender.write("sendFile " + parameters);
        leave(sender);
        EXPECT_EQ(sender.output().count(AllSent), 1U);
        EXPECT_EQ(sender.output().count(WriteError), 0U);
    }
    // Returns when the command before it has ended.
    static void stop(Program& shell) {
        shell.write("stopZID\nsetTimeout 1");
        shell.waitForLine("setTimeout:*");
    }
};

TEST_F(ServedTransferTest, ShellsTransferByDefaultAfterOneAnother) {
    const TransportServer server(mountPoint());
    send("");
    Program receiver = startShell();
    receiver.write("receiveFile");
    leave(receiver);
    EXPECT_TRUE(receiver.output().holdsInOrder(
        {"receiveFile:   " + readingEnd().string() + "  payload:     2  cnt:         2", AllSent}));
    EXPECT_EQ(receiver.output().count("read returned*"), 0U);
}

TEST_F(ServedTransferTest, LargeChunksArriveCompleteInLittleMemory) {
    constexpr unsigned Count = 400;
    const TransportServer server(mountPoint(), Patient);
    Program receiver = startShell();
    receiver.write("receiveFile 1048576 " + std::to_string(Count));
    send("1048576 0 " + std::to_string(Count));
    EXPECT_EQ(leaveReceiver(receiver).bytes, Count * MiB);
    EXPECT_EQ(receiver.output().count("read returned*"), 0U);
    if (isSanitized(server.id())) GTEST_SKIP() << "the sanitizers' own memory would be measured";
    EXPECT_LT(figureOf(server.id(), "VmHWM"), (4U + 16U) << 10);  // KiB: the capacity and what it runs in
    EXPECT_GT(figureOf(server.id(), "VmHWM"), 0U);
}

TEST_F(ServedTransferTest, ReceiverGoesOnAtItsCountWhenTheServerWasKilled) {
    TransportServer killed(mountPoint(), Patient);
    const Clock::time_point start = Clock::now();
    Program receiver = startShell();
    receiver.write("receiveFile 1000 20");
    EXPECT_FALSE(PlainFile(writingEnd(), O_WRONLY).write(chunk(1000)));
    receiver.waitForLine(ReadEnd);
    send("1000 150 9");  // the same message comes once a second at most
    receiver.waitForLine(ReadEnd);
    killed.kill();
    const Clock::time_point gone = Clock::now();
    for (int i = 0; i < 2; ++i) receiver.waitForLine(NoFile);
    const Clock::duration absence = Clock::now() - gone;
    const TransportServer server(mountPoint(), Patient);
    send("1000 0 10");
    const Rate rate = leaveReceiver(receiver);
    EXPECT_EQ(rate.bytes, 20000U);
    EXPECT_LE(milliseconds(rate.milliseconds), Clock::now() - start - absence) << "the watch ran all the time";
}

TEST_F(ServedTransferTest, SenderGoesOnAtItsCountWhenTheServerWasKilled) {
    constexpr std::size_t Payload = 65536;
    const Options twoChunks{"--capacity", std::to_string(2 * Payload), "--idle-timeout", "60000"};
    TransportServer killed(mountPoint(), twoChunks);
    Program sender = startShell();
    sender.write("sendFile 65536 0 10");
    {
        PlainFile reader(readingEnd(), O_RDONLY);
        for (int i = 0; i < 3; ++i) EXPECT_TRUE(reader.read(Payload) == chunk(Payload));
    }
    killed.kill();
    sender.waitForLine(WriteError);
    sender.waitForLine(NoFile);
    const TransportServer server(mountPoint(), twoChunks);
    const std::size_t rest = PlainFile(readingEnd(), O_RDONLY).readToEnd().size();
    leave(sender);
    EXPECT_TRUE(sender.output().holdsInOrder({Success, WriteError, NoFile, Success, AllSent, "finished"}));
    // Three chunks were read before, the last perhaps without the sender's knowing, and up to two more were lost.
    EXPECT_EQ(rest % Payload, 0U);
    EXPECT_GE(rest, 5 * Payload);
    EXPECT_LE(rest, 8 * Payload);
}

TEST_F(ServedTransferTest, KilledSenderLeavesWholeChunks) {
    const TransportServer server(mountPoint(), Patient);
    Program killed = startShell();
    killed.write("sendFile 1048576 0 0 &");
    std::string received;
    {
        PlainFile reader(readingEnd(), O_RDONLY);
        while (received.size() < 20 * MiB && reader.error() == 0) received += reader.read(65536);
        killed.kill();
        received += reader.readToEnd();
    }
    EXPECT_EQ(received.size() % MiB, 0U);
    for (std::size_t i = 0; i < received.size(); i += MiB) ASSERT_TRUE(received.substr(i, MiB) == chunk(MiB)) << i;
    send("1000 0 2");
    EXPECT_EQ(PlainFile(readingEnd(), O_RDONLY).readToEnd(), chunk(1000) + chunk(1000));
}

TEST_F(ServedTransferTest, SenderDoesNotNoticeThatItsReceiverIsReplaced) {
    const TransportServer server(mountPoint(), Patient);
    Program sender = startShell();
    Program killed = startShell();
    sender.write("sendFile 65536 0 0 &");
    killed.write("receiveFile 65536 0 &");
    sender.waitForLine(Success);
    killed.letRun(milliseconds(200));
    killed.kill();
    Program receiver = startShell();
    receiver.write("receiveFile 65536 1000");
    EXPECT_EQ(leaveReceiver(receiver).bytes, 65536U * 1000);
    EXPECT_EQ(receiver.output().count("read returned*"), 0U);
    stop(sender);
    PlainFile(readingEnd(), O_RDONLY).readToEnd();  // a write may wait for that
    leave(sender);
    EXPECT_EQ(sender.output().count(Success), 1U);
    EXPECT_EQ(sender.output().count("write returned*"), 0U);
}

TEST_F(ServedTransferTest, StopZidEndsBothCommandsOfAShell) {
    const TransportServer server(mountPoint());
    Program shell = startShell();
    shell.write("receiveFile 1000 0 &\nsendFile 1000 0 0 &");
    shell.waitForLine(Success);
    shell.letRun(milliseconds(300));
    shell.write("stopZID");
    EXPECT_GT(leaveReceiver(shell).bytes, 0U);
    EXPECT_NE(shell.output().text().find("finished\n"), std::string::npos);
    EXPECT_EQ(shell.output().count(AllSent), 0U);
}

TEST_F(ServedTransferTest, StopZidEndsATransferThatWaitsForItsPeer) {
    const TransportServer server(mountPoint());
    const PlainFile silent(writingEnd(), O_WRONLY);
    Program receiver = startShell();
    const Clock::time_point start = Clock::now();
    receiver.write("receiveFile &");
    receiver.waitForLine(ReadEnd);
    EXPECT_GE(Clock::now() - start, milliseconds(1000));
    receiver.write("stopZID");
    leave(receiver);
    EXPECT_EQ(receiver.output().count(AllSent), 0U);
}

TEST_F(ServedTransferTest, SenderWithoutAReceiverTellsThatItsTimeIsOver) {
    const TransportServer server(mountPoint(), {"--capacity", "65536", "--idle-timeout", "300"});
    Program sender = startShell();
    sender.write("sendFile 40000 0 3 &");
    for (const char* line : {Success, "Connection timed out", WriteError, "success - start sending... (and *"})
        sender.waitForLine(line);
    stop(sender);
    leave(sender);
    EXPECT_EQ(sender.output().count(AllSent), 0U);
    EXPECT_TRUE(PlainFile(readingEnd(), O_RDONLY).readToEnd() == chunk(40000));
}

}  // namespace
