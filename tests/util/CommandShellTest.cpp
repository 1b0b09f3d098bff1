#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <future>

#include "ShellTestService.h"
#include "ipl/ErrorStorage.h"
#include "util/CommandShell.h"

namespace {

using Records = ShellTestService::Records;

/// Makes a text what standard input gives, through a pipe, for the object's life.
class StandardInput {
  public:
    explicit StandardInput(const ipl::string& text) : m_before(::dup(STDIN_FILENO)) {
        int ends[2];
        EXPECT_EQ(::pipe(ends), 0);
        ::dup2(ends[0], STDIN_FILENO);
        ::close(ends[0]);
        m_writer = std::async(std::launch::async, [text, fd = ends[1]] {
            EXPECT_EQ(::write(fd, text.data(), text.size()), static_cast<ssize_t>(text.size()));
            ::close(fd);
        });
    }
    StandardInput(const StandardInput&) = delete;
    StandardInput& operator=(const StandardInput&) = delete;
    ~StandardInput() {
        ::dup2(m_before, STDIN_FILENO);  // now a writer whose text nobody takes ends, too
        ::close(m_before);
    }

  private:
    int m_before;
    std::future<void> m_writer;
};

/// What a shell with one service did with some lines.
struct Outcome {
    Records records;
    ipl::string output;
};

bool hasPart(const ipl::string& whole, const ipl::string& part) {
    return whole.find(part) != ipl::string::npos;
}

// Returns when the text is in the captured output, or when it takes too long.
void awaitOutput(const ipl::string& text) {
    ipl::string output(4096, ' ');
    for (int i = 0; i < 3000; ++i) {
        if (::pread(STDOUT_FILENO, output.data(), output.size(), 0) > 0 && hasPart(output, text)) return;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

// With `releaseAfter`, `hold` ends when this has been shown.
Outcome runShell(const ipl::string& lines, const ipl::string& releaseAfter = "") {
    const StandardInput input(lines);
    testing::internal::CaptureStdout();
    ShellTestService service;
    util::CommandShell shell;
    EXPECT_FALSE(shell.registerService(&service, "TestShell", "a service for tests", true));
    std::future<void> releaser;
    if (!releaseAfter.empty())
        releaser = std::async(std::launch::async, [&service, &releaseAfter] {
            awaitOutput(releaseAfter);
            service.release();
        });
    shell.startParser();
    if (releaser.valid()) releaser.wait();
    return {service.records(), testing::internal::GetCapturedStdout()};
}

// The records of the commands alone.
Records commandsOf(const ipl::string& lines) {
    Records records = runShell(lines).records;
    EXPECT_GE(records.size(), 2U);
    return {records.begin() + 1, records.end() - 1};
}

TEST(CommandShellTest, LinesFromAPipeRunInOrderWithTheirValues) {
    EXPECT_EQ(commandsOf("echo 3 4096\n\n# echo 9\r\necho 4 --second 5\r\necho 6"),
              (Records{"echo 3 4096", "echo 4 5", "echo 6 100"}));
}

TEST(CommandShellTest, LeftOutParametersReturnToTheirDefaults) {
    EXPECT_EQ(commandsOf("echo 3 4096\necho\n"), (Records{"echo 3 4096", "echo 2 100"}));
}

TEST(CommandShellTest, RefusedLinesAreToldAndDeliverNothing) {
    const Outcome outcome = runShell("echo 0\necho 5 5 5\nehco 3\necho 7\n" + ipl::string(100000, 'x') + "\nhelp no\n");
    EXPECT_EQ(outcome.records, (Records{"Started", "echo 7 100", "Ended"}));
    EXPECT_EQ(outcome.output,
              "Started\nfirst takes 1 to 99, not '0'\n'5' is too much: echo takes first, second\n"
              "unknown command 'ehco': did you mean echo?\necho 7 100\nthe line is longer than 1024 characters\n"
              "unknown command 'no': help lists what there is\nEnded\n");
}

TEST(CommandShellTest, CommandsOfDifferentIdsOverlap) {
    EXPECT_EQ(commandsOf("hold &\nrelease\nwait\n"), (Records{"hold 1 begins", "hold 1 ends"}));
}

TEST(CommandShellTest, CommandsOfOneIdTakeTurnsWithTheirOwnValues) {
    EXPECT_EQ(
        commandsOf("hold 7 &\nhold 8 &\nhold &\nrelease\n"),
        (Records{"hold 7 begins", "hold 7 ends", "hold 8 begins", "hold 8 ends", "hold 1 begins", "hold 1 ends"}));
}

TEST(CommandShellTest, WaitReturnsWhenAllCommandsHaveEnded) {
    EXPECT_EQ(commandsOf("hold &\nrelease\nwait\necho\n"), (Records{"hold 1 begins", "hold 1 ends", "echo 2 100"}));
}

TEST(CommandShellTest, ExitWhileACommandRunsNamesItAndTheShellGoesOn) {
    const Outcome outcome = runShell("hold 5 &\nexit\nrelease\nwait\nexit\necho\n");
    EXPECT_EQ(outcome.records, (Records{"Started", "hold 5 begins", "hold 5 ends", "Ended"}));
    EXPECT_TRUE(hasPart(outcome.output, "still running:\n  hold 5\n")) << outcome.output;
}

TEST(CommandShellTest, EndOfInputWaitsForTheRunningCommandsAndNamesThem) {
    const Outcome outcome = runShell("hold 5 &\nhold 6 &", "the input has ended");
    EXPECT_EQ(outcome.records.back(), "Ended");
    EXPECT_EQ(outcome.records.size(), 6U);
    EXPECT_TRUE(hasPart(outcome.output, "the input has ended, waiting for:\n  hold 5\n  hold 6\n")) << outcome.output;
}

TEST(CommandShellDeathTest, SecondExitWhileACommandRunsEndsTheProcess) {
    EXPECT_EXIT((void)runShell("hold &\nexit\nexit\n"), testing::ExitedWithCode(0), "");
}

TEST(CommandShellTest, SleepWaitsAtLeastThatLong) {
    const auto begin = std::chrono::steady_clock::now();
    (void)runShell("sleep 30\n");
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(30));
}

TEST(CommandShellTest, ListServicesDescribesTheCommandsIfAsked) {
    EXPECT_EQ(runShell("list_services\n").output, "Started\nTestShell: a service for tests\nEnded\n");
    const ipl::string full = runShell("list_services --full\n").output;
    EXPECT_TRUE(hasPart(full,
                        "  echo [first] [second]\n      records two numbers\n"
                        "      --first   a small number (1 to 99, default 2)\n"
                        "      --second  a number (0 to 10000, default 100)\n"))
        << full;
}

TEST(CommandShellTest, HelpDescribesOneCommandOrNamesAll) {
    EXPECT_EQ(runShell("help hold\n").output,
              "Started\nhold [number]\n    lasts until release\n    --number  which one (1 to 99, default 1)\nEnded\n");
    const ipl::string all = runShell("help\n").output;
    for (const char* name : {"\nlist_services [--full]", "\nsleep [ms]", "\nexit", "\necho [first] [second]"})
        EXPECT_TRUE(hasPart(all, name)) << name << " in " << all;
}

TEST(CommandShellTest, UnregisteringDropsWhatWaitsAndLetsTheRunningCommandEnd) {
    EXPECT_EQ(commandsOf("hold 1 &\nhold 2 &\ndismiss\nhold 3\nrelease\n"),
              (Records{"hold 1 begins", "hold is dismissed", "hold 1 ends"}));
}

TEST(CommandShellTest, UnregisteringWaitsForTheRunningCommandIfAsked) {
    EXPECT_EQ(commandsOf("hold 1 &\nhold 2 &\ndismiss --wait 1\n"),
              (Records{"hold 1 begins", "hold 1 ends", "hold is dismissed"}));
}

TEST(CommandShellTest, ServicesEndInTheReverseOrderAndAreThenFree) {
    const StandardInput input("");
    testing::internal::CaptureStdout();
    ShellTestService service;
    util::CommandShell shell;
    EXPECT_FALSE(shell.registerService(&service, "first", "", true));
    EXPECT_TRUE(service.isRegistered());

    class Second final : public util::CommandShellService {
      public:
        explicit Second(const ShellTestService& first) : m_first(first) {}
        void onShellEvent(int event, unsigned short /*id*/) override {
            m_endedBeforeFirst = event == Ended && m_shell != nullptr && m_first.isRegistered();
            m_thread = std::this_thread::get_id();
        }
        const ShellTestService& m_first;
        bool m_endedBeforeFirst = false;
        std::thread::id m_thread;
    } second(service);
    EXPECT_FALSE(shell.registerService(&second, "second", "", true));

    shell.startParser();
    (void)testing::internal::GetCapturedStdout();
    EXPECT_TRUE(second.m_endedBeforeFirst);
    EXPECT_EQ(second.m_thread, std::this_thread::get_id());
    EXPECT_EQ(service.records(), (Records{"Started", "Ended"}));
    EXPECT_FALSE(service.isRegistered());
}

TEST(CommandShellTest, IdsCountFromOneAndTakenNamesAreRefused) {
    testing::internal::CaptureStdout();
    ShellTestService service;
    ShellTestService other;
    util::CommandShell shell;
    EXPECT_FALSE(shell.registerService(&service, "TestShell", "", true));
    EXPECT_EQ(service.echoId(), 1);
    EXPECT_EQ(service.holdId(), 2);
    EXPECT_TRUE(shell.registerService(&other, "TestShell", "", true));
    EXPECT_TRUE(other.records().empty());
    unsigned short id = 0;
    for (const char* name : {"echo", "exit", "help"})
        EXPECT_TRUE(shell.registerCommand(&service, name, "", id, {}, true)) << name;
    EXPECT_STREQ(ipl::ErrorStorage::reason(), "registering the command help: the name is taken");
    EXPECT_TRUE(shell.unregisterCommand(&other, service.echoId(), true));
    EXPECT_TRUE(shell.unregisterCommand(&service, 77, true));
    EXPECT_FALSE(shell.unregisterCommand(&service, service.echoId(), true));
    EXPECT_FALSE(shell.registerCommand(&service, "echo", "", id, {}, true));
    EXPECT_EQ(id, 5);
    ipl::ErrorStorage::ack();
    (void)testing::internal::GetCapturedStdout();
}

// Of the process's address space, in bytes: a thread that nobody joins keeps its stack there.
long long addressSpace() {
    long long pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * ::sysconf(_SC_PAGESIZE);
}

TEST(CommandShellTest, ThousandsOfCommandsLeaveNothingBehind) {
    ipl::string lines;
    for (int i = 0; i < 3000; ++i) lines += "echo 3 " + std::to_string(i) + (i % 3 == 0 ? " &\n" : "\n");
    (void)runShell("echo &\necho &\nwait\n");
    const long long before = addressSpace();
    const Records records = commandsOf(lines);
    ASSERT_EQ(records.size(), 3000U);
    for (std::size_t i = 0; i < records.size(); ++i) ASSERT_EQ(records[i], "echo 3 " + std::to_string(i));
    EXPECT_LT(addressSpace() - before, 3'000'000'000LL);
}

TEST(CommandShellTest, MessagesGoToTheStreamAskedForWithTheirIndentation) {
    util::CommandShell shell;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    shell.printMessage(nullptr, "out", false, true, 2);
    shell.printMessage(nullptr, "half ", false, false, 0);
    shell.printMessage(nullptr, "bad", true, true, 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "  out\nhalf ");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "bad\n");
}

}  // namespace
