#include <cstdlib>

#include "EndToEndTest.h"

namespace {

using ShellSessionTest = EndToEndTest;

TEST_F(ShellSessionTest, CommandsOfAPipeRunInOrderInOneProcess) {
    Program shell({});
    shell.type(
        "startService 1\nstartService 1\nstopZID 4\nsetTimeout 9000\nstartZID 1 10 5\nstartZID 1\nsleep 200\n"
        "stopZID 1\nstopZID 1\nstartZID 1\nsleep 200\nstopZID 1\n");
    // The service tells the ends on a thread of its own.
    for (int i = 0; i < 2; ++i) shell.waitForLine("ZidService(1): disconnected -> test finished");
    shell.closeInput();
    EXPECT_EQ(shell.waitForExit(), 0);
    const std::string refusal = "service NOT Started - service with instance 1 already active";
    EXPECT_TRUE(shell.output().holdsInOrder(
        {"Starting service with instance id: 1", "starting service with instance 1",
         "Starting service with instance id: 1", refusal, "StopZID:   instance:    4",
         "setTimeout:   timeout[msec]:    9000",
         "StartZID:   instance:    1  payload:     10  delay:       5  burstcount:  1", ".. connected.",
         "StartZID:   instance:    1  payload:     100  delay:       50  burstcount:  1", refusal,
         "StopZID:   instance:    1", "ZID stats(inst=1, payload=10, delay=5, burst=1", "StopZID:   instance:    1",
         "StartZID:   instance:    1  payload:     100  delay:       50  burstcount:  1", ".. connected.",
         "StopZID:   instance:    1", "ZID stats(inst=1, payload=100, delay=50, burst=1", "ZIDShell exited"}));
    EXPECT_EQ(shell.output().lines().back(), "ZIDShell exited");
    EXPECT_EQ(shell.output().count("starting service with instance 1"), 1U);
    EXPECT_EQ(shell.output().count("starting service with instance 101"), 2U);
    EXPECT_EQ(shell.output().count("ZID stats*"), 2U);
    EXPECT_EQ(shell.errors().text(), "");
}

TEST_F(ShellSessionTest, ServicesAreListedWithAllTheirParameters) {
    Program shell({});
    shell.write("list_services --full");
    shell.closeInput();
    EXPECT_EQ(shell.waitForExit(), 0);
    EXPECT_EQ(shell.output().text(),
              "starting shell, type \"list_services --full\" for command api\n"
              "ZIDShell started\n"
              "ZIDShell: ZID Transport Stresstest Shell\n"
              "  startService [instance]\n"
              "      starting a zid testcase with given communication parameters\n"
              "      --instance  comm instance id (1 to 99, default 2)\n"
              "  startZID [instance] [payload] [delay] [burstcount]\n"
              "      starting a service with given instance for comm communication\n"
              "      --instance    comm instance id (1 to 99, default 2)\n"
              "      --payload     pyload in bytes (0 to 1048576, default 100)\n"
              "      --delay       selay between bursts in msec (0 to 1000, default 50)\n"
              "      --burstcount  number of messages sent en block (1 to 99, default 1)\n"
              "  stopZID [instance]\n"
              "      stop the running zid\n"
              "      --instance  comm instance id (1 to 99, default 2)\n"
              "  setTimeout [timeout]\n"
              "      set the maximal roundtrip timeout\n"
              "      --timeout  max roundtrip time (1 to 10000, default 10000)\n"
              "  sendFile [payload] [delay] [cnt]\n"
              "      transfer data via a bare metal file based transfer using transportserver\n"
              "      --payload  data payload in bytes for file transfer (1 to 1048576, default 2)\n"
              "      --delay    delay between sending payload data (0 to 1000, default 2)\n"
              "      --cnt      number of data chunks to be sent (0 to 9999, default 2)\n"
              "  receiveFile [payload] [cnt]\n"
              "      transfer data via a bare metal file based transfer using transportserver\n"
              "      --payload  data payload in bytes for file transfer (1 to 1048576, default 2)\n"
              "      --cnt      number of data chunks to be read (0 to 9999, default 2)\n"
              "ZIDShell exited\n");
}

TEST_F(ShellSessionTest, FilesGoThroughTheDefaultMountPoint) {
    Program shell({});
    shell.write("sendFile 1 0 1 &");
    shell.waitForLine("sendFile:      /dev/transportserver/connect/zidfile*");
    shell.waitForLine("unable to open communication file retrying..");
    shell.write("stopZID");
    shell.write("wait");
    leave(shell);
}

TEST_F(ShellSessionTest, WrongInputIsRefusedAndNothingIsDelivered) {
    const std::vector<std::string> wrong{"startZID 0",
                                         "startZID 100",
                                         "startZID 1 1048577",
                                         "startZID 1 --delay 1001",
                                         "startZID 1 1 1 0",
                                         "startZID --no 1",
                                         "startService 100",
                                         "startService 1x",
                                         "startService 1 1",
                                         "setTimeout 0",
                                         "setTimeout 7 8",
                                         "setTimeout 10001",
                                         "stopZID -1",
                                         "stopZID 99999999999",
                                         "startzid 1",
                                         "bogus",
                                         "\x01\xff stopZID",
                                         std::string(100000, 'x'),
                                         "&"};
    Program shell({});
    for (const std::string& line : wrong) shell.write(line);
    leave(shell);
    EXPECT_EQ(shell.output().lines().size(), wrong.size() + 3) << shell.output().text();
    EXPECT_EQ(shell.output().lines().back(), "ZIDShell exited");
    for (const char* report : {"StartZID:*", "Starting service*", "setTimeout:*", "StopZID:*"})
        EXPECT_EQ(shell.output().count(report), 0U) << report;
}

TEST_F(ShellSessionTest, ShellEndsInGoodOrderWhileATestRuns) {
    ::setenv("LSAN_OPTIONS", "detect_leaks=0", 1);  // nobody destroys the client
    Program shell({});
    shell.write("startService 1");
    shell.write("startZID 1 --delay 0");
    shell.waitForLine("ZidService(1): starting test with msg_count = 1");
    leave(shell);
    EXPECT_EQ(shell.errors().text(), "");
}

TEST_F(ShellSessionTest, AllInstancesWorkAtOnce) {
    constexpr int Instances = 99;
    constexpr Program::Milliseconds Patience{120000};
    Program shell({});
    const auto forAll = [](const std::string& before, const std::string& after) {
        std::string text;
        for (int i = 1; i <= Instances; ++i) text.append(before).append(std::to_string(i)).append(after).append("\n");
        return text;
    };
    shell.type(forAll("startService ", ""));
    shell.type(forAll("startZID ", " --delay 20"));
    for (int i = 1; i <= Instances; ++i)
        shell.waitForLine("ZidService(" + std::to_string(i) + "): starting test with msg_count = 1", Patience);
    shell.write("sleep 3000");
    shell.type(forAll("stopZID ", ""));
    for (int i = 1; i <= Instances; ++i) {
        const std::string header = "ZID stats(inst=" + std::to_string(i) + ", payload=100, delay=20, burst=1";
        EXPECT_GT(Report::readFrom(shell, header, Patience).bursts(), 0U) << i;
    }
    shell.write("exit");
    EXPECT_EQ(shell.waitForExit(Patience), 0);
    EXPECT_EQ(shell.output().count("timeout*"), 0U);
    EXPECT_EQ(shell.errors().text(), "");
}

TEST_F(ShellSessionTest, CommandsOfDifferentKindsMayOverlap) {
    constexpr int Instances = 30;
    constexpr Program::Milliseconds Patience{120000};
    std::string beside;
    std::string after = "wait\n";
    for (int i = 1; i <= Instances; ++i) {
        const std::string number = std::to_string(i);
        beside.append("startService ").append(number).append(" &\nsetTimeout 9000 &\nstartZID ").append(number);
        beside.append(" 10 20 5 &\nstopZID ").append(number).append(" &\n");
        after.append("stopZID ").append(number).append("\n");
    }
    Program shell({});
    shell.type(beside + after);
    shell.closeInput();
    EXPECT_EQ(shell.waitForExit(Patience), 0);
    // Every client was started once, and stopped once by the first stop that found it.
    EXPECT_EQ(shell.output().count(".. connected."), static_cast<std::size_t>(Instances));
    EXPECT_EQ(shell.output().count("..  service has been shut down."), static_cast<std::size_t>(Instances));
    EXPECT_EQ(shell.output().count(" latency histogramm"), static_cast<std::size_t>(Instances));
    EXPECT_EQ(shell.errors().text(), "");
}

}  // namespace
