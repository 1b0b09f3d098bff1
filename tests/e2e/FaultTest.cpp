#include "EndToEndTest.h"

namespace {

using FaultTest = EndToEndTest;

TEST_F(FaultTest, ClientWaitsForAServiceThatStartsLater) {
    Program shell({});
    shell.write("startZID 5");
    shell.waitForLine("ZidClient - waiting for service ... ");
    Program service({"-s", "5"});
    shell.waitForLine(".. connected.");
    service.waitForLine("ZidService(5): starting test with msg_count = 1");
    shell.write("stopZID 5");
    Report::readFrom(shell, "ZID stats(inst=5, *");
    leave(shell);
}

TEST_F(FaultTest, TestGoesOnWhenTheServiceStoodStillForAWhile) {
    Program service({"-s", "5"});
    Program shell({});
    shell.write("startZID 5 --payload 1000 --delay 0 --burstcount 10");
    service.waitForLine("ZidService(5): starting test with msg_count = 10");
    bool answered = false;  // a burst that was on its way, after the service stood still
    for (int attempt = 0; attempt < 10 && !answered; ++attempt) {
        service.letRun(Program::Milliseconds(200));
        service.pause();
        shell.letRun(Program::Milliseconds(2000));
        service.resume();
        answered = shell.sees("#### big latency detected: *", Program::Milliseconds(3000));
    }
    EXPECT_TRUE(answered);
    EXPECT_EQ(shell.output().count("ZidClient(5): disconnected*"), 0U);
    shell.write("stopZID 5");
    const Report report = Report::readFrom(shell, "ZID stats(inst=5, *");
    leave(shell);
    EXPECT_GT(report.maximalLatency, 1000U);
    EXPECT_GE(report.histogram.back(), 1U);
    EXPECT_EQ(shell.output().count("timeout*"), 0U);
}

TEST_F(FaultTest, NextClientWorksAfterOneWasKilled) {
    Program service({"-s", "5"});
    Program killed({});
    killed.write("startZID 5 --payload 1048576 --delay 0 --burstcount 99");
    service.waitForLine("ZidService(5): starting test with msg_count = 99");
    killed.letRun(Program::Milliseconds(300));
    killed.kill();
    service.waitForLine("ZidService(5): disconnected -> test finished");
    Program shell({});
    runTest(shell, 5, "--delay 0 --burstcount 2");
    leave(shell);
    EXPECT_EQ(service.output().text().find("Skipping"), std::string::npos);
}

TEST_F(FaultTest, AnswerThatAKilledClientDoesNotTakeIsForgotten) {
    Program shell({});
    shell.write("startService 5");
    Program client({});
    client.write("startZID 5 --delay 0");
    shell.waitForLine("ZidService(5): starting test with msg_count = 1");
    shell.letRun(Program::Milliseconds(200));
    shell.pause();
    client.letRun(Program::Milliseconds(200));  // its next message is on its way, then
    client.kill();
    shell.resume();
    shell.waitForLine("ZidService(5): disconnected -> test finished");
    leave(shell);
    EXPECT_EQ(shell.output().lines().back(), "ZIDShell exited");
}

TEST_F(FaultTest, SecondServiceOfAnInstanceIsRefused) {
    Program first({"-s", "7"});
    Program shell({});
    runTest(shell, 7);  // it is registered, then
    Program second({"-s", "7"});
    EXPECT_EQ(second.waitForExit(), 1);
    EXPECT_EQ(second.output().text(),
              "directly starting zid service with instance7\nstarting service with instance 7\n");
    const std::string error = second.waitForError("ZidService(7)  ERROR: registering service, reason= *");
    EXPECT_NE(error.find("process " + std::to_string(first.id())), std::string::npos) << error;
    EXPECT_EQ(second.errors().lines().size(), 1U);
    runTest(shell, 7);
    leave(shell);
}

TEST_F(FaultTest, SecondClientOfAnInstanceIsRefused) {
    Program service({"-s", "7"});
    Program first({});
    first.write("startZID 7 --delay 0");
    first.waitForLine(".. connected.");
    Program second({});
    second.write("startZID 7");
    EXPECT_EQ(second.waitForExit(), 1);
    const std::string error = second.waitForError("ZidClient(7)  ERROR: registering service, reason= *");
    EXPECT_NE(error.find("process " + std::to_string(first.id())), std::string::npos) << error;
    first.write("stopZID 7");
    Report::readFrom(first, "ZID stats(inst=7, *");
    leave(first);
}

TEST_F(FaultTest, RegistrationOfAKilledServiceIsTakenOver) {
    Program shell({});
    for (int i = 0; i < 3; ++i) {
        Program service({"-s", "7"});
        runTest(shell, 7);
        service.kill();
    }
    leave(shell);
}

}  // namespace
