#include "EndToEndTest.h"

namespace {

constexpr const char* Prompt = "zidbench> ";

using TerminalTest = EndToEndTest;

TEST_F(TerminalTest, SessionByHandRunsATest) {
    Program shell({}, Program::Output::Terminal);
    shell.waitForText("ZIDShell started");
    shell.waitForText(Prompt);
    shell.type("startSe\t3\r");
    shell.waitForText("Starting service with instance id: 3");
    shell.waitForText("starting service with instance 3");
    shell.waitForText(Prompt);
    shell.type("startZ\t3 --pa\t1000 --de\t0\r");
    shell.waitForText("StartZID:   instance:    3  payload:     1000  delay:       0  burstcount:  1");
    shell.waitForText("ZidService(3): starting test with msg_count = 1");
    shell.type("stopZID 3\r");
    shell.waitForText("ZID stats(inst=3, payload=1000, delay=0, burst=1");
    shell.waitForText(" >1000         \t ");
    shell.waitForText(Prompt);
    shell.type("exit\r");
    shell.waitForText("ZIDShell exited");
    EXPECT_EQ(shell.waitForExit(), 0);
}

TEST_F(TerminalTest, PromptComesBackWhileAClientWaitsForItsService) {
    Program shell({}, Program::Output::Terminal);
    shell.waitForText(Prompt);
    shell.type("startZID 9\r");
    shell.waitForText("ZidClient - waiting for service ... ");
    shell.waitForText("startZID runs on in the background");
    shell.waitForText(Prompt);
    shell.type("startService 9\r");
    shell.waitForText(".. connected.");
    shell.type("wait\rstopZID 9\r");
    shell.waitForText("..  service has been shut down.");
    shell.type("startZID 10\r");
    shell.waitForText("startZID runs on in the background");
    shell.type("exit\r");
    shell.waitForText("still running:");
    shell.type("exit\r");
    EXPECT_EQ(shell.waitForExit(), 0);
}

TEST_F(TerminalTest, RedirectedErrorsStayRedirected) {
    Program other({});
    other.write("startZID 9 &");
    other.waitForLine("ZidClient - waiting for service ... ");
    Program shell({}, Program::Output::Terminal);
    shell.waitForText(Prompt);
    shell.type("startZID 9\r");
    shell.waitForError("ZidClient(9)  ERROR: registering service, reason= *");
    EXPECT_EQ(shell.waitForExit(), 1);
}

}  // namespace
