#include <csignal>

#include "EndToEndTest.h"

namespace {

using ClosedOutputTest = EndToEndTest;

TEST_F(ClosedOutputTest, ServiceWithoutOutputServes) {
    Program service({"-s", "6"}, Program::Output::Closed);
    Program shell({});
    runTest(shell, 6);
    leave(shell);
    EXPECT_EQ(service.errors().text(), "");
}

TEST_F(ClosedOutputTest, ShellWithoutOutputWorks) {
    Program shell({}, Program::Output::Closed);
    shell.type("startService 6\nstartZID 6 --delay 0\nsleep 100\nstopZID 6\nexit\n");
    EXPECT_EQ(shell.waitForExit(), 0);
    EXPECT_EQ(shell.errors().text(), "");
}

TEST_F(ClosedOutputTest, MistakeWithoutOutputHasItsStatus) {
    Program program({"-x"}, Program::Output::Closed);
    EXPECT_EQ(program.waitForExit(), 255);
}

TEST_F(ClosedOutputTest, ShellEndsWhenNobodyReadsItsOutput) {
    Program shell({});
    shell.waitForLine("ZIDShell started");
    shell.closeOutput();
    shell.type("startService 6\nstartZID 6 --delay 0\nstopZID 6\nexit\n");
    EXPECT_EQ(shell.waitForExit(), -SIGPIPE);
    EXPECT_EQ(shell.errors().text(), "");
}

}  // namespace
